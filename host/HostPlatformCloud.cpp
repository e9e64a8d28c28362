#include "host/HostCloudKeyValueStore.h"
#include "host/HostPlatform.h"
#include "platform/RunLoop.h"

namespace velune::host {

// Wires the cloud key-value store that the account's devices share.
void HostPlatform::wireCloud(platform::Services& services, const HostOptions& options) {
  auto store = HostCloudKeyValueStore::create(HomeLayout(options.home), services.notifications);
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
