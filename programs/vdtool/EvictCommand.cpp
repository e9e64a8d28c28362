// vdtool evict PATH...: keeps documents only in the cloud. It asks the
// platform's file system to evict, as FileUtils::evictDocument does, and logs
// the same line on failure; unlike the app, it also shows the error.

#include <cstdio>

#include "platform/Log.h"
#include "programs/vdtool/DriveArguments.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"

namespace velune::host::vdtool {
namespace {

int runEvict(VdtoolContext& context, const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    std::fputs("usage: vdtool evict PATH...\n", stderr);
    return kExitUsage;
  }
  DriveArguments drive(context);
  std::vector<std::string> paths;
  if (!drive.resolve(arguments, paths)) {
    return kExitFailure;
  }
  return DriveArguments::forEach(paths, [&](const std::string& path) {
    auto error = VELUNE_SERVICE(fileSystem)->evictUbiquitousItemAtURL(drive.url(path));
    if (error) {
      PLATFORM_LOG(kLogWarning, "Evict error: %@", *error);
    }
    return error;
  });
}

const VdtoolCommand::Registration kEvict{{"evict", "PATH...", "keep documents only in the cloud", &runEvict}};

}  // namespace
}  // namespace velune::host::vdtool
