#pragma once
// FileTags: the colours of the user's tags. The colour of a tag is not kept
// on an item: it comes from the user's tag dictionary in the cloud key-value
// store (under "TroverTagDict"), which FileTags reads into a map from tag
// name to colour and a list of the tag names in the user's order, reads
// again whenever the store reports a change made on another device, and
// uses to draw the round colour marks (blips) shown beside tag names.
//
// Class operations only. The first use in the process (under a one-time
// initialisation) subscribes to the store's changed-from-elsewhere
// notification and loads the dictionary; from then on every notification
// reloads it, on the thread that delivers the notification, and then posts
// kFileTagsDidChangeNotification from that thread so that views can redraw
// their blips (observers that touch views register with the main queue).
// The shared map and list are replaced whole and handed out only as copies,
// so a reader on any thread sees the old or the new dictionary, never a mix.
// Blips are drawn on the caller's thread (the views' main thread).

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/ui/Color.h"
#include "platform/ui/Geometry.h"

namespace velune::ui {
class Image;
}  // namespace velune::ui

namespace velune {

// Posted (object null, no user information) after each reload of the dictionary.
inline constexpr std::string_view kFileTagsDidChangeNotification = "FileTagsDidChangeNotification";

class FileTags {
 public:
  FileTags() = delete;

  using TagColorMap = std::unordered_map<std::string, ui::Color>;

  // A copy of the map from tag name to colour. The first call in the
  // process subscribes to the store's notification and loads the dictionary.
  static TagColorMap tagColorsByTag();
  // A copy of the tag names in the dictionary's order (a name appears as
  // often as the dictionary lists it; the map keeps the last entry's colour).
  static std::vector<std::string> allTags();

  // The colours of the colour numbers 0 to 7: 0 no colour (a light grey),
  // then the platform's standard grey, green, purple, blue, yellow, red and
  // orange, as single-precision components. Made once.
  static const std::array<ui::Color, 8>& _tagBlipColors();
  // Reloads the dictionary from the store (the notification's handler):
  // a dictionary whose version is not 2 is logged at level 7 and counts as
  // absent; an absent or empty one is logged at level 4 and leaves no tags.
  static void _tagColorsDidChange();

  // A transparent image of `imageSize` points at pixel scale 1 with one
  // filled circle of the tag's colour, its bounding square of side
  // `blipHeight` at `offset`. Null for no tag.
  static std::shared_ptr<ui::Image> blipWithTag(const std::optional<std::string>& tag, ui::Size imageSize,
                                                double blipHeight, ui::Point offset);
  // One image of overlapping blips, left to right in the tags' order, each
  // with a lighter rim: circles of ceil(height) points, half a height apart,
  // at pixel scale `scale`, all in the colours of one dictionary even when
  // a reload runs meanwhile. Null for no tags, or for a height that is not
  // a positive finite number.
  static std::shared_ptr<ui::Image> blipWithTags(const std::vector<std::string>& tags, double height, double scale);
};

}  // namespace velune
