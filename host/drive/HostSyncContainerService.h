#pragma once
// HostSyncContainerService: the containers of the simulated drive
// (ContainerRegistry). An item belongs to the container whose folder holds it
// (Mobile Documents/<identifier>/...); the drive's top folder and items
// outside the drive belong to none (an error).

#include <memory>

#include "host/drive/ContainerRegistry.h"
#include "host/drive/Drive.h"
#include "platform/SyncContainerService.h"

namespace velune::host {

class HostSyncContainerService final : public platform::SyncContainerService {
 public:
  HostSyncContainerService(std::shared_ptr<Drive> drive, std::shared_ptr<ContainerRegistry> registry);

  platform::Result<std::shared_ptr<platform::SyncContainer>> containerForItemAtURL(const platform::URL& url) override;
  std::vector<std::shared_ptr<platform::SyncContainer>> allContainers() override;
  std::string defaultContainerIdentifier() const override;
  std::string localizedNameOfDefaultContainer() override;

 private:
  std::shared_ptr<Drive> drive_;
  std::shared_ptr<ContainerRegistry> registry_;
};

}  // namespace velune::host
