#pragma once
// ReadScope: what one coordinated read has seen of the disk, on its thread.
//
// While a coordinated read runs its accessor, no writer of this process can
// change the item (the coordinator serialises them), so the item's status and
// its small metadata files (sidecar, placeholder) are read once and reused by
// every service the accessor asks: reading an item record costs one status
// call and one metadata read instead of six. Outside a scope nothing is kept.
// A write on the thread (a nested coordinated write, any change through the
// Drive) empties the scope first.
//
// Thread-confined: each thread has its own current scope; scopes nest.

#include <sys/stat.h>

#include <string>
#include <utility>
#include <vector>

namespace velune::host {

struct ItemStatus {
  int error = 0;  // 0, or the errno of statx
  struct statx info {};
  bool exists() const { return error == 0; }
};

struct SmallFile {
  int error = 0;  // 0, or the errno of reading it
  std::string contents;
};

class ReadScope {
 public:
  ReadScope();
  ~ReadScope();
  ReadScope(const ReadScope&) = delete;
  ReadScope& operator=(const ReadScope&) = delete;

  // statx of the item itself (links are not followed), with the basic
  // statistics and the birth time.
  static ItemStatus statusOf(const std::string& path);
  // The whole of a small file (a sidecar, a placeholder), read as
  // readHomeFile() reads: a link, a FIFO, a folder or a file above
  // kItemMetadataFileLimit is an error.
  static SmallFile contentsOf(const std::string& path);
  // Forgets what the current scope of this thread has seen.
  static void forget();

 private:
  ReadScope* previous_;
  // A read looks at a handful of paths: a short list is the quickest lookup.
  std::vector<std::pair<std::string, ItemStatus>> statuses_;
  std::vector<std::pair<std::string, SmallFile>> contents_;
};

}  // namespace velune::host
