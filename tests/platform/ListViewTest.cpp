#include "platform/ui/ListView.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "platform/ui/Button.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "tests/support/UITestSupport.h"

namespace velune::ui {
namespace {

using A = LayoutAttribute;

// Rows of text; each cell holds one label pinned inside its content with
// constraints, so measured rows take the label's height plus the margins.
class Rows : public ListViewDataSource, public ListViewDelegate {
 public:
  explicit Rows(size_t count) {
    for (size_t i = 0; i < count; ++i) {
      texts.push_back("Row " + std::to_string(i));
    }
  }

  size_t listViewNumberOfRows(ListView&) override { return texts.size(); }
  std::shared_ptr<ListViewCell> listViewMakeCell(ListView&) override {
    auto cell = ListViewCell::make();
    auto label = Label::make();
    label->setNumberOfLines(0);
    label->setTranslatesAutoresizingMaskIntoConstraints(false);
    cell->contentView()->addSubview(label);
    const auto& content = cell->contentView();
    LayoutConstraint::activateConstraints({
        LayoutConstraint::equal(label, A::Leading, content, A::Leading, 16),
        LayoutConstraint::equal(label, A::Trailing, content, A::Trailing, -16),
        LayoutConstraint::equal(label, A::Top, content, A::Top, 10),
        LayoutConstraint::equal(label, A::Bottom, content, A::Bottom, -10),
    });
    return cell;
  }
  void listViewConfigureCell(ListView&, ListViewCell& cell, size_t row) override {
    labelOf(cell).setText(texts.at(row));
    configured.push_back(row);
  }
  std::vector<ListRowAction> listViewActionsForRow(ListView&, size_t row) override {
    if (row % 2 == 1) {
      return {};
    }
    return {{2, "Details", false}, {0, "Delete", true}};
  }

  void listViewDidSelectRow(ListView&, size_t row) override { tapped.push_back(row); }
  void listViewSelectionDidChange(ListView&) override { ++selectionChanges; }
  void listViewPerformRowAction(ListView&, size_t row, int action, const std::shared_ptr<View>& view) override {
    actions.push_back({row, action, view});
  }

  static Label& labelOf(ListViewCell& cell) { return static_cast<Label&>(*cell.contentView()->subviews().front()); }

  struct Action {
    size_t row;
    int index;
    std::shared_ptr<View> view;
  };
  std::vector<std::string> texts;
  std::vector<size_t> configured;
  std::vector<size_t> tapped;
  int selectionChanges = 0;
  std::vector<Action> actions;
};

class ListViewTest : public testing::UITestCase {
 protected:
  std::shared_ptr<ListView> makeList(size_t rows, Rect frame = Rect(0, 0, 390, 440)) {
    rows_ = std::make_shared<Rows>(rows);
    auto list = ListView::make(frame);
    list->setDelegate(rows_);
    list->setDataSource(rows_);
    return list;
  }
  std::string textOf(const ListView& list, size_t row) {
    auto cell = list.cellForRow(row);
    return cell ? Rows::labelOf(*cell).text() : "<no cell>";
  }
  std::shared_ptr<Rows> rows_;
};

TEST_F(ListViewTest, Scrolling_TenThousandRowsKeepCellsOnlyForTheRowsInView) {
  auto list = makeList(10000);
  EXPECT_EQ(list->numberOfRows(), 10000U);
  EXPECT_EQ(list->contentHeight(), 440000);
  EXPECT_EQ(list->visibleRowRange(), (ListView::RowRange{0, 10}));
  // Ten rows in view and a margin of two below.
  EXPECT_EQ(list->visibleCells().size(), 12U);
  EXPECT_EQ(list->cellsMade(), 12U);
  EXPECT_EQ(textOf(*list, 11), "Row 11");

  list->setScrollOffset(5000 * 44 + 22);
  EXPECT_EQ(list->visibleRowRange(), (ListView::RowRange{5000, 11}));
  ASSERT_EQ(list->visibleCells().size(), 15U);
  EXPECT_EQ(list->visibleCells().begin()->first, 4998U);
  EXPECT_EQ(list->cellsMade(), 15U);  // the cells of rows 0…11 were reused
  EXPECT_EQ(list->subviews().size(), 15U);
  EXPECT_EQ(textOf(*list, 5000), "Row 5000");
  EXPECT_EQ(list->cellForRow(5000)->frame(), Rect(0, -22, 390, 44));
  EXPECT_EQ(list->cellForRow(5010)->frame(), Rect(0, 418, 390, 44));
  EXPECT_EQ(*list->cellForRow(5003)->row(), 5003U);
  EXPECT_EQ(list->cellForRow(11), nullptr);

  // Scrolling clamps to the content; bad offsets are ignored.
  list->setScrollOffset(1e12);
  EXPECT_EQ(list->scrollOffset(), 440000 - 440);
  EXPECT_EQ(list->visibleRowRange(), (ListView::RowRange{9990, 10}));
  EXPECT_EQ(textOf(*list, 9999), "Row 9999");
  list->setScrollOffset(std::nan(""));
  list->setScrollOffset(-5);
  EXPECT_EQ(list->scrollOffset(), 0);
  EXPECT_EQ(list->cellsMade(), 15U);

  list->scrollToRow(20);
  EXPECT_EQ(list->scrollOffset(), 21 * 44 - 440);
  EXPECT_EQ(list->visibleRowRange().first + list->visibleRowRange().count, 21U);
}

TEST_F(ListViewTest, Scrolling_ShortOrEmptyListsAndAListWithoutSize) {
  auto list = makeList(3);
  EXPECT_EQ(list->visibleRowRange(), (ListView::RowRange{0, 3}));
  list->setScrollOffset(100);
  EXPECT_EQ(list->scrollOffset(), 0);

  auto empty = makeList(0);
  EXPECT_TRUE(empty->visibleCells().empty());
  EXPECT_EQ(empty->visibleRowRange(), ListView::RowRange{});

  auto unsized = makeList(50, Rect());
  EXPECT_TRUE(unsized->visibleCells().empty());
  unsized->setFrame(Rect(0, 0, 320, 100));
  unsized->layoutIfNeeded();
  EXPECT_EQ(unsized->visibleRowRange(), (ListView::RowRange{0, 3}));
  EXPECT_EQ(unsized->cellForRow(2)->frame(), Rect(0, 88, 320, 44));

  // Measured rows wait for a width instead of wrapping at zero.
  auto measured = makeList(50, Rect());
  measured->setRowHeight(ListView::kAutomaticRowHeight);
  measured->setFrame(Rect(0, 0, 320, 100));
  measured->layoutIfNeeded();
  const double line = std::ceil(Rows::labelOf(*measured->cellForRow(0)).font().lineHeight());
  EXPECT_EQ(measured->rectForRow(0), Rect(0, 0, 320, line + 20));
  EXPECT_EQ(measured->visibleRowRange(), (ListView::RowRange{0, 3}));
}

TEST_F(ListViewTest, MeasuredRows_TakeTheHeightTheirConstraintsGiveAtTheListsWidth) {
  auto list = makeList(1000);
  list->setEstimatedRowHeight(50);
  list->setRowHeight(ListView::kAutomaticRowHeight);
  rows_->texts[1] = std::string(300, 'w') + " a long text that wraps over several lines of the row";
  list->reloadRows({1});
  const double line = std::ceil(Rows::labelOf(*list->cellForRow(0)).font().lineHeight());
  EXPECT_EQ(list->rectForRow(0), Rect(0, 0, 390, line + 20));
  const Rect tall = list->rectForRow(1);
  EXPECT_GT(tall.height(), 3 * line + 20);
  EXPECT_EQ(tall.minY(), line + 20);
  // Rows never shown count at the estimate.
  EXPECT_EQ(list->rectForRow(999).height(), 50);
  const double shown = list->contentHeight();
  list->scrollToRow(999);
  EXPECT_EQ(list->rectForRow(999).height(), line + 20);
  EXPECT_LT(list->contentHeight(), shown);
  EXPECT_EQ(list->scrollOffset(), list->contentHeight() - 440);

  // The cells are laid out by the layout pass at the heights measured.
  list->layoutIfNeeded();
  auto cell = list->cellForRow(999);
  EXPECT_EQ(cell->frame().height(), line + 20);
  EXPECT_EQ(Rows::labelOf(*cell).frame(), Rect(16, 10, 390 - 32, line));

  // A narrower list measures again.
  list->setFrame(Rect(0, 0, 200, 440));
  list->layoutIfNeeded();
  list->scrollToRow(1);
  EXPECT_GT(list->rectForRow(1).height(), tall.height());
}

TEST_F(ListViewTest, InsertAndDelete_ShiftRowsWithoutConfiguringTheCellsThatDidNotChange) {
  auto list = makeList(100);
  list->selectRow(3);
  list->selectRow(50);
  auto cellOfRow2 = list->cellForRow(2);
  rows_->configured.clear();

  rows_->texts.insert(rows_->texts.begin() + 1, "New");
  list->insertRows({1});
  EXPECT_EQ(rows_->configured, (std::vector<size_t>{1}));
  EXPECT_EQ(list->cellForRow(3), cellOfRow2);
  EXPECT_EQ(*cellOfRow2->row(), 3U);
  EXPECT_EQ(textOf(*list, 1), "New");
  EXPECT_EQ(textOf(*list, 11), "Row 10");
  EXPECT_EQ(list->selectedRows(), (std::vector<size_t>{4, 51}));
  EXPECT_EQ(list->numberOfRows(), 101U);
  EXPECT_EQ(list->visibleCells().size(), 12U);

  rows_->configured.clear();
  rows_->texts.erase(rows_->texts.begin(), rows_->texts.begin() + 2);
  list->deleteRows({1, 0});
  EXPECT_EQ(list->cellForRow(1), cellOfRow2);
  EXPECT_EQ(list->selectedRows(), (std::vector<size_t>{2, 49}));
  // Only the rows that came into view below were configured.
  EXPECT_EQ(rows_->configured, (std::vector<size_t>{10, 11}));
  EXPECT_EQ(textOf(*list, 0), "Row 1");
  EXPECT_EQ(textOf(*list, 11), "Row 12");
  EXPECT_EQ(list->cellForRow(0)->frame().minY(), 0);

  // A data source that does not answer the new count: everything is asked again.
  rows_->configured.clear();
  list->insertRows({0});
  EXPECT_EQ(rows_->configured.size(), 12U);
  EXPECT_EQ(list->numberOfRows(), 99U);
  EXPECT_EQ(list->selectedRowCount(), 0U);

  // Reloading rows configures only theirs; reloading fewer rows recycles cells.
  rows_->configured.clear();
  rows_->texts[4] = "Changed";
  list->reloadRows({4, 4, 500});
  EXPECT_EQ(rows_->configured, (std::vector<size_t>{4}));
  EXPECT_EQ(textOf(*list, 4), "Changed");
  list->setScrollOffset(2000);
  rows_->texts.resize(5);
  list->reloadData();
  EXPECT_EQ(list->scrollOffset(), 0);
  EXPECT_EQ(list->visibleCells().size(), 5U);
  EXPECT_EQ(list->subviews().size(), 5U);
}

TEST_F(ListViewTest, Taps_SelectOutsideEditModeAndToggleCheckMarksInIt) {
  auto list = makeList(10000);
  EXPECT_TRUE(list->cellForRow(4)->tap());
  EXPECT_EQ(rows_->tapped, (std::vector<size_t>{4}));
  EXPECT_EQ(list->selectedRowCount(), 0U);
  EXPECT_TRUE(list->cellForRow(4)->checkMarkView()->isHidden());

  list->setEditing(true);
  auto cell = list->cellForRow(4);
  EXPECT_FALSE(cell->checkMarkView()->isHidden());
  EXPECT_EQ(cell->contentView()->frame().minX(), ListViewCell::kCheckMarkWidth);
  cell->tap();
  cell->tap();
  list->cellForRow(6)->tap();
  EXPECT_EQ(rows_->tapped.size(), 1U);
  EXPECT_EQ(rows_->selectionChanges, 3);
  EXPECT_EQ(list->selectedRows(), (std::vector<size_t>{6}));
  EXPECT_TRUE(list->cellForRow(6)->isChecked());
  EXPECT_FALSE(cell->isChecked());

  // Select-all on a long list, then the selection follows rows into view.
  list->selectAllRows();
  EXPECT_EQ(list->selectedRowCount(), 10000U);
  list->setScrollOffset(9000 * 44);
  EXPECT_TRUE(list->cellForRow(9001)->isChecked());
  list->deselectRow(9001);
  EXPECT_FALSE(list->cellForRow(9001)->isChecked());
  EXPECT_EQ(list->selectedRows().size(), 9999U);
  list->deselectAllRows();
  EXPECT_EQ(list->selectedRowCount(), 0U);

  list->setEditing(false);
  EXPECT_TRUE(list->cellForRow(9001)->checkMarkView()->isHidden());
  EXPECT_EQ(list->cellForRow(9001)->contentView()->frame().minX(), 0);

  // A hidden list takes no taps.
  list->setHidden(true);
  EXPECT_FALSE(list->cellForRow(9001)->tap());
  EXPECT_EQ(rows_->tapped.size(), 1U);
}

TEST_F(ListViewTest, RowActions_SwipeRevealsThemAndATapReportsTheIndexWithTheCell) {
  auto list = makeList(20);
  auto cell = list->cellForRow(2);
  EXPECT_FALSE(list->cellForRow(1)->swipe());  // odd rows offer nothing
  ASSERT_TRUE(cell->swipe());
  ASSERT_EQ(cell->actionButtons().size(), 2U);
  EXPECT_EQ(cell->actionButtons()[1]->identifier(), cell->identifier() + ".action.0");
  EXPECT_EQ(cell->actionButtons()[1]->frame(), Rect(390 - 74, 0, 74, 44));
  EXPECT_EQ(cell->contentView()->frame().minX(), -2 * 74);

  // Tapping the row itself only puts the actions away.
  EXPECT_TRUE(cell->tap());
  EXPECT_FALSE(cell->showsActions());
  EXPECT_TRUE(rows_->tapped.empty());

  cell->swipe();
  list->cellForRow(4)->swipe();  // one row shows its actions at a time
  EXPECT_FALSE(cell->showsActions());
  auto other = list->cellForRow(4);
  other->actionButtons()[1]->tap();
  ASSERT_EQ(rows_->actions.size(), 1U);
  EXPECT_EQ(rows_->actions[0].row, 4U);
  EXPECT_EQ(rows_->actions[0].index, 0);
  EXPECT_EQ(rows_->actions[0].view, other);
  EXPECT_FALSE(other->showsActions());
  EXPECT_EQ(other->contentView()->frame().minX(), 0);

  // Scrolling puts them away; edit mode offers none.
  cell->swipe();
  list->setScrollOffset(10);
  EXPECT_FALSE(cell->showsActions());
  list->setEditing(true);
  EXPECT_FALSE(list->cellForRow(2)->swipe());
}

TEST_F(ListViewTest, Lifetime_ADataSourceOrDelegateThatIsGoneIsNotCalled) {
  auto list = makeList(30);
  auto cell = list->cellForRow(0);
  rows_.reset();
  EXPECT_TRUE(cell->tap());  // handled, nobody to tell
  list->reloadData();
  EXPECT_EQ(list->numberOfRows(), 0U);
  EXPECT_TRUE(list->visibleCells().empty());
  EXPECT_FALSE(cell->row().has_value());
  EXPECT_FALSE(cell->tap());
}

}  // namespace
}  // namespace velune::ui
