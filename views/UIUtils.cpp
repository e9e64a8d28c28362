#include "views/UIUtils.h"

#include "diag/DRLogging.h"
#include "platform/DeviceInfo.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"
#include "platform/ui/AlertController.h"

namespace velune {

using platform::localized;
using platform::localizedFormat;

namespace {

// The string-table key of the text shown when an error has no text of its own.
constexpr const char* kNoErrorTextKey = "Qerror exception";

}  // namespace

std::shared_ptr<ui::ViewController> UIUtils::topmostPresenter(const std::shared_ptr<ui::ViewController>& parent) {
  auto top = parent;
  while (top && top->presentedViewController()) {
    top = top->presentedViewController();
  }
  return top;
}

std::shared_ptr<ui::AlertController> UIUtils::showAlert(const std::optional<std::string>& title,
                                                        const std::optional<std::string>& message,
                                                        const std::shared_ptr<ui::ViewController>& parentViewController) {
  VELUNE_ASSERT_MAIN_THREAD();
  auto alert = ui::AlertController::make(title, message, ui::AlertControllerStyle::Alert);
  alert->addAction(ui::AlertAction::make(localized("OK"), ui::AlertActionStyle::Default));
  auto presenter = topmostPresenter(parentViewController);
  if (!presenter || !presenter->presentViewController(alert, true)) {
    DRLOG(kLogWarning, "Could not show the alert \"%@\": %@", title, message);
    return nullptr;
  }
  return alert;
}

std::shared_ptr<ui::AlertController> UIUtils::showError(const std::optional<platform::Error>& error,
                                                        const std::shared_ptr<ui::ViewController>& parentViewController) {
  const std::string text = error ? bestMessage(error) : localized(kNoErrorTextKey);
  return showAlert(text, std::nullopt, parentViewController);
}

std::string UIUtils::bestMessage(const std::optional<platform::Error>& error) {
  if (!error) {
    return {};
  }
  if (auto description = error->localizedDescription(); description && !description->empty()) {
    return *description;
  }
  if (auto reason = error->localizedFailureReason(); reason && !reason->empty()) {
    return *reason;
  }
  return localized(kNoErrorTextKey);
}

std::shared_ptr<ui::AlertController> UIUtils::showItemExistsAlert(
    const std::string& name, const std::shared_ptr<ui::ViewController>& parentViewController) {
  const auto dot = name.rfind('.');
  const std::string stem = dot == std::string::npos ? name : name.substr(0, dot);
  const std::string extension = dot == std::string::npos ? std::string() : name.substr(dot + 1);
  const std::string title =
      extension.empty() ? localizedFormat("The name \u201c%@\u201d is already taken.", stem)
                        : localizedFormat("The name \u201c%1$@\u201d with extension \u201c.%2$@\u201d is already taken.",
                                          stem, extension);
  return showAlert(title, localized("Choose a different name."), parentViewController);
}

std::shared_ptr<ui::AlertController> UIUtils::showInvalidItemNameAlert(
    const std::string& name, const std::shared_ptr<ui::ViewController>& parentViewController) {
  return showAlert(std::string(),
                   localizedFormat("The name \u201c%@\u201d can\u2019t be used. Try using a name with fewer characters, "
                                   "or with no punctuation marks.",
                                   name),
                   parentViewController);
}

bool UIUtils::tabloMode() {
  const auto device = platform::Platform::services()->device;
  return device && device->idiom() == ui::UserInterfaceIdiom::Tablet;
}

}  // namespace velune
