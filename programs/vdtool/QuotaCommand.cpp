// vdtool quota: the free storage of the account, as the app's quota request
// gets it (offline or signed out give the service's error).

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <optional>

#include "host/HostQuotaService.h"
#include "programs/vdtool/VdtoolCommand.h"
#include "platform/Platform.h"

namespace velune::host::vdtool {
namespace {

int runQuota(VdtoolContext& /*context*/, const std::vector<std::string>& arguments) {
  if (!arguments.empty()) {
    std::fprintf(stderr, "usage: vdtool quota\n");
    return kExitUsage;
  }
  const auto quota = VELUNE_SERVICE(quota);
  platform::QuotaRequest request;
  request.containerIdentifier = quota->cloudDocumentsContainerIdentifier();

  std::mutex mutex;
  std::condition_variable done;
  bool finished = false;
  std::uint64_t bytes = 0;
  std::optional<platform::Error> failure;
  quota->submit(request, [&](std::uint64_t available, std::optional<platform::Error> error) {
    std::lock_guard lock(mutex);
    bytes = available;
    failure = std::move(error);
    finished = true;
    done.notify_one();
  });
  std::unique_lock lock(mutex);
  done.wait(lock, [&] { return finished; });  // the service completes every request once
  if (failure) {
    std::fprintf(stderr, "vdtool: %s\n", failure->description().c_str());
    return kExitFailure;
  }
  std::printf("%llu bytes available\n", static_cast<unsigned long long>(bytes));
  return 0;
}

const VdtoolCommand::Registration kQuota{{"quota", "", "the account's free storage in bytes", &runQuota}};

}  // namespace
}  // namespace velune::host::vdtool
