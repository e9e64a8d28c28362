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

struct HostOptions {
  std::string home;
  SystemLogKind systemLog = SystemLogKind::Automatic;
  // "-Key value" launch arguments: they override the standard preferences.
  platform::Value::Dictionary argumentDomain;
};

class HostPlatform {
 public:
  // The services of the home (made ready with HomeLayout::ensureSkeleton by the caller).
  static platform::Services makeServices(const HostOptions& options);
};

}  // namespace velune::host
