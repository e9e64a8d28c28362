#include <unistd.h>

#include "model/FilenamePrompt.h"
#include "platform/MoveTargetPicker.h"
#include "platform/ui/Label.h"
#include "tests/browse/EditingTestCase.h"
#include "views/SimpleTextViewController.h"

namespace velune {
namespace {

using testing::clearLogs;
using testing::linesStartingWith;
using testing::loggedAt;

class NavControllerMoveTest : public testing::EditingTestCase {
 protected:
  void SetUp() override {
    EditingTestCase::SetUp();
    drill_ = home_.documents(testing::kDrillrunContainer);
    board_ = home_.documents(testing::kLumiboardContainer);
    home_.makeFolder(drill_ + "/Warmups");
    home_.writeDocument(drill_ + "/Warmups/Sprint.txt", "older");
    for (const char* name : {"/Sprint.txt", "/Jog.txt", "/Swim.txt"}) {
      home_.writeDocument(drill_ + name, "new");
    }
    // Lumiboard's top level holds a hidden folder, but no folder to show.
    home_.makeFolder(board_ + "/.cache");
    home_.writeDocument(board_ + "/Sky.png", "sky");
    home_.writeDocument(board_ + "/Sun.png", "sun");
  }
  static bool exists(const std::string& path) { return testing::DriveTestHome::exists(path); }
  static std::string read(const std::string& path) { return testing::DriveTestHome::read(path); }

  // In the folder's listing: "Select", the rows, then "Move".
  void selectAndTapMove(const std::string& folder, const std::vector<std::string>& names) {
    openFolder(folderURL(folder));
    ASSERT_TRUE(tapSelect());
    for (const auto& name : names) {
      ASSERT_TRUE(tapRow(fileURL(folder + "/" + name))) << name;
    }
    settle();
    clearLogs();
    ASSERT_TRUE(tapToolbarButton(nav_->barButtonMoveItem()));
    settle();
  }
  std::string errorLine() {
    const auto& prompt = nav_->folderPromptAlert();
    if (!prompt || prompt->errMsgViewController()->view()->isHidden()) {
      return {};
    }
    return prompt->errMsgViewController()->messageLabel()->text();
  }
  bool doneEnabled() { return nav_->folderPromptAlert()->defaultAction()->isEnabled(); }

  std::string drill_, board_;
};

TEST_F(NavControllerMoveTest, NoFolderInTheContainer_AsksForANewFolderAndMovesTheItemsIntoIt) {
  launch();
  selectAndTapMove(board_, {"Sky.png", "Sun.png"});
  EXPECT_TRUE(loggedAt(kLogInfo, "Pressed Move"));
  EXPECT_TRUE(loggedAt(kLogInfo, "Prompting for Move Target, 2 items"));
  EXPECT_FALSE(nav_->editMode()) << "a move leaves edit mode first";
  auto prompt = presentedAlert();
  ASSERT_TRUE(prompt) << "a hidden folder is no place to move to";
  EXPECT_EQ(prompt, nav_->folderPromptAlert()->alert());
  EXPECT_EQ(prompt->alertTitle(), "Move 2 Items");
  ASSERT_TRUE(action("Move"));
  EXPECT_FALSE(doneEnabled());
  EXPECT_EQ(errorLine(), "");

  // Names at the edge of the rule, as typed.
  type(".Trips");
  EXPECT_EQ(errorLine(), "Choose a different name.");
  EXPECT_FALSE(doneEnabled());
  for (const char* bad : {"a/b", "a:b", "..", "a\tb", "a\nb", "a\u2028b", "a\u200Bb", "a\U000E0001b", "a\u0378b"}) {
    type(bad);
    EXPECT_FALSE(doneEnabled()) << bad;
    EXPECT_FALSE(errorLine().empty()) << bad;
  }
  type("   ");
  EXPECT_EQ(errorLine(), "");
  EXPECT_FALSE(doneEnabled());
  EXPECT_FALSE(choose("Move")) << "a disabled Done takes no tap";

  type("  Trips  ");
  EXPECT_TRUE(doneEnabled());
  EXPECT_EQ(errorLine(), "");
  ASSERT_TRUE(choose("Move"));
  EXPECT_FALSE(presented()) << "the prompt closes once the items are moved";
  EXPECT_TRUE(exists(board_ + "/Trips/Sky.png"));
  EXPECT_TRUE(exists(board_ + "/Trips/Sun.png"));
  EXPECT_FALSE(exists(board_ + "/Sky.png"));
  EXPECT_FALSE(exists(board_ + "/  Trips  "));
  EXPECT_TRUE(exists(home_.cloudPathOf(board_ + "/Trips/Sky.png")));
  // The listing shows the new folder and no longer the pictures.
  std::vector<std::string> names;
  for (const auto& url : top()->containedItems()) {
    names.push_back(url.lastPathComponent());
  }
  EXPECT_EQ(names, (std::vector<std::string>{"Trips"}));
}

TEST_F(NavControllerMoveTest, TakenNames_KeepThePromptOpenAndNothingIsOverwritten) {
  launch();
  selectAndTapMove(board_, {"Sky.png"});
  ASSERT_TRUE(presentedAlert());
  EXPECT_EQ(presentedAlert()->alertTitle(), "Move 1 Item");

  // The name of an existing item.
  type("Sun.png");
  ASSERT_TRUE(doneEnabled());
  ASSERT_TRUE(choose("Move"));
  ASSERT_TRUE(presentedAlert()) << "the prompt stays open";
  EXPECT_TRUE(linesStartingWith("Item exists at path: ").size() == 1U);
  const std::string taken = errorLine();
  EXPECT_FALSE(taken.empty());
  EXPECT_EQ(read(board_ + "/Sun.png"), "sun");
  EXPECT_TRUE(exists(board_ + "/Sky.png"));

  // A folder another device made under the name just typed, before Done.
  type("Later");
  EXPECT_EQ(errorLine(), "") << "a valid edit clears the message";
  home_.makeFolder(board_ + "/Later");
  ASSERT_TRUE(choose("Move"));
  ASSERT_TRUE(presentedAlert()) << "the prompt stays open";
  EXPECT_EQ(errorLine(), taken);
  EXPECT_TRUE(exists(board_ + "/Sky.png"));

  // A name the file system refuses (too long) is told in the prompt.
  type(std::string(300, 'x'));
  ASSERT_TRUE(doneEnabled()) << "the rule sets no length; the file system tells";
  ASSERT_TRUE(choose("Move"));
  ASSERT_TRUE(presentedAlert()) << "the prompt stays open";
  EXPECT_FALSE(errorLine().empty());
  EXPECT_NE(errorLine(), taken);
  EXPECT_FALSE(exists(board_ + "/" + std::string(300, 'x')));

  // The folder is made, but the item went away meanwhile: the prompt stays
  // with the error, the empty folder remains, and the same name is then taken.
  type("Gone");
  ASSERT_EQ(::unlink((board_ + "/Sky.png").c_str()), 0);
  ASSERT_TRUE(choose("Move"));
  ASSERT_TRUE(presentedAlert()) << "the prompt stays open";
  EXPECT_TRUE(exists(board_ + "/Gone"));
  const std::string moveError = errorLine();
  EXPECT_FALSE(moveError.empty());
  EXPECT_NE(moveError, taken);
  ASSERT_TRUE(choose("Move"));
  ASSERT_TRUE(presentedAlert()) << "the prompt stays open";
  EXPECT_EQ(errorLine(), taken);
  ASSERT_TRUE(choose("Cancel"));
  EXPECT_FALSE(presented());
}

TEST_F(NavControllerMoveTest, Picker_MovesIntoTheChosenFolderUnderAFreeNameAndCountsFailures) {
  launch();
  selectAndTapMove(drill_, {"Sprint.txt", "Jog.txt", "Swim.txt"});
  auto picker = std::dynamic_pointer_cast<platform::MoveTargetPicker>(presented());
  ASSERT_TRUE(picker);
  EXPECT_EQ(picker->modalPresentationStyle(), ui::ModalPresentationStyle::OverCurrentContext);
  EXPECT_TRUE(loggedAt(kLogDebug, "Presented moveTarget"));
  EXPECT_EQ(picker->urlsToMove().size(), 3U);
  std::optional<size_t> warmups;
  for (size_t row = 0; row < picker->rows().size(); ++row) {
    if (picker->rows()[row].folder.path() == folderURL(drill_ + "/Warmups").path()) {
      warmups = row;
    }
  }
  ASSERT_TRUE(warmups);
  // Two of the three vanish before the choice (another process took them).
  ASSERT_EQ(::unlink((drill_ + "/Jog.txt").c_str()), 0);
  ASSERT_EQ(::unlink((drill_ + "/Swim.txt").c_str()), 0);
  picker->listView()->scrollToRow(*warmups);
  ASSERT_TRUE(picker->listView()->cellForRow(*warmups)->tap());
  settle();
  // The one left is moved beside its namesake, which keeps its contents.
  EXPECT_EQ(read(drill_ + "/Warmups/Sprint.txt"), "older");
  EXPECT_EQ(read(drill_ + "/Warmups/Sprint 2.txt"), "new");
  EXPECT_FALSE(exists(drill_ + "/Sprint.txt"));
  for (const auto& url : top()->containedItems()) {
    EXPECT_NE(url.lastPathComponent(), "Sprint.txt") << "the listing follows the move";
  }
  auto alert = presentedAlert();
  ASSERT_TRUE(alert);
  EXPECT_EQ(alert->alertTitle(), "2 items could not be moved");
  EXPECT_FALSE(alert->message());
  ASSERT_TRUE(choose("OK"));

  // One failure shows its own error.
  nav_->moveItemsToDirectoryAndShowErrors({fileURL(drill_ + "/Jog.txt")}, folderURL(drill_ + "/Warmups"));
  ASSERT_TRUE(presentedAlert());
  ASSERT_TRUE(presentedAlert()->alertTitle());
  EXPECT_NE(presentedAlert()->alertTitle()->find("Jog.txt"), std::string::npos) << *presentedAlert()->alertTitle();
}

TEST_F(NavControllerMoveTest, PickerOrPrompt_AnUnknownContainerGetsThePickerAndNewFolderAloneCreates) {
  launch();
  // The drive's top level belongs to no container: the picker, whatever is there.
  EXPECT_TRUE(nav_->containerHasSubfolders(folderURL(home_.root())));
  nav_->showMoveTargetForItems({fileURL(drill_ + "/Jog.txt")}, folderURL(home_.root()));
  ASSERT_TRUE(std::dynamic_pointer_cast<platform::MoveTargetPicker>(presented()));
  ASSERT_TRUE(std::dynamic_pointer_cast<platform::MoveTargetPicker>(presented())->cancelButton()->tap());
  settle();
  EXPECT_FALSE(presented());
  EXPECT_TRUE(exists(drill_ + "/Jog.txt"));

  // New Folder from the toolbar: titled so, its button "Create", nothing moved.
  openFolder(folderURL(board_));
  ASSERT_TRUE(tapSelect());
  clearLogs();
  ASSERT_TRUE(tapToolbarButton(nav_->barButtonNewFolder()));
  EXPECT_TRUE(loggedAt(kLogInfo, "Pressed NewFolder"));
  EXPECT_TRUE(nav_->editMode()) << "a new folder alone keeps edit mode";
  ASSERT_TRUE(presentedAlert());
  EXPECT_EQ(presentedAlert()->alertTitle(), "New Folder");
  EXPECT_EQ(presentedAlert()->textFields().front()->placeholder(), "Folder Name");
  ASSERT_TRUE(action("Create"));
  type("Ideas");
  ASSERT_TRUE(choose("Create"));
  EXPECT_FALSE(presented());
  EXPECT_TRUE(exists(board_ + "/Ideas"));
  EXPECT_TRUE(exists(board_ + "/Sky.png"));
  // Now Lumiboard has a folder: a move gets the picker.
  EXPECT_TRUE(nav_->containerHasSubfolders(fileURL(board_ + "/Sky.png")));

  // Without a folder nothing is asked.
  nav_->showNewFolderPromptDuringMove(std::nullopt, {});
  EXPECT_TRUE(loggedAt(kLogWarning, "dlc.presentedURL is nil"));
  EXPECT_FALSE(presented());
}

}  // namespace
}  // namespace velune
