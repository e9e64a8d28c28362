#include "platform/ui/ListView.h"

#include <algorithm>
#include <cmath>

#include "platform/MainThread.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

std::shared_ptr<ListViewCell> ListViewDataSource::listViewMakeCell(ListView& /*list*/) {
  return ListViewCell::make();
}

std::vector<ListRowAction> ListViewDataSource::listViewActionsForRow(ListView& /*list*/, size_t /*row*/) { return {}; }

namespace {
// Measuring rows changes which rows are in view; a few rounds settle it.
constexpr int kTileRounds = 8;

std::vector<size_t> sortedUnique(std::vector<size_t> rows) {
  std::sort(rows.begin(), rows.end());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  return rows;
}
}  // namespace

ListView::ListView(Rect frame) : View(frame, "ListView") { metrics_.setFixedHeight(rowHeight_); }

void ListView::setDataSource(std::weak_ptr<ListViewDataSource> dataSource) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  dataSource_ = std::move(dataSource);
  reloadData();
}

void ListView::setRowHeight(double height) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (height == kAutomaticRowHeight) {
    metrics_.setMeasured(metrics_.estimate());
  } else {
    rowHeight_ = std::isfinite(height) && height > 0 ? height : 0.0;
    metrics_.setFixedHeight(rowHeight_);
  }
  for (const auto& [row, cell] : cells_) {
    if (metrics_.isMeasured()) {
      measure(*cell, row);
    }
  }
  tile();
}

void ListView::setEstimatedRowHeight(double height) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  metrics_.setEstimate(height);
  if (metrics_.isMeasured()) {
    tile();
  }
}

Rect ListView::rectForRow(size_t row) const {
  if (row >= numberOfRows()) {
    return Rect();
  }
  return Rect(0, metrics_.top(row), bounds().width(), metrics_.height(row));
}

double ListView::maxScrollOffset() const { return std::max(0.0, contentHeight() - bounds().height()); }

void ListView::clampScrollOffset() { scrollOffset_ = std::clamp(scrollOffset_, 0.0, maxScrollOffset()); }

void ListView::setScrollOffset(double offset) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (!std::isfinite(offset)) {
    return;
  }
  const double clamped = std::clamp(offset, 0.0, maxScrollOffset());
  if (clamped == scrollOffset_) {
    return;
  }
  scrollOffset_ = clamped;
  // Scrolling puts revealed row actions away, as a tap elsewhere would.
  for (const auto& [row, cell] : cells_) {
    cell->hideActions();
  }
  tile();
  if (auto listener = delegate()) {
    listener->listViewDidScroll(*this);
  }
}

void ListView::scrollToRow(size_t row) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  // Twice: a row measured on its way into view may change size.
  for (int round = 0; round < 2 && row < numberOfRows(); ++round) {
    const Rect rect = rectForRow(row);
    const double height = bounds().height();
    double offset = scrollOffset_;
    if (rect.minY() < offset || rect.height() > height) {
      offset = rect.minY();
    } else if (rect.maxY() > offset + height) {
      offset = rect.maxY() - height;
    }
    setScrollOffset(offset);
  }
}

ListView::RowRange ListView::visibleRowRange() const {
  const size_t count = numberOfRows();
  const double height = bounds().height();
  if (count == 0 || !(height > 0)) {
    return RowRange{};
  }
  const double end = scrollOffset_ + height;
  const size_t first = metrics_.rowAtOffset(scrollOffset_);
  size_t last = metrics_.rowAtOffset(end);
  if (last > first && metrics_.top(last) >= end) {
    --last;
  }
  return RowRange{first, last - first + 1};
}

ListView::RowRange ListView::rowsToKeep() const {
  const RowRange visible = visibleRowRange();
  if (visible.count == 0) {
    return visible;
  }
  const size_t first = visible.first - std::min(visible.first, kMarginRows);
  const size_t last = std::min(numberOfRows() - 1, visible.first + visible.count - 1 + kMarginRows);
  return RowRange{first, last - first + 1};
}

std::shared_ptr<ListViewCell> ListView::cellForRow(size_t row) const {
  const auto found = cells_.find(row);
  return found == cells_.end() ? nullptr : found->second;
}

void ListView::configure(ListViewCell& cell, size_t row) {
  cell.attach(std::static_pointer_cast<ListView>(shared_from_this()), row);
  refreshCellState(cell);
  if (auto source = dataSource()) {
    source->listViewConfigureCell(*this, cell, row);
  }
  if (metrics_.isMeasured()) {
    measure(cell, row);
  }
}

void ListView::measure(ListViewCell& cell, size_t row) {
  const double width = bounds().width();
  if (!(width > 0)) {
    return;  // measured once the list has a width
  }
  const Rect frame = cell.frame();
  cell.setFrame(Rect(frame.minX(), frame.minY(), width, frame.height()));
  // The height the cell's constraints give it at the list's width.
  const Size fitted = cell.systemLayoutSizeFittingSize(Size{width, 0}, kLayoutPriorityRequired,
                                                       kLayoutPriorityFittingSizeLevel);
  metrics_.setHeight(row, fitted.height);
}

void ListView::place(ListViewCell& cell, size_t row) {
  cell.setFrame(Rect(0, metrics_.top(row) - scrollOffset_, bounds().width(), metrics_.height(row)));
}

void ListView::refreshCellState(ListViewCell& cell) {
  const auto row = cell.row();
  cell.setEditingState(editing_, editing_ && row && isRowSelected(*row));
}

void ListView::recycle(std::shared_ptr<ListViewCell> cell) {
  cell->hideActions();
  reusable_.push_back(std::move(cell));
}

void ListView::tile() {
  if (tiling_) {
    return;  // a data source that reloads from inside a configuration
  }
  tiling_ = true;
  auto self = shared_from_this();  // a delegate or data source may drop the list meanwhile
  auto source = dataSource();
  clampScrollOffset();
  for (int round = 0; round < kTileRounds; ++round) {
    const RowRange keep = rowsToKeep();
    for (auto it = cells_.begin(); it != cells_.end();) {
      if (keep.contains(it->first)) {
        ++it;
      } else {
        recycle(it->second);
        it = cells_.erase(it);
      }
    }
    for (size_t row = keep.first; row < keep.first + keep.count; ++row) {
      if (cells_.count(row) != 0) {
        continue;
      }
      std::shared_ptr<ListViewCell> cell;
      if (!reusable_.empty()) {
        cell = std::move(reusable_.back());
        reusable_.pop_back();
      } else {
        cell = source ? source->listViewMakeCell(*this) : nullptr;
        if (!cell) {
          cell = ListViewCell::make();
        }
        cell->installParts();
        ++cellsMade_;
      }
      cells_[row] = cell;
      if (cell->superview().get() != this) {
        addSubview(cell);
      }
      configure(*cell, row);
    }
    clampScrollOffset();
    if (rowsToKeep() == keep) {
      break;
    }
  }
  for (const auto& [row, cell] : cells_) {
    place(*cell, row);
  }
  // Cells left over wait outside the tree: they take no part in layout.
  for (const auto& cell : reusable_) {
    cell->detach();
    if (cell->superview().get() == this) {
      cell->removeFromSuperview();
    }
  }
  tiling_ = false;
}

void ListView::layoutSubviews() {
  const Size size = bounds().size;
  if (!(size == laidOutSize_)) {
    if (metrics_.isMeasured() && size.width != laidOutSize_.width) {
      // Heights measured at another width no longer hold.
      metrics_.reset(metrics_.count());
      for (const auto& [row, cell] : cells_) {
        measure(*cell, row);
      }
    }
    laidOutSize_ = size;
  }
  tile();
}

void ListView::reloadData() {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  auto source = dataSource();
  const size_t count = source ? source->listViewNumberOfRows(*this) : 0;
  metrics_.reset(count);
  selected_.assign(count, 0);
  selectedCount_ = 0;
  // Rows that still exist keep their cells, configured again.
  for (auto it = cells_.begin(); it != cells_.end();) {
    if (it->first < count) {
      ++it;
    } else {
      recycle(it->second);
      it = cells_.erase(it);
    }
  }
  for (const auto& [row, cell] : cells_) {
    configure(*cell, row);
  }
  tile();
}

void ListView::reloadRows(const std::vector<size_t>& rows) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  for (const size_t row : sortedUnique(rows)) {
    if (row >= numberOfRows()) {
      continue;
    }
    metrics_.forget(row);
    if (auto cell = cellForRow(row)) {
      configure(*cell, row);
    }
  }
  tile();
}

void ListView::insertRows(std::vector<size_t> rows) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  rows = sortedUnique(std::move(rows));
  auto source = dataSource();
  const size_t expected = numberOfRows() + rows.size();
  if (!source || source->listViewNumberOfRows(*this) != expected || (!rows.empty() && rows.back() >= expected)) {
    reloadData();
    return;
  }
  for (const size_t row : rows) {
    metrics_.insert(row);
    selected_.insert(selected_.begin() + static_cast<std::ptrdiff_t>(row), 0);
  }
  std::map<size_t, std::shared_ptr<ListViewCell>> moved;
  for (auto& [row, cell] : cells_) {
    size_t shifted = row;
    for (const size_t inserted : rows) {
      if (inserted <= shifted) {
        ++shifted;
      }
    }
    cell->setRow(shifted);
    moved.emplace(shifted, std::move(cell));
  }
  cells_ = std::move(moved);
  tile();
}

void ListView::deleteRows(std::vector<size_t> rows) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  rows = sortedUnique(std::move(rows));
  auto source = dataSource();
  if (!source || (!rows.empty() && rows.back() >= numberOfRows()) ||
      source->listViewNumberOfRows(*this) != numberOfRows() - rows.size()) {
    reloadData();
    return;
  }
  for (auto it = rows.rbegin(); it != rows.rend(); ++it) {
    metrics_.erase(*it);
    if (selected_[*it] != 0) {
      --selectedCount_;
    }
    selected_.erase(selected_.begin() + static_cast<std::ptrdiff_t>(*it));
  }
  std::map<size_t, std::shared_ptr<ListViewCell>> kept;
  for (auto& [row, cell] : cells_) {
    if (std::binary_search(rows.begin(), rows.end(), row)) {
      recycle(cell);
      continue;
    }
    const auto before = static_cast<size_t>(std::lower_bound(rows.begin(), rows.end(), row) - rows.begin());
    cell->setRow(row - before);
    kept.emplace(row - before, std::move(cell));
  }
  cells_ = std::move(kept);
  tile();
}

void ListView::setEditing(bool editing) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (editing_ == editing) {
    return;
  }
  editing_ = editing;
  if (metrics_.isMeasured()) {
    // The check mark narrows the content: heights may change.
    metrics_.reset(metrics_.count());
  }
  for (const auto& [row, cell] : cells_) {
    cell->hideActions();
    refreshCellState(*cell);
    if (metrics_.isMeasured()) {
      measure(*cell, row);
    }
  }
  tile();
}

std::vector<size_t> ListView::selectedRows() const {
  std::vector<size_t> rows;
  rows.reserve(selectedCount_);
  for (size_t row = 0; row < selected_.size() && rows.size() < selectedCount_; ++row) {
    if (selected_[row] != 0) {
      rows.push_back(row);
    }
  }
  return rows;
}

void ListView::setSelected(size_t row, bool selected) {
  if (row >= selected_.size() || (selected_[row] != 0) == selected) {
    return;
  }
  selected_[row] = selected ? 1 : 0;
  selectedCount_ = selected ? selectedCount_ + 1 : selectedCount_ - 1;
  if (auto cell = cellForRow(row)) {
    refreshCellState(*cell);
  }
}

void ListView::selectRow(size_t row) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  setSelected(row, true);
}

void ListView::deselectRow(size_t row) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  setSelected(row, false);
}

void ListView::selectAllRows() {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  std::fill(selected_.begin(), selected_.end(), 1);
  selectedCount_ = selected_.size();
  for (const auto& [row, cell] : cells_) {
    refreshCellState(*cell);
  }
}

void ListView::deselectAllRows() {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  std::fill(selected_.begin(), selected_.end(), 0);
  selectedCount_ = 0;
  for (const auto& [row, cell] : cells_) {
    refreshCellState(*cell);
  }
}

bool ListView::cellTapped(ListViewCell& cell) {
  const auto row = cell.row();
  if (!row || cellForRow(*row).get() != &cell) {
    return false;
  }
  auto self = shared_from_this();
  if (cell.showsActions()) {
    cell.hideActions();  // a tap on a swiped row only puts its actions away
    return true;
  }
  if (editing_) {
    setSelected(*row, !isRowSelected(*row));
    if (auto listener = delegate()) {
      listener->listViewSelectionDidChange(*this);
    }
  } else if (auto listener = delegate()) {
    listener->listViewDidSelectRow(*this, *row);
  }
  return true;
}

bool ListView::cellSwiped(ListViewCell& cell) {
  const auto row = cell.row();
  auto source = dataSource();
  if (!row || editing_ || !source || cellForRow(*row).get() != &cell) {
    return false;
  }
  const auto actions = source->listViewActionsForRow(*this, *row);
  if (actions.empty()) {
    return false;
  }
  for (const auto& [other, shown] : cells_) {
    shown->hideActions();
  }
  cell.showActions(actions);
  return true;
}

void ListView::actionTapped(ListViewCell& cell, int action) {
  const auto row = cell.row();
  if (!row || cellForRow(*row).get() != &cell) {
    return;
  }
  auto self = shared_from_this();
  auto originating = cell.shared_from_this();
  cell.hideActions();
  if (auto listener = delegate()) {
    listener->listViewPerformRowAction(*this, *row, action, originating);
  }
}

}  // namespace velune::ui
