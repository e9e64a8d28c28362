#include "diag/NetworkWatcher.h"

#include "diag/DRLogging.h"
#include "platform/DispatchQueue.h"
#include "platform/Format.h"
#include "platform/Platform.h"

namespace velune {

NetworkWatcher::NetworkWatcher() : _queue(platform::DispatchQueue::createSerial(kNetworkWatcherQueueLabel)) {}

NetworkWatcher::~NetworkWatcher() {
  stop();
}

NetworkWatcher& NetworkWatcher::sharedNetworkWatcher() {
  // Never destroyed: the reachability callbacks may run until the process ends.
  static auto* shared = new NetworkWatcher();
  return *shared;
}

void NetworkWatcher::start() {
  if (_reachability) {
    return;
  }
  const auto reachability = VELUNE_SERVICE(reachability);
  _reachability = reachability->createWithName(kNetworkWatcherHostName);
  if (!_reachability) {
    DRLOG(kLogErr, "Couldn't create reachability object");
    _reachabilityFlags.store(0, std::memory_order_relaxed);
    _updateState(NetworkStateNotConnected);
    return;
  }
  // The watcher outlives its registration (the shared one lives for the
  // process; others stop when destroyed), so the context holds it plainly.
  const platform::ReachabilityContext context{this};
  if (!_reachability->setCallback(&NetworkWatcher::_reachabilityDidChange, &context) ||
      !_reachability->setDispatchQueue(_queue)) {
    DRLOG(kLogErr, "Couldn't set reachability callback or queue");
    _reachabilityFlags.store(0, std::memory_order_relaxed);
    _updateState(NetworkStateNotConnected);
  }
}

void NetworkWatcher::stop() {
  if (!_reachability) {
    return;
  }
  _reachability->setCallback(nullptr, nullptr);
  _reachability->setDispatchQueue(nullptr);
  _reachability.reset();
  _reachabilityFlags.store(0, std::memory_order_relaxed);
  _networkState.store(NetworkStateUnknown, std::memory_order_relaxed);
}

bool NetworkWatcher::isConnected() const {
  const NetworkState state = networkState();
  return state == NetworkStateWiFi || state == NetworkStateCellular;
}

std::string NetworkWatcher::_descriptionForNetworkState(NetworkState state) {
  switch (state) {
    case NetworkStateUnknown:
      return "unknown";
    case NetworkStateNotConnected:
      return "not connected";
    case NetworkStateWiFi:
      return "connected to Wi-Fi";
    case NetworkStateCellular:
      return "connected to cellular";
  }
  return platform::format("??? (%lu)", static_cast<unsigned long>(state));
}

void NetworkWatcher::_updateState(NetworkState state) {
  if (state == networkState()) {
    return;
  }
  DRLOG(kLogInfo, "Network state changed to %@", _descriptionForNetworkState(state));
  _networkState.store(state, std::memory_order_relaxed);
}

void NetworkWatcher::_reachabilityDidChange(platform::ReachabilityTarget& /*target*/, platform::ReachabilityFlags flags,
                                            void* info) {
  auto* watcher = static_cast<NetworkWatcher*>(info);
  DRLOG(kLogInfo, "Network reachability flags changed to 0x%x", flags);
  watcher->_reachabilityFlags.store(flags, std::memory_order_relaxed);
  // Only "reachable" and "over cellular" count; the other bits (connection
  // required, transient connection...) do not change the state.
  NetworkState state = NetworkStateNotConnected;
  if ((flags & platform::kReachabilityFlagsReachable) != 0) {
    state = (flags & platform::kReachabilityFlagsOverCellular) != 0 ? NetworkStateCellular : NetworkStateWiFi;
  }
  watcher->_updateState(state);
}

}  // namespace velune
