#pragma once
// AppDelegate: the application delegate that the process entry names
// ("AppDelegate"). It lives for the whole process and owns the one window,
// whose root view controller is the one NavController (restoration
// identifier "Root"); every later question (launch URLs, state save and
// restore) is answered through that window's root view controller. Every
// callback runs on the main thread.
//
// Launch URLs: scheme "velunedriveapp" (exactly), the path of a document of
// the drive (decoded twice), "mode" query items choosing the preview mode,
// accepted only from the two trusted source applications that the host
// reports. Beyond the rules of the scheme, a path that cannot be decoded a
// second time, or that holds "." or ".." or passes through a symbolic link
// once decoded, is refused as well: a launch URL never names anything
// outside the drive.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/ApplicationHost.h"

namespace velune::ui {
class Window;
}  // namespace velune::ui

namespace velune {

inline constexpr const char* kAppDelegateClassName = "AppDelegate";
inline constexpr const char* kLaunchURLScheme = "velunedriveapp";
inline constexpr const char* kTrustedSourceDrillrun = "com.vorlan.Drillrun";
inline constexpr const char* kTrustedSourceLumiboard = "com.vorlan.lumiboard";
inline constexpr const char* kRootRestorationIdentifier = "Root";

class AppDelegate : public platform::ApplicationDelegate {
 public:
  // Registers the class under kAppDelegateClassName, once; the process entry
  // calls it before it starts the application object.
  static void registerDelegateClass();
  // Ends an open preview: its item manager holds the navigation controller,
  // which would otherwise outlive the window.
  ~AppDelegate() override;

  bool applicationWillFinishLaunchingWithOptions(platform::ApplicationHost& application,
                                                 const platform::Value::Dictionary& options) override;
  bool applicationDidFinishLaunchingWithOptions(platform::ApplicationHost& application,
                                                const platform::Value::Dictionary& options) override;
  bool applicationOpenURL(platform::ApplicationHost& application, const platform::URL& url,
                          const platform::Value::Dictionary& options) override;
  bool applicationShouldSaveApplicationState(platform::ApplicationHost& application) override;
  bool applicationShouldRestoreApplicationState(platform::ApplicationHost& application) override;
  void applicationWillResignActive(platform::ApplicationHost& application) override;

  // The preview mode the "mode" items of a query select (0 without any).
  static std::int32_t previewModeForQuery(const platform::URL& url);

  const std::shared_ptr<ui::Window>& rootWindow() const { return rootWindow_; }
  // The window property the platform expects; the delegate never sets it.
  const std::shared_ptr<ui::Window>& window() const { return window_; }

 private:
  bool rootAnswersCheckVeluneState() const;

  std::shared_ptr<ui::Window> rootWindow_;
  std::shared_ptr<ui::Window> window_;
};

}  // namespace velune
