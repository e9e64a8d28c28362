#include "views/UIUtils.h"

#include <gtest/gtest.h>

#include "platform/Localization.h"
#include "platform/ui/AlertController.h"
#include "tests/support/UITestSupport.h"

namespace velune {
namespace {

using platform::Error;
using platform::Value;

class UIUtilsTest : public testing::UITestCase {
 protected:
  void SetUp() override {
    UITestCase::SetUp();
    window_ = testing::showInWindow(parent_);
  }
  std::shared_ptr<ui::AlertController> presentedAlert() const {
    return std::dynamic_pointer_cast<ui::AlertController>(parent_->presentedViewController());
  }
  std::shared_ptr<ui::ViewController> parent_ = std::make_shared<ui::ViewController>();
  std::shared_ptr<ui::Window> window_;
};

Error errorWith(std::optional<std::string> description, std::optional<std::string> reason) {
  Value::Dictionary info;
  if (description) {
    info[std::string(platform::kLocalizedDescriptionKey)] = *description;
  }
  if (reason) {
    info[std::string(platform::kLocalizedFailureReasonKey)] = *reason;
  }
  return Error("TestDomain", 7, info);
}

TEST_F(UIUtilsTest, BestMessage_DescriptionThenFailureReasonThenTheFixedText) {
  EXPECT_EQ(UIUtils::bestMessage(std::nullopt), "");
  EXPECT_EQ(UIUtils::bestMessage(errorWith("It broke.", "Because.")), "It broke.");
  EXPECT_EQ(UIUtils::bestMessage(errorWith(std::nullopt, "The disk is full.")), "The disk is full.");
  EXPECT_EQ(UIUtils::bestMessage(errorWith("", "Only a reason.")), "Only a reason.");
  EXPECT_EQ(UIUtils::bestMessage(errorWith(std::nullopt, std::nullopt)), "Qerror exception");
  // A known code of the general domain has the platform's own text.
  EXPECT_EQ(UIUtils::bestMessage(Error::platform(platform::ErrorCode::FileWriteFileExists)),
            *Error::platform(platform::ErrorCode::FileWriteFileExists).localizedDescription());
}

TEST_F(UIUtilsTest, ShowAlert_OneOKButtonThatOnlyCloses) {
  auto shown = UIUtils::showAlert("Title", "Message", parent_);
  ASSERT_NE(shown, nullptr);
  auto alert = presentedAlert();
  ASSERT_EQ(alert, shown);
  EXPECT_EQ(alert->preferredStyle(), ui::AlertControllerStyle::Alert);
  EXPECT_EQ(alert->alertTitle(), "Title");
  EXPECT_EQ(alert->message(), "Message");
  EXPECT_TRUE(alert->lastTransitionAnimated());
  ASSERT_EQ(alert->actions().size(), 1U);
  EXPECT_EQ(alert->actions()[0]->title(), platform::localized("OK"));
  EXPECT_EQ(alert->actions()[0]->style(), ui::AlertActionStyle::Default);
  EXPECT_TRUE(alert->tapAction(alert->actions()[0]));
  EXPECT_EQ(parent_->presentedViewController(), nullptr);
}

TEST_F(UIUtilsTest, ShowError_TitleIsTheBestMessageWithoutMessage) {
  UIUtils::showError(std::nullopt, parent_);
  auto alert = presentedAlert();
  ASSERT_NE(alert, nullptr);
  EXPECT_EQ(alert->alertTitle(), "Qerror exception");
  EXPECT_EQ(alert->message(), std::nullopt);
  alert->tapAction(alert->actions()[0]);

  UIUtils::showError(errorWith(std::nullopt, "No room left."), parent_);
  ASSERT_NE(presentedAlert(), nullptr);
  EXPECT_EQ(presentedAlert()->alertTitle(), "No room left.");
}

// The fixed text for an error without a text of its own was written into the
// alert directly instead of coming from the string table.
TEST_F(UIUtilsTest, NoErrorText_ComesFromTheStringTable) {
  platform::setPseudoLocalization(true);
  const std::string best = UIUtils::bestMessage(errorWith(std::nullopt, std::nullopt));
  UIUtils::showError(std::nullopt, parent_);
  platform::setPseudoLocalization(false);
  EXPECT_EQ(best, "[Qerror exception]");
  ASSERT_NE(presentedAlert(), nullptr);
  EXPECT_EQ(presentedAlert()->alertTitle(), "[Qerror exception]");
  EXPECT_EQ(presentedAlert()->actions().at(0)->title(), "[OK]");
}

TEST_F(UIUtilsTest, ShowAlert_GoesOverWhatTheParentAlreadyPresents) {
  auto sheet = std::make_shared<ui::ViewController>();
  ASSERT_TRUE(parent_->presentViewController(sheet, false));
  auto alert = UIUtils::showAlert("Over", std::nullopt, parent_);
  ASSERT_NE(alert, nullptr);
  EXPECT_EQ(sheet->presentedViewController(), alert);
  // Without a parent nothing is shown, and nothing breaks.
  EXPECT_EQ(UIUtils::showAlert("Nowhere", std::nullopt, nullptr), nullptr);
}

TEST_F(UIUtilsTest, NameAlerts_SplitTheNameAtItsLastDot) {
  UIUtils::showItemExistsAlert("Report.final.pdf", parent_);
  auto alert = presentedAlert();
  ASSERT_NE(alert, nullptr);
  EXPECT_EQ(alert->alertTitle(), "The name \u201cReport.final\u201d with extension \u201c.pdf\u201d is already taken.");
  EXPECT_EQ(alert->message(), platform::localized("Choose a different name."));
  alert->tapAction(alert->actions()[0]);

  UIUtils::showItemExistsAlert("Notes", parent_);
  EXPECT_EQ(presentedAlert()->alertTitle(), "The name \u201cNotes\u201d is already taken.");
  presentedAlert()->tapAction(presentedAlert()->actions()[0]);

  UIUtils::showInvalidItemNameAlert("a/b", parent_);
  EXPECT_EQ(presentedAlert()->alertTitle(), "");
  EXPECT_EQ(presentedAlert()->message(),
            "The name \u201c" "a/b" "\u201d can\u2019t be used. Try using a name with fewer characters, or with no punctuation marks.");
}

TEST_F(UIUtilsTest, TabloMode_FollowsTheDeviceIdiom) {
  EXPECT_FALSE(UIUtils::tabloMode());
  device_->setIdiom(ui::UserInterfaceIdiom::Tablet);
  EXPECT_TRUE(UIUtils::tabloMode());
  auto services = testing::baseServices();  // no device at all
  platform::Platform::install(services);
  EXPECT_FALSE(UIUtils::tabloMode());
}

}  // namespace
}  // namespace velune
