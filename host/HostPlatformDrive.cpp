#include "host/HostPlatform.h"

namespace velune::host {

// Wires the drive: files, resource values, coordination, containers, placeholders, types, previews.
void HostPlatform::wireDrive(platform::Services& /*services*/, const HostOptions& /*options*/) {}

}  // namespace velune::host
