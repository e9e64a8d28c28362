#include "host/drive/HostFolderListingService.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "host/HomeFileReader.h"
#include "host/drive/DrivePaths.h"
#include "host/drive/PlaceholderMetadata.h"

namespace velune::host {

using platform::Error;
using platform::FolderListingEntry;
using platform::FolderListingRecord;
using platform::URL;

namespace {

// An open folder descriptor, closed on every path out.
class FolderHandle {
 public:
  explicit FolderHandle(int fd) : fd_(fd) {}
  ~FolderHandle() {
    if (fd_ >= 0) {
      ::close(fd_);
    }
  }
  FolderHandle(const FolderHandle&) = delete;
  FolderHandle& operator=(const FolderHandle&) = delete;
  int fd() const { return fd_; }
  // Hands the descriptor to a DIR stream (which closes it).
  int release() {
    const int fd = fd_;
    fd_ = -1;
    return fd;
  }

 private:
  int fd_;
};

platform::Date modificationDateOf(const struct stat& info) {
  return platform::Date::fromSecondsSince1970(static_cast<double>(info.st_mtim.tv_sec) +
                                              static_cast<double>(info.st_mtim.tv_nsec) / 1e9);
}

}  // namespace

HostFolderListingService::HostFolderListingService(std::shared_ptr<Drive> drive,
                                                   std::shared_ptr<platform::TypeRegistry> types)
    : drive_(std::move(drive)), types_(std::move(types)) {}

bool HostFolderListingService::isPackageName(const std::string& name) {
  const size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0 || dot + 1 == name.size()) {
    return false;
  }
  const std::string type = types_->preferredIdentifierForExtension(std::string_view(name).substr(dot + 1));
  return !type.empty() && types_->typeConformsTo(type, "public.package");
}

platform::Result<std::vector<FolderListingEntry>> HostFolderListingService::entriesOfFolder(const URL& folder) {
  const std::string path = lexicallyNormal(folder.path()).value_or(std::string());
  if (path.empty() || !drive_->relativePath(path)) {
    return Error::fromErrno(EACCES, folder.path(), false);
  }
  // Opened below the drive's root: a folder that is, or lies behind, a link
  // leading outside is not listed, even when the link is put there after a
  // check.
  auto opened = drive_->openFolderInside(path);
  if (!opened.ok()) {
    return opened.error();
  }
  FolderHandle handle(opened.value());
  // The stream reads a copy of the descriptor; the folder stays open for the
  // stats after the reading.
  FolderHandle copy(::fcntl(handle.fd(), F_DUPFD_CLOEXEC, 0));
  DIR* stream = copy.fd() >= 0 ? ::fdopendir(copy.fd()) : nullptr;
  if (stream == nullptr) {
    return Error::fromErrno(errno, path, false);
  }
  copy.release();
  const int folderFd = handle.fd();

  struct Found {
    unsigned char type;
    bool hasSidecar = false;
    bool hasPlaceholder = false;
  };
  // Names as the folder holds them; placeholders and sidecars mark their items.
  std::unordered_map<std::string, Found> found;
  std::vector<std::string> order;
  while (const dirent* entry = ::readdir(stream)) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == ".." || isTemporaryName(name)) {
      continue;
    }
    if (auto logical = logicalNameOfSidecar(name)) {
      auto [it, added] = found.try_emplace(*logical, Found{DT_UNKNOWN});
      it->second.hasSidecar = true;
      if (added) {
        it->second.type = 0xFF;  // nothing seen yet but the sidecar
        order.push_back(*logical);
      }
      continue;
    }
    if (auto logical = logicalNameOfPlaceholder(name)) {
      auto [it, added] = found.try_emplace(*logical, Found{0xFF});
      it->second.hasPlaceholder = true;
      if (added) {
        order.push_back(*logical);
      }
      continue;
    }
    auto [it, added] = found.try_emplace(std::string(name), Found{entry->d_type});
    if (added) {
      order.push_back(std::string(name));
    } else {
      it->second.type = entry->d_type;
    }
  }
  ::closedir(stream);

  std::vector<FolderListingEntry> entries;
  entries.reserve(order.size());
  for (const auto& name : order) {
    const Found& item = found[name];
    if (name.front() == '.') {
      continue;
    }
    const bool present = item.type != 0xFF;
    if (!present && !item.hasPlaceholder) {
      continue;  // a stale sidecar of an item that is gone
    }
    FolderListingEntry entry;
    entry.name = name;
    entry.hasAttributes = present && item.hasSidecar;
    const std::string itemPath = joinPath(path, name);
    if (!present) {
      entry.isCloudOnly = true;
      entry.hasAttributes = true;  // the placeholder holds them
      entry.isPackage = isPackageName(name);
      entry.url = URL::fileURLWithPath(itemPath, false).withPhysicalURL(
          URL::fileURLWithPath(placeholderPathFor(itemPath), false));
    } else {
      unsigned char type = item.type;
      if (type == DT_UNKNOWN) {
        struct stat info {};
        type = ::fstatat(folderFd, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode) ? DT_DIR
                                                                                                        : DT_REG;
      }
      entry.isDirectory = type == DT_DIR;
      entry.isPackage = entry.isDirectory && isPackageName(name);
      entry.url = URL::fileURLWithPath(itemPath, entry.isDirectory);
    }
    entries.push_back(std::move(entry));
  }
  return entries;
}

std::vector<FolderListingRecord> HostFolderListingService::recordsOfEntries(
    const URL& folder, std::span<const FolderListingEntry> entries) {
  std::vector<FolderListingRecord> records;
  records.reserve(entries.size());
  const std::string path = lexicallyNormal(folder.path()).value_or(std::string());
  if (path.empty() || !drive_->relativePath(path)) {
    return records;
  }
  auto opened = drive_->openFolderInside(path);
  if (!opened.ok()) {
    return records;
  }
  FolderHandle handle(opened.value());
  for (const auto& entry : entries) {
    FolderListingRecord record;
    record.url = entry.url;
    if (entry.isCloudOnly) {
      // Read in the folder that was opened, not by path again: a folder
      // swapped for a link meanwhile is not read through.
      const std::string placeholder = placeholderPathFor(joinPath(path, entry.name));
      std::string text;
      const int error = readHomeFileAt(handle.fd(), splitParent(placeholder).second, kItemMetadataFileLimit, text);
      if (error == ENOENT) {
        continue;
      }
      auto metadata = error == 0 ? PlaceholderMetadata::parse(text, placeholder, nullptr)
                                 : platform::Result<PlaceholderMetadata>(homeFileError(error, placeholder));
      if (metadata.ok()) {
        record.size = metadata.value().size.value_or(0);
        record.modificationDate = metadata.value().modified;
        record.isShared = metadata.value().attributes.shared;
        record.tags = metadata.value().attributes.tags;
      }
      records.push_back(std::move(record));
      continue;
    }
    struct stat info {};
    if (::fstatat(handle.fd(), entry.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
      continue;
    }
    record.size = S_ISREG(info.st_mode) ? static_cast<std::uint64_t>(info.st_size) : 0;
    record.modificationDate = modificationDateOf(info);
    if (entry.hasAttributes) {
      std::string sidecar;
      const std::string sidecarName = splitParent(sidecarPathFor(joinPath(path, entry.name))).second;
      if (readHomeFileAt(handle.fd(), sidecarName, kItemMetadataFileLimit, sidecar) == 0) {
        auto attributes = ItemAttributes::parse(sidecar, entry.name, nullptr);
        if (attributes.ok()) {
          record.isShared = attributes.value().shared;
          record.tags = attributes.value().tags;
        }
      }
    }
    records.push_back(std::move(record));
  }
  return records;
}

}  // namespace velune::host
