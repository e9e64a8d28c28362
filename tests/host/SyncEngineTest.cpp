// The sync engine's downloads, through the coordinated reads that need them,
// on a temporary home: success, the ways a download ends early, and what each
// leaves on disk.

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "host/drive/DrivePaths.h"
#include "host/drive/FileOperations.h"
#include "host/drive/SyncEngine.h"
#include "platform/FileCoordinator.h"
#include "platform/TransferProgressService.h"
#include "tests/support/DriveTestHome.h"
#include "tests/support/ThreadGate.h"

namespace velune::host {
namespace {

using platform::URL;
using testing::DriveTestHome;
using testing::ThreadGate;
namespace ErrorCode = platform::ErrorCode;

constexpr platform::FileCoordinatorReadingOptions kDownloadingRead =
    platform::kReadingWithoutChanges | platform::kReadingResolvesSymbolicLink;

class SyncEngineTest : public ::testing::Test {
 protected:
  // The names in the document's folder that are the drive's temporary files.
  std::vector<std::string> temporaries(const std::string& folder) {
    std::vector<std::string> names;
    FileOperations::folderNames(folder, names);
    std::erase_if(names, [](const std::string& name) { return !isTemporaryName(name); });
    return names;
  }

  // A coordinated read of the document's contents on its own thread.
  struct Reader {
    std::shared_ptr<platform::FileCoordinator> coordinator;
    std::optional<platform::Error> result;
    std::atomic<bool> accessorRan{false};
    std::atomic<bool> done{false};
    std::thread thread;
    ~Reader() {
      if (thread.joinable()) {
        thread.join();
      }
    }
  };
  std::unique_ptr<Reader> startRead(const std::string& path) {
    auto reader = std::make_unique<Reader>();
    reader->coordinator = home_.coordination().makeCoordinator();
    Reader* raw = reader.get();
    const URL url = home_.url(path);
    raw->thread = std::thread([raw, url] {
      raw->result = raw->coordinator->coordinateReadingItemAtURL(url, kDownloadingRead,
                                                                 [raw](const URL&) { raw->accessorRan = true; });
      raw->done = true;
    });
    return reader;
  }

  // Slow enough that a test can act between chunks: the manual clock never
  // moves by itself, so the download waits after its first chunk.
  void throttle(std::atomic<bool>* offline = nullptr) {
    home_.sync().setConditionsProvider([offline] {
      return DownloadConditions{offline != nullptr && offline->load(), 100'000};
    });
  }

  DriveTestHome home_;
};

TEST_F(SyncEngineTest, Download_PutsTheDocumentInPlaceWithItsTagsAndPublishesFileProgress) {
  std::string contents(300'000, 'x');
  contents[123] = 'y';
  PlaceholderMetadata metadata;
  metadata.attributes.tags = {"Red"};
  const std::string doc = home_.writeCloudOnly(home_.documents() + "/Report.pdf", contents, metadata);

  std::vector<std::shared_ptr<platform::TransferProgress>> seen;
  std::atomic<int> unpublished{0};
  const auto token = home_.services().transferProgress->addSubscriber(
      URL::fileURLWithPath(doc, false), [&](const std::shared_ptr<platform::TransferProgress>& progress) {
        seen.push_back(progress);
        return [&] { ++unpublished; };
      });
  std::string readInAccessor;
  auto error = home_.coordination().makeCoordinator()->coordinateReadingItemAtURL(
      home_.url(doc), kDownloadingRead, [&](const URL& url) { readInAccessor = DriveTestHome::read(url.path()); });
  home_.services().transferProgress->removeSubscriber(token);

  ASSERT_FALSE(error) << error->description();
  EXPECT_EQ(readInAccessor, contents);
  EXPECT_EQ(home_.drive().stateOf(doc), Drive::ItemState::Present);
  EXPECT_FALSE(DriveTestHome::exists(placeholderPathFor(doc)));
  EXPECT_TRUE(temporaries(home_.documents()).empty());
  auto attributes = home_.drive().readAttributes(doc);
  ASSERT_TRUE(attributes.ok());
  EXPECT_EQ(attributes.value().tags, std::vector<std::string>{"Red"});
  ASSERT_EQ(seen.size(), 1U);
  EXPECT_TRUE(seen[0]->isFileKind());
  EXPECT_EQ(seen[0]->totalUnitCount(), 300'000);
  EXPECT_EQ(seen[0]->completedUnitCount(), 300'000);
  EXPECT_EQ(unpublished.load(), 1);
  // A document that is already here is read without a download.
  EXPECT_FALSE(home_.coordination().makeCoordinator()->coordinateReadingItemAtURL(home_.url(doc), kDownloadingRead,
                                                                                  [](const URL&) {}));
}

TEST_F(SyncEngineTest, Download_FailsWithoutLeavingAFileWhenOfflineShortOrFull) {
  // Offline before it starts: the server-not-available error.
  const std::string offline = home_.writeCloudOnly(home_.documents() + "/Offline.txt", "abc");
  home_.sync().setConditionsProvider([] { return DownloadConditions{true, 0}; });
  auto error = home_.coordination().makeCoordinator()->coordinateReadingItemAtURL(home_.url(offline),
                                                                                  kDownloadingRead, [](const URL&) {});
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::CloudServerNotAvailable);
  EXPECT_EQ(home_.drive().stateOf(offline), Drive::ItemState::CloudOnly);
  home_.sync().setConditionsProvider([] { return DownloadConditions{}; });

  // The server's copy is shorter than the placeholder says: never passed off as complete.
  PlaceholderMetadata bigger;
  bigger.size = 10;
  const std::string shorter = home_.writeCloudOnly(home_.documents() + "/Short.txt", "12345", bigger);
  error = home_.coordination().makeCoordinator()->coordinateReadingItemAtURL(home_.url(shorter), kDownloadingRead,
                                                                             [](const URL&) {});
  ASSERT_TRUE(error);
  EXPECT_EQ(home_.drive().stateOf(shorter), Drive::ItemState::CloudOnly);

  // The disk fills at the second chunk's write.
  const std::string full = home_.writeCloudOnly(home_.documents() + "/Full.bin", std::string(9 << 20, 'f'));
  std::atomic<int> writes{0};
  home_.sync().setWriteFaultInjector([&](const std::string&) { return ++writes == 2 ? ENOSPC : 0; });
  error = home_.coordination().makeCoordinator()->coordinateReadingItemAtURL(home_.url(full), kDownloadingRead,
                                                                             [](const URL&) {});
  home_.sync().setWriteFaultInjector(nullptr);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FileWriteOutOfSpace);
  EXPECT_EQ(home_.drive().stateOf(full), Drive::ItemState::CloudOnly);

  EXPECT_TRUE(temporaries(home_.documents()).empty());
  EXPECT_FALSE(DriveTestHome::exists(offline));
  EXPECT_FALSE(DriveTestHome::exists(shorter));
  EXPECT_FALSE(DriveTestHome::exists(full));
}

TEST_F(SyncEngineTest, Cancel_MidDownloadEndsTheReadWithCancelledAndDropsThePartialFile) {
  const std::string doc = home_.writeCloudOnly(home_.documents() + "/Film.mp4", std::string(1'000'000, 'm'));
  ThreadGate firstChunk;
  home_.sync().setWriteFaultInjector([&](const std::string&) {
    firstChunk.open();
    return 0;
  });
  throttle();
  auto reader = startRead(doc);
  ASSERT_TRUE(firstChunk.wait());
  EXPECT_EQ(temporaries(home_.documents()).size(), 1U);  // the partial download exists meanwhile
  reader->coordinator->cancel();
  reader->thread.join();

  ASSERT_TRUE(reader->result);
  EXPECT_EQ(reader->result->code(), ErrorCode::UserCancelled);
  EXPECT_FALSE(reader->accessorRan);
  EXPECT_TRUE(temporaries(home_.documents()).empty());
  EXPECT_EQ(home_.drive().stateOf(doc), Drive::ItemState::CloudOnly);
}

TEST_F(SyncEngineTest, Download_EndsWithTheRightErrorWhenTheNetworkOrTheServerChangesMidway) {
  // Offline after the first chunk.
  const std::string doc = home_.writeCloudOnly(home_.documents() + "/Slow.bin", std::string(500'000, 's'));
  std::atomic<bool> offline{false};
  ThreadGate firstChunk;
  home_.sync().setWriteFaultInjector([&](const std::string&) {
    firstChunk.open();
    return 0;
  });
  throttle(&offline);
  {
    auto reader = startRead(doc);
    ASSERT_TRUE(firstChunk.wait());
    offline = true;
    testing::advanceClock(1);  // the download wakes for its next chunk
    reader->thread.join();
    ASSERT_TRUE(reader->result);
    EXPECT_EQ(reader->result->code(), ErrorCode::CloudServerNotAvailable);
  }
  EXPECT_EQ(home_.drive().stateOf(doc), Drive::ItemState::CloudOnly);

  // Another device deletes the document while it comes down.
  offline = false;
  const std::string gone = home_.writeCloudOnly(home_.documents() + "/Gone.bin", std::string(500'000, 'g'));
  ThreadGate started;
  home_.sync().setWriteFaultInjector([&](const std::string&) {
    started.open();
    return 0;
  });
  {
    auto reader = startRead(gone);
    ASSERT_TRUE(started.wait());
    ASSERT_FALSE(home_.drive().cloudDelete(*home_.drive().relativePath(gone)));
    home_.sync().setConditionsProvider([] { return DownloadConditions{}; });  // full speed to the end
    testing::advanceClock(1);
    reader->thread.join();
    ASSERT_TRUE(reader->result);
    EXPECT_EQ(reader->result->code(), ErrorCode::FileReadNoSuchFile);
  }
  EXPECT_EQ(home_.drive().stateOf(gone), Drive::ItemState::Missing);
  EXPECT_TRUE(temporaries(home_.documents()).empty());
}

TEST_F(SyncEngineTest, Progress_IsReportedAtMostTenTimesASecondOfTheClockPlusTheEnd) {
  const std::string doc = home_.writeCloudOnly(home_.documents() + "/Paced.bin", std::string(400'000, 'p'));
  std::atomic<int> reports{0};
  std::atomic<std::int64_t> last{0};
  const auto token = home_.services().transferProgress->addSubscriber(
      URL::fileURLWithPath(doc, false), [&](const std::shared_ptr<platform::TransferProgress>& progress) {
        progress->addFractionCompletedObserver([&](platform::TransferProgress& p) {
          ++reports;
          last = p.completedUnitCount();
        });
        return platform::TransferProgressService::UnpublishingHandler{};
      });
  // The test moves the clock 50 ms at each chunk, as a real clock would move
  // between chunks at this bandwidth.
  std::mutex mutex;
  std::condition_variable chunkWritten;
  int chunks = 0;
  home_.sync().setWriteFaultInjector([&](const std::string&) {
    {
      std::lock_guard lock(mutex);
      ++chunks;
    }
    chunkWritten.notify_all();
    return 0;
  });
  throttle();  // 100,000 bytes a second in 5,000-byte chunks: 80 chunks over 4 seconds
  const auto started = testing::manualClock().monotonicNow();
  auto reader = startRead(doc);
  int seen = 0;
  while (!reader->done) {
    {
      std::unique_lock lock(mutex);
      chunkWritten.wait_for(lock, std::chrono::milliseconds(50), [&] { return chunks > seen || reader->done; });
      seen = chunks;
    }
    testing::advanceClock(0.05);
  }
  reader->thread.join();
  home_.services().transferProgress->removeSubscriber(token);
  ASSERT_FALSE(reader->result);
  const double seconds =
      std::chrono::duration<double>(testing::manualClock().monotonicNow() - started).count();
  EXPECT_GE(seconds, 3.9);  // the bandwidth was kept
  EXPECT_LE(reports.load(), static_cast<int>(seconds * SyncEngine::kProgressReportsPerSecond) + 2);
  EXPECT_GE(reports.load(), 10);
  EXPECT_EQ(last.load(), 400'000);
}

}  // namespace
}  // namespace velune::host
