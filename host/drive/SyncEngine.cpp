#include "host/drive/SyncEngine.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <vector>

#include "host/DeviceConfiguration.h"
#include "host/drive/Drive.h"
#include "host/drive/DrivePaths.h"
#include "host/drive/FileOperations.h"
#include "platform/Clock.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "platform/Platform.h"
#include "platform/TimerService.h"
#include "platform/TransferProgress.h"
#include "platform/TransferProgressService.h"
#include "platform/URL.h"

namespace velune::host {

using platform::Error;
namespace ErrorCode = platform::ErrorCode;

namespace {

Error offlineError(const std::string& path) {
  return Error::platform(ErrorCode::CloudServerNotAvailable,
                         {{std::string(platform::kFilePathErrorKey), platform::Value(path)},
                          {std::string(platform::kLocalizedFailureReasonKey),
                           platform::Value(platform::localized("The phone is not connected to the Internet."))}});
}

Error serverError(std::int64_t code, const std::string& path, const std::string& reason) {
  return Error::platform(code, {{std::string(platform::kFilePathErrorKey), platform::Value(path)},
                                {std::string(platform::kLocalizedFailureReasonKey), platform::Value(reason)}});
}

// Waits until the clock reaches `deadline` or the download is cancelled.
// The deadline is a timer of the platform's TimerService, so a manual clock
// (tests) moves the download forward exactly as far as it is advanced.
// Returns false when cancelled.
bool waitUntil(platform::MonotonicTime deadline, const CancellationFlag& cancelled) {
  if (platform::Clock::current().monotonicNow() >= deadline) {
    return !cancelled.isCancelled();
  }
  struct Wake {
    std::mutex mutex;
    std::condition_variable cv;
    bool due = false;
  };
  auto wake = std::make_shared<Wake>();
  auto& timers = platform::TimerService::shared();
  const auto id = timers.schedule(deadline, [wake] {
    {
      std::lock_guard lock(wake->mutex);
      wake->due = true;
    }
    wake->cv.notify_all();
  });
  std::unique_lock lock(wake->mutex);
  // The flag has its own condition variable: look at it every few
  // milliseconds, so a cancellation takes effect within one short wait.
  while (!wake->due && !cancelled.isCancelled()) {
    wake->cv.wait_for(lock, std::chrono::milliseconds(5));
  }
  lock.unlock();
  timers.cancel(id);
  return !cancelled.isCancelled();
}

struct FileCloser {
  int fd = -1;
  ~FileCloser() {
    if (fd >= 0) {
      ::close(fd);
    }
  }
};

}  // namespace

struct SyncEngine::Transfer {
  std::string logicalPath;
  std::string cloudFile;
  std::string temporaryPath;
  std::uint64_t expectedSize = 0;
  PlaceholderMetadata metadata;
  struct stat source {};
  int sourceFd = -1;
  int temporaryFd = -1;
  std::shared_ptr<platform::TransferProgress> progress;
};

SyncEngine::ConditionsProvider SyncEngine::deviceConditions(const std::string& deviceJsonPath) {
  return [deviceJsonPath] {
    const DeviceConfiguration device = DeviceConfiguration::read(deviceJsonPath);
    return DownloadConditions{device.network == NetworkSetting::Offline, device.downloadBytesPerSecond};
  };
}

SyncEngine::SyncEngine(std::shared_ptr<Drive> drive, ConditionsProvider conditions)
    : drive_(std::move(drive)), conditions_(std::move(conditions)) {}

void SyncEngine::setWriteFaultInjector(WriteFaultInjector injector) {
  std::lock_guard lock(hooksMutex_);
  writeFault_ = std::move(injector);
}

void SyncEngine::setConditionsProvider(ConditionsProvider conditions) {
  std::lock_guard lock(hooksMutex_);
  conditions_ = std::move(conditions);
}

DownloadConditions SyncEngine::conditions() {
  ConditionsProvider provider;
  {
    std::lock_guard lock(hooksMutex_);
    provider = conditions_;
  }
  return provider ? provider() : DownloadConditions{};
}

int SyncEngine::injectedWriteFault(const std::string& path) {
  WriteFaultInjector injector;
  {
    std::lock_guard lock(hooksMutex_);
    injector = writeFault_;
  }
  return injector ? injector(path) : 0;
}

std::optional<Error> SyncEngine::materialize(const std::string& logicalPath, const CancellationFlag& cancelled) {
  if (cancelled.isCancelled()) {
    return Error::platform(ErrorCode::UserCancelled);
  }
  if (conditions().offline) {
    PLATFORM_LOG(kLogInfo, "Cannot download %@: the phone is offline", logicalPath);
    return offlineError(logicalPath);
  }
  const auto relative = drive_->relativePath(logicalPath);
  if (!relative || relative->empty()) {
    return driveWriteError(ENOENT, logicalPath);
  }
  Transfer transfer;
  transfer.logicalPath = logicalPath;
  transfer.cloudFile = drive_->cloudPath(*relative);
  auto metadata = drive_->readPlaceholder(logicalPath);
  if (!metadata.ok()) {
    return metadata.error();
  }
  transfer.metadata = metadata.value();

  if (transfer.metadata.isPackage) {
    // A package is a folder: copied whole (FileOperations copies through a
    // temporary folder renamed into place), without chunked progress.
    if (const int error = drive_->operations().copyItem(transfer.cloudFile, logicalPath, /*replace=*/false)) {
      return error == ENOENT ? serverError(ErrorCode::FileReadNoSuchFile, logicalPath,
                                           platform::localized("The server no longer has this document."))
                             : driveWriteError(error, logicalPath);
    }
    drive_->operations().unlinkFile(placeholderPathFor(logicalPath));
    return std::nullopt;
  }

  FileCloser source;
  source.fd = ::open(transfer.cloudFile.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
  if (source.fd < 0 || ::fstat(source.fd, &transfer.source) != 0 || !S_ISREG(transfer.source.st_mode)) {
    const int error = source.fd < 0 ? errno : EINVAL;
    PLATFORM_LOG(kLogWarning, "Cannot download %@: the server's copy cannot be read (%@)", logicalPath,
                 Error::posix(error).description());
    return serverError(ErrorCode::FileReadNoSuchFile, logicalPath,
                       platform::localized("The server no longer has this document."));
  }
  transfer.sourceFd = source.fd;
  transfer.expectedSize =
      transfer.metadata.size.value_or(static_cast<std::uint64_t>(std::max<off_t>(transfer.source.st_size, 0)));

  transfer.temporaryPath = FileOperations::temporaryPathBeside(logicalPath);
  FileCloser temporary;
  temporary.fd = ::open(transfer.temporaryPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
  if (temporary.fd < 0) {
    return driveWriteError(errno, logicalPath);
  }
  transfer.temporaryFd = temporary.fd;

  transfer.progress = std::make_shared<platform::TransferProgress>(
      std::string(platform::kProgressKindFile), static_cast<std::int64_t>(transfer.expectedSize));
  const auto progressService = platform::Platform::services()->transferProgress;
  std::optional<platform::TransferProgressService::PublicationToken> publication;
  if (progressService) {
    publication = progressService->publish(platform::URL::fileURLWithPath(logicalPath), transfer.progress);
  }

  auto outcome = copyFile(transfer, cancelled);
  if (!outcome) {
    outcome = finish(transfer);
  }
  ::close(temporary.fd);
  temporary.fd = -1;
  if (outcome) {
    ::unlink(transfer.temporaryPath.c_str());
  }
  if (publication) {
    progressService->unpublish(*publication);
  }
  if (outcome && outcome->code() != ErrorCode::UserCancelled) {
    PLATFORM_LOG(kLogWarning, "Download of %@ failed: %@", logicalPath, outcome->description());
  }
  return outcome;
}

std::optional<Error> SyncEngine::copyFile(Transfer& transfer, const CancellationFlag& cancelled) {
  auto& clock = platform::Clock::current();
  const auto start = clock.monotonicNow();
  const platform::Duration reportInterval = std::chrono::nanoseconds(1'000'000'000 / kProgressReportsPerSecond);
  platform::MonotonicTime lastReport = start;
  std::vector<char> buffer(kMaxChunkBytes);
  bool kernelCopy = true;
  std::uint64_t copied = 0;
  // Bytes and time since the bandwidth last changed: pacing restarts there.
  std::uint64_t pacedFrom = 0;
  platform::MonotonicTime pacedSince = start;
  std::uint64_t pacedRate = 0;
  bool first = true;
  for (;;) {
    if (cancelled.isCancelled()) {
      return Error::platform(ErrorCode::UserCancelled);
    }
    const DownloadConditions state = conditions();
    if (state.offline) {
      return offlineError(transfer.logicalPath);
    }
    if (first || state.bytesPerSecond != pacedRate) {
      pacedRate = state.bytesPerSecond;
      pacedFrom = copied;
      pacedSince = clock.monotonicNow();
      first = false;
    }
    std::size_t chunk = kernelCopy ? kUnlimitedChunkBytes : kMaxChunkBytes;
    if (pacedRate > 0) {
      chunk = static_cast<std::size_t>(std::clamp<std::uint64_t>(pacedRate / 20, kMinChunkBytes, kMaxChunkBytes));
    }
    if (const int fault = injectedWriteFault(transfer.temporaryPath)) {
      return Error::fromErrno(fault, transfer.logicalPath, /*writing=*/true);
    }
    // One byte more than the expected size tells a longer server copy.
    const std::size_t wanted = static_cast<std::size_t>(
        std::min<std::uint64_t>(chunk, transfer.expectedSize - copied + 1));
    ssize_t got = -1;
    if (kernelCopy) {
      // The kernel copies between the files without a trip through this
      // process (and shares blocks where the file system can).
      got = ::copy_file_range(transfer.sourceFd, nullptr, transfer.temporaryFd, nullptr, wanted, 0);
      if (got < 0 && (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP) && copied == 0) {
        kernelCopy = false;
        continue;
      }
      if (got < 0) {
        if (errno == EINTR) {
          continue;
        }
        return Error::fromErrno(errno, transfer.logicalPath, errno == ENOSPC || errno == EDQUOT || errno == EFBIG);
      }
    } else {
      got = ::read(transfer.sourceFd, buffer.data(), wanted);
      if (got < 0) {
        if (errno == EINTR || errno == EAGAIN) {
          continue;
        }
        return Error::fromErrno(errno, transfer.logicalPath, /*writing=*/false);
      }
      std::size_t written = 0;
      while (written < static_cast<std::size_t>(got)) {
        const ssize_t n =
            ::write(transfer.temporaryFd, buffer.data() + written, static_cast<std::size_t>(got) - written);
        if (n < 0) {
          if (errno == EINTR) {
            continue;
          }
          return Error::fromErrno(errno, transfer.logicalPath, /*writing=*/true);
        }
        written += static_cast<std::size_t>(n);
      }
    }
    if (got == 0) {
      break;
    }
    if (copied + static_cast<std::uint64_t>(got) > transfer.expectedSize) {
      return serverError(ErrorCode::FileReadCorruptFile, transfer.logicalPath,
                         platform::localized("The server's copy of this document changed while it downloaded."));
    }
    // Start writing this chunk to the disk now, so the flush at the end
    // finds little left to do.
    ::sync_file_range(transfer.temporaryFd, static_cast<off_t>(copied), got, SYNC_FILE_RANGE_WRITE);
    copied += static_cast<std::uint64_t>(got);
    const auto now = clock.monotonicNow();
    if (now - lastReport >= reportInterval) {
      transfer.progress->setCompletedUnitCount(static_cast<std::int64_t>(copied));
      lastReport = now;
    }
    if (pacedRate > 0) {
      const double seconds = static_cast<double>(copied - pacedFrom) / static_cast<double>(pacedRate);
      if (!waitUntil(pacedSince + platform::secondsToDuration(seconds), cancelled)) {
        return Error::platform(ErrorCode::UserCancelled);
      }
    }
  }
  if (copied != transfer.expectedSize) {
    return serverError(ErrorCode::FileReadCorruptFile, transfer.logicalPath,
                       platform::localized("The server's copy of this document is incomplete."));
  }
  transfer.progress->setCompletedUnitCount(static_cast<std::int64_t>(copied));
  return std::nullopt;
}

std::optional<Error> SyncEngine::finish(Transfer& transfer) {
  if (::fdatasync(transfer.temporaryFd) != 0) {
    return Error::fromErrno(errno, transfer.logicalPath, /*writing=*/true);
  }
  // The document keeps the server copy's modification date.
  const struct timespec times[2] = {transfer.source.st_atim, transfer.source.st_mtim};
  ::futimens(transfer.temporaryFd, times);

  // Another device may have deleted or moved the document while it came:
  // then there is nothing here to put it in place of.
  struct stat now {};
  if (::lstat(placeholderPathFor(transfer.logicalPath).c_str(), &now) != 0 ||
      ::lstat(transfer.cloudFile.c_str(), &now) != 0 || now.st_ino != transfer.source.st_ino ||
      now.st_dev != transfer.source.st_dev) {
    return serverError(ErrorCode::FileReadNoSuchFile, transfer.logicalPath,
                       platform::localized("The document was moved or deleted on another device."));
  }
  auto& operations = drive_->operations();
  // Tags first: a crash after this leaves a cloud-only document (its
  // placeholder still speaks for it) with an unused sidecar.
  if (!transfer.metadata.attributes.isDefault()) {
    if (const int error = operations.writeFile(sidecarPathFor(transfer.logicalPath),
                                               transfer.metadata.attributes.serialize(), /*replace=*/true)) {
      return driveWriteError(error, transfer.logicalPath);
    }
  }
  if (const int error = operations.renameNoReplace(transfer.temporaryPath, transfer.logicalPath)) {
    if (error == EEXIST) {
      // The document arrived by another route meanwhile; keep that one.
      PLATFORM_LOG(kLogInfo, "%@ was already on the phone; the downloaded copy is dropped", transfer.logicalPath);
      ::unlink(transfer.temporaryPath.c_str());
      operations.unlinkFile(placeholderPathFor(transfer.logicalPath));
      return std::nullopt;
    }
    return driveWriteError(error, transfer.logicalPath);
  }
  operations.unlinkFile(placeholderPathFor(transfer.logicalPath));
  PLATFORM_LOG(kLogInfo, "Downloaded %@ (%@ bytes)", transfer.logicalPath, transfer.expectedSize);
  return std::nullopt;
}

}  // namespace velune::host
