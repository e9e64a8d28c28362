#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <stdexcept>
#include <thread>

#include "host/drive/HostFileCoordinationService.h"
#include "host/drive/HostFileCoordinator.h"
#include "platform/FileCoordinator.h"
#include "platform/Log.h"
#include "platform/OperationQueue.h"
#include "tests/host/RecordingPresenter.h"
#include "tests/support/DriveTestHome.h"

namespace velune::host {
namespace {

using platform::URL;
using testing::DriveTestHome;
using testing::RecordingPresenter;
namespace ErrorCode = platform::ErrorCode;

// A one-shot gate between threads.
class Gate {
 public:
  void open() {
    {
      std::lock_guard lock(mutex_);
      open_ = true;
    }
    changed_.notify_all();
  }
  bool wait(std::chrono::seconds limit = std::chrono::seconds(10)) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return open_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool open_ = false;
};

class HostFileCoordinatorTest : public ::testing::Test {
 protected:
  HostFileCoordinationService& coordination() { return home_.coordination(); }
  bool waitForClaims(size_t count) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (coordination().core().arbiter().claimCount() != count) {
      if (std::chrono::steady_clock::now() > deadline) {
        return false;
      }
      std::this_thread::yield();
    }
    return true;
  }
  // Writes in place (no temporary file beside it).
  static void overwrite(const std::string& path, const std::string& contents) {
    FILE* file = std::fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fputs(contents.c_str(), file);
    std::fclose(file);
  }
  std::shared_ptr<RecordingPresenter> present(const URL& url) {
    auto presenter = std::make_shared<RecordingPresenter>(url);
    coordination().addFilePresenter(presenter);
    return presenter;
  }
  // Every notice caused so far has been delivered and run.
  void settle(const std::vector<std::shared_ptr<RecordingPresenter>>& presenters) {
    coordination().waitUntilWatcherCaughtUp();
    for (const auto& presenter : presenters) {
      presenter->drain();
    }
  }

  DriveTestHome home_;
};

TEST_F(HostFileCoordinatorTest, ACancelledCoordinatorRefusesWithoutCallingTheAccessor) {
  const URL url = URL::fileURLWithPath(home_.writeDocument(home_.documents() + "/a.txt", "a"), false);
  auto coordinator = coordination().makeCoordinator();
  coordinator->cancel();
  bool called = false;
  auto error = coordinator->coordinateReadingItemAtURL(url, 0, [&](const URL&) { called = true; });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::UserCancelled);
  error =
      coordinator->coordinateWritingItemAtURL(url, platform::kWritingForDeleting, [&](const URL&) { called = true; });
  ASSERT_TRUE(error);
  error = coordinator->coordinateWritingItemAtURL(url, platform::kWritingForMoving, url, platform::kWritingForReplacing,
                                                  [&](const URL&, const URL&) { called = true; });
  ASSERT_TRUE(error);
  EXPECT_FALSE(called);
  // Not a file URL: refused too.
  auto web = URL::URLWithString("https://example.com/a");
  ASSERT_TRUE(web);
  EXPECT_TRUE(
      coordination().makeCoordinator()->coordinateReadingItemAtURL(*web, 0, [&](const URL&) { called = true; }));
  EXPECT_FALSE(called);
}

TEST_F(HostFileCoordinatorTest, ReadersOfADescendantWaitForTheWriterOfItsFolder) {
  const std::string folder = home_.makeFolder(home_.documents() + "/Folder");
  const URL file = URL::fileURLWithPath(home_.writeDocument(folder + "/inner.txt", "i"), false);
  std::vector<std::string> order;
  std::mutex orderMutex;
  auto note = [&](const std::string& what) {
    std::lock_guard lock(orderMutex);
    order.push_back(what);
  };
  Gate writing;
  Gate release;
  std::thread writer([&] {
    coordination().makeCoordinator()->coordinateWritingItemAtURL(URL::fileURLWithPath(folder, true),
                                                                 platform::kWritingForReplacing, [&](const URL&) {
                                                                   writing.open();
                                                                   release.wait();
                                                                   note("writer");
                                                                 });
  });
  ASSERT_TRUE(writing.wait());
  std::thread reader([&] {
    coordination().makeCoordinator()->coordinateReadingItemAtURL(
        file, platform::kReadingImmediatelyAvailableMetadataOnly, [&](const URL&) { note("reader"); });
  });
  ASSERT_TRUE(waitForClaims(2));  // the reader is waiting
  // An unrelated item is not held up.
  bool other = false;
  coordination().makeCoordinator()->coordinateReadingItemAtURL(URL::fileURLWithPath(home_.documents() + "/else", false),
                                                               0, [&](const URL&) { other = true; });
  EXPECT_TRUE(other);
  release.open();
  writer.join();
  reader.join();
  EXPECT_EQ(order, (std::vector<std::string>{"writer", "reader"}));
}

TEST_F(HostFileCoordinatorTest, CancelEndsAWaitingRead) {
  const URL file = URL::fileURLWithPath(home_.writeDocument(home_.documents() + "/busy.txt", "b"), false);
  Gate writing;
  Gate release;
  std::thread writer([&] {
    coordination().makeCoordinator()->coordinateWritingItemAtURL(file, 0, [&](const URL&) {
      writing.open();
      release.wait();
    });
  });
  ASSERT_TRUE(writing.wait());
  auto reading = coordination().makeCoordinator();
  std::optional<platform::Error> result;
  bool called = false;
  std::thread reader(
      [&] { result = reading->coordinateReadingItemAtURL(file, 0, [&](const URL&) { called = true; }); });
  ASSERT_TRUE(waitForClaims(2));
  reading->cancel();
  reader.join();
  ASSERT_TRUE(result);
  EXPECT_EQ(result->code(), ErrorCode::UserCancelled);
  EXPECT_FALSE(called);
  release.open();
  writer.join();
}

// A materializer that blocks until told, or until the read is cancelled.
class BlockingMaterializer final : public PlaceholderMaterializer {
 public:
  std::optional<platform::Error> materialize(const std::string& logicalPath,
                                             const CancellationFlag& cancelled) override {
    {
      std::lock_guard lock(mutex_);
      asked_ = logicalPath;
    }
    started_.open();
    if (cancelled.waitForCancellation(std::chrono::seconds(10))) {
      return platform::Error::platform(ErrorCode::UserCancelled);
    }
    return platform::Error::platform(ErrorCode::CloudServerNotAvailable);
  }
  std::string asked() {
    std::lock_guard lock(mutex_);
    return asked_;
  }
  Gate started_;

 private:
  std::mutex mutex_;
  std::string asked_;
};

TEST_F(HostFileCoordinatorTest, ReadingACloudOnlyDocumentsContentsNeedsItMaterialized) {
  const std::string cloud = home_.writeCloudOnly(home_.documents() + "/Cloud.pdf", "%PDF");
  bool called = false;
  // Metadata only: the accessor runs on the cloud-only item as it is.
  EXPECT_FALSE(coordination().makeCoordinator()->coordinateReadingItemAtURL(
      home_.url(cloud), platform::kReadingImmediatelyAvailableMetadataOnly, [&](const URL&) { called = true; }));
  EXPECT_TRUE(called);
  // The contents: with nothing to download it, an error, not a silent empty read.
  coordination().setMaterializer(nullptr);
  called = false;
  auto error = coordination().makeCoordinator()->coordinateReadingItemAtURL(home_.url(cloud), 3,
                                                                            [&](const URL&) { called = true; });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::CloudFileUnavailable);
  EXPECT_TRUE(error->localizedFailureReason());
  EXPECT_FALSE(called);

  // With a materializer: it is asked, and cancelling the read ends its wait.
  auto materializer = std::make_shared<BlockingMaterializer>();
  coordination().setMaterializer(materializer);
  auto coordinator = coordination().makeCoordinator();
  std::optional<platform::Error> result;
  std::thread reader([&] {
    result = coordinator->coordinateReadingItemAtURL(home_.url(cloud), 3, [&](const URL&) { called = true; });
  });
  ASSERT_TRUE(materializer->started_.wait());
  coordinator->cancel();
  reader.join();
  ASSERT_TRUE(result);
  EXPECT_EQ(result->code(), ErrorCode::UserCancelled);
  EXPECT_EQ(materializer->asked(), cloud);
  EXPECT_FALSE(called);
}

TEST_F(HostFileCoordinatorTest, ResolvingSymbolicLinksHandsTheTargetToTheAccessor) {
  const std::string target = home_.writeDocument(home_.documents() + "/target.txt", "t");
  const std::string link = home_.documents() + "/link.txt";
  ASSERT_EQ(::symlink(target.c_str(), link.c_str()), 0);
  URL seen;
  coordination().makeCoordinator()->coordinateReadingItemAtURL(
      URL::fileURLWithPath(link, false), platform::kReadingResolvesSymbolicLink, [&](const URL& url) { seen = url; });
  EXPECT_EQ(seen.path(), target);
  coordination().makeCoordinator()->coordinateReadingItemAtURL(URL::fileURLWithPath(link, false), 0,
                                                               [&](const URL& url) { seen = url; });
  EXPECT_EQ(seen.path(), link);
}

TEST_F(HostFileCoordinatorTest, PresentersHearOfMovesOnceAndOnTheirOwnQueue) {
  const std::string file = home_.writeDocument(home_.documents() + "/Moving.txt", "m");
  const std::string folder = home_.makeFolder(home_.documents() + "/There");
  auto presenter = present(URL::fileURLWithPath(file, false));
  auto left = present(URL::fileURLWithPath(home_.documents(), true));
  auto entered = present(URL::fileURLWithPath(folder, true));
  auto coordinator = coordination().makeCoordinator();
  const URL from = URL::fileURLWithPath(file, false);
  const URL to = URL::fileURLWithPath(folder + "/Moving.txt", false);
  ASSERT_FALSE(coordinator->coordinateWritingItemAtURL(from, platform::kWritingForMoving, to,
                                                       platform::kWritingForReplacing, [&](const URL& a, const URL& b) {
                                                         coordinator->itemAtURLWillMoveToURL(a, b);
                                                         ASSERT_EQ(::rename(a.path().c_str(), b.path().c_str()), 0);
                                                       }));
  ASSERT_TRUE(presenter->waitFor("moved to " + folder + "/Moving.txt"));
  settle({presenter});
  // The file system's own notice of the rename is not told a second time.
  EXPECT_EQ(presenter->notices(), std::vector<std::string>{"moved to " + folder + "/Moving.txt"});
  EXPECT_TRUE(presenter->allOnOwnQueue());
  // Regression: the folders the item left and entered were not told, so a
  // listing of either kept showing what was there before the move.
  settle({left, entered});
  EXPECT_EQ(left->notices(), (std::vector<std::string>{"subitem changed " + file,
                                                       "subitem changed " + folder + "/Moving.txt"}));
  EXPECT_EQ(entered->notices(), std::vector<std::string>{"subitem changed " + folder + "/Moving.txt"});
  left->clear();
  entered->clear();

  // An announced move that did not happen is not told.
  presenter->clear();
  coordinator->coordinateWritingItemAtURL(
      to, platform::kWritingForMoving, from, platform::kWritingForReplacing,
      [&](const URL& a, const URL& b) { coordinator->itemAtURLWillMoveToURL(a, b); });
  settle({presenter, left, entered});
  EXPECT_TRUE(presenter->notices().empty());
  EXPECT_TRUE(left->notices().empty());
  EXPECT_TRUE(entered->notices().empty());
}

TEST_F(HostFileCoordinatorTest, DeletionIsAccommodatedBeforeTheItemGoes) {
  const std::string folder = home_.makeFolder(home_.documents() + "/Box");
  const std::string file = home_.writeDocument(folder + "/Doomed.txt", "d");
  auto presenter = present(URL::fileURLWithPath(file, false));
  auto folderPresenter = present(URL::fileURLWithPath(folder, true));
  std::atomic<bool> stillThere{false};
  presenter->onDeletion = [&] { stillThere = DriveTestHome::exists(file); };

  ASSERT_FALSE(coordination().makeCoordinator()->coordinateWritingItemAtURL(
      URL::fileURLWithPath(file, false), platform::kWritingForDeleting,
      [&](const URL& url) { ASSERT_EQ(::unlink(url.path().c_str()), 0); }));
  // The writer waited for the presenter: its notice ran while the file was there.
  EXPECT_TRUE(stillThere);
  settle({presenter, folderPresenter});
  EXPECT_EQ(presenter->notices(), std::vector<std::string>{"deleted"});
  EXPECT_EQ(folderPresenter->notices(), std::vector<std::string>{"subitem deleted " + file});
}

// A presenter that takes its time over a deletion: it keeps the completion
// handler until the test answers for it.
class SlowPresenter final : public platform::FilePresenter {
 public:
  explicit SlowPresenter(URL url)
      : url_(std::move(url)),
        queue_(std::make_unique<platform::OperationQueue>("slow presenter", platform::QualityOfService::Default, 1)) {}
  ~SlowPresenter() override { queue_->waitUntilAllOperationsAreFinished(); }

  URL presentedItemURL() const override { return url_; }
  platform::OperationQueue* presentedItemOperationQueue() const override { return queue_.get(); }
  void accommodatePresentedItemDeletionWithCompletionHandler(CompletionHandler handler) override {
    {
      std::lock_guard lock(mutex_);
      handler_ = std::move(handler);
    }
    told.open();
  }
  void answer() {
    CompletionHandler handler;
    {
      std::lock_guard lock(mutex_);
      handler = std::move(handler_);
    }
    ASSERT_TRUE(handler);
    handler(std::nullopt);
  }

  Gate told;

 private:
  const URL url_;
  std::unique_ptr<platform::OperationQueue> queue_;
  std::mutex mutex_;
  CompletionHandler handler_;
};

TEST_F(HostFileCoordinatorTest, Delete_WaitsForAPresenterThatAnswersLate) {
  const std::string file = home_.writeDocument(home_.documents() + "/Slow.txt", "s");
  auto presenter = std::make_shared<SlowPresenter>(URL::fileURLWithPath(file, false));
  coordination().addFilePresenter(presenter);
  std::atomic<bool> deleted{false};
  std::thread deleter([&] {
    coordination().makeCoordinator()->coordinateWritingItemAtURL(URL::fileURLWithPath(file, false),
                                                                 platform::kWritingForDeleting, [&](const URL& url) {
                                                                   ::unlink(url.path().c_str());
                                                                   deleted = true;
                                                                 });
  });
  ASSERT_TRUE(presenter->told.wait());
  // Short of the limit the delete still waits.
  testing::manualClock().advance(PresenterRegistry::kAccommodationTimeout - std::chrono::milliseconds(1));
  EXPECT_FALSE(deleted);
  EXPECT_TRUE(DriveTestHome::exists(file));
  presenter->answer();
  deleter.join();
  EXPECT_TRUE(deleted);
  EXPECT_FALSE(DriveTestHome::exists(file));
  EXPECT_FALSE(testing::loggedPrefixAt(kLogWarning, "Deleting " + file));
  EXPECT_EQ(coordination().core().arbiter().claimCount(), 0U);
}

// The wait for presenters ran on real time, so a presenter that never answered
// held the write claim for ten real seconds whatever the platform's clock said.
TEST_F(HostFileCoordinatorTest, Delete_GoesOnAfterTheLimitWithoutAPresenterThatNeverAnswers) {
  const std::string file = home_.writeDocument(home_.documents() + "/Stuck.txt", "s");
  auto presenter = std::make_shared<SlowPresenter>(URL::fileURLWithPath(file, false));
  coordination().addFilePresenter(presenter);
  Gate deleted;
  std::thread deleter([&] {
    coordination().makeCoordinator()->coordinateWritingItemAtURL(URL::fileURLWithPath(file, false),
                                                                 platform::kWritingForDeleting, [&](const URL& url) {
                                                                   ::unlink(url.path().c_str());
                                                                   deleted.open();
                                                                 });
  });
  ASSERT_TRUE(presenter->told.wait());
  testing::manualClock().advance(PresenterRegistry::kAccommodationTimeout);
  // Well under the limit in real time: only the clock's time may end the wait.
  const bool deletedInTime = deleted.wait(std::chrono::seconds(5));
  deleter.join();
  EXPECT_TRUE(deletedInTime);
  EXPECT_FALSE(DriveTestHome::exists(file));
  EXPECT_TRUE(testing::loggedAt(kLogWarning,
                                "Deleting " + file + " without waiting longer for 1 presenters"));
  ASSERT_EQ(coordination().core().arbiter().claimCount(), 0U);

  // The claim is gone: a later write of the same path runs at once.
  bool written = false;
  EXPECT_FALSE(coordination().makeCoordinator()->coordinateWritingItemAtURL(
      URL::fileURLWithPath(file, false), platform::kWritingForReplacing, [&](const URL& url) {
        DriveTestHome::writeRaw(url.path(), "again");
        written = true;
      }));
  EXPECT_TRUE(written);
  // An answer after the limit is harmless.
  presenter->answer();
  presenter.reset();
}

// A write whose accessor threw kept its claim, and every later access to the
// item (or anything inside or above it) waited forever.
TEST_F(HostFileCoordinatorTest, Write_ReleasesTheClaimWhenTheAccessorThrows) {
  const URL file = URL::fileURLWithPath(home_.writeDocument(home_.documents() + "/Throws.txt", "t"), false);
  // A presenter, so that the write also tells presenters (a deletion waits for them).
  auto folderPresenter = present(URL::fileURLWithPath(home_.documents(), true));
  for (const auto options : {platform::kWritingForDeleting, platform::kWritingForReplacing}) {
    EXPECT_THROW(coordination().makeCoordinator()->coordinateWritingItemAtURL(
                     file, options, [](const URL&) { throw std::runtime_error("accessor failed"); }),
                 std::runtime_error);
    ASSERT_EQ(coordination().core().arbiter().claimCount(), 0U);
  }
  bool read = false;
  std::thread reader([&] {
    coordination().makeCoordinator()->coordinateReadingItemAtURL(file, 0, [&](const URL&) { read = true; });
  });
  reader.join();
  EXPECT_TRUE(read);
}

TEST_F(HostFileCoordinatorTest, WritersOwnPresenterIsNotToldOthersAre) {
  const std::string file = home_.writeDocument(home_.documents() + "/Shared.txt", "s");
  auto own = present(URL::fileURLWithPath(file, false));
  auto other = present(URL::fileURLWithPath(file, false));
  auto folder = present(URL::fileURLWithPath(home_.documents(), true));
  auto coordinator = coordination().makeCoordinator(own);
  EXPECT_EQ(coordinator->filePresenter(), own);
  ASSERT_FALSE(coordinator->coordinateWritingItemAtURL(URL::fileURLWithPath(file, false),
                                                       platform::kWritingForReplacing,
                                                       [&](const URL& url) { overwrite(url.path(), "new"); }));
  ASSERT_TRUE(other->waitFor("changed"));
  settle({own, other, folder});
  EXPECT_TRUE(own->notices().empty());
  EXPECT_EQ(other->notices(), std::vector<std::string>{"changed"});
  EXPECT_EQ(folder->notices(), std::vector<std::string>{"subitem changed " + file});

  // A removed presenter hears nothing more; one that is gone is skipped.
  coordination().removeFilePresenter(other.get());
  folder.reset();
  other->clear();
  coordinator->coordinateWritingItemAtURL(URL::fileURLWithPath(file, false), platform::kWritingForReplacing,
                                          [&](const URL& url) { overwrite(url.path(), "again"); });
  settle({own, other});
  EXPECT_TRUE(other->notices().empty());
  EXPECT_EQ(coordination().filePresenters().size(), 1U);
}

}  // namespace
}  // namespace velune::host
