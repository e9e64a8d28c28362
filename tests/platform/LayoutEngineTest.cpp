#include "platform/ui/LayoutEngine.h"

#include <gtest/gtest.h>

#include <cmath>

#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/StackView.h"
#include "tests/support/LayoutTestSupport.h"
#include "tests/support/UITestSupport.h"

namespace velune::ui {
namespace {

using A = LayoutAttribute;

std::shared_ptr<View> constrainedView(const std::shared_ptr<View>& parent) {
  auto view = View::make();
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  parent->addSubview(view);
  return view;
}

// A view with a fixed intrinsic size, like an image or a one-line label.
class SizedView : public View {
 public:
  explicit SizedView(Size size) : size_(size) { setTranslatesAutoresizingMaskIntoConstraints(false); }
  Size intrinsicContentSize() const override { return size_; }

 private:
  Size size_;
};

std::shared_ptr<SizedView> sized(double w, double h) { return std::make_shared<SizedView>(Size{w, h}); }

class LayoutEngineTest : public testing::UITestCase {
 protected:
  // Whatever a test left in the root's tree, the rules kept from its passes
  // and a fresh solve must agree on the frames.
  void TearDown() override {
    testing::expectIncrementalMatchesFromScratch(*root_, "at the end of the test");
    testing::UITestCase::TearDown();
  }
  std::shared_ptr<View> root_ = View::make(Rect(0, 0, 300, 400));
};

TEST_F(LayoutEngineTest, Constraints_PinnedEdgesCentringFixedAndEqualSizes) {
  auto inset = constrainedView(root_);
  auto centred = constrainedView(root_);
  auto twin = constrainedView(root_);
  LayoutConstraint::activateConstraints({
      // Inset 8 on every edge.
      LayoutConstraint::equal(inset, A::Leading, root_, A::Leading, 8),
      LayoutConstraint::equal(inset, A::Trailing, root_, A::Trailing, -8),
      LayoutConstraint::equal(inset, A::Top, root_, A::Top, 8),
      LayoutConstraint::equal(inset, A::Bottom, root_, A::Bottom, -8),
      // 50 × 20, centred.
      LayoutConstraint::fixed(centred, A::Width, 50),
      LayoutConstraint::fixed(centred, A::Height, 20),
      LayoutConstraint::equal(centred, A::CenterX, root_, A::CenterX),
      LayoutConstraint::equal(centred, A::CenterY, root_, A::CenterY),
      // As wide as `centred`, 1.2 times its height, under it.
      LayoutConstraint::equal(twin, A::Width, centred, A::Width),
      LayoutConstraint::equal(twin, A::Height, centred, A::Height, 0, 1.2),
      LayoutConstraint::equal(twin, A::Leading, centred, A::Leading),
      LayoutConstraint::equal(twin, A::Top, centred, A::Bottom, 7),
  });
  root_->layoutIfNeeded();
  EXPECT_EQ(inset->frame(), Rect(8, 8, 284, 384));
  EXPECT_EQ(centred->frame(), Rect(125, 190, 50, 20));
  EXPECT_EQ(twin->frame(), Rect(125, 217, 50, 24));
  EXPECT_TRUE(LayoutEngine::lastConflicts().empty());
}

TEST_F(LayoutEngineTest, Constraints_AtMostWidthClampsAnIntrinsicSizeButNotASmallerOne) {
  auto big = sized(1024, 50);
  auto small = sized(100, 50);
  root_->addSubview(big);
  root_->addSubview(small);
  LayoutConstraint::activateConstraints({
      LayoutConstraint::lessOrEqual(big, A::Width, root_, A::Width),
      LayoutConstraint::equal(big, A::CenterX, root_, A::CenterX),
      LayoutConstraint::equal(big, A::Top, root_, A::Top),
      LayoutConstraint::lessOrEqual(small, A::Width, root_, A::Width),
      LayoutConstraint::equal(small, A::CenterX, root_, A::CenterX),
      LayoutConstraint::equal(small, A::Top, big, A::Bottom),
  });
  root_->layoutIfNeeded();
  EXPECT_EQ(big->frame(), Rect(0, 0, 300, 50));
  EXPECT_EQ(small->frame(), Rect(100, 50, 100, 50));
}

TEST_F(LayoutEngineTest, Frames_AreRelativeToTheSuperviewAndConstantsFollowChanges) {
  auto outer = constrainedView(root_);
  auto inner = constrainedView(outer);
  auto leading = LayoutConstraint::equal(outer, A::Leading, root_, A::Leading, 20);
  LayoutConstraint::activateConstraints({
      leading,
      LayoutConstraint::equal(outer, A::Top, root_, A::Top, 30),
      LayoutConstraint::fixed(outer, A::Width, 100),
      LayoutConstraint::fixed(outer, A::Height, 100),
      // Constraints may reach across levels: inner is 5 from the root's right edge… clamped by outer.
      LayoutConstraint::equal(inner, A::Leading, outer, A::Leading, 10),
      LayoutConstraint::equal(inner, A::Top, outer, A::Top, 10),
      LayoutConstraint::equal(inner, A::Trailing, outer, A::Trailing, -10),
      LayoutConstraint::equal(inner, A::Bottom, outer, A::Bottom, -10),
  });
  root_->layoutIfNeeded();
  EXPECT_EQ(inner->frame(), Rect(10, 10, 80, 80));
  EXPECT_EQ(inner->convertRectToView(inner->bounds(), root_.get()), Rect(30, 40, 80, 80));
  leading->setConstant(50);
  EXPECT_TRUE(root_->needsLayout());
  root_->layoutIfNeeded();
  EXPECT_EQ(outer->frame(), Rect(50, 30, 100, 100));
}

TEST_F(LayoutEngineTest, IntrinsicSize_HuggingDecidesWhoGrowsAndResistanceWhoShrinks) {
  // A row "H:|[name]-10-[value]|": the value (hugging 250) takes the spare room
  // before the name (251); when room is short the value (resistance 250) gives way.
  auto row = View::make(Rect(0, 0, 300, 40));
  auto name = sized(60, 20);
  auto value = sized(80, 20);
  row->addSubview(name);
  row->addSubview(value);
  name->setContentHuggingPriority(251, Axis::Horizontal);
  value->setContentHuggingPriority(250, Axis::Horizontal);
  value->setContentCompressionResistancePriority(250, Axis::Horizontal);
  auto rules = LayoutConstraint::constraintsWithVisualFormat("H:|[name]-10-[value]|", {},
                                                             {{"name", name}, {"value", value}});
  ASSERT_TRUE(rules.ok());
  LayoutConstraint::activateConstraints(rules.value());
  auto top = LayoutConstraint::constraintsWithVisualFormat("V:|[name]", {}, {{"name", name}});
  auto fill = LayoutConstraint::constraintsWithVisualFormat("V:|[value]|", {}, {{"value", value}});
  LayoutConstraint::activateConstraints(top.value());
  LayoutConstraint::activateConstraints(fill.value());
  row->layoutIfNeeded();
  EXPECT_EQ(name->frame(), Rect(0, 0, 60, 20));
  EXPECT_EQ(value->frame(), Rect(70, 0, 230, 40));

  row->setFrame(Rect(0, 0, 120, 40));
  row->layoutIfNeeded();
  EXPECT_EQ(name->frame().width(), 60);
  EXPECT_EQ(value->frame(), Rect(70, 0, 50, 40));
}

TEST_F(LayoutEngineTest, StackView_VerticalCentredColumnWithSpacingSkipsHiddenViews) {
  auto stack = StackView::make({sized(120, 20), sized(32, 32), sized(60, 30)});
  stack->setAxis(Axis::Vertical);
  stack->setAlignment(StackView::Alignment::Center);
  stack->setSpacing(8);
  stack->setTranslatesAutoresizingMaskIntoConstraints(false);
  root_->addSubview(stack);
  LayoutConstraint::activateConstraints({
      LayoutConstraint::equal(stack, A::CenterX, root_, A::CenterX),
      LayoutConstraint::equal(stack, A::Top, root_, A::Top, 10),
  });
  root_->layoutIfNeeded();
  const auto& views = stack->arrangedSubviews();
  // The stack hugs its widest view and the sum of the heights with the spacing.
  EXPECT_EQ(stack->frame(), Rect(90, 10, 120, 20 + 8 + 32 + 8 + 30));
  EXPECT_EQ(views[0]->frame(), Rect(0, 0, 120, 20));
  EXPECT_EQ(views[1]->frame(), Rect(44, 28, 32, 32));
  EXPECT_EQ(views[2]->frame(), Rect(30, 68, 60, 30));

  views[1]->setHidden(true);
  EXPECT_TRUE(root_->needsLayout());
  root_->layoutIfNeeded();
  EXPECT_EQ(stack->frame().height(), 20 + 8 + 30);
  EXPECT_EQ(views[2]->frame(), Rect(30, 28, 60, 30));
}

TEST_F(LayoutEngineTest, StackView_HorizontalFillEquallyGivesEqualWidthsSideBySide) {
  auto left = sized(200, 50);
  auto right = sized(40, 90);
  auto stack = StackView::make({left, right});
  stack->setDistribution(StackView::Distribution::FillEqually);
  stack->setAlignment(StackView::Alignment::Center);
  stack->setSpacing(15);
  stack->setTranslatesAutoresizingMaskIntoConstraints(false);
  root_->addSubview(stack);
  LayoutConstraint::activateConstraints({
      LayoutConstraint::equal(stack, A::Leading, root_, A::Leading),
      LayoutConstraint::equal(stack, A::Trailing, root_, A::Trailing),
      LayoutConstraint::equal(stack, A::Top, root_, A::Top),
      LayoutConstraint::equal(stack, A::Bottom, root_, A::Bottom),
  });
  root_->layoutIfNeeded();
  EXPECT_EQ(left->frame(), Rect(0, 175, 142.5, 50));
  EXPECT_EQ(right->frame(), Rect(157.5, 155, 142.5, 90));
}

TEST_F(LayoutEngineTest, Fitting_SizeOfATreeWithoutOuterConstraints) {
  auto stack = StackView::make({sized(50, 10), sized(70, 10)});
  stack->setAxis(Axis::Vertical);
  stack->setSpacing(4);
  EXPECT_EQ(stack->systemLayoutSizeFittingSize(Size{0, 0}), (Size{70, 24}));
  // Nothing was moved.
  EXPECT_EQ(stack->frame(), Rect());
}

TEST_F(LayoutEngineTest, WrappingText_GrowsInLinesAtTheWidthItIsGiven) {
  auto label = Label::make(
      "The quick brown fox jumps over the lazy dog and keeps running through the field until the sun sets.");
  label->setNumberOfLines(0);
  label->setTranslatesAutoresizingMaskIntoConstraints(false);
  root_->addSubview(label);
  LayoutConstraint::activateConstraints({
      LayoutConstraint::equal(label, A::Leading, root_, A::Leading, 10),
      LayoutConstraint::equal(label, A::Trailing, root_, A::Trailing, -190),
      LayoutConstraint::equal(label, A::Top, root_, A::Top),
  });
  root_->layoutIfNeeded();
  const TextLayout shown = label->displayedText();
  ASSERT_GT(shown.lines.size(), 3U);
  EXPECT_EQ(label->frame().width(), 100);
  EXPECT_NEAR(label->frame().height(), std::ceil(label->font().lineHeight() * double(shown.lines.size())), 0.001);
  for (const auto& line : shown.lines) {
    EXPECT_LE(label->font().widthOfText(line), 100) << line;
  }
}

TEST_F(LayoutEngineTest, Autoresizing_FlexibleChildFollowsItsSuperview) {
  auto parent = View::make(Rect(0, 0, 100, 100));
  auto child = View::make(Rect(10, 10, 80, 80));
  child->setAutoresizingMask(Autoresizing::FlexibleWidth | Autoresizing::FlexibleHeight);
  auto pinnedRight = View::make(Rect(70, 0, 20, 20));
  pinnedRight->setAutoresizingMask(Autoresizing::FlexibleLeftMargin);
  parent->addSubview(child);
  parent->addSubview(pinnedRight);
  root_->addSubview(parent);
  parent->setFrame(Rect(0, 0, 200, 150));
  EXPECT_EQ(child->frame(), Rect(10, 10, 180, 130));
  EXPECT_EQ(pinnedRight->frame(), Rect(170, 0, 20, 20));
  // A constraint-placed parent carries its frame-placed children the same way.
  parent->setTranslatesAutoresizingMaskIntoConstraints(false);
  LayoutConstraint::activateConstraints({
      LayoutConstraint::fixed(parent, A::Width, 300),
      LayoutConstraint::fixed(parent, A::Height, 100),
      LayoutConstraint::equal(parent, A::Leading, root_, A::Leading),
      LayoutConstraint::equal(parent, A::Top, root_, A::Top),
  });
  root_->layoutIfNeeded();
  EXPECT_EQ(child->frame(), Rect(10, 10, 280, 80));
  EXPECT_EQ(pinnedRight->frame(), Rect(270, 0, 20, 20));
}

TEST_F(LayoutEngineTest, Autoresizing_FramePlacedRowsFollowAConstraintPlacedList) {
  // A long list of frame-placed rows: they keep out of the solver, and still
  // follow the list when the layout pass resizes it.
  auto list = constrainedView(root_);
  auto width = LayoutConstraint::fixed(list, A::Width, 200);
  LayoutConstraint::activateConstraints({width, LayoutConstraint::fixed(list, A::Height, 100),
                                         LayoutConstraint::equal(list, A::Top, root_, A::Top),
                                         LayoutConstraint::equal(list, A::Leading, root_, A::Leading)});
  root_->layoutIfNeeded();
  std::vector<std::shared_ptr<View>> rows;
  for (int i = 0; i < 5000; ++i) {
    auto row = View::make(Rect(0, 44.0 * i, 200, 44));
    row->setAutoresizingMask(Autoresizing::FlexibleWidth);
    auto accessory = View::make(Rect(160, 0, 40, 44));
    accessory->setAutoresizingMask(Autoresizing::FlexibleLeftMargin);
    row->addSubview(accessory);
    list->addSubview(row);
    rows.push_back(row);
  }
  width->setConstant(300);
  root_->layoutIfNeeded();
  EXPECT_EQ(rows.back()->frame(), Rect(0, 44.0 * 4999, 300, 44));
  EXPECT_EQ(rows.back()->subviews()[0]->frame(), Rect(260, 0, 40, 44));
  EXPECT_FALSE(root_->needsLayout());
}

TEST_F(LayoutEngineTest, Conflicts_ContradictoryRequiredRulesAreReportedAndLayoutStaysDefined) {
  auto view = constrainedView(root_);
  LayoutConstraint::activateConstraints({
      LayoutConstraint::fixed(view, A::Width, 100),
      LayoutConstraint::fixed(view, A::Width, 150),
      LayoutConstraint::equal(view, A::Leading, root_, A::Leading),
      LayoutConstraint::equal(view, A::Top, root_, A::Top),
      LayoutConstraint::fixed(view, A::Height, 10),
  });
  root_->layoutIfNeeded();
  ASSERT_EQ(LayoutEngine::lastConflicts().size(), 1U);
  const double width = view->frame().width();
  EXPECT_TRUE(width == 100 || width == 150) << width;
  EXPECT_EQ(view->frame().height(), 10);
}

TEST_F(LayoutEngineTest, VisualFormat_PredicatesMetricsPrioritiesAndErrors) {
  auto a = constrainedView(root_);
  auto b = constrainedView(root_);
  auto made = LayoutConstraint::constraintsWithVisualFormat(
      "H:|-margin-[a(>=40@750)]-(>=5)-[b(==a)]-|", {{"margin", 12}}, {{"a", a}, {"b", b}});
  ASSERT_TRUE(made.ok());
  const auto& rules = made.value();
  ASSERT_EQ(rules.size(), 5U);
  // a.width >= 40 @750
  EXPECT_EQ(rules[0]->firstAttribute(), A::Width);
  EXPECT_EQ(rules[0]->relation(), LayoutRelation::GreaterThanOrEqual);
  EXPECT_EQ(rules[0]->constant(), 40);
  EXPECT_EQ(rules[0]->priority(), 750);
  // b.width == a.width
  EXPECT_EQ(rules[1]->firstItem(), b);
  EXPECT_EQ(rules[1]->secondItem(), a);
  // a.leading == root.leading + 12
  EXPECT_EQ(rules[2]->firstItem(), a);
  EXPECT_EQ(rules[2]->secondItem(), root_);
  EXPECT_EQ(rules[2]->constant(), 12);
  // b.leading >= a.trailing + 5
  EXPECT_EQ(rules[3]->relation(), LayoutRelation::GreaterThanOrEqual);
  EXPECT_EQ(rules[3]->constant(), 5);
  // root.trailing == b.trailing + 20 (the standard edge space)
  EXPECT_EQ(rules[4]->firstItem(), root_);
  EXPECT_EQ(rules[4]->constant(), 20);
  for (const auto& rule : rules) {
    EXPECT_FALSE(rule->isActive());
  }

  auto lone = View::make();
  for (const char* broken : {"H:|[a]-10", "[a", "[nobody]", "[a]-(==)-[b]", "[a(==c)]", "V:|[a][b]junk"}) {
    EXPECT_FALSE(LayoutConstraint::constraintsWithVisualFormat(broken, {}, {{"a", a}, {"b", b}}).ok()) << broken;
  }
  // An edge needs a superview.
  EXPECT_FALSE(LayoutConstraint::constraintsWithVisualFormat("|[lone]", {}, {{"lone", lone}}).ok());
}

TEST_F(LayoutEngineTest, Hierarchy_RemovingAViewDropsTheRulesThatTieItToTheRest) {
  auto child = constrainedView(root_);
  auto grandchild = constrainedView(child);
  auto outer = LayoutConstraint::equal(child, A::Top, root_, A::Top, 5);
  auto inner = LayoutConstraint::equal(grandchild, A::Top, child, A::Top, 5);
  LayoutConstraint::activateConstraints({outer, inner});
  child->removeFromSuperview();
  EXPECT_FALSE(outer->isActive());
  EXPECT_TRUE(inner->isActive());
  EXPECT_TRUE(root_->constraints().empty());
  EXPECT_EQ(child->constraints().size(), 1U);
}

TEST_F(LayoutEngineTest, Window_LaysItselfOutOnTheNextTurnOfTheMainLoop) {
  auto window = std::make_shared<Window>(Rect(0, 0, 390, 844), Screen::mainScreen());
  auto view = constrainedView(window);
  LayoutConstraint::activateConstraints({
      LayoutConstraint::equal(view, A::Leading, window, A::Leading, 1),
      LayoutConstraint::equal(view, A::Top, window, A::Top, 2),
      LayoutConstraint::fixed(view, A::Width, 3),
      LayoutConstraint::fixed(view, A::Height, 4),
  });
  EXPECT_EQ(view->frame(), Rect());
  testing::runMainUntilIdle();
  EXPECT_EQ(view->frame(), Rect(1, 2, 3, 4));
  EXPECT_FALSE(window->needsLayout());
}

// A view whose layoutSubviews changes what the layout depends on is laid out again.
class GrowingView : public View {
 public:
  GrowingView() { setTranslatesAutoresizingMaskIntoConstraints(false); }
  Size intrinsicContentSize() const override { return size_; }
  void layoutSubviews() override {
    if (size_.width < 30) {
      size_ = Size{30, 30};
      invalidateIntrinsicContentSize();
    }
  }

 private:
  Size size_{10, 10};
};

TEST_F(LayoutEngineTest, LayoutSubviews_ChangesMadeThereAreLaidOutInTheSamePass) {
  auto growing = std::make_shared<GrowingView>();
  root_->addSubview(growing);
  root_->layoutIfNeeded();
  EXPECT_EQ(growing->frame().size, (Size{30, 30}));
  EXPECT_FALSE(root_->needsLayout());
}

}  // namespace
}  // namespace velune::ui
