#pragma once
// ListRowMetrics: the heights of a list's rows and where each row starts.
//
// Each row has a height: one fixed height for every row, or per row a measured
// height, or the estimate while a row was never measured. Offsets and the row
// at an offset are answered in O(log n) from a Fenwick tree of the heights, so
// a list of many thousand rows neither measures every row nor sums them per
// question. Inserting or removing rows rebuilds the tree (O(n)), as moving the
// later rows' indices costs that anyway.
//
// A plain value: not thread-safe, used by ListView on the main thread.

#include <cstddef>
#include <vector>

namespace velune::ui {

class ListRowMetrics {
 public:
  // Every row `height` high; measured heights are forgotten.
  void setFixedHeight(double height);
  // Rows measured one by one; `estimate` stands in for a row not yet measured.
  void setMeasured(double estimate);
  bool isMeasured() const { return measured_; }
  double estimate() const { return estimate_; }
  // The stand-in for rows not yet measured (kept while heights are fixed).
  void setEstimate(double estimate);

  size_t count() const { return count_; }
  // `count` rows, none measured.
  void reset(size_t count);
  void insert(size_t row);
  void erase(size_t row);

  bool isKnown(size_t row) const;
  void setHeight(size_t row, double height);
  // Forgets a row's measured height (it shows other content now).
  void forget(size_t row);
  double height(size_t row) const;

  // The top of `row` (row == count(): the content height).
  double top(size_t row) const;
  double contentHeight() const { return top(count_); }
  // The row whose span holds `offset`: the last row for offsets past the end,
  // 0 for offsets before the start. Only meaningful when count() > 0.
  size_t rowAtOffset(double offset) const;

 private:
  void rebuild() const;

  bool measured_ = false;
  double fixed_ = 44;
  double estimate_ = 44;
  size_t count_ = 0;
  std::vector<double> heights_;  // measured rows: a height, or a negative number for "not measured"
  mutable std::vector<double> tree_;  // Fenwick tree (1-based) over the effective heights
  mutable bool stale_ = true;
};

}  // namespace velune::ui
