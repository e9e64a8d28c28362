#include "platform/ui/ModelChanges.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/RunLoop.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Label.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/StackView.h"
#include "tests/support/UITestSupport.h"

namespace velune::ui {
namespace {

class ModelChangesTest : public testing::UITestCase {
 protected:
  void SetUp() override {
    UITestCase::SetUp();
    root_ = std::make_shared<ViewController>();
    window_ = testing::showInWindow(root_);
    testing::runMainUntilIdle();
    listener_ = ModelChanges::addListener([this](std::uint64_t generation) { generations_.push_back(generation); });
    testing::runMainUntilIdle();
    generations_.clear();
  }
  void TearDown() override {
    ModelChanges::removeListener(listener_);
    UITestCase::TearDown();
  }

  std::shared_ptr<ViewController> root_;
  std::shared_ptr<Window> window_;
  ModelChanges::ListenerId listener_ = 0;
  std::vector<std::uint64_t> generations_;
};

TEST_F(ModelChangesTest, ManyChangesInOneTurn_OneSignalWithANewGeneration) {
  const std::uint64_t before = ModelChanges::generation();
  auto label = Label::make("a");
  root_->view()->addSubview(label);
  for (int i = 0; i < 100; ++i) {
    label->setText("text " + std::to_string(i));
    label->setHidden(i % 2 == 0);
  }
  // Work that the turn's tasks post ("did" callbacks, layout) belongs to the same turn.
  platform::RunLoop::main().post([label] {
    label->setAlpha(0.5);
    platform::RunLoop::main().post([label] { label->setTextColor(Color::red()); });
  });
  EXPECT_TRUE(generations_.empty()) << "no signal inside the turn";
  testing::runMainUntilIdle();
  ASSERT_EQ(generations_.size(), 1U);
  EXPECT_EQ(generations_[0], before + 1);
  EXPECT_EQ(ModelChanges::generation(), before + 1);
  EXPECT_FALSE(ModelChanges::hasPendingChange());
}

TEST_F(ModelChangesTest, TurnWithoutChange_NoSignal) {
  platform::RunLoop::main().post([] {});
  testing::runMainUntilIdle();
  testing::runMainUntilIdle();
  EXPECT_TRUE(generations_.empty());
}

TEST_F(ModelChangesTest, Signal_SeesTheTurnsLayoutDone) {
  auto stack = StackView::make();
  stack->setAxis(Axis::Vertical);
  stack->setFrame(Rect(0, 100, 390, 300));
  auto label = Label::make("short");
  stack->addArrangedSubview(label);
  root_->view()->addSubview(stack);
  testing::runMainUntilIdle();
  double widthAtSignal = -1;
  const auto reader = ModelChanges::addListener([&](std::uint64_t) { widthAtSignal = label->frame().width(); });
  label->setText("a much longer text than before");
  testing::runMainUntilIdle();
  ModelChanges::removeListener(reader);
  EXPECT_GT(widthAtSignal, 0);
  EXPECT_DOUBLE_EQ(widthAtSignal, label->frame().width());
  EXPECT_GT(widthAtSignal, label->font().widthOfText("short"));
}

TEST_F(ModelChangesTest, ElementsOutsideTheViewTree_NoteTheirChanges) {
  auto item = BarButtonItem::withTitle("Edit", BarButtonItemStyle::Plain);
  testing::runMainUntilIdle();
  generations_.clear();
  const std::vector<std::function<void()>> changes = {
      [&] { item->setEnabled(false); },
      [&] { item->setTitle("Done"); },
      [&] { root_->navigationItem().setTitle("Photos"); },
      [&] { root_->navigationItem().setRightBarButtonItem(item); },
      [&] { root_->setToolbarItems({item}); },
      [&] { root_->view()->setAccessibilityLabel("Listing"); },
      [&] { root_->view()->layer().setCornerRadius(4); },
  };
  for (size_t i = 0; i < changes.size(); ++i) {
    changes[i]();
    testing::runMainUntilIdle();
    EXPECT_EQ(generations_.size(), i + 1) << "change " << i;
  }
}

TEST_F(ModelChangesTest, ListenerThatChangesTheModel_HearsItInALaterTurnNotInside) {
  auto label = Label::make("a");
  root_->view()->addSubview(label);
  int calls = 0;
  bool inside = false;
  bool reentered = false;
  const auto changer = ModelChanges::addListener([&](std::uint64_t) {
    reentered = reentered || inside;
    inside = true;
    if (++calls == 1) {
      label->setText("changed by a listener");
    }
    inside = false;
  });
  testing::runMainUntilIdle();
  EXPECT_FALSE(reentered);
  // The change (and the layout it posted) made one more turn, then it settles.
  EXPECT_EQ(calls, 2);
  testing::runMainUntilIdle();
  EXPECT_EQ(calls, 2);
  ModelChanges::removeListener(changer);
}

}  // namespace
}  // namespace velune::ui
