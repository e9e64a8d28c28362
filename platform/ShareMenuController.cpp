#include "platform/ShareMenuController.h"

#include "platform/ActionSheet.h"
#include "platform/AppRegistry.h"
#include "platform/FileSystem.h"
#include "platform/Format.h"
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

void ShareMenuController::makeMenu() {
  const auto apps = Platform::services()->apps;
  menu_ = ActionSheet::make(url_.lastPathComponent(), std::nullopt);
  if (apps) {
    for (const auto& app : apps->applicationsForDocument(url_)) {
      const URL url = url_;
      menu_->addAction(ui::AlertAction::make(localizedFormat("Open in %@", app.localizedName),
                                             ui::AlertActionStyle::Default, [url, app](ui::AlertAction&) {
                                               if (const auto registry = Platform::services()->apps) {
                                                 if (auto error = registry->openDocument(url, app)) {
                                                   PLATFORM_LOG(kLogWarning, "Cannot open %@ in %@: %@", url,
                                                                app.localizedName, error->description());
                                                 }
                                               }
                                             }));
    }
  }
  std::weak_ptr<ShareMenuController> weak = weak_from_this();
  menu_->addAction(
      ui::AlertAction::make(localized("Save a Copy…"), ui::AlertActionStyle::Default, [weak](ui::AlertAction&) {
        if (const auto strong = weak.lock()) {
          (void)strong->saveCopy();
        }
      }));
  menu_->addAction(ui::AlertAction::make(localized("Cancel"), ui::AlertActionStyle::Cancel));
}

bool ShareMenuController::presentOptionsMenuFromBarButtonItem(const std::shared_ptr<ui::BarButtonItem>& item,
                                                              const std::shared_ptr<ui::ViewController>& presenter,
                                                              bool animated) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!presenter) {
    return false;
  }
  makeMenu();
  ActionSheet::anchorToBarButtonItem(*menu_, item);
  return presenter->presentViewController(menu_, animated);
}

bool ShareMenuController::presentOptionsMenuFromRect(const ui::Rect& rect, const std::shared_ptr<ui::View>& view,
                                                     const std::shared_ptr<ui::ViewController>& presenter,
                                                     bool animated) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!presenter) {
    return false;
  }
  makeMenu();
  auto& popover = menu_->popoverPresentationController();
  popover.setSourceView(view);
  popover.setSourceRect(rect);
  return presenter->presentViewController(menu_, animated);
}

Result<URL> ShareMenuController::saveCopy() {
  const auto fileSystem = Platform::services()->fileSystem;
  const auto folders = fileSystem ? fileSystem->documentDirectoryURLs() : std::vector<URL>{};
  if (folders.empty()) {
    PLATFORM_LOG(kLogWarning, "Save a copy of %@: no documents folder", url_);
    return Error::platform(ErrorCode::FileNoSuchFile);
  }
  const std::string name = url_.lastPathComponent();
  const size_t dot = name.rfind('.');
  const bool hasExtension = dot != std::string::npos && dot > 0;
  const std::string stem = hasExtension ? name.substr(0, dot) : name;
  const std::string extension = hasExtension ? name.substr(dot) : std::string();
  // The first free name; a bounded search, so a folder full of copies ends it.
  for (int n = 1; n <= kMaxCopyNumber; ++n) {
    const std::string candidate = n == 1 ? name : format("%@ %d%@", stem, n, extension);
    const URL destination = folders.front().URLByAppendingPathComponent(candidate, false);
    auto error = fileSystem->copyItemAtPath(url_.path(), destination.path());
    if (!error) {
      PLATFORM_LOG(kLogInfo, "Saved a copy of %@ as %@", url_, destination);
      return destination;
    }
    if (error->code() != ErrorCode::FileWriteFileExists) {
      PLATFORM_LOG(kLogWarning, "Save a copy of %@: %@", url_, error->description());
      return *error;
    }
  }
  PLATFORM_LOG(kLogWarning, "Save a copy of %@: every name is taken", url_);
  return Error::platform(ErrorCode::FileWriteFileExists);
}

}  // namespace velune::platform
