#pragma once
// Checks of the layout pass for tests: a tree laid out from its kept rules
// must get the frames (and conflicts) that a solve from nothing gives it.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/ui/LayoutEngine.h"
#include "platform/ui/View.h"

namespace velune::testing {

inline void collectFrames(const ui::View& view, std::vector<ui::Rect>& frames) {
  frames.push_back(view.frame());
  for (const auto& child : view.subviews()) {
    collectFrames(*child, frames);
  }
}

// Every frame of the tree, depth first.
inline std::vector<ui::Rect> framesOf(const ui::View& root) {
  std::vector<ui::Rect> frames;
  collectFrames(root, frames);
  return frames;
}

// Lays `root` out from its kept rules, then from nothing, and expects the same
// frames and conflicts both times. Returns what the pass from the kept rules did.
inline ui::LayoutSystem::Statistics expectIncrementalMatchesFromScratch(ui::View& root, const std::string& where) {
  using Strategy = ui::LayoutEngine::Strategy;
  ui::LayoutEngine::layout(root, Strategy::Incremental);
  const ui::LayoutSystem::Statistics figures = ui::LayoutEngine::lastStatistics();
  const auto incremental = framesOf(root);
  const auto conflicts = ui::LayoutEngine::lastConflicts();
  ui::LayoutEngine::layout(root, Strategy::FromScratch);
  const auto scratch = framesOf(root);
  EXPECT_EQ(incremental.size(), scratch.size()) << where;
  for (size_t i = 0; i < std::min(scratch.size(), incremental.size()); ++i) {
    EXPECT_EQ(incremental[i], scratch[i]) << where << ", view " << i << ": " << incremental[i].description()
                                          << " kept, " << scratch[i].description() << " fresh";
  }
  EXPECT_EQ(conflicts, ui::LayoutEngine::lastConflicts()) << where;
  return figures;
}

}  // namespace velune::testing
