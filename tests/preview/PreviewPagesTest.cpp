// The preview pages: the base page's margins, buttons and progress logging,
// the download page's cellular limit and orientation, the thumbnail page, and
// the shared document preview.

#include <gtest/gtest.h>

#include "platform/TransferProgress.h"
#include "platform/TransferProgressService.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Button.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/StackView.h"
#include "preview/PreviewDownloadViewController.h"
#include "preview/PreviewNavController.h"
#include "preview/PreviewThumbnailViewController.h"
#include "preview/RoundProgressView.h"
#include "tests/preview/PreviewTestFixture.h"
#include "views/ThumbnailImageView.h"

namespace velune {
namespace {

using platform::TransferProgress;
using testing::PreviewFixture;
using testing::runMainUntilIdle;

class PreviewPagesTest : public PreviewFixture {
 protected:
  // A download page of a cloud-only document of `size` bytes, on screen.
  std::shared_ptr<PreviewDownloadViewController> downloadPage(std::size_t size,
                                                              std::shared_ptr<PreviewItemManager>* keep) {
    const std::string doc = home_.writeCloudOnly(home_.documents() + "/Big " + std::to_string(size) + ".mov", "",
                                                 host::PlaceholderMetadata{size, {}, {}, {}, false, {}});
    *keep = makeManager();
    (*keep)->previewItem(itemAt(doc));
    runMainUntilIdle();
    window_->layoutIfNeeded();
    return (*keep)->downloadViewController();
  }
  std::shared_ptr<ui::AlertController> alertOver(const std::shared_ptr<ui::ViewController>& page) {
    return std::dynamic_pointer_cast<ui::AlertController>(page->presentedViewController());
  }
};

TEST_F(PreviewPagesTest, CellularLimit_RefusesOnlyDocumentsOverOneHundredMebibytes) {
  home_.sync().setConditionsProvider([] { return host::DownloadConditions{true, 0}; });  // nothing really comes
  setNetwork(NetworkStateCellular);
  std::shared_ptr<PreviewItemManager> manager;
  auto page = downloadPage(104'857'601, &manager);
  ASSERT_TRUE(page);
  page->downloadView()->downloadButton()->tap();
  auto alert = alertOver(page);
  ASSERT_TRUE(alert);
  EXPECT_EQ(alert->title(), std::string("This item is over 100 MB."));
  EXPECT_EQ(alert->message(), std::string("“Big 104857601.mov” will not download until you connect to Wi-Fi."));
  EXPECT_FALSE(page->downloadView()->downloading());
  EXPECT_EQ(testing::countOf("Dispatching download..."), 0U);
  alert->tapAction(alert->actions()[0]);
  runMainUntilIdle();

  std::shared_ptr<PreviewItemManager> second;
  page = downloadPage(104'857'600, &second);
  page->downloadView()->downloadButton()->tap();
  EXPECT_FALSE(alertOver(page));
  EXPECT_TRUE(page->downloadView()->downloading());
  EXPECT_FALSE(page->downloading());  // the page's own flag is the manager's to set
  EXPECT_EQ(testing::countOf("Dispatching download..."), 1U);
  finishDownloads(second);

  for (const NetworkState state : {NetworkStateWiFi, NetworkStateUnknown}) {
    setNetwork(state);
    std::shared_ptr<PreviewItemManager> any;
    page = downloadPage(500'000'000 + static_cast<std::size_t>(state), &any);
    page->downloadView()->downloadButton()->tap();
    EXPECT_FALSE(alertOver(page)) << state;
    EXPECT_TRUE(page->downloadView()->downloading()) << state;
    finishDownloads(any);
  }
}

TEST_F(PreviewPagesTest, DownloadPage_MarkedBeforeItShowsStartsInTheDownloadingStateAndTurnsWithTheDevice) {
  const std::string doc = cloudText("Marked.txt", 10);
  auto manager = makeManager();
  setNetwork(NetworkStateCellular);
  auto page = std::dynamic_pointer_cast<PreviewDownloadViewController>(manager->prepareToPreviewItem(itemAt(doc)));
  ASSERT_TRUE(page);
  page->setDownloading(true);
  EXPECT_FALSE(page->isViewLoaded());
  navigation_->pushViewController(page, false);
  runMainUntilIdle();
  EXPECT_TRUE(page->downloadView()->downloading());
  EXPECT_FALSE(page->downloadView()->cancelButton()->isHidden());
  EXPECT_FALSE(page->downloadView()->roundProgressView()->isHidden());
  EXPECT_TRUE(page->downloadView()->downloadButton()->isHidden());

  EXPECT_EQ(page->mainStackView()->axis(), ui::Axis::Vertical);
  EXPECT_EQ(page->mainStackView()->spacing(), 15);
  window_->transitionToSize(ui::Size{844, 390});
  runMainUntilIdle();
  EXPECT_EQ(page->mainStackView()->axis(), ui::Axis::Horizontal);
  EXPECT_EQ(page->mainStackView()->distribution(), ui::StackView::Distribution::FillEqually);
  window_->layoutIfNeeded();
  EXPECT_NEAR(page->thumbnailView()->frame().size.width, page->downloadView()->frame().size.width, 0.5);
  window_->transitionToSize(ui::Size{390, 844});
  runMainUntilIdle();
  EXPECT_EQ(page->mainStackView()->axis(), ui::Axis::Vertical);
  EXPECT_EQ(page->mainStackView()->distribution(), ui::StackView::Distribution::Fill);
}

TEST_F(PreviewPagesTest, Progress_LogsEveryFivePercentStepAtLevelSixAndTheRestAtSeven) {
  const std::string doc = cloudText("Steps.txt", 100);
  setNetwork(NetworkStateCellular);
  auto manager = makeManager();
  manager->previewItem(itemAt(doc));
  runMainUntilIdle();
  auto page = manager->downloadViewController();
  page->setDownloading(true);
  page->registerForProgress();
  EXPECT_TRUE(page->hasProgressSubscription());
  auto progress = std::make_shared<TransferProgress>(std::string(platform::kProgressKindFile), 100);
  const auto service = home_.services().transferProgress;
  const auto publication = service->publish(manager->item()->resolvedURL(), progress);
  testing::clearLogs();
  std::vector<int> levels;
  for (const int completed : {1, 4, 5, 6}) {
    progress->setCompletedUnitCount(completed);
    const auto lines = testing::linesStartingWith("Progress ");
    ASSERT_FALSE(lines.empty());
    levels.push_back(lines.back().level);
  }
  EXPECT_EQ(levels, (std::vector<int>{6, 7, 6, 7}));
  EXPECT_EQ(page->lastProgressChunk(), 1);
  // The newest value reaches the round progress on the main thread.
  runMainUntilIdle();
  EXPECT_EQ(page->downloadView()->sizeLabel()->text(), DownloadView::progressMsgWithBytesCompleted(6, 100));

  // Unpublishing ends the observation and the subscription.
  service->unpublish(publication);
  EXPECT_FALSE(page->hasProgressSubscription());
  testing::clearLogs();
  progress->setCompletedUnitCount(50);
  EXPECT_TRUE(testing::linesStartingWith("Progress ").empty());
}

TEST_F(PreviewPagesTest, Progress_OfAnotherKindIsStillFollowedAndAnUnknownTotalCountsAsNothing) {
  const std::string doc = cloudText("Upload.txt", 100);
  setNetwork(NetworkStateCellular);
  auto manager = makeManager();
  manager->previewItem(itemAt(doc));
  runMainUntilIdle();
  auto page = manager->downloadViewController();
  page->registerForProgress();
  const auto service = home_.services().transferProgress;
  auto upload = std::make_shared<TransferProgress>(std::string("ProgressKindUpload"), 0);
  const auto publication = service->publish(manager->item()->resolvedURL(), upload);
  EXPECT_EQ(testing::countOf("ignoring progress with different kind " + upload->description() +
                             ", kind = ProgressKindUpload"),
            1U);
  upload->setCompletedUnitCount(40);  // total 0: F is taken as 0
  EXPECT_EQ(page->lastProgressChunk(), 0);
  upload->setTotalUnitCount(50);
  EXPECT_EQ(page->lastProgressChunk(), 16);
  service->unpublish(publication);
}

TEST_F(PreviewPagesTest, Buttons_SitInTheToolbarOnAPhoneAndOnTheNavigationBarOnATablet) {
  const std::string doc = cloudText("Buttons.txt", 10);
  setNetwork(NetworkStateCellular);
  auto manager = makeManager();
  manager->previewItem(itemAt(doc));
  runMainUntilIdle();
  auto page = manager->downloadViewController();
  ASSERT_EQ(page->toolbarItems().size(), 5U);
  EXPECT_EQ(page->toolbarItems()[0], page->barButtonActionItem());
  EXPECT_TRUE(page->toolbarItems()[1]->isFlexibleSpace());
  EXPECT_EQ(page->toolbarItems()[2], page->barButtonDeleteItem());
  EXPECT_TRUE(page->toolbarItems()[3]->isFlexibleSpace());
  EXPECT_EQ(page->toolbarItems()[4], page->barButtonMoveItem());
  EXPECT_FALSE(navigation_->isToolbarHidden());
  EXPECT_TRUE(page->barButtonDeleteItem()->isEnabled());

  // Margins on a phone in portrait: 17 at the sides, 45 above and below (the
  // page is more than twice as high as wide), under the bars.
  EXPECT_EQ(page->parentLeadingConstraint()->constant(), 17);
  EXPECT_EQ(page->parentTrailingConstraint()->constant(), -17);
  EXPECT_EQ(page->parentTopConstraint()->constant(), 20 + 44 + 45);
  EXPECT_EQ(page->parentBottomConstraint()->constant(), -(45 + 44));

  // A tablet: the three on the right of the navigation bar, the toolbar hidden, 45 all round.
  navigation_->setViewControllers({root_}, false);
  device_ = testing::installDevice(ui::Size{820, 1180}, 2, ui::UserInterfaceIdiom::Tablet);
  auto services = home_.services();
  services.device = device_;
  platform::Platform::install(services);
  window_ = testing::showInWindow(navigation_);
  auto tablet = makeManager();
  tablet->previewItem(itemAt(doc));
  runMainUntilIdle();
  page = tablet->downloadViewController();
  const auto& right = page->navigationItem().rightBarButtonItems();
  ASSERT_EQ(right.size(), 5U);
  EXPECT_EQ(right[0], page->barButtonActionItem());
  EXPECT_EQ(right[2], page->barButtonDeleteItem());
  EXPECT_EQ(right[4], page->barButtonMoveItem());
  EXPECT_TRUE(navigation_->isToolbarHidden());
  EXPECT_EQ(page->parentLeadingConstraint()->constant(), 45);
  EXPECT_EQ(page->parentBottomConstraint()->constant(), -45);
}

TEST_F(PreviewPagesTest, Margins_OfALandscapePhoneAreSeventeenAndShareNeedsAFile) {
  device_ = testing::installDevice(ui::Size{390, 844});
  auto services = home_.services();
  services.device = device_;
  platform::Platform::install(services);
  device_->setOrientation(ui::InterfaceOrientation::LandscapeRight);
  window_->transitionToSize(ui::Size{844, 390});
  runMainUntilIdle();
  // A page without an item: its buttons are off.
  auto manager = makeManager();
  auto page = std::make_shared<PreviewThumbnailViewController>();
  page->setItemManager(manager);
  navigation_->pushViewController(page, false);
  runMainUntilIdle();
  EXPECT_FALSE(page->barButtonActionItem()->isEnabled());
  EXPECT_FALSE(page->barButtonDeleteItem()->isEnabled());
  EXPECT_FALSE(page->barButtonMoveItem()->isEnabled());
  EXPECT_EQ(page->parentLeadingConstraint()->constant(), 17);
  EXPECT_EQ(page->parentBottomConstraint()->constant(), -(17 + 44));
  EXPECT_EQ(page->currentPseudoOrientation(), ui::InterfaceOrientation::LandscapeRight);

  // Share of an item whose resolved URL is not a file: no menu, a level-4 line.
  const std::string doc = home_.writeDocument(home_.documents() + "/Shared.txt", "s");
  auto item = itemAt(doc);
  item->setResolvedURL(platform::URL());
  manager->setItem(item, false);
  page->refreshItem();
  page->barButtonActionItem()->tap();
  EXPECT_FALSE(page->presentedViewController());
  EXPECT_FALSE(manager->documentInteractionController());
  const auto lines = testing::linesStartingWith("showDocumentActivities: url is wrong class");
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].level, 4);

  // With a file: the menu, anchored at the Share button, offered by the manager's share controller.
  manager->setItem(itemAt(doc), false);
  page->barButtonActionItem()->tap();
  runMainUntilIdle();
  ASSERT_TRUE(manager->documentInteractionController());
  auto menu = std::dynamic_pointer_cast<ui::AlertController>(page->presentedViewController());
  ASSERT_TRUE(menu);
  EXPECT_EQ(menu->popoverPresentationController().barButtonItem(), page->barButtonActionItem());
}

TEST_F(PreviewPagesTest, Glimpse_ShowsTheManagersDocumentOrNothing) {
  const auto glimpse = GlimpseItemController::defaultController();
  EXPECT_EQ(glimpse, GlimpseItemController::defaultController());
  auto empty = makeManager();
  glimpse->glimpseNewItem(empty);
  EXPECT_TRUE(glimpse->arrayOfDocuments().empty());
  EXPECT_EQ(glimpse->numberOfPreviewItemsInPreviewController(*glimpse), 0U);
  EXPECT_FALSE(glimpse->documentView()->documentURL());
  ASSERT_EQ(glimpse->additionalRightBarButtonItems().size(), 2U);
  EXPECT_EQ(glimpse->additionalRightBarButtonItems()[0], glimpse->barButtonDeleteItem());
  EXPECT_EQ(glimpse->additionalRightBarButtonItems()[1], glimpse->barButtonMoveItem());

  const std::string film = home_.writeDocument(home_.documents() + "/Clip.mp4", "mp4");
  auto manager = makeManager();
  manager->previewItem(itemAt(film));
  runMainUntilIdle();
  EXPECT_TRUE(glimpse->isVisible());
  auto item = glimpse->previewControllerPreviewItemAtIndex(*glimpse, 0);
  ASSERT_TRUE(item);
  EXPECT_TRUE(item->wantsDefaultMediaPlayer());
  EXPECT_EQ(glimpse->documentView()->documentURL()->path(), film);
  const auto revision = glimpse->documentView()->revision();
  glimpse->refreshCurrentPreviewItem();
  EXPECT_GT(glimpse->documentView()->revision(), revision);
  EXPECT_EQ(glimpse->title(), std::string("Clip.mp4"));

  // A manager that has gone leaves the buttons without effect.
  navigation_->setViewControllers({root_}, false);
  runMainUntilIdle();
  EXPECT_FALSE(glimpse->isVisible());
  manager.reset();
  empty.reset();
  glimpse->barButtonMoveItem()->tap();
  EXPECT_FALSE(navigation_->presentedViewController());
  // A stand-alone instance for a manager, and the stack class with no behaviour of its own.
  auto again = makeManager();
  again->setItem(itemAt(film), false);
  EXPECT_EQ(GlimpseItemController::initWithItemManager(again)->arrayOfDocuments().size(), 1U);
  EXPECT_EQ(std::make_shared<PreviewNavController>()->kind(), "PreviewNavController");
}

}  // namespace
}  // namespace velune
