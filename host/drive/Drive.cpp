#include "host/drive/Drive.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <unordered_map>

#include "host/HomeFileReader.h"
#include "host/HomeJson.h"
#include "host/drive/BeneathPath.h"
#include "host/drive/DrivePaths.h"
#include "host/drive/ReadScope.h"
#include "host/drive/TemporaryNames.h"
#include "platform/Log.h"
#include "platform/Localization.h"
#include "platform/Unicode.h"

namespace velune::host {

using platform::Error;
namespace ErrorCode = platform::ErrorCode;
using platform::Value;

namespace {

constexpr std::string_view kDocumentsFolderName = "Documents";

bool lexists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

bool isDirectoryAt(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::vector<std::string> components(std::string_view relative) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (start < relative.size()) {
    size_t end = relative.find('/', start);
    if (end == std::string_view::npos) {
      end = relative.size();
    }
    if (end > start) {
      parts.emplace_back(relative.substr(start, end - start));
    }
    start = end + 1;
  }
  return parts;
}

// What a change has made stale must not be served from this thread's read scope.
struct ForgetReads {
  ForgetReads() { ReadScope::forget(); }
  ~ForgetReads() { ReadScope::forget(); }
  ForgetReads(const ForgetReads&) = delete;
  ForgetReads& operator=(const ForgetReads&) = delete;
};

}  // namespace

Error driveWriteError(int errorNumber, const std::string& path) {
  if (errorNumber == EXDEV) {
    // What FileOperations gives when a folder of the path leads out of its root.
    return driveError(ErrorCode::FileWriteNoPermission, path,
                      platform::localizedFormat("“%@” is outside Velune Drive.", splitParent(path).second));
  }
  return Error::fromErrno(errorNumber, path, true);
}

Error driveError(std::int64_t code, const std::string& path, const std::string& description) {
  Value::Dictionary info;
  info.emplace(std::string(platform::kLocalizedDescriptionKey), Value(description));
  if (!path.empty()) {
    info.emplace(std::string(platform::kFilePathErrorKey), Value(path));
  }
  return Error::platform(code, std::move(info));
}

Drive::Drive(const HomeLayout& layout)
    : root_(normal(layout.mobileDocuments()).value_or(layout.mobileDocuments())),
      cloudRoot_(normal(layout.cloud()).value_or(layout.cloud())),
      operations_(std::vector<std::string>{root_, cloudRoot_}) {}

std::optional<std::string> Drive::normal(std::string_view path) {
  return lexicallyNormal(path);
}

std::optional<Error> Drive::refuseEscape(const std::string& rawPath, const std::string& normalPath) const {
  // A path written inside the drive whose ".." lead out of it is refused, not
  // followed to wherever it leads.
  if (isSameOrInside(rawPath, root_) && !isSameOrInside(normalPath, root_)) {
    return driveError(ErrorCode::FileWriteNoPermission, rawPath,
                      platform::localizedFormat("“%@” is outside Velune Drive.", splitParent(normalPath).second));
  }
  return std::nullopt;
}

std::optional<std::string> Drive::relativePath(std::string_view path) const {
  if (path.empty() || path.front() != '/') {
    return std::nullopt;
  }
  // Most paths are already normal: only those outside the drive's prefix by
  // name, or with "." or ".." in them, are normalised first.
  if (path.find("/.") == std::string_view::npos && path.find("//") == std::string_view::npos &&
      (path.size() == 1 || path.back() != '/')) {
    return relativeTo(path, root_);
  }
  const auto normalized = normal(path);
  if (!normalized) {
    return std::nullopt;
  }
  return relativeTo(*normalized, root_);
}

std::string Drive::drivePath(std::string_view relative) const {
  return relative.empty() ? root_ : joinPath(root_, relative);
}

std::string Drive::cloudPath(std::string_view relative) const {
  return relative.empty() ? cloudRoot_ : joinPath(cloudRoot_, relative);
}

std::optional<Error> Drive::checkPhysicallyInside(const std::string& path) const {
  char resolvedRoot[PATH_MAX];
  if (::realpath(root_.c_str(), resolvedRoot) == nullptr) {
    return driveWriteError(errno, root_);
  }
  // The deepest folder of the path that exists decides where it really is.
  std::string existing = splitParent(path).first;
  while (!lexists(existing) && existing != "/" && existing != ".") {
    existing = splitParent(existing).first;
  }
  char resolved[PATH_MAX];
  if (::realpath(existing.c_str(), resolved) == nullptr) {
    return driveWriteError(errno, path);
  }
  if (!isSameOrInside(resolved, resolvedRoot)) {
    return driveError(ErrorCode::FileWriteNoPermission, path,
                      platform::localizedFormat("“%@” is outside Velune Drive.", splitParent(path).second));
  }
  return std::nullopt;
}

std::optional<Error> Drive::checkCloudFolderInside(const std::string& relativeFolder, const std::string& path) const {
  const UniqueFd cloudRoot(::open(cloudRoot_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!cloudRoot.valid()) {
    return std::nullopt;  // no server side yet: nothing on it leads anywhere
  }
  // The deepest folder of the server's side that exists decides, as on the phone.
  std::string folder = relativeFolder;
  while (true) {
    const int fd = openBeneath(cloudRoot.get(), folder, O_PATH | O_DIRECTORY);
    if (fd >= 0) {
      ::close(fd);
      return std::nullopt;
    }
    if (isOutsideRootError(-fd)) {
      return driveError(ErrorCode::FileWriteNoPermission, path,
                        platform::localizedFormat("“%@” is outside Velune Drive.", splitParent(path).second));
    }
    if (-fd != ENOENT || folder.empty()) {
      return driveWriteError(-fd, path);
    }
    const size_t slash = folder.rfind('/');
    folder = slash == std::string::npos ? std::string() : folder.substr(0, slash);
  }
}

std::optional<Error> Drive::checkChangeablePath(const std::string& path, bool creating) const {
  const auto relative = relativeTo(path, root_);
  if (!relative) {
    return driveError(ErrorCode::FileWriteNoPermission, path,
                      platform::localizedFormat("“%@” is outside Velune Drive.", splitParent(path).second));
  }
  // The drive's root and the containers' own folders are the platform's.
  const auto parts = components(*relative);
  if (parts.size() < 3 || parts[1] != kDocumentsFolderName) {
    return driveError(ErrorCode::FileWriteNoPermission, path,
                      creating ? platform::localized("Items can only be made inside a container’s documents.")
                               : platform::localized("A container’s own folders can’t be moved, renamed or removed."));
  }
  if (auto outside = checkPhysicallyInside(path)) {
    return outside;
  }
  // Every change reaches the server's copy too: its folders must not lead
  // outside the cloud side either.
  return checkCloudFolderInside(splitParent("/" + *relative).first.substr(1), path);
}

Drive::ItemState Drive::stateOf(const std::string& path) const {
  if (ReadScope::statusOf(path).exists()) {
    return ItemState::Present;
  }
  if (ReadScope::statusOf(placeholderPathFor(path)).exists()) {
    return ItemState::CloudOnly;
  }
  return ItemState::Missing;
}

platform::Result<PlaceholderMetadata> Drive::readPlaceholder(const std::string& logicalPath,
                                                             std::vector<std::string>* problems) const {
  const std::string placeholder = placeholderPathFor(logicalPath);
  const SmallFile file = ReadScope::contentsOf(placeholder);
  if (file.error == ENOENT || file.error == ENOTDIR) {
    return driveWriteError(ENOENT, logicalPath);  // the no-such-file code of the resource values
  }
  if (file.error != 0) {
    return homeFileError(file.error, placeholder);
  }
  return PlaceholderMetadata::parse(file.contents, placeholder, problems);
}

platform::Result<ItemAttributes> Drive::readAttributes(const std::string& path) const {
  switch (stateOf(path)) {
    case ItemState::CloudOnly: {
      auto metadata = readPlaceholder(path);
      if (!metadata.ok()) {
        return metadata.error();
      }
      return metadata.value().attributes;
    }
    case ItemState::Present: {
      const std::string sidecar = sidecarPathFor(path);
      const SmallFile file = ReadScope::contentsOf(sidecar);
      if (file.error == ENOENT) {
        return ItemAttributes{};
      }
      if (file.error != 0) {
        return homeFileError(file.error, sidecar);
      }
      return ItemAttributes::parse(file.contents, sidecar, nullptr);
    }
    case ItemState::Missing:
      break;
  }
  return driveWriteError(ENOENT, path);
}

std::optional<Error> Drive::setAttributes(const std::string& path, const ItemAttributes& attributes) {
  const ForgetReads forget;
  std::lock_guard lock(mutex_);
  switch (stateOf(path)) {
    case ItemState::CloudOnly: {
      auto metadata = readPlaceholder(path);
      if (!metadata.ok()) {
        return metadata.error();
      }
      PlaceholderMetadata updated = metadata.value();
      updated.attributes = attributes;
      if (const int error = operations_.writeFile(placeholderPathFor(path), updated.serialize(), true)) {
        return driveWriteError(error, path);
      }
      return std::nullopt;
    }
    case ItemState::Present: {
      const std::string sidecar = sidecarPathFor(path);
      if (attributes.isDefault()) {
        const int error = operations_.unlinkFile(sidecar);
        return error == 0 || error == ENOENT ? std::nullopt : std::optional<Error>(driveWriteError(error, path));
      }
      if (const int error = operations_.writeFile(sidecar, attributes.serialize(), true)) {
        return driveWriteError(error, path);
      }
      return std::nullopt;
    }
    case ItemState::Missing:
      break;
  }
  return driveWriteError(ENOENT, path);
}

platform::URL Drive::itemURL(const std::string& path) const {
  struct stat info {};
  if (::lstat(path.c_str(), &info) == 0) {
    return platform::URL::fileURLWithPath(path, S_ISDIR(info.st_mode));
  }
  const std::string placeholder = placeholderPathFor(path);
  if (lexists(placeholder)) {
    return platform::URL::fileURLWithPath(path, false)
        .withPhysicalURL(platform::URL::fileURLWithPath(placeholder, false));
  }
  return platform::URL::fileURLWithPath(path, false);
}

platform::Result<int> Drive::openFolderInside(const std::string& path) const {
  const auto relative = relativeTo(path, root_);
  if (!relative) {
    return driveError(ErrorCode::FileReadNoPermission, path,
                      platform::localizedFormat("“%@” is outside Velune Drive.", splitParent(path).second));
  }
  const UniqueFd rootFd(::open(root_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  const int fd = rootFd.valid() ? openBeneath(rootFd.get(), *relative, O_RDONLY | O_DIRECTORY) : -errno;
  if (fd < 0 && isOutsideRootError(-fd)) {
    return driveError(ErrorCode::FileReadNoPermission, path,
                      platform::localizedFormat("“%@” is outside Velune Drive.", splitParent(path).second));
  }
  if (fd < 0) {
    return Error::fromErrno(-fd, path, false);
  }
  return fd;
}

platform::Result<std::vector<Drive::Entry>> Drive::contentsOfFolder(const std::string& path, bool includeHidden) const {
  // A folder of the drive is opened below the drive's root: one that is (or
  // lies behind) a link leading outside is refused, as every change is.
  int fd = -1;
  if (relativeTo(path, root_)) {
    auto opened = openFolderInside(path);
    if (!opened.ok()) {
      return opened.error();
    }
    fd = opened.value();
  } else {
    fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
      return Error::fromErrno(errno, path, false);
    }
  }
  DIR* folder = ::fdopendir(fd);
  if (folder == nullptr) {
    const int error = errno;
    ::close(fd);
    return Error::fromErrno(error, path, false);
  }
  // Names with the folder's own d_type, which spares a stat per entry.
  std::vector<std::pair<std::string, unsigned char>> found;
  while (const dirent* entry = ::readdir(folder)) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") {
      found.emplace_back(name, entry->d_type);
    }
  }
  ::closedir(folder);
  std::sort(found.begin(), found.end());
  const auto isListed = [&](const std::string& name) {
    return std::binary_search(found.begin(), found.end(), std::make_pair(name, static_cast<unsigned char>(0)),
                              [](const auto& a, const auto& b) { return a.first < b.first; });
  };
  std::vector<Entry> entries;
  entries.reserve(found.size());
  for (const auto& [name, type] : found) {
    if (isTemporaryName(name) || logicalNameOfSidecar(name)) {
      continue;
    }
    std::string shown = name;
    bool cloudOnly = false;
    if (const auto logical = logicalNameOfPlaceholder(name)) {
      if (isListed(*logical)) {
        continue;  // present: the file is the item
      }
      shown = *logical;
      cloudOnly = true;
    }
    if (!includeHidden && shown.front() == '.') {
      continue;
    }
    Entry entry;
    entry.name = shown;
    entry.path = joinPath(path, shown);
    entry.isCloudOnly = cloudOnly;
    const unsigned char kind = cloudOnly ? static_cast<unsigned char>(DT_REG) : type;
    if (kind == DT_UNKNOWN) {
      entry.url = itemURL(entry.path);
    } else if (cloudOnly) {
      entry.url = platform::URL::fileURLWithPath(entry.path, false)
                      .withPhysicalURL(platform::URL::fileURLWithPath(joinPath(path, name), false));
    } else {
      entry.url = platform::URL::fileURLWithPath(entry.path, kind == DT_DIR);
    }
    entry.isDirectory = entry.url.hasDirectoryPath();
    entries.push_back(std::move(entry));
  }
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
  return entries;
}

bool Drive::isNameTaken(const std::string& path, const std::string& ignoring) const {
  if (path != ignoring && (lexists(path) || lexists(placeholderPathFor(path)))) {
    return true;
  }
  const auto [folder, name] = splitParent(path);
  DIR* directory = ::opendir(folder.c_str());
  if (directory == nullptr) {
    return false;
  }
  // Names are compared as people read them: the same text in another Unicode
  // normal form is the same name.
  bool taken = false;
  const bool asciiName = platform::unicode::isASCII(name);
  const std::string wanted = asciiName ? name : platform::unicode::normalizedNFC(name);
  const std::string ignoredName = ignoring.empty() ? std::string() : splitParent(ignoring).second;
  while (const dirent* entry = ::readdir(directory)) {
    std::string candidate = entry->d_name;
    if (const auto logical = logicalNameOfPlaceholder(candidate)) {
      candidate = *logical;
    }
    if (candidate == ignoredName || (asciiName && platform::unicode::isASCII(candidate))) {
      continue;
    }
    if (platform::unicode::normalizedNFC(candidate) == wanted) {
      taken = true;
      break;
    }
  }
  ::closedir(directory);
  return taken;
}

// --- This phone's changes ---

std::optional<Error> Drive::createDirectory(const std::string& rawPath, bool withIntermediateDirectories) {
  const ForgetReads forget;
  const auto normalized = normal(rawPath);
  if (!normalized) {
    return driveWriteError(EINVAL, rawPath);
  }
  const std::string& path = *normalized;
  if (auto refused = refuseEscape(rawPath, path)) {
    return refused;
  }
  std::lock_guard lock(mutex_);
  if (const auto relative = relativeTo(path, root_); !relative) {
    std::vector<std::string> created;
    const int error =
        withIntermediateDirectories ? operations_.makeDirectories(path, &created) : operations_.makeDirectory(path);
    return error == 0 ? std::nullopt : std::optional<Error>(driveWriteError(error, path));
  }
  if (withIntermediateDirectories && isDirectoryAt(path)) {
    return std::nullopt;
  }
  if (auto refused = checkChangeablePath(path, true)) {
    return refused;
  }
  // Folders to make, outermost first; each name must be free.
  std::vector<std::string> toMake;
  for (std::string current = path; !isDirectoryAt(current); current = splitParent(current).first) {
    if (!isSameOrInside(current, root_) || current == root_) {
      return driveWriteError(ENOENT, path);
    }
    toMake.insert(toMake.begin(), current);
    if (!withIntermediateDirectories) {
      break;
    }
  }
  std::vector<std::string> made;
  auto undo = [&] {
    for (auto it = made.rbegin(); it != made.rend(); ++it) {
      operations_.removeDirectory(*it);
    }
  };
  for (const auto& folder : toMake) {
    if (isNameTaken(folder)) {
      undo();
      return driveWriteError(EEXIST, folder);
    }
    if (const int error = operations_.makeDirectory(folder)) {
      undo();
      return driveWriteError(error, folder);
    }
    made.push_back(folder);
    // A document that took the name as a placeholder in the meantime wins.
    if (lexists(placeholderPathFor(folder))) {
      undo();
      return driveWriteError(EEXIST, folder);
    }
  }
  for (const auto& folder : made) {
    const std::string cloudFolder = cloudPath(*relativeTo(folder, root_));
    if (const int error = operations_.makeDirectories(cloudFolder)) {
      PLATFORM_LOG(kLogWarning, "Cannot make the folder %@ on the server: %@", cloudFolder,
            driveWriteError(error, cloudFolder));
      undo();
      return driveWriteError(error, path);
    }
  }
  return std::nullopt;
}

std::optional<Error> Drive::removeLocal(const std::string& path) {
  switch (stateOf(path)) {
    case ItemState::Present: {
      if (const int error = operations_.removeTree(path)) {
        return driveWriteError(error, path);
      }
      const int sidecarError = operations_.unlinkFile(sidecarPathFor(path));
      if (sidecarError != 0 && sidecarError != ENOENT) {
        PLATFORM_LOG(kLogWarning, "Cannot remove the attributes of %@: %@", path, driveWriteError(sidecarError, path));
      }
      // A stale placeholder beside a present item goes with it.
      operations_.unlinkFile(placeholderPathFor(path));
      return std::nullopt;
    }
    case ItemState::CloudOnly:
      if (const int error = operations_.unlinkFile(placeholderPathFor(path))) {
        return driveWriteError(error, path);
      }
      return std::nullopt;
    case ItemState::Missing:
      break;
  }
  return driveWriteError(ENOENT, path);
}

std::optional<Error> Drive::removeItem(const std::string& rawPath) {
  const ForgetReads forget;
  const auto normalized = normal(rawPath);
  if (!normalized) {
    return driveWriteError(EINVAL, rawPath);
  }
  const std::string& path = *normalized;
  if (auto refused = refuseEscape(rawPath, path)) {
    return refused;
  }
  std::lock_guard lock(mutex_);
  const auto relative = relativeTo(path, root_);
  if (!relative) {
    const int error = operations_.removeTree(path);
    return error == 0 ? std::nullopt : std::optional<Error>(driveWriteError(error, path));
  }
  if (auto refused = checkChangeablePath(path, false)) {
    return refused;
  }
  if (auto error = removeLocal(path)) {
    return error;
  }
  const std::string cloudItem = cloudPath(*relative);
  struct stat cloudInfo {};
  if (operations_.statItem(cloudItem, cloudInfo) == 0) {
    if (const int error = operations_.removeTree(cloudItem)) {
      PLATFORM_LOG(kLogWarning, "Deleted %@ here but not on the server: %@", path, driveWriteError(error, cloudItem));
      return driveWriteError(error, path);
    }
  }
  return std::nullopt;
}

void Drive::undoLocalMove(const std::string& from, const std::string& to, ItemState state) {
  if (state == ItemState::CloudOnly) {
    operations_.renameNoReplace(placeholderPathFor(to), placeholderPathFor(from));
    return;
  }
  operations_.renameNoReplace(to, from);
  if (lexists(sidecarPathFor(to))) {
    operations_.renameReplacing(sidecarPathFor(to), sidecarPathFor(from));
  }
}

std::optional<Error> Drive::moveLocal(const std::string& from, const std::string& to) {
  const ItemState state = stateOf(from);
  if (state == ItemState::Missing) {
    return driveWriteError(ENOENT, from);
  }
  if (isNameTaken(to, from)) {
    return driveWriteError(EEXIST, to);
  }
  if (state == ItemState::CloudOnly) {
    if (const int error = operations_.renameNoReplace(placeholderPathFor(from), placeholderPathFor(to))) {
      return driveWriteError(error, to);
    }
    if (lexists(to)) {  // a file took the name meanwhile: it keeps it
      undoLocalMove(from, to, state);
      return driveWriteError(EEXIST, to);
    }
    return std::nullopt;
  }
  if (const int error = operations_.renameNoReplace(from, to)) {
    return driveWriteError(error, to);
  }
  if (lexists(placeholderPathFor(to))) {  // a cloud-only document took the name meanwhile
    operations_.renameNoReplace(to, from);
    return driveWriteError(EEXIST, to);
  }
  // The attributes travel with the item; a stale sidecar at the new name is not its.
  if (lexists(sidecarPathFor(from))) {
    if (const int error = operations_.renameReplacing(sidecarPathFor(from), sidecarPathFor(to))) {
      PLATFORM_LOG(kLogWarning, "The attributes of %@ stayed behind: %@", to, driveWriteError(error, to));
    }
  } else if (lexists(sidecarPathFor(to))) {
    operations_.unlinkFile(sidecarPathFor(to));
  }
  return std::nullopt;
}

std::optional<Error> Drive::mirrorMove(const std::string& fromRelative, const std::string& toRelative) {
  const std::string cloudFrom = cloudPath(fromRelative);
  const std::string cloudTo = cloudPath(toRelative);
  struct stat cloudInfo {};
  if (operations_.statItem(cloudFrom, cloudInfo) != 0) {
    return std::nullopt;  // never uploaded: nothing to move on the server
  }
  if (const int error = operations_.makeDirectories(splitParent(cloudTo).first)) {
    return driveWriteError(error, cloudTo);
  }
  if (const int error = operations_.renameNoReplace(cloudFrom, cloudTo)) {
    return driveWriteError(error, cloudTo);
  }
  return std::nullopt;
}

std::optional<Error> Drive::moveItem(const std::string& rawFrom, const std::string& rawTo) {
  const ForgetReads forget;
  const auto from = normal(rawFrom);
  const auto to = normal(rawTo);
  if (!from || !to) {
    return driveWriteError(EINVAL, rawTo);
  }
  if (auto refused = refuseEscape(rawFrom, *from)) {
    return refused;
  }
  if (auto refused = refuseEscape(rawTo, *to)) {
    return refused;
  }
  std::lock_guard lock(mutex_);
  const auto fromRelative = relativeTo(*from, root_);
  const auto toRelative = relativeTo(*to, root_);
  if (!fromRelative && !toRelative) {
    const int error = operations_.renameNoReplace(*from, *to);
    return error == 0 ? std::nullopt : std::optional<Error>(driveWriteError(error, *to));
  }
  if (auto refused = checkChangeablePath(*from, false)) {
    return refused;
  }
  if (auto refused = checkChangeablePath(*to, true)) {
    return refused;
  }
  if (*from == *to) {
    return std::nullopt;
  }
  if (isSameOrInside(*to, *from)) {
    return driveWriteError(EINVAL, *to);  // into itself
  }
  const ItemState state = stateOf(*from);
  if (auto error = moveLocal(*from, *to)) {
    return error;
  }
  if (auto error = mirrorMove(*fromRelative, *toRelative)) {
    PLATFORM_LOG(kLogWarning, "Moving %@ on the server failed, moving it back: %@", *from, *error);
    undoLocalMove(*from, *to, state);
    return error;
  }
  return std::nullopt;
}

namespace {

// A copy of the item seen as `before` is still a copy of it when its identity,
// size and modification time are unchanged (a package: its top folder's).
bool sameVersion(const struct stat& before, const struct stat& now) {
  return before.st_dev == now.st_dev && before.st_ino == now.st_ino && before.st_size == now.st_size &&
         before.st_mtim.tv_sec == now.st_mtim.tv_sec && before.st_mtim.tv_nsec == now.st_mtim.tv_nsec;
}

// How often an eviction copies a document that keeps changing during its copy.
constexpr int kEvictionCopyAttempts = 3;

}  // namespace

std::optional<Error> Drive::evictItem(const std::string& rawPath) {
  const ForgetReads forget;
  const auto normalized = normal(rawPath);
  if (!normalized) {
    return driveWriteError(EINVAL, rawPath);
  }
  const std::string& path = *normalized;
  const auto relative = relativeTo(path, root_);
  if (!relative) {
    return driveError(ErrorCode::FeatureUnsupported, path,
                      platform::localizedFormat("“%@” is not in Velune Drive.", splitParent(path).second));
  }
  const std::string cloudItem = cloudPath(*relative);
  // The server's new copy is made outside the lock (a big document must not
  // hold up this phone's other changes) and checked under it against the
  // document: one that changed meanwhile is copied again.
  std::string staged;
  struct stat stagedFrom {};
  auto discardStaged = [&] {
    if (!staged.empty()) {
      operations_.removeTree(staged);
      staged.clear();
    }
  };
  for (int copies = 0;;) {
    std::unique_lock lock(mutex_);
    ReadScope::forget();
    if (auto refused = checkChangeablePath(path, false)) {
      discardStaged();
      return refused;
    }
    const ItemState state = stateOf(path);
    if (state == ItemState::CloudOnly) {
      discardStaged();
      return std::nullopt;
    }
    struct stat info {};
    if (state == ItemState::Missing || ::lstat(path.c_str(), &info) != 0) {
      discardStaged();
      return driveWriteError(ENOENT, path);
    }
    const bool isFolder = S_ISDIR(info.st_mode);
    PlaceholderMetadata metadata;
    if (isFolder) {
      // Only documents leave the phone; a package is one (its extension says so).
      const std::string name = splitParent(path).second;
      const size_t dot = name.rfind('.');
      if (dot == std::string::npos || dot == 0 || dot + 1 == name.size()) {
        discardStaged();
        return driveError(
            ErrorCode::FeatureUnsupported, path,
            platform::localizedFormat("“%@” is a folder; only documents can be removed from this phone.", name));
      }
      metadata.isPackage = true;
    } else if (!S_ISREG(info.st_mode)) {
      discardStaged();
      return driveError(ErrorCode::FeatureUnsupported, path,
                        platform::localizedFormat("“%@” is a folder; only documents can be removed from this phone.",
                                                  splitParent(path).second));
    } else {
      metadata.size = static_cast<std::uint64_t>(info.st_size);
    }
    // The server must hold the bytes before the phone lets go of them.
    struct stat cloudInfo {};
    const bool cloudCurrent =
        operations_.statItem(cloudItem, cloudInfo) == 0 && S_ISREG(cloudInfo.st_mode) && !isFolder &&
        cloudInfo.st_size == info.st_size &&
        (cloudInfo.st_mtim.tv_sec > info.st_mtim.tv_sec ||
         (cloudInfo.st_mtim.tv_sec == info.st_mtim.tv_sec && cloudInfo.st_mtim.tv_nsec >= info.st_mtim.tv_nsec));
    if (!cloudCurrent && (staged.empty() || !sameVersion(stagedFrom, info))) {
      discardStaged();
      if (copies == kEvictionCopyAttempts) {
        return driveWriteError(EBUSY, path);
      }
      ++copies;
      lock.unlock();
      if (const int error = operations_.makeDirectories(splitParent(cloudItem).first)) {
        return driveWriteError(error, path);
      }
      if (const int error = operations_.copyToTemporary(path, cloudItem, staged)) {
        return driveWriteError(error, path);
      }
      stagedFrom = info;
      continue;
    }
    if (!cloudCurrent) {
      const int error = operations_.installCopy(staged, cloudItem, /*replace=*/true);
      staged.clear();
      if (error != 0) {
        return driveWriteError(error, path);
      }
    }
    discardStaged();
    metadata.modified = platform::Date::fromSecondsSince1970(static_cast<double>(info.st_mtim.tv_sec) +
                                                             static_cast<double>(info.st_mtim.tv_nsec) / 1e9);
    metadata.created = metadata.modified;
    if (auto attributes = readAttributes(path); attributes.ok()) {
      metadata.attributes = attributes.value();
    }
    if (const int error = operations_.writeFile(placeholderPathFor(path), metadata.serialize(), /*replace=*/true)) {
      return driveWriteError(error, path);
    }
    if (const int error = operations_.removeTree(path)) {
      operations_.unlinkFile(placeholderPathFor(path));
      return driveWriteError(error, path);
    }
    operations_.unlinkFile(sidecarPathFor(path));
    return std::nullopt;
  }
}

std::optional<Error> Drive::deleteContainerContents(const std::string& containerIdentifier) {
  const ForgetReads forget;
  if (containerIdentifier.empty() || containerIdentifier.find('/') != std::string::npos || containerIdentifier == "." ||
      containerIdentifier == "..") {
    return driveWriteError(EINVAL, containerIdentifier);
  }
  const std::string relativeDocuments = containerIdentifier + "/" + std::string(kDocumentsFolderName);
  const std::string documents = drivePath(relativeDocuments);
  auto entries = contentsOfFolder(documents, /*includeHidden=*/true);
  if (!entries.ok()) {
    return entries.error();
  }
  if (auto outside = checkCloudFolderInside(relativeDocuments, documents)) {
    return outside;
  }
  std::lock_guard lock(mutex_);
  for (const auto& entry : entries.value()) {
    if (auto error = removeLocal(entry.path)) {
      return error;
    }
  }
  const std::string cloudDocuments = cloudPath(relativeDocuments);
  std::vector<std::string> names;
  FileOperations::folderNames(cloudDocuments, names);  // none when the server has no such folder
  for (const auto& name : names) {
    if (const int error = operations_.removeTree(joinPath(cloudDocuments, name))) {
      return driveWriteError(error, joinPath(documents, name));
    }
  }
  return std::nullopt;
}

// --- Document references ---

std::optional<Error> Drive::writeDocumentReference(const std::string& referencePath, const std::string& targetPath) {
  const ForgetReads forget;
  const auto target = normal(targetPath);
  const auto relative = target ? relativeTo(*target, root_) : std::nullopt;
  if (!relative) {
    return driveError(ErrorCode::FileWriteNoPermission, targetPath,
                      platform::localizedFormat("“%@” is outside Velune Drive.", splitParent(targetPath).second));
  }
  nlohmann::json reference = {{"target", *relative}};
  std::lock_guard lock(mutex_);
  if (isNameTaken(referencePath)) {
    return driveWriteError(EEXIST, referencePath);
  }
  if (const int error = operations_.writeFile(referencePath, homeJsonText(reference), /*replace=*/false)) {
    return driveWriteError(error, referencePath);
  }
  return std::nullopt;
}

platform::Result<std::string> Drive::documentReferenceTarget(const std::string& referencePath) const {
  std::string text;
  if (const int error = readHomeFile(referencePath, kItemMetadataFileLimit, text)) {
    if (error == ENOENT || error == ENOTDIR || error == EACCES) {
      return Error::fromErrno(error, referencePath, false);
    }
    return Error::platform(ErrorCode::FileReadCorruptFile,
                           {{std::string(platform::kFilePathErrorKey), Value(referencePath)}});
  }
  const auto json = parseHomeJson(text);
  if (!json.is_object() || !json.contains("target") || !json["target"].is_string() ||
      json["target"].get<std::string>().empty()) {
    return Error::platform(ErrorCode::FileReadCorruptFile,
                           {{std::string(platform::kFilePathErrorKey), Value(referencePath)}});
  }
  const std::string written = json["target"].get<std::string>();
  const auto target = normal(written.front() == '/' ? written : joinPath(root_, written));
  if (!target || !relativeTo(*target, root_) || *target == root_ || checkPhysicallyInside(*target)) {
    return driveError(
        ErrorCode::FileReadNoPermission, referencePath,
        platform::localizedFormat("“%@” points outside Velune Drive.", splitParent(referencePath).second));
  }
  return *target;
}

// --- Another device's changes ---

int Drive::writeCloudBytes(const std::string& cloudFile, const CloudDocument& document, bool replace) {
  if (document.sourceFile) {
    return operations_.copyItem(*document.sourceFile, cloudFile, replace);
  }
  if (document.sparseSize) {
    return operations_.writeSparseFile(cloudFile, *document.sparseSize, replace);
  }
  return operations_.writeFile(cloudFile, document.contents.value_or(std::string()), replace);
}

std::optional<Error> Drive::placeNewPlaceholder(const std::string& logicalPath, const PlaceholderMetadata& metadata) {
  if (isNameTaken(logicalPath)) {
    return driveWriteError(EEXIST, logicalPath);
  }
  if (const int error = operations_.writeFile(placeholderPathFor(logicalPath), metadata.serialize(), false)) {
    return driveWriteError(error, logicalPath);
  }
  if (lexists(logicalPath)) {  // a file took the name meanwhile: it keeps it
    operations_.unlinkFile(placeholderPathFor(logicalPath));
    return driveWriteError(EEXIST, logicalPath);
  }
  return std::nullopt;
}

std::optional<Error> Drive::cloudAdd(const std::string& relative, const CloudDocument& document) {
  const ForgetReads forget;
  const std::string path = drivePath(relative);
  const auto normalized = normal(path);
  if (!normalized || relativeTo(*normalized, root_) != relative) {
    return driveWriteError(EINVAL, path);
  }
  if (auto refused = checkChangeablePath(path, true)) {
    return refused;
  }
  {
    std::lock_guard lock(mutex_);
    if (isNameTaken(path)) {
      return driveWriteError(EEXIST, path);
    }
  }
  // The bytes are written beside their place outside the lock (a big document
  // must not hold up this phone's other changes); the lock covers the names.
  const std::string cloudFile = cloudPath(relative);
  if (const int error = operations_.makeDirectories(splitParent(cloudFile).first)) {
    return driveWriteError(error, path);
  }
  const std::string staged = FileOperations::temporaryPathBeside(cloudFile);
  if (const int error = writeCloudBytes(staged, document, /*replace=*/false)) {
    operations_.removeTree(staged);
    return driveWriteError(error, path);
  }
  std::lock_guard lock(mutex_);
  ReadScope::forget();
  if (isNameTaken(path)) {
    operations_.removeTree(staged);
    return driveWriteError(EEXIST, path);
  }
  if (const int error = operations_.renameNoReplace(staged, cloudFile)) {
    operations_.removeTree(staged);
    return driveWriteError(error, path);
  }
  struct stat info {};
  PlaceholderMetadata metadata;
  if (operations_.statItem(cloudFile, info) == 0) {
    if (S_ISDIR(info.st_mode)) {
      metadata.isPackage = true;
    } else {
      metadata.size = static_cast<std::uint64_t>(info.st_size);
    }
  }
  metadata.created = platform::Date::now();
  metadata.modified = metadata.created;
  metadata.attributes = document.attributes;
  if (const int error = operations_.makeDirectories(splitParent(path).first)) {
    operations_.removeTree(cloudFile);
    return driveWriteError(error, path);
  }
  if (auto error = placeNewPlaceholder(path, metadata)) {
    operations_.removeTree(cloudFile);
    return error;
  }
  return std::nullopt;
}

std::optional<Error> Drive::cloudAddFolder(const std::string& relative) {
  const ForgetReads forget;
  const std::string path = drivePath(relative);
  if (auto refused = checkChangeablePath(path, true)) {
    return refused;
  }
  std::lock_guard lock(mutex_);
  if (stateOf(path) == ItemState::CloudOnly || (lexists(path) && !isDirectoryAt(path))) {
    return driveWriteError(EEXIST, path);
  }
  if (const int error = operations_.makeDirectories(cloudPath(relative))) {
    return driveWriteError(error, path);
  }
  if (const int error = operations_.makeDirectories(path)) {
    return driveWriteError(error, path);
  }
  return std::nullopt;
}

std::optional<Error> Drive::cloudModify(const std::string& relative, const CloudDocument& document) {
  const ForgetReads forget;
  const std::string path = drivePath(relative);
  if (auto refused = checkChangeablePath(path, false)) {
    return refused;
  }
  const std::string cloudFile = cloudPath(relative);
  struct stat info {};
  if (operations_.statItem(cloudFile, info) != 0 || S_ISDIR(info.st_mode)) {
    return driveWriteError(ENOENT, path);
  }
  // The new version is staged beside the server's copy, and beside the
  // phone's when it has one, outside the lock (a big document must not hold
  // up this phone's other changes); the lock covers the renames.
  Staged staged;
  staged.cloud = FileOperations::temporaryPathBeside(cloudFile);
  if (const int error = writeCloudBytes(staged.cloud, document, /*replace=*/false)) {
    operations_.removeTree(staged.cloud);
    return driveWriteError(error, path);
  }
  if (stateOf(path) == ItemState::Present) {
    if (const int error = operations_.copyToTemporary(staged.cloud, path, staged.phone)) {
      operations_.removeTree(staged.cloud);
      return driveWriteError(error, path);
    }
  }
  std::lock_guard lock(mutex_);
  ReadScope::forget();
  auto discard = [&] {
    operations_.removeTree(staged.cloud);
    if (!staged.phone.empty()) {
      operations_.removeTree(staged.phone);
    }
  };
  if (operations_.statItem(cloudFile, info) != 0 || S_ISDIR(info.st_mode)) {
    discard();
    return driveWriteError(ENOENT, path);
  }
  const ItemState state = stateOf(path);
  if (state == ItemState::Present) {
    return replaceOnBothSides(path, cloudFile, staged);
  }
  if (!staged.phone.empty()) {
    operations_.removeTree(staged.phone);  // the phone's copy went meanwhile
  }
  if (const int error = operations_.renameReplacing(staged.cloud, cloudFile)) {
    operations_.removeTree(staged.cloud);
    return driveWriteError(error, path);
  }
  operations_.statItem(cloudFile, info);
  if (state == ItemState::CloudOnly) {
    auto metadata = readPlaceholder(path);
    PlaceholderMetadata updated = metadata.ok() ? metadata.value() : PlaceholderMetadata{};
    updated.size = static_cast<std::uint64_t>(info.st_size);
    updated.modified = platform::Date::now();
    if (const int error = operations_.writeFile(placeholderPathFor(path), updated.serialize(), true)) {
      return driveWriteError(error, path);
    }
    return std::nullopt;
  }
  PlaceholderMetadata created;
  created.size = static_cast<std::uint64_t>(info.st_size);
  created.created = platform::Date::now();
  created.modified = created.created;
  if (const int error = operations_.makeDirectories(splitParent(path).first)) {
    return driveWriteError(error, path);
  }
  return placeNewPlaceholder(path, created);
}

std::optional<Error> Drive::replaceOnBothSides(const std::string& path, const std::string& cloudFile,
                                               Staged& staged) {
  // The new version is staged beside both copies first; a journal then names
  // the staged files, and the two renames follow. A kill before the journal
  // exists leaves both old versions (the staged files are a dead process's
  // temporary files); after it, the next start completes the change when the
  // server's copy was already replaced and undoes it otherwise
  // (TemporaryFileSweeper), so both sides always end up equal.
  const std::string journal = joinPath(splitParent(path).first, newTemporaryName(kReplacementJournalSuffix));
  auto discard = [&] {
    operations_.unlinkFile(journal);
    if (!staged.phone.empty()) {
      operations_.removeTree(staged.phone);
    }
    operations_.removeTree(staged.cloud);
  };
  if (staged.phone.empty()) {
    // The phone got its copy while the new version was staged: copied here, under the lock.
    if (const int error = operations_.copyToTemporary(staged.cloud, path, staged.phone)) {
      discard();
      return driveWriteError(error, path);
    }
  }
  const nlohmann::json entry = {{"name", splitParent(path).second},
                                {"staged", splitParent(staged.phone).second},
                                {"cloudStaged", splitParent(staged.cloud).second}};
  if (const int error = operations_.writeFile(journal, homeJsonText(entry), /*replace=*/false)) {
    discard();
    return driveWriteError(error, path);
  }
  if (const int error = operations_.renameReplacing(staged.cloud, cloudFile)) {
    discard();
    return driveWriteError(error, path);
  }
  if (const int error = operations_.renameReplacing(staged.phone, path)) {
    PLATFORM_LOG(kLogWarning, "The server has the new version of %@ but this phone does not: %@", path,
                 driveWriteError(error, path));
    discard();
    return driveWriteError(error, path);
  }
  operations_.unlinkFile(journal);
  return std::nullopt;
}

std::optional<Error> Drive::cloudMove(const std::string& fromRelative, const std::string& toRelative) {
  const ForgetReads forget;
  const std::string from = drivePath(fromRelative);
  const std::string to = drivePath(toRelative);
  if (auto refused = checkChangeablePath(from, false)) {
    return refused;
  }
  if (auto refused = checkChangeablePath(to, true)) {
    return refused;
  }
  std::lock_guard lock(mutex_);
  if (isNameTaken(to)) {
    return driveWriteError(EEXIST, to);
  }
  if (auto error = mirrorMove(fromRelative, toRelative)) {
    return error;
  }
  if (stateOf(from) == ItemState::Missing) {
    return std::nullopt;
  }
  if (const int error = operations_.makeDirectories(splitParent(to).first)) {
    operations_.renameNoReplace(cloudPath(toRelative), cloudPath(fromRelative));
    return driveWriteError(error, to);
  }
  if (auto error = moveLocal(from, to)) {
    operations_.renameNoReplace(cloudPath(toRelative), cloudPath(fromRelative));
    return error;
  }
  return std::nullopt;
}

std::optional<Error> Drive::cloudDelete(const std::string& relative) {
  const ForgetReads forget;
  const std::string path = drivePath(relative);
  if (auto refused = checkChangeablePath(path, false)) {
    return refused;
  }
  std::lock_guard lock(mutex_);
  const std::string cloudItem = cloudPath(relative);
  struct stat cloudInfo {};
  const bool onServer = operations_.statItem(cloudItem, cloudInfo) == 0;
  if (!onServer && stateOf(path) == ItemState::Missing) {
    return driveWriteError(ENOENT, path);
  }
  if (onServer) {
    if (const int error = operations_.removeTree(cloudItem)) {
      return driveWriteError(error, path);
    }
  }
  if (stateOf(path) != ItemState::Missing) {
    return removeLocal(path);
  }
  return std::nullopt;
}

}  // namespace velune::host
