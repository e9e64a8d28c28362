#include "platform/ui/ListRowMetrics.h"

#include <algorithm>
#include <cmath>

namespace velune::ui {

namespace {
constexpr double kUnknown = -1;

double sanitized(double height) { return std::isfinite(height) && height > 0 ? height : 0.0; }
}  // namespace

void ListRowMetrics::setFixedHeight(double height) {
  measured_ = false;
  fixed_ = sanitized(height);
  heights_.clear();
  stale_ = true;
}

void ListRowMetrics::setMeasured(double estimate) {
  if (!measured_) {
    heights_.assign(count_, kUnknown);
  }
  measured_ = true;
  setEstimate(estimate);
}

void ListRowMetrics::setEstimate(double estimate) {
  estimate_ = sanitized(estimate);
  stale_ = true;
}

void ListRowMetrics::reset(size_t count) {
  count_ = count;
  if (measured_) {
    heights_.assign(count, kUnknown);
  }
  stale_ = true;
}

void ListRowMetrics::insert(size_t row) {
  row = std::min(row, count_);
  ++count_;
  if (measured_) {
    heights_.insert(heights_.begin() + static_cast<std::ptrdiff_t>(row), kUnknown);
  }
  stale_ = true;
}

void ListRowMetrics::erase(size_t row) {
  if (row >= count_) {
    return;
  }
  --count_;
  if (measured_) {
    heights_.erase(heights_.begin() + static_cast<std::ptrdiff_t>(row));
  }
  stale_ = true;
}

bool ListRowMetrics::isKnown(size_t row) const { return !measured_ || (row < count_ && heights_[row] >= 0); }

void ListRowMetrics::setHeight(size_t row, double height) {
  if (!measured_ || row >= count_) {
    return;
  }
  const double value = sanitized(height);
  const double delta = value - this->height(row);
  heights_[row] = value;
  if (stale_ || delta == 0) {
    return;
  }
  for (size_t i = row + 1; i <= count_; i += i & (~i + 1)) {
    tree_[i] += delta;
  }
}

void ListRowMetrics::forget(size_t row) {
  if (!measured_ || row >= count_ || heights_[row] < 0) {
    return;
  }
  setHeight(row, estimate_);
  heights_[row] = kUnknown;
}

double ListRowMetrics::height(size_t row) const {
  if (row >= count_) {
    return 0;
  }
  if (!measured_) {
    return fixed_;
  }
  return heights_[row] >= 0 ? heights_[row] : estimate_;
}

void ListRowMetrics::rebuild() const {
  tree_.assign(count_ + 1, 0.0);
  for (size_t i = 1; i <= count_; ++i) {
    tree_[i] += height(i - 1);
    const size_t parent = i + (i & (~i + 1));
    if (parent <= count_) {
      tree_[parent] += tree_[i];
    }
  }
  stale_ = false;
}

double ListRowMetrics::top(size_t row) const {
  row = std::min(row, count_);
  if (!measured_) {
    return fixed_ * static_cast<double>(row);
  }
  if (stale_) {
    rebuild();
  }
  double sum = 0;
  for (size_t i = row; i > 0; i -= i & (~i + 1)) {
    sum += tree_[i];
  }
  return sum;
}

size_t ListRowMetrics::rowAtOffset(double offset) const {
  if (count_ == 0 || !(offset > 0)) {
    return 0;
  }
  if (!measured_) {
    if (fixed_ <= 0) {
      return count_ - 1;
    }
    const double row = std::floor(offset / fixed_);
    return row >= static_cast<double>(count_) ? count_ - 1 : static_cast<size_t>(row);
  }
  if (stale_) {
    rebuild();
  }
  // Descend the tree: the largest prefix of rows whose heights sum to <= offset.
  size_t position = 0;
  double remaining = offset;
  size_t step = 1;
  while (step * 2 <= count_) {
    step *= 2;
  }
  for (; step > 0; step /= 2) {
    const size_t next = position + step;
    if (next <= count_ && tree_[next] <= remaining) {
      position = next;
      remaining -= tree_[next];
    }
  }
  return std::min(position, count_ - 1);
}

}  // namespace velune::ui
