#pragma once
// SimulatedReachability: reachability as the simulated phone's network
// setting (device.json "network") says: every host is reachable over Wi-Fi
// (flags 0x2), over cellular (0x40002), or not at all (0) when offline. A
// change of the setting reaches every target's callback as soon as the
// DeviceMonitor sees it.

#include <memory>
#include <mutex>
#include <vector>

#include "host/DeviceMonitor.h"
#include "host/HostReachabilityTarget.h"
#include "platform/ReachabilityService.h"

namespace velune::host {

class SimulatedReachability final : public platform::ReachabilityService {
 public:
  static std::shared_ptr<SimulatedReachability> create(std::shared_ptr<DeviceMonitor> monitor);
  ~SimulatedReachability() override;

  std::shared_ptr<platform::ReachabilityTarget> createWithName(const std::string& hostName) override;

  static platform::ReachabilityFlags flagsFor(NetworkSetting network);
  // A name that DNS could hold: 1 to 253 characters, labels of letters,
  // digits and hyphens (or an IPv4 or bracket-free IPv6 address).
  static bool isValidHostName(const std::string& hostName);

 private:
  explicit SimulatedReachability(std::shared_ptr<DeviceMonitor> monitor) : monitor_(std::move(monitor)) {}
  void networkChanged(NetworkSetting network);

  const std::shared_ptr<DeviceMonitor> monitor_;
  DeviceMonitor::ListenerId listener_ = 0;
  std::mutex mutex_;
  std::vector<std::weak_ptr<HostReachabilityTarget>> targets_;
};

}  // namespace velune::host
