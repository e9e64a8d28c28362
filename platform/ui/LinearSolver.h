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
//
// The tableau is kept between changes, so a solver can follow a layout that
// changes a little at a time: remove() drops one constraint and setConstant()
// moves one (an edit: a size that changed), each re-solving from the current
// solution (the dual simplex for a constant) instead of from nothing.
// Not thread-safe; one owner uses it.

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace velune::ui {

class LinearSolver {
 public:
  using Variable = int;
  // A handle of an added constraint.
  using Constraint = int;
  static constexpr Constraint kRefused = -1;
  enum class Relation { LessOrEqual, Equal, GreaterOrEqual };
  // Strengths at or above this are required.
  static constexpr double kRequired = 1e12;

  struct Term {
    Variable variable;
    double coefficient;
  };

  Variable newVariable();
  // Σ terms + constant (relation) 0, with a strength (> 0). kRefused for a
  // required constraint that contradicts the others and for bad numbers.
  Constraint add(const std::vector<Term>& terms, double constant, Relation relation, double strength);
  bool addConstraint(const std::vector<Term>& terms, double constant, Relation relation, double strength) {
    return add(terms, constant, relation, strength) != kRefused;
  }
  // Drops a constraint that add() accepted (unknown handles are ignored).
  void remove(Constraint constraint);
  // Gives a constraint a new constant. False, with nothing changed, when the
  // new constant contradicts required constraints or is not finite.
  bool setConstant(Constraint constraint, double constant);
  double constantOf(Constraint constraint) const;
  double value(Variable variable) const;
  size_t constraintCount() const { return liveCount_; }
  // Handles ever given out (removed constraints keep theirs).
  size_t handleCount() const { return constraints_.size(); }

 private:
  enum class SymbolType : std::uint8_t { External, Slack, Error, Dummy };
  struct Symbol {
    int id = 0;  // 0: none
    SymbolType type = SymbolType::External;
    bool valid() const { return id != 0; }
    bool operator<(const Symbol& other) const { return id < other.id; }
    bool operator==(const Symbol& other) const { return id == other.id; }
  };
  // A row's terms, kept sorted by symbol: rows are small, and a sorted vector
  // beats a tree for them.
  class Cells {
   public:
    using Entry = std::pair<Symbol, double>;
    std::vector<Entry>::const_iterator begin() const { return entries_.begin(); }
    std::vector<Entry>::const_iterator end() const { return entries_.end(); }
    std::vector<Entry>::iterator begin() { return entries_.begin(); }
    std::vector<Entry>::iterator end() { return entries_.end(); }
    bool empty() const { return entries_.empty(); }
    // The coefficient of `symbol`, or null.
    const double* find(Symbol symbol) const;
    // Adds to the coefficient; a sum near zero removes the symbol.
    void add(Symbol symbol, double coefficient);
    // Removes the symbol and returns its coefficient (0 when absent).
    double take(Symbol symbol);

   private:
    std::vector<Entry> entries_;
  };
  struct Row {
    double constant = 0;
    Cells cells;

    void insert(Symbol symbol, double coefficient) { cells.add(symbol, coefficient); }
    void insert(const Row& other, double coefficient);
    void remove(Symbol symbol) { cells.take(symbol); }
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

  // Rebuilds the tableau from the constraints that were accepted, after one
  // was refused halfway (rare: a contradiction among required rules).
  void rebuild();
  struct Stored {
    std::vector<Term> terms;
    double constant;
    Relation relation;
    double strength;
    Tag tag;
    // The marker's coefficient in the constraint's own row, before any pivot.
    double markerCoefficient = 1;
    bool live = false;
  };
  bool insert(Stored& constraint);
  void shiftConstant(const Stored& constraint, double delta, std::vector<Symbol>& infeasible);
  bool dualOptimize(std::vector<Symbol>& infeasible);
  Symbol dualEnteringSymbol(const Row& row) const;
  void removeMarkerEffects(Symbol marker, double strength);
  std::map<Symbol, Row>::iterator markerLeavingRow(Symbol marker);

  std::vector<Stored> constraints_;  // by handle
  size_t liveCount_ = 0;
  int nextSymbol_ = 1;
  Variable nextVariable_ = 0;
  std::map<Variable, Symbol> variables_;
  std::map<Symbol, Row> rows_;
  Row objective_;
  Row* artificial_ = nullptr;
};

}  // namespace velune::ui
