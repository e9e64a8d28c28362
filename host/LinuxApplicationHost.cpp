#include "host/LinuxApplicationHost.h"

#include <pthread.h>
#include <signal.h>

#include <thread>

#include "platform/Log.h"
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

  for (size_t i = 0; i < services_.size(); ++i) {
    if (auto error = services_[i]->applicationHostWillRun(*this)) {
      PLATFORM_LOG(kLogErr, "A service of the application host cannot start: %@",
                   error->localizedDescription().value_or(error->description()));
      for (size_t started = 0; started < i; ++started) {
        services_[started]->applicationHostDidStop(*this);
      }
      platform::Log::flush();
      return 1;
    }
  }
  running_ = true;

  delegate_ = platform::ApplicationDelegate::make(delegateClassName);
  if (delegate_) {
    delegate_->applicationWillFinishLaunchingWithOptions(*this, {});
    delegate_->applicationDidFinishLaunchingWithOptions(*this, {});
  } else {
    PLATFORM_LOG(kLogWarning, "No application delegate class named %@; the application runs without one",
          delegateClassName);
  }
  applyActive(true);

  platform::RunLoop::main().run();

  if (delegate_ && active_) {
    delegate_->applicationWillResignActive(*this);
  }
  active_ = false;
  running_ = false;
  for (auto it = services_.rbegin(); it != services_.rend(); ++it) {
    (*it)->applicationHostDidStop(*this);
  }
  platform::Log::flush();
  return 0;
}

void LinuxApplicationHost::addService(std::shared_ptr<ApplicationHostService> service) {
  if (service) {
    services_.push_back(std::move(service));
  }
}

bool LinuxApplicationHost::openURL(const platform::URL& url, const std::string& sourceApplication) {
  if (!running_) {
    return false;
  }
  std::weak_ptr<LinuxApplicationHost> weakSelf = weak_from_this();
  platform::RunLoop::main().post([weakSelf, url, sourceApplication] {
    const auto self = weakSelf.lock();
    if (!self || !self->delegate_) {
      return;
    }
    platform::Value::Dictionary options;
    options[platform::kOpenURLOptionSourceApplication] = platform::Value(sourceApplication);
    PLATFORM_LOG(kLogDebug, "Opening %@ from %@", url.absoluteString(), sourceApplication);
    self->delegate_->applicationOpenURL(*self, url, options);
  });
  return true;
}

void LinuxApplicationHost::setActive(bool active) {
  std::weak_ptr<LinuxApplicationHost> weakSelf = weak_from_this();
  platform::RunLoop::main().post([weakSelf, active] {
    if (auto self = weakSelf.lock()) {
      self->applyActive(active);
    }
  });
}

void LinuxApplicationHost::applyActive(bool active) {
  platform::assertMainThread("LinuxApplicationHost::applyActive");
  if (active == active_) {
    return;
  }
  active_ = active;
  const auto notifications = platform::Platform::services()->notifications;
  if (active) {
    PLATFORM_LOG(kLogDebug, "The application is active");
    if (notifications) {
      notifications->post(std::string(platform::kApplicationDidBecomeActiveNotification), this);
    }
    if (delegate_) {
      delegate_->applicationDidBecomeActive(*this);
    }
  } else {
    PLATFORM_LOG(kLogDebug, "The application moves to the background");
    if (delegate_) {
      delegate_->applicationWillResignActive(*this);
    }
    if (notifications) {
      notifications->post(std::string(platform::kApplicationWillResignActiveNotification), this);
    }
  }
}

}  // namespace velune::host
