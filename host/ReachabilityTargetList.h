#pragma once
// ReachabilityTargetList: the targets a reachability source has handed out,
// held weakly, so that a change of the source's flags reaches every target
// still in use. Not locked: the source calls it under the lock that orders
// its changes of flags, so that no change falls between making a target and
// listing it.

#include <memory>
#include <string>
#include <vector>

#include "host/HostReachabilityTarget.h"
#include "platform/ReachabilityService.h"

namespace velune::host {

class ReachabilityTargetList {
 public:
  // A name that DNS could hold: 1 to 253 characters, labels of letters,
  // digits and hyphens (or an IPv4 or bracket-free IPv6 address). A name
  // refused is logged (debug): the source gives no target for it.
  static bool isValidHostName(const std::string& hostName);

  // A new target for `hostName` that starts with `flags`, kept in the list.
  std::shared_ptr<HostReachabilityTarget> add(const std::string& hostName, platform::ReachabilityFlags flags);
  // Tells every target still in use its new flags.
  void deliver(platform::ReachabilityFlags flags) const;

 private:
  std::vector<std::weak_ptr<HostReachabilityTarget>> targets_;
};

}  // namespace velune::host
