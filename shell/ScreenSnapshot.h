#pragma once
// ScreenSnapshot: the UI model of a window as the page draws it, in JSON.
//
// One snapshot holds the screen (size in points, scale, idiom, orientation),
// the network activity flag, and the window's view tree. Every element
// carries its stable identifier, its kind, its laid-out frame (points, in
// its superview's coordinates), its flags (hidden, enabled, selected), its
// accessibility label (the explicit one, else the text it shows), the actions
// it answers to ("tap", "type", "return", "back", "choose", "dismiss",
// "scroll", "swipe") and what its kind shows: texts and fonts, image
// references (see ImageRegistry), bar items, the paths of shape layers and
// of views that draw themselves. Views of presented controllers carry the
// presentation (an alert or an action sheet with its actions and popover
// anchor). Long lists carry only the rows that have cells, with the row
// count and the scroll offset. A document preview carries its document (the
// path below the drive, the viewer that shows it, a revision that grows when
// it must be read again). The last document handed to another application
// is "opened" at the top.
//
// The format is versioned ("format"); a change that a page of the previous
// version would misread increases it. Writing lays out the window first and
// otherwise only reads the model. Main thread only.

#include <cstdint>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

namespace velune::ui {
class Window;
}

namespace velune::shell {

class ImageRegistry;

class ScreenSnapshot {
 public:
  static constexpr int kFormat = 1;

  // A snapshot of `window` (null: a screen without a window). Images are
  // named through `images`, which starts a new round.
  // A document preview names its document by its path below
  // `documentRoot` (the drive's root), which the page asks /api/file/ for;
  // a document outside it is not named.
  static nlohmann::json make(const std::shared_ptr<ui::Window>& window, std::uint64_t generation,
                             ImageRegistry& images, const std::string& documentRoot = {});
  static std::string text(const std::shared_ptr<ui::Window>& window, std::uint64_t generation,
                          ImageRegistry& images, const std::string& documentRoot = {});
};

}  // namespace velune::shell
