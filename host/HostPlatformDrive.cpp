#include "host/HostPlatform.h"

#include "host/drive/DriveServices.h"

namespace velune::host {

// Wires the drive: files, resource values, coordination, containers, placeholders, types, previews.
void HostPlatform::wireDrive(platform::Services& services, const HostOptions& options) {
  DriveServices::make(HomeLayout(options.home)).wire(services);
}

}  // namespace velune::host
