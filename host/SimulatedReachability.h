#pragma once
// SimulatedReachability: reachability as the simulated phone's network
// setting (device.json "network") says: every host is reachable over Wi-Fi
// (flags 0x2), over cellular (0x40002), or not at all (0) when offline. A
// change of the setting reaches every target's callback as soon as the
// DeviceMonitor sees it.

#include <memory>
#include <mutex>

#include "host/DeviceMonitor.h"
#include "host/ReachabilityTargetList.h"
#include "platform/ReachabilityService.h"

namespace velune::host {

class SimulatedReachability final : public platform::ReachabilityService {
 public:
  static std::shared_ptr<SimulatedReachability> create(std::shared_ptr<DeviceMonitor> monitor);
  ~SimulatedReachability() override;

  std::shared_ptr<platform::ReachabilityTarget> createWithName(const std::string& hostName) override;

  static platform::ReachabilityFlags flagsFor(NetworkSetting network);

 private:
  explicit SimulatedReachability(std::shared_ptr<DeviceMonitor> monitor) : monitor_(std::move(monitor)) {}
  void networkChanged(NetworkSetting network);

  const std::shared_ptr<DeviceMonitor> monitor_;
  DeviceMonitor::ListenerId listener_ = 0;
  std::mutex mutex_;
  ReachabilityTargetList targets_;
};

}  // namespace velune::host
