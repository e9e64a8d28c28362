#include "host/HostPlatform.h"

#include "host/HostAppRegistry.h"
#include "host/drive/BuiltinTypeRegistry.h"
#include "host/drive/DriveServices.h"
#include "host/drive/HostURLResourceService.h"

namespace velune::host {

// Wires the drive: files, resource values, coordination, containers,
// placeholders, types, previews, downloads; and the installed applications
// that open its documents.
void HostPlatform::wireDrive(platform::Services& services, const HostOptions& options) {
  const HomeLayout layout(options.home);
  const DriveServices drive = DriveServices::make(layout);
  drive.wire(services);
  services.apps = std::make_shared<HostAppRegistry>(layout.appsJson(), drive.resources, drive.types);
}

}  // namespace velune::host
