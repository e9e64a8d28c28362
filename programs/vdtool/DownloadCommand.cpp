// vdtool download PATH...: brings cloud-only documents onto the phone the way
// the app's preview does, with a coordinated read that needs the contents,
// at the device's bandwidth; prints the progress on standard error.

#include <cstdio>

#include "platform/FileCoordinationService.h"
#include "platform/FileCoordinator.h"
#include "platform/Platform.h"
#include "platform/TransferProgress.h"
#include "platform/TransferProgressService.h"
#include "programs/vdtool/DriveArguments.h"

namespace velune::host::vdtool {
namespace {

int runDownload(VdtoolContext& context, const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    std::fputs("usage: vdtool download PATH...\n", stderr);
    return kExitUsage;
  }
  DriveArguments drive(context);
  std::vector<std::string> paths;
  if (!drive.resolve(arguments, paths)) {
    return kExitFailure;
  }
  return DriveArguments::forEach(paths, [&](const std::string& path) -> std::optional<platform::Error> {
    const platform::URL url = drive.url(path);
    const auto progress = platform::Platform::services()->transferProgress;
    std::optional<platform::TransferProgressService::SubscriptionToken> token;
    if (progress) {
      token = progress->addSubscriber(
          platform::URL::fileURLWithPath(path, false), [](const std::shared_ptr<platform::TransferProgress>& p) {
            p->addFractionCompletedObserver([](platform::TransferProgress& changed) {
              std::fprintf(stderr, "%lld of %lld bytes\n", static_cast<long long>(changed.completedUnitCount()),
                           static_cast<long long>(changed.totalUnitCount()));
            });
            return platform::TransferProgressService::UnpublishingHandler{};
          });
    }
    auto error = VELUNE_SERVICE(fileCoordination)
                     ->makeCoordinator()
                     ->coordinateReadingItemAtURL(
                         url, platform::kReadingWithoutChanges | platform::kReadingResolvesSymbolicLink,
                         [](const platform::URL&) {});
    if (token) {
      progress->removeSubscriber(*token);
    }
    return error;
  });
}

const VdtoolCommand::Registration kDownload{
    {"download", "PATH...", "bring cloud-only documents onto the phone", &runDownload}};

}  // namespace
}  // namespace velune::host::vdtool
