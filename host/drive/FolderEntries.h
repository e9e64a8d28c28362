#pragma once
// The entries of an open folder and the removal of one of them, by descriptor:
// what the drive's file operations and the sweeper of temporary files both do
// below a folder they opened confined (BeneathPath.h), never by path again.
//
// Pure functions; any thread. Each returns 0 or the errno of its failure.

#include <string>
#include <vector>

namespace velune::host {

struct FolderEntry {
  std::string name;
  unsigned char type;  // the dirent type (DT_UNKNOWN where the file system gives none)
};

// The entries of the open folder ("." and ".." left out), appended to
// `entries`, in no order; the folder stays open.
int entriesOfFolderAt(int folderFd, std::vector<FolderEntry>& entries);
// Removes the item `name` of the open folder and, for a folder, everything
// in it; links are removed, never followed.
int removeItemAt(int folderFd, const std::string& name);

}  // namespace velune::host
