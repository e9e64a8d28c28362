#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <condition_variable>
#include <cstring>
#include <mutex>

#include "host/NetlinkReachability.h"
#include "platform/DispatchQueue.h"
#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

using Link = NetlinkReachability::Link;
using Route = NetlinkReachability::Route;
using Tables = NetlinkReachability::Tables;

constexpr std::uint32_t kUp = IFF_UP | IFF_RUNNING;

Route defaultRoute(int oif, std::uint32_t metric = 0, int family = AF_INET) {
  Route route;
  route.family = family;
  route.destinationLength = 0;
  route.table = RT_TABLE_MAIN;
  route.type = RTN_UNICAST;
  route.outputInterfaces = {oif};
  route.metric = metric;
  return route;
}

TEST(NetlinkReachability, Flags_ComeFromTheBestUsableDefaultRoute) {
  const Link loopback{1, "lo", kUp | IFF_LOOPBACK, "", ""};
  const Link ethernet{2, "eth0", kUp, "", ""};
  const Link modem{3, "wwan0", kUp, "", ""};
  const Link modemByKind{4, "mbim0", kUp, "wwan", ""};
  const Link modemByType{5, "usb0", kUp, "", "wwan"};
  const Link cableOut{6, "eth1", IFF_UP, "", ""};  // up, but no carrier

  struct Case {
    const char* what;
    Tables tables;
    platform::ReachabilityFlags flags;
  };
  Route subnet = defaultRoute(2);
  subnet.destinationLength = 24;
  Route local = defaultRoute(2);
  local.table = RT_TABLE_LOCAL;
  Route blackhole = defaultRoute(2);
  blackhole.type = RTN_BLACKHOLE;
  Route multipath = defaultRoute(6);
  multipath.outputInterfaces = {6, 3};

  const Case cases[] = {
      {"no routes", {{loopback, ethernet}, {}}, 0x0},
      {"only a subnet route", {{ethernet}, {subnet}}, 0x0},
      {"default route over ethernet", {{ethernet}, {defaultRoute(2)}}, 0x2},
      {"default route over IPv6 only", {{ethernet}, {defaultRoute(2, 0, AF_INET6)}}, 0x2},
      {"default route over a modem", {{modem}, {defaultRoute(3)}}, 0x40002},
      {"modem known by its link kind", {{modemByKind}, {defaultRoute(4)}}, 0x40002},
      {"modem known by its device type", {{modemByType}, {defaultRoute(5)}}, 0x40002},
      {"interface without carrier", {{cableOut}, {defaultRoute(6)}}, 0x0},
      {"interface that is gone", {{ethernet}, {defaultRoute(9)}}, 0x0},
      {"loopback default route", {{loopback}, {defaultRoute(1)}}, 0x0},
      {"local table and blackhole", {{ethernet}, {local, blackhole}}, 0x0},
      {"Wi-Fi preferred by metric", {{ethernet, modem}, {defaultRoute(3, 700), defaultRoute(2, 600)}}, 0x2},
      {"modem preferred by metric", {{ethernet, modem}, {defaultRoute(2, 600), defaultRoute(3, 100)}}, 0x40002},
      {"tie: IPv4 before IPv6", {{ethernet, modem}, {defaultRoute(3, 100, AF_INET6), defaultRoute(2, 100)}}, 0x2},
      {"multipath: the first usable hop", {{cableOut, modem}, {multipath}}, 0x40002},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(NetlinkReachability::flagsFor(each.tables), each.flags) << each.what;
  }
}

// Builds netlink messages as the kernel sends them.
class Messages {
 public:
  void link(int index, std::uint32_t flags, const std::string& name, const std::string& kind = "") {
    begin(RTM_NEWLINK);
    ifinfomsg header{};
    header.ifi_family = AF_UNSPEC;
    header.ifi_index = index;
    header.ifi_flags = flags;
    append(&header, sizeof header);
    attribute(IFLA_IFNAME, name.c_str(), name.size() + 1);
    if (!kind.empty()) {
      const size_t nest = openNest(IFLA_LINKINFO);
      attribute(IFLA_INFO_KIND, kind.c_str(), kind.size() + 1);
      closeNest(nest);
    }
    end();
  }
  void route(std::uint8_t family, std::uint8_t destinationLength, std::uint32_t table, std::vector<int> hops,
             std::uint32_t metric) {
    begin(RTM_NEWROUTE);
    rtmsg header{};
    header.rtm_family = family;
    header.rtm_dst_len = destinationLength;
    header.rtm_table = RT_TABLE_UNSPEC;  // the real table comes in RTA_TABLE
    header.rtm_type = RTN_UNICAST;
    append(&header, sizeof header);
    attribute(RTA_TABLE, &table, sizeof table);
    attribute(RTA_PRIORITY, &metric, sizeof metric);
    if (hops.size() == 1) {
      const std::uint32_t oif = static_cast<std::uint32_t>(hops[0]);
      attribute(RTA_OIF, &oif, sizeof oif);
    } else {
      std::vector<char> payload;
      for (const int hop : hops) {
        rtnexthop next{};
        next.rtnh_len = sizeof next;
        next.rtnh_ifindex = hop;
        const auto* bytes = reinterpret_cast<const char*>(&next);
        payload.insert(payload.end(), bytes, bytes + RTNH_ALIGN(sizeof next));
      }
      attribute(RTA_MULTIPATH, payload.data(), payload.size());
    }
    end();
  }
  void address() {
    begin(RTM_NEWADDR);
    ifaddrmsg header{};
    append(&header, sizeof header);
    end();
  }
  void error(int errorNumber) {
    begin(NLMSG_ERROR);
    nlmsgerr error{};
    error.error = -errorNumber;
    append(&error, sizeof error);
    end();
  }
  void done() {
    begin(NLMSG_DONE);
    const int zero = 0;
    append(&zero, sizeof zero);
    end();
  }

  const std::vector<char>& bytes() const { return bytes_; }

 private:
  void begin(std::uint16_t type) {
    start_ = bytes_.size();
    nlmsghdr header{};
    header.nlmsg_type = type;
    append(&header, sizeof header);
  }
  void end() {
    nlmsghdr header{};
    std::memcpy(&header, bytes_.data() + start_, sizeof header);
    header.nlmsg_len = static_cast<std::uint32_t>(bytes_.size() - start_);
    std::memcpy(bytes_.data() + start_, &header, sizeof header);
    bytes_.resize(start_ + NLMSG_ALIGN(header.nlmsg_len), 0);
  }
  void append(const void* data, size_t size) {
    const auto* bytes = static_cast<const char*>(data);
    bytes_.insert(bytes_.end(), bytes, bytes + size);
    bytes_.resize(bytes_.size() + (NLMSG_ALIGN(size) - size), 0);
  }
  void attribute(std::uint16_t type, const void* data, size_t size) {
    rtattr header{};
    header.rta_type = type;
    header.rta_len = static_cast<std::uint16_t>(RTA_LENGTH(size));
    append(&header, sizeof header);
    append(data, size);
  }
  size_t openNest(std::uint16_t type) {
    const size_t at = bytes_.size();
    rtattr header{};
    header.rta_type = type;
    append(&header, sizeof header);
    return at;
  }
  void closeNest(size_t at) {
    rtattr header{};
    std::memcpy(&header, bytes_.data() + at, sizeof header);
    header.rta_len = static_cast<std::uint16_t>(bytes_.size() - at);
    std::memcpy(bytes_.data() + at, &header, sizeof header);
  }

  std::vector<char> bytes_;
  size_t start_ = 0;
};

TEST(NetlinkReachability, Parse_ReadsLinksAndRoutesAsTheKernelSendsThem) {
  Messages messages;
  messages.link(1, kUp | IFF_LOOPBACK, "lo");
  messages.link(2, kUp, "eth0", "veth");
  messages.link(3, kUp, "mbim0", "wwan");
  messages.address();  // not needed: skipped
  messages.route(AF_INET, 0, RT_TABLE_MAIN, {2}, 600);
  messages.route(AF_INET6, 0, 1000, {2, 3}, 100);
  messages.done();
  messages.link(9, 0, "after-the-end");

  Tables tables;
  const auto done = NetlinkReachability::parseMessages(messages.bytes().data(), messages.bytes().size(), tables);
  ASSERT_TRUE(done.ok()) << done.error().description();
  EXPECT_TRUE(done.value());
  ASSERT_EQ(tables.links.size(), 3u) << "nothing after the end of the dump";
  EXPECT_EQ(tables.links[1].name, "eth0");
  EXPECT_EQ(tables.links[1].kind, "veth");
  EXPECT_EQ(tables.links[2].kind, "wwan");
  EXPECT_EQ(tables.links[0].flags & IFF_LOOPBACK, static_cast<std::uint32_t>(IFF_LOOPBACK));
  ASSERT_EQ(tables.routes.size(), 2u);
  EXPECT_EQ(tables.routes[0].table, static_cast<std::uint32_t>(RT_TABLE_MAIN));
  EXPECT_EQ(tables.routes[0].metric, 600u);
  EXPECT_EQ(tables.routes[0].outputInterfaces, std::vector<int>{2});
  EXPECT_EQ(tables.routes[1].table, 1000u);
  EXPECT_EQ(tables.routes[1].family, AF_INET6);
  EXPECT_EQ(tables.routes[1].outputInterfaces, (std::vector<int>{2, 3}));
  // The IPv6 multipath route has the lower metric; its first usable hop is eth0.
  EXPECT_EQ(NetlinkReachability::flagsFor(tables), 0x2u);
}

TEST(NetlinkReachability, Parse_RefusesErrorsAndCutMessages) {
  {
    Messages messages;
    messages.error(EPERM);
    Tables tables;
    const auto result = NetlinkReachability::parseMessages(messages.bytes().data(), messages.bytes().size(), tables);
    ASSERT_FALSE(result.ok());
    EXPECT_EQ(result.error().code(), EPERM);
  }
  {
    Messages messages;
    messages.link(2, kUp, "eth0");
    Tables tables;
    // Cut in the middle of the message: an error, not a read past the end.
    const auto result =
        NetlinkReachability::parseMessages(messages.bytes().data(), messages.bytes().size() - 8, tables);
    EXPECT_FALSE(result.ok());
  }
  {
    Messages messages;
    messages.link(2, kUp, "eth0");
    messages.link(2, 0, "eth0");  // the same interface again: the later message holds
    Tables tables;
    const auto result = NetlinkReachability::parseMessages(messages.bytes().data(), messages.bytes().size(), tables);
    ASSERT_TRUE(result.ok());
    EXPECT_FALSE(result.value()) << "no end of dump yet";
    ASSERT_EQ(tables.links.size(), 1u);
    EXPECT_EQ(tables.links[0].flags, 0u);
  }
}

void recordFlags(platform::ReachabilityTarget& /*target*/, platform::ReachabilityFlags flags, void* info) {
  auto* inbox = static_cast<std::pair<std::mutex, std::vector<platform::ReachabilityFlags>>*>(info);
  std::lock_guard lock(inbox->first);
  inbox->second.push_back(flags);
}

TEST(NetlinkReachability, ThisMachine_TheFirstCallbackTellsWhatTheRoutingTablesSay) {
  const int probe = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
  if (probe < 0) {
    GTEST_SKIP() << "no netlink sockets here: " << std::strerror(errno);
  }
  close(probe);
  testing::installBaseServices();

  const auto tables = NetlinkReachability::readTables();
  ASSERT_TRUE(tables.ok()) << tables.error().description();
  EXPECT_FALSE(tables.value().links.empty()) << "every machine has at least a loopback";

  NetlinkReachability reachability;
  EXPECT_FALSE(reachability.createWithName("not a host name"));
  auto target = reachability.createWithName("www.wikipedia.org");
  ASSERT_TRUE(target);
  std::pair<std::mutex, std::vector<platform::ReachabilityFlags>> inbox;
  const platform::ReachabilityContext context{&inbox};
  auto queue = platform::DispatchQueue::createSerial("test.netlink");
  target->setCallback(&recordFlags, &context);
  target->setDispatchQueue(queue);
  queue->sync([] {});
  // Cleared before the inbox's lock is taken: clearing waits for a running
  // callback, and the callback takes that lock.
  target->setCallback(nullptr, nullptr);
  std::lock_guard lock(inbox.first);
  ASSERT_EQ(inbox.second.size(), 1u);
  // Unless the routes changed in between, the two readings agree.
  EXPECT_EQ(inbox.second[0], NetlinkReachability::flagsFor(tables.value()));
  EXPECT_EQ(inbox.second[0] & ~(platform::kReachabilityFlagsReachable | platform::kReachabilityFlagsOverCellular), 0u);
}

}  // namespace
}  // namespace velune::host
