#pragma once
// HostPlatform: builds the Linux services of the simulated phone for one home
// and installs them. The one place that wires implementations to interfaces.

#include <memory>
#include <string>

#include "host/HomeLayout.h"
#include "host/SystemLogs.h"
#include "platform/Platform.h"
#include "platform/Value.h"

namespace velune::host {

// Where reachability comes from: the simulated network setting of
// device.json, or the Linux machine's own routes (netlink).
enum class ReachabilitySource { Simulated, Netlink };

struct HostOptions {
  std::string home;
  SystemLogKind systemLog = SystemLogKind::Automatic;
  // "-Key value" launch arguments: they override the standard preferences.
  platform::Value::Dictionary argumentDomain;
  ReachabilitySource reachability = ReachabilitySource::Simulated;
};

class HostPlatform {
 public:
  // The services of the home (made ready with HomeLayout::ensureSkeleton by the caller).
  static platform::Services makeServices(const HostOptions& options);

  // Each area of the phone wires its own services, in its own file:
  // the drive and its files (HostPlatformDrive.cpp), the device, screen and
  // interface (HostPlatformInterface.cpp), account, network and quota
  // (HostPlatformNetwork.cpp), the cloud key-value store (HostPlatformCloud.cpp).
  static void wireDrive(platform::Services& services, const HostOptions& options);
  static void wireInterface(platform::Services& services, const HostOptions& options);
  static void wireNetwork(platform::Services& services, const HostOptions& options);
  static void wireCloud(platform::Services& services, const HostOptions& options);
};

}  // namespace velune::host
