#pragma once
// FileOperations: the few system calls with which the drive changes the disk,
// in one place so that every change is made the same safe way and tests can
// make any of them fail (a full disk, a refused permission) on demand.
//
// Each operation returns 0 or the errno of its failure.
//
// Confinement. A path inside one of the roots given at construction (the
// drive and the cloud side) is reached through its folder opened below that
// root (BeneathPath.h): a folder of the path that is a link leading outside
// the root fails the operation with EXDEV or ELOOP instead of acting outside,
// and the final system call is made relative to the opened folder, so a link
// swapped into the path after the check cannot redirect it. The last
// component itself is never followed: removing or renaming a link acts on
// the link. Paths outside every root (and a root itself) are used as given.
//
// renameNoReplace() is the last step of every move and of every new name: it
// never replaces an existing item, also when another thread or process
// creates the destination at the same moment. It is renameat2 with
// RENAME_NOREPLACE; where the file system refuses that flag it falls back to
// link() and unlink() for files (link fails atomically on an existing name)
// and, for folders, to claiming the name with mkdir() and renaming onto that
// empty claim (rename refuses a folder that is no longer empty).
//
// Temporary files are named by TemporaryNames.h (the pid and start time of
// this process are in the name), so that those of a killed process can be
// told from a running one's and removed.
//
// Thread-safe; the fault injector is meant to be set before work starts.

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "host/drive/BeneathPath.h"

namespace velune::host {

class FileOperations {
 public:
  // Called before each operation with its name ("mkdir", "rename", "link",
  // "unlink", "rmdir", "remove", "write", "copy") and path; a non-zero answer
  // is returned as that operation's errno without touching the disk.
  using FaultInjector = std::function<int(std::string_view operation, const std::string& path)>;

  // Without roots: every path is used as given.
  FileOperations() = default;
  // Absolute, normal roots whose insides are never left.
  explicit FileOperations(std::vector<std::string> roots);

  void setFaultInjector(FaultInjector injector);
  // Uses the fallback of renameNoReplace() even where renameat2 works (tests).
  void setForceNoReplaceFallback(bool force);
  // Resolves paths below the roots by the component walk even where the
  // kernel has openat2 (tests).
  void setResolution(BeneathResolution resolution);

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
  // A source outside the roots is followed when it is itself a link (the
  // caller named it); inside a copied tree, links, FIFOs, sockets and devices
  // are skipped: only folders and regular files are copied in.
  int copyItem(const std::string& from, const std::string& to, bool replace);
  // copyItem() in its two steps, so that a long copy can run while the
  // caller holds no lock and only the rename waits for it: the copy into a new
  // temporary item in the folder of `besidePath` (its path in
  // `temporaryPath`), then the rename of that temporary into place (removed
  // when the rename fails).
  int copyToTemporary(const std::string& from, const std::string& besidePath, std::string& temporaryPath);
  int installCopy(const std::string& temporaryPath, const std::string& to, bool replace);
  // A sparse file of `size` zero bytes (the cloud side of big test documents).
  int writeSparseFile(const std::string& path, std::uint64_t size, bool replace);
  // lstat(2) of the item (confined like the changes); 0 or the errno.
  int statItem(const std::string& path, struct stat& info);
  // Opens the item (confined like the changes) with `flags`; the descriptor
  // or minus the errno.
  int openItem(const std::string& path, int flags);

  // A new temporary name in the folder of `path` (".vdtmp-...").
  static std::string temporaryPathBeside(const std::string& path);
  // The names in a folder ("." and ".." left out), in no order; 0 or the errno.
  static int folderNames(const std::string& path, std::vector<std::string>& names);

 private:
  // Where an operation acts: an open folder and a name in it.
  struct Place {
    UniqueFd folder;
    std::string name;
  };
  int place(const std::string& path, Place& out);
  int injected(std::string_view operation, const std::string& path);
  int renameAt(const Place& from, const Place& to, bool replace);
  // The fault check of a rename to `to`, then where both of its paths are.
  int placeRename(const std::string& from, const std::string& to, Place& source, Place& destination);
  // Writes a flushed temporary file with `fill`, then renames it into place.
  int writeThroughTemporary(const std::string& path, bool replace, const std::function<int(int fd)>& fill);

  std::vector<std::string> roots_;
  std::mutex mutex_;
  FaultInjector injector_;
  bool forceFallback_ = false;
  BeneathResolution resolution_ = BeneathResolution::Automatic;
};

}  // namespace velune::host
