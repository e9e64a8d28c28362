#include "host/HostPlatform.h"

namespace velune::host {

// Wires the device's screen and idiom, document icons, transfer progress.
void HostPlatform::wireInterface(platform::Services& /*services*/, const HostOptions& /*options*/) {}

}  // namespace velune::host
