#pragma once
// ReachabilityService: whether a named internet host can be reached, and over
// which kind of network.
//
// A target is made for a host name. Its owner registers a callback function
// with an info value and a queue; from then on the service calls the
// function on that queue with the target's flags: once with the current flags
// when both the callback and the queue are set, then at every change of the
// flags. Callbacks of one target never overlap (they run on the one queue).
//
// Clearing the callback or the queue (or dropping the last reference to the
// target) stops delivery: no callback starts after the clearing call returns.
// A callback that is already running on another thread is waited for, so the
// clearing caller must not hold a lock that the callback takes; a callback
// may itself clear its target.

#include <cstdint>
#include <memory>
#include <string>

namespace velune::platform {

class DispatchQueue;
class ReachabilityTarget;

// The flags word of a target.
using ReachabilityFlags = std::uint32_t;
// The host can be reached.
inline constexpr ReachabilityFlags kReachabilityFlagsReachable = 0x2;
// The route to the host goes over the cellular network.
inline constexpr ReachabilityFlags kReachabilityFlagsOverCellular = 0x40000;

using ReachabilityCallback = void (*)(ReachabilityTarget& target, ReachabilityFlags flags, void* info);

// What the callback is handed besides the flags. The service keeps `info` as
// given: it neither retains nor releases it, so it must outlive the
// registration.
struct ReachabilityContext {
  void* info = nullptr;
};

class ReachabilityTarget {
 public:
  virtual ~ReachabilityTarget() = default;

  const std::string& hostName() const { return hostName_; }

  // A null callback clears the registration. False when it cannot be set.
  virtual bool setCallback(ReachabilityCallback callback, const ReachabilityContext* context) = 0;
  // A null queue clears it. False when it cannot be set.
  virtual bool setDispatchQueue(std::shared_ptr<DispatchQueue> queue) = 0;

 protected:
  explicit ReachabilityTarget(std::string hostName) : hostName_(std::move(hostName)) {}

 private:
  const std::string hostName_;
};

class ReachabilityService {
 public:
  virtual ~ReachabilityService() = default;

  // A target for a host name, or null when none can be made (an empty or
  // malformed name, or no source of reachability). Releasing the target is
  // dropping it.
  virtual std::shared_ptr<ReachabilityTarget> createWithName(const std::string& hostName) = 0;
};

}  // namespace velune::platform
