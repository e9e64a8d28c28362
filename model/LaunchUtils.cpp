#include "model/LaunchUtils.h"

#include "diag/DRLogging.h"
#include "model/FileUtils.h"
#include "model/VLDAppBookmarks.h"
#include "platform/Platform.h"
#include "platform/ShareMenuController.h"
#include "platform/SyncContainer.h"
#include "platform/SyncContainerService.h"

namespace velune {

using platform::AppRecord;
using platform::URL;

bool LaunchUtils::isUrlInDefaultContainer(const URL& url) {
  const auto containers = VELUNE_SERVICE(syncContainers);
  auto container = containers->containerForItemAtURL(url);
  if (!container.ok()) {
    DRLOG(kLogWarning, "Can't get container for URL %@: %@", url, container.error());
    return false;
  }
  if (!container.value()) {
    return false;
  }
  return container.value()->identifier() == containers->defaultContainerIdentifier();
}

std::optional<AppRecord> LaunchUtils::defaultAppForDocument(const URL& url, bool requireOpenIn) {
  if (!FileUtils::exists(url)) {
    DRLOG(kLogDebug, "Assuming apps can open a promised document...");
  }
  if (isUrlInDefaultContainer(url) && FileUtils::isAudioVideoImageFile(url)) {
    DRLOG(kLogDebug, "Preferring GP over default app to open %@", url);
    return std::nullopt;
  }
  const auto menu = platform::ShareMenuController::interactionControllerWithURL(url);
  const auto app = menu->defaultApplication();
  if (!app) {
    DRLOG(kLogDebug, "No default app to open %@", url);
    return std::nullopt;
  }
  DRLOG(kLogDebug, "App for %@: %@, %@, %@, %@, %@, %@, %@, %@, %@, %@, %@", url, app->itemName, app->localizedName,
        app->localizedShortName, app->shortVersionString, app->vendorName, app->bundleIdentifier,
        app->bundleExecutable, app->bundleContainerURL, app->isInstalled, app->itemIdentifier, app->descriptionText);
  if (requireOpenIn && !app->supportsOpenInPlace) {
    DRLOG(kLogDebug, "App %@ does not support open in place. Ignoring", *app);
    return std::nullopt;
  }
  if (app->bundleIdentifier == platform::Platform::services()->bundleIdentifier) {
    DRLOG(kLogDebug, "Ignoring %@ as default app", *app);
    return std::nullopt;
  }
  return app;
}

std::optional<std::string> LaunchUtils::defaultAppNameForDocument(const URL& url, bool requireOpenIn) {
  const auto app = defaultAppForDocument(url, requireOpenIn);
  return app ? std::optional<std::string>(app->localizedName) : std::nullopt;
}

void LaunchUtils::openInDefaultApp(const URL& url, bool requireOpenIn, const std::function<void(bool)>& completion) {
  DRLOG(kLogInfo, "Opening document %@ in default app", url);
  URL target = url;
  if (const auto resolved = vld_URLByResolvingBookmark(url)) {
    target = *resolved;
  }
  // The platform's answer to the hand-over is not ours to judge: choosing
  // an application is what counts as opened.
  const bool opened = defaultAppForDocument(target, requireOpenIn).has_value();
  if (opened) {
    platform::ShareMenuController::interactionControllerWithURL(target)->openDocumentWithDefaultApplication();
  }
  if (completion) {
    completion(opened);
  }
}

}  // namespace velune
