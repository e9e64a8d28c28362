#include "platform/ui/LayoutEngine.h"

#include <cmath>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "platform/MainThread.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/LayoutSystem.h"
#include "platform/ui/LinearSolver.h"
#include "platform/ui/StackView.h"

namespace velune::ui {

namespace {

using Term = LinearSolver::Term;
using Relation = LinearSolver::Relation;

std::vector<std::string>& conflicts() {
  static std::vector<std::string> list;
  return list;
}

LayoutSystem::Statistics& statistics() {
  static LayoutSystem::Statistics figures;
  return figures;
}

void accumulate(LayoutSystem::Statistics& sum, const LayoutSystem::Statistics& one) {
  sum.rules = one.rules;
  sum.edited += one.edited;
  sum.added += one.added;
  sum.removed += one.removed;
  sum.solvedFromNothing = sum.solvedFromNothing || one.solvedFromNothing;
}

double strengthOf(LayoutPriority priority) { return LayoutSystem::strengthOf(static_cast<double>(priority)); }

// Solver values carry rounding noise that depends on the order of the pivots.
// A value within 1e-9 of a multiple of 2^-20 points (whole points, halves,
// quarters: what integer sizes and centring give) is that multiple, so a kept
// solution and a fresh one give the same frames; other values (thirds) keep
// their last bits.
double snapped(double value) {
  constexpr double kGrid = 1048576.0;
  if (!std::isfinite(value) || std::fabs(value) > 1e9) {
    return value;
  }
  const double nearest = std::round(value * kGrid) / kGrid + 0.0;
  return std::fabs(nearest - value) <= 1e-9 ? nearest : value;
}

// A linear expression over the solver's variables.
struct Expression {
  std::vector<Term> terms;
  double constant = 0;

  Expression& add(const Expression& other, double factor) {
    for (const auto& t : other.terms) {
      terms.push_back(Term{t.variable, t.coefficient * factor});
    }
    constant += other.constant * factor;
    return *this;
  }
};

using Box = LayoutSystem::Box;
using WrapWidths = std::unordered_map<const View*, double>;

enum class Mode { Layout, Fitting };

class Pass {
 public:
  Pass(View& root, Mode mode, Size target, LayoutPriority hFitting, LayoutPriority vFitting)
      : root_(root), mode_(mode), target_(target), hFitting_(hFitting), vFitting_(vFitting) {
    collect(root_);
  }

  // The rules of the tree, with the given widths for wrapping text.
  std::vector<LayoutRule> rules(LayoutSystem& system, const WrapWidths& wrapWidths) {
    system.beginPass();
    boxes_.clear();
    for (View* view : views_) {
      boxes_[view] = &system.box(*view);
    }
    rules_.clear();
    rules_.reserve(views_.size() * 8);

    for (View* view : views_) {
      const Box& b = box(*view);
      require({{{b[LayoutSystem::Width], 1}}, 0}, Relation::GreaterOrEqual, "width >= 0", view);
      require({{{b[LayoutSystem::Height], 1}}, 0}, Relation::GreaterOrEqual, "height >= 0", view);
    }
    addRoot();
    for (View* view : views_) {
      if (view == &root_) {
        continue;
      }
      if (view->translatesAutoresizingMaskIntoConstraints()) {
        addAutoresizing(*view);
      } else {
        const auto width = wrapWidths.find(view);
        addIntrinsic(*view, width == wrapWidths.end() ? kUnlimitedWidthHint : width->second);
      }
      if (auto* stack = dynamic_cast<StackView*>(view)) {
        addStack(*stack);
      }
    }
    if (auto* stack = dynamic_cast<StackView*>(&root_)) {
      addStack(*stack);
    }
    for (const auto& constraint : constraints_) {
      addConstraint(*constraint);
    }
    return std::move(rules_);
  }

  // The frames (in the root's coordinates) of the solution.
  std::unordered_map<View*, Rect> solution(const LayoutSystem& system) const {
    std::unordered_map<View*, Rect> frames;
    frames.reserve(views_.size());
    for (View* view : views_) {
      const Box& b = box(*view);
      frames[view] = Rect(snapped(system.value(b[LayoutSystem::Left])), snapped(system.value(b[LayoutSystem::Top])),
                          std::max(0.0, snapped(system.value(b[LayoutSystem::Width]))),
                          std::max(0.0, snapped(system.value(b[LayoutSystem::Height]))));
    }
    return frames;
  }

  const std::vector<View*>& views() const { return views_; }

  static constexpr double kUnlimitedWidthHint = -1;

 private:
  // Only views that take part go to the solver: those placed by constraints,
  // those that constraints or stack views refer to, and their ancestors.
  // Frame-placed subtrees without any of that keep the frames their
  // autoresizing masks give them.
  bool collect(View& view) {
    const size_t position = views_.size();
    views_.push_back(&view);
    bool involved = &view == &root_ || !view.translatesAutoresizingMaskIntoConstraints() || !view.constraints().empty();
    if (auto* stack = dynamic_cast<StackView*>(&view); stack && !stack->arrangedSubviews().empty()) {
      involved = true;
    }
    for (const auto& child : view.subviews()) {
      involved = collect(*child) || involved;
    }
    if (!involved) {
      views_.resize(position);  // drop this view and its subtree again
      return false;
    }
    members_.insert(&view);
    return true;
  }

 public:
  void collectConstraints() {
    std::unordered_set<const LayoutConstraint*> seen;
    for (View* view : views_) {
      for (const auto& constraint : view->constraints()) {
        if (!constraint->isActive() || !seen.insert(constraint.get()).second) {
          continue;
        }
        auto first = constraint->firstItem();
        if (!first || members_.count(first.get()) == 0) {
          continue;
        }
        if (constraint->hasSecondItem()) {
          auto second = constraint->secondItem();
          if (!second || members_.count(second.get()) == 0) {
            continue;
          }
        }
        constraints_.push_back(constraint);
      }
    }
  }

 private:
  void add(const Expression& e, Relation relation, double strength, const char* what, const View* view,
           const LayoutConstraint* constraint = nullptr) {
    rules_.push_back(LayoutRule{e.terms, e.constant, relation, strength, what, view, constraint});
  }
  void require(const Expression& e, Relation relation, const char* what, const View* view) {
    add(e, relation, LinearSolver::kRequired, what, view);
  }

  const Box& box(const View& view) const { return *boxes_.at(&view); }

  Expression attribute(View& view, LayoutAttribute attribute) const {
    const Box& b = box(view);
    const auto left = b[LayoutSystem::Left];
    const auto top = b[LayoutSystem::Top];
    const auto width = b[LayoutSystem::Width];
    const auto height = b[LayoutSystem::Height];
    switch (attribute) {
      case LayoutAttribute::Left:
      case LayoutAttribute::Leading:
        return {{{left, 1}}, 0};
      case LayoutAttribute::Right:
      case LayoutAttribute::Trailing:
        return {{{left, 1}, {width, 1}}, 0};
      case LayoutAttribute::Top:
        return {{{top, 1}}, 0};
      case LayoutAttribute::Bottom:
        return {{{top, 1}, {height, 1}}, 0};
      case LayoutAttribute::Width:
        return {{{width, 1}}, 0};
      case LayoutAttribute::Height:
        return {{{height, 1}}, 0};
      case LayoutAttribute::CenterX:
        return {{{left, 1}, {width, 0.5}}, 0};
      case LayoutAttribute::CenterY:
        return {{{top, 1}, {height, 0.5}}, 0};
      case LayoutAttribute::FirstBaseline:
      case LayoutAttribute::LastBaseline: {
        const double offset = view.baselineOffsetFromTop(attribute == LayoutAttribute::LastBaseline);
        if (offset < 0) {
          return {{{top, 1}, {height, 1}}, 0};
        }
        return {{{top, 1}}, offset};
      }
      case LayoutAttribute::NotAnAttribute:
        break;
    }
    return {};
  }

  void addRoot() {
    const Box& b = box(root_);
    require({{{b[LayoutSystem::Left], 1}}, 0}, Relation::Equal, "root left", &root_);
    require({{{b[LayoutSystem::Top], 1}}, 0}, Relation::Equal, "root top", &root_);
    if (mode_ == Mode::Layout) {
      require({{{b[LayoutSystem::Width], 1}}, -root_.frame().width()}, Relation::Equal, "root width", &root_);
      require({{{b[LayoutSystem::Height], 1}}, -root_.frame().height()}, Relation::Equal, "root height", &root_);
    } else {
      add({{{b[LayoutSystem::Width], 1}}, -target_.width}, Relation::Equal, strengthOf(hFitting_), "fitting width",
          &root_);
      add({{{b[LayoutSystem::Height], 1}}, -target_.height}, Relation::Equal, strengthOf(vFitting_), "fitting height",
          &root_);
      if (!root_.translatesAutoresizingMaskIntoConstraints()) {
        const Size ics = root_.intrinsicContentSize();
        addIntrinsicAxis(b[LayoutSystem::Width], ics.width, root_, Axis::Horizontal);
        addIntrinsicAxis(b[LayoutSystem::Height], ics.height, root_, Axis::Vertical);
      }
    }
  }

  // A frame-placed view follows its superview as its autoresizing mask says.
  void addAutoresizing(View& view) {
    auto parent = view.superview();
    if (!parent || boxes_.count(parent.get()) == 0) {
      return;
    }
    const Box& b = box(view);
    const Box& p = box(*parent);
    const Rect f = view.frame();
    const Size ps = parent->frame().size;
    const unsigned m = view.autoresizingMask();
    auto axis = [&](LinearSolver::Variable pos, LinearSolver::Variable size, LinearSolver::Variable parentPos,
                    LinearSolver::Variable parentSize, double origin, double length, double parentLength,
                    bool flexBefore, bool flexSize, bool flexAfter) {
      const double after = parentLength - origin - length;
      // pos = parentPos + origin + share(before)·Δ ; size = length + share(size)·Δ, with
      // Δ = parentSize − parentLength shared in proportion among the flexible parts.
      double parts[3] = {flexBefore ? origin : 0, flexSize ? length : 0, flexAfter ? after : 0};
      const int count = int(flexBefore) + int(flexSize) + int(flexAfter);
      const double sum = parts[0] + parts[1] + parts[2];
      double share[3] = {0, 0, 0};
      const bool flex[3] = {flexBefore, flexSize, flexAfter};
      for (int i = 0; i < 3; ++i) {
        if (flex[i]) {
          share[i] = sum > 0 ? parts[i] / sum : 1.0 / count;
        }
      }
      require({{{pos, 1}, {parentPos, -1}, {parentSize, -share[0]}}, -origin + share[0] * parentLength}, Relation::Equal,
              "autoresizing position", &view);
      require({{{size, 1}, {parentSize, -share[1]}}, -length + share[1] * parentLength}, Relation::Equal,
              "autoresizing size", &view);
    };
    axis(b[LayoutSystem::Left], b[LayoutSystem::Width], p[LayoutSystem::Left], p[LayoutSystem::Width], f.minX(),
         f.width(), ps.width, m & Autoresizing::FlexibleLeftMargin, m & Autoresizing::FlexibleWidth,
         m & Autoresizing::FlexibleRightMargin);
    axis(b[LayoutSystem::Top], b[LayoutSystem::Height], p[LayoutSystem::Top], p[LayoutSystem::Height], f.minY(),
         f.height(), ps.height, m & Autoresizing::FlexibleTopMargin, m & Autoresizing::FlexibleHeight,
         m & Autoresizing::FlexibleBottomMargin);
  }

  void addIntrinsicAxis(LinearSolver::Variable size, double value, const View& view, Axis axis) {
    if (value < 0) {
      return;
    }
    add({{{size, 1}}, -value}, Relation::LessOrEqual, strengthOf(view.contentHuggingPriority(axis)), "hugging", &view);
    add({{{size, 1}}, -value}, Relation::GreaterOrEqual, strengthOf(view.contentCompressionResistancePriority(axis)),
        "compression resistance", &view);
  }

  void addIntrinsic(View& view, double wrapWidth) {
    const Size ics = wrapWidth >= 0 ? view.intrinsicContentSizeForWidth(wrapWidth) : view.intrinsicContentSize();
    const Box& b = box(view);
    addIntrinsicAxis(b[LayoutSystem::Width], ics.width, view, Axis::Horizontal);
    addIntrinsicAxis(b[LayoutSystem::Height], ics.height, view, Axis::Vertical);
  }

  void addConstraint(const LayoutConstraint& c) {
    auto first = c.firstItem();
    Expression e = attribute(*first, c.firstAttribute());
    if (c.hasSecondItem()) {
      auto second = c.secondItem();
      e.add(attribute(*second, c.secondAttribute()), -c.multiplier());
    }
    e.constant -= c.constant();
    const Relation relation = c.relation() == LayoutRelation::Equal             ? Relation::Equal
                              : c.relation() == LayoutRelation::LessThanOrEqual ? Relation::LessOrEqual
                                                                                : Relation::GreaterOrEqual;
    add(e, relation, strengthOf(c.priority()), "", first.get(), &c);
  }

  void addStack(StackView& stack) {
    const bool vertical = stack.axis() == Axis::Vertical;
    const LayoutAttribute start = vertical ? LayoutAttribute::Top : LayoutAttribute::Leading;
    const LayoutAttribute end = vertical ? LayoutAttribute::Bottom : LayoutAttribute::Trailing;
    const LayoutAttribute length = vertical ? LayoutAttribute::Height : LayoutAttribute::Width;
    const LayoutAttribute crossStart = vertical ? LayoutAttribute::Leading : LayoutAttribute::Top;
    const LayoutAttribute crossEnd = vertical ? LayoutAttribute::Trailing : LayoutAttribute::Bottom;
    const LayoutAttribute crossCenter = vertical ? LayoutAttribute::CenterX : LayoutAttribute::CenterY;
    const LayoutAttribute crossLength = vertical ? LayoutAttribute::Width : LayoutAttribute::Height;
    auto relate = [&](const Expression& a, const Expression& b, double constant, Relation relation, double strength,
                      const char* what) {
      Expression e = a;
      e.add(b, -1);
      e.constant -= constant;
      add(e, relation, strength, what, &stack);
    };

    std::vector<View*> shown;
    for (const auto& view : stack.arrangedSubviews()) {
      if (view->superview().get() != &stack || boxes_.count(view.get()) == 0) {
        continue;
      }
      if (view->isHidden()) {
        // Hidden views take no room: keep them at the stack's start.
        relate(attribute(*view, start), attribute(stack, start), 0, Relation::Equal, LinearSolver::kRequired,
               "hidden start");
        relate(attribute(*view, crossStart), attribute(stack, crossStart), 0, Relation::Equal, LinearSolver::kRequired,
               "hidden cross start");
        continue;
      }
      shown.push_back(view.get());
    }
    if (shown.empty()) {
      add(attribute(stack, length), Relation::Equal, strengthOf(kLayoutPriorityFittingSizeLevel), "empty", &stack);
      return;
    }

    // Along the axis.
    const bool equalSpacing = stack.distribution() == StackView::Distribution::EqualSpacing ||
                              stack.distribution() == StackView::Distribution::EqualCentering;
    std::optional<LinearSolver::Variable> gap;
    if (equalSpacing && shown.size() > 1) {
      gap = box(stack)[LayoutSystem::Gap];
      require({{{*gap, 1}}, -stack.spacing()}, Relation::GreaterOrEqual, "spacing", &stack);
    }
    relate(attribute(*shown.front(), start), attribute(stack, start), 0, Relation::Equal, LinearSolver::kRequired,
           "first");
    for (size_t i = 1; i < shown.size(); ++i) {
      Expression next = attribute(*shown[i], start);
      Expression previousEnd = attribute(*shown[i - 1], end);
      if (gap) {
        previousEnd.terms.push_back(Term{*gap, 1});
        relate(next, previousEnd, 0, Relation::Equal, LinearSolver::kRequired, "gap");
      } else {
        relate(next, previousEnd, stack.spacing(), Relation::Equal, LinearSolver::kRequired, "spacing");
      }
    }
    relate(attribute(stack, end), attribute(*shown.back(), end), 0, Relation::Equal, LinearSolver::kRequired, "last");

    if (stack.distribution() == StackView::Distribution::FillEqually) {
      for (size_t i = 1; i < shown.size(); ++i) {
        relate(attribute(*shown[i], length), attribute(*shown[0], length), 0, Relation::Equal, LinearSolver::kRequired,
               "equal lengths");
      }
    } else if (stack.distribution() == StackView::Distribution::FillProportionally) {
      // Lengths in proportion to the intrinsic lengths (length = k × intrinsic).
      const LinearSolver::Variable k = box(stack)[LayoutSystem::Proportion];
      for (View* view : shown) {
        const Size ics = view->intrinsicContentSize();
        const double intrinsic = vertical ? ics.height : ics.width;
        if (intrinsic > 0) {
          Expression e = attribute(*view, length);
          e.terms.push_back(Term{k, -intrinsic});
          add(e, Relation::Equal, strengthOf(kLayoutPriorityRequired - 1), "proportional", &stack);
        }
      }
    }

    // Across the axis.
    for (View* view : shown) {
      switch (stack.alignment()) {
        case StackView::Alignment::Fill:
          relate(attribute(*view, crossStart), attribute(stack, crossStart), 0, Relation::Equal,
                 LinearSolver::kRequired, "fill start");
          relate(attribute(*view, crossEnd), attribute(stack, crossEnd), 0, Relation::Equal, LinearSolver::kRequired,
                 "fill end");
          break;
        case StackView::Alignment::Leading:
        case StackView::Alignment::FirstBaseline:
          relate(attribute(*view, crossStart), attribute(stack, crossStart), 0, Relation::Equal,
                 LinearSolver::kRequired, "leading");
          relate(attribute(*view, crossEnd), attribute(stack, crossEnd), 0, Relation::LessOrEqual,
                 LinearSolver::kRequired, "within end");
          break;
        case StackView::Alignment::Trailing:
        case StackView::Alignment::LastBaseline:
          relate(attribute(*view, crossEnd), attribute(stack, crossEnd), 0, Relation::Equal, LinearSolver::kRequired,
                 "trailing");
          relate(attribute(*view, crossStart), attribute(stack, crossStart), 0, Relation::GreaterOrEqual,
                 LinearSolver::kRequired, "within start");
          break;
        case StackView::Alignment::Center:
          relate(attribute(*view, crossCenter), attribute(stack, crossCenter), 0, Relation::Equal,
                 LinearSolver::kRequired, "center");
          relate(attribute(*view, crossStart), attribute(stack, crossStart), 0, Relation::GreaterOrEqual,
                 LinearSolver::kRequired, "within start");
          break;
      }
      if (stack.alignment() != StackView::Alignment::Fill) {
        // The stack hugs its widest view across the axis unless told otherwise.
        relate(attribute(stack, crossLength), attribute(*view, crossLength), 0, Relation::Equal,
               strengthOf(kLayoutPriorityFittingSizeLevel - 1), "hug across");
      }
    }
  }

  View& root_;
  Mode mode_;
  Size target_;
  LayoutPriority hFitting_;
  LayoutPriority vFitting_;
  std::vector<View*> views_;
  std::unordered_set<View*> members_;
  std::vector<std::shared_ptr<LayoutConstraint>> constraints_;
  std::unordered_map<const View*, const Box*> boxes_;
  std::vector<LayoutRule> rules_;
};

// The widths at which wrapping text should be measured for a solution: the
// width a view got when that is narrower than its natural width and changes
// its size.
WrapWidths wrapWidthsFor(const Pass& pass, std::unordered_map<View*, Rect>& solution) {
  WrapWidths widths;
  for (View* view : pass.views()) {
    if (view->translatesAutoresizingMaskIntoConstraints()) {
      continue;
    }
    const Size natural = view->intrinsicContentSize();
    const double width = solution[view].width();
    if (natural.height < 0 || natural.width < 0 || width >= natural.width) {
      continue;
    }
    if (view->intrinsicContentSizeForWidth(width) == natural) {
      continue;
    }
    widths[view] = width;
  }
  return widths;
}

// Solves, then measures wrapping text at the widths found and solves again
// until those widths hold (at most three more rounds). A kept system starts
// from the widths of its last pass, which mostly hold again.
std::unordered_map<View*, Rect> solveWithText(Pass& pass, LayoutSystem& system, std::vector<std::string>& broken,
                                              LayoutSystem::Statistics* figures = nullptr) {
  WrapWidths& widths = system.wrapWidths();
  std::unordered_map<View*, Rect> solution;
  for (int round = 0; round < 4; ++round) {
    broken.clear();
    system.update(pass.rules(system, widths), broken);
    if (figures != nullptr) {
      accumulate(*figures, system.lastUpdate());
    }
    solution = pass.solution(system);
    WrapWidths next = wrapWidthsFor(pass, solution);
    if (next == widths) {
      break;
    }
    widths = std::move(next);
  }
  return solution;
}

LayoutSystem& systemFor(std::unique_ptr<LayoutSystem>& kept, LayoutEngine::Strategy strategy,
                        std::unique_ptr<LayoutSystem>& fresh) {
  if (strategy == LayoutEngine::Strategy::FromScratch) {
    fresh = std::make_unique<LayoutSystem>();
    return *fresh;
  }
  if (!kept) {
    kept = std::make_unique<LayoutSystem>();
  }
  return *kept;
}

}  // namespace

const std::vector<std::string>& LayoutEngine::lastConflicts() { return conflicts(); }

const LayoutSystem::Statistics& LayoutEngine::lastStatistics() { return statistics(); }

void LayoutEngine::layout(View& root, Strategy strategy) {
  platform::assertMainThread("LayoutEngine::layout");
  std::vector<std::string> broken;
  std::unique_ptr<LayoutSystem> fresh;
  LayoutSystem::Statistics figures;
  // layoutSubviews() may change what the pass depends on (texts, constraints):
  // run again while it does, a bounded number of times.
  for (int round = 0; round < 4; ++round) {
    Pass pass(root, Mode::Layout, Size{}, 0, 0);
    pass.collectConstraints();
    LayoutSystem& system = systemFor(root.layoutSystem_, strategy, fresh);
    auto solution = solveWithText(pass, system, broken, &figures);
    for (View* view : pass.views()) {
      if (view == &root) {
        continue;
      }
      const Rect absolute = solution[view];
      const Rect parent = solution[view->superview().get()];
      view->applyFrame(
          Rect(absolute.minX() - parent.minX(), absolute.minY() - parent.minY(), absolute.width(), absolute.height()),
          true);
    }
    // Every view of the tree, solved or not, gets its hook, top down. The
    // hooks may add or remove views: keep the ones seen alive meanwhile.
    std::vector<std::shared_ptr<View>> alive;
    std::vector<View*> pending{&root};
    while (!pending.empty()) {
      View* view = pending.back();
      pending.pop_back();
      view->needsLayout_ = false;
      alive.push_back(view->shared_from_this());
      for (auto it = view->subviews().rbegin(); it != view->subviews().rend(); ++it) {
        pending.push_back(it->get());
      }
    }
    for (const auto& view : alive) {
      view->layoutSubviews();
    }
    if (!root.needsLayout_) {
      break;
    }
  }
  root.needsLayout_ = false;
  conflicts() = std::move(broken);
  statistics() = figures;
}

Size LayoutEngine::fittingSize(View& root, Size target, LayoutPriority horizontal, LayoutPriority vertical,
                               Strategy strategy) {
  platform::assertMainThread("LayoutEngine::fittingSize");
  Pass pass(root, Mode::Fitting, target, horizontal, vertical);
  pass.collectConstraints();
  std::unique_ptr<LayoutSystem> fresh;
  LayoutSystem& system = systemFor(root.fittingSystem_, strategy, fresh);
  std::vector<std::string> broken;
  auto solution = solveWithText(pass, system, broken);
  return solution[&root].size;
}

}  // namespace velune::ui
