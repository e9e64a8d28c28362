#pragma once
// ActionSheet: the action-sheet style of the alert model, and where its
// popover points on a tablet: at the vertical middle of a view (a rectangle of
// zero height across the view's bounds, arrows from the left or the right
// only) or at a bar button item. On a phone the sheet rises from the bottom
// and the anchor is not used. Main thread only.

#include <memory>
#include <optional>
#include <string>

#include "platform/ui/Geometry.h"

namespace velune::ui {
class AlertController;
class BarButtonItem;
class View;
}  // namespace velune::ui

namespace velune::platform {

class ActionSheet {
 public:
  ActionSheet() = delete;

  static std::shared_ptr<ui::AlertController> make(const std::optional<std::string>& title,
                                                   const std::optional<std::string>& message);
  // The view's bounds collapsed to their vertical middle (same x and width,
  // height 0); all zero without a view.
  static ui::Rect middleOfBounds(const std::shared_ptr<ui::View>& view);
  // Points the sheet at middleOfBounds(view) in `view`, arrows left or right.
  static void anchorToView(ui::AlertController& sheet, const std::shared_ptr<ui::View>& view);
  static void anchorToBarButtonItem(ui::AlertController& sheet, const std::shared_ptr<ui::BarButtonItem>& item);
};

}  // namespace velune::platform
