#include "tests/browse/EditingTestCase.h"

namespace velune {
namespace {

using testing::clearLogs;
using testing::countOf;
using testing::linesStartingWith;
using testing::loggedAt;

class NavControllerEditModeTest : public testing::EditingTestCase {
 protected:
  void SetUp() override {
    EditingTestCase::SetUp();
    drive_ = home_.documents();
    drill_ = home_.documents(testing::kDrillrunContainer);
    board_ = home_.documents(testing::kLumiboardContainer);
    jot_ = home_.documents(testing::kJotterContainer);
    home_.writeDocument(drive_ + "/Welcome.txt", "hi");
    home_.makeFolder(drive_ + "/Projects");
    home_.makeFolder(drill_ + "/Warmups");
    home_.writeDocument(drill_ + "/Sprint.txt", "s");
    home_.makeFolder(board_ + "/Trips");
    home_.makeFolder(board_ + "/Mood.board");
    home_.writeDocument(board_ + "/Mood.board/board.json", "{}");
    home_.writeDocument(board_ + "/Sky.png", "png");
    home_.writeDocument(jot_ + "/Note.txt", "n");
  }
  bool moveEnabled() { return nav_->barButtonMoveItem()->isEnabled(); }
  bool deleteEnabled() { return nav_->barButtonDeleteItem()->isEnabled(); }
  bool newFolderEnabled() { return nav_->barButtonNewFolder()->isEnabled(); }

  std::string drive_, drill_, board_, jot_;
};

TEST_F(NavControllerEditModeTest, Toolbar_ButtonsFollowTheSelectionAndTheTitleCountsIt) {
  launch();
  ASSERT_TRUE(tapSelect());
  EXPECT_TRUE(loggedAt(kLogInfo, "Begin Edit mode"));
  auto root = top();
  EXPECT_TRUE(root->isEditing());
  EXPECT_EQ(root->title(), "Select Items");
  EXPECT_EQ(root->navigationItem().rightBarButtonItem()->systemItem(), ui::BarButtonSystemItem::Cancel);
  EXPECT_TRUE(root->navigationItem().hidesBackButton());
  ASSERT_EQ(root->toolbarItems().size(), 5U);
  EXPECT_EQ(root->toolbarItems()[2], nav_->barButtonMoveItem());
  EXPECT_EQ(root->toolbarItems()[4], nav_->barButtonDeleteItem());
  // Nothing selected: neither Move nor Delete, and the buttons themselves take no tap.
  EXPECT_FALSE(moveEnabled());
  EXPECT_FALSE(deleteEnabled());
  EXPECT_FALSE(tapToolbarButton(nav_->barButtonDeleteItem()));
  EXPECT_FALSE(presented());
  // The drive's top level belongs to no container: no new folder there.
  EXPECT_FALSE(newFolderEnabled());
  EXPECT_EQ(linesStartingWith("Couldn't get container for URL ").size(), 1U);
  EXPECT_EQ(linesStartingWith("Couldn't get container for URL ")[0].level, kLogErr);

  // Two containers: deleted together, never moved.
  ASSERT_TRUE(tapRow(folderURL(drill_)));
  ASSERT_TRUE(tapRow(folderURL(jot_)));
  settle();
  EXPECT_EQ(root->title(), "2 Items Selected");
  EXPECT_TRUE(deleteEnabled());
  EXPECT_FALSE(moveEnabled());
  EXPECT_TRUE(loggedAt(kLogDebug, "DLC selected item count is 2"));
  // A container and a document: neither.
  ASSERT_TRUE(tapRow(fileURL(drive_ + "/Welcome.txt")));
  settle();
  EXPECT_EQ(root->title(), "3 Items Selected");
  EXPECT_FALSE(deleteEnabled());
  EXPECT_FALSE(moveEnabled());
  // Deselecting the containers leaves the document: both again.
  ASSERT_TRUE(tapRow(folderURL(drill_)));
  ASSERT_TRUE(tapRow(folderURL(jot_)));
  settle();
  EXPECT_EQ(root->title(), "1 Item Selected");
  EXPECT_TRUE(deleteEnabled());
  EXPECT_TRUE(moveEnabled());

  // Select All, then Cancel: the selection is logged and edit mode ends.
  nav_->selectAllItems();
  settle();
  EXPECT_TRUE(loggedAt(kLogInfo, "Pressed SelectAll"));
  EXPECT_EQ(root->selectedItemCount(), root->containedItems().size());
  clearLogs();
  ASSERT_TRUE(tapCancel());
  EXPECT_EQ(linesStartingWith("EndEditMode.  Selected ").size(), 1U);
  EXPECT_FALSE(nav_->editMode());
  EXPECT_FALSE(root->isEditing());
  EXPECT_EQ(root->title(), "Velune Drive");
  EXPECT_FALSE(nav_->barButtonMoveItem());
}

TEST_F(NavControllerEditModeTest, NewFolderAndMove_FollowTheContainersFolderDepth) {
  launch();
  // Any depth (Drillrun): new folders everywhere, folders move.
  openFolder(folderURL(drill_));
  ASSERT_TRUE(tapSelect());
  EXPECT_TRUE(newFolderEnabled());
  EXPECT_TRUE(loggedAt(kLogDebug, "Container com.vorlan.Drillrun supports any folder. Enabling new folder button"));
  ASSERT_TRUE(tapRow(folderURL(drill_ + "/Warmups")));
  ASSERT_TRUE(tapRow(fileURL(drill_ + "/Sprint.txt")));
  settle();
  EXPECT_TRUE(moveEnabled());
  ASSERT_TRUE(tapCancel());
  nav_->popViewControllerAnimated(false);
  settle();

  // One level (Lumiboard): a new folder at the top, none a level down; a
  // folder and a document cannot move, a package and a document can.
  openFolder(folderURL(board_));
  clearLogs();
  ASSERT_TRUE(tapSelect());
  EXPECT_TRUE(newFolderEnabled());
  EXPECT_TRUE(loggedAt(
      kLogDebug, "Container com.vorlan.lumiboard supports one folder. File is depth 0. Enabling new folder button"));
  ASSERT_TRUE(tapRow(folderURL(board_ + "/Mood.board")));
  ASSERT_TRUE(tapRow(fileURL(board_ + "/Sky.png")));
  settle();
  EXPECT_TRUE(moveEnabled()) << "a package is a document";
  ASSERT_TRUE(tapRow(folderURL(board_ + "/Trips")));
  settle();
  EXPECT_FALSE(moveEnabled());
  EXPECT_TRUE(deleteEnabled());
  ASSERT_TRUE(tapCancel());
  openFolder(folderURL(board_ + "/Trips"));
  clearLogs();
  ASSERT_TRUE(tapSelect());
  EXPECT_FALSE(newFolderEnabled());
  EXPECT_TRUE(loggedAt(
      kLogDebug, "Container com.vorlan.lumiboard supports one folder. File is depth 1. Disabling new folder button"));
  ASSERT_TRUE(tapCancel());
  nav_->popViewControllerAnimated(false);
  nav_->popViewControllerAnimated(false);
  settle();

  // No folders (Jotter).
  openFolder(folderURL(jot_));
  clearLogs();
  ASSERT_TRUE(tapSelect());
  EXPECT_FALSE(newFolderEnabled());
  EXPECT_TRUE(loggedAt(kLogDebug, "Container com.vorlan.Jotter supports no folders. Disabling new folder button"));
  ASSERT_TRUE(tapCancel());
  nav_->popViewControllerAnimated(false);
  settle();

  // The drive's own container declares nothing: any depth.
  openFolder(folderURL(drive_ + "/Projects"));
  clearLogs();
  ASSERT_TRUE(tapSelect());
  EXPECT_TRUE(newFolderEnabled());
  EXPECT_TRUE(loggedAt(kLogDebug, "Container com.vorlan.drive has no depth. Enabling new folder button"));
  ASSERT_TRUE(tapCancel());
}

TEST_F(NavControllerEditModeTest, UnknownDepthOption_DisablesNewFolderWithAWarning) {
  testing::DriveTestHome::writeRaw(home_.layout().containersJson(),
                                   R"({"containers": [{"identifier": "com.vorlan.drive", "name": "Velune Drive"},
          {"identifier": "com.vorlan.Drillrun", "name": "Drillrun", "folderDepth": "two"}]})");
  launch();
  openFolder(folderURL(drill_));
  ASSERT_TRUE(tapSelect());
  EXPECT_FALSE(newFolderEnabled());
  EXPECT_TRUE(
      loggedAt(kLogWarning, "Container com.vorlan.Drillrun has unknown depth option two. Disabling new folder button"));
  ASSERT_TRUE(tapRow(folderURL(drill_ + "/Warmups")));
  settle();
  EXPECT_FALSE(moveEnabled()) << "folders move only where any depth is allowed";
}

}  // namespace
}  // namespace velune
