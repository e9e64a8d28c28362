#include "host/HostCloudKeyValueStore.h"
#include "host/HostPlatform.h"
#include "host/drive/DriveServices.h"
#include "platform/RunLoop.h"

namespace velune::host {

// Wires the drive: files, resource values, coordination, containers,
// placeholders, types, previews; and the cloud key-value store beside it.
void HostPlatform::wireDrive(platform::Services& services, const HostOptions& options) {
  const HomeLayout layout(options.home);
  DriveServices::make(layout).wire(services);
  auto store = HostCloudKeyValueStore::create(layout, services.notifications);
  services.cloudKeyValueStore = store;
  // Watching starts when the main run loop first runs, once the services
  // (and with them the log) are installed; a tool that never runs the loop
  // reads the store once.
  std::weak_ptr<HostCloudKeyValueStore> weakStore = store;
  platform::RunLoop::main().post([weakStore] {
    if (const auto strong = weakStore.lock()) {
      strong->start();
    }
  });
}

}  // namespace velune::host
