#include "platform/ui/LinearSolver.h"

#include <cmath>
#include <limits>
#include <memory>

namespace velune::ui {

namespace {
constexpr double kEpsilon = 1e-8;
bool nearZero(double value) { return std::fabs(value) < kEpsilon; }
}  // namespace

void LinearSolver::Row::insert(Symbol symbol, double coefficient) {
  const double sum = (cells[symbol] += coefficient);
  if (nearZero(sum)) {
    cells.erase(symbol);
  }
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
  const double factor = -1.0 / cells[symbol];
  cells.erase(symbol);
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
  const auto found = cells.find(symbol);
  return found == cells.end() ? 0.0 : found->second;
}

void LinearSolver::Row::substitute(Symbol symbol, const Row& row) {
  const auto found = cells.find(symbol);
  if (found == cells.end()) {
    return;
  }
  const double coefficient = found->second;
  cells.erase(found);
  insert(row, coefficient);
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
  Tag tag;
  Row row = createRow(terms, constant, relation, strength, tag);
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
    rows_[subject] = row;
    return optimize(objective_);
  }
  // Only this path can fail after changing the tableau: keep a copy to undo.
  const auto savedRows = rows_;
  const auto savedObjective = objective_;
  if (addWithArtificialVariable(row) && optimize(objective_)) {
    return true;
  }
  rows_ = savedRows;
  objective_ = savedObjective;
  return false;
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
    Row basic = found->second;
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
    rows_[entering] = basic;
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
    Row row = leaving->second;
    rows_.erase(leaving);
    row.solveFor(leavingSymbol, entering);
    substitute(entering, row);
    rows_[entering] = row;
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
