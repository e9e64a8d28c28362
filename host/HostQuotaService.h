#pragma once
// HostQuotaService: the simulated account's free storage: the device's quota
// total (device.json "quotaTotalBytes") minus the bytes the cloud side of the
// home keeps (HOME/cloud, every regular file by its logical size, so a sparse
// file counts in full, as the cloud bills it; links are not followed). Over
// quota gives 0.
//
// Each request completes once, on the service's serial queue
// "com.vorlan.velune.quota" (utility class), after walking the cloud folder.
// It fails with the general domain's CloudServerNotAvailable when the device
// is offline, and with the quota domain's errors when no account is signed
// in, when it names another container or database, when cellular is the only
// network and the request does not allow it, or when the folder cannot be
// read (a partial count would claim too much free space).

#include <memory>
#include <string>

#include "host/DeviceMonitor.h"
#include "platform/QuotaService.h"
#include "platform/Result.h"

namespace velune::platform {
class DispatchQueue;
}  // namespace velune::platform

namespace velune::host {

inline constexpr const char* kCloudDocumentsContainerIdentifier = "com.vorlan.VeluneDrive.documents";
inline constexpr const char* kQuotaServiceQueueLabel = "com.vorlan.velune.quota";

class HostQuotaService final : public platform::QuotaService {
 public:
  HostQuotaService(std::string cloudRoot, std::shared_ptr<DeviceMonitor> monitor);

  std::string cloudDocumentsContainerIdentifier() const override { return kCloudDocumentsContainerIdentifier; }
  void submit(platform::QuotaRequest request, Completion completion) override;

  // The answer to a request on a device with a cloud folder, computed on the
  // caller's thread.
  static platform::Result<std::uint64_t> bytesAvailable(const platform::QuotaRequest& request,
                                                        const DeviceConfiguration& device,
                                                        const std::string& cloudRoot);
  // The logical size of every regular file under `root` (0 when it does not exist).
  static platform::Result<std::uint64_t> bytesStored(const std::string& root);

  const std::shared_ptr<platform::DispatchQueue>& queue() const { return queue_; }

 private:
  const std::string cloudRoot_;
  const std::shared_ptr<DeviceMonitor> monitor_;
  const std::shared_ptr<platform::DispatchQueue> queue_;
};

}  // namespace velune::host
