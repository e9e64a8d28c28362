#include "platform/ui/LinearSolver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace velune::ui {
namespace {

using Relation = LinearSolver::Relation;
constexpr double kRequired = LinearSolver::kRequired;

TEST(LinearSolver, Solve_EqualitiesAndInequalitiesTogether) {
  LinearSolver solver;
  const auto x = solver.newVariable();
  const auto y = solver.newVariable();
  // x = 10; y >= x + 5; y <= 100; y wishes to be 0.
  ASSERT_TRUE(solver.addConstraint({{x, 1}}, -10, Relation::Equal, kRequired));
  ASSERT_TRUE(solver.addConstraint({{y, 1}, {x, -1}}, -5, Relation::GreaterOrEqual, kRequired));
  ASSERT_TRUE(solver.addConstraint({{y, 1}}, -100, Relation::LessOrEqual, kRequired));
  ASSERT_TRUE(solver.addConstraint({{y, 1}}, 0, Relation::Equal, 1));
  EXPECT_DOUBLE_EQ(solver.value(x), 10);
  EXPECT_DOUBLE_EQ(solver.value(y), 15);
}

TEST(LinearSolver, Priorities_StrongerWishWinsAndRequiredAlwaysHolds) {
  LinearSolver solver;
  const auto w = solver.newVariable();
  ASSERT_TRUE(solver.addConstraint({{w, 1}}, -50, Relation::Equal, 10));    // weak: 50
  ASSERT_TRUE(solver.addConstraint({{w, 1}}, -80, Relation::Equal, 1000));  // strong: 80
  EXPECT_DOUBLE_EQ(solver.value(w), 80);
  ASSERT_TRUE(solver.addConstraint({{w, 1}}, -60, Relation::LessOrEqual, kRequired));
  EXPECT_DOUBLE_EQ(solver.value(w), 60);
}

TEST(LinearSolver, Conflict_RequiredContradictionIsRefusedAndChangesNothing) {
  LinearSolver solver;
  const auto a = solver.newVariable();
  const auto b = solver.newVariable();
  ASSERT_TRUE(solver.addConstraint({{a, 1}}, -20, Relation::Equal, kRequired));
  ASSERT_TRUE(solver.addConstraint({{b, 1}, {a, -1}}, 0, Relation::Equal, kRequired));  // b = a
  // b = 30 contradicts a = 20 (through b = a), and so does a >= 25.
  EXPECT_FALSE(solver.addConstraint({{b, 1}}, -30, Relation::Equal, kRequired));
  EXPECT_FALSE(solver.addConstraint({{a, 1}}, -25, Relation::GreaterOrEqual, kRequired));
  EXPECT_DOUBLE_EQ(solver.value(a), 20);
  EXPECT_DOUBLE_EQ(solver.value(b), 20);
  // The solver keeps working after a refusal.
  const auto c = solver.newVariable();
  ASSERT_TRUE(solver.addConstraint({{c, 1}, {b, -2}}, 0, Relation::Equal, kRequired));
  EXPECT_DOUBLE_EQ(solver.value(c), 40);
}

TEST(LinearSolver, BadInput_NonFiniteNumbersAreRefused) {
  LinearSolver solver;
  const auto a = solver.newVariable();
  EXPECT_FALSE(solver.addConstraint({{a, 1}}, std::numeric_limits<double>::infinity(), Relation::Equal, kRequired));
  EXPECT_FALSE(solver.addConstraint({{a, std::nan("")}}, 0, Relation::Equal, kRequired));
  EXPECT_FALSE(solver.addConstraint({{a, 1}}, 0, Relation::Equal, 0));
  EXPECT_DOUBLE_EQ(solver.value(a), 0);
}

TEST(LinearSolver, Chain_ManyLinkedVariablesSolveExactly) {
  // A column of 200 boxes of height 10 with 8 between them, as a long stack would give.
  LinearSolver solver;
  std::vector<LinearSolver::Variable> tops;
  LinearSolver::Variable previous = solver.newVariable();
  ASSERT_TRUE(solver.addConstraint({{previous, 1}}, 0, Relation::Equal, kRequired));
  tops.push_back(previous);
  for (int i = 1; i < 200; ++i) {
    const auto top = solver.newVariable();
    ASSERT_TRUE(solver.addConstraint({{top, 1}, {previous, -1}}, -18, Relation::Equal, kRequired));
    tops.push_back(top);
    previous = top;
  }
  EXPECT_DOUBLE_EQ(solver.value(tops.back()), 199 * 18);
}


TEST(LinearSolver, Edits_RemoveAndSetConstantMoveTheKeptSolution) {
  LinearSolver solver;
  const auto x = solver.newVariable();
  const auto y = solver.newVariable();
  const auto width = solver.add({{x, 1}}, -100, Relation::Equal, kRequired);           // x = 100
  const auto gap = solver.add({{y, 1}, {x, -1}}, -10, Relation::GreaterOrEqual, kRequired);  // y >= x + 10
  const auto wish = solver.add({{y, 1}}, -50, Relation::Equal, 10);                   // y wishes 50
  ASSERT_NE(wish, LinearSolver::kRefused);
  EXPECT_DOUBLE_EQ(solver.value(y), 110);
  ASSERT_TRUE(solver.setConstant(width, -20));  // x = 20: the wish holds now
  EXPECT_DOUBLE_EQ(solver.value(x), 20);
  EXPECT_DOUBLE_EQ(solver.value(y), 50);
  ASSERT_TRUE(solver.setConstant(gap, -45));  // y >= x + 45
  EXPECT_DOUBLE_EQ(solver.value(y), 65);
  solver.remove(gap);
  EXPECT_DOUBLE_EQ(solver.value(y), 50);
  EXPECT_EQ(solver.constraintCount(), 2U);
  solver.remove(gap);  // twice, or an unknown handle: nothing happens
  solver.remove(12345);
  EXPECT_DOUBLE_EQ(solver.value(x), 20);

  // A constant that contradicts required constraints is refused and changes nothing.
  const auto cap = solver.add({{x, 1}}, -30, Relation::LessOrEqual, kRequired);  // x <= 30
  ASSERT_NE(cap, LinearSolver::kRefused);
  EXPECT_FALSE(solver.setConstant(width, -40));
  EXPECT_DOUBLE_EQ(solver.constantOf(width), -20);
  EXPECT_DOUBLE_EQ(solver.value(x), 20);
  EXPECT_FALSE(solver.setConstant(width, std::numeric_limits<double>::quiet_NaN()));
  // A redundant required equality may move only with the one it repeats.
  const auto twin = solver.add({{x, 1}}, -20, Relation::Equal, kRequired);
  ASSERT_NE(twin, LinearSolver::kRefused);
  EXPECT_FALSE(solver.setConstant(twin, -25));
  EXPECT_DOUBLE_EQ(solver.value(x), 20);
}

// Random systems, changed one constraint at a time, against a solver that
// takes the final constraints from nothing. Required rules hold at a hidden
// point, so they never contradict; the weights are distinct, so the best
// solution is unique and both solvers must find it.
TEST(LinearSolver, Edits_RandomChangesGiveTheSolutionOfAFreshSolver) {
  std::mt19937 random(20240611);
  for (int system = 0; system < 20; ++system) {
    constexpr int kVariables = 8;
    std::uniform_real_distribution<double> point(-100, 100);
    std::uniform_real_distribution<double> weight(1, 1000);
    std::uniform_int_distribution<int> pick(0, kVariables - 1);
    std::vector<double> hidden;
    LinearSolver kept;
    std::vector<LinearSolver::Variable> variables;
    for (int i = 0; i < kVariables; ++i) {
      variables.push_back(kept.newVariable());
      hidden.push_back(std::round(point(random)));
    }
    struct Live {
      std::vector<LinearSolver::Term> terms;
      double constant;
      Relation relation;
      double strength;
      LinearSolver::Constraint handle;
    };
    std::vector<Live> live;
    auto makeRule = [&](bool required) {
      const int a = pick(random);
      int b = pick(random);
      if (b == a) {
        b = (a + 1) % kVariables;
      }
      Live rule{{{variables[a], 1}, {variables[b], -1}}, 0, Relation::Equal, 0, LinearSolver::kRefused};
      const double atHidden = hidden[a] - hidden[b];
      if (required) {
        // a - b <= atHidden + slack: true at the hidden point.
        rule.relation = random() % 2 == 0 ? Relation::LessOrEqual : Relation::GreaterOrEqual;
        const double slack = static_cast<double>(random() % 20);
        rule.constant = rule.relation == Relation::LessOrEqual ? -(atHidden + slack) : -(atHidden - slack);
        rule.strength = kRequired;
      } else {
        rule.relation = static_cast<Relation>(random() % 3);
        rule.constant = std::round(point(random));
        rule.strength = weight(random);
      }
      return rule;
    };
    // Every variable wishes for a value, so nothing is left free; weights of
    // distinct powers of two never cancel out into a tie.
    for (int i = 0; i < kVariables; ++i) {
      live.push_back({{{variables[i], 1}}, -std::round(point(random)), Relation::Equal, 0.001 * (1 << i), 0});
    }
    for (int i = 0; i < 12; ++i) {
      live.push_back(makeRule(i % 3 == 0));
    }
    for (auto& rule : live) {
      rule.handle = kept.add(rule.terms, rule.constant, rule.relation, rule.strength);
      ASSERT_NE(rule.handle, LinearSolver::kRefused);
    }
    for (int step = 0; step < 30; ++step) {
      const size_t index = kVariables + static_cast<size_t>(random()) % (live.size() - kVariables);
      switch (random() % 3) {
        case 0: {  // a new constant
          Live& rule = live[index];
          // Required rules move to any bound that the hidden point still meets.
          const double atHidden = hidden[static_cast<size_t>(rule.terms[0].variable)] -
                                  hidden[static_cast<size_t>(rule.terms[1].variable)];
          const double slack = static_cast<double>(random() % 20);
          const double moved = rule.strength < kRequired                   ? std::round(point(random))
                               : rule.relation == Relation::LessOrEqual ? -(atHidden + slack)
                                                                         : -(atHidden - slack);
          ASSERT_TRUE(kept.setConstant(rule.handle, moved));
          rule.constant = moved;
          break;
        }
        case 1:  // a rule goes
          kept.remove(live[index].handle);
          live.erase(live.begin() + static_cast<std::ptrdiff_t>(index));
          break;
        default: {  // a rule comes
          Live rule = makeRule(random() % 3 == 0);
          rule.handle = kept.add(rule.terms, rule.constant, rule.relation, rule.strength);
          ASSERT_NE(rule.handle, LinearSolver::kRefused);
          live.push_back(rule);
          break;
        }
      }
      LinearSolver fresh;
      for (int i = 0; i < kVariables; ++i) {
        fresh.newVariable();
      }
      for (const auto& rule : live) {
        ASSERT_TRUE(fresh.addConstraint(rule.terms, rule.constant, rule.relation, rule.strength));
      }
      for (const auto variable : variables) {
        ASSERT_NEAR(kept.value(variable), fresh.value(variable), 1e-6)
            << "system " << system << " step " << step << " variable " << variable;
      }
    }
  }
}

}  // namespace
}  // namespace velune::ui
