#include "host/HostPlatform.h"

namespace velune::host {

// Wires account, reachability, network activity indicator, quota, container preferences.
void HostPlatform::wireNetwork(platform::Services& /*services*/, const HostOptions& /*options*/) {}

}  // namespace velune::host
