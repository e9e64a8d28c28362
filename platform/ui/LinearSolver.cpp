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

bool LinearSolver::addConstraint(const std::vector<Term>& terms, double constant, Relation relation,
                                 double strength) {
  if (!std::isfinite(constant) || !(strength > 0)) {
    return false;
  }
  for (const auto& term : terms) {
    if (!std::isfinite(term.coefficient)) {
      return false;
    }
  }
  Stored constraint{terms, constant, relation, strength};
  if (!add(constraint)) {
    return false;
  }
  accepted_.push_back(std::move(constraint));
  return true;
}

bool LinearSolver::add(const Stored& constraint) {
  Tag tag;
  Row row = createRow(constraint.terms, constraint.constant, constraint.relation, constraint.strength, tag);
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
  for (const auto& constraint : accepted_) {
    add(constraint);
  }
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
