#pragma once
// LinearSolver: the incremental simplex solver (the Cassowary algorithm) that
// the layout pass uses. It holds linear equalities and inequalities over
// variables, required or with a strength, and keeps the solution that
// satisfies every required constraint and minimises the weighted violation of
// the others.
//
//   LinearSolver solver;
//   auto x = solver.newVariable();
//   solver.addConstraint({{x, 1}}, -10, Relation::GreaterOrEqual, kRequired);   // x - 10 >= 0
//   solver.value(x)  // 10
//
// A required constraint that contradicts the ones already added is refused
// (addConstraint returns false) and leaves the solver as it was.

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace velune::ui {

class LinearSolver {
 public:
  using Variable = int;
  enum class Relation { LessOrEqual, Equal, GreaterOrEqual };
  // Strengths at or above this are required.
  static constexpr double kRequired = 1e12;

  struct Term {
    Variable variable;
    double coefficient;
  };

  Variable newVariable();
  // Σ terms + constant (relation) 0, with a strength (> 0).
  bool addConstraint(const std::vector<Term>& terms, double constant, Relation relation, double strength);
  double value(Variable variable) const;

 private:
  enum class SymbolType : std::uint8_t { External, Slack, Error, Dummy };
  struct Symbol {
    int id = 0;  // 0: none
    SymbolType type = SymbolType::External;
    bool valid() const { return id != 0; }
    bool operator<(const Symbol& other) const { return id < other.id; }
    bool operator==(const Symbol& other) const { return id == other.id; }
  };
  struct Row {
    double constant = 0;
    std::map<Symbol, double> cells;

    void add(double value) { constant += value; }
    void insert(Symbol symbol, double coefficient);
    void insert(const Row& other, double coefficient);
    void remove(Symbol symbol) { cells.erase(symbol); }
    void reverseSign();
    void solveFor(Symbol symbol);
    void solveFor(Symbol lhs, Symbol rhs);
    double coefficientFor(Symbol symbol) const;
    void substitute(Symbol symbol, const Row& row);
  };
  struct Tag {
    Symbol marker;
    Symbol other;
  };

  Symbol makeSymbol(SymbolType type) { return Symbol{nextSymbol_++, type}; }
  Symbol symbolForVariable(Variable variable);
  Row createRow(const std::vector<Term>& terms, double constant, Relation relation, double strength, Tag& tag);
  static Symbol chooseSubject(const Row& row, const Tag& tag);
  static bool allDummies(const Row& row);
  bool addWithArtificialVariable(const Row& row);
  void substitute(Symbol symbol, const Row& row);
  bool optimize(Row& objective);
  static Symbol enteringSymbol(const Row& objective);
  static Symbol anyPivotableSymbol(const Row& row);
  std::map<Symbol, Row>::iterator leavingRow(Symbol entering);

  int nextSymbol_ = 1;
  Variable nextVariable_ = 0;
  std::map<Variable, Symbol> variables_;
  std::map<Symbol, Row> rows_;
  Row objective_;
  Row* artificial_ = nullptr;
};

}  // namespace velune::ui
