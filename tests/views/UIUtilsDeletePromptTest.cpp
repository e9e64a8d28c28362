// The confirmation before a permanent deletion, on a drive with real items:
// its texts for one document, one app library and a counted set, its two
// actions, its anchor, and what it does for items that cannot be read.

#include <gtest/gtest.h>

#include "diag/DRLogging.h"
#include "model/DRItem.h"
#include "platform/Localization.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/BarButtonItem.h"
#include "tests/support/DriveTestHome.h"
#include "tests/support/UITestSupport.h"
#include "views/UIUtils.h"

namespace velune {
namespace {

using platform::URL;
using testing::DriveTestHome;

constexpr const char* kOneDocument =
    "\"%@\" will be permanently deleted from Velune Drive on all your devices. This action cannot be undone.";
constexpr const char* kOneLibrary =
    "The %@ app library, and all its documents, will be permanently deleted from Velune Drive on all your devices. "
    "This action cannot be undone.";
constexpr const char* kCounted =
    "%@ will be permanently deleted from Velune Drive on all your devices. This action cannot be undone.";

class UIUtilsDeletePromptTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    testing::installWithPhone(home_.services());
    window_ = testing::showInWindow(parent_);
    testing::clearLogs();
  }
  void TearDown() override { testing::runMainUntilIdle(); }

  URL document(const std::string& name) {
    return URL::fileURLWithPath(home_.writeDocument(home_.documents() + "/" + name, "bytes"), false);
  }
  std::shared_ptr<ui::AlertController> sheet() const {
    return std::dynamic_pointer_cast<ui::AlertController>(parent_->presentedViewController());
  }

  struct Answer {
    int calls = 0;
    const ui::AlertAction* action = nullptr;
    bool cancelled = false;
  };
  UIUtils::DeleteCompletion recordInto(Answer& answer) {
    return [&answer](const ui::AlertAction* action, bool cancelled) {
      ++answer.calls;
      answer.action = action;
      answer.cancelled = cancelled;
    };
  }

  DriveTestHome home_;
  std::shared_ptr<ui::ViewController> parent_ = std::make_shared<ui::ViewController>();
  std::shared_ptr<ui::Window> window_;
};

TEST_F(UIUtilsDeletePromptTest, Message_QuotedNameLibraryOrCountedSet) {
  const URL report = document("Annual Report.pdf");
  EXPECT_EQ(UIUtils::messageForDeletePrompt({report}),
            "\"Annual Report.pdf\" will be permanently deleted from Velune Drive on all your devices. This action "
            "cannot be undone.");
  EXPECT_EQ(UIUtils::messageForDeletePrompt({report}), platform::localizedFormat(kOneDocument, "Annual Report.pdf"));

  // An app's library folder is named by its app, not by its folder.
  const URL library = URL::fileURLWithPath(home_.documents(testing::kDrillrunContainer), true);
  EXPECT_EQ(UIUtils::messageForDeletePrompt({library}),
            "The Drillrun app library, and all its documents, will be permanently deleted from Velune Drive on all "
            "your devices. This action cannot be undone.");
  EXPECT_EQ(UIUtils::messageForDeletePrompt({library}), platform::localizedFormat(kOneLibrary, "Drillrun"));

  // A folder inside a library is one ordinary item; a cloud-only document too.
  const URL folder = URL::fileURLWithPath(home_.makeFolder(home_.documents() + "/Projects"), true);
  EXPECT_EQ(UIUtils::messageForDeletePrompt({folder}), platform::localizedFormat(kOneDocument, "Projects"));
  const URL cloudOnly = home_.url(home_.writeCloudOnly(home_.documents() + "/Later.txt", "later"));
  EXPECT_EQ(UIUtils::messageForDeletePrompt({cloudOnly}), platform::localizedFormat(kOneDocument, "Later.txt"));

  // Several items: the counted text inside the third text, whatever they are;
  // their records are not read, so one that is gone still counts.
  const URL gone = URL::fileURLWithPath(home_.documents() + "/Gone.txt", false);
  EXPECT_EQ(UIUtils::messageForDeletePrompt({report, library, gone}),
            "3 items will be permanently deleted from Velune Drive on all your devices. This action cannot be "
            "undone.");
  EXPECT_EQ(UIUtils::messageForDeletePrompt({report, folder}),
            platform::localizedFormat(kCounted, platform::localizedFormat(".DICT.ITEMS.%d", 2)));
  // An empty list is a count too (the sheet itself never asks about it).
  EXPECT_EQ(UIUtils::messageForDeletePrompt({}),
            "0 items will be permanently deleted from Velune Drive on all your devices. This action cannot be "
            "undone.");
}

TEST_F(UIUtilsDeletePromptTest, Message_NoneForOneItemThatCannotBeReadOrHasNoName) {
  // Gone before the sheet was asked for.
  EXPECT_EQ(UIUtils::messageForDeletePrompt({URL::fileURLWithPath(home_.documents() + "/Gone.txt", false)}),
            std::nullopt);
  // A placeholder that is not readable: no record at all.
  const std::string corrupt = home_.documents() + "/Corrupt.pdf";
  DriveTestHome::writeRaw(host::placeholderPathFor(corrupt), "{not json");
  EXPECT_EQ(UIUtils::messageForDeletePrompt({home_.url(corrupt)}), std::nullopt);
  // Not a file URL at all.
  EXPECT_EQ(UIUtils::messageForDeletePrompt({URL()}), std::nullopt);
  // Nothing was touched on the way.
  EXPECT_EQ(DriveTestHome::read(host::placeholderPathFor(corrupt)), "{not json");
}

TEST_F(UIUtilsDeletePromptTest, Sheet_DestructiveThenCancelWithTheirLogLines) {
  const URL report = document("Report.pdf");
  Answer answer;
  UIUtils::showDeleteWarningAlert({report}, false, parent_, nullptr, nullptr, recordInto(answer));
  auto shown = sheet();
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(answer.calls, 0);
  EXPECT_EQ(shown->preferredStyle(), ui::AlertControllerStyle::ActionSheet);
  EXPECT_EQ(shown->alertTitle(), "");
  EXPECT_EQ(shown->message(), UIUtils::messageForDeletePrompt({report}));
  EXPECT_TRUE(shown->lastTransitionAnimated());
  ASSERT_EQ(shown->actions().size(), 2U);
  const auto destroy = shown->actions()[0];
  const auto cancel = shown->actions()[1];
  EXPECT_EQ(destroy->title(), platform::localized("Delete from Velune Drive"));
  EXPECT_EQ(destroy->style(), ui::AlertActionStyle::Destructive);
  EXPECT_EQ(cancel->title(), platform::localized("Cancel"));
  EXPECT_EQ(cancel->style(), ui::AlertActionStyle::Cancel);

  EXPECT_TRUE(shown->tapAction(cancel));
  EXPECT_EQ(answer.calls, 1);
  EXPECT_EQ(answer.action, cancel.get());
  EXPECT_TRUE(answer.cancelled);
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Delete: Cancel pressed"));
  EXPECT_FALSE(testing::loggedAt(kLogDebug, "Delete action"));
  testing::runMainUntilIdle();
  EXPECT_EQ(parent_->presentedViewController(), nullptr);

  // Asked again, three documents this time: the destructive button.
  answer = Answer();
  testing::clearLogs();
  UIUtils::showDeleteWarningAlert({report, document("a.txt"), document("b.txt")}, true, parent_, nullptr, nullptr,
                                  recordInto(answer));
  ASSERT_NE(sheet(), nullptr);
  EXPECT_EQ(sheet()->message(), platform::localizedFormat(kCounted, platform::localizedFormat(".DICT.ITEMS.%d", 3)));
  const auto again = sheet()->actions()[0];
  EXPECT_TRUE(sheet()->tapAction(again));
  EXPECT_EQ(answer.calls, 1);
  EXPECT_EQ(answer.action, again.get());
  EXPECT_FALSE(answer.cancelled);
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Delete action"));
  EXPECT_FALSE(testing::loggedAt(kLogInfo, "Delete: Cancel pressed"));
  // Asking for the deletion deletes nothing by itself.
  EXPECT_TRUE(DriveTestHome::exists(report.path()));
}

TEST_F(UIUtilsDeletePromptTest, Anchor_AZeroHighLineAcrossTheViewOrTheToolbarButton) {
  const URL report = document("Report.pdf");
  auto row = ui::View::make(ui::Rect(10, 200, 300, 44));
  parent_->view()->addSubview(row);
  auto trash = ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::Trash);
  Answer answer;
  UIUtils::showDeleteWarningAlert({report}, false, parent_, row, trash, recordInto(answer));
  ASSERT_NE(sheet(), nullptr);
  const auto& fromRow = sheet()->popoverPresentationController();
  EXPECT_EQ(fromRow.sourceView(), row);
  EXPECT_EQ(fromRow.sourceRect(), ui::Rect(0, 22, 300, 0));
  EXPECT_EQ(fromRow.permittedArrowDirections(),
            ui::PopoverPresentationController::kArrowLeft | ui::PopoverPresentationController::kArrowRight);
  EXPECT_EQ(fromRow.barButtonItem(), nullptr);
  sheet()->tapAction(sheet()->actions()[1]);
  testing::runMainUntilIdle();

  UIUtils::showDeleteWarningAlert({report}, false, parent_, nullptr, trash, recordInto(answer));
  ASSERT_NE(sheet(), nullptr);
  const auto& fromButton = sheet()->popoverPresentationController();
  EXPECT_EQ(fromButton.barButtonItem(), trash);
  EXPECT_EQ(fromButton.sourceView(), nullptr);
  EXPECT_EQ(fromButton.permittedArrowDirections(), ui::PopoverPresentationController::kArrowAny);
}

TEST_F(UIUtilsDeletePromptTest, NothingToAsk_EmptyListOrUnreadableItemEndsTheFlowAsCancelled) {
  Answer answer;
  UIUtils::showDeleteWarningAlert({}, false, parent_, nullptr, nullptr, recordInto(answer));
  EXPECT_EQ(answer.calls, 1);
  EXPECT_EQ(answer.action, nullptr);
  EXPECT_TRUE(answer.cancelled);
  EXPECT_EQ(parent_->presentedViewController(), nullptr);

  // One item that went away: nothing to show, the caller's flow ends without deleting.
  answer = Answer();
  const URL gone = URL::fileURLWithPath(home_.documents() + "/Gone.txt", false);
  UIUtils::showDeleteWarningAlert({gone}, false, parent_, nullptr, nullptr, recordInto(answer));
  EXPECT_EQ(answer.calls, 1);
  EXPECT_EQ(answer.action, nullptr);
  EXPECT_TRUE(answer.cancelled);
  EXPECT_EQ(parent_->presentedViewController(), nullptr);
  EXPECT_TRUE(testing::loggedPrefixAt(kLogWarning, "Delete: no confirmation text for "));

  // No completion at all is fine too.
  UIUtils::showDeleteWarningAlert({}, false, parent_, nullptr, nullptr, nullptr);
  UIUtils::showDeleteWarningAlert({gone}, false, parent_, nullptr, nullptr, nullptr);
  EXPECT_EQ(parent_->presentedViewController(), nullptr);
}

TEST_F(UIUtilsDeletePromptTest, Presenter_SheetGoesOverWhatIsShownAndWithoutAScreenNothingBreaks) {
  const URL report = document("Report.pdf");
  auto details = std::make_shared<ui::ViewController>();
  ASSERT_TRUE(parent_->presentViewController(details, false));
  Answer answer;
  UIUtils::showDeleteWarningAlert({report}, false, parent_, nullptr, nullptr, recordInto(answer));
  auto over = std::dynamic_pointer_cast<ui::AlertController>(details->presentedViewController());
  ASSERT_NE(over, nullptr);
  over->tapAction(over->actions()[0]);
  EXPECT_EQ(answer.calls, 1);
  EXPECT_FALSE(answer.cancelled);

  // No presenting screen: logged, and the flow ends as cancelled.
  answer = Answer();
  UIUtils::showDeleteWarningAlert({report}, false, nullptr, nullptr, nullptr, recordInto(answer));
  EXPECT_EQ(answer.calls, 1);
  EXPECT_EQ(answer.action, nullptr);
  EXPECT_TRUE(answer.cancelled);
  EXPECT_TRUE(testing::loggedPrefixAt(kLogWarning, "Could not show the delete confirmation over "));
}

}  // namespace
}  // namespace velune
