#include "platform/JsonNesting.h"

#include <gtest/gtest.h>

#include <string>

namespace velune::platform {
namespace {

TEST(JsonNesting, Depth_CountsOnlyBracketsOutsideStrings) {
  EXPECT_EQ(jsonNestingDepth("", 10), 0U);
  EXPECT_EQ(jsonNestingDepth("42", 10), 0U);
  EXPECT_EQ(jsonNestingDepth(R"({"a": [1, {"b": []}], "c": {}})", 10), 4U);
  EXPECT_EQ(jsonNestingDepth(R"({"[[[{{{": "]]]"})", 10), 1U);
  // An escaped quote does not end the string, an escaped backslash does.
  EXPECT_EQ(jsonNestingDepth(R"(["\"[[[", ["x\\"]])", 10), 2U);
  // Unbalanced closers never make the count wrap below zero.
  EXPECT_EQ(jsonNestingDepth("]]]}}}[", 10), 1U);
}

TEST(JsonNesting, Depth_StopsSoonAfterTheLimit) {
  const std::string deep(1'000'000, '[');
  EXPECT_EQ(jsonNestingDepth(deep, 64), 65U);
  EXPECT_EQ(jsonNestingDepth(std::string(64, '[') + std::string(64, ']'), 64), 64U);
}

}  // namespace
}  // namespace velune::platform
