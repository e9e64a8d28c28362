#include "app/AppDelegate.h"

#include <memory>
#include <mutex>

#include "browse/NavController.h"
#include "diag/DRLogging.h"
#include "diag/NetworkWatcher.h"
#include "model/FileUtils.h"
#include "model/VLDAppBookmarks.h"
#include "platform/FileSystem.h"
#include "platform/MainThread.h"
#include "platform/PercentEncoding.h"
#include "platform/Platform.h"
#include "platform/SyncURLService.h"
#include "platform/URLComponents.h"
#include "platform/ui/Screen.h"
#include "platform/ui/Window.h"

namespace velune {

namespace {

// A path that, once decoded, stays inside the drive by name and by the
// folders it really passes through; one outside the store is left to the
// navigation controller, which refuses it with its own log.
bool staysInsideDrive(const std::string& path) {
  const auto services = platform::Platform::services();
  if (!services->syncURLs) {
    return false;
  }
  if (path.find("/./") != std::string::npos || path.find("/../") != std::string::npos || path.ends_with("/.") ||
      path.ends_with("/..")) {
    return false;
  }
  const platform::URL url = platform::URL::fileURLWithPath(path);
  if (!services->syncURLs->relativePathToCloudRoot(url)) {
    return true;
  }
  return FileUtils::staysInsideDrive(url);
}

}  // namespace

AppDelegate::~AppDelegate() {
  const auto root = rootWindow_ ? rootWindow_->rootViewController() : nullptr;
  if (const auto navigation = std::dynamic_pointer_cast<NavController>(root)) {
    navigation->endPreview();
  }
}

void AppDelegate::registerDelegateClass() {
  static std::once_flag once;
  std::call_once(once, [] {
    platform::ApplicationDelegate::registerClass(kAppDelegateClassName, [] { return std::make_shared<AppDelegate>(); });
  });
}

bool AppDelegate::applicationWillFinishLaunchingWithOptions(platform::ApplicationHost& /*application*/,
                                                            const platform::Value::Dictionary& /*options*/) {
  VELUNE_ASSERT_MAIN_THREAD();
  // First, so that the network state is known as early as possible.
  NetworkWatcher::sharedNetworkWatcher().start();
  const auto screen = ui::Screen::mainScreen();
  rootWindow_ = std::make_shared<ui::Window>(screen ? screen->bounds() : ui::Rect(), screen);
  rootWindow_->setIdentifier("window");
  rootWindow_->setBackgroundColor(ui::Color::white());
  // The first listing is built when the controller's view loads.
  rootWindow_->setRootViewController(NavController::create());
  rootWindow_->rootViewController()->setRestorationIdentifier(std::string(kRootRestorationIdentifier));
  rootWindow_->makeKeyAndVisible();
  return true;
}

bool AppDelegate::applicationDidFinishLaunchingWithOptions(platform::ApplicationHost& /*application*/,
                                                           const platform::Value::Dictionary& /*options*/) {
  return true;
}

std::int32_t AppDelegate::previewModeForQuery(const platform::URL& url) {
  std::int32_t mode = 0;
  const auto components = platform::URLComponents::fromURL(url);
  if (!components) {
    return mode;
  }
  for (const auto& item : components->queryItems()) {
    // Names and values are decoded a second time before they are compared.
    const auto name = platform::removingPercentEncoding(item.name);
    if (!name || *name != "mode" || !item.value) {
      continue;
    }
    const auto value = platform::removingPercentEncoding(*item.value);
    if (!value) {
      continue;
    }
    if (*value == "preview") {
      mode = 0;
    } else if (*value == "details" || *value == "info") {
      mode = 1;
    }
  }
  return mode;
}

bool AppDelegate::applicationOpenURL(platform::ApplicationHost& application, const platform::URL& url,
                                     const platform::Value::Dictionary& options) {
  VELUNE_ASSERT_MAIN_THREAD();
  DRLOG(kLogInfo, "openURL: %@, options %@, app %@", url, platform::Value(options), application.description());
  const auto components = platform::URLComponents::fromURL(url);
  if (!components) {
    return false;
  }
  if (components->scheme() != kLaunchURLScheme) {
    return false;
  }
  platform::Value source;
  if (const auto found = options.find(platform::kOpenURLOptionSourceApplication); found != options.end()) {
    source = found->second;
  }
  const std::string* sourceText = source.asString();
  if (sourceText == nullptr || (*sourceText != kTrustedSourceDrillrun && *sourceText != kTrustedSourceLumiboard)) {
    DRLOG(kLogWarning, "Ignoring openURL launch from unknown source: %@", source);
    return false;
  }
  // The components decode the path once; it is decoded a second time here.
  const auto once = components->path();
  const auto twice = once ? platform::removingPercentEncoding(*once) : std::nullopt;
  if (!twice || twice->empty() || twice->front() != '/' || !staysInsideDrive(*twice)) {
    return false;
  }
  const platform::URL fileURL = platform::URL::fileURLWithPath(*twice);
  const platform::URL resolved = vld_URLByResolvingPromise(fileURL).value_or(fileURL);
  const std::int32_t previewMode = previewModeForQuery(url);
  auto navigation = std::dynamic_pointer_cast<NavController>(rootWindow_ ? rootWindow_->rootViewController() : nullptr);
  if (!navigation) {
    return false;
  }
  return navigation->showURLPreview(resolved, previewMode);
}

bool AppDelegate::rootAnswersCheckVeluneState() const {
  auto navigation = std::dynamic_pointer_cast<NavController>(rootWindow_ ? rootWindow_->rootViewController() : nullptr);
  return navigation && navigation->checkVeluneState();
}

bool AppDelegate::applicationShouldSaveApplicationState(platform::ApplicationHost& /*application*/) {
  return rootAnswersCheckVeluneState();
}

bool AppDelegate::applicationShouldRestoreApplicationState(platform::ApplicationHost& /*application*/) {
  return rootAnswersCheckVeluneState();
}

void AppDelegate::applicationWillResignActive(platform::ApplicationHost& /*application*/) {}

}  // namespace velune
