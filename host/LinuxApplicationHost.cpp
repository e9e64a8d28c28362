#include "host/LinuxApplicationHost.h"

#include <pthread.h>
#include <signal.h>

#include <thread>

#include "host/BoundedJsonFile.h"
#include "host/FileIO.h"
#include "host/InstalledApplications.h"
#include "host/JsonValue.h"
#include "host/LaunchURLReceiver.h"
#include "platform/DispatchQueue.h"
#include "platform/Log.h"
#include "platform/MainThread.h"
#include "platform/NotificationService.h"
#include "platform/Notifications.h"
#include "platform/Platform.h"
#include "platform/RunLoop.h"
#include "platform/ui/ViewController.h"
#include "platform/ui/Window.h"

namespace velune::host {

namespace {
sigset_t terminationSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  // A closed terminal ends the application like TERM: cleanly, log flushed.
  sigaddset(&set, SIGHUP);
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
    restoreApplicationState();
    delegate_->applicationDidFinishLaunchingWithOptions(*this, {});
  } else {
    PLATFORM_LOG(kLogWarning, "No application delegate class named %@; the application runs without one",
          delegateClassName);
  }
  applyActive(true);

  std::unique_ptr<LaunchURLReceiver> receiver;
  if (home_) {
    std::weak_ptr<LinuxApplicationHost> weakSelf = weak_from_this();
    receiver = std::make_unique<LaunchURLReceiver>(
        *home_, [weakSelf](const LaunchURLRequest& request, LaunchURLReceiver::Reply reply) {
          // The receiver waits for the answer (bounded).
          const auto self = weakSelf.lock();
          if (!self) {
            reply(false, "the app is ending");
            return;
          }
          self->openURL(request, [reply](bool handled) { reply(handled, std::string()); });
        });
    if (auto error = receiver->start()) {
      PLATFORM_LOG(kLogWarning, "Launch URLs cannot be received: %@", *error);
    }
  }

  platform::RunLoop::main().run();

  if (receiver) {
    receiver->stop();
  }
  if (delegate_ && active_) {
    delegate_->applicationWillResignActive(*this);
  }
  saveApplicationState();
  active_ = false;
  running_ = false;
  // The application's objects end here, on the main thread, while the
  // services they use still run.
  delegate_.reset();
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

void LinuxApplicationHost::openURL(const LaunchURLRequest& request, std::function<void(bool handled)> done) {
  if (!running_) {
    if (done) {
      done(false);
    }
    return;
  }
  std::weak_ptr<LinuxApplicationHost> weakSelf = weak_from_this();
  platform::RunLoop::main().post([weakSelf, request, done = std::move(done)] {
    const auto self = weakSelf.lock();
    const bool handled = self && self->openLaunchURL(request);
    if (done) {
      done(handled);
    }
  });
}

std::string LinuxApplicationHost::stateArchivePath(const HomeLayout& layout) {
  return layout.appData() + "/Library/Saved Application State/state.json";
}

bool LinuxApplicationHost::openLaunchURL(const LaunchURLRequest& request) {
  platform::assertMainThread("LinuxApplicationHost::openLaunchURL");
  // The host, not the sender, says who opens: a claim counts only for an
  // application installed on this phone.
  std::optional<std::string> source;
  if (request.claimedSource && home_) {
    std::vector<std::string> problems;
    if (InstalledApplications::read(home_->appsJson(), &problems).isInstalled(*request.claimedSource)) {
      source = request.claimedSource;
    }
    for (const auto& problem : problems) {
      PLATFORM_LOG(kLogWarning, "%@", problem);
    }
  }
  PLATFORM_LOG(kLogInfo, "Launch URL %@ from pid %d (%@), claiming %@, reported as %@", request.url,
        static_cast<int>(request.pid), request.executable, request.claimedSource,
        source ? *source : std::string("an unknown source"));
  if (!delegate_) {
    return false;
  }
  platform::Value::Dictionary options;
  if (source) {
    options[platform::kOpenURLOptionSourceApplication] = platform::Value(*source);
  }
  return delegate_->applicationOpenURL(*this, request.url, options);
}

void LinuxApplicationHost::saveApplicationState() {
  platform::assertMainThread("LinuxApplicationHost::saveApplicationState");
  if (!home_ || !delegate_ || !delegate_->applicationShouldSaveApplicationState(*this)) {
    return;
  }
  const auto window = ui::Window::keyWindow();
  const auto root = window ? window->rootViewController() : nullptr;
  if (!root || !root->restorationIdentifier()) {
    return;
  }
  ui::StateCoder coder;
  root->encodeRestorableStateWithCoder(coder);
  nlohmann::json archive = nlohmann::json::object();
  archive[*root->restorationIdentifier()] = toJson(platform::Value(coder.values()));
  if (auto error = writeFileAtomically(stateArchivePath(*home_), archive.dump(2, ' ', false,
                                                                              nlohmann::json::error_handler_t::replace))) {
    PLATFORM_LOG(kLogWarning, "The interface state cannot be saved: %@", *error);
  }
}

void LinuxApplicationHost::restoreApplicationState() {
  platform::assertMainThread("LinuxApplicationHost::restoreApplicationState");
  if (!home_ || !delegate_) {
    return;
  }
  auto archive = readBoundedJsonFile(stateArchivePath(*home_), 64 * 1024, 8);
  if (!archive.ok()) {
    const auto& error = archive.error();
    if (error.code() != platform::ErrorCode::FileReadNoSuchFile && error.code() != platform::ErrorCode::FileNoSuchFile) {
      PLATFORM_LOG(kLogWarning, "The saved interface state is not restored: %@",
                   error.localizedDescription().value_or(error.description()));
    }
    return;  // nothing saved, or nothing usable
  }
  if (!archive.value().is_object()) {
    PLATFORM_LOG(kLogWarning, "The saved interface state is not restored: it is not a JSON object");
    return;
  }
  if (!delegate_->applicationShouldRestoreApplicationState(*this)) {
    return;
  }
  const auto window = ui::Window::keyWindow();
  const auto root = window ? window->rootViewController() : nullptr;
  if (!root || !root->restorationIdentifier() || !archive.value().contains(*root->restorationIdentifier())) {
    return;
  }
  const platform::Value values = fromJson(archive.value()[*root->restorationIdentifier()]);
  if (const auto* dictionary = values.asDictionary()) {
    root->decodeRestorableStateWithCoder(ui::StateCoder(*dictionary));
  }
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
    saveApplicationState();
    if (notifications) {
      notifications->post(std::string(platform::kApplicationWillResignActiveNotification), this);
    }
  }
}

}  // namespace velune::host
