#pragma once
// NetworkWatcher: follows the reachability of the internet and keeps one
// value, the NetworkState, for the components that decide by it (quota
// fetches, automatic downloads, the cellular warning, download error texts).
// It posts no notifications.
//
// Threads: start() and stop() on the main thread. Reachability callbacks, and
// the state changes they make, run on the watcher's serial queue
// "com.vorlan.VeluneDriveApp.networkwatcher". networkState() and
// isConnected() may be read from any thread without a lock (one word, stored
// in one store).
//
// The process uses the one shared instance; tests make their own. A watcher
// must outlive its registration: destruction stops it.

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/ReachabilityService.h"

namespace velune::platform {
class DispatchQueue;
}  // namespace velune::platform

namespace velune {

// The values are fixed (they are read and logged as numbers).
enum NetworkState : unsigned long {
  NetworkStateUnknown = 0,
  NetworkStateNotConnected = 1,
  NetworkStateWiFi = 2,
  NetworkStateCellular = 3,
};

inline constexpr const char* kNetworkWatcherQueueLabel = "com.vorlan.VeluneDriveApp.networkwatcher";
// The host whose reachability stands for "the internet".
inline constexpr const char* kNetworkWatcherHostName = "www.wikipedia.org";

class NetworkWatcher {
 public:
  NetworkWatcher();
  ~NetworkWatcher();
  NetworkWatcher(const NetworkWatcher&) = delete;
  NetworkWatcher& operator=(const NetworkWatcher&) = delete;

  // The shared instance, made exactly once on first use; it lives for the process.
  static NetworkWatcher& sharedNetworkWatcher();

  // Begins watching; does nothing when a target already exists. On failure
  // the state becomes not connected (logged, not retried).
  void start();
  // Drops the target; the flags become 0 and the state unknown, without a log line.
  void stop();

  NetworkState networkState() const { return _networkState.load(std::memory_order_relaxed); }
  // Wi-Fi or cellular.
  bool isConnected() const;
  std::uint32_t reachabilityFlags() const { return _reachabilityFlags.load(std::memory_order_relaxed); }
  const std::shared_ptr<platform::DispatchQueue>& queue() const { return _queue; }

  static std::string _descriptionForNetworkState(NetworkState state);
  // Logs and stores a state that differs from the current one.
  void _updateState(NetworkState state);
  // The callback given to the ReachabilityService; `info` is the watcher.
  static void _reachabilityDidChange(platform::ReachabilityTarget& target, platform::ReachabilityFlags flags,
                                     void* info);

 private:
  const std::shared_ptr<platform::DispatchQueue> _queue;
  std::shared_ptr<platform::ReachabilityTarget> _reachability;
  std::atomic<std::uint32_t> _reachabilityFlags{0};
  std::atomic<NetworkState> _networkState{NetworkStateUnknown};
};

}  // namespace velune
