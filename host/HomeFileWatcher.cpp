#include "host/HomeFileWatcher.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

#include "host/FileSignature.h"
#include "platform/Log.h"

namespace velune::host {

namespace {

constexpr int kPollIntervalMilliseconds = 500;

// The watched file itself: a link put in its place is a change.
FileSignature signatureOf(const std::string& path) { return host::signatureOf(path, /*followLinks=*/false); }

}  // namespace

struct HomeFileWatcher::Core {
  Core(std::string folderPath, std::string fileName, std::function<void()> callback)
      : folder(std::move(folderPath)), name(std::move(fileName)), changed(std::move(callback)) {}
  ~Core() {
    if (inotifyFd >= 0) {
      ::close(inotifyFd);
    }
    if (stopFd >= 0) {
      ::close(stopFd);
    }
  }

  std::string path() const { return folder + "/" + name; }
  // Runs until stopped; returns true when it should go on by polling.
  bool watchLoop();
  void pollLoop();
  void run(bool watching) {
    if (watching && !watchLoop()) {
      return;
    }
    polling = true;
    pollLoop();
  }

  const std::string folder;
  const std::string name;
  const std::function<void()> changed;
  int inotifyFd = -1;
  int stopFd = -1;
  std::atomic<bool> polling{false};
  // What polling compares with: taken before start() returns, and before
  // the last read of a watch that ends, so that a change made right after
  // either is not taken for the starting state.
  FileSignature last;
};

std::unique_ptr<HomeFileWatcher> HomeFileWatcher::start(const std::string& folder, const std::string& name,
                                                        std::function<void()> changed, Method method) {
  std::unique_ptr<HomeFileWatcher> watcher(new HomeFileWatcher());
  watcher->core_ = std::make_shared<Core>(folder, name, std::move(changed));
  Core& core = *watcher->core_;
  core.stopFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (core.stopFd < 0) {
    // Without a way to stop it, a thread could outlive the watcher.
    PLATFORM_LOG(kLogErr, "Cannot follow changes of %@: %@", core.path(), std::strerror(errno));
    return watcher;
  }
  bool watching = false;
  if (method == Method::Automatic) {
    core.inotifyFd = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    int watchError = core.inotifyFd < 0 ? errno : 0;
    if (core.inotifyFd >= 0 &&
        ::inotify_add_watch(core.inotifyFd, folder.c_str(),
                            IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE | IN_ATTRIB |
                                IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR) < 0) {
      watchError = errno;
      ::close(core.inotifyFd);
      core.inotifyFd = -1;
    }
    watching = core.inotifyFd >= 0;
    if (!watching) {
      PLATFORM_LOG(kLogWarning, "Cannot watch %@ (%@); polling %@ instead", folder, std::strerror(watchError), name);
    }
  }
  core.polling = !watching;
  core.last = signatureOf(core.path());
  watcher->thread_ = std::thread([core = watcher->core_, watching] { core->run(watching); });
  return watcher;
}

HomeFileWatcher::~HomeFileWatcher() {
  if (core_ && core_->stopFd >= 0) {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(core_->stopFd, &one, sizeof one);
  }
  if (thread_.joinable()) {
    if (thread_.get_id() == std::this_thread::get_id()) {
      thread_.detach();  // dropped by its own callback: the thread ends by itself
    } else {
      thread_.join();
    }
  }
}

bool HomeFileWatcher::isPolling() const {
  return core_->polling.load();
}

bool HomeFileWatcher::Core::watchLoop() {
  std::vector<char> buffer(64 * 1024);
  while (true) {
    pollfd fds[2] = {{stopFd, POLLIN, 0}, {inotifyFd, POLLIN, 0}};
    if (::poll(fds, 2, -1) < 0) {
      if (errno == EINTR) {
        continue;
      }
      PLATFORM_LOG(kLogWarning, "Stopped hearing changes of %@ (%@); polling it instead", path(),
                   std::strerror(errno));
      last = signatureOf(path());
      changed();
      return true;
    }
    if ((fds[0].revents & POLLIN) != 0) {
      return false;
    }
    bool fileTouched = false;
    bool folderGone = false;
    // Take every queued event before acting: one save is often several events.
    while (true) {
      const ssize_t n = ::read(inotifyFd, buffer.data(), buffer.size());
      if (n <= 0) {
        break;
      }
      for (ssize_t offset = 0; offset < n;) {
        inotify_event event;
        std::memcpy(&event, buffer.data() + offset, sizeof event);
        const char* eventName = buffer.data() + offset + sizeof(inotify_event);
        offset += static_cast<ssize_t>(sizeof(inotify_event) + event.len);
        if ((event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0) {
          folderGone = true;
        } else if ((event.mask & IN_Q_OVERFLOW) != 0) {
          fileTouched = true;
        } else if (event.len > 0 && name == eventName) {
          fileTouched = true;
        }
      }
    }
    if (folderGone) {
      // Polling goes on from the state before this read: a file made in a new
      // folder while the receiver reads is then a change polling sees.
      last = signatureOf(path());
      changed();
      PLATFORM_LOG(kLogWarning, "%@ was moved or removed; polling %@ instead", folder, name);
      return true;
    }
    if (fileTouched) {
      changed();
    }
  }
}

void HomeFileWatcher::Core::pollLoop() {
  while (true) {
    pollfd stop = {stopFd, POLLIN, 0};
    const int ready = ::poll(&stop, 1, kPollIntervalMilliseconds);
    if (ready > 0 && (stop.revents & POLLIN) != 0) {
      return;
    }
    const FileSignature now = signatureOf(path());
    if (!(now == last)) {
      last = now;
      changed();
    }
  }
}

}  // namespace velune::host
