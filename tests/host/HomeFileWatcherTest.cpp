// HomeFileWatcher: the hand-over from inotify to polling when the watched
// folder itself goes away.

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>

#include "host/FileIO.h"
#include "host/HomeFileWatcher.h"
#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

// Guards against polling that starts from the file's state taken after the
// watch's last read, so that a file written into the replacing folder while
// the receiver reads was taken for the starting state and never reported.
TEST(HomeFileWatcher, FolderReplaced_AFileMadeDuringTheLastReadIsReported) {
  testing::TempDirectory temp;
  const std::string folder = temp.file("cloud");
  std::filesystem::create_directory(folder);
  std::mutex mutex;
  std::condition_variable called;
  int calls = 0;
  const auto watcher = HomeFileWatcher::start(folder, "kvstore.json", [&] {
    std::lock_guard lock(mutex);
    if (++calls == 1) {
      // Another process puts a new folder with the file in place while this
      // receiver reads after the folder went away.
      std::filesystem::create_directory(folder);
      EXPECT_FALSE(writeFileAtomically(folder + "/kvstore.json", "{}"));
    }
    called.notify_all();
  });
  ASSERT_FALSE(watcher->isPolling());

  std::filesystem::rename(folder, temp.file("old-cloud"));
  std::unique_lock lock(mutex);
  EXPECT_TRUE(called.wait_for(lock, std::chrono::seconds(10), [&] { return calls >= 2; })) << calls << " calls";
  EXPECT_TRUE(watcher->isPolling());
}

}  // namespace
}  // namespace velune::host
