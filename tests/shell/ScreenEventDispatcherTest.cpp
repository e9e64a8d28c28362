#include "shell/ScreenEventDispatcher.h"

#include <gtest/gtest.h>

#include "platform/ui/AlertController.h"
#include "platform/ui/Button.h"
#include "platform/ui/NavigationStackController.h"
#include "platform/ui/TextField.h"
#include "tests/support/UITestSupport.h"

namespace velune::shell {
namespace {

using Status = ScreenEventDispatcher::Status;

ScreenEvent event(const std::string& json) {
  auto parsed = ScreenEvent::parse(json);
  EXPECT_TRUE(parsed.ok()) << json;
  return parsed.ok() ? parsed.value() : ScreenEvent{};
}

class ScreenEventDispatcherTest : public testing::UITestCase {
 protected:
  void SetUp() override {
    UITestCase::SetUp();
    root_ = std::make_shared<ui::ViewController>();
    root_->setTitle("Velune Drive");
    stack_ = ui::NavigationStackController::make(root_);
    window_ = testing::showInWindow(stack_);
  }
  Status apply(const std::string& json) {
    const auto outcome = dispatcher_.apply(event(json), window_);
    testing::runMainUntilIdle();
    return outcome.status;
  }

  ScreenEventDispatcher dispatcher_;
  std::shared_ptr<ui::ViewController> root_;
  std::shared_ptr<ui::NavigationStackController> stack_;
  std::shared_ptr<ui::Window> window_;
};

TEST_F(ScreenEventDispatcherTest, Tap_ReachesButtonsAndBarItemsButNotDisabledOrMissingOnes) {
  int taps = 0;
  auto button = ui::Button::buttonWithType(ui::ButtonType::System);
  button->setIdentifier("go");
  button->addAction(ui::ControlEvent::TouchUpInside, [&](ui::Control&) { ++taps; });
  root_->view()->addSubview(button);
  int itemTaps = 0;
  auto item = ui::BarButtonItem::withTitle("Select", ui::BarButtonItemStyle::Plain, [&](ui::BarButtonItem&) { ++itemTaps; });
  root_->navigationItem().setRightBarButtonItem(item);

  EXPECT_EQ(apply(R"({"type":"tap","target":"go"})"), Status::Handled);
  EXPECT_EQ(taps, 1);
  EXPECT_EQ(apply(R"({"type":"tap","target":")" + item->identifier() + "\"}"), Status::Handled);
  EXPECT_EQ(itemTaps, 1);

  button->setEnabled(false);
  EXPECT_EQ(apply(R"({"type":"tap","target":"go"})"), Status::Ignored);
  button->setEnabled(true);
  button->superview()->setHidden(true);
  EXPECT_EQ(apply(R"({"type":"tap","target":"go"})"), Status::Ignored) << "a hidden screen takes no taps";
  EXPECT_EQ(taps, 1);
  EXPECT_EQ(apply(R"({"type":"tap","target":"nobody"})"), Status::NoSuchElement);
}

TEST_F(ScreenEventDispatcherTest, NamePrompt_TypeChooseAndReturnKey) {
  auto alert = ui::AlertController::make("New Folder", std::nullopt, ui::AlertControllerStyle::Alert);
  alert->addTextField([](ui::TextField& field) { field.setEnablesReturnKeyAutomatically(true); });
  std::string created;
  auto save = ui::AlertAction::make("Save", ui::AlertActionStyle::Default,
                                    [&](ui::AlertAction&) { created = alert->textFields()[0]->text(); });
  alert->addAction(save);
  alert->addAction(ui::AlertAction::make("Cancel", ui::AlertActionStyle::Cancel));
  ASSERT_TRUE(root_->presentViewController(alert, true));
  testing::runMainUntilIdle();
  const std::string field = alert->textFields()[0]->identifier();

  EXPECT_EQ(apply(R"({"type":"return","target":")" + field + "\"}"), Status::Ignored)
      << "the return key is off while the field is empty";
  EXPECT_EQ(apply(R"({"type":"type","target":")" + field + R"(","text":"Trips"})"), Status::Handled);
  EXPECT_EQ(alert->textFields()[0]->text(), "Trips");
  EXPECT_EQ(apply(R"({"type":"dismiss"})"), Status::Ignored) << "a tap outside an alert does nothing";
  EXPECT_EQ(apply(R"({"type":"choose","target":")" + save->identifier() + "\"}"), Status::Handled);
  EXPECT_EQ(created, "Trips");
  EXPECT_EQ(root_->presentedViewController(), nullptr);
  EXPECT_EQ(apply(R"({"type":"choose","target":")" + save->identifier() + "\"}"), Status::NoSuchElement)
      << "a dismissed alert's actions are gone from the screen";
}

TEST_F(ScreenEventDispatcherTest, DismissActionSheet_ChoosesItsCancelAction) {
  auto sheet = ui::AlertController::make(std::nullopt, std::nullopt, ui::AlertControllerStyle::ActionSheet);
  bool cancelled = false;
  sheet->addAction(ui::AlertAction::make("Share", ui::AlertActionStyle::Default));
  sheet->addAction(ui::AlertAction::make("Cancel", ui::AlertActionStyle::Cancel, [&](ui::AlertAction&) { cancelled = true; }));
  ASSERT_TRUE(root_->presentViewController(sheet, true));
  testing::runMainUntilIdle();

  EXPECT_EQ(apply(R"({"type":"dismiss","target":"elsewhere"})"), Status::NoSuchElement);
  EXPECT_EQ(apply(R"({"type":"dismiss","target":")" + sheet->view()->identifier() + "\"}"), Status::Handled);
  EXPECT_TRUE(cancelled);
  EXPECT_EQ(root_->presentedViewController(), nullptr);
  EXPECT_EQ(apply(R"({"type":"dismiss"})"), Status::Ignored);
}

TEST_F(ScreenEventDispatcherTest, Back_PopsOnlyWhenTheBarShowsABackButton) {
  EXPECT_EQ(apply(R"({"type":"back"})"), Status::Ignored);
  auto folder = std::make_shared<ui::ViewController>();
  stack_->pushViewController(folder, false);
  testing::runMainUntilIdle();
  EXPECT_EQ(apply(R"({"type":"back","target":"another bar"})"), Status::NoSuchElement);
  EXPECT_EQ(apply(R"({"type":"back","target":")" + stack_->navigationBar().identifier() + "\"}"), Status::Handled);
  EXPECT_EQ(stack_->topViewController(), root_);
  folder->navigationItem().setHidesBackButton(true, false);
  stack_->pushViewController(folder, false);
  testing::runMainUntilIdle();
  EXPECT_EQ(apply(R"({"type":"back"})"), Status::Ignored) << "a hidden back button cannot be tapped";
}

TEST_F(ScreenEventDispatcherTest, RotateAndScroll_GoWhereTheyCan) {
  EXPECT_EQ(apply(R"({"type":"rotate","orientation":"landscape"})"), Status::Ignored) << "no hook: no rotation";
  std::optional<ui::InterfaceOrientation> asked;
  dispatcher_.setRotateHook([&](ui::InterfaceOrientation o) {
    asked = o;
    return true;
  });
  EXPECT_EQ(apply(R"({"type":"rotate","orientation":"landscape"})"), Status::Handled);
  ASSERT_TRUE(asked.has_value());
  EXPECT_TRUE(ui::isLandscape(*asked));
  EXPECT_EQ(apply(R"({"type":"scroll","target":")" + root_->view()->identifier() + R"(","offset":10})"), Status::Ignored);
  EXPECT_EQ(apply(R"({"type":"swipe","target":"missing"})"), Status::NoSuchElement);
}

}  // namespace
}  // namespace velune::shell
