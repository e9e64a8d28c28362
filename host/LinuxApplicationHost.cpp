#include "host/LinuxApplicationHost.h"

#include <pthread.h>
#include <signal.h>

#include <thread>

#include "diag/DRLogging.h"
#include "platform/MainThread.h"
#include "platform/NotificationService.h"
#include "platform/Notifications.h"
#include "platform/Platform.h"
#include "platform/RunLoop.h"

namespace velune::host {

namespace {
sigset_t terminationSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  return set;
}
}  // namespace

void LinuxApplicationHost::blockTerminationSignals() {
  const sigset_t set = terminationSignals();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void LinuxApplicationHost::terminate() { platform::RunLoop::main().stop(); }

int LinuxApplicationHost::run(int /*argc*/, char** /*argv*/, const std::optional<std::string>& /*principalClassName*/,
                              const std::string& delegateClassName) {
  platform::assertMainThread("ApplicationHost::run");

  // The signals are blocked everywhere; this thread takes them one at a time.
  std::thread([] {
    const sigset_t set = terminationSignals();
    int signal = 0;
    if (sigwait(&set, &signal) == 0) {
      platform::RunLoop::main().stop();
    }
  }).detach();

  delegate_ = platform::ApplicationDelegate::make(delegateClassName);
  if (delegate_) {
    delegate_->applicationWillFinishLaunchingWithOptions(*this, {});
    delegate_->applicationDidFinishLaunchingWithOptions(*this, {});
  } else {
    DRLOG(kLogWarning, "No application delegate class named %@; the application runs without one",
          delegateClassName);
  }
  if (const auto notifications = platform::Platform::services()->notifications) {
    notifications->post(std::string(platform::kApplicationDidBecomeActiveNotification), this);
  }
  if (delegate_) {
    delegate_->applicationDidBecomeActive(*this);
  }

  platform::RunLoop::main().run();

  if (delegate_) {
    delegate_->applicationWillResignActive(*this);
  }
  DRLogFlush();
  return 0;
}

}  // namespace velune::host
