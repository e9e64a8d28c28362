// vdtool rm PATH...: deletes items through FileUtils as the app does; a
// container's documents folder is emptied here and on the server instead,
// and the drive's own container is never deleted.

#include <cstdio>

#include "platform/Log.h"
#include "programs/vdtool/DriveArguments.h"
#include "model/FileUtils.h"
#include "platform/Platform.h"
#include "platform/SyncContainer.h"
#include "platform/SyncContainerService.h"
#include "platform/SyncURLService.h"

namespace velune::host::vdtool {
namespace {

using platform::URL;

std::optional<platform::Error> removeContainer(const URL& url) {
  const auto containers = VELUNE_SERVICE(syncContainers);
  auto container = containers->containerForItemAtURL(url);
  if (!container.ok()) {
    return container.error();
  }
  if (!container.value() || container.value()->identifier() == containers->defaultContainerIdentifier()) {
    PLATFORM_LOG(kLogErr, "NOT Deleting root container %@", url);
    return platform::Error::platform(platform::ErrorCode::FileWriteNoPermission,
                                     {{std::string(platform::kLocalizedDescriptionKey),
                                       platform::Value(std::string("The drive’s own container cannot be deleted."))}});
  }
  PLATFORM_LOG(kLogInfo, "Deleting container %@", *container.value());
  return container.value()->deleteAllContentsOnClientAndServer();
}

int runRm(VdtoolContext& context, const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    std::fputs("usage: vdtool rm PATH...\n", stderr);
    return kExitUsage;
  }
  DriveArguments drive(context);
  std::vector<std::string> paths;
  if (!drive.resolve(arguments, paths)) {
    return kExitFailure;
  }
  return DriveArguments::forEach(paths, [&](const std::string& path) {
    const URL url = drive.url(path);
    return VELUNE_SERVICE(syncURLs)->isDocumentsContainer(url) ? removeContainer(url) : FileUtils::remove(url);
  });
}

const VdtoolCommand::Registration kRm{{"rm", "PATH...", "delete items (a container: its contents)", &runRm}};

}  // namespace
}  // namespace velune::host::vdtool
