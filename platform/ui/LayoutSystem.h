#pragma once
// LayoutSystem: the linear rules of one layout tree, kept solved between
// layout passes.
//
// A pass hands over the whole list of rules it derived from the tree
// (update()). The system compares it with the rules it holds: a rule that
// differs only in its constant is an edit (a size that changed: an intrinsic
// size, a frame, a container's size, a constraint's constant) and moves the
// kept solution by the dual simplex; rules that are gone are removed and new
// ones added. So the work follows what changed, not the size of the tree. A
// change too large for that to pay, and any pass with a contradiction among
// required rules, solves from nothing instead, in the order of the rules, so
// that the rule kept at priority 999 is the one the order makes it.
//
// Variables belong to views (left, top, width, height and two more a stack
// view uses) and keep their numbers while the view stays in the tree.
//
// Not thread-safe: used by LayoutEngine on the main thread.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/ui/LinearSolver.h"

namespace velune::ui {

class LayoutConstraint;
class View;

// One rule of a pass: Σ terms + constant (relation) 0 at a strength, with
// where it came from (named only when it has to be broken).
struct LayoutRule {
  std::vector<LinearSolver::Term> terms;
  double constant = 0;
  LinearSolver::Relation relation = LinearSolver::Relation::Equal;
  double strength = LinearSolver::kRequired;
  const char* what = "";
  const View* view = nullptr;
  const LayoutConstraint* constraint = nullptr;

  std::string description() const;
};

class LayoutSystem {
 public:
  // A view's variables: left, top, width, height, a stack's gap, a stack's proportion.
  enum Slot { Left, Top, Width, Height, Gap, Proportion, SlotCount };
  struct Box {
    LinearSolver::Variable variables[SlotCount];
    LinearSolver::Variable operator[](Slot slot) const { return variables[slot]; }
  };

  // The strength of a priority: 1000 is required; below, 10^(p/125), so that
  // a higher priority outweighs many rules of a lower one.
  static double strengthOf(double priority);

  // Starts a pass: views not asked for by box() before the next update() lose
  // their variables.
  void beginPass();
  // The variables of a view of the tree.
  const Box& box(const View& view);

  // Brings the solution to `rules` (terms in any order). Required rules that
  // contradict the others are kept at priority 999 and named in `broken`.
  void update(std::vector<LayoutRule> rules, std::vector<std::string>& broken);
  double value(LinearSolver::Variable variable) const { return solver_.value(variable); }

  // What the last update did, for tests and benchmarks.
  struct Statistics {
    size_t rules = 0;
    size_t edited = 0;
    size_t added = 0;
    size_t removed = 0;
    bool solvedFromNothing = false;
  };
  const Statistics& lastUpdate() const { return statistics_; }

  // Widths at which wrapping text was measured in the last pass, by view.
  std::unordered_map<const View*, double>& wrapWidths() { return wrapWidths_; }

 private:
  struct Held {
    LayoutRule rule;
    LinearSolver::Constraint handle = LinearSolver::kRefused;
  };
  struct ViewEntry {
    std::weak_ptr<const View> owner;
    Box box;
    std::uint64_t pass = 0;
  };

  static void canonicalize(LayoutRule& rule);
  static std::size_t shapeHash(const LayoutRule& rule);
  static bool sameShape(const LayoutRule& a, const LayoutRule& b);
  void solveFromNothing(std::vector<LayoutRule> rules, std::vector<std::string>& broken);

  LinearSolver solver_;
  std::vector<Held> held_;
  bool holdsConflicts_ = false;
  std::unordered_map<const View*, ViewEntry> views_;
  std::uint64_t pass_ = 0;
  LinearSolver::Variable nextVariable_ = 0;
  // Variables numbered since the solver was last made anew.
  size_t variablesMade_ = 0;
  Statistics statistics_;
  std::unordered_map<const View*, double> wrapWidths_;
};

}  // namespace velune::ui
