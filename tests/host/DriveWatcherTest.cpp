// Changes made to the drive without this process's coordinator (by another
// process, a shell, the sync engine of another device) reach presenters
// through the file system's notices.

#include <gtest/gtest.h>
#include <stdio.h>
#include <unistd.h>

#include "host/drive/DriveWatcher.h"
#include "host/drive/HostFileCoordinationService.h"
#include "tests/host/RecordingPresenter.h"
#include "tests/support/DriveTestHome.h"

namespace velune::host {
namespace {

using platform::URL;
using testing::DriveTestHome;
using testing::RecordingPresenter;

class DriveWatcherTest : public ::testing::Test {
 protected:
  std::shared_ptr<RecordingPresenter> present(const std::string& path, bool folder = false) {
    auto presenter = std::make_shared<RecordingPresenter>(URL::fileURLWithPath(path, folder));
    home_.coordination().addFilePresenter(presenter);
    presenters_.push_back(presenter);
    return presenter;
  }
  void settle() {
    home_.coordination().waitUntilWatcherCaughtUp();
    for (const auto& presenter : presenters_) {
      presenter->drain();
    }
  }
  static void append(const std::string& path, const std::string& text) {
    FILE* file = std::fopen(path.c_str(), "a");
    ASSERT_NE(file, nullptr);
    std::fputs(text.c_str(), file);
    std::fclose(file);
  }

  DriveTestHome home_;
  std::vector<std::shared_ptr<RecordingPresenter>> presenters_;
};

TEST_F(DriveWatcherTest, ChangesMovesAndDeletionsOfFilesReachPresenters) {
  const std::string folder = home_.makeFolder(home_.documents() + "/Watched");
  const std::string file = home_.writeDocument(folder + "/Doc.txt", "one");
  auto item = present(file);
  auto parent = present(folder, true);
  auto unrelated = present(home_.documents(testing::kJotterContainer), true);

  append(file, " two");
  ASSERT_TRUE(item->waitFor("changed"));
  ASSERT_TRUE(parent->waitFor("subitem changed " + file));
  EXPECT_TRUE(item->allOnOwnQueue());

  const std::string renamed = folder + "/Renamed.txt";
  ASSERT_EQ(::rename(file.c_str(), renamed.c_str()), 0);
  ASSERT_TRUE(item->waitFor("moved to " + renamed));

  ASSERT_EQ(::unlink(renamed.c_str()), 0);
  ASSERT_TRUE(item->waitFor("deleted"));
  ASSERT_TRUE(parent->waitFor("subitem deleted " + renamed));
  settle();
  EXPECT_TRUE(unrelated->notices().empty());
}

TEST_F(DriveWatcherTest, CloudOnlyDocumentsChangeStateWithoutBeingDeleted) {
  const std::string file = home_.writeDocument(home_.documents() + "/Leaving.pdf", "%PDF");
  auto item = present(file);

  // Evicted (the drive, not through the coordinator): the document is still there, in the cloud.
  ASSERT_FALSE(home_.drive().evictItem(file));
  ASSERT_TRUE(item->waitFor("changed"));
  settle();
  for (const auto& notice : item->notices()) {
    EXPECT_EQ(notice, "changed");
  }

  // Another device adds, moves and deletes a document.
  const std::string arriving = home_.documents() + "/Arriving.txt";
  auto arrival = present(arriving);
  Drive::CloudDocument document;
  document.contents = "from elsewhere";
  ASSERT_FALSE(home_.drive().cloudAdd(std::string(testing::kDefaultContainer) + "/Documents/Arriving.txt", document));
  ASSERT_TRUE(arrival->waitFor("changed"));
  ASSERT_FALSE(home_.drive().cloudMove(std::string(testing::kDefaultContainer) + "/Documents/Arriving.txt",
                                       std::string(testing::kDefaultContainer) + "/Documents/Moved.txt"));
  ASSERT_TRUE(arrival->waitFor("moved to " + home_.documents() + "/Moved.txt"));
  ASSERT_FALSE(home_.drive().cloudDelete(std::string(testing::kDefaultContainer) + "/Documents/Moved.txt"));
  ASSERT_TRUE(arrival->waitFor("deleted"));

  // Tags set elsewhere change the item.
  item->clear();
  const std::string tagged = home_.writeDocument(home_.documents() + "/Tagged.txt", "t");
  auto tags = present(tagged);
  DriveTestHome::writeRaw(sidecarPathFor(tagged), R"({"tags": ["Red"]})");
  ASSERT_TRUE(tags->waitFor("changed"));
}

TEST_F(DriveWatcherTest, NewAndRenamedFoldersAreWatchedToo) {
  auto root = present(home_.documents(), true);
  const std::string fresh = home_.documents() + "/Fresh";
  ASSERT_EQ(::mkdir(fresh.c_str(), 0755), 0);
  ASSERT_TRUE(root->waitFor("subitem changed " + fresh));
  settle();  // the new folder is watched once its creation has been read
  auto inside = present(fresh + "/Inside.txt");
  DriveTestHome::writeRaw(fresh + "/Inside.txt", "x");
  ASSERT_TRUE(inside->waitFor("changed"));

  const std::string moved = home_.documents() + "/Moved";
  ASSERT_EQ(::rename(fresh.c_str(), moved.c_str()), 0);
  ASSERT_TRUE(inside->waitFor("moved to " + moved + "/Inside.txt"));
  inside->clear();
  append(moved + "/Inside.txt", "more");
  ASSERT_TRUE(inside->waitFor("changed"));
}

TEST_F(DriveWatcherTest, TheDrivesTemporaryFilesAreNotChanges) {
  auto root = present(home_.documents(), true);
  const std::string temporary = home_.documents() + "/.vdtmp-1-2-3";
  DriveTestHome::writeRaw(temporary, "scratch");
  ASSERT_EQ(::unlink(temporary.c_str()), 0);
  settle();
  EXPECT_TRUE(root->notices().empty());
}

TEST(DriveWatcher, SuppressedPathsAreNotReportedUntilTheirNoticesHaveBeenRead) {
  testing::TempDirectory root;
  std::mutex mutex;
  std::vector<DriveEvent> seen;
  DriveWatcher watcher(root.path(), [&](const std::vector<DriveEvent>& events) {
    std::lock_guard lock(mutex);
    seen.insert(seen.end(), events.begin(), events.end());
  });
  ASSERT_FALSE(watcher.start());
  const std::string mine = root.path() + "/mine.txt";
  const std::string theirs = root.path() + "/theirs.txt";
  const auto id = watcher.beginSuppression({mine});
  DriveTestHome::writeRaw(mine, "mine");
  watcher.endSuppression(id);
  DriveTestHome::writeRaw(theirs, "theirs");
  watcher.waitUntilCaughtUp();
  {
    std::lock_guard lock(mutex);
    ASSERT_FALSE(seen.empty());
    for (const auto& event : seen) {
      EXPECT_NE(event.path, mine);
    }
    seen.clear();
  }
  // Once read, the suppression is over: a later change of the same file is reported.
  watcher.waitUntilCaughtUp();
  DriveTestHome::writeRaw(mine, "changed later");
  watcher.waitUntilCaughtUp();
  std::lock_guard lock(mutex);
  EXPECT_NE(std::find(seen.begin(), seen.end(), DriveEvent{DriveEvent::Kind::Changed, mine, {}}), seen.end());
}

}  // namespace
}  // namespace velune::host
