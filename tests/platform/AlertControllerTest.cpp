#include "platform/ui/AlertController.h"

#include <gtest/gtest.h>

#include <cmath>

#include "platform/ui/Button.h"
#include "platform/ui/Label.h"
#include "platform/ui/StackView.h"
#include "platform/ui/TextField.h"
#include "tests/support/UITestSupport.h"

namespace velune::ui {
namespace {

class AlertControllerTest : public testing::UITestCase {
 protected:
  void SetUp() override {
    UITestCase::SetUp();
    window_ = testing::showInWindow(root_);
  }
  std::shared_ptr<ViewController> root_ = std::make_shared<ViewController>();
  std::shared_ptr<Window> window_;
};

TEST_F(AlertControllerTest, Actions_TapRunsTheHandlerAfterDismissingAndDisabledActionsDoNothing) {
  auto alert = AlertController::make("Title", "Message", AlertControllerStyle::Alert);
  std::vector<std::string> pressed;
  auto ok = AlertAction::make("OK", AlertActionStyle::Default, [&](AlertAction& a) {
    // The alert is already on its way out when the handler runs.
    pressed.push_back(a.title() + (root_->presentedViewController() ? " (still shown)" : ""));
  });
  auto later = AlertAction::make("Later", AlertActionStyle::Cancel, [&](AlertAction& a) { pressed.push_back(a.title()); });
  alert->addAction(ok);
  alert->addAction(later);
  alert->addAction(ok);  // once only
  ASSERT_EQ(alert->actions().size(), 2U);
  ASSERT_TRUE(root_->presentViewController(alert, true));
  later->setEnabled(false);
  EXPECT_FALSE(alert->tapAction(later));
  EXPECT_EQ(root_->presentedViewController(), alert);
  EXPECT_FALSE(alert->tapAction(AlertAction::make("Stranger", AlertActionStyle::Default)));
  EXPECT_TRUE(alert->tapAction(ok));
  EXPECT_EQ(pressed, (std::vector<std::string>{"OK"}));
  EXPECT_EQ(root_->presentedViewController(), nullptr);
  EXPECT_TRUE(alert->lastTransitionAnimated());
}

TEST_F(AlertControllerTest, Actions_AnActionCanKeepTheAlertOpen) {
  auto alert = AlertController::make("Rename", std::nullopt, AlertControllerStyle::Alert);
  int attempts = 0;
  auto done = AlertAction::make("Done", AlertActionStyle::Default, [&](AlertAction&) { ++attempts; });
  done->setDismissesAlert(false);
  alert->addAction(done);
  root_->presentViewController(alert, true);
  EXPECT_TRUE(alert->tapAction(done));
  EXPECT_TRUE(alert->tapAction(done));
  EXPECT_EQ(attempts, 2);
  EXPECT_EQ(root_->presentedViewController(), alert);
}

TEST_F(AlertControllerTest, View_ShowsTextsFieldsContentAndOneButtonPerAction) {
  auto alert = AlertController::make("New Folder", "Enter a name", AlertControllerStyle::Alert);
  alert->addTextField([](TextField& field) { field.setPlaceholder("Folder Name"); });
  auto content = std::make_shared<ViewController>();
  alert->setContentViewController(content);
  int cancels = 0;
  alert->addAction(AlertAction::make("Cancel", AlertActionStyle::Default, [&](AlertAction&) { ++cancels; }));
  auto create = AlertAction::make("Create", AlertActionStyle::Default);
  create->setEnabled(false);
  alert->addAction(create);
  root_->presentViewController(alert, true);
  testing::runMainUntilIdle();

  EXPECT_EQ(content->parentViewController(), alert);
  EXPECT_EQ(content->appearanceState(), AppearanceState::Appeared);
  auto view = alert->view();
  auto title = std::dynamic_pointer_cast<Label>(view->findByIdentifier(alert->identifier() + ".title"));
  ASSERT_NE(title, nullptr);
  EXPECT_EQ(title->text(), "New Folder");
  ASSERT_EQ(alert->textFields().size(), 1U);
  EXPECT_TRUE(alert->textFields()[0]->isDescendantOfView(view.get()));
  EXPECT_EQ(alert->textFields()[0]->placeholder(), "Folder Name");
  EXPECT_TRUE(content->view()->isDescendantOfView(view.get()));
  auto createButton = std::dynamic_pointer_cast<Button>(view->findByIdentifier(alert->identifier() + ".action.1"));
  ASSERT_NE(createButton, nullptr);
  EXPECT_FALSE(createButton->isEnabled());
  create->setEnabled(true);
  EXPECT_TRUE(createButton->isEnabled());
  // Tapping the button is tapping the action.
  EXPECT_TRUE(view->findByIdentifier(alert->identifier() + ".action.0")->tap());
  EXPECT_EQ(cancels, 1);
  EXPECT_EQ(root_->presentedViewController(), nullptr);

  // Laid out in the window: the alert's box is 270 points wide, centred.
  auto box = view->findByIdentifier(alert->identifier() + ".box");
  ASSERT_NE(box, nullptr);
}

TEST_F(AlertControllerTest, Sheet_TakesNoTextFieldsAndKeepsItsPopoverAnchor) {
  auto sheet = AlertController::make("", "Delete?", AlertControllerStyle::ActionSheet);
  sheet->addTextField(nullptr);
  EXPECT_TRUE(sheet->textFields().empty());
  auto source = View::make(Rect(0, 0, 120, 40));
  auto& popover = sheet->popoverPresentationController();
  popover.setSourceView(source);
  popover.setSourceRect(Rect(0, 20, 120, 0));
  popover.setPermittedArrowDirections(PopoverPresentationController::kArrowLeft | PopoverPresentationController::kArrowRight);
  EXPECT_EQ(popover.permittedArrowDirections(), 12U);
  EXPECT_EQ(popover.sourceView(), source);
  EXPECT_EQ(popover.barButtonItem(), nullptr);
  EXPECT_EQ(sheet->modalPresentationStyle(), ModalPresentationStyle::Popover);
  EXPECT_EQ(static_cast<int>(ModalPresentationStyle::OverCurrentContext), 6);
}

TEST_F(AlertControllerTest, Layout_AlertBoxIsCentredAndSized) {
  auto alert = AlertController::make("Title", "A message long enough to wrap over more than one line in the box.",
                                     AlertControllerStyle::Alert);
  alert->addAction(AlertAction::make("OK", AlertActionStyle::Default));
  root_->presentViewController(alert, false);
  testing::runMainUntilIdle();
  auto box = alert->view()->findByIdentifier(alert->identifier() + ".box");
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->frame().width(), 270);
  EXPECT_NEAR(box->frame().midX(), 195, 1e-9);
  EXPECT_NEAR(box->frame().midY(), 422, 1e-9);
  auto message = std::dynamic_pointer_cast<Label>(alert->view()->findByIdentifier(alert->identifier() + ".message"));
  ASSERT_NE(message, nullptr);
  EXPECT_GE(message->displayedText().lines.size(), 2U);
  EXPECT_NEAR(message->frame().height(), std::ceil(message->font().lineHeight() * double(message->displayedText().lines.size())), 0.001);
}

}  // namespace
}  // namespace velune::ui
