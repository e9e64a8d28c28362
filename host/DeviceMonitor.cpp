#include "host/DeviceMonitor.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <vector>

#include "platform/Log.h"
#include "host/HomeFileReader.h"
#include "host/HomeJson.h"
#include "host/FileIO.h"
#include "host/FileSignature.h"

namespace velune::host {

namespace {

constexpr const char* kDeviceFileName = "device.json";
constexpr int kPollIntervalMilliseconds = 500;

// device.json and app-state.json are signed by what they lead to.
FileSignature signatureOf(const std::string& path) { return host::signatureOf(path, /*followLinks=*/true); }

// One save often reaches the monitor as several events, and each makes it read
// the file again: what is wrong with a file that has not changed since it was
// last said is not said again.
class ComplaintMemory {
 public:
  // True when these problems were already reported for the file as it is now.
  bool alreadySaid(const std::string& path, const std::vector<std::string>& problems) {
    const FileSignature now = signatureOf(path);
    if (problems.empty()) {
      said_.clear();
      return false;
    }
    if (now.exists && now == file_ && problems == said_) {
      return true;
    }
    file_ = now;
    said_ = problems;
    return false;
  }

 private:
  FileSignature file_;
  std::vector<std::string> said_;
};

}  // namespace

struct DeviceMonitor::Core {
  explicit Core(HomeLayout home) : layout(std::move(home)) {}
  ~Core() {
    if (inotifyFd >= 0) {
      close(inotifyFd);
    }
    if (stopFd >= 0) {
      close(stopFd);
    }
  }

  std::string deviceFile() const { return layout.deviceJson(); }
  std::string stateFile() const { return DeviceMonitor::applicationStateFile(layout); }

  void reloadConfiguration();
  void reloadApplicationState();
  void watchLoop();
  // `device` and `state`: the files as they were when watching began.
  void pollLoop(FileSignature device, FileSignature state);

  const HomeLayout layout;
  int inotifyFd = -1;
  int stopFd = -1;

  std::mutex mutex;
  DeviceConfiguration configuration;
  std::map<ListenerId, std::shared_ptr<ConfigurationListener>> configurationListeners;
  std::map<ListenerId, std::shared_ptr<ApplicationStateListener>> stateListeners;
  ListenerId nextId = 1;

  // Serialises re-reading, so listeners see changes one at a time, in order.
  std::mutex reloadMutex;
  // Guarded by reloadMutex.
  ComplaintMemory deviceComplaints;
  ComplaintMemory stateComplaints;
};

std::shared_ptr<DeviceMonitor> DeviceMonitor::create(HomeLayout layout) {
  return std::shared_ptr<DeviceMonitor>(new DeviceMonitor(std::move(layout)));
}

DeviceMonitor::DeviceMonitor(HomeLayout layout) : core_(std::make_shared<Core>(std::move(layout))) {
  // Not logged here: the monitor is made while the services are wired, before
  // the log may be used; start() reads the file again and says what is wrong.
  core_->configuration = DeviceConfiguration::read(core_->deviceFile());
}

DeviceMonitor::~DeviceMonitor() {
  if (core_->stopFd >= 0) {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(core_->stopFd, &one, sizeof one);
  }
  if (thread_.joinable()) {
    if (thread_.get_id() == std::this_thread::get_id()) {
      thread_.detach();  // dropped by a listener: the thread ends by itself
    } else {
      thread_.join();
    }
  }
}

const HomeLayout& DeviceMonitor::layout() const {
  return core_->layout;
}

std::string DeviceMonitor::applicationStateFile() const {
  return core_->stateFile();
}

std::string DeviceMonitor::applicationStateFile(const HomeLayout& layout) {
  return layout.root() + "/" + kApplicationStateFileName;
}

void DeviceMonitor::start(DeviceWatchMethod method) {
  std::call_once(started_, [this, method] {
    Core& core = *core_;
    core.stopFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (core.stopFd < 0) {
      PLATFORM_LOG(kLogErr, "Cannot follow changes of the device settings: %@", std::strerror(errno));
      return;
    }
    // The files as they are now, before start() returns: a change made right
    // after it must count as a change even if the thread starts late.
    const FileSignature device = signatureOf(core.deviceFile());
    const FileSignature state = signatureOf(core.stateFile());
    if (method == DeviceWatchMethod::Polling) {
      thread_ = std::thread([core = core_, device, state] { core->pollLoop(device, state); });
      return;
    }
    core.inotifyFd = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    int watchError = core.inotifyFd < 0 ? errno : 0;
    if (core.inotifyFd >= 0 && inotify_add_watch(core.inotifyFd, core.layout.root().c_str(),
                                                 IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE |
                                                     IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR) < 0) {
      watchError = errno;
      close(core.inotifyFd);
      core.inotifyFd = -1;
    }
    if (core.inotifyFd < 0) {
      PLATFORM_LOG(kLogWarning, "Cannot watch %@ (%@); polling the device settings instead", core.layout.root(),
            std::strerror(watchError));
      thread_ = std::thread([core = core_, device, state] { core->pollLoop(device, state); });
    } else {
      thread_ = std::thread([core = core_] { core->watchLoop(); });
    }
  });
  // What changed since the monitor was made is caught now; the problems of
  // the file are logged now. The application state is not read: an app
  // starts active whatever an old app-state.json says.
  core_->reloadConfiguration();
}

void DeviceMonitor::Core::watchLoop() {
  std::vector<char> buffer(64 * 1024);
  while (true) {
    pollfd fds[2] = {{stopFd, POLLIN, 0}, {inotifyFd, POLLIN, 0}};
    if (poll(fds, 2, -1) < 0) {
      if (errno == EINTR) {
        continue;
      }
      PLATFORM_LOG(kLogErr, "Stopped following the device settings: %@", std::strerror(errno));
      return;
    }
    if ((fds[0].revents & POLLIN) != 0) {
      return;
    }
    bool deviceChanged = false;
    bool stateWritten = false;
    bool homeGone = false;
    // Take every queued event before acting: one save is often several events.
    while (true) {
      const ssize_t n = read(inotifyFd, buffer.data(), buffer.size());
      if (n <= 0) {
        break;
      }
      for (ssize_t offset = 0; offset < n;) {
        inotify_event event;
        std::memcpy(&event, buffer.data() + offset, sizeof event);
        const char* name = buffer.data() + offset + sizeof(inotify_event);
        offset += static_cast<ssize_t>(sizeof(inotify_event) + event.len);
        if ((event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0) {
          homeGone = true;
          continue;
        }
        if ((event.mask & IN_Q_OVERFLOW) != 0) {
          deviceChanged = stateWritten = true;
          continue;
        }
        const std::string_view fileName = event.len > 0 ? std::string_view(name) : std::string_view();
        if (fileName == kDeviceFileName) {
          deviceChanged = true;
        } else if (fileName == kApplicationStateFileName && (event.mask & (IN_CLOSE_WRITE | IN_MOVED_TO)) != 0) {
          stateWritten = true;
        }
      }
    }
    if (deviceChanged) {
      reloadConfiguration();
    }
    if (stateWritten) {
      reloadApplicationState();
    }
    if (homeGone) {
      PLATFORM_LOG(kLogWarning, "The home %@ was moved or removed; device settings are no longer followed", layout.root());
      return;
    }
  }
}

void DeviceMonitor::Core::pollLoop(FileSignature device, FileSignature state) {
  while (true) {
    pollfd stop = {stopFd, POLLIN, 0};
    const int ready = poll(&stop, 1, kPollIntervalMilliseconds);
    if (ready > 0 && (stop.revents & POLLIN) != 0) {
      return;
    }
    const FileSignature deviceNow = signatureOf(deviceFile());
    if (!(deviceNow == device)) {
      device = deviceNow;
      reloadConfiguration();
    }
    const FileSignature stateNow = signatureOf(stateFile());
    if (!(stateNow == state)) {
      state = stateNow;
      if (stateNow.exists) {
        reloadApplicationState();
      }
    }
  }
}

void DeviceMonitor::reload() {
  core_->reloadConfiguration();
  core_->reloadApplicationState();
}

void DeviceMonitor::Core::reloadConfiguration() {
  std::lock_guard reloading(reloadMutex);
  DeviceConfiguration previous;
  {
    std::lock_guard lock(mutex);
    previous = configuration;
  }
  std::vector<std::string> problems;
  const DeviceConfiguration current = DeviceConfiguration::read(deviceFile(), &problems, previous);
  if (!deviceComplaints.alreadySaid(deviceFile(), problems)) {
    for (const auto& problem : problems) {
      PLATFORM_LOG(kLogWarning, "%@", problem);
    }
  }
  if (previous == current) {
    return;
  }
  std::vector<std::shared_ptr<ConfigurationListener>> listeners;
  {
    std::lock_guard lock(mutex);
    configuration = current;
    for (const auto& [id, listener] : configurationListeners) {
      listeners.push_back(listener);
    }
  }
  if (previous.network != current.network) {
    PLATFORM_LOG(kLogDebug, "Device network is now %@", DeviceConfiguration::networkName(current.network));
  }
  if (previous.identityToken != current.identityToken) {
    PLATFORM_LOG(kLogDebug, "Device account is now %@", current.identityToken ? "signed in" : "signed out");
  }
  for (const auto& listener : listeners) {
    (*listener)(previous, current);
  }
}

void DeviceMonitor::Core::reloadApplicationState() {
  std::lock_guard reloading(reloadMutex);
  std::string problem;
  const auto state = readApplicationState(stateFile(), &problem);
  std::vector<std::string> problems;
  if (!problem.empty()) {
    problems.push_back(problem);
  }
  if (!stateComplaints.alreadySaid(stateFile(), problems)) {
    for (const auto& said : problems) {
      PLATFORM_LOG(kLogWarning, "%@", said);
    }
  }
  if (!state) {
    return;
  }
  std::vector<std::shared_ptr<ApplicationStateListener>> listeners;
  {
    std::lock_guard lock(mutex);
    for (const auto& [id, listener] : stateListeners) {
      listeners.push_back(listener);
    }
  }
  for (const auto& listener : listeners) {
    (*listener)(*state);
  }
}

DeviceConfiguration DeviceMonitor::configuration() const {
  std::lock_guard lock(core_->mutex);
  return core_->configuration;
}

DeviceMonitor::ListenerId DeviceMonitor::addConfigurationListener(ConfigurationListener listener) {
  std::lock_guard lock(core_->mutex);
  const ListenerId id = core_->nextId++;
  core_->configurationListeners.emplace(id, std::make_shared<ConfigurationListener>(std::move(listener)));
  return id;
}

DeviceMonitor::ListenerId DeviceMonitor::addApplicationStateListener(ApplicationStateListener listener) {
  std::lock_guard lock(core_->mutex);
  const ListenerId id = core_->nextId++;
  core_->stateListeners.emplace(id, std::make_shared<ApplicationStateListener>(std::move(listener)));
  return id;
}

void DeviceMonitor::removeListener(ListenerId id) {
  std::lock_guard lock(core_->mutex);
  core_->configurationListeners.erase(id);
  core_->stateListeners.erase(id);
}

std::optional<ApplicationState> DeviceMonitor::readApplicationState(const std::string& path, std::string* problem) {
  std::string contents;
  if (const int error = readHomeFile(path, kSettingsFileLimit, contents)) {
    if (error != ENOENT && problem != nullptr) {
      const auto why = homeFileError(error, path);
      *problem = std::string(kApplicationStateFileName) +
                 " cannot be read: " + why.localizedDescription().value_or(why.description());
    }
    return std::nullopt;
  }
  const auto json = parseHomeJson(contents);
  if (json.is_object()) {
    const auto state = json.find("state");
    if (state != json.end() && *state == "active") {
      return ApplicationState::Active;
    }
    if (state != json.end() && *state == "background") {
      return ApplicationState::Background;
    }
  }
  if (problem != nullptr) {
    *problem = std::string(kApplicationStateFileName) +
               ": expected {\"state\": \"active\"} or {\"state\": \"background\"}; ignored";
  }
  return std::nullopt;
}

std::optional<platform::Error> DeviceMonitor::writeApplicationState(const std::string& path, ApplicationState state) {
  nlohmann::json json;
  json["state"] = state == ApplicationState::Active ? "active" : "background";
  return writeFileAtomically(path, homeJsonText(json));
}

}  // namespace velune::host
