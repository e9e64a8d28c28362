#include <unistd.h>

#include "model/DRItem.h"
#include "tests/browse/EditingTestCase.h"

namespace velune {
namespace {

using testing::clearLogs;
using testing::countOf;
using testing::linesStartingWith;
using testing::loggedAt;

class NavControllerDeleteTest : public testing::EditingTestCase {
 protected:
  void SetUp() override {
    EditingTestCase::SetUp();
    drive_ = home_.documents();
    drill_ = home_.documents(testing::kDrillrunContainer);
    jot_ = home_.documents(testing::kJotterContainer);
    for (const char* name : {"/A.txt", "/B.txt", "/C.txt"}) {
      home_.writeDocument(drive_ + name, "x");
    }
    home_.makeFolder(drive_ + "/Old");
    home_.writeDocument(drive_ + "/Old/Inside.txt", "i");
    home_.writeDocument(drill_ + "/Sprint.txt", "s");
    home_.makeFolder(drill_ + "/Warmups");
    home_.writeDocument(jot_ + "/Note.txt", "n");
  }
  static bool exists(const std::string& path) { return testing::DriveTestHome::exists(path); }
  // Selects the rows of `urls` in edit mode and taps Delete.
  void selectAndTapDelete(const std::vector<platform::URL>& urls) {
    ASSERT_TRUE(tapSelect());
    for (const auto& url : urls) {
      ASSERT_TRUE(tapRow(url)) << url.path();
    }
    settle();
    clearLogs();
    ASSERT_TRUE(tapToolbarButton(nav_->barButtonDeleteItem()));
  }

  std::string drive_, drill_, jot_;
};

TEST_F(NavControllerDeleteTest, Toolbar_ConfirmedDeleteRemovesEverythingSelectedAndEndsEditMode) {
  launch();
  selectAndTapDelete({fileURL(drive_ + "/A.txt"), folderURL(drive_ + "/Old")});
  EXPECT_EQ(linesStartingWith("Pressed Delete after selecting 2 items: ").size(), 1U);
  auto sheet = presentedAlert();
  ASSERT_TRUE(sheet);
  EXPECT_EQ(sheet->preferredStyle(), ui::AlertControllerStyle::ActionSheet);
  EXPECT_EQ(sheet->message(),
            "2 items will be permanently deleted from Velune Drive on all your devices. This action cannot be "
            "undone.");
  EXPECT_EQ(sheet->popoverPresentationController().barButtonItem(), nav_->barButtonDeleteItem());

  ASSERT_TRUE(choose("Delete from Velune Drive"));
  EXPECT_FALSE(nav_->editMode());
  EXPECT_FALSE(top()->isEditing());
  EXPECT_FALSE(exists(drive_ + "/A.txt"));
  EXPECT_FALSE(exists(drive_ + "/Old"));
  EXPECT_FALSE(exists(home_.cloudPathOf(drive_ + "/Old/Inside.txt")));
  EXPECT_TRUE(exists(drive_ + "/B.txt"));
  EXPECT_EQ(linesStartingWith("Deleting item ").size(), 2U);
  EXPECT_FALSE(presented()) << "no failure, nothing to tell";
  // The listing follows the store.
  for (const auto& url : top()->containedItems()) {
    EXPECT_NE(url.lastPathComponent(), "A.txt");
    EXPECT_NE(url.lastPathComponent(), "Old");
  }
}

TEST_F(NavControllerDeleteTest, Toolbar_CancelKeepsEditModeTheSelectionAndEveryItem) {
  launch();
  selectAndTapDelete({fileURL(drive_ + "/A.txt")});
  ASSERT_TRUE(choose("Cancel"));
  EXPECT_TRUE(loggedAt(kLogInfo, "Delete: Cancel pressed"));
  EXPECT_TRUE(nav_->editMode());
  EXPECT_EQ(top()->selectedItemCount(), 1U);
  EXPECT_TRUE(exists(drive_ + "/A.txt"));
  EXPECT_EQ(linesStartingWith("Deleting item ").size(), 0U);
}

TEST_F(NavControllerDeleteTest, Failures_ItemsRemovedElsewhereAreCountedOnceAndTheRestIsDeleted) {
  launch();
  selectAndTapDelete({fileURL(drive_ + "/A.txt"), fileURL(drive_ + "/B.txt"), fileURL(drive_ + "/C.txt")});
  // Another process removes two of them while the sheet is up.
  ASSERT_EQ(::unlink((drive_ + "/A.txt").c_str()), 0);
  ASSERT_EQ(::unlink((drive_ + "/C.txt").c_str()), 0);
  ASSERT_TRUE(choose("Delete from Velune Drive"));
  EXPECT_FALSE(exists(drive_ + "/B.txt"));
  EXPECT_EQ(linesStartingWith("Failed to delete URL ").size(), 2U);
  EXPECT_EQ(linesStartingWith("Failed to delete URL ")[0].level, kLogWarning);
  auto alert = presentedAlert();
  ASSERT_TRUE(alert);
  EXPECT_EQ(alert->alertTitle(), "2 items could not be deleted");
  EXPECT_FALSE(alert->message());
}

TEST_F(NavControllerDeleteTest, Failures_OneFailureShowsItsOwnError) {
  launch();
  selectAndTapDelete({fileURL(drive_ + "/A.txt"), fileURL(drive_ + "/B.txt")});
  ASSERT_EQ(::unlink((drive_ + "/B.txt").c_str()), 0);
  ASSERT_TRUE(choose("Delete from Velune Drive"));
  EXPECT_FALSE(exists(drive_ + "/A.txt"));
  auto alert = presentedAlert();
  ASSERT_TRUE(alert);
  ASSERT_TRUE(alert->alertTitle());
  EXPECT_NE(*alert->alertTitle(), "Qerror exception");
  EXPECT_NE(alert->alertTitle()->find("B.txt"), std::string::npos) << *alert->alertTitle();
}

TEST_F(NavControllerDeleteTest, Containers_AreEmptiedTogetherNeverMixedAndTheDrivesOwnIsRefused) {
  launch();
  // A container and a document: nothing is asked, the flow ends at once.
  int finished = 0;
  nav_->showWarningAndDeleteURLs({folderURL(drill_), fileURL(drive_ + "/A.txt")}, nullptr, top(),
                                 [&finished] { ++finished; });
  EXPECT_EQ(finished, 1);
  EXPECT_FALSE(presented());
  EXPECT_EQ(linesStartingWith("Not Deleting: mix of containers and items: ").size(), 1U);
  EXPECT_EQ(linesStartingWith("Not Deleting: mix of containers and items: ")[0].level, kLogErr);

  // Two containers from the toolbar: the sheet names them; both are emptied
  // on the phone and on the server, their folders stay.
  selectAndTapDelete({folderURL(drill_), folderURL(jot_)});
  ASSERT_TRUE(presentedAlert());
  ASSERT_TRUE(choose("Delete from Velune Drive"));
  EXPECT_EQ(linesStartingWith("Deleting container ").size(), 2U);
  EXPECT_FALSE(exists(drill_ + "/Sprint.txt"));
  EXPECT_FALSE(exists(drill_ + "/Warmups"));
  EXPECT_FALSE(exists(home_.cloudPathOf(drill_ + "/Sprint.txt")));
  EXPECT_FALSE(exists(jot_ + "/Note.txt"));
  EXPECT_TRUE(exists(drill_));
  EXPECT_TRUE(exists(drive_ + "/A.txt"));
  EXPECT_FALSE(presented());

  // One container's sheet uses the app-library text.
  finished = 0;
  nav_->showWarningAndDeleteURLs({folderURL(jot_)}, nullptr, nullptr, [&finished] { ++finished; });
  ASSERT_TRUE(presentedAlert());
  EXPECT_EQ(presentedAlert()->message(),
            "The Jotter app library, and all its documents, will be permanently deleted from Velune Drive on all "
            "your devices. This action cannot be undone.");
  ASSERT_TRUE(choose("Cancel"));
  EXPECT_EQ(finished, 1);

  // The drive's own container: refused, with no error of its own to show.
  clearLogs();
  finished = 0;
  nav_->showWarningAndDeleteURLs({folderURL(drive_)}, nullptr, nullptr, [&finished] { ++finished; });
  ASSERT_TRUE(choose("Delete from Velune Drive"));
  EXPECT_EQ(finished, 1);
  EXPECT_EQ(linesStartingWith("NOT Deleting root container ").size(), 1U);
  EXPECT_TRUE(exists(drive_ + "/A.txt"));
  ASSERT_TRUE(presentedAlert());
  EXPECT_EQ(presentedAlert()->alertTitle(), "Qerror exception");
}

TEST_F(NavControllerDeleteTest, RowAction_DeletesOneItemAnchoredAtTheRowAndCallsTheListingsCompletion) {
  launch();
  auto listing = top();
  auto row = std::make_shared<ui::View>();
  row->setFrame(ui::Rect(0, 100, 300, 44));
  int completions = 0;
  nav_->documentListControllerPerformAction(*listing, platform::DocumentListRowAction::Delete,
                                            fileURL(drive_ + "/C.txt"), row, [&completions] { ++completions; });
  auto sheet = presentedAlert();
  ASSERT_TRUE(sheet);
  EXPECT_EQ(
      sheet->message(),
      "\"C.txt\" will be permanently deleted from Velune Drive on all your devices. This action cannot be undone.");
  const auto& popover = sheet->popoverPresentationController();
  EXPECT_EQ(popover.sourceView(), row);
  EXPECT_EQ(popover.sourceRect(), ui::Rect(0, 22, 300, 0));
  EXPECT_EQ(completions, 0);
  ASSERT_TRUE(choose("Delete from Velune Drive"));
  EXPECT_EQ(completions, 1);
  EXPECT_FALSE(exists(drive_ + "/C.txt"));

  // The row of an item that is already gone: nothing can be said about it, nothing asked.
  nav_->documentListControllerPerformAction(*listing, platform::DocumentListRowAction::Delete,
                                            fileURL(drive_ + "/C.txt"), row, [&completions] { ++completions; });
  EXPECT_FALSE(presented());
  EXPECT_EQ(completions, 2);
  // An empty selection from the toolbar ends at once, too.
  ASSERT_TRUE(tapSelect());
  nav_->showWarningAndDeleteDocument();
  EXPECT_FALSE(presented());
  EXPECT_TRUE(nav_->editMode());
}

}  // namespace
}  // namespace velune
