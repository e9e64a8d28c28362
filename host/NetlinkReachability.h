#pragma once
// NetlinkReachability: reachability of the real Linux machine, read from the
// kernel's routing tables through rtnetlink.
//
// Any host counts as reachable while a usable default route exists: a
// unicast route to 0.0.0.0/0 or ::/0 (outside the local table) whose output
// interface is up and running and is not the loopback. The route with the
// lowest metric decides the kind: over cellular (0x40000 with 0x2) when its
// interface is a WWAN interface (named "wwan*", of the link kind "wwan", or
// with the device type "wwan"), else plain reachable (0x2). Host names are
// not resolved: reachability here means "the machine has a way out".
//
// A thread listens to link, address and route changes and re-reads the
// tables after each burst; targets get the new flags when they change.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/ReachabilityTargetList.h"
#include "platform/ReachabilityService.h"
#include "platform/Result.h"

namespace velune::host {

class NetlinkReachability final : public platform::ReachabilityService {
 public:
  struct Link {
    int index = 0;
    std::string name;
    std::uint32_t flags = 0;  // IFF_UP, IFF_RUNNING, IFF_LOOPBACK...
    std::string kind;         // the link kind ("wwan", "veth"...), when it has one
    std::string deviceType;   // the device type of sysfs ("wwan", "wlan"...), when known
  };
  struct Route {
    int family = 0;
    int destinationLength = 0;
    std::uint32_t table = 0;
    int type = 0;
    std::vector<int> outputInterfaces;  // one, or the next hops of a multipath route
    std::uint32_t metric = 0;
  };
  struct Tables {
    std::vector<Link> links;
    std::vector<Route> routes;
  };

  NetlinkReachability() = default;
  ~NetlinkReachability() override;
  NetlinkReachability(const NetlinkReachability&) = delete;
  NetlinkReachability& operator=(const NetlinkReachability&) = delete;

  // Null when the kernel's routing tables cannot be read.
  std::shared_ptr<platform::ReachabilityTarget> createWithName(const std::string& hostName) override;

  // The flags that the tables give.
  static platform::ReachabilityFlags flagsFor(const Tables& tables);
  static bool isCellular(const Link& link);

  // Adds the links and routes of a buffer of netlink messages to `tables`.
  // Answers whether the dump is complete (NLMSG_DONE seen); an error message
  // or a malformed buffer gives an error.
  static platform::Result<bool> parseMessages(const void* data, std::size_t length, Tables& tables);

  // Reads the kernel's tables now.
  static platform::Result<Tables> readTables();

 private:
  bool startLocked();
  void listen();
  void refresh();

  std::mutex mutex_;
  ReachabilityTargetList targets_;
  platform::ReachabilityFlags flags_ = 0;
  bool started_ = false;
  int eventSocket_ = -1;
  int stopFd_ = -1;
  std::thread thread_;
};

}  // namespace velune::host
