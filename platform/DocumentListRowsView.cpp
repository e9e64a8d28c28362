#include "platform/DocumentListRowsView.h"

#include <algorithm>
#include <cmath>

#include "platform/MainThread.h"

namespace velune::platform {

DocumentListRowsView::DocumentListRowsView(std::string identifierPrefix) : prefix_(std::move(identifierPrefix)) {
  setIdentifier(prefix_ + ".rows");
}

void DocumentListRowsView::setInsets(double top, double bottom) {
  topInset_ = top;
  bottomInset_ = bottom;
  tile();
}

double DocumentListRowsView::contentHeight() const {
  const size_t rows = numberOfRows ? numberOfRows() : 0;
  return static_cast<double>(rows) * DocumentListCell::kRowHeight;
}

void DocumentListRowsView::setContentOffset(double offset) {
  VELUNE_ASSERT_MAIN_THREAD();
  const double viewport = std::max(0.0, bounds().height() - topInset_ - bottomInset_);
  const double largest = std::max(0.0, contentHeight() - viewport);
  contentOffset_ = std::clamp(std::isfinite(offset) ? offset : 0.0, 0.0, largest);
  tile();
}

void DocumentListRowsView::scrollToRow(size_t row) {
  setContentOffset(static_cast<double>(row) * DocumentListCell::kRowHeight);
}

std::pair<size_t, size_t> DocumentListRowsView::visibleRange() const { return range_; }

std::shared_ptr<DocumentListCell> DocumentListRowsView::cellForRow(size_t row) const {
  for (const auto& cell : visible_) {
    if (cell->row() == row) {
      return cell;
    }
  }
  return nullptr;
}

void DocumentListRowsView::reloadData() {
  VELUNE_ASSERT_MAIN_THREAD();
  // Fewer rows may leave the offset past the end.
  const double viewport = std::max(0.0, bounds().height() - topInset_ - bottomInset_);
  contentOffset_ = std::clamp(contentOffset_, 0.0, std::max(0.0, contentHeight() - viewport));
  for (const auto& cell : visible_) {
    cell->removeFromSuperview();
    reusable_.push_back(cell);
  }
  visible_.clear();
  range_ = {0, 0};
  tile();
}

void DocumentListRowsView::reloadRows(size_t first, size_t count) {
  VELUNE_ASSERT_MAIN_THREAD();
  for (const auto& cell : visible_) {
    if (cell->row() >= first && cell->row() < first + count && configureCell) {
      configureCell(*cell, cell->row());
    }
  }
}

std::shared_ptr<DocumentListCell> DocumentListRowsView::dequeueCell() {
  if (!reusable_.empty()) {
    auto cell = std::move(reusable_.back());
    reusable_.pop_back();
    return cell;
  }
  auto cell = DocumentListCell::make(prefix_ + ".cell." + std::to_string(made_++));
  if (prepareCell) {
    prepareCell(*cell);
  }
  return cell;
}

void DocumentListRowsView::tile() {
  const size_t rows = numberOfRows ? numberOfRows() : 0;
  const double height = DocumentListCell::kRowHeight;
  const double viewport = std::max(0.0, bounds().height() - topInset_ - bottomInset_);
  size_t first = static_cast<size_t>(std::floor(contentOffset_ / height));
  size_t count = static_cast<size_t>(std::ceil((contentOffset_ + viewport) / height)) - first;
  first = std::min(first, rows);
  count = std::min(count, rows - first);
  const auto previous = range_;
  range_ = {first, count};

  // Cells whose row left the view go back to the pool.
  std::vector<std::shared_ptr<DocumentListCell>> kept;
  for (const auto& cell : visible_) {
    if (cell->row() >= first && cell->row() < first + count) {
      kept.push_back(cell);
    } else {
      cell->removeFromSuperview();
      reusable_.push_back(cell);
    }
  }
  visible_ = std::move(kept);
  for (size_t row = first; row < first + count; ++row) {
    auto cell = cellForRow(row);
    if (!cell) {
      cell = dequeueCell();
      // Configured before it joins the visible cells, so its old row never matches.
      if (configureCell) {
        configureCell(*cell, row);
      } else {
        cell->configure(row, {});
      }
      visible_.push_back(cell);
      addSubview(cell);
    }
    cell->setFrame(ui::Rect(0, topInset_ + static_cast<double>(row) * height - contentOffset_, bounds().width(), height));
  }
  std::sort(visible_.begin(), visible_.end(), [](const auto& a, const auto& b) { return a->row() < b->row(); });
  if (range_ != previous && onVisibleRangeChanged) {
    onVisibleRangeChanged(first, count);
  }
}

void DocumentListRowsView::layoutSubviews() { tile(); }

}  // namespace velune::platform
