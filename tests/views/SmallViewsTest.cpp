// ConstraintUtils, HairlineView, SimpleTextViewController and
// PieProgressIndicatorView: the shared small views.

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "platform/ui/GraphicsContext.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/LayoutEngine.h"
#include "platform/ui/StackView.h"
#include "tests/support/UITestSupport.h"
#include "views/ConstraintUtils.h"
#include "views/HairlineView.h"
#include "views/PieProgressIndicatorView.h"
#include "views/SimpleTextViewController.h"

namespace velune {
namespace {

using ui::LayoutAttribute;
using ui::Rect;

class SmallViewsTest : public testing::UITestCase {};

std::vector<std::shared_ptr<ui::LayoutConstraint>> topAndSides(const std::shared_ptr<ui::View>& view,
                                                               const std::shared_ptr<ui::View>& container) {
  return {ui::LayoutConstraint::equal(view, LayoutAttribute::Top, container, LayoutAttribute::Top),
          ui::LayoutConstraint::equal(view, LayoutAttribute::Leading, container, LayoutAttribute::Leading),
          ui::LayoutConstraint::equal(view, LayoutAttribute::Trailing, container, LayoutAttribute::Trailing)};
}

TEST_F(SmallViewsTest, ConstraintUtils_FourInactiveRulesThatFillTheContainer) {
  auto container = ui::View::make(Rect(0, 0, 300, 500));
  auto stack = ui::StackView::make();
  stack->setTranslatesAutoresizingMaskIntoConstraints(false);
  container->addSubview(stack);
  const auto rules = ConstraintUtils::stretchSubviewConstraints(stack, container);
  ASSERT_EQ(rules.size(), 4U);
  const LayoutAttribute expected[] = {LayoutAttribute::Top, LayoutAttribute::Bottom, LayoutAttribute::CenterX,
                                      LayoutAttribute::Leading};
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(rules[i]->firstItem(), stack);
    EXPECT_EQ(rules[i]->secondItem(), container);
    EXPECT_EQ(rules[i]->firstAttribute(), expected[i]);
    EXPECT_EQ(rules[i]->secondAttribute(), expected[i]);
    EXPECT_EQ(rules[i]->relation(), ui::LayoutRelation::Equal);
    EXPECT_EQ(rules[i]->multiplier(), 1);
    EXPECT_EQ(rules[i]->constant(), 0);
    EXPECT_FALSE(rules[i]->isActive());
  }
  ui::LayoutConstraint::activateConstraints(rules);
  container->layoutIfNeeded();
  EXPECT_EQ(stack->frame(), Rect(0, 0, 300, 500));
}

TEST_F(SmallViewsTest, Hairline_IsOneDevicePixelHighOnTheScreenItIsOn) {
  // The main screen has scale 3.
  auto onMain = HairlineView::init();
  EXPECT_NEAR(onMain->_hairline(), 1.0 / 3, 1e-12);
  EXPECT_NEAR(onMain->heightConstraint()->constant(), 1.0 / 3, 1e-12);
  EXPECT_TRUE(onMain->heightConstraint()->isActive());
  EXPECT_EQ(onMain->contentCompressionResistancePriority(ui::Axis::Vertical), ui::kLayoutPriorityRequired);
  EXPECT_EQ(onMain->backgroundColor(), ui::Color::barHairlineShadow());

  device_ = testing::installDevice(ui::Size{768, 1024}, 2, ui::UserInterfaceIdiom::Tablet);
  auto onTablet = HairlineView::init();
  EXPECT_EQ(onTablet->heightConstraint()->constant(), 0.5);

  // In a window, the window's screen counts; the rule keeps the value it was made with.
  auto other = std::make_shared<platform::DeviceInfo>(ui::Size{320, 480}, 1, ui::UserInterfaceIdiom::Phone);
  auto window = std::make_shared<ui::Window>(Rect(0, 0, 320, 480), std::make_shared<ui::Screen>(other));
  window->addSubview(onTablet);
  EXPECT_EQ(onTablet->_hairline(), 1.0);
  EXPECT_EQ(onTablet->heightConstraint()->constant(), 0.5);

  // Laid out across a page, it takes exactly that height.
  auto page = ui::View::make(Rect(0, 0, 200, 100));
  page->addSubview(onMain);
  ui::LayoutConstraint::activateConstraints(topAndSides(onMain, page));
  page->layoutIfNeeded();
  EXPECT_NEAR(onMain->frame().height(), 1.0 / 3, 1e-9);
  EXPECT_EQ(onMain->frame().width(), 200);
}

TEST_F(SmallViewsTest, SimpleText_RedFootnoteLabelInsetAndCutToFiveLines) {
  auto controller = std::make_shared<SimpleTextViewController>();
  const auto& label = controller->messageLabel();  // loads the view
  ASSERT_NE(label, nullptr);
  EXPECT_EQ(label->text(), "");
  EXPECT_EQ(label->numberOfLines(), 5);
  EXPECT_EQ(label->textColor(), ui::Color::red());
  EXPECT_EQ(label->font().pointSize(), 13);
  EXPECT_EQ(SimpleTextViewController::_labelHorizontalInsets(), 16);

  // Under a text field in a 270-point alert, as a name prompt shows it.
  auto alertBox = ui::View::make(Rect(0, 0, 270, 400));
  auto content = controller->view();
  content->setTranslatesAutoresizingMaskIntoConstraints(false);
  alertBox->addSubview(content);
  ui::LayoutConstraint::activateConstraints(topAndSides(content, alertBox));
  label->setText("1\n2\n3\n4\n5\n6\n7");
  alertBox->layoutIfNeeded();
  const double line = label->font().lineHeight();
  EXPECT_EQ(label->displayedText().lines.size(), 5U);
  EXPECT_EQ(label->frame(), Rect(16, 0, 238, std::ceil(5 * line)));
  EXPECT_EQ(content->frame().height(), std::ceil(5 * line));
  // One line of text: one line high.
  label->setText("Character not allowed in filename");
  alertBox->layoutIfNeeded();
  EXPECT_EQ(content->frame().height(), std::ceil(line));
  EXPECT_TRUE(ui::LayoutEngine::lastConflicts().empty());
}

double endAngleOfPie(PieProgressIndicatorView& view) {
  const auto* drawing = view.display();
  EXPECT_EQ(drawing->operations().size(), 2U);
  const auto& fill = drawing->operations().at(0);
  EXPECT_EQ(fill.kind, ui::GraphicsContext::Operation::Kind::Fill);
  EXPECT_EQ(fill.color, ui::Color::lightGray());
  const auto& arc = std::get<ui::BezierPath::Arc>(fill.path.elements().at(1));
  EXPECT_EQ(arc.startAngle, -std::numbers::pi / 2);
  EXPECT_TRUE(arc.clockwise);
  EXPECT_EQ(arc.radius, 11);
  return arc.endAngle;
}

TEST_F(SmallViewsTest, Pie_ClampsToASliverAndAGapAndRedrawsOnlyOnChange) {
  auto pie = PieProgressIndicatorView::initWithFrame(Rect(0, 0, 22, 21));  // ⌈21 ÷ 2⌉ = 11
  const double sliver = static_cast<float>(2 * std::numbers::pi * double(0.005F) - std::numbers::pi / 2);
  const double gap = static_cast<float>(2 * std::numbers::pi * double(0.995F) - std::numbers::pi / 2);
  EXPECT_EQ(endAngleOfPie(*pie), sliver);  // progress 0
  pie->setProgress(1);
  EXPECT_TRUE(pie->needsDisplay());
  EXPECT_EQ(endAngleOfPie(*pie), gap);
  pie->setProgress(-3);
  EXPECT_EQ(endAngleOfPie(*pie), sliver);
  pie->setProgress(std::nanf(""));
  EXPECT_EQ(endAngleOfPie(*pie), sliver);
  pie->setProgress(0.5F);
  EXPECT_NEAR(endAngleOfPie(*pie), std::numbers::pi / 2, 1e-6);
  pie->setProgress(0.5F);
  EXPECT_FALSE(pie->needsDisplay());
  // The ring is the oval inscribed in the bounds.
  const auto& ring = pie->display()->operations().at(1);
  EXPECT_EQ(ring.kind, ui::GraphicsContext::Operation::Kind::Stroke);
  EXPECT_EQ(std::get<ui::BezierPath::Oval>(ring.path.elements().at(0)).rect, Rect(0, 0, 22, 21));
}

}  // namespace
}  // namespace velune
