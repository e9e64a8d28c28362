// The preview item manager on a temporary home: which page shows an item,
// when a download starts by itself, how a download ends (success, Cancel,
// errors, the manager gone), and how the preview follows its file.

#include <gtest/gtest.h>

#include "diag/NetworkIndicator.h"
#include "host/drive/SyncEngine.h"
#include "platform/FileCoordinator.h"
#include "platform/NotificationService.h"
#include "platform/Notifications.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Button.h"
#include "platform/ui/Label.h"
#include "preview/PreviewDownloadViewController.h"
#include "tests/preview/PreviewTestFixture.h"
#include "tests/support/ThreadGate.h"
#include "views/PreviewDetailsViewController.h"

namespace velune {
namespace {

using testing::DriveTestHome;
using testing::PreviewFixture;
using testing::runMainUntilIdle;
namespace ErrorCode = platform::ErrorCode;

class PreviewItemManagerTest : public PreviewFixture {
 protected:
  std::shared_ptr<ui::AlertController> presentedAlert() {
    return std::dynamic_pointer_cast<ui::AlertController>(top() ? top()->presentedViewController() : nullptr);
  }
};

TEST_F(PreviewItemManagerTest, PageChoice_FollowsModeAndWhetherTheFileIsHere) {
  const std::string local = home_.writeDocument(home_.documents() + "/Here.txt", "here");
  const std::string cloud = cloudText("There.txt", 10);
  setNetwork(NetworkStateCellular);  // no automatic download in this test

  // The download page listens for progress where the sync engine publishes it.
  EXPECT_EQ(itemAt(cloud)->resolvedURL(), platform::URL::fileURLWithPath(cloud, false));

  auto manager = makeManager(0);
  EXPECT_EQ(std::string(manager->prepareToPreviewItem(itemAt(local))->kind()), "GlimpseItemController");
  EXPECT_TRUE(manager->filePresenterRegistered());
  EXPECT_EQ(std::string(manager->prepareToPreviewItem(itemAt(cloud))->kind()), "PreviewDownloadViewController");
  EXPECT_TRUE(manager->downloadViewController());
  EXPECT_EQ(testing::countOf("Preview: File doesn't exist, using PreviewDownloadViewController"), 1U);

  auto details = makeManager(1);
  EXPECT_EQ(std::string(details->prepareToPreviewItem(itemAt(local))->kind()), "PreviewDetailsViewController");
  EXPECT_EQ(std::string(details->prepareToPreviewItem(itemAt(cloud))->kind()), "PreviewDetailsViewController");
  EXPECT_TRUE(details->detailsViewController());
  EXPECT_FALSE(details->downloadViewController());

  // No resolved path: no page, a level-4 line, the stack as it was.
  auto none = makeManager(0);
  auto pathless = DRItem::initWithURL(home_.url(local));
  pathless->setResolvedURL(platform::URL());
  none->previewItem(pathless);
  EXPECT_EQ(top(), root_);
  const auto lines = testing::linesWithMessage("no preview URL, nothing to show");
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].level, 4);
}

TEST_F(PreviewItemManagerTest, AutoDownload_StartsOnlyOnWiFiBelowSixMebibytesForPreviewableDocuments) {
  // The engine is told not to move: what matters is whether a download starts.
  home_.sync().setConditionsProvider([] { return host::DownloadConditions{true, 0}; });
  const std::string under = cloudText("Under.txt", 6'291'455);
  const std::string at = cloudText("At.txt", 6'291'456);
  auto manager = makeManager();
  manager->previewItem(itemAt(under));
  EXPECT_TRUE(manager->autoDownload());
  EXPECT_EQ(testing::countOf("Dispatching download..."), 1U);
  finishDownloads(manager);

  auto big = makeManager();
  big->previewItem(itemAt(at));
  EXPECT_FALSE(big->autoDownload());
  EXPECT_FALSE(big->downloadViewController()->downloading());
  EXPECT_EQ(testing::countOf("Dispatching download..."), 1U);
  // The log tells why, in one line with the network, the size and the limit.
  EXPECT_EQ(testing::countOf("Not downloading " + home_.url(at).absoluteString() +
                             " by itself: network Wi-Fi, size 6291456 bytes is not below the limit of 6291456 bytes"),
            1U);

  for (const NetworkState state : {NetworkStateCellular, NetworkStateNotConnected, NetworkStateUnknown}) {
    setNetwork(state);
    auto elsewhere = makeManager();
    elsewhere->prepareToPreviewItem(itemAt(under));
    EXPECT_FALSE(elsewhere->autoDownload()) << state;
  }
  setNetwork(NetworkStateWiFi);
  // An item without a size counts as size 0.
  auto sizeless = makeManager();
  auto item = itemAt(under);
  item->setFileSize(std::nullopt);
  sizeless->prepareToPreviewItem(item);
  EXPECT_TRUE(sizeless->autoDownload());
}

TEST_F(PreviewItemManagerTest, Download_ReplacesTheDownloadPageByTheDocumentPreview) {
  const std::string doc = cloudText("Notes.txt", 5000);
  auto manager = makeManager();
  manager->previewItem(itemAt(doc));
  EXPECT_EQ(topKind(), "PreviewDownloadViewController");
  EXPECT_TRUE(NetworkIndicator::sharedNetworkIndicator().isShowing(kPreviewDownloadActivity) ||
              manager->downloadFC() == nullptr);
  finishDownloads(manager);

  EXPECT_EQ(topKind(), "GlimpseItemController");
  EXPECT_EQ(navigation_->viewControllers().size(), 2U);  // replaced, not stacked
  EXPECT_FALSE(navigation_->lastStackChangeAnimated());
  EXPECT_TRUE(manager->item()->isDownloaded());
  EXPECT_EQ(DriveTestHome::read(doc), std::string(5000, 't'));
  EXPECT_FALSE(manager->downloadFC());
  EXPECT_FALSE(NetworkIndicator::sharedNetworkIndicator().isShowing(kPreviewDownloadActivity));
  const auto glimpse = GlimpseItemController::defaultController();
  ASSERT_EQ(glimpse->arrayOfDocuments().size(), 1U);
  EXPECT_EQ(glimpse->arrayOfDocuments()[0].path(), doc);
  EXPECT_EQ(testing::countOf("Showing preview of URL " + glimpse->arrayOfDocuments()[0].absoluteString()), 1U);

  // A second item handed over while the preview is on top replaces it without animation.
  const std::string other = home_.writeDocument(home_.documents() + "/Other.txt", "o");
  auto next = makeManager();
  next->previewItem(itemAt(other));
  EXPECT_EQ(navigation_->viewControllers().size(), 2U);
  EXPECT_FALSE(navigation_->lastStackChangeAnimated());
  EXPECT_EQ(glimpse->arrayOfDocuments()[0].path(), other);
  EXPECT_EQ(glimpse->itemManager(), next);
}

TEST_F(PreviewItemManagerTest, Cancel_EvictsPartialDownloadWithoutAlert) {
  const std::string doc = cloudText("Slow.txt", 400'000);
  testing::ThreadGate started;
  home_.sync().setWriteFaultInjector([&](const std::string&) {
    started.open();
    return 0;
  });
  home_.sync().setConditionsProvider([] { return host::DownloadConditions{false, 100'000}; });
  setNetwork(NetworkStateCellular);
  auto manager = makeManager();
  manager->previewItem(itemAt(doc));
  auto page = manager->downloadViewController();
  ASSERT_TRUE(page);
  page->downloadView()->downloadButton()->tap();
  ASSERT_TRUE(started.wait());
  EXPECT_TRUE(NetworkIndicator::sharedNetworkIndicator().isShowing(kPreviewDownloadActivity));
  page->downloadView()->cancelButton()->tap();
  finishDownloads(manager);

  EXPECT_FALSE(presentedAlert());
  EXPECT_EQ(topKind(), "PreviewDownloadViewController");
  EXPECT_FALSE(page->downloadView()->downloading());
  EXPECT_EQ(home_.drive().stateOf(doc), host::Drive::ItemState::CloudOnly);
  EXPECT_FALSE(NetworkIndicator::sharedNetworkIndicator().isShowing(kPreviewDownloadActivity));
  const auto errors = testing::linesStartingWith("Error downloading " + home_.url(doc).absoluteString());
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_EQ(errors[0].level, 3);
  EXPECT_EQ(testing::countOf("Evicted " + home_.url(doc).absoluteString()), 1U);
}

TEST_F(PreviewItemManagerTest, DownloadError_TellsTheUserWhatHappened) {
  const std::string doc = cloudText("Far.txt", 100);
  home_.sync().setConditionsProvider([] { return host::DownloadConditions{true, 0}; });  // the phone is offline
  // Still reported as Wi-Fi: the error's own description.
  auto manager = makeManager();
  manager->previewItem(itemAt(doc));
  finishDownloads(manager);
  auto alert = presentedAlert();
  ASSERT_TRUE(alert);
  const platform::Error offline = platform::Error::platform(ErrorCode::CloudServerNotAvailable);
  EXPECT_EQ(alert->message(), offline.localizedDescription());
  EXPECT_EQ(alert->title(), std::string());
  ASSERT_EQ(alert->actions().size(), 1U);
  alert->tapAction(alert->actions()[0]);
  runMainUntilIdle();

  // Not connected any more: the text that says so.
  setNetwork(NetworkStateNotConnected);
  manager->downloadViewController()->downloadView()->downloadButton()->tap();
  finishDownloads(manager);
  alert = presentedAlert();
  ASSERT_TRUE(alert);
  EXPECT_EQ(alert->message(), std::string("Unable to download file. You are no longer connected to the Internet."));
  EXPECT_EQ(home_.drive().stateOf(doc), host::Drive::ItemState::CloudOnly);
  alert->tapAction(alert->actions()[0]);
  runMainUntilIdle();

  // A full disk mid-download: the write's error, and nothing left behind.
  setNetwork(NetworkStateWiFi);
  home_.sync().setConditionsProvider([] { return host::DownloadConditions{}; });
  home_.sync().setWriteFaultInjector([](const std::string&) { return ENOSPC; });
  manager->downloadViewController()->downloadView()->downloadButton()->tap();
  finishDownloads(manager);
  alert = presentedAlert();
  ASSERT_TRUE(alert);
  ASSERT_TRUE(alert->message());
  EXPECT_NE(alert->message()->find("enough space"), std::string::npos) << *alert->message();
  EXPECT_EQ(home_.drive().stateOf(doc), host::Drive::ItemState::CloudOnly);
}

TEST_F(PreviewItemManagerTest, Release_WhileItsDownloadRunsEndsTheDownloadAndShowsNothing) {
  // A manager dropped mid-download once kept the download queue's read
  // blocked forever and ran its completion on freed state.
  const std::string doc = cloudText("Dropped.txt", 400'000);
  testing::ThreadGate started;
  home_.sync().setWriteFaultInjector([&](const std::string&) {
    started.open();
    return 0;
  });
  home_.sync().setConditionsProvider([] { return host::DownloadConditions{false, 100'000}; });
  auto manager = makeManager();
  manager->previewItem(itemAt(doc));
  ASSERT_TRUE(started.wait());
  const auto queue = manager->downloadQueue();
  navigation_->setViewControllers({root_}, false);  // the download page leaves: its download is cancelled
  std::weak_ptr<PreviewItemManager> weak = manager;
  manager.reset();
  queue->sync([] {});
  runMainUntilIdle();
  EXPECT_TRUE(weak.expired());
  EXPECT_EQ(home_.drive().stateOf(doc), host::Drive::ItemState::CloudOnly);
  EXPECT_EQ(top(), root_);
  EXPECT_FALSE(root_->presentedViewController());
}

TEST_F(PreviewItemManagerTest, ChangeNotices_WithinOneSecondMakeOneRefresh) {
  const std::string doc = home_.writeDocument(home_.documents() + "/Live.txt", "v1");
  auto manager = makeManager();
  manager->previewItem(itemAt(doc));
  testing::clearLogs();
  for (int i = 0; i < 3; ++i) {
    manager->presentedItemDidChange();
    testing::advanceClock(0.2);
  }
  EXPECT_TRUE(manager->refreshPending());
  EXPECT_EQ(testing::countOf("Refreshing " + home_.url(doc).absoluteString()), 0U);
  testing::advanceClock(0.5);
  EXPECT_EQ(testing::countOf("Refreshing " + home_.url(doc).absoluteString()), 1U);
  EXPECT_FALSE(manager->refreshPending());
  // A later notice starts a new refresh.
  manager->presentedItemDidChange();
  testing::advanceClock(1.0);
  EXPECT_EQ(testing::countOf("Refreshing " + home_.url(doc).absoluteString()), 2U);
}

TEST_F(PreviewItemManagerTest, Refresh_ShowsADocumentThatArrivedByAnotherRouteUnlessTheDetailsAreShown) {
  const std::string doc = cloudText("Arrives.txt", 10);
  setNetwork(NetworkStateCellular);
  auto manager = makeManager();
  manager->previewItem(itemAt(doc));
  EXPECT_EQ(topKind(), "PreviewDownloadViewController");
  // Another route brings the document (a coordinated read of someone else).
  ASSERT_FALSE(home_.coordination().makeCoordinator()->coordinateReadingItemAtURL(home_.url(doc), 3,
                                                                                  [](const platform::URL&) {}));
  manager->refreshItem(home_.url(doc));
  EXPECT_EQ(topKind(), "GlimpseItemController");

  // With the details page on screen, the page stays and is refreshed instead.
  const std::string other = cloudText("Details.txt", 10);
  navigation_->setViewControllers({root_}, false);
  auto details = makeManager(1);
  details->previewItem(itemAt(other));
  EXPECT_EQ(topKind(), "PreviewDetailsViewController");
  ASSERT_FALSE(home_.coordination().makeCoordinator()->coordinateReadingItemAtURL(home_.url(other), 3,
                                                                                  [](const platform::URL&) {}));
  details->refreshItem(home_.url(other));
  EXPECT_EQ(topKind(), "PreviewDetailsViewController");
  EXPECT_TRUE(details->item()->isDownloaded());
}

TEST_F(PreviewItemManagerTest, DeletionElsewhere_PopsThePreviewUntilTheAppIsActiveAgain) {
  const std::string doc = home_.writeDocument(home_.documents() + "/Doomed.txt", "d");
  auto manager = makeManager();
  manager->previewItem(itemAt(doc));
  runMainUntilIdle();
  EXPECT_EQ(topKind(), "GlimpseItemController");
  ASSERT_FALSE(home_.drive().cloudDelete(*home_.drive().relativePath(doc)));
  home_.coordination().waitUntilWatcherCaughtUp();
  manager->fcQueue().waitUntilAllOperationsAreFinished();
  runMainUntilIdle();
  EXPECT_EQ(top(), root_);
  EXPECT_FALSE(manager->filePresenterRegistered());
  EXPECT_EQ(testing::countOf(home_.url(doc).absoluteString() + " accommodate deletion"), 1U);

  testing::notifications().post(std::string(platform::kApplicationDidBecomeActiveNotification));
  runMainUntilIdle();
  EXPECT_TRUE(manager->filePresenterRegistered());
  testing::notifications().post(std::string(platform::kApplicationWillResignActiveNotification));
  runMainUntilIdle();
  EXPECT_FALSE(manager->filePresenterRegistered());
}

TEST_F(PreviewItemManagerTest, DeleteAndMoveButtons_ActOnTheDocument) {
  const std::string doc = home_.writeDocument(home_.documents() + "/Act.txt", "a");
  const std::string folder = home_.makeFolder(home_.documents() + "/Archive");
  auto manager = makeManager();
  manager->previewItem(itemAt(doc));
  runMainUntilIdle();
  const auto glimpse = GlimpseItemController::defaultController();

  // Move: the picker lists the folder; choosing it moves the document there.
  glimpse->barButtonMoveItem()->tap();
  runMainUntilIdle();
  auto picker = std::dynamic_pointer_cast<platform::MoveTargetPicker>(navigation_->presentedViewController());
  ASSERT_TRUE(picker);
  EXPECT_EQ(picker->modalPresentationStyle(), ui::ModalPresentationStyle::OverCurrentContext);
  std::optional<std::size_t> archiveRow;
  for (std::size_t i = 0; i < picker->rows().size(); ++i) {
    if (picker->rows()[i].name == "Archive") {
      archiveRow = i;
    }
  }
  ASSERT_TRUE(archiveRow);
  picker->listViewDidSelectRow(*picker->listView(), *archiveRow);
  runMainUntilIdle();
  EXPECT_FALSE(DriveTestHome::exists(doc));
  EXPECT_TRUE(DriveTestHome::exists(folder + "/Act.txt"));

  // Delete, cancelled: nothing changes.
  const std::string moved = folder + "/Act.txt";
  manager->refreshItem(home_.url(moved));
  glimpse->barButtonDeleteItem()->tap();
  runMainUntilIdle();
  auto sheet = std::dynamic_pointer_cast<ui::AlertController>(glimpse->presentedViewController());
  ASSERT_TRUE(sheet);
  for (const auto& action : sheet->actions()) {
    if (action->style() == ui::AlertActionStyle::Cancel) {
      sheet->tapAction(action);
    }
  }
  runMainUntilIdle();
  EXPECT_TRUE(DriveTestHome::exists(moved));
  EXPECT_EQ(topKind(), "GlimpseItemController");

  // Delete, confirmed: the preview goes, then the file.
  glimpse->barButtonDeleteItem()->tap();
  runMainUntilIdle();
  sheet = std::dynamic_pointer_cast<ui::AlertController>(glimpse->presentedViewController());
  ASSERT_TRUE(sheet);
  for (const auto& action : sheet->actions()) {
    if (action->style() == ui::AlertActionStyle::Destructive) {
      sheet->tapAction(action);
    }
  }
  runMainUntilIdle();
  EXPECT_EQ(top(), root_);
  EXPECT_FALSE(DriveTestHome::exists(moved));
}

}  // namespace
}  // namespace velune
