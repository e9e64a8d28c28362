// The navigation controller opening documents: a tapped row goes to the
// document's default application or into the preview item manager's pages,
// a launch URL builds the stack down to the document's page, and the manager
// (which holds the controller strongly) is dropped when a listing is on top
// again. On a temporary home with the real listings, drive and downloads.

#include <gtest/gtest.h>

#include "browse/NavController.h"
#include "diag/DRLogging.h"
#include "diag/NetworkWatcher.h"
#include "host/HostAppRegistry.h"
#include "host/HostNetworkActivityIndicator.h"
#include "host/drive/BuiltinTypeRegistry.h"
#include "host/drive/HostURLResourceService.h"
#include "model/DRItem.h"
#include "platform/DispatchQueue.h"
#include "platform/DocumentListCell.h"
#include "platform/Platform.h"
#include "platform/ui/AlertController.h"
#include "preview/PreviewDownloadViewController.h"
#include "preview/PreviewItemManager.h"
#include "tests/support/BrowseTestHome.h"
#include "tests/support/LogLines.h"

namespace velune {
namespace {

using platform::DocumentListController;
using platform::URL;

// An application that edits PDF documents in place.
constexpr const char* kApps = R"({"applications": [
  {"identifier": "com.example.pages", "name": "Pages Reader", "opensInPlace": true, "defaultFor": ["public.pdf"]}
]})";

class NavControllerPreviewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    testing::DriveTestHome::writeRaw(home_.layout().appsJson(), kApps);
    registry_ = std::make_shared<host::HostAppRegistry>(home_.layout().appsJson(), home_.driveServices().resources,
                                                        home_.driveServices().types);
    home_.services().apps = registry_;
    home_.services().networkActivityIndicator = std::make_shared<host::HostNetworkActivityIndicator>();
    platform::Platform::install(home_.services());
    NetworkWatcher::sharedNetworkWatcher()._updateState(NetworkStateWiFi);
    home_.writeDocument(home_.documents() + "/Brief.pdf", "%PDF-1.4\n%%EOF\n");
    home_.writeDocument(home_.documents() + "/Welcome.txt", "hi");
    home_.writeCloudOnly(home_.documents() + "/Zebra.txt", "from the cloud");
    home_.account().signIn("alice");
    nav_ = NavController::create();
    window_ = testing::showInWindow(nav_);
    settle();
    testing::clearLogs();
  }
  void TearDown() override {
    if (const auto manager = nav_->itemManager()) {
      manager->cancelDownload();
      manager->downloadQueue()->sync([] {});
    }
    nav_->endPreview();
    testing::runMainUntilIdle();
    window_.reset();
    nav_.reset();
    testing::runMainUntilIdle();
  }

  void settle() { testing::settleListings(home_); }
  std::shared_ptr<DocumentListController> listing() { return nav_->getTopDocumentListController(); }
  std::string topKind() const {
    const auto top = nav_->topViewController();
    return top ? std::string(top->kind()) : std::string("(none)");
  }
  // Taps the row of `name` in the top listing, then lets the tap's tasks run.
  void tapRow(const std::string& name) {
    const auto top = listing();
    ASSERT_TRUE(top);
    const auto& items = top->containedItems();
    for (size_t row = 0; row < items.size(); ++row) {
      if (items[row].lastPathComponent() == name) {
        ASSERT_TRUE(top->cellForRow(row)->tap());
        testing::runMainUntilIdle();
        return;
      }
    }
    FAIL() << name << " is not listed";
  }
  void finishDownloads() {
    ASSERT_TRUE(nav_->itemManager());
    nav_->itemManager()->downloadQueue()->sync([] {});
    testing::runMainUntilIdle();
  }

  testing::BrowseTestHome home_;
  std::shared_ptr<host::HostAppRegistry> registry_;
  std::shared_ptr<NavController> nav_;
  std::shared_ptr<ui::Window> window_;
};

TEST_F(NavControllerPreviewTest, Tap_ADocumentGoesToItsInPlaceAppElseIntoThePreviewAndBackDropsTheManager) {
  ASSERT_EQ(nav_->viewControllers().size(), 1U);

  // A PDF has an application that edits it in place: it is handed over, nothing is pushed.
  tapRow("Brief.pdf");
  ASSERT_EQ(registry_->openedDocuments().size(), 1U);
  EXPECT_EQ(registry_->openedDocuments()[0].bundleIdentifier, "com.example.pages");
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "openInDefaultApp returned YES, app launched"));
  EXPECT_EQ(nav_->viewControllers().size(), 1U);
  EXPECT_FALSE(nav_->itemManager());

  // A text on the phone: the document preview of a new manager in mode 0.
  tapRow("Welcome.txt");
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "openInDefaultApp returned NO, showing preview"));
  ASSERT_EQ(nav_->viewControllers().size(), 2U);
  EXPECT_EQ(topKind(), "GlimpseItemController");
  const auto manager = nav_->itemManager();
  ASSERT_TRUE(manager);
  EXPECT_EQ(manager->mode(), 0);
  EXPECT_EQ(manager->navigationController(), nav_);
  EXPECT_TRUE(manager->isPresentingFiles());

  // Back: the listing is on top again, so the manager stops presenting and is dropped.
  nav_->popViewControllerAnimated(false);
  testing::runMainUntilIdle();
  EXPECT_EQ(nav_->viewControllers().size(), 1U);
  EXPECT_FALSE(nav_->itemManager());
  EXPECT_FALSE(manager->isPresentingFiles());
  EXPECT_EQ(registry_->openedDocuments().size(), 1U);
}

TEST_F(NavControllerPreviewTest, Tap_ACloudOnlyDocumentDownloadsOnItsPageAndItsPreviewTakesThePagesPlace) {
  const std::string zebra = home_.documents() + "/Zebra.txt";
  tapRow("Zebra.txt");
  // The download may already have ended while the tap's tasks ran: its page is known from the log.
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Preview: File doesn't exist, using PreviewDownloadViewController"));
  ASSERT_TRUE(nav_->itemManager());
  EXPECT_TRUE(nav_->itemManager()->autoDownload());  // small and previewable, on Wi-Fi
  finishDownloads();
  EXPECT_EQ(testing::DriveTestHome::read(zebra), "from the cloud");
  EXPECT_EQ(topKind(), "GlimpseItemController");
  EXPECT_EQ(nav_->viewControllers().size(), 2U);  // replaced, not pushed
}

TEST_F(NavControllerPreviewTest, Tap_ADocumentThatVanishedIsToldAndTheStackRebuilt) {
  const auto before = listing();
  ASSERT_FALSE(home_.drive().removeItem(home_.documents() + "/Welcome.txt"));
  // The row is still there: the listing has not caught up with the removal.
  tapRow("Welcome.txt");
  const auto alert = std::dynamic_pointer_cast<ui::AlertController>(nav_->presentedViewController());
  ASSERT_TRUE(alert);
  EXPECT_NE(listing(), before);  // a fresh root listing
  EXPECT_FALSE(nav_->itemManager());
  alert->dismissViewControllerAnimated(false);
}

TEST_F(NavControllerPreviewTest, LaunchURL_EndsTheStackWithTheDocumentsPageOfTheMode) {
  const URL welcome = URL::fileURLWithPath(home_.documents() + "/Welcome.txt", false);
  EXPECT_TRUE(nav_->showURLPreview(welcome, 1));
  settle();
  ASSERT_EQ(nav_->viewControllers().size(), 2U);
  EXPECT_EQ(topKind(), "PreviewDetailsViewController");
  ASSERT_TRUE(nav_->itemManager());
  EXPECT_EQ(nav_->itemManager()->mode(), 1);

  // A cloud-only document in mode 0: its download page, then its preview.
  EXPECT_TRUE(nav_->showURLPreview(home_.url(home_.documents() + "/Zebra.txt"), 0));
  EXPECT_EQ(topKind(), "PreviewDownloadViewController");  // the download's end reaches the main queue later
  finishDownloads();
  EXPECT_EQ(topKind(), "GlimpseItemController");
}

}  // namespace
}  // namespace velune
