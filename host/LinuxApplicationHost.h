#pragma once
// LinuxApplicationHost: the application object of the simulated phone. It
// makes the delegate, tells it that launching finishes, posts the
// became-active notification, and runs the main run loop until SIGINT,
// SIGTERM or SIGHUP (or terminate()), then flushes the log and returns 0.
//
// While it runs, setActive() moves the application between the foreground
// and the background (`vdtool app background|foreground` through the home's
// app-state.json, the control panel): resigning posts the
// will-resign-active notification and tells the delegate; becoming active
// again posts the became-active notification and tells the delegate.
//
// With a home (setHome), it also:
// - receives launch URLs on the home's socket (LaunchURLChannel) and asks the
//   delegate to open each on the main thread, with the source application
//   in the options only when the sender named an application installed on
//   the phone (apps.json); anything else is reported as no source. Each
//   request is logged with the sending process beside what was reported;
// - saves the interface state (the key window's root view controller, under
//   its restoration identifier) when the application moves to the background
//   or quits, if the delegate agrees, and restores it at the next launch
//   between will-finish and did-finish launching, if the delegate agrees.
//   The state is kept in HOME/app-data/Library/Saved Application State/state.json,
//   read back with the home's rules for files.

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/ApplicationHostService.h"
#include <optional>

#include "host/HomeLayout.h"
#include "platform/ApplicationHost.h"
#include "platform/URL.h"

namespace velune::host {

class LinuxApplicationHost final : public platform::ApplicationHost,
                                   public std::enable_shared_from_this<LinuxApplicationHost> {
 public:
  int run(int argc, char** argv, const std::optional<std::string>& principalClassName,
          const std::string& delegateClassName) override;
  void terminate() override;

  // Blocks SIGINT, SIGTERM and SIGHUP in the calling thread and every thread
  // it makes later, so that one watcher thread receives them. Call first in
  // main().
  static void blockTerminationSignals();

  // Any thread: the change happens on the main thread, in the order asked.
  // Asking for the state the application is in changes nothing.
  void setActive(bool active);
  // Main thread.
  bool isActive() const { return active_; }

  // Before run(): a service that runs beside the application.
  void addService(std::shared_ptr<ApplicationHostService> service);

  // Any thread: another application asks to open a launch URL (the home's
  // socket, the screen's control panel). On the main thread the request goes
  // through openLaunchURL, so the claimed source counts only when it is
  // installed; `done` (may be empty) then hears whether the application
  // handled it, on the main thread, or at once with false when the host is
  // not running an application.
  void openURL(const struct LaunchURLRequest& request, std::function<void(bool handled)> done);
  // Before run().
  void setHome(const HomeLayout& layout) { home_ = layout; }
  static std::string stateArchivePath(const HomeLayout& layout);

  // Main thread: what the application does with a launch URL request.
  bool openLaunchURL(const struct LaunchURLRequest& request);
  // Main thread: saves (restores) the interface state when the delegate agrees.
  void saveApplicationState();
  void restoreApplicationState();

  // The delegate (for tests that drive the host without run()).
  void setDelegate(std::shared_ptr<platform::ApplicationDelegate> delegate) { delegate_ = std::move(delegate); }
  std::string description() const override { return "<LinuxApplicationHost>"; }

 private:
  void applyActive(bool active);

  std::shared_ptr<platform::ApplicationDelegate> delegate_;
  bool active_ = false;
  std::vector<std::shared_ptr<ApplicationHostService>> services_;
  std::atomic<bool> running_{false};
  std::optional<HomeLayout> home_;
};

}  // namespace velune::host
