#include "host/drive/FolderEntries.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "host/drive/BeneathPath.h"

namespace velune::host {

int entriesOfFolderAt(int folderFd, std::vector<FolderEntry>& entries) {
  // The stream takes its own descriptor: the caller's stays open.
  const int copy = ::openat(folderFd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (copy < 0) {
    return errno;
  }
  DIR* folder = ::fdopendir(copy);
  if (folder == nullptr) {
    const int error = errno;
    ::close(copy);
    return error;
  }
  while (const dirent* entry = ::readdir(folder)) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") {
      entries.push_back({std::string(name), entry->d_type});
    }
  }
  ::closedir(folder);
  return 0;
}

int removeItemAt(int folderFd, const std::string& name) {
  struct stat info {};
  if (::fstatat(folderFd, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno;
  }
  if (!S_ISDIR(info.st_mode)) {
    return ::unlinkat(folderFd, name.c_str(), 0) == 0 ? 0 : errno;
  }
  {
    const UniqueFd inner(::openat(folderFd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!inner.valid()) {
      return errno;
    }
    std::vector<FolderEntry> entries;
    if (const int error = entriesOfFolderAt(inner.get(), entries)) {
      return error;
    }
    for (const auto& child : entries) {
      if (const int error = removeItemAt(inner.get(), child.name)) {
        return error;
      }
    }
  }
  return ::unlinkat(folderFd, name.c_str(), AT_REMOVEDIR) == 0 ? 0 : errno;
}

}  // namespace velune::host
