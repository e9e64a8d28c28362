#include "platform/ui/LayoutSystem.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/View.h"

namespace velune::ui {

namespace {
// A priority that a contradicted required rule is kept at.
constexpr double kBrokenPriority = 999;

std::size_t mix(std::size_t seed, std::size_t value) {
  return seed ^ (value + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2));
}
}  // namespace

double LayoutSystem::strengthOf(double priority) {
  if (priority >= 1000) {
    return LinearSolver::kRequired;
  }
  return std::pow(10.0, std::max(priority, 1.0) / 125.0);
}

std::string LayoutRule::description() const {
  if (constraint != nullptr) {
    return constraint->description();
  }
  if (view != nullptr) {
    return view->identifier() + " " + what;
  }
  return what;
}

void LayoutSystem::beginPass() { ++pass_; }

const LayoutSystem::Box& LayoutSystem::box(const View& view) {
  ViewEntry& entry = views_[&view];
  if (entry.pass == 0 || entry.owner.lock().get() != &view) {
    // New to the tree, or another view now at the address of one that died.
    for (auto& variable : entry.box.variables) {
      variable = nextVariable_++;
    }
    variablesMade_ += SlotCount;
    entry.owner = view.weak_from_this();
  }
  entry.pass = pass_;
  return entry.box;
}

void LayoutSystem::canonicalize(LayoutRule& rule) {
  auto& terms = rule.terms;
  std::sort(terms.begin(), terms.end(), [](const auto& a, const auto& b) { return a.variable < b.variable; });
  size_t out = 0;
  for (size_t i = 0; i < terms.size();) {
    LinearSolver::Term merged = terms[i];
    for (++i; i < terms.size() && terms[i].variable == merged.variable; ++i) {
      merged.coefficient += terms[i].coefficient;
    }
    if (merged.coefficient != 0.0) {
      terms[out++] = merged;
    }
  }
  terms.resize(out);
}

std::size_t LayoutSystem::shapeHash(const LayoutRule& rule) {
  std::size_t seed = mix(static_cast<std::size_t>(rule.relation), std::bit_cast<std::uint64_t>(rule.strength));
  for (const auto& term : rule.terms) {
    seed = mix(seed, static_cast<std::size_t>(term.variable));
    seed = mix(seed, std::bit_cast<std::uint64_t>(term.coefficient));
  }
  return seed;
}

bool LayoutSystem::sameShape(const LayoutRule& a, const LayoutRule& b) {
  if (a.relation != b.relation || a.strength != b.strength || a.terms.size() != b.terms.size()) {
    return false;
  }
  for (size_t i = 0; i < a.terms.size(); ++i) {
    if (a.terms[i].variable != b.terms[i].variable || a.terms[i].coefficient != b.terms[i].coefficient) {
      return false;
    }
  }
  return true;
}

void LayoutSystem::update(std::vector<LayoutRule> rules, std::vector<std::string>& broken) {
  for (auto& rule : rules) {
    canonicalize(rule);
  }
  for (auto it = views_.begin(); it != views_.end();) {
    it = it->second.pass == pass_ ? std::next(it) : views_.erase(it);
  }
  statistics_ = Statistics{};
  statistics_.rules = rules.size();
  // Variables of views that left, and the handles of removed rules, stay in
  // the solver until it is made anew.
  const size_t liveVariables = views_.size() * SlotCount;
  if (holdsConflicts_ || held_.empty() || variablesMade_ > 2 * liveVariables + 256 ||
      solver_.handleCount() > 2 * held_.size() + 1024) {
    solveFromNothing(std::move(rules), broken);
    return;
  }

  std::unordered_multimap<std::size_t, size_t> byShape;
  byShape.reserve(held_.size());
  for (size_t i = 0; i < held_.size(); ++i) {
    byShape.emplace(shapeHash(held_[i].rule), i);
  }
  std::vector<char> kept(held_.size(), 0);
  std::vector<std::ptrdiff_t> match(rules.size(), -1);
  size_t matched = 0;
  for (size_t j = 0; j < rules.size(); ++j) {
    auto [first, last] = byShape.equal_range(shapeHash(rules[j]));
    for (auto it = first; it != last; ++it) {
      if (sameShape(held_[it->second].rule, rules[j])) {
        match[j] = static_cast<std::ptrdiff_t>(it->second);
        kept[it->second] = 1;
        byShape.erase(it);
        ++matched;
        break;
      }
    }
  }
  statistics_.removed = held_.size() - matched;
  statistics_.added = rules.size() - matched;
  // Past this, removing and adding one by one costs more than starting over.
  if (statistics_.removed + statistics_.added > std::max<size_t>(32, rules.size() / 2)) {
    solveFromNothing(std::move(rules), broken);
    return;
  }

  for (size_t i = 0; i < held_.size(); ++i) {
    if (kept[i] == 0) {
      solver_.remove(held_[i].handle);
    }
  }
  // Rules stay whole until the end: a contradiction on the way starts over with all of them.
  std::vector<LinearSolver::Constraint> handles(rules.size(), LinearSolver::kRefused);
  for (size_t j = 0; j < rules.size(); ++j) {
    const LayoutRule& rule = rules[j];
    if (match[j] >= 0) {
      const Held& old = held_[static_cast<size_t>(match[j])];
      if (old.rule.constant != rule.constant) {
        if (!solver_.setConstant(old.handle, rule.constant)) {
          solveFromNothing(std::move(rules), broken);  // a contradiction: keep what the order keeps
          return;
        }
        ++statistics_.edited;
      }
      handles[j] = old.handle;
      continue;
    }
    handles[j] = solver_.add(rule.terms, rule.constant, rule.relation, rule.strength);
    if (handles[j] == LinearSolver::kRefused && rule.strength >= LinearSolver::kRequired) {
      solveFromNothing(std::move(rules), broken);
      return;
    }
    // A weaker rule with numbers the solver cannot take has no effect.
  }
  std::vector<Held> next;
  next.reserve(rules.size());
  for (size_t j = 0; j < rules.size(); ++j) {
    if (handles[j] != LinearSolver::kRefused) {
      next.push_back(Held{std::move(rules[j]), handles[j]});
    }
  }
  held_ = std::move(next);
}

void LayoutSystem::solveFromNothing(std::vector<LayoutRule> rules, std::vector<std::string>& broken) {
  solver_ = LinearSolver{};
  held_.clear();
  held_.reserve(rules.size());
  holdsConflicts_ = false;
  variablesMade_ = views_.size() * SlotCount;
  statistics_.solvedFromNothing = true;
  for (auto& rule : rules) {
    auto handle = solver_.add(rule.terms, rule.constant, rule.relation, rule.strength);
    if (handle == LinearSolver::kRefused && rule.strength >= LinearSolver::kRequired) {
      // Keep the rule as strongly as possible without breaking the others.
      broken.push_back(rule.description());
      holdsConflicts_ = true;
      rule.strength = strengthOf(kBrokenPriority);
      handle = solver_.add(rule.terms, rule.constant, rule.relation, rule.strength);
    }
    if (handle != LinearSolver::kRefused) {
      held_.push_back(Held{std::move(rule), handle});
    }
  }
}

}  // namespace velune::ui
