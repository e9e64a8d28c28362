#include "host/SimulatedReachability.h"

#include <algorithm>
#include <cctype>

#include "diag/DRLogging.h"

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

bool SimulatedReachability::isValidHostName(const std::string& hostName) {
  if (hostName.empty() || hostName.size() > 253) {
    return false;
  }
  if (hostName.find(':') != std::string::npos) {
    // An IPv6 address: hexadecimal digits, colons and dots only.
    return std::all_of(hostName.begin(), hostName.end(),
                       [](unsigned char c) { return std::isxdigit(c) != 0 || c == ':' || c == '.'; });
  }
  size_t labelStart = 0;
  while (labelStart <= hostName.size()) {
    size_t end = hostName.find('.', labelStart);
    if (end == std::string::npos) {
      end = hostName.size();
    }
    const size_t length = end - labelStart;
    // A trailing dot (a fully qualified name) leaves one empty last label.
    const bool trailingDot = end == hostName.size() && length == 0 && labelStart > 0;
    if (!trailingDot) {
      if (length == 0 || length > 63 || hostName[labelStart] == '-' || hostName[end - 1] == '-') {
        return false;
      }
      for (size_t i = labelStart; i < end; ++i) {
        const auto c = static_cast<unsigned char>(hostName[i]);
        if (std::isalnum(c) == 0 && c != '-') {
          return false;
        }
      }
    }
    labelStart = end + 1;
  }
  return true;
}

std::shared_ptr<platform::ReachabilityTarget> SimulatedReachability::createWithName(const std::string& hostName) {
  if (!isValidHostName(hostName)) {
    DRLOG(kLogDebug, "No reachability target for the host name \"%@\"", hostName);
    return nullptr;
  }
  std::lock_guard lock(mutex_);
  // The flags are read under the lock that changes go through, so no change
  // falls between the reading and the registration.
  auto target = HostReachabilityTarget::create(hostName, flagsFor(monitor_->configuration().network));
  std::erase_if(targets_, [](const auto& weak) { return weak.expired(); });
  targets_.push_back(target);
  return target;
}

void SimulatedReachability::networkChanged(NetworkSetting network) {
  std::lock_guard lock(mutex_);
  const platform::ReachabilityFlags flags = flagsFor(network);
  for (const auto& weak : targets_) {
    if (auto target = weak.lock()) {
      target->deliver(flags);
    }
  }
}

}  // namespace velune::host
