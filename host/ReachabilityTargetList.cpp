#include "host/ReachabilityTargetList.h"

#include <algorithm>
#include <cctype>

#include "platform/Log.h"

namespace velune::host {

namespace {

bool looksLikeHostName(const std::string& hostName) {
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

}  // namespace

bool ReachabilityTargetList::isValidHostName(const std::string& hostName) {
  if (!looksLikeHostName(hostName)) {
    PLATFORM_LOG(kLogDebug, "No reachability target for the host name \"%@\"", hostName);
    return false;
  }
  return true;
}

std::shared_ptr<HostReachabilityTarget> ReachabilityTargetList::add(const std::string& hostName,
                                                                    platform::ReachabilityFlags flags) {
  auto target = HostReachabilityTarget::create(hostName, flags);
  std::erase_if(targets_, [](const auto& weak) { return weak.expired(); });
  targets_.push_back(target);
  return target;
}

void ReachabilityTargetList::deliver(platform::ReachabilityFlags flags) const {
  for (const auto& weak : targets_) {
    if (auto target = weak.lock()) {
      target->deliver(flags);
    }
  }
}

}  // namespace velune::host
