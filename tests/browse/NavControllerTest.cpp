#include "browse/NavController.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <future>

#include "app/DocumentListControllerStatusBar.h"
#include "app/StatusBar.h"
#include "diag/DRLogging.h"
#include "diag/QuotaFetcher.h"
#include "model/DRItem.h"
#include "platform/DocumentListCell.h"
#include "platform/Notifications.h"
#include "platform/PreferencesStore.h"
#include "platform/SearchOverlay.h"
#include "platform/SyncURLService.h"
#include "platform/UnavailableViewController.h"
#include "platform/ui/Label.h"
#include "preview/PreviewItemManager.h"
#include "tests/support/BrowseTestHome.h"
#include "tests/support/LogLines.h"

namespace velune {
namespace {

using platform::DocumentListController;
using platform::URL;

class NavControllerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    home_.services().standardPreferences->removeObject(kUbiquityIdentityTokenKey);
    home_.writeDocument(home_.documents() + "/Welcome.txt", "hi");
    home_.makeFolder(home_.documents() + "/Projects/Plans");
    home_.writeDocument(home_.documents() + "/Projects/Plans/Roadmap.md", "r");
    testing::clearLogs();
  }
  void TearDown() override {
    if (nav_) {
      nav_->endPreview();
    }
    window_.reset();
    nav_.reset();
    testing::runMainUntilIdle();
  }

  // The controller shown in a window, its stack built, the listings read.
  void launch() {
    nav_ = NavController::create();
    window_ = testing::showInWindow(nav_);
    settle();
  }
  void settle() { testing::settleListings(home_); }
  void becomeActive() {
    testing::notifications().post(std::string(platform::kApplicationDidBecomeActiveNotification));
    settle();
  }
  std::shared_ptr<DocumentListController> top() { return nav_->getTopDocumentListController(); }
  std::string statusText(DocumentListController& listing) {
    const auto bar = StatusBar::statusBar(listing);
    return bar && bar->statusLabel() ? bar->statusLabel()->text() : std::string("<no status bar>");
  }
  std::optional<platform::Value::Data> storedToken() {
    return home_.services().standardPreferences->dataForKey(kUbiquityIdentityTokenKey);
  }

  testing::BrowseTestHome home_;
  std::shared_ptr<NavController> nav_;
  std::shared_ptr<ui::Window> window_;
};

TEST_F(NavControllerTest, Account_FirstActivationStoresTheTokenAndRebuildsSignOutShowsTheUnavailableScreen) {
  home_.account().signIn("alice");
  launch();
  auto first = top();
  ASSERT_TRUE(first);
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Velune is enabled"));
  EXPECT_TRUE(nav_->quotaFetcher());
  EXPECT_FALSE(nav_->isToolbarHidden());
  EXPECT_FALSE(storedToken());

  // The first activation after install sees no stored token: one rebuild.
  becomeActive();
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Got AppBecameActiveNotification (nav)"));
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Velune Token Changed, enabled=YES, reinitializing view"));
  ASSERT_TRUE(storedToken());
  EXPECT_EQ(platform::IdentityToken::fromArchivedData(*storedToken()), platform::IdentityToken("alice"));
  EXPECT_NE(top(), first);
  const auto rebuilt = top();
  testing::clearLogs();
  becomeActive();
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Velune Token Matches"));
  EXPECT_EQ(top(), rebuilt);

  // The quota shows, then signing out takes the listings, the quota and the toolbar away.
  nav_->quotaFetcher()->notify(5ULL << 30);
  EXPECT_EQ(statusText(*rebuilt), "5 items, 5 GB available");
  home_.account().signOut();
  settle();
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Velune account availability changed"));
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Velune Token Changed, enabled=NO, reinitializing view"));
  EXPECT_TRUE(testing::loggedAt(kLogWarning, "Velune is not enabled"));
  EXPECT_FALSE(storedToken());
  ASSERT_EQ(nav_->viewControllers().size(), 1U);
  EXPECT_TRUE(std::dynamic_pointer_cast<platform::UnavailableViewController>(nav_->topViewController()));
  EXPECT_TRUE(nav_->isToolbarHidden());
  EXPECT_FALSE(nav_->quotaFetcher());
  EXPECT_EQ(nav_->quotaBytes(), 0U);
  EXPECT_TRUE(nav_->lastQuotaFetch());  // kept, as the free-space text comes back with the next listing

  // Signing in twice in a row: each change rebuilds, the last token is kept.
  home_.account().signIn("bob");
  home_.account().signIn("carol");
  settle();
  ASSERT_TRUE(top());
  EXPECT_EQ(platform::IdentityToken::fromArchivedData(*storedToken()), platform::IdentityToken("carol"));
}

TEST_F(NavControllerTest, Account_BothTokensAbsentMatchAndTheUnavailableScreenComesFirst) {
  launch();
  EXPECT_TRUE(std::dynamic_pointer_cast<platform::UnavailableViewController>(nav_->topViewController()));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "NavController viewDidLoad"));
  becomeActive();
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Velune Token Matches"));
  EXPECT_FALSE(testing::loggedPrefixAt(kLogInfo, "Velune Token Changed"));
}

TEST_F(NavControllerTest, StatusLine_CountAloneUntilTheFirstQuotaThenJoinedAndLoggedOncePerCount) {
  home_.account().signIn("alice");
  // The listings' reads wait until the test lets them go.
  std::promise<void> release;
  platform::DocumentListing::readQueue()->async([gate = release.get_future().share()] { gate.wait(); });
  nav_ = NavController::create();
  window_ = testing::showInWindow(nav_);
  auto root = top();
  ASSERT_TRUE(root);
  // Before the listing reports its items, a quota report changes nothing visible.
  EXPECT_FALSE(nav_->pickerIsAlive());
  nav_->quotaFetcher()->notify(1536ULL << 20);
  EXPECT_EQ(statusText(*root), "");
  release.set_value();
  settle();
  EXPECT_TRUE(nav_->pickerIsAlive());
  EXPECT_EQ(statusText(*root), "5 items, 1.5 GB available");
  EXPECT_TRUE(testing::loggedPrefixAt(kLogDebug, "updated quota at "));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "DLC title: Velune Drive"));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogDebug, "DLC has 0 items: "));
  using Available = platform::DocumentListAvailableActions;
  EXPECT_EQ(root->availableActions(),
            Available::Delete | Available::ActionsMenu | Available::Details | Available::Rename);

  // A pushed folder that is empty: "0 items"; the same count twice is logged once.
  const std::string empty = home_.makeFolder(home_.documents() + "/Empty");
  settle();
  const auto row = root->listing().indexOfURL(URL::fileURLWithPath(empty, true));
  ASSERT_TRUE(row);
  root->rowsView().cellForRow(*row)->tap();
  settle();
  auto pushed = top();
  ASSERT_NE(pushed, root);
  EXPECT_EQ(pushed->title(), "Empty");
  EXPECT_EQ(statusText(*pushed), "0 items, 1.5 GB available");
  testing::clearLogs();
  home_.writeDocument(empty + "/one.txt", "1");
  settle();
  home_.writeDocument(empty + "/one.txt", "changed");
  settle();
  EXPECT_EQ(testing::loggedMessages(), std::vector<std::string>{"DLC items changed, count is 1"});
  EXPECT_EQ(statusText(*pushed), "1 item, 1.5 GB available");
}

TEST_F(NavControllerTest, StatusBar_MadeOnceAcrossEditModeAndNeverForAListingOnlyEverInEditMode) {
  home_.account().signIn("alice");
  launch();
  auto root = top();
  const auto bar = StatusBar::statusBar(*root);
  ASSERT_TRUE(bar);
  const auto label = bar->statusLabel();
  EXPECT_EQ(root->toolbarItems(), bar->toolbarItems());
  ASSERT_TRUE(root->navigationItem().rightBarButtonItem());
  for (int round = 0; round < 2; ++round) {
    ASSERT_TRUE(root->navigationItem().rightBarButtonItem()->tap());  // "Select"
    EXPECT_TRUE(nav_->editMode());
    EXPECT_EQ(root->title(), "Select Items");
    ASSERT_EQ(root->toolbarItems().size(), 5U);
    EXPECT_EQ(root->toolbarItems()[0], nav_->barButtonNewFolder());
    EXPECT_EQ(StatusBar::statusBar(*root), bar);  // stays attached in edit mode
    ASSERT_TRUE(root->navigationItem().rightBarButtonItem()->tap());  // cancel
    EXPECT_FALSE(nav_->editMode());
    EXPECT_EQ(root->title(), "Velune Drive");
  }
  EXPECT_EQ(StatusBar::statusBar(*root), bar);
  EXPECT_EQ(bar->statusLabel(), label);
  EXPECT_EQ(root->toolbarItems(), bar->toolbarItems());

  // A listing configured only while in edit mode never gets one; folder taps are refused then.
  ASSERT_TRUE(root->navigationItem().rightBarButtonItem()->tap());
  auto editOnly = DocumentListController::listingForFolder(URL::fileURLWithPath(home_.documents() + "/Projects", true));
  nav_->initNewListController(*editOnly);
  nav_->initNewListController(*editOnly);
  EXPECT_FALSE(StatusBar::statusBar(*editOnly));
  nav_->documentListControllerDidSelectContainerWithViewController(*root, editOnly);
  EXPECT_TRUE(testing::loggedAt(kLogWarning, "DLC Navigation not allowed while in edit mode"));
  EXPECT_EQ(nav_->viewControllers().size(), 1U);
}

TEST_F(NavControllerTest, LaunchURL_BuildsTheStackDownToTheFolderAndRefusesURLsOutsideTheDrive) {
  home_.account().signIn("alice");
  launch();
  const auto before = nav_->viewControllers();
  EXPECT_FALSE(nav_->showURLPreview(URL::fileURLWithPath("/etc/passwd"), 0));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Preview URL is not in the Mobile Documents dir: file:///etc/passwd"));
  EXPECT_FALSE(nav_->showURLPreview(std::nullopt, 0));
  EXPECT_EQ(nav_->viewControllers(), before);

  // A document: the listings down to its folder, topped by the manager's page.
  const URL roadmap = URL::fileURLWithPath(home_.documents() + "/Projects/Plans/Roadmap.md", false);
  EXPECT_TRUE(nav_->showURLPreview(roadmap, 1));
  settle();
  ASSERT_EQ(nav_->viewControllers().size(), 4U);
  EXPECT_EQ(nav_->topViewController()->kind(), "PreviewDetailsViewController");
  const auto plans = std::dynamic_pointer_cast<DocumentListController>(nav_->viewControllers()[2]);
  ASSERT_TRUE(plans);
  EXPECT_EQ(plans->title(), "Plans");
  EXPECT_EQ(plans->containedItems(), std::vector<URL>{roadmap});
  ASSERT_TRUE(nav_->itemManager());
  EXPECT_EQ(nav_->itemManager()->item()->url(), roadmap);

  // A folder: the stack down to the folder itself, which is handed to the manager.
  const URL projects = URL::fileURLWithPath(home_.documents() + "/Projects", true);
  EXPECT_TRUE(nav_->showURLPreview(projects, 0));
  settle();
  ASSERT_EQ(nav_->viewControllers().size(), 3U);
  EXPECT_EQ(nav_->viewControllers()[1]->title(), "Projects");
  ASSERT_TRUE(nav_->itemManager());
  EXPECT_EQ(nav_->itemManager()->item()->url().path(), projects.path());

  // A folder of the drive that does not exist.
  EXPECT_FALSE(nav_->showURLPreview(URL::fileURLWithPath(home_.documents() + "/Gone/x.txt", false), 0));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogErr, "Couldn't build DLC stack for "));
}

TEST_F(NavControllerTest, Search_AFolderTapReplacesTheStackWithTheFoldersHierarchy) {
  home_.account().signIn("alice");
  launch();
  auto root = top();
  ASSERT_TRUE(root->searchButton().tap());
  testing::runMainUntilIdle();
  auto overlay = std::dynamic_pointer_cast<platform::SearchOverlay>(root->presentedViewController());
  ASSERT_TRUE(overlay);
  overlay->searchField().typeText("plans");
  settle();
  ASSERT_EQ(overlay->results().size(), 1U);
  overlay->rowsView().cellForRow(0)->tap();
  settle();
  EXPECT_EQ(root->presentedViewController(), nullptr);
  ASSERT_EQ(nav_->viewControllers().size(), 3U);
  EXPECT_EQ(top()->title(), "Plans");
}

TEST_F(NavControllerTest, Restoration_SavesThePreviewedDocumentAndRestoresOnlyAFileThatStillExists) {
  home_.account().signIn("alice");
  launch();
  const URL roadmap = URL::fileURLWithPath(home_.documents() + "/Projects/Plans/Roadmap.md", false);
  nav_->showPreview(DRItem::initWithURL(roadmap), 1);
  ui::StateCoder coder;
  nav_->encodeRestorableStateWithCoder(coder);
  ASSERT_NE(coder.decodeObject(kRestorationURLKey).asURL(), nullptr);
  EXPECT_EQ(*coder.decodeObject(kRestorationURLKey).asURL(), roadmap);
  EXPECT_EQ(coder.decodeInteger(kRestorationPreviewModeKey), 1);

  auto restored = NavController::create();
  auto window = testing::showInWindow(restored);
  restored->decodeRestorableStateWithCoder(coder);
  ASSERT_TRUE(restored->itemManager());
  EXPECT_EQ(restored->itemManager()->mode(), 1);
  EXPECT_EQ(restored->itemManager()->item()->url(), roadmap);
  restored->endPreview();

  // The file is gone (or a folder is named): nothing is restored.
  auto again = NavController::create();
  auto otherWindow = testing::showInWindow(again);
  ASSERT_FALSE(home_.drive().removeItem(roadmap.path()));
  again->decodeRestorableStateWithCoder(coder);
  EXPECT_FALSE(again->itemManager());
  ui::StateCoder folder;
  folder.encodeObject(kRestorationURLKey, platform::Value(URL::fileURLWithPath(home_.documents() + "/Projects", true)));
  again->decodeRestorableStateWithCoder(folder);
  EXPECT_FALSE(again->itemManager());
}

TEST_F(NavControllerTest, Restoration_OpensNothingOutsideTheDrive) {
  // The saved state is a file of the home that anyone may edit: a document
  // named there outside the drive, or reached through a link, was opened.
  home_.account().signIn("alice");
  launch();
  testing::TempDirectory outside;
  testing::DriveTestHome::writeRaw(outside.file("Secret.txt"), "secret");
  ASSERT_EQ(::symlink(outside.path().c_str(), (home_.documents() + "/Linked").c_str()), 0);
  const std::vector<std::string> paths = {
      outside.file("Secret.txt"),
      home_.documents() + "/Linked/Secret.txt",
      home_.documents() + "/Projects/../Linked/Secret.txt",
  };
  for (const auto& path : paths) {
    ui::StateCoder coder;
    coder.encodeObject(kRestorationURLKey, platform::Value(URL::fileURLWithPath(path, false)));
    coder.encodeInteger(kRestorationPreviewModeKey, 1);
    auto restored = NavController::create();
    auto window = testing::showInWindow(restored);
    restored->decodeRestorableStateWithCoder(coder);
    EXPECT_FALSE(restored->itemManager()) << path;
  }
}

}  // namespace
}  // namespace velune
