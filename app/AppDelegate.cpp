#include "app/AppDelegate.h"

#include <memory>
#include <mutex>

#include "diag/NetworkWatcher.h"
#include "platform/MainThread.h"

namespace velune {

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
  // Missing here: the window and its navigation controller (restoration
  // identifier "Root"); without them the app has no screen.
  return true;
}

bool AppDelegate::applicationDidFinishLaunchingWithOptions(platform::ApplicationHost& /*application*/,
                                                           const platform::Value::Dictionary& /*options*/) {
  return true;
}

}  // namespace velune
