#include "platform/ui/LinearSolver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
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

}  // namespace
}  // namespace velune::ui
