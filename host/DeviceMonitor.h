#pragma once
// DeviceMonitor: keeps the simulated phone's settings (HOME/device.json) and
// follows changes that other processes make to them (vdtool, the control
// panel, an editor), and to the application-state file HOME/app-state.json
// ({"state": "active" | "background"}, written by `vdtool app`).
//
// Changes are seen through inotify on the home folder, so they reach the
// listeners within milliseconds; where inotify cannot be had, the files are
// polled twice a second. Listeners run on the monitor's own thread, one
// change at a time and in order; they must not block for long.
//
// Bad files never stop the device: each problem is logged (level 4); a
// device.json that is not JSON keeps the settings in force, a field that
// cannot be read keeps its value, a missing device.json gives the defaults.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "host/DeviceConfiguration.h"
#include "host/HomeLayout.h"

namespace velune::host {

enum class ApplicationState { Active, Background };

// How changes are seen: inotify where the system has it (else polling), or
// polling twice a second in any case.
enum class DeviceWatchMethod { Automatic, Polling };

class DeviceMonitor {
 public:
  using ListenerId = std::uint64_t;
  // Called with the settings before and after a change (only when they differ).
  using ConfigurationListener =
      std::function<void(const DeviceConfiguration& previous, const DeviceConfiguration& current)>;
  // Called with the state the file asks for, at every write of the file
  // (also when it names the state already in force: the receiver decides).
  using ApplicationStateListener = std::function<void(ApplicationState state)>;

  // Reads device.json once, without logging; nothing is watched and nothing
  // is logged before start().
  static std::shared_ptr<DeviceMonitor> create(HomeLayout layout);
  ~DeviceMonitor();
  DeviceMonitor(const DeviceMonitor&) = delete;
  DeviceMonitor& operator=(const DeviceMonitor&) = delete;

  // Starts following the home's files (once; later calls only re-read
  // device.json), and re-reads device.json, logging its problems.
  void start(DeviceWatchMethod method = DeviceWatchMethod::Automatic);
  // Re-reads the files now, as a change notice does.
  void reload();

  DeviceConfiguration configuration() const;

  ListenerId addConfigurationListener(ConfigurationListener listener);
  ListenerId addApplicationStateListener(ApplicationStateListener listener);
  void removeListener(ListenerId id);

  const HomeLayout& layout() const;
  std::string applicationStateFile() const;
  // Where the application-state file of a home is.
  static std::string applicationStateFile(const HomeLayout& layout);

  static constexpr const char* kApplicationStateFileName = "app-state.json";
  // The state the file holds, or nothing (with the reason) when it cannot be read.
  static std::optional<ApplicationState> readApplicationState(const std::string& path, std::string* problem);
  // Writes the file atomically.
  static std::optional<platform::Error> writeApplicationState(const std::string& path, ApplicationState state);

 private:
  struct Core;
  explicit DeviceMonitor(HomeLayout layout);

  // What the watching thread works on; the thread keeps it alive, so a
  // monitor dropped by one of its own listeners never leaves the thread
  // with freed state.
  const std::shared_ptr<Core> core_;
  std::once_flag started_;
  std::thread thread_;
};

}  // namespace velune::host
