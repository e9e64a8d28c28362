#pragma once
// AppDelegate: the application delegate that the process entry names
// ("AppDelegate"). It lives for the whole process; every callback runs on the
// main thread.
//
// It does the first step of the launch: it starts the shared NetworkWatcher
// before launching finishes. Missing: the window, the navigation controller,
// state restoration and launch URLs; without them the app shows no screen.

#include "platform/ApplicationHost.h"

namespace velune {

inline constexpr const char* kAppDelegateClassName = "AppDelegate";

class AppDelegate : public platform::ApplicationDelegate {
 public:
  // Registers the class under kAppDelegateClassName, once; the process entry
  // calls it before it starts the application object.
  static void registerDelegateClass();

  bool applicationWillFinishLaunchingWithOptions(platform::ApplicationHost& application,
                                                 const platform::Value::Dictionary& options) override;
  bool applicationDidFinishLaunchingWithOptions(platform::ApplicationHost& application,
                                                const platform::Value::Dictionary& options) override;
};

}  // namespace velune
