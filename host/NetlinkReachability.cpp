#include "host/NetlinkReachability.h"

#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/Log.h"
#include "host/FileIO.h"

namespace velune::host {

using platform::Error;
using platform::Result;

namespace {

constexpr std::size_t kReceiveBufferSize = 64 * 1024;

// Header lengths as the kernel aligns them (the C macros' casts are avoided:
// the buffers are read with memcpy, never through misaligned pointers).
constexpr std::size_t kMessageHeaderLength = NLMSG_ALIGN(sizeof(nlmsghdr));
constexpr std::size_t kAttributeHeaderLength = RTA_ALIGN(sizeof(rtattr));

template <typename T>
bool readValue(const char* data, std::size_t length, T& out) {
  if (length < sizeof(T)) {
    return false;
  }
  std::memcpy(&out, data, sizeof(T));
  return true;
}

std::string readString(const char* data, std::size_t length) {
  return std::string(data, strnlen(data, length));
}

// The attributes that follow a message's fixed header of type Header.
template <typename Header>
std::pair<const char*, std::size_t> attributesAfter(const char* body, std::size_t length) {
  const std::size_t skip = std::min<std::size_t>(length, NLMSG_ALIGN(sizeof(Header)));
  return {body + skip, length - skip};
}

// Calls visit(type, payload, payloadLength) for each attribute of a block;
// stops at an attribute that claims more than the block holds.
template <typename Visit>
void forEachAttribute(const char* data, std::size_t length, Visit visit) {
  std::size_t offset = 0;
  while (offset + sizeof(rtattr) <= length) {
    rtattr attribute{};
    std::memcpy(&attribute, data + offset, sizeof attribute);
    if (attribute.rta_len < sizeof(rtattr) || attribute.rta_len > length - offset) {
      return;
    }
    visit(attribute.rta_type, data + offset + kAttributeHeaderLength,
          attribute.rta_len - std::min<std::size_t>(attribute.rta_len, kAttributeHeaderLength));
    offset += RTA_ALIGN(static_cast<std::size_t>(attribute.rta_len));
  }
}

Error netlinkError(int errorNumber, const char* what) {
  return Error(std::string(platform::kPOSIXErrorDomain), errorNumber,
               {{std::string(platform::kLocalizedDescriptionKey),
                 platform::Value(std::string(what) + ": " + std::strerror(errorNumber))}});
}

std::string deviceTypeOf(const std::string& interfaceName) {
  if (interfaceName.empty() || interfaceName.find('/') != std::string::npos || interfaceName[0] == '.') {
    return {};
  }
  const auto uevent = readWholeFile("/sys/class/net/" + interfaceName + "/uevent");
  if (!uevent.ok()) {
    return {};
  }
  const std::string& text = uevent.value();
  const std::string key = "DEVTYPE=";
  for (std::size_t start = 0; start < text.size();) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) {
      end = text.size();
    }
    if (text.compare(start, key.size(), key) == 0) {
      return text.substr(start + key.size(), end - start - key.size());
    }
    start = end + 1;
  }
  return {};
}

// Sends one dump request and adds the answer to `tables`.
std::optional<Error> dumpInto(int fd, std::uint16_t type, std::uint32_t sequence, NetlinkReachability::Tables& tables) {
  struct {
    nlmsghdr header;
    rtgenmsg body;
  } request{};
  request.header.nlmsg_len = NLMSG_LENGTH(sizeof request.body);
  request.header.nlmsg_type = type;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.header.nlmsg_seq = sequence;
  request.body.rtgen_family = AF_UNSPEC;
  if (send(fd, &request, request.header.nlmsg_len, 0) < 0) {
    return netlinkError(errno, "netlink request");
  }
  std::vector<char> buffer(kReceiveBufferSize);
  while (true) {
    const ssize_t received = recv(fd, buffer.data(), buffer.size(), 0);
    if (received < 0) {
      if (errno == EINTR) {
        continue;
      }
      return netlinkError(errno, "netlink answer");
    }
    if (received == 0) {
      return netlinkError(ECONNRESET, "netlink answer");
    }
    const auto done = NetlinkReachability::parseMessages(buffer.data(), static_cast<std::size_t>(received), tables);
    if (!done.ok()) {
      return done.error();
    }
    if (done.value()) {
      return std::nullopt;
    }
  }
}

}  // namespace

NetlinkReachability::~NetlinkReachability() {
  if (stopFd_ >= 0) {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(stopFd_, &one, sizeof one);
  }
  if (thread_.joinable()) {
    thread_.join();
  }
  if (eventSocket_ >= 0) {
    close(eventSocket_);
  }
  if (stopFd_ >= 0) {
    close(stopFd_);
  }
}

bool NetlinkReachability::isCellular(const Link& link) {
  return link.name.starts_with("wwan") || link.kind == "wwan" || link.deviceType == "wwan";
}

platform::ReachabilityFlags NetlinkReachability::flagsFor(const Tables& tables) {
  const Link* best = nullptr;
  const Route* bestRoute = nullptr;
  for (const Route& route : tables.routes) {
    if (route.destinationLength != 0 || route.type != RTN_UNICAST || route.table == RT_TABLE_LOCAL ||
        (route.family != AF_INET && route.family != AF_INET6)) {
      continue;
    }
    for (const int index : route.outputInterfaces) {
      const auto link = std::find_if(tables.links.begin(), tables.links.end(),
                                     [index](const Link& candidate) { return candidate.index == index; });
      if (link == tables.links.end() || (link->flags & IFF_LOOPBACK) != 0 || (link->flags & IFF_UP) == 0 ||
          (link->flags & IFF_RUNNING) == 0) {
        continue;
      }
      // The lowest metric wins; on a tie IPv4 before IPv6, then the first seen.
      const bool better =
          bestRoute == nullptr || route.metric < bestRoute->metric ||
          (route.metric == bestRoute->metric && route.family == AF_INET && bestRoute->family == AF_INET6);
      if (better) {
        best = &*link;
        bestRoute = &route;
      }
      break;
    }
  }
  if (best == nullptr) {
    return 0;
  }
  return platform::kReachabilityFlagsReachable | (isCellular(*best) ? platform::kReachabilityFlagsOverCellular : 0);
}

Result<bool> NetlinkReachability::parseMessages(const void* data, std::size_t length, Tables& tables) {
  const auto* bytes = static_cast<const char*>(data);
  std::size_t offset = 0;
  while (offset < length) {
    nlmsghdr header{};
    if (length - offset < sizeof header) {
      return Error::posix(EBADMSG);  // a message cut short
    }
    std::memcpy(&header, bytes + offset, sizeof header);
    if (header.nlmsg_len < kMessageHeaderLength || header.nlmsg_len > length - offset) {
      return Error::posix(EBADMSG);
    }
    const char* body = bytes + offset + kMessageHeaderLength;
    const std::size_t bodyLength = header.nlmsg_len - kMessageHeaderLength;
    offset += std::min<std::size_t>(NLMSG_ALIGN(static_cast<std::size_t>(header.nlmsg_len)), length - offset);

    switch (header.nlmsg_type) {
      case NLMSG_DONE:
        return true;
      case NLMSG_ERROR: {
        nlmsgerr error{};
        if (!readValue(body, bodyLength, error)) {
          return Error::posix(EBADMSG);
        }
        if (error.error == 0) {
          continue;  // an acknowledgement
        }
        return Error::posix(-error.error);
      }
      case RTM_NEWLINK: {
        ifinfomsg info{};
        if (!readValue(body, bodyLength, info)) {
          return Error::posix(EBADMSG);
        }
        Link link;
        link.index = info.ifi_index;
        link.flags = info.ifi_flags;
        const auto [attributes, attributesLength] = attributesAfter<ifinfomsg>(body, bodyLength);
        forEachAttribute(attributes, attributesLength,
                         [&link](unsigned short type, const char* payload, std::size_t payloadLength) {
                           if (type == IFLA_IFNAME) {
                             link.name = readString(payload, payloadLength);
                           } else if (type == IFLA_LINKINFO) {
                             forEachAttribute(payload, payloadLength,
                                              [&link](unsigned short nested, const char* value, std::size_t size) {
                                                if (nested == IFLA_INFO_KIND) {
                                                  link.kind = readString(value, size);
                                                }
                                              });
                           }
                         });
        // A later message about the same interface replaces the earlier one.
        std::erase_if(tables.links, [&link](const Link& known) { return known.index == link.index; });
        tables.links.push_back(std::move(link));
        break;
      }
      case RTM_NEWROUTE: {
        rtmsg info{};
        if (!readValue(body, bodyLength, info)) {
          return Error::posix(EBADMSG);
        }
        Route route;
        route.family = info.rtm_family;
        route.destinationLength = info.rtm_dst_len;
        route.table = info.rtm_table;
        route.type = info.rtm_type;
        const auto [attributes, attributesLength] = attributesAfter<rtmsg>(body, bodyLength);
        forEachAttribute(attributes, attributesLength,
                         [&route](unsigned short type, const char* payload, std::size_t payloadLength) {
                           std::uint32_t value = 0;
                           switch (type) {
                             case RTA_TABLE:
                               if (readValue(payload, payloadLength, value)) {
                                 route.table = value;
                               }
                               break;
                             case RTA_OIF:
                               if (readValue(payload, payloadLength, value)) {
                                 route.outputInterfaces.push_back(static_cast<int>(value));
                               }
                               break;
                             case RTA_PRIORITY:
                               if (readValue(payload, payloadLength, value)) {
                                 route.metric = value;
                               }
                               break;
                             case RTA_MULTIPATH: {
                               std::size_t at = 0;
                               rtnexthop hop{};
                               while (readValue(payload + at, payloadLength - at, hop)) {
                                 if (hop.rtnh_len < sizeof hop || hop.rtnh_len > payloadLength - at) {
                                   break;
                                 }
                                 route.outputInterfaces.push_back(hop.rtnh_ifindex);
                                 at += std::min<std::size_t>(RTNH_ALIGN(static_cast<std::size_t>(hop.rtnh_len)),
                                                             payloadLength - at);
                               }
                               break;
                             }
                             default:
                               break;
                           }
                         });
        tables.routes.push_back(std::move(route));
        break;
      }
      default:
        break;  // addresses and anything else: not needed to decide
    }
  }
  return false;
}

Result<NetlinkReachability::Tables> NetlinkReachability::readTables() {
  const int fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
  if (fd < 0) {
    return netlinkError(errno, "netlink socket");
  }
  Tables tables;
  std::optional<Error> error = dumpInto(fd, RTM_GETLINK, 1, tables);
  if (!error) {
    error = dumpInto(fd, RTM_GETROUTE, 2, tables);
  }
  close(fd);
  if (error) {
    return *error;
  }
  for (Link& link : tables.links) {
    link.deviceType = deviceTypeOf(link.name);
  }
  return tables;
}

std::shared_ptr<platform::ReachabilityTarget> NetlinkReachability::createWithName(const std::string& hostName) {
  if (!ReachabilityTargetList::isValidHostName(hostName)) {
    return nullptr;
  }
  std::lock_guard lock(mutex_);
  if (!started_ && !startLocked()) {
    return nullptr;
  }
  return targets_.add(hostName, flags_);
}

bool NetlinkReachability::startLocked() {
  // Subscribe before the first reading, so that no change falls between them.
  eventSocket_ = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
  if (eventSocket_ < 0) {
    PLATFORM_LOG(kLogErr, "Cannot open a netlink socket: %@", std::strerror(errno));
    return false;
  }
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
  if (bind(eventSocket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
    PLATFORM_LOG(kLogErr, "Cannot listen to routing changes: %@", std::strerror(errno));
    close(eventSocket_);
    eventSocket_ = -1;
    return false;
  }
  const auto tables = readTables();
  if (!tables.ok()) {
    PLATFORM_LOG(kLogErr, "Cannot read the routing tables: %@", tables.error());
    close(eventSocket_);
    eventSocket_ = -1;
    return false;
  }
  stopFd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (stopFd_ < 0) {
    PLATFORM_LOG(kLogErr, "Cannot follow routing changes: %@", std::strerror(errno));
    close(eventSocket_);
    eventSocket_ = -1;
    return false;
  }
  flags_ = flagsFor(tables.value());
  PLATFORM_LOG(kLogDebug, "Routing tables read: %@ links, %@ routes, flags 0x%x", tables.value().links.size(),
        tables.value().routes.size(), flags_);
  thread_ = std::thread([this] { listen(); });
  started_ = true;
  return true;
}

void NetlinkReachability::listen() {
  std::vector<char> buffer(kReceiveBufferSize);
  while (true) {
    pollfd fds[2] = {{stopFd_, POLLIN, 0}, {eventSocket_, POLLIN, 0}};
    if (poll(fds, 2, -1) < 0) {
      if (errno == EINTR) {
        continue;
      }
      PLATFORM_LOG(kLogErr, "Stopped following routing changes: %@", std::strerror(errno));
      return;
    }
    if ((fds[0].revents & POLLIN) != 0) {
      return;
    }
    // The events only say that something changed: take them all, then read
    // the tables once. Lost events (ENOBUFS) need the same reading.
    int failure = 0;
    while (true) {
      const ssize_t received = recv(eventSocket_, buffer.data(), buffer.size(), MSG_DONTWAIT);
      if (received > 0 || (received < 0 && (errno == ENOBUFS || errno == EINTR))) {
        continue;
      }
      if (received < 0 && errno != EAGAIN && errno != EWOULDBLOCK) {
        failure = errno;
      } else if (received == 0) {
        failure = ECONNRESET;
      }
      break;
    }
    refresh();
    if (failure != 0) {
      // A socket that keeps failing would wake this thread without end.
      PLATFORM_LOG(kLogErr, "Stopped following routing changes: %@", std::strerror(failure));
      return;
    }
  }
}

void NetlinkReachability::refresh() {
  const auto tables = readTables();
  if (!tables.ok()) {
    PLATFORM_LOG(kLogWarning, "Cannot read the routing tables: %@", tables.error());
    return;
  }
  const platform::ReachabilityFlags flags = flagsFor(tables.value());
  std::lock_guard lock(mutex_);
  if (flags == flags_) {
    return;
  }
  flags_ = flags;
  targets_.deliver(flags);
}

}  // namespace velune::host
