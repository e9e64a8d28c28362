#pragma once
// HostFolderListingService: the listings' reads of the simulated drive. One
// readdir gives the entries (kinds from the directory's own d_type, so no stat
// per name on the usual file systems; placeholders become their cloud-only
// documents; which items have a sidecar is known from the same read), and
// records are read with fstatat relative to the folder, a page at a time.
// Folders outside the drive are refused (permission error), also when a
// symbolic link leads out of it.

#include <memory>

#include "host/drive/Drive.h"
#include "platform/FolderListingService.h"
#include "platform/TypeRegistry.h"

namespace velune::host {

class HostFolderListingService final : public platform::FolderListingService {
 public:
  HostFolderListingService(std::shared_ptr<Drive> drive, std::shared_ptr<platform::TypeRegistry> types);

  platform::Result<std::vector<platform::FolderListingEntry>> entriesOfFolder(const platform::URL& folder) override;
  std::vector<platform::FolderListingRecord> recordsOfEntries(
      const platform::URL& folder, std::span<const platform::FolderListingEntry> entries) override;

 private:
  bool isPackageName(const std::string& name);

  std::shared_ptr<Drive> drive_;
  std::shared_ptr<platform::TypeRegistry> types_;
};

}  // namespace velune::host
