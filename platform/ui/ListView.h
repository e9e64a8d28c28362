#pragma once
// ListView: a scrolling list of rows, for listings of any length.
//
// - Data: a data source answers the number of rows, makes cells and
//   configures a cell for a row; only the rows on screen (plus a margin of
//   kMarginRows above and below) have cells, and cells that scroll out are
//   reused for the rows that scroll in. reloadData() asks everything again;
//   reloadRows(), insertRows() and deleteRows() touch only what they name:
//   the cells of other visible rows keep their content (their row numbers
//   shift) and are not configured again.
// - Geometry: rows are one fixed height (setRowHeight) or measured from a
//   configured cell's constraints at the list's width
//   (setRowHeight(kAutomaticRowHeight), with estimatedRowHeight() standing in
//   for rows never shown). contentHeight() is the sum; scrollOffset() is kept
//   within [0, contentHeight − height]. Cells are frame-placed children of the
//   list at (0, top of row − scroll offset), as wide as the list.
// - Selection: a set of rows, kept across scrolling and shifted by inserts
//   and deletes. In edit mode a tap toggles the row's selection (its cell shows
//   a check mark) and the delegate hears listViewSelectionDidChange; outside
//   edit mode a tap is reported as listViewDidSelectRow. Selecting from code
//   tells nobody.
// - Row actions: a swipe on a cell reveals the actions the data source gives
//   the row; tapping one reports its index with the cell as the originating
//   view and hides the actions again.
//
// The data source and the delegate are held weakly. Main thread only, like
// the whole UI model; the data source and delegate are called on it, from
// inside the call that needs them (never later).

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

#include "platform/ui/ListRowMetrics.h"
#include "platform/ui/ListViewCell.h"
#include "platform/ui/View.h"

namespace velune::ui {

class ListView;

class ListViewDataSource {
 public:
  virtual ~ListViewDataSource() = default;
  virtual size_t listViewNumberOfRows(ListView& list) = 0;
  // A new cell, with its content built but not filled. The list sizes and places it.
  virtual std::shared_ptr<ListViewCell> listViewMakeCell(ListView& list);
  // Fills `cell` for `row`: a new cell, or one that showed another row before.
  virtual void listViewConfigureCell(ListView& list, ListViewCell& cell, size_t row) = 0;
  // The actions a row offers when swiped (none by default).
  virtual std::vector<ListRowAction> listViewActionsForRow(ListView& list, size_t row);
};

class ListViewDelegate {
 public:
  virtual ~ListViewDelegate() = default;
  // A row was tapped outside edit mode.
  virtual void listViewDidSelectRow(ListView& /*list*/, size_t /*row*/) {}
  // A tap in edit mode changed the selection.
  virtual void listViewSelectionDidChange(ListView& /*list*/) {}
  // A revealed row action was tapped; `originatingView` is the row's cell.
  virtual void listViewPerformRowAction(ListView& /*list*/, size_t /*row*/, int /*action*/,
                                        const std::shared_ptr<View>& /*originatingView*/) {}
  // The scroll offset changed.
  virtual void listViewDidScroll(ListView& /*list*/) {}
};

class ListView : public View {
 public:
  // The rows [first, first + count).
  struct RowRange {
    size_t first = 0;
    size_t count = 0;
    bool operator==(const RowRange&) const = default;
    bool contains(size_t row) const { return row >= first && row - first < count; }
  };

  static constexpr double kAutomaticRowHeight = -1;
  static constexpr size_t kMarginRows = 2;

  explicit ListView(Rect frame = Rect());
  static std::shared_ptr<ListView> make(Rect frame = Rect()) { return std::make_shared<ListView>(frame); }

  std::string_view kind() const override { return "ListView"; }

  std::shared_ptr<ListViewDataSource> dataSource() const { return dataSource_.lock(); }
  void setDataSource(std::weak_ptr<ListViewDataSource> dataSource);
  std::shared_ptr<ListViewDelegate> delegate() const { return delegate_.lock(); }
  void setDelegate(std::weak_ptr<ListViewDelegate> delegate) { delegate_ = std::move(delegate); }

  // --- Rows and geometry ---
  size_t numberOfRows() const { return metrics_.count(); }
  double rowHeight() const { return metrics_.isMeasured() ? kAutomaticRowHeight : rowHeight_; }
  void setRowHeight(double height);
  double estimatedRowHeight() const { return metrics_.estimate(); }
  void setEstimatedRowHeight(double height);
  // The rectangle of a row in the list's content (y from the top of the first row).
  Rect rectForRow(size_t row) const;
  double contentHeight() const { return metrics_.contentHeight(); }

  // --- Scrolling (also a person's scroll, as the screen sends it) ---
  double scrollOffset() const { return scrollOffset_; }
  void setScrollOffset(double offset);
  // Scrolls the least that shows the whole row (its top when it is taller than the list).
  void scrollToRow(size_t row);
  // The rows that intersect the list's bounds.
  RowRange visibleRowRange() const;

  // --- Cells ---
  // The cells that exist, by row: the visible rows and the margin.
  const std::map<size_t, std::shared_ptr<ListViewCell>>& visibleCells() const { return cells_; }
  // The cell of a row, or null when that row has none now.
  std::shared_ptr<ListViewCell> cellForRow(size_t row) const;
  // How many cells were ever made (reuse keeps this near the rows on screen).
  size_t cellsMade() const { return cellsMade_; }

  // --- Data changes ---
  void reloadData();
  void reloadRows(const std::vector<size_t>& rows);
  // Rows numbered as after the change; the data source must already answer
  // the new count (when it does not, the list reloads everything instead).
  void insertRows(std::vector<size_t> rows);
  // Rows numbered as before the change.
  void deleteRows(std::vector<size_t> rows);

  // --- Editing and selection ---
  bool isEditing() const { return editing_; }
  void setEditing(bool editing);
  bool isRowSelected(size_t row) const { return row < selected_.size() && selected_[row] != 0; }
  // Rows in ascending order.
  std::vector<size_t> selectedRows() const;
  size_t selectedRowCount() const { return selectedCount_; }
  void selectRow(size_t row);
  void deselectRow(size_t row);
  void selectAllRows();
  void deselectAllRows();

  void layoutSubviews() override;

 private:
  friend class ListViewCell;

  bool cellTapped(ListViewCell& cell);
  bool cellSwiped(ListViewCell& cell);
  void actionTapped(ListViewCell& cell, int action);
  void setSelected(size_t row, bool selected);
  void refreshCellState(ListViewCell& cell);
  // Makes, reuses, configures and places the cells of the rows in view.
  void tile();
  void configure(ListViewCell& cell, size_t row);
  void measure(ListViewCell& cell, size_t row);
  void place(ListViewCell& cell, size_t row);
  void recycle(std::shared_ptr<ListViewCell> cell);
  RowRange rowsToKeep() const;
  double maxScrollOffset() const;
  void clampScrollOffset();

  std::weak_ptr<ListViewDataSource> dataSource_;
  std::weak_ptr<ListViewDelegate> delegate_;
  ListRowMetrics metrics_;
  double rowHeight_ = 44;
  double scrollOffset_ = 0;
  bool editing_ = false;
  std::vector<char> selected_;  // one flag per row
  size_t selectedCount_ = 0;
  std::map<size_t, std::shared_ptr<ListViewCell>> cells_;
  std::vector<std::shared_ptr<ListViewCell>> reusable_;
  size_t cellsMade_ = 0;
  Size laidOutSize_;
  bool tiling_ = false;
};

}  // namespace velune::ui
