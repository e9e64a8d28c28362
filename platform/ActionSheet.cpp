#include "platform/ActionSheet.h"

#include "platform/ui/AlertController.h"
#include "platform/ui/View.h"

namespace velune::platform {

std::shared_ptr<ui::AlertController> ActionSheet::make(const std::optional<std::string>& title,
                                                       const std::optional<std::string>& message) {
  return ui::AlertController::make(title, message, ui::AlertControllerStyle::ActionSheet);
}

ui::Rect ActionSheet::middleOfBounds(const std::shared_ptr<ui::View>& view) {
  if (!view) {
    return ui::Rect();
  }
  const ui::Rect bounds = view->bounds();
  return ui::Rect(bounds.minX(), bounds.midY(), bounds.width(), 0);
}

void ActionSheet::anchorToView(ui::AlertController& sheet, const std::shared_ptr<ui::View>& view) {
  auto& popover = sheet.popoverPresentationController();
  popover.setSourceView(view);
  popover.setSourceRect(middleOfBounds(view));
  popover.setPermittedArrowDirections(ui::PopoverPresentationController::kArrowLeft |
                                      ui::PopoverPresentationController::kArrowRight);
}

void ActionSheet::anchorToBarButtonItem(ui::AlertController& sheet, const std::shared_ptr<ui::BarButtonItem>& item) {
  sheet.popoverPresentationController().setBarButtonItem(item);
}

}  // namespace velune::platform
