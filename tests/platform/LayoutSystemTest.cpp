#include "platform/ui/LayoutSystem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/LayoutEngine.h"
#include "platform/ui/StackView.h"
#include "tests/support/LayoutTestSupport.h"
#include "tests/support/UITestSupport.h"

namespace velune::ui {
namespace {

using A = LayoutAttribute;

// A view whose intrinsic size a test changes, as a new image would.
class SizedView : public View {
 public:
  explicit SizedView(Size size) : size_(size) { setTranslatesAutoresizingMaskIntoConstraints(false); }
  Size intrinsicContentSize() const override { return size_; }
  void setSize(Size size) {
    size_ = size;
    invalidateIntrinsicContentSize();
  }

 private:
  Size size_;
};

using testing::expectIncrementalMatchesFromScratch;

class LayoutSystemTest : public testing::UITestCase {};

// Random trees of views placed by constraints: every view is pinned to its
// superview by required rules (so the layout is defined), and random extra
// rules pull at distinct priorities (so the best layout is unique). Each step
// changes one thing, as screens do between passes.
class RandomScene {
 public:
  explicit RandomScene(unsigned seed) : random_(seed) {
    root_ = View::make(Rect(0, 0, 400, 600));
    containers_.push_back(root_);
    for (int p = 300; p < 1000; p += 7) {
      if (p != 750) {
        priorities_.push_back(static_cast<LayoutPriority>(p));
      }
    }
    std::shuffle(priorities_.begin(), priorities_.end(), random_);
    for (int i = 0; i < 10; ++i) {
      addView();
    }
    for (int i = 0; i < 8; ++i) {
      addExtra();
    }
  }

  View& root() { return *root_; }

  void step() {
    switch (random_() % 8) {
      case 0:
        if (!anchors_.empty()) {
          anchors_[random_() % anchors_.size()]->setConstant(number(0, 120));
        }
        break;
      case 1:
        if (!extras_.empty()) {
          extras_[random_() % extras_.size()]->setConstant(number(-50, 150));
        }
        break;
      case 2:
        if (!extras_.empty()) {
          auto& extra = extras_[random_() % extras_.size()];
          extra->setActive(!extra->isActive());
        } else {
          addExtra();
        }
        break;
      case 3:
        if (!sized_.empty()) {
          sized_[random_() % sized_.size()]->setSize(Size{number(10, 200), number(10, 90)});
        }
        break;
      case 4:
        if (!labels_.empty()) {
          labels_[random_() % labels_.size()]->setText(words(2 + random_() % 20));
        }
        break;
      case 5:
        removeLeaf();
        break;
      case 6:
        addView();
        addExtra();
        break;
      default:
        root_->setFrame(Rect(0, 0, number(200, 500), number(300, 800)));
        break;
    }
  }

 private:
  double number(int low, int high) { return static_cast<double>(low + static_cast<int>(random_() % (high - low + 1))); }
  LayoutPriority priority() {
    const LayoutPriority p = priorities_[next_++ % priorities_.size()];
    return p;
  }
  std::string words(size_t count) {
    static const char* const kWords[] = {"layout", "of", "a", "page", "with", "wrapping", "text", "and", "rows"};
    std::string text;
    for (size_t i = 0; i < count; ++i) {
      text += (i == 0 ? "" : " ") + std::string(kWords[random_() % 9]);
    }
    return text;
  }

  void addView() {
    auto parent = containers_[random_() % containers_.size()];
    std::shared_ptr<View> view;
    const int kind = static_cast<int>(random_() % 3);
    if (kind == 0) {
      view = View::make();
      view->setTranslatesAutoresizingMaskIntoConstraints(false);
      containers_.push_back(view);
    } else if (kind == 1) {
      auto sized = std::make_shared<SizedView>(Size{number(10, 200), number(10, 90)});
      sized_.push_back(sized);
      view = sized;
    } else {
      auto label = Label::make(words(3 + random_() % 15));
      label->setNumberOfLines(0);
      label->setTranslatesAutoresizingMaskIntoConstraints(false);
      labels_.push_back(label);
      view = label;
    }
    for (const Axis axis : {Axis::Horizontal, Axis::Vertical}) {
      view->setContentHuggingPriority(priority(), axis);
      view->setContentCompressionResistancePriority(priority(), axis);
    }
    parent->addSubview(view);
    std::vector<std::shared_ptr<LayoutConstraint>> rules{
        LayoutConstraint::equal(view, A::Leading, parent, A::Leading, number(0, 60)),
        LayoutConstraint::equal(view, A::Top, parent, A::Top, number(0, 60)),
    };
    if (kind == 0) {
      rules.push_back(random_() % 2 == 0 ? LayoutConstraint::fixed(view, A::Width, number(20, 300))
                                         : LayoutConstraint::equal(view, A::Width, parent, A::Width, 0, 0.5));
      rules.push_back(LayoutConstraint::fixed(view, A::Height, number(20, 300)));
    } else if (kind == 2) {
      rules.push_back(LayoutConstraint::fixed(view, A::Width, number(40, 250)));
    }
    LayoutConstraint::activateConstraints(rules);
    anchors_.insert(anchors_.end(), rules.begin(), rules.end());
    all_.push_back(view);
  }

  void addExtra() {
    if (all_.size() < 2) {
      return;
    }
    auto a = all_[random_() % all_.size()];
    auto b = all_[random_() % all_.size()];
    std::shared_ptr<LayoutConstraint> rule;
    switch (random_() % 4) {
      case 0:
        rule = LayoutConstraint::lessOrEqual(a, A::Trailing, b, A::Leading, -number(0, 40));
        break;
      case 1:
        rule = LayoutConstraint::greaterOrEqual(a, A::Width, nullptr, A::NotAnAttribute, number(30, 200));
        break;
      case 2:
        rule = LayoutConstraint::equal(a, A::CenterX, b, A::CenterX, number(-20, 20));
        break;
      default:
        rule = LayoutConstraint::lessOrEqual(a, A::Bottom, b, A::Bottom, number(-30, 30));
        break;
    }
    rule->setPriority(priority());
    rule->setActive(true);
    extras_.push_back(rule);
  }

  void removeLeaf() {
    std::vector<size_t> leaves;
    for (size_t i = 0; i < all_.size(); ++i) {
      if (all_[i]->subviews().empty()) {
        leaves.push_back(i);
      }
    }
    if (leaves.empty()) {
      return;
    }
    const size_t index = leaves[random_() % leaves.size()];
    auto leaf = all_[index];
    leaf->removeFromSuperview();
    all_.erase(all_.begin() + static_cast<std::ptrdiff_t>(index));
    auto gone = [&](const std::shared_ptr<View>& view) { return view == leaf; };
    containers_.erase(std::remove_if(containers_.begin(), containers_.end(), gone), containers_.end());
    sized_.erase(std::remove_if(sized_.begin(), sized_.end(), [&](const auto& v) { return v == leaf; }), sized_.end());
    labels_.erase(std::remove_if(labels_.begin(), labels_.end(), [&](const auto& v) { return v == leaf; }),
                  labels_.end());
    auto involves = [&](const std::shared_ptr<LayoutConstraint>& c) {
      return c->firstItem() == leaf || c->secondItem() == leaf;
    };
    anchors_.erase(std::remove_if(anchors_.begin(), anchors_.end(), involves), anchors_.end());
    extras_.erase(std::remove_if(extras_.begin(), extras_.end(), involves), extras_.end());
  }

  std::mt19937 random_;
  std::shared_ptr<View> root_;
  std::vector<std::shared_ptr<View>> containers_;
  std::vector<std::shared_ptr<View>> all_;
  std::vector<std::shared_ptr<SizedView>> sized_;
  std::vector<std::shared_ptr<Label>> labels_;
  std::vector<std::shared_ptr<LayoutConstraint>> anchors_;
  std::vector<std::shared_ptr<LayoutConstraint>> extras_;
  std::vector<LayoutPriority> priorities_;
  size_t next_ = 0;
};

TEST_F(LayoutSystemTest, Incremental_RandomRuleSetsGiveTheFramesOfAFreshSolve) {
  int kept = 0;
  int passes = 0;
  for (unsigned seed = 1; seed <= 12; ++seed) {
    RandomScene scene(seed);
    expectIncrementalMatchesFromScratch(scene.root(), "seed " + std::to_string(seed) + " first pass");
    for (int step = 0; step < 25; ++step) {
      scene.step();
      const auto figures = expectIncrementalMatchesFromScratch(
          scene.root(), "seed " + std::to_string(seed) + " step " + std::to_string(step));
      if (::testing::Test::HasFailure()) {
        return;
      }
      ++passes;
      kept += figures.solvedFromNothing ? 0 : 1;
    }
  }
  // Most passes follow the change instead of solving everything again.
  EXPECT_GT(kept, passes * 3 / 4);
}

// The details page of a document: a title over a column of name/value rows.
std::shared_ptr<View> makePage(std::shared_ptr<Label>& title, std::vector<std::shared_ptr<View>>& rows) {
  auto page = View::make(Rect(0, 0, 390, 844));
  auto column = StackView::make();
  column->setAxis(Axis::Vertical);
  column->setSpacing(10);
  column->setTranslatesAutoresizingMaskIntoConstraints(false);
  page->addSubview(column);
  title = Label::make("Quarterly report.pdf");
  title->setNumberOfLines(0);
  column->addArrangedSubview(title);
  for (int i = 0; i < 6; ++i) {
    auto row = View::make();
    auto name = Label::make("Name " + std::to_string(i));
    auto value = Label::make("A value that needs more room than the row gives it, " + std::to_string(i));
    value->setNumberOfLines(i % 2 == 0 ? 0 : 1);
    for (const auto& label : {name, value}) {
      label->setTranslatesAutoresizingMaskIntoConstraints(false);
      row->addSubview(label);
    }
    name->setContentHuggingPriority(251, Axis::Horizontal);
    name->setContentCompressionResistancePriority(751, Axis::Horizontal);
    LayoutConstraint::activateConstraints(
        LayoutConstraint::constraintsWithVisualFormat("H:|[name]-10-[value]|", {}, {{"name", name}, {"value", value}})
            .value());
    LayoutConstraint::activateConstraints(
        LayoutConstraint::constraintsWithVisualFormat("V:|[value]|", {}, {{"value", value}}).value());
    LayoutConstraint::activateConstraints(
        LayoutConstraint::constraintsWithVisualFormat("V:|[name]", {}, {{"name", name}}).value());
    column->addArrangedSubview(row);
    rows.push_back(row);
  }
  LayoutConstraint::activateConstraints({
      LayoutConstraint::equal(column, A::Leading, page, A::Leading, 17),
      LayoutConstraint::equal(column, A::Trailing, page, A::Trailing, -17),
      LayoutConstraint::equal(column, A::Top, page, A::Top, 81),
  });
  return page;
}

TEST_F(LayoutSystemTest, Incremental_ATitleChangeEditsSizesInsteadOfSolvingAgain) {
  std::shared_ptr<Label> title;
  std::vector<std::shared_ptr<View>> rows;
  auto page = makePage(title, rows);
  page->layoutIfNeeded();
  EXPECT_TRUE(LayoutEngine::lastStatistics().solvedFromNothing);
  const double firstRowTop = rows[0]->frame().minY();

  title->setText("A much longer title for the same report that wraps over two lines or more");
  page->layoutIfNeeded();
  const auto figures = LayoutEngine::lastStatistics();
  EXPECT_FALSE(figures.solvedFromNothing);
  EXPECT_EQ(figures.added, 0U);
  EXPECT_EQ(figures.removed, 0U);
  EXPECT_GT(figures.edited, 0U);
  EXPECT_LT(figures.edited, 8U) << "only the title's sizes change";
  EXPECT_GT(title->frame().height(), 2 * std::ceil(title->font().lineHeight()) - 1);
  EXPECT_EQ(rows[0]->frame().minY(), firstRowTop + title->frame().height() - std::ceil(title->font().lineHeight()));
  expectIncrementalMatchesFromScratch(*page, "after the title change");
}

TEST_F(LayoutSystemTest, Incremental_ViewsAndConstraintsComeAndGoBetweenPasses) {
  std::shared_ptr<Label> title;
  std::vector<std::shared_ptr<View>> rows;
  auto page = makePage(title, rows);
  page->layoutIfNeeded();
  auto column = std::static_pointer_cast<StackView>(page->subviews()[0]);

  // A row leaves; the rows under it move up by its height and the spacing.
  const double gone = rows[2]->frame().height() + 10;
  const double below = rows[3]->frame().minY();
  rows[2]->removeFromSuperview();
  const auto figures = expectIncrementalMatchesFromScratch(*page, "a row removed");
  EXPECT_FALSE(figures.solvedFromNothing);
  EXPECT_EQ(figures.added, 1U);  // the spacing between the rows that now meet
  EXPECT_GT(figures.removed, 20U);
  EXPECT_EQ(rows[3]->frame().minY(), below - gone);

  // A new row (possibly where the old one lived in memory) comes in.
  rows[2].reset();
  auto added = std::make_shared<SizedView>(Size{100, 33});
  column->insertArrangedSubview(added, 2);
  expectIncrementalMatchesFromScratch(*page, "a row added");
  EXPECT_EQ(added->frame().height(), 33);
  EXPECT_EQ(rows[3]->frame().minY(), below - gone + 33 + 10);

  // Constraints switched, a priority changed, a view hidden.
  auto pinned = LayoutConstraint::fixed(added, A::Height, 50);
  pinned->setActive(true);
  EXPECT_FALSE(expectIncrementalMatchesFromScratch(*page, "a height pinned").solvedFromNothing);
  EXPECT_EQ(added->frame().height(), 50);
  pinned->setPriority(100);
  expectIncrementalMatchesFromScratch(*page, "the pin weakened");
  EXPECT_EQ(added->frame().height(), 33);
  pinned->setActive(false);
  rows[4]->setHidden(true);
  expectIncrementalMatchesFromScratch(*page, "a row hidden");

  // The page turns: the container's size is an edit too.
  page->setFrame(Rect(0, 0, 844, 390));
  expectIncrementalMatchesFromScratch(*page, "turned");
  EXPECT_EQ(column->frame().width(), 844 - 34);

  // A subtree moves to another root: both roots keep working.
  auto other = View::make(Rect(0, 0, 300, 300));
  column->removeFromSuperview();
  other->addSubview(column);
  LayoutConstraint::activateConstraints({LayoutConstraint::equal(column, A::Leading, other, A::Leading),
                                         LayoutConstraint::equal(column, A::Top, other, A::Top)});
  expectIncrementalMatchesFromScratch(*page, "the page emptied");
  expectIncrementalMatchesFromScratch(*other, "the column moved");
}

TEST_F(LayoutSystemTest, Incremental_AContradictionIsKeptAsAFreshSolveKeepsIt) {
  auto root = View::make(Rect(0, 0, 300, 300));
  auto view = View::make();
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  root->addSubview(view);
  auto first = LayoutConstraint::fixed(view, A::Width, 100);
  auto second = LayoutConstraint::fixed(view, A::Width, 150);
  LayoutConstraint::activateConstraints({first, second, LayoutConstraint::fixed(view, A::Height, 10),
                                         LayoutConstraint::equal(view, A::Leading, root, A::Leading),
                                         LayoutConstraint::equal(view, A::Top, root, A::Top)});
  expectIncrementalMatchesFromScratch(*root, "two widths");
  EXPECT_EQ(LayoutEngine::lastConflicts().size(), 1U);
  second->setConstant(100);
  expectIncrementalMatchesFromScratch(*root, "the widths agree");
  EXPECT_TRUE(LayoutEngine::lastConflicts().empty());
  EXPECT_EQ(view->frame().width(), 100);
  // A constant that contradicts a required rule only from the next pass on.
  first->setConstant(120);
  expectIncrementalMatchesFromScratch(*root, "they disagree again");
  ASSERT_EQ(LayoutEngine::lastConflicts().size(), 1U);
}

}  // namespace
}  // namespace velune::ui
