#include <unistd.h>

#include "host/HostAppRegistry.h"
#include "host/drive/BuiltinTypeRegistry.h"
#include "host/drive/DemoHome.h"
#include "host/drive/HostURLResourceService.h"
#include "model/FilenamePrompt.h"
#include "platform/DocumentListCell.h"
#include "platform/MoveTargetPicker.h"
#include "platform/ShareMenuController.h"
#include "platform/ui/Label.h"
#include "preview/PreviewItemManager.h"
#include "tests/browse/EditingTestCase.h"
#include "views/SimpleTextViewController.h"

namespace velune {
namespace {

using platform::DocumentListRowAction;
using testing::clearLogs;
using testing::linesStartingWith;
using testing::loggedAt;

class NavControllerItemActionsTest : public testing::EditingTestCase {
 protected:
  void SetUp() override {
    EditingTestCase::SetUp();
    testing::DriveTestHome::writeRaw(home_.layout().appsJson(), host::DemoHome::appsJson());
    home_.services().apps = std::make_shared<host::HostAppRegistry>(
        home_.layout().appsJson(), home_.driveServices().resources, home_.driveServices().types);
    platform::Platform::install(home_.services());
    drive_ = home_.documents();
    drill_ = home_.documents(testing::kDrillrunContainer);
    board_ = home_.documents(testing::kLumiboardContainer);
    home_.writeDocument(drive_ + "/Welcome.txt", "hi");
    home_.makeFolder(drive_ + "/Projects");
    home_.writeDocument(drill_ + "/Sprint.txt", "s");
    home_.makeFolder(drill_ + "/Warmups");
    home_.writeDocument(board_ + "/Sky.png", "sky");
  }
  static bool exists(const std::string& path) { return testing::DriveTestHome::exists(path); }

  // The actions menu of a row, opened with the row's own button.
  std::shared_ptr<ui::AlertController> openMenu(const platform::URL& url, int* completions) {
    auto listing = top();
    const auto& items = listing->containedItems();
    for (size_t row = 0; row < items.size(); ++row) {
      if (items[row].path() == url.path()) {
        auto cell = listing->cellForRow(row);
        auto button = cell ? cell->buttonForAction(DocumentListRowAction::ActionsMenu) : nullptr;
        if (!button) {
          return nullptr;
        }
        // The listing's own completion is not observable from here: report the
        // action as the listing does, with a completion the test counts.
        nav_->documentListControllerPerformAction(*listing, DocumentListRowAction::ActionsMenu, url, button,
                                                  [completions] { ++*completions; });
        return presentedAlert();
      }
    }
    return nullptr;
  }
  static std::vector<std::string> titles(const ui::AlertController& sheet) {
    std::vector<std::string> out;
    for (const auto& a : sheet.actions()) {
      out.push_back(a->title() + (a->isEnabled() ? "" : " (disabled)"));
    }
    return out;
  }
  std::string errorLine() {
    const auto& prompt = nav_->folderPromptAlert();
    if (!prompt || prompt->errMsgViewController()->view()->isHidden()) {
      return {};
    }
    return prompt->errMsgViewController()->messageLabel()->text();
  }

  std::string drive_, drill_, board_;
};

TEST_F(NavControllerItemActionsTest, Menu_EntriesFollowTheItemAndItsContainer) {
  launch();
  int completions = 0;
  // A document of the drive's own container, which holds a folder.
  auto sheet = openMenu(fileURL(drive_ + "/Welcome.txt"), &completions);
  ASSERT_TRUE(sheet);
  EXPECT_EQ(sheet->preferredStyle(), ui::AlertControllerStyle::ActionSheet);
  EXPECT_FALSE(sheet->alertTitle());
  EXPECT_FALSE(sheet->message());
  EXPECT_EQ(titles(*sheet), (std::vector<std::string>{"Rename Item…", "Share Item…", "Move to Folder…", "Cancel"}));
  const auto& popover = sheet->popoverPresentationController();
  ASSERT_TRUE(popover.sourceView());
  const ui::Rect bounds = popover.sourceView()->bounds();
  EXPECT_EQ(popover.sourceRect(), ui::Rect(bounds.minX(), bounds.midY(), bounds.width(), 0));
  EXPECT_EQ(popover.permittedArrowDirections(), 12U);
  ASSERT_TRUE(choose("Cancel"));
  EXPECT_EQ(completions, 1);

  // A folder: no share.
  sheet = openMenu(folderURL(drive_ + "/Projects"), &completions);
  ASSERT_TRUE(sheet);
  EXPECT_EQ(titles(*sheet), (std::vector<std::string>{"Rename Item…", "Move to Folder…", "Cancel"}));
  ASSERT_TRUE(choose("Cancel"));

  // A container: everything but Cancel disabled.
  sheet = openMenu(folderURL(drill_), &completions);
  ASSERT_TRUE(sheet);
  EXPECT_EQ(titles(*sheet), (std::vector<std::string>{"Rename Item… (disabled)", "Cancel"}));
  EXPECT_FALSE(choose("Rename Item…"));
  ASSERT_TRUE(choose("Cancel"));
  EXPECT_EQ(completions, 3);

  // A document whose container holds no folder: no move; a participant's shared one: no rename.
  openFolder(folderURL(board_));
  home_.drive().setAttributes(board_ + "/Sky.png", host::ItemAttributes{{}, true, "participant", false});
  sheet = openMenu(fileURL(board_ + "/Sky.png"), &completions);
  ASSERT_TRUE(sheet);
  EXPECT_EQ(titles(*sheet), (std::vector<std::string>{"Rename Item… (disabled)", "Share Item…", "Cancel"}));
  ASSERT_TRUE(choose("Cancel"));

  // An item that vanished: nothing is shown and the completion is not called.
  ASSERT_EQ(::unlink((board_ + "/Sky.png").c_str()), 0);
  nav_->showActionsMenuFromView(nullptr, fileURL(board_ + "/Sky.png"), folderURL(board_),
                                [&completions] { ++completions; });
  EXPECT_FALSE(presented());
  EXPECT_EQ(completions, 4);
}

TEST_F(NavControllerItemActionsTest, MenuMove_OffersThePickerForTheOneItem) {
  launch();
  openFolder(folderURL(drill_));
  int completions = 0;
  ASSERT_TRUE(openMenu(fileURL(drill_ + "/Sprint.txt"), &completions));
  ASSERT_TRUE(choose("Move to Folder…"));
  EXPECT_EQ(completions, 1);
  auto picker = std::dynamic_pointer_cast<platform::MoveTargetPicker>(presented());
  ASSERT_TRUE(picker);
  EXPECT_EQ(picker->urlsToMove(), (std::vector<platform::URL>{fileURL(drill_ + "/Sprint.txt")}));
  nav_->documentTargetSelectionControllerDidSelectItemAtURL(*picker, folderURL(drill_ + "/Warmups"));
  settle();
  EXPECT_TRUE(exists(drill_ + "/Warmups/Sprint.txt"));
  EXPECT_FALSE(presented());
}

TEST_F(NavControllerItemActionsTest, Rename_FromTheMenuOrTheRowKeepsThePromptOpenUntilTheNameIsTaken) {
  launch();
  int completions = 0;
  ASSERT_TRUE(openMenu(fileURL(drive_ + "/Welcome.txt"), &completions));
  ASSERT_TRUE(choose("Rename Item…"));
  EXPECT_EQ(completions, 1);
  auto prompt = presentedAlert();
  ASSERT_TRUE(prompt);
  EXPECT_EQ(prompt->alertTitle(), "Rename Item");
  EXPECT_EQ(prompt->textFields().front()->text(), "Welcome.txt");
  EXPECT_TRUE(nav_->folderPromptAlert()->defaultAction()->isEnabled());
  type("  Hello.txt ");
  ASSERT_TRUE(choose("Done"));
  EXPECT_FALSE(presented());
  EXPECT_TRUE(exists(drive_ + "/Hello.txt"));
  EXPECT_FALSE(exists(drive_ + "/Welcome.txt"));

  // The row's rename action (3): logged, the prompt, and never the completion.
  clearLogs();
  nav_->documentListControllerPerformAction(*top(), DocumentListRowAction::Rename, fileURL(drive_ + "/Hello.txt"),
                                            nullptr, [&completions] { ++completions; });
  EXPECT_EQ(linesStartingWith("Rename action: ").size(), 1U);
  ASSERT_TRUE(presentedAlert());
  // The item goes away before Done: the prompt stays with the error.
  ASSERT_EQ(::unlink((drive_ + "/Hello.txt").c_str()), 0);
  type("Again.txt");
  ASSERT_TRUE(choose("Done"));
  ASSERT_TRUE(presentedAlert()) << "the prompt stays open";
  EXPECT_FALSE(errorLine().empty());
  EXPECT_FALSE(exists(drive_ + "/Again.txt"));
  ASSERT_TRUE(choose("Cancel"));
  EXPECT_EQ(completions, 1);
}

TEST_F(NavControllerItemActionsTest, RowActions_DetailsShareAndUnexpectedValues) {
  launch();
  int completions = 0;
  auto listing = top();
  // Details (2): the details page, then the completion at once.
  nav_->documentListControllerPerformAction(*listing, DocumentListRowAction::Details, fileURL(drive_ + "/Welcome.txt"),
                                            nullptr, [&completions] { ++completions; });
  EXPECT_EQ(completions, 1);
  settle();
  ASSERT_TRUE(nav_->itemManager());
  EXPECT_EQ(nav_->itemManager()->mode(), 1);
  nav_->popViewControllerAnimated(false);
  settle();

  // An unexpected value is logged and ends with the completion.
  nav_->documentListControllerPerformAction(*listing, static_cast<DocumentListRowAction>(7),
                                            fileURL(drive_ + "/Welcome.txt"), nullptr,
                                            [&completions] { ++completions; });
  EXPECT_TRUE(loggedAt(kLogWarning, "performAction:7 -- unexpected value"));
  EXPECT_EQ(completions, 2);

  // Share from the menu: the options menu points at the row's button and
  // offers the applications of the type and a copy outside the drive.
  auto sheet = openMenu(fileURL(drive_ + "/Welcome.txt"), &completions);
  ASSERT_TRUE(sheet);
  const auto anchor = sheet->popoverPresentationController().sourceView();
  ASSERT_TRUE(choose("Share Item…"));
  EXPECT_TRUE(linesStartingWith("showDIC: ").size() == 1U);
  const auto& share = nav_->documentInteractionController();
  ASSERT_TRUE(share);
  auto menu = presentedAlert();
  ASSERT_TRUE(menu);
  EXPECT_EQ(menu, share->menu());
  EXPECT_EQ(menu->popoverPresentationController().sourceView(), anchor);
  const auto entries = titles(*menu);
  ASSERT_GE(entries.size(), 2U);
  EXPECT_EQ(entries[entries.size() - 2], "Save a Copy…");
  EXPECT_EQ(entries.back(), "Cancel");
  ASSERT_TRUE(choose("Save a Copy…"));
  const std::string saved = home_.layout().appData() + "/Documents/Welcome.txt";
  EXPECT_EQ(testing::DriveTestHome::read(saved), "hi");
  // A second copy never replaces the first.
  ASSERT_TRUE(share->saveCopy().ok());
  EXPECT_TRUE(exists(home_.layout().appData() + "/Documents/Welcome 2.txt"));

  // A link in the drive to a file outside it is not copied, nor is a
  // document that is only in the cloud.
  testing::DriveTestHome::writeRaw(home_.layout().appData() + "/private.txt", "secret");
  ASSERT_EQ(::symlink((home_.layout().appData() + "/private.txt").c_str(), (drive_ + "/Link.txt").c_str()), 0);
  EXPECT_FALSE(
      platform::ShareMenuController::interactionControllerWithURL(fileURL(drive_ + "/Link.txt"))->saveCopy().ok());
  EXPECT_FALSE(exists(home_.layout().appDocuments() + "/Link.txt"));
  home_.writeCloudOnly(drive_ + "/Far.txt", "far");
  EXPECT_FALSE(
      platform::ShareMenuController::interactionControllerWithURL(fileURL(drive_ + "/Far.txt"))->saveCopy().ok());
  EXPECT_FALSE(exists(home_.layout().appDocuments() + "/Far.txt"));

  // A URL that is no file's: logged, nothing shown.
  nav_->showDIC(nullptr, platform::URL(), nullptr);
  EXPECT_TRUE(loggedAt(kLogWarning, "showDIC: url is wrong class: (empty URL)"));
  EXPECT_FALSE(presented());
}

}  // namespace
}  // namespace velune
