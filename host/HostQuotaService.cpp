#include "host/HostQuotaService.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "host/drive/DrivePaths.h"
#include "platform/Log.h"
#include "platform/DispatchQueue.h"
#include "platform/Localization.h"

namespace velune::host {

using platform::Error;
using platform::Result;
using platform::Value;

namespace {

Error quotaError(std::int64_t code, const std::string& description) {
  return Error(std::string(platform::kQuotaErrorDomain), code,
               {{std::string(platform::kLocalizedDescriptionKey), Value(description)}});
}

// Adds the sizes below the open folder `fd` (which it closes). Folders are
// opened relative to their parent with O_NOFOLLOW, so a link swapped in
// during the walk is not followed out of the cloud folder.
std::optional<Error> addFolder(int fd, const std::string& path, std::uint64_t& total) {
  DIR* folder = fdopendir(fd);
  if (folder == nullptr) {
    const int error = errno;
    close(fd);
    return Error::fromErrno(error, path, false);
  }
  std::optional<Error> failure;
  while (!failure) {
    errno = 0;
    const dirent* entry = readdir(folder);
    if (entry == nullptr) {
      if (errno != 0) {
        failure = Error::fromErrno(errno, path, false);
      }
      break;
    }
    const std::string_view name = entry->d_name;
    // Temporary files are no one's documents: a copy in progress, or what a
    // killed process left until the next start removes it.
    if (name == "." || name == ".." || isTemporaryName(name)) {
      continue;
    }
    const std::string childPath = path + "/" + std::string(name);
    struct stat info {};
    if (fstatat(dirfd(folder), entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) {
      if (errno == ENOENT) {
        continue;  // removed while we walk: no longer stored
      }
      failure = Error::fromErrno(errno, childPath, false);
      break;
    }
    if (S_ISREG(info.st_mode)) {
      total += static_cast<std::uint64_t>(info.st_size);
    } else if (S_ISDIR(info.st_mode)) {
      const int child = openat(dirfd(folder), entry->d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
      if (child < 0) {
        if (errno == ENOENT) {
          continue;
        }
        failure = Error::fromErrno(errno, childPath, false);
        break;
      }
      failure = addFolder(child, childPath, total);
    }
  }
  closedir(folder);
  return failure;
}

}  // namespace

HostQuotaService::HostQuotaService(std::string cloudRoot, std::shared_ptr<DeviceMonitor> monitor)
    : cloudRoot_(std::move(cloudRoot)),
      monitor_(std::move(monitor)),
      queue_(platform::DispatchQueue::createSerial(kQuotaServiceQueueLabel, platform::QualityOfService::Utility)) {}

void HostQuotaService::submit(platform::QuotaRequest request, Completion completion) {
  // The task owns what it needs: it may run after the service is gone.
  queue_->async(
      [cloudRoot = cloudRoot_, monitor = monitor_, request = std::move(request), completion = std::move(completion)] {
        const auto answer = bytesAvailable(request, monitor->configuration(), cloudRoot);
        if (answer.ok()) {
          completion(answer.value(), std::nullopt);
        } else {
          completion(0, answer.error());
        }
      });
}

Result<std::uint64_t> HostQuotaService::bytesAvailable(const platform::QuotaRequest& request,
                                                       const DeviceConfiguration& device,
                                                       const std::string& cloudRoot) {
  if (device.network == NetworkSetting::Offline) {
    return Error::platform(platform::ErrorCode::CloudServerNotAvailable);
  }
  if (device.network == NetworkSetting::Cellular && !request.allowsCellularAccess) {
    return quotaError(
        platform::QuotaErrorCode::CellularAccessDenied,
        platform::localized("The request does not allow cellular access, and cellular is the only network."));
  }
  if (!device.identityToken) {
    return quotaError(platform::QuotaErrorCode::NotAuthenticated, platform::localized("No account is signed in."));
  }
  if (request.containerIdentifier != kCloudDocumentsContainerIdentifier ||
      request.databaseScope != platform::QuotaDatabaseScope::Private) {
    return quotaError(platform::QuotaErrorCode::UnknownContainer,
                      platform::localizedFormat("The account has no such database: %@", request.containerIdentifier));
  }
  const auto stored = bytesStored(cloudRoot);
  if (!stored.ok()) {
    PLATFORM_LOG(kLogWarning, "Cannot count the cloud's bytes: %@", stored.error());
    Value::Dictionary info{{std::string(platform::kLocalizedDescriptionKey),
                            Value(platform::localized("The storage in use cannot be counted."))},
                           {std::string(platform::kUnderlyingErrorKey), Value(stored.error())}};
    return Error(std::string(platform::kQuotaErrorDomain), platform::QuotaErrorCode::StorageUnreadable,
                 std::move(info));
  }
  return stored.value() >= device.quotaTotalBytes ? 0 : device.quotaTotalBytes - stored.value();
}

Result<std::uint64_t> HostQuotaService::bytesStored(const std::string& root) {
  const int fd = open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) {
    if (errno == ENOENT) {
      return std::uint64_t{0};  // nothing stored yet
    }
    return Error::fromErrno(errno, root, false);
  }
  std::uint64_t total = 0;
  if (auto error = addFolder(fd, root, total)) {
    return *error;
  }
  return total;
}

}  // namespace velune::host
