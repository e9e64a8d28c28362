#include "host/SimulatedReachability.h"

namespace velune::host {

std::shared_ptr<SimulatedReachability> SimulatedReachability::create(std::shared_ptr<DeviceMonitor> monitor) {
  std::shared_ptr<SimulatedReachability> service(new SimulatedReachability(std::move(monitor)));
  std::weak_ptr<SimulatedReachability> weakService = service;
  service->listener_ = service->monitor_->addConfigurationListener(
      [weakService](const DeviceConfiguration& previous, const DeviceConfiguration& current) {
        if (previous.network == current.network) {
          return;
        }
        if (auto strong = weakService.lock()) {
          strong->networkChanged(current.network);
        }
      });
  return service;
}

SimulatedReachability::~SimulatedReachability() {
  monitor_->removeListener(listener_);
}

platform::ReachabilityFlags SimulatedReachability::flagsFor(NetworkSetting network) {
  switch (network) {
    case NetworkSetting::WiFi:
      return platform::kReachabilityFlagsReachable;
    case NetworkSetting::Cellular:
      return platform::kReachabilityFlagsReachable | platform::kReachabilityFlagsOverCellular;
    case NetworkSetting::Offline:
      return 0;
  }
  return 0;
}

std::shared_ptr<platform::ReachabilityTarget> SimulatedReachability::createWithName(const std::string& hostName) {
  if (!ReachabilityTargetList::isValidHostName(hostName)) {
    return nullptr;
  }
  std::lock_guard lock(mutex_);
  // The flags are read under the lock that changes go through, so no change
  // falls between the reading and the registration.
  return targets_.add(hostName, flagsFor(monitor_->configuration().network));
}

void SimulatedReachability::networkChanged(NetworkSetting network) {
  std::lock_guard lock(mutex_);
  targets_.deliver(flagsFor(network));
}

}  // namespace velune::host
