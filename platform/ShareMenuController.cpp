#include "platform/ShareMenuController.h"

#include "platform/AppRegistry.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/ViewController.h"

namespace velune::platform {

std::shared_ptr<ShareMenuController> ShareMenuController::interactionControllerWithURL(URL url) {
  return std::shared_ptr<ShareMenuController>(new ShareMenuController(std::move(url)));
}

std::optional<AppRecord> ShareMenuController::defaultApplication() const {
  const auto apps = Platform::services()->apps;
  return apps ? apps->defaultApplicationForDocument(url_) : std::nullopt;
}

bool ShareMenuController::openDocumentWithDefaultApplication() {
  const auto apps = Platform::services()->apps;
  if (!apps) {
    return false;
  }
  const auto app = apps->defaultApplicationForDocument(url_);
  if (!app) {
    return false;
  }
  if (auto error = apps->openDocument(url_, *app)) {
    PLATFORM_LOG(kLogWarning, "Cannot open %@ in %@: %@", url_, app->localizedName, error->description());
    return false;
  }
  return true;
}

bool ShareMenuController::presentOptionsMenuFromBarButtonItem(const std::shared_ptr<ui::BarButtonItem>& item,
                                                              const std::shared_ptr<ui::ViewController>& presenter,
                                                              bool animated) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!presenter) {
    return false;
  }
  const auto apps = Platform::services()->apps;
  menu_ = ui::AlertController::make(url_.lastPathComponent(), std::nullopt, ui::AlertControllerStyle::ActionSheet);
  if (apps) {
    for (const auto& app : apps->applicationsForDocument(url_)) {
      const URL url = url_;
      menu_->addAction(ui::AlertAction::make(
          localizedFormat("Open in %@", app.localizedName), ui::AlertActionStyle::Default, [url, app](ui::AlertAction&) {
            if (const auto registry = Platform::services()->apps) {
              if (auto error = registry->openDocument(url, app)) {
                PLATFORM_LOG(kLogWarning, "Cannot open %@ in %@: %@", url, app.localizedName, error->description());
              }
            }
          }));
    }
  }
  menu_->addAction(ui::AlertAction::make(localized("Cancel"), ui::AlertActionStyle::Cancel));
  menu_->popoverPresentationController().setBarButtonItem(item);
  return presenter->presentViewController(menu_, animated);
}

}  // namespace velune::platform
