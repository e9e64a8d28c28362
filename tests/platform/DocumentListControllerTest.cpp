#include "platform/DocumentListController.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

#include "host/GeneratedDocumentIconService.h"
#include "platform/DocumentListCell.h"
#include "platform/NameCollator.h"
#include "platform/SearchOverlay.h"
#include "platform/SyncURLService.h"
#include "platform/UnavailableViewController.h"
#include "platform/ViewControllerClasses.h"
#include "tests/support/BrowseTestHome.h"

namespace velune {
namespace {

using platform::DocumentListController;
using platform::DocumentListRowAction;
using platform::URL;

// Records what a listing tells its delegate.
class RecordingDelegate final : public platform::DocumentListControllerDelegate {
 public:
  using platform::DocumentListControllerDelegate::documentListControllerPerformAction;
  void documentListControllerDidSelectContainerWithViewController(
      DocumentListController&, const std::shared_ptr<DocumentListController>& listing) override {
    folders.push_back(listing);
  }
  void documentListControllerItemsChanged(DocumentListController&) override { ++changes; }
  void documentListControllerDidSelectItemAtURL(DocumentListController&, const URL& url) override {
    documents.push_back(url);
  }
  void documentListControllerPerformAction(DocumentListController&, DocumentListRowAction action, const URL& url,
                                           const std::shared_ptr<ui::View>& origin,
                                           std::function<void()> completion) override {
    actions.push_back({action, url, origin});
    completions.push_back(std::move(completion));
  }
  struct Action {
    DocumentListRowAction action;
    URL url;
    std::shared_ptr<ui::View> origin;
  };
  std::vector<std::shared_ptr<DocumentListController>> folders;
  std::vector<URL> documents;
  std::vector<Action> actions;
  std::vector<std::function<void()>> completions;
  int changes = 0;
};

class DocumentListControllerTest : public ::testing::Test {
 protected:
  void TearDown() override { testing::runMainUntilIdle(); }

  std::vector<std::string> names(const DocumentListController& listing) {
    std::vector<std::string> out;
    for (const auto& item : listing.listing().items()) {
      out.push_back(item.displayName);
    }
    return out;
  }
  std::shared_ptr<DocumentListController> open(const std::string& path) {
    auto listing = DocumentListController::listingForFolder(URL::fileURLWithPath(path, true));
    listing->setDelegate(delegate_);
    testing::settleListings(home_);
    return listing;
  }

  testing::BrowseTestHome home_;
  std::shared_ptr<RecordingDelegate> delegate_ = std::make_shared<RecordingDelegate>();
};

TEST_F(DocumentListControllerTest, Read_OrderedAsPeopleExpectWithHiddenLeftOutAndCloudOnlyUnderItsOwnURL) {
  const std::string docs = home_.documents();
  for (const char* name : {"file10.txt", "File2.txt", "file1.txt", "Zeta.txt", "apple.txt", "\xC3\xA9" "clair.txt",
                           ".hidden.txt"}) {
    home_.writeDocument(docs + "/" + name, "x");
  }
  home_.makeFolder(docs + "/Beta");
  home_.makeFolder(docs + "/.secret");
  home_.writeCloudOnly(docs + "/Cloud.pdf", std::string(1234, 'c'));
  home_.makeFolder(docs + "/Mood.board");
  auto listing = open(docs);

  EXPECT_EQ(names(*listing), (std::vector<std::string>{"apple.txt", "Beta", "Cloud.pdf", "\xC3\xA9" "clair.txt",
                                                       "file1.txt", "File2.txt", "file10.txt", "Mood.board",
                                                       "Zeta.txt"}));
  EXPECT_EQ(listing->title(), "Velune Drive");
  EXPECT_EQ(listing->presentedURL(), URL::fileURLWithPath(docs, true));
  const auto& items = listing->listing().items();
  EXPECT_TRUE(items[1].entry.url.hasDirectoryPath());
  // The cloud-only document: its logical URL, with its placeholder as physical URL.
  EXPECT_EQ(items[2].entry.url, URL::fileURLWithPath(docs + "/Cloud.pdf", false));
  ASSERT_NE(items[2].entry.url.physicalURL(), nullptr);
  EXPECT_EQ(items[2].entry.url.physicalURL()->lastPathComponent(), ".Cloud.pdf.placeholder");
  EXPECT_TRUE(items[2].entry.isCloudOnly);
  ASSERT_TRUE(items[2].record);
  EXPECT_EQ(items[2].record->size, 1234U);
  EXPECT_TRUE(items[7].entry.isPackage);
  EXPECT_EQ(listing->containedItems().size(), 9U);
  EXPECT_EQ(delegate_->changes, 1);  // one report for the whole first read

  // The collator alone: numbers by value, case ignored, invalid UTF-8 kept in a stable place.
  const platform::NameCollator collator;
  EXPECT_TRUE(collator.less("Item 9", "item 10"));
  EXPECT_TRUE(collator.less("a", "B"));
  EXPECT_TRUE(collator.less("A.txt", "a.txt") != collator.less("a.txt", "A.txt"));
  EXPECT_FALSE(collator.sortKey("bad\xFF").empty());
}

TEST_F(DocumentListControllerTest, Root_ShowsEveryAppContainerAsAFolderAndTheDefaultContainersItems) {
  home_.writeDocument(home_.documents() + "/Welcome.txt", "hi");
  home_.makeFolder(home_.documents() + "/Projects");
  auto root = std::make_shared<DocumentListController>();
  root->setDelegate(delegate_);
  testing::settleListings(home_);
  EXPECT_TRUE(root->isRootListing());
  EXPECT_EQ(root->title(), "Velune Drive");
  EXPECT_EQ(root->presentedURL(), home_.services().syncURLs->cloudDocumentsRootURL());
  EXPECT_EQ(names(*root), (std::vector<std::string>{"Drillrun", "Jotter", "Lumiboard", "Projects", "Welcome.txt"}));
  EXPECT_TRUE(root->listing().items()[0].isContainer);
  EXPECT_EQ(root->listing().items()[0].entry.url,
            URL::fileURLWithPath(home_.documents(testing::kDrillrunContainer), true));
  EXPECT_EQ(delegate_->changes, 1);

  // A new container folder appears at the top level.
  host::makeDirectories(home_.root() + "/com.example.New/Documents");
  testing::settleListings(home_);
  EXPECT_EQ(root->containedItems().size(), 6U);
}

TEST_F(DocumentListControllerTest, LiveUpdates_FollowAnotherProcessTheCloudAndAVanishingFolder) {
  const std::string folder = home_.makeFolder(home_.documents() + "/Work");
  home_.writeDocument(folder + "/a.txt", "a");
  auto listing = open(folder);
  ASSERT_EQ(listing->containedItems().size(), 1U);
  const int before = delegate_->changes;

  // Another process writes a file; the cloud side adds a document.
  testing::DriveTestHome::writeRaw(folder + "/b.txt", "b");
  host::Drive::CloudDocument document;
  document.contents = "from the cloud";
  ASSERT_FALSE(home_.drive().cloudAdd("com.vorlan.drive/Documents/Work/c.txt", document));
  testing::settleListings(home_);
  EXPECT_EQ(names(*listing), (std::vector<std::string>{"a.txt", "b.txt", "c.txt"}));
  EXPECT_GT(delegate_->changes, before);

  // 10,000 files at once from the cloud side: one listing, rows for the screen only.
  listing->loadViewIfNeeded();
  for (int i = 0; i < 10000; ++i) {
    testing::DriveTestHome::writeRaw(folder + "/bulk " + std::to_string(i) + ".txt", "");
  }
  testing::settleListings(home_);
  EXPECT_EQ(listing->containedItems().size(), 10003U);
  EXPECT_EQ(names(*listing)[2], "bulk 0.txt");
  EXPECT_EQ(names(*listing)[3], "bulk 1.txt");
  EXPECT_EQ(names(*listing)[4], "bulk 2.txt");
  EXPECT_EQ(names(*listing).back(), "c.txt");
  EXPECT_LT(listing->rowsView().cellsMade(), 30U);

  // Select-all of 10,000 items in a set: no comparison of every pair.
  listing->setEditing(true, false);
  const int beforeSelecting = delegate_->changes;
  const auto start = std::chrono::steady_clock::now();
  std::vector<URL> all = listing->containedItems();
  all.push_back(URL::fileURLWithPath("/elsewhere"));  // not contained: dropped
  all.push_back(listing->containedItems().front());   // twice: once
  listing->setSelectedItems(all);
  EXPECT_EQ(listing->selectedItemCount(), 10003U);
  EXPECT_EQ(listing->selectedItems(), listing->containedItems());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  EXPECT_EQ(delegate_->changes, beforeSelecting + 1);
  // An item that goes away leaves the selection; leaving edit mode clears it.
  ::unlink((folder + "/bulk 5.txt").c_str());
  testing::settleListings(home_);
  EXPECT_EQ(listing->selectedItemCount(), 10002U);
  listing->setEditing(false, false);
  EXPECT_EQ(listing->selectedItemCount(), 0U);

  // The folder goes away while shown: no items, the error kept, nothing breaks.
  ASSERT_FALSE(home_.drive().removeItem(folder));
  testing::settleListings(home_);
  EXPECT_TRUE(listing->containedItems().empty());
  ASSERT_TRUE(listing->listing().failure());
  EXPECT_TRUE(listing->rowsView().visibleCells().empty());
}

TEST_F(DocumentListControllerTest, Read_AFolderThatCannotBeReadShowsNothing) {
  if (::geteuid() == 0) {
    GTEST_SKIP() << "permissions do not stop root";
  }
  const std::string folder = home_.makeFolder(home_.documents() + "/Locked");
  home_.writeDocument(folder + "/inside.txt", "x");
  ::chmod(folder.c_str(), 0);
  auto listing = open(folder);
  ::chmod(folder.c_str(), 0755);
  EXPECT_TRUE(listing->containedItems().empty());
  EXPECT_TRUE(listing->listing().failure());
}

TEST_F(DocumentListControllerTest, Rows_TapsAndActionsReachTheDelegateFromReusedCells) {
  const std::string docs = home_.documents();
  home_.makeFolder(docs + "/Folder");
  home_.writeDocument(docs + "/Note.txt", "n");
  for (int i = 0; i < 40; ++i) {
    testing::DriveTestHome::writeRaw(docs + "/x" + std::to_string(100 + i) + ".txt", "");
  }
  auto listing = open(docs);
  auto window = testing::showInWindow(listing);
  auto& rows = listing->rowsView();
  ASSERT_GT(rows.visibleCells().size(), 5U);
  const size_t made = rows.cellsMade();

  // A folder's row reports the folder's own listing; a document's row its URL.
  ASSERT_TRUE(rows.cellForRow(0)->tap());
  ASSERT_EQ(delegate_->folders.size(), 1U);
  EXPECT_EQ(delegate_->folders[0]->presentedURL(), URL::fileURLWithPath(docs + "/Folder", true));
  EXPECT_EQ(delegate_->folders[0]->title(), "Folder");
  rows.cellForRow(1)->tap();
  EXPECT_EQ(delegate_->documents, std::vector<URL>{URL::fileURLWithPath(docs + "/Note.txt", false)});
  EXPECT_EQ(rows.cellForRow(1)->accessibilityLabel(), "Note.txt");
  EXPECT_FALSE(listing->cellForRow(1)->detailLabel()->text().empty());  // its record arrived

  // Scrolling to the end reuses the cells; their identifiers stay.
  const std::string firstCell = rows.visibleCells().begin()->second->identifier();
  rows.scrollToRow(41);
  EXPECT_LE(rows.cellsMade(), made + ui::ListView::kMarginRows);
  ASSERT_TRUE(rows.cellForRow(41));
  EXPECT_EQ(rows.cellForRow(41)->accessibilityLabel(), "x139.txt");
  EXPECT_NE(window->findByIdentifier(firstCell), nullptr);
  rows.scrollToRow(0);

  // Row actions: only the allowed ones are offered; each is reported with its view.
  auto cell = listing->cellForRow(1);
  ASSERT_TRUE(cell);
  EXPECT_TRUE(cell->buttonForAction(DocumentListRowAction::Details)->isHidden());
  EXPECT_FALSE(cell->swipe());  // nothing to offer yet
  listing->setAvailableActions(platform::DocumentListAvailableActions::Details |
                               platform::DocumentListAvailableActions::Rename);
  EXPECT_FALSE(cell->buttonForAction(DocumentListRowAction::Details)->isHidden());
  EXPECT_TRUE(cell->buttonForAction(DocumentListRowAction::ActionsMenu)->isHidden());
  ASSERT_TRUE(cell->buttonForAction(DocumentListRowAction::Details)->tap());
  ASSERT_TRUE(cell->swipe());
  ASSERT_EQ(cell->actionButtons().size(), 1U);  // Rename, not Delete
  ASSERT_TRUE(cell->actionButtons()[0]->tap());
  ASSERT_EQ(delegate_->actions.size(), 2U);
  EXPECT_EQ(delegate_->actions[0].action, DocumentListRowAction::Details);
  EXPECT_EQ(delegate_->actions[0].origin, cell->buttonForAction(DocumentListRowAction::Details));
  EXPECT_EQ(delegate_->actions[1].action, DocumentListRowAction::Rename);
  EXPECT_EQ(delegate_->actions[1].url, URL::fileURLWithPath(docs + "/Note.txt", false));
  EXPECT_EQ(delegate_->actions[1].origin, cell);
  EXPECT_FALSE(cell->showsActions());

  // In edit mode a tap selects instead of opening.
  listing->setEditing(true, false);
  rows.cellForRow(0)->tap();
  EXPECT_EQ(listing->selectedItems(), std::vector<URL>{URL::fileURLWithPath(docs + "/Folder", true)});
  EXPECT_TRUE(rows.cellForRow(0)->isChecked());
  EXPECT_EQ(delegate_->folders.size(), 1U);
  listing->setSelectedItems(listing->containedItems());
  EXPECT_TRUE(rows.cellForRow(3)->isChecked());
}

TEST_F(DocumentListControllerTest, Rows_ShowTheIconOfTheirKindBesideTheName) {
  auto icons = std::make_shared<host::GeneratedDocumentIconService>(3);
  home_.services().documentIcons = icons;
  testing::installWithPhone(home_.services());
  const std::string docs = home_.documents();
  home_.makeFolder(docs + "/Folder");
  home_.writeDocument(docs + "/Note.txt", "n");
  home_.writeDocument(docs + "/Report.pdf", "%PDF-1.4");
  auto listing = open(docs);
  auto window = testing::showInWindow(listing);
  const auto small = platform::kDocumentIconFormatSmall;
  const auto folder = listing->cellForRow(0);
  const auto note = listing->cellForRow(1);
  const auto report = listing->cellForRow(2);
  ASSERT_TRUE(folder && note && report);
  EXPECT_EQ(folder->iconView()->image(), icons->iconForFile("Folder", std::string("public.folder"), small));
  EXPECT_EQ(note->iconView()->image(), icons->iconForFile("Note.txt", std::nullopt, small));
  EXPECT_EQ(report->iconView()->image(), icons->iconForFile("Report.pdf", std::nullopt, small));
  EXPECT_NE(note->iconView()->image(), report->iconView()->image());
  EXPECT_NE(folder->iconView()->image(), note->iconView()->image());
  // The icon sits at the margin and the texts move beside it.
  EXPECT_FALSE(report->iconView()->isHidden());
  EXPECT_EQ(report->iconView()->frame(), ui::Rect(16, 14, 32, 32));
  EXPECT_EQ(report->nameLabel()->frame().minX(), 60);
  EXPECT_EQ(report->detailLabel()->frame().minX(), 60);
}

TEST_F(DocumentListControllerTest, AvailableActions_EachNamedBitAllowsOnlyItsOwnAction) {
  using Available = platform::DocumentListAvailableActions;
  const std::vector<DocumentListRowAction> known{DocumentListRowAction::Delete, DocumentListRowAction::ActionsMenu,
                                                 DocumentListRowAction::Details, DocumentListRowAction::Rename};
  for (const auto bitOf : known) {
    for (const auto asked : known) {
      EXPECT_EQ(platform::allows(platform::availableActionFor(bitOf), asked), bitOf == asked)
          << static_cast<int>(bitOf) << " " << static_cast<int>(asked);
    }
  }
  // The bits are the platform's numbers: quick launch's 7, then 8 added, 15 in all.
  EXPECT_EQ(static_cast<std::uint32_t>(Available::Delete | Available::ActionsMenu | Available::Details), 7U);
  EXPECT_EQ(static_cast<std::uint32_t>(Available::Rename), 8U);
  // An action outside the four is never allowed, whatever bits a mask carries.
  const auto everyBit = static_cast<Available>(0xFFFFFFFFU);
  for (const int unknown : {-1, 4, 5, 31, 32, 1000}) {
    EXPECT_FALSE(platform::allows(everyBit, static_cast<DocumentListRowAction>(unknown))) << unknown;
  }

  // Through a listing: a row action reaches the delegate only when its bit is set.
  const std::string docs = home_.documents();
  home_.writeDocument(docs + "/Note.txt", "n");
  auto listing = open(docs);
  auto window = testing::showInWindow(listing);
  auto& rows = listing->rowsView();
  listing->setAvailableActions(everyBit);
  listing->listViewPerformRowAction(rows, 0, 4, nullptr);
  listing->listViewPerformRowAction(rows, 0, -1, nullptr);
  EXPECT_TRUE(delegate_->actions.empty());
  listing->setAvailableActions(Available::Delete | Available::Details);
  for (const auto action : known) {
    listing->listViewPerformRowAction(rows, 0, static_cast<int>(action), nullptr);
  }
  ASSERT_EQ(delegate_->actions.size(), 2U);
  EXPECT_EQ(delegate_->actions[0].action, DocumentListRowAction::Delete);
  EXPECT_EQ(delegate_->actions[1].action, DocumentListRowAction::Details);
  // The swipe offers only what the mask allows.
  const auto swiped = listing->listViewActionsForRow(rows, 0);
  ASSERT_EQ(swiped.size(), 1U);
  EXPECT_EQ(swiped[0].index, static_cast<int>(DocumentListRowAction::Delete));
}

TEST_F(DocumentListControllerTest, Hierarchy_FromTheTopLevelDownToAFolderOfTheDrive) {
  const std::string drillDocs = home_.documents(testing::kDrillrunContainer);
  home_.makeFolder(drillDocs + "/Drills/Advanced");
  home_.makeFolder(home_.documents() + "/Projects/Plans");
  home_.writeDocument(home_.documents() + "/Projects/file.txt", "f");
  const auto titles = [](const std::vector<std::shared_ptr<DocumentListController>>& stack) {
    std::vector<std::string> out;
    for (const auto& listing : stack) {
      out.push_back(listing->title().value_or("?"));
    }
    return out;
  };
  auto app = DocumentListController::listControllerHierarchyForURL(URL::fileURLWithPath(drillDocs + "/Drills/Advanced", true));
  ASSERT_TRUE(app);
  EXPECT_EQ(titles(*app), (std::vector<std::string>{"Velune Drive", "Drillrun", "Drills", "Advanced"}));
  auto own = DocumentListController::listControllerHierarchyForURL(
      URL::fileURLWithPath(home_.documents() + "/Projects/Plans", true));
  ASSERT_TRUE(own);
  EXPECT_EQ(titles(*own), (std::vector<std::string>{"Velune Drive", "Projects", "Plans"}));
  auto top = DocumentListController::listControllerHierarchyForURL(URL::fileURLWithPath(home_.root(), true));
  ASSERT_TRUE(top);
  EXPECT_EQ(top->size(), 1U);
  // Nothing for a file, a missing folder, a path outside the drive, ".." or a container's own folder.
  for (const std::string& path :
       {home_.documents() + "/Projects/file.txt", home_.documents() + "/Missing", std::string("/tmp"),
        home_.root() + "/" + testing::kDrillrunContainer}) {
    auto none = DocumentListController::listControllerHierarchyForURL(URL::fileURLWithPath(path, true));
    EXPECT_FALSE(none) << path << " gave " << (none ? none->size() : 0);
  }
}

TEST_F(DocumentListControllerTest, Search_FindsNamesAcrossTheDriveAndReportsTapsAsTheListingWould) {
  home_.makeFolder(home_.documents() + "/Reports/Old Reports");
  home_.writeDocument(home_.documents() + "/Reports/Q1 REPORT.pdf", "q");
  home_.writeDocument(home_.documents(testing::kJotterContainer) + "/report notes.txt", "n");
  home_.writeDocument(home_.documents() + "/.report-draft", "hidden");
  auto root = std::make_shared<DocumentListController>();
  root->setDelegate(delegate_);
  auto window = testing::showInWindow(root);
  testing::settleListings(home_);
  ASSERT_TRUE(root->searchButton().tap());
  testing::runMainUntilIdle();
  auto overlay = std::dynamic_pointer_cast<platform::SearchOverlay>(root->presentedViewController());
  ASSERT_TRUE(overlay);
  overlay->searchField().typeText("zzz");
  overlay->searchField().typeText("report");  // the first search is dropped
  testing::settleListings(home_);
  std::vector<std::string> found;
  for (const auto& item : overlay->results()) {
    found.push_back(item.displayName);
  }
  EXPECT_EQ(found, (std::vector<std::string>{"Old Reports", "Q1 REPORT.pdf", "report notes.txt", "Reports"}));
  EXPECT_EQ(overlay->countLabel().text(), "4 results");
  overlay->rowsView().cellForRow(0)->tap();
  ASSERT_EQ(delegate_->folders.size(), 1U);
  EXPECT_EQ(delegate_->folders[0]->presentedURL(),
            URL::fileURLWithPath(home_.documents() + "/Reports/Old Reports", true));
  overlay->rowsView().cellForRow(1)->tap();
  EXPECT_EQ(delegate_->documents.size(), 1U);
  overlay->cancelButton().tap();
  testing::runMainUntilIdle();
  EXPECT_EQ(root->presentedViewController(), nullptr);
}

TEST(ViewControllerClasses, Make_TheUnavailableScreenByNameAndNothingForUnknownNames) {
  testing::installDevice();
  auto made = platform::ViewControllerClasses::make("UnavailableViewController");
  auto screen = std::dynamic_pointer_cast<platform::UnavailableViewController>(made);
  ASSERT_TRUE(screen);
  EXPECT_EQ(screen->titleLabel().text(), "Velune Drive Is Unavailable");
  EXPECT_NE(screen->view()->findByIdentifier(screen->identifier() + ".message"), nullptr);
  EXPECT_EQ(platform::ViewControllerClasses::make("NoSuchController"), nullptr);
}

}  // namespace
}  // namespace velune
