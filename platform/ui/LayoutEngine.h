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
// - Text that wraps is measured at the width the solution gives it, and the
//   tree solved again until those widths hold (at most three more rounds).
// - A required constraint that contradicts the others is kept at priority 999
//   and reported in lastConflicts(): the layout stays defined.
// - Incremental: the root keeps its rules solved between passes (a
//   LayoutSystem, one for layout and one for fitting sizes), so a pass costs
//   what changed: a new text's intrinsic size or a moved frame edits the
//   constant of a rule, a new or removed view or constraint adds or removes
//   its rules. Frames are those of a fresh solve (Strategy::FromScratch, kept
//   for comparison): values within 1e-9 of a multiple of 2^-20 points are
//   taken as that multiple, so the two routes' rounding noise does not show
//   (other values, such as thirds, agree to about 1e-12). Where several
//   layouts are equally good (rules of one priority pulling against each
//   other), either may be kept.
// Main thread only.

#include <string>
#include <vector>

#include "platform/ui/LayoutSystem.h"
#include "platform/ui/View.h"

namespace velune::ui {

class LayoutEngine {
 public:
  enum class Strategy {
    Incremental,  // from the root's kept rules and solution
    FromScratch,  // a new solver for this pass; what is kept stays as it was
  };
  static void layout(View& root, Strategy strategy = Strategy::Incremental);
  // The root's size that satisfies its tree with `target` as a weak wish;
  // nothing is moved.
  static Size fittingSize(View& root, Size target, LayoutPriority horizontal, LayoutPriority vertical,
                          Strategy strategy = Strategy::Incremental);
  // Descriptions of the required constraints that had to be broken in the
  // last pass (empty when everything held).
  static const std::vector<std::string>& lastConflicts();
  // What the last layout() did to its rules, summed over its solves.
  static const LayoutSystem::Statistics& lastStatistics();
};

}  // namespace velune::ui
