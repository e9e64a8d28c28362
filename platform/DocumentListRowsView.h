#pragma once
// DocumentListRowsView: the scrolling rows of a listing. Only the rows in
// view have cells; a cell that scrolls out is kept for the next row that
// scrolls in, so a folder of 10,000 items costs a screenful of cells. Rows are
// DocumentListCell::kRowHeight high, below `topInset` (the bars above) and
// above `bottomInset`. Main thread only.

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/DocumentListCell.h"
#include "platform/ui/View.h"

namespace velune::platform {

class DocumentListRowsView : public ui::View {
 public:
  // Cells are named "<prefix>.cell.<n>" in the order they are made.
  explicit DocumentListRowsView(std::string identifierPrefix);
  std::string_view kind() const override { return "DocumentListRowsView"; }

  std::function<size_t()> numberOfRows;
  std::function<void(DocumentListCell&, size_t row)> configureCell;
  // A new cell was made: the owner connects its taps and actions.
  std::function<void(DocumentListCell&)> prepareCell;
  std::function<void(size_t first, size_t count)> onVisibleRangeChanged;

  double topInset() const { return topInset_; }
  void setInsets(double top, double bottom);
  double contentOffset() const { return contentOffset_; }
  // Scrolls; clamped to the rows there are.
  void setContentOffset(double offset);
  void scrollToRow(size_t row);
  double contentHeight() const;

  // The rows in view: [first, first + count).
  std::pair<size_t, size_t> visibleRange() const;
  // The cell showing the row, or null when the row is not in view.
  std::shared_ptr<DocumentListCell> cellForRow(size_t row) const;
  const std::vector<std::shared_ptr<DocumentListCell>>& visibleCells() const { return visible_; }
  // Every cell made so far (in view or kept for reuse).
  size_t cellCount() const { return made_; }

  // The rows changed: the cells in view show them again.
  void reloadData();
  // Only these rows changed (their cells, when in view, show them again).
  void reloadRows(size_t first, size_t count);

  void layoutSubviews() override;

 private:
  void tile();
  std::shared_ptr<DocumentListCell> dequeueCell();

  std::string prefix_;
  double topInset_ = 0;
  double bottomInset_ = 0;
  double contentOffset_ = 0;
  size_t made_ = 0;
  std::pair<size_t, size_t> range_{0, 0};
  std::vector<std::shared_ptr<DocumentListCell>> visible_;
  std::vector<std::shared_ptr<DocumentListCell>> reusable_;
};

}  // namespace velune::platform
