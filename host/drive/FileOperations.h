#pragma once
// FileOperations: the few system calls with which the drive changes the disk,
// in one place so that every change is made the same safe way and tests can
// make any of them fail (a full disk, a refused permission) on demand.
//
// Each operation returns 0 or the errno of its failure.
//
// renameNoReplace() is the last step of every move and of every new name: it
// never replaces an existing item, also when another thread or process
// creates the destination at the same moment. It is renameat2 with
// RENAME_NOREPLACE; where the file system refuses that flag it falls back to
// link() and unlink() for files (link fails atomically on an existing name)
// and, for folders, to claiming the name with mkdir() and renaming onto that
// empty claim (rename refuses a folder that is no longer empty).
//
// Thread-safe; the fault injector is meant to be set before work starts.

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace velune::host {

class FileOperations {
 public:
  // Called before each operation with its name ("mkdir", "rename", "link",
  // "unlink", "rmdir", "remove", "write", "copy") and path; a non-zero answer
  // is returned as that operation's errno without touching the disk.
  using FaultInjector = std::function<int(std::string_view operation, const std::string& path)>;

  void setFaultInjector(FaultInjector injector);
  // Uses the fallback of renameNoReplace() even where renameat2 works (tests).
  void setForceNoReplaceFallback(bool force);

  int makeDirectory(const std::string& path);
  // mkdir -p; `created` receives the folders that did not exist before, outermost first.
  int makeDirectories(const std::string& path, std::vector<std::string>* created = nullptr);
  int renameNoReplace(const std::string& from, const std::string& to);
  // Plain rename(2), replacing the destination (for the drive's own files).
  int renameReplacing(const std::string& from, const std::string& to);
  int unlinkFile(const std::string& path);
  int removeDirectory(const std::string& path);
  // Removes the item and, for a folder, everything in it (links are not followed).
  int removeTree(const std::string& path);
  // Writes through a flushed temporary file in the same folder, then renames it
  // into place: replacing an existing file or, without `replace`, never.
  int writeFile(const std::string& path, std::string_view contents, bool replace);
  // Copies a file or a folder tree through a temporary copy renamed into place.
  int copyItem(const std::string& from, const std::string& to, bool replace);
  // A sparse file of `size` zero bytes (the cloud side of big test documents).
  int writeSparseFile(const std::string& path, std::uint64_t size, bool replace);

  // A new temporary name in the folder of `path` (".vdtmp-...").
  static std::string temporaryPathBeside(const std::string& path);
  // The names in a folder ("." and ".." left out), in no order; 0 or the errno.
  static int folderNames(const std::string& path, std::vector<std::string>& names);

 private:
  int injected(std::string_view operation, const std::string& path);
  // Writes a flushed temporary file with `fill`, then renames it into place.
  int writeThroughTemporary(const std::string& path, bool replace, const std::function<int(int fd)>& fill);
  int copyTree(const std::string& from, const std::string& to);
  int copyRegularFile(const std::string& from, const std::string& to);

  std::mutex mutex_;
  FaultInjector injector_;
  bool forceFallback_ = false;
};

}  // namespace velune::host
