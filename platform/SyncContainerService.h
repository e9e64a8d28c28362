#pragma once
// SyncContainerService: the containers of the cloud drive. Callable from any
// thread; the declarations are re-read when they change on disk.

#include <memory>
#include <string>
#include <vector>

#include "platform/Result.h"
#include "platform/URL.h"

namespace velune::platform {

class SyncContainer;

class SyncContainerService {
 public:
  virtual ~SyncContainerService() = default;

  // The container that holds the item (its documents folder or anything in
  // the container's folder); an error for items outside every container,
  // such as the drive's top level. A null container without an error is
  // possible and means "none".
  virtual Result<std::shared_ptr<SyncContainer>> containerForItemAtURL(const URL& url) = 0;
  // Every container, the default one first.
  virtual std::vector<std::shared_ptr<SyncContainer>> allContainers() = 0;
  virtual std::string defaultContainerIdentifier() const = 0;
  // The default container's localised name: the drive's name.
  virtual std::string localizedNameOfDefaultContainer() = 0;
};

}  // namespace velune::platform
