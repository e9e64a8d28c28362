#pragma once
// HostReachabilityTarget: a reachability target of the simulated phone,
// shared by the sources (SimulatedReachability, NetlinkReachability).
//
// The source tells the target every new flags word (deliver()); the target
// hands each to its callback on its queue while both are set, and the flags
// it has when it becomes armed. Posting happens under the target's lock, so
// callbacks see the flags in the order the source gave them.
//
// Clearing the callback or the queue waits for a callback that is running on
// another thread, so that none runs after the clearing call returns; a
// callback may clear its own target.

#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/ReachabilityService.h"

namespace velune::host {

class HostReachabilityTarget final : public platform::ReachabilityTarget,
                                     public std::enable_shared_from_this<HostReachabilityTarget> {
 public:
  static std::shared_ptr<HostReachabilityTarget> create(std::string hostName, platform::ReachabilityFlags flags);

  bool setCallback(platform::ReachabilityCallback callback, const platform::ReachabilityContext* context) override;
  bool setDispatchQueue(std::shared_ptr<platform::DispatchQueue> queue) override;

  // From the source: the flags are now `flags` (delivered only when they differ).
  void deliver(platform::ReachabilityFlags flags);
  platform::ReachabilityFlags flags() const;

 private:
  HostReachabilityTarget(std::string hostName, platform::ReachabilityFlags flags)
      : ReachabilityTarget(std::move(hostName)), flags_(flags) {}
  bool armedLocked() const { return callback_ != nullptr && queue_ != nullptr; }
  void postLocked(platform::ReachabilityFlags flags);
  void run(std::uint64_t generation, platform::ReachabilityFlags flags);

  // Held while a callback runs, and by the clearing calls.
  std::recursive_mutex deliveryMutex_;
  mutable std::mutex mutex_;
  platform::ReachabilityCallback callback_ = nullptr;
  void* info_ = nullptr;
  std::shared_ptr<platform::DispatchQueue> queue_;
  platform::ReachabilityFlags flags_;
  // Changes at every clearing, so that deliveries queued before it are dropped.
  std::uint64_t generation_ = 0;
};

}  // namespace velune::host
