#include "platform/ui/LinearSolver.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace velune::ui {

namespace {
constexpr double kEpsilon = 1e-8;
bool nearZero(double value) { return std::fabs(value) < kEpsilon; }
}  // namespace

const double* LinearSolver::Cells::find(Symbol symbol) const {
  const auto it = std::lower_bound(entries_.begin(), entries_.end(), symbol,
                                   [](const Entry& e, Symbol s) { return e.first < s; });
  return it != entries_.end() && it->first == symbol ? &it->second : nullptr;
}

void LinearSolver::Cells::add(Symbol symbol, double coefficient) {
  const auto it = std::lower_bound(entries_.begin(), entries_.end(), symbol,
                                   [](const Entry& e, Symbol s) { return e.first < s; });
  if (it != entries_.end() && it->first == symbol) {
    it->second += coefficient;
    if (nearZero(it->second)) {
      entries_.erase(it);
    }
  } else if (!nearZero(coefficient)) {
    entries_.insert(it, Entry{symbol, coefficient});
  }
}

double LinearSolver::Cells::take(Symbol symbol) {
  const auto it = std::lower_bound(entries_.begin(), entries_.end(), symbol,
                                   [](const Entry& e, Symbol s) { return e.first < s; });
  if (it == entries_.end() || !(it->first == symbol)) {
    return 0;
  }
  const double coefficient = it->second;
  entries_.erase(it);
  return coefficient;
}

void LinearSolver::Row::insert(const Row& other, double coefficient) {
  constant += other.constant * coefficient;
  for (const auto& [symbol, value] : other.cells) {
    insert(symbol, value * coefficient);
  }
}

void LinearSolver::Row::reverseSign() {
  constant = -constant;
  for (auto& cell : cells) {
    cell.second = -cell.second;
  }
}

// Turns "0 = constant + c·symbol + rest" into "symbol = -(constant + rest) / c".
void LinearSolver::Row::solveFor(Symbol symbol) {
  const double factor = -1.0 / cells.take(symbol);
  constant *= factor;
  for (auto& cell : cells) {
    cell.second *= factor;
  }
}

void LinearSolver::Row::solveFor(Symbol lhs, Symbol rhs) {
  insert(lhs, -1.0);
  solveFor(rhs);
}

double LinearSolver::Row::coefficientFor(Symbol symbol) const {
  const double* found = cells.find(symbol);
  return found == nullptr ? 0.0 : *found;
}

void LinearSolver::Row::substitute(Symbol symbol, const Row& row) {
  if (cells.find(symbol) == nullptr) {
    return;
  }
  insert(row, cells.take(symbol));
}

LinearSolver::Variable LinearSolver::newVariable() { return nextVariable_++; }

LinearSolver::Symbol LinearSolver::symbolForVariable(Variable variable) {
  auto found = variables_.find(variable);
  if (found != variables_.end()) {
    return found->second;
  }
  const Symbol symbol = makeSymbol(SymbolType::External);
  variables_.emplace(variable, symbol);
  return symbol;
}

double LinearSolver::value(Variable variable) const {
  const auto found = variables_.find(variable);
  if (found == variables_.end()) {
    return 0;
  }
  const auto row = rows_.find(found->second);
  return row == rows_.end() ? 0.0 : row->second.constant;
}

LinearSolver::Row LinearSolver::createRow(const std::vector<Term>& terms, double constant, Relation relation,
                                          double strength, Tag& tag) {
  Row row;
  row.constant = constant;
  for (const auto& term : terms) {
    if (nearZero(term.coefficient)) {
      continue;
    }
    const Symbol symbol = symbolForVariable(term.variable);
    const auto basic = rows_.find(symbol);
    if (basic != rows_.end()) {
      row.insert(basic->second, term.coefficient);
    } else {
      row.insert(symbol, term.coefficient);
    }
  }
  const bool required = strength >= kRequired;
  switch (relation) {
    case Relation::LessOrEqual:
    case Relation::GreaterOrEqual: {
      const double coefficient = relation == Relation::LessOrEqual ? 1.0 : -1.0;
      const Symbol slack = makeSymbol(SymbolType::Slack);
      tag.marker = slack;
      row.insert(slack, coefficient);
      if (!required) {
        const Symbol error = makeSymbol(SymbolType::Error);
        tag.other = error;
        row.insert(error, -coefficient);
        objective_.insert(error, strength);
      }
      break;
    }
    case Relation::Equal: {
      if (!required) {
        const Symbol plus = makeSymbol(SymbolType::Error);
        const Symbol minus = makeSymbol(SymbolType::Error);
        tag.marker = plus;
        tag.other = minus;
        row.insert(plus, -1.0);
        row.insert(minus, 1.0);
        objective_.insert(plus, strength);
        objective_.insert(minus, strength);
      } else {
        const Symbol dummy = makeSymbol(SymbolType::Dummy);
        tag.marker = dummy;
        row.insert(dummy, 1.0);
      }
      break;
    }
  }
  if (row.constant < 0) {
    row.reverseSign();
  }
  return row;
}

LinearSolver::Symbol LinearSolver::chooseSubject(const Row& row, const Tag& tag) {
  for (const auto& [symbol, coefficient] : row.cells) {
    if (symbol.type == SymbolType::External) {
      return symbol;
    }
  }
  auto pivotable = [](Symbol s) { return s.type == SymbolType::Slack || s.type == SymbolType::Error; };
  if (pivotable(tag.marker) && row.coefficientFor(tag.marker) < 0) {
    return tag.marker;
  }
  if (tag.other.valid() && pivotable(tag.other) && row.coefficientFor(tag.other) < 0) {
    return tag.other;
  }
  return Symbol{};
}

bool LinearSolver::allDummies(const Row& row) {
  for (const auto& cell : row.cells) {
    if (cell.first.type != SymbolType::Dummy) {
      return false;
    }
  }
  return true;
}

LinearSolver::Constraint LinearSolver::add(const std::vector<Term>& terms, double constant, Relation relation,
                                           double strength) {
  if (!std::isfinite(constant) || !(strength > 0)) {
    return kRefused;
  }
  for (const auto& term : terms) {
    if (!std::isfinite(term.coefficient)) {
      return kRefused;
    }
  }
  Stored constraint{terms, constant, relation, strength, Tag{}, 1, true};
  if (!insert(constraint)) {
    return kRefused;
  }
  constraints_.push_back(std::move(constraint));
  ++liveCount_;
  return static_cast<Constraint>(constraints_.size() - 1);
}

bool LinearSolver::insert(Stored& constraint) {
  Tag tag;
  Row row = createRow(constraint.terms, constraint.constant, constraint.relation, constraint.strength, tag);
  constraint.tag = tag;
  const bool required = constraint.strength >= kRequired;
  switch (constraint.relation) {
    case Relation::LessOrEqual:
      constraint.markerCoefficient = 1;
      break;
    case Relation::GreaterOrEqual:
      constraint.markerCoefficient = -1;
      break;
    case Relation::Equal:
      constraint.markerCoefficient = required ? 1 : -1;
      break;
  }
  Symbol subject = chooseSubject(row, tag);
  if (!subject.valid() && allDummies(row)) {
    if (!nearZero(row.constant)) {
      // A required constraint that contradicts the others; only new symbols
      // were made, nothing else changed.
      return false;
    }
    subject = tag.marker;
  }
  if (subject.valid()) {
    row.solveFor(subject);
    substitute(subject, row);
    rows_[subject] = std::move(row);
    return optimize(objective_);
  }
  // Only required constraints come here; when one is refused after the
  // tableau changed, the tableau is made again without it.
  if (addWithArtificialVariable(row) && optimize(objective_)) {
    return true;
  }
  rebuild();
  return false;
}

void LinearSolver::rebuild() {
  rows_.clear();
  objective_ = Row{};
  variables_.clear();
  artificial_ = nullptr;
  for (auto& constraint : constraints_) {
    if (constraint.live) {
      insert(constraint);
    }
  }
}

void LinearSolver::removeMarkerEffects(Symbol marker, double strength) {
  const auto row = rows_.find(marker);
  if (row != rows_.end()) {
    objective_.insert(row->second, -strength);
  } else {
    objective_.insert(marker, -strength);
  }
}

// The row to pivot a constraint's marker into the basis with, keeping the
// others feasible: the tightest restricted row where the marker would grow,
// else where it would shrink, else an unrestricted one.
std::map<LinearSolver::Symbol, LinearSolver::Row>::iterator LinearSolver::markerLeavingRow(Symbol marker) {
  const double none = std::numeric_limits<double>::max();
  double r1 = none;
  double r2 = none;
  auto first = rows_.end();
  auto second = rows_.end();
  auto third = rows_.end();
  for (auto it = rows_.begin(); it != rows_.end(); ++it) {
    const double coefficient = it->second.coefficientFor(marker);
    if (coefficient == 0.0) {
      continue;
    }
    if (it->first.type == SymbolType::External) {
      third = it;
    } else if (coefficient < 0) {
      const double r = -it->second.constant / coefficient;
      if (r < r1) {
        r1 = r;
        first = it;
      }
    } else {
      const double r = it->second.constant / coefficient;
      if (r < r2) {
        r2 = r;
        second = it;
      }
    }
  }
  if (first != rows_.end()) {
    return first;
  }
  return second != rows_.end() ? second : third;
}

void LinearSolver::remove(Constraint handle) {
  if (handle < 0 || static_cast<size_t>(handle) >= constraints_.size() || !constraints_[handle].live) {
    return;
  }
  Stored& constraint = constraints_[handle];
  constraint.live = false;
  --liveCount_;
  // The objective loses the constraint's errors before any pivot, or the
  // pivots would carry them into it.
  if (constraint.tag.marker.type == SymbolType::Error) {
    removeMarkerEffects(constraint.tag.marker, constraint.strength);
  }
  if (constraint.tag.other.type == SymbolType::Error) {
    removeMarkerEffects(constraint.tag.other, constraint.strength);
  }
  const auto basic = rows_.find(constraint.tag.marker);
  if (basic != rows_.end()) {
    rows_.erase(basic);
  } else {
    const auto leaving = markerLeavingRow(constraint.tag.marker);
    if (leaving != rows_.end()) {
      const Symbol leavingSymbol = leaving->first;
      Row row = std::move(leaving->second);
      rows_.erase(leaving);
      row.solveFor(leavingSymbol, constraint.tag.marker);
      substitute(constraint.tag.marker, row);
    }
  }
  objective_.remove(constraint.tag.marker);
  objective_.remove(constraint.tag.other);
  if (!optimize(objective_)) {
    rebuild();
  }
  constraint.terms.clear();
  constraint.terms.shrink_to_fit();
}

double LinearSolver::constantOf(Constraint handle) const {
  if (handle < 0 || static_cast<size_t>(handle) >= constraints_.size()) {
    return 0;
  }
  return constraints_[handle].constant;
}

// A constant that grows by `delta` is the old constraint with its marker
// shifted by delta / (the marker's coefficient): every row that holds the
// marker moves by that much.
void LinearSolver::shiftConstant(const Stored& constraint, double delta, std::vector<Symbol>& infeasible) {
  const Symbol marker = constraint.tag.marker;
  const double shift = delta / constraint.markerCoefficient;
  const auto basic = rows_.find(marker);
  if (basic != rows_.end()) {
    basic->second.constant -= shift;
    if (marker.type != SymbolType::External && basic->second.constant < 0) {
      infeasible.push_back(marker);
    }
    return;
  }
  for (auto& [symbol, row] : rows_) {
    const double coefficient = row.coefficientFor(marker);
    if (coefficient == 0.0) {
      continue;
    }
    row.constant += coefficient * shift;
    if (symbol.type != SymbolType::External && row.constant < 0) {
      infeasible.push_back(symbol);
    }
  }
}

bool LinearSolver::setConstant(Constraint handle, double constant) {
  if (handle < 0 || static_cast<size_t>(handle) >= constraints_.size() || !constraints_[handle].live ||
      !std::isfinite(constant)) {
    return false;
  }
  Stored& constraint = constraints_[handle];
  const double delta = constant - constraint.constant;
  if (delta == 0.0) {
    return true;
  }
  // A marker that is basic and a dummy belongs to a redundant required
  // equality: it stays consistent only while its row stays zero.
  const auto basic = rows_.find(constraint.tag.marker);
  if (basic != rows_.end() && constraint.tag.marker.type == SymbolType::Dummy &&
      !nearZero(basic->second.constant - delta / constraint.markerCoefficient)) {
    return false;
  }
  std::vector<Symbol> infeasible;
  shiftConstant(constraint, delta, infeasible);
  if (dualOptimize(infeasible)) {
    constraint.constant = constant;
    return true;
  }
  // Contradicts required constraints: shift back and restore optimality
  // from wherever the pivots left the tableau.
  infeasible.clear();
  shiftConstant(constraint, -delta, infeasible);
  for (const auto& [symbol, row] : rows_) {
    if (symbol.type != SymbolType::External && row.constant < 0) {
      infeasible.push_back(symbol);
    }
  }
  if (!dualOptimize(infeasible)) {
    rebuild();
  }
  return false;
}

LinearSolver::Symbol LinearSolver::dualEnteringSymbol(const Row& row) const {
  Symbol entering;
  double ratio = std::numeric_limits<double>::max();
  for (const auto& [symbol, coefficient] : row.cells) {
    if (coefficient > 0 && symbol.type != SymbolType::Dummy) {
      const double r = objective_.coefficientFor(symbol) / coefficient;
      if (r < ratio) {
        ratio = r;
        entering = symbol;
      }
    }
  }
  return entering;
}

bool LinearSolver::dualOptimize(std::vector<Symbol>& infeasible) {
  for (int guard = 0; !infeasible.empty() && guard < 100000; ++guard) {
    const Symbol leaving = infeasible.back();
    infeasible.pop_back();
    const auto it = rows_.find(leaving);
    if (it == rows_.end() || nearZero(it->second.constant) || it->second.constant >= 0) {
      continue;
    }
    const Symbol entering = dualEnteringSymbol(it->second);
    if (!entering.valid()) {
      return false;  // no feasible solution: the change contradicts required constraints
    }
    Row row = std::move(it->second);
    rows_.erase(it);
    row.solveFor(leaving, entering);
    substitute(entering, row);
    rows_[entering] = std::move(row);
    // The pivot may have made other rows infeasible.
    for (const auto& [symbol, r] : rows_) {
      if (symbol.type != SymbolType::External && r.constant < 0 && !nearZero(r.constant)) {
        infeasible.push_back(symbol);
      }
    }
  }
  return infeasible.empty();
}

bool LinearSolver::addWithArtificialVariable(const Row& row) {
  const Symbol art = makeSymbol(SymbolType::Slack);
  rows_[art] = row;
  auto artificial = std::make_unique<Row>(row);
  artificial_ = artificial.get();
  const bool optimized = optimize(*artificial);
  const bool success = optimized && nearZero(artificial->constant);
  artificial_ = nullptr;
  artificial.reset();

  const auto found = rows_.find(art);
  if (found != rows_.end()) {
    Row basic = std::move(found->second);
    rows_.erase(found);
    if (basic.cells.empty()) {
      return success;
    }
    const Symbol entering = anyPivotableSymbol(basic);
    if (!entering.valid()) {
      return false;
    }
    basic.solveFor(art, entering);
    substitute(entering, basic);
    rows_[entering] = std::move(basic);
  }
  for (auto& [symbol, r] : rows_) {
    r.remove(art);
  }
  objective_.remove(art);
  return success;
}

void LinearSolver::substitute(Symbol symbol, const Row& row) {
  for (auto& [basic, r] : rows_) {
    r.substitute(symbol, row);
  }
  objective_.substitute(symbol, row);
  if (artificial_ != nullptr) {
    artificial_->substitute(symbol, row);
  }
}

bool LinearSolver::optimize(Row& objective) {
  // Bland-style choices (the lowest symbol) keep the pivoting finite; the
  // bound only guards against a numerical cycle.
  for (int guard = 0; guard < 100000; ++guard) {
    const Symbol entering = enteringSymbol(objective);
    if (!entering.valid()) {
      return true;
    }
    auto leaving = leavingRow(entering);
    if (leaving == rows_.end()) {
      return false;  // unbounded: cannot happen with non-negative errors
    }
    const Symbol leavingSymbol = leaving->first;
    Row row = std::move(leaving->second);
    rows_.erase(leaving);
    row.solveFor(leavingSymbol, entering);
    substitute(entering, row);
    rows_[entering] = std::move(row);
  }
  return false;
}

LinearSolver::Symbol LinearSolver::enteringSymbol(const Row& objective) {
  for (const auto& [symbol, coefficient] : objective.cells) {
    if (symbol.type != SymbolType::Dummy && coefficient < 0) {
      return symbol;
    }
  }
  return Symbol{};
}

LinearSolver::Symbol LinearSolver::anyPivotableSymbol(const Row& row) {
  for (const auto& [symbol, coefficient] : row.cells) {
    if (symbol.type == SymbolType::Slack || symbol.type == SymbolType::Error) {
      return symbol;
    }
  }
  return Symbol{};
}

std::map<LinearSolver::Symbol, LinearSolver::Row>::iterator LinearSolver::leavingRow(Symbol entering) {
  double ratio = std::numeric_limits<double>::max();
  auto found = rows_.end();
  for (auto it = rows_.begin(); it != rows_.end(); ++it) {
    if (it->first.type == SymbolType::External) {
      continue;
    }
    const double coefficient = it->second.coefficientFor(entering);
    if (coefficient < 0) {
      const double r = -it->second.constant / coefficient;
      if (r < ratio) {
        ratio = r;
        found = it;
      }
    }
  }
  return found;
}

}  // namespace velune::ui
