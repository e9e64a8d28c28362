#pragma once
// LayoutEngine: the layout pass. It turns a view tree's constraints, stack
// views, intrinsic sizes (with hugging and compression-resistance priorities)
// and autoresizing frames into linear constraints, solves them (LinearSolver)
// and writes the frames back; then it calls each view's layoutSubviews().
//
// - The root (the top of the tree) keeps its frame; everything below is placed
//   relative to it.
// - Priorities: 1000 is required; lower priorities weigh 10^(p/125), so a
//   higher priority always wins over a lower one of the same magnitude.
// - Text that wraps is measured at the width the first solution gives it, and
//   the tree solved again (at most three rounds).
// - A required constraint that contradicts the others is kept at priority 999
//   and reported in lastConflicts(): the layout stays defined.
// Main thread only.

#include <string>
#include <vector>

#include "platform/ui/View.h"

namespace velune::ui {

class LayoutEngine {
 public:
  static void layout(View& root);
  // The root's size that satisfies its tree with `target` as a weak wish;
  // nothing is moved.
  static Size fittingSize(View& root, Size target, LayoutPriority horizontal, LayoutPriority vertical);
  // Descriptions of the required constraints that had to be broken in the
  // last pass (empty when everything held).
  static const std::vector<std::string>& lastConflicts();
};

}  // namespace velune::ui
