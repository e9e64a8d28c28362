// The layout engine on nested arrangements: stacks inside stacks whose rule
// sets are swapped when the device turns, and columns of name/value rows
// made with visual formats whose names share one width. Checked as numbers.

#include <gtest/gtest.h>

#include <cmath>

#include "platform/ui/Font.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/LayoutEngine.h"
#include "platform/ui/StackView.h"
#include "tests/support/LayoutTestSupport.h"
#include "tests/support/UITestSupport.h"

namespace velune::ui {
namespace {

class LayoutScenariosTest : public velune::testing::UITestCase {};

// A view one third of a point high: a hairline on a 3x screen.
std::shared_ptr<View> hairline() {
  auto view = View::make();
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  view->setContentCompressionResistancePriority(kLayoutPriorityRequired, Axis::Vertical);
  LayoutConstraint::fixed(view, LayoutAttribute::Height, 1.0 / 3)->setActive(true);
  return view;
}

std::shared_ptr<StackView> column(const std::vector<std::shared_ptr<View>>& views, double spacing) {
  auto stack = StackView::make(views);
  stack->setAxis(Axis::Vertical);
  stack->setDistribution(StackView::Distribution::Fill);
  stack->setAlignment(StackView::Alignment::Center);
  stack->setSpacing(spacing);
  stack->setContentHuggingPriority(kLayoutPriorityRequired, Axis::Vertical);
  stack->setTranslatesAutoresizingMaskIntoConstraints(false);
  return stack;
}

// A picture above a name between two hairlines and two rows of facts in
// portrait; side by side in equal halves in landscape, the hairlines then
// running from the details to the page's edge. One rule set is active at a time.
TEST_F(LayoutScenariosTest, NestedStacks_TurnBetweenAColumnAndEqualHalvesBySwappingRuleSets) {
  auto page = View::make(Rect(0, 0, 390, 700));
  auto thumbnail = View::make(Rect(0, 0, 100, 100));
  thumbnail->setTranslatesAutoresizingMaskIntoConstraints(false);
  for (const Axis axis : {Axis::Horizontal, Axis::Vertical}) {
    thumbnail->setContentHuggingPriority(249, axis);
    thumbnail->setContentCompressionResistancePriority(kLayoutPriorityRequired, axis);
  }
  auto top = hairline();
  auto bottom = hairline();
  auto name = Label::make("Annual Report.pdf");
  name->setFont(Font::fontWithDescriptor(FontDescriptor::preferredFontDescriptorWithTextStyle(TextStyle::Title2), 24));
  name->setTextAlignment(TextAlignment::Center);
  name->setContentCompressionResistancePriority(kLayoutPriorityRequired, Axis::Horizontal);
  name->setContentCompressionResistancePriority(kLayoutPriorityRequired, Axis::Vertical);
  name->setContentHuggingPriority(0, Axis::Horizontal);
  auto facts = column({Label::make("Kind: PDF document"), Label::make("Size: 2 MB")}, 10);
  auto nameStack = column({top, name, bottom}, 7);
  auto details = column({nameStack, facts}, 15);
  auto main = StackView::make({thumbnail, details});
  main->setAxis(Axis::Vertical);
  main->setAlignment(StackView::Alignment::Center);
  main->setSpacing(15);
  main->setTranslatesAutoresizingMaskIntoConstraints(false);
  page->addSubview(main);
  LayoutConstraint::activateConstraints({
      LayoutConstraint::equal(main, LayoutAttribute::Top, page, LayoutAttribute::Top),
      LayoutConstraint::equal(main, LayoutAttribute::Bottom, page, LayoutAttribute::Bottom),
      LayoutConstraint::equal(main, LayoutAttribute::CenterX, page, LayoutAttribute::CenterX),
      LayoutConstraint::equal(main, LayoutAttribute::Leading, page, LayoutAttribute::Leading),
  });
  const double nameHeight = 1.2 * name->font().lineHeight();
  LayoutConstraint::activateConstraints({
      LayoutConstraint::equal(name, LayoutAttribute::Width, top, LayoutAttribute::Width),
      LayoutConstraint::fixed(name, LayoutAttribute::Height, nameHeight),
  });
  const std::vector<std::shared_ptr<LayoutConstraint>> portrait = {
      LayoutConstraint::equal(details, LayoutAttribute::Leading, main, LayoutAttribute::Leading),
      LayoutConstraint::equal(details, LayoutAttribute::Trailing, main, LayoutAttribute::Trailing),
      LayoutConstraint::equal(top, LayoutAttribute::Width, page, LayoutAttribute::Width),
      LayoutConstraint::equal(bottom, LayoutAttribute::Width, page, LayoutAttribute::Width),
  };
  const std::vector<std::shared_ptr<LayoutConstraint>> landscape = {
      LayoutConstraint::equal(details, LayoutAttribute::CenterY, main, LayoutAttribute::CenterY),
      LayoutConstraint::lessOrEqual(details, LayoutAttribute::Height, main, LayoutAttribute::Height),
      LayoutConstraint::equal(top, LayoutAttribute::Leading, details, LayoutAttribute::Leading),
      LayoutConstraint::equal(top, LayoutAttribute::Trailing, page, LayoutAttribute::Trailing),
      LayoutConstraint::equal(bottom, LayoutAttribute::Leading, details, LayoutAttribute::Leading),
      LayoutConstraint::equal(bottom, LayoutAttribute::Trailing, page, LayoutAttribute::Trailing),
  };
  LayoutConstraint::activateConstraints(portrait);
  page->layoutIfNeeded();

  const double hairline = 1.0 / 3;
  const double line = facts->arrangedSubviews()[0]->frame().height();
  const double detailsHeight = (2 * hairline + 2 * 7 + nameHeight) + 15 + (2 * line + 10);
  EXPECT_NEAR(details->frame().height(), detailsHeight, 1e-9);
  EXPECT_EQ(details->frame().width(), 390);
  // The thumbnail, lowest in hugging, takes what is left above the details.
  EXPECT_NEAR(thumbnail->frame().height(), 700 - 15 - detailsHeight, 1e-9);
  EXPECT_NEAR(details->frame().minY(), thumbnail->frame().maxY() + 15, 1e-9);
  // Hairlines and the name across the whole page, one device pixel high.
  EXPECT_EQ(top->frame().width(), 390);
  EXPECT_NEAR(top->frame().height(), hairline, 1e-9);
  EXPECT_EQ(name->frame().width(), 390);
  EXPECT_NEAR(name->frame().height(), nameHeight, 1e-9);
  EXPECT_NEAR(name->frame().minY(), top->frame().maxY() + 7, 1e-9);
  EXPECT_TRUE(LayoutEngine::lastConflicts().empty());
  velune::testing::expectIncrementalMatchesFromScratch(*page, "portrait");

  // Turned: equal halves side by side, the details centred down the page.
  page->setFrame(Rect(0, 0, 844, 390));
  main->setAxis(Axis::Horizontal);
  main->setDistribution(StackView::Distribution::FillEqually);
  details->setAlignment(StackView::Alignment::Leading);
  nameStack->setAlignment(StackView::Alignment::Leading);
  name->setTextAlignment(TextAlignment::Natural);
  LayoutConstraint::deactivateConstraints(portrait);
  LayoutConstraint::activateConstraints(landscape);
  page->layoutIfNeeded();
  const double half = (844 - 15) / 2.0;
  EXPECT_EQ(thumbnail->frame(), Rect(0, 0, half, 390));
  EXPECT_EQ(details->frame().minX(), half + 15);
  EXPECT_NEAR(details->frame().midY(), 195, 1e-9);
  EXPECT_NEAR(details->frame().height(), detailsHeight, 1e-9);
  // The hairlines (in the details' stacks) run from the details to the page's edge.
  const Rect topInPage = top->convertRectToView(top->bounds(), page.get());
  EXPECT_NEAR(topInPage.minX(), half + 15, 1e-9);
  EXPECT_NEAR(topInPage.maxX(), 844, 1e-9);
  EXPECT_NEAR(name->frame().width(), 844 - half - 15, 1e-9);
  EXPECT_EQ(name->frame().minX(), 0);  // leading in its stack
  EXPECT_TRUE(LayoutEngine::lastConflicts().empty());
  for (const auto& rule : portrait) {
    EXPECT_FALSE(rule->isActive());
  }
  velune::testing::expectIncrementalMatchesFromScratch(*page, "landscape");
}

// One row: a grey name and a value after it, from visual formats.
struct Row {
  std::shared_ptr<View> view;
  std::shared_ptr<Label> name;
  std::shared_ptr<Label> value;
};

Row makeRow(const std::string& nameText, const std::string& valueText, int maxLines) {
  Row row{View::make(), Label::make(nameText), Label::make(valueText)};
  row.view->setTranslatesAutoresizingMaskIntoConstraints(false);
  const auto font = Font::preferredFontForTextStyle(TextStyle::Subheadline);
  row.name->setFont(font);
  row.name->setTextColor(Color::gray());
  row.name->setTextAlignment(TextAlignment::Right);
  row.name->setContentHuggingPriority(251, Axis::Horizontal);
  row.name->setContentHuggingPriority(kLayoutPriorityRequired, Axis::Vertical);
  row.name->setContentCompressionResistancePriority(kLayoutPriorityRequired, Axis::Vertical);
  row.value->setFont(font);
  row.value->setNumberOfLines(maxLines);
  row.value->setContentHuggingPriority(250, Axis::Horizontal);
  row.value->setContentHuggingPriority(kLayoutPriorityRequired, Axis::Vertical);
  row.value->setContentCompressionResistancePriority(250, Axis::Horizontal);
  row.value->setContentCompressionResistancePriority(kLayoutPriorityRequired, Axis::Vertical);
  for (const auto& label : {row.name, row.value}) {
    label->setTranslatesAutoresizingMaskIntoConstraints(false);
    row.view->addSubview(label);
  }
  const LayoutConstraint::ViewMap views = {{"_nameLabel", row.name}, {"_valueLabel", row.value}};
  for (const char* format : {"H:|[_nameLabel]-10-[_valueLabel]|", "V:|[_nameLabel]", "V:|[_valueLabel]|"}) {
    auto rules = LayoutConstraint::constraintsWithVisualFormat(format, {}, views);
    EXPECT_TRUE(rules.ok()) << format;
    if (rules.ok()) {
      LayoutConstraint::activateConstraints(rules.value());
    }
  }
  return row;
}

TEST_F(LayoutScenariosTest, VisualFormatRows_NamesShareTheWidestWidthAndALongValueWrapsToItsLimit) {
  auto container = View::make(Rect(0, 0, 300, 600));
  auto rows = StackView::make();
  rows->setAxis(Axis::Vertical);
  rows->setAlignment(StackView::Alignment::Leading);
  rows->setSpacing(10);
  rows->setTranslatesAutoresizingMaskIntoConstraints(false);
  container->addSubview(rows);
  LayoutConstraint::activateConstraints({
      LayoutConstraint::equal(rows, LayoutAttribute::Top, container, LayoutAttribute::Top),
      LayoutConstraint::equal(rows, LayoutAttribute::Leading, container, LayoutAttribute::Leading),
      LayoutConstraint::equal(rows, LayoutAttribute::Trailing, container, LayoutAttribute::Trailing),
  });
  const std::string where =
      "Velune Drive \u25B8 Projects \u25B8 2026 \u25B8 Quarterly reviews \u25B8 Finance and planning \u25B8 "
      "Drafts for the board \u25B8 Archive of older versions";
  std::vector<Row> made;
  for (const auto& [name, value, lines] : std::vector<std::tuple<std::string, std::string, int>>{
           {"Kind", "PDF document", 1}, {"Size", "2 MB", 1}, {"Where", where, 3}, {"Modified", "Today at 09:41", 1}}) {
    Row row = makeRow(name, value, lines);
    rows->addArrangedSubview(row.view);
    if (!made.empty()) {
      auto equal = LayoutConstraint::constraintsWithVisualFormat(
          "[nameLabel(==lastNameLabel)]", {}, {{"nameLabel", row.name}, {"lastNameLabel", made.back().name}});
      ASSERT_TRUE(equal.ok());
      LayoutConstraint::activateConstraints(equal.value());
    }
    made.push_back(row);
  }
  container->layoutIfNeeded();

  double widest = 0;
  for (const auto& row : made) {
    widest = std::max(widest, row.name->intrinsicContentSize().width);
  }
  const double line = made[0].value->frame().height();
  for (const auto& row : made) {
    SCOPED_TRACE(row.name->text());
    EXPECT_NEAR(row.name->frame().width(), widest, 1e-9);
    EXPECT_NEAR(row.value->frame().minX(), widest + 10, 1e-9);
    EXPECT_EQ(row.name->frame().minY(), 0);  // the name sticks to the top
    EXPECT_LE(row.view->frame().maxX(), 300 + 1e-9);
  }
  // The long value takes the rest of the width and is cut to three lines.
  const Row& whereRow = made[2];
  EXPECT_NEAR(whereRow.value->frame().width(), 300 - widest - 10, 1e-9);
  EXPECT_EQ(whereRow.value->displayedText().lines.size(), 3U);
  EXPECT_TRUE(whereRow.value->displayedText().truncated);
  EXPECT_NEAR(whereRow.view->frame().height(), 3 * line, 1);
  // Rows follow one another ten points apart.
  for (size_t i = 1; i < made.size(); ++i) {
    EXPECT_NEAR(made[i].view->frame().minY(), made[i - 1].view->frame().maxY() + 10, 1e-9);
  }
  EXPECT_TRUE(LayoutEngine::lastConflicts().empty());
  velune::testing::expectIncrementalMatchesFromScratch(*container, "rows");
}

}  // namespace
}  // namespace velune::ui
