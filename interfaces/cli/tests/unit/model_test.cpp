#include "problem/model.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support.h"

namespace tarnix::cli {
namespace {

const char* const head = R"(
[variables]
x = { start = 2, lower = 0, upper = 4 }
y = { value = 3 }
)";

std::vector<double> valuesOf(const std::string& rest, std::vector<double> results = {}) {
  const Scratch scratch;
  Issues issues("p.toml");
  const ProblemFile problem = problemOf(scratch, head + rest, issues);
  Model model(problem, issues);
  EXPECT_EQ(issues.text(), "");
  const std::vector<double> x{2, 3};
  return model.values(x, results);
}

TEST(Model, QuantitiesInAnyOrder) {
  // c needs b needs a, written the other way round, with one that stands for itself.
  const auto f = valuesOf(R"(
[quantities]
c = "b + 1"
b = "a * y"
a = "x^2"
[objective]
minimize = "c"
[constraints]
low = { value = "b - a", min = 0 }
)");
  EXPECT_EQ(f, (std::vector<double>{13, 8}));
}

TEST(Model, InputsAreWhatNeedsNoResult) {
  const Scratch scratch;
  Issues issues("p.toml");
  const ProblemFile problem = problemOf(scratch, std::string(head) + R"(
[quantities]
late = "early + weight"
later = "2 * late"
early = "x + y"
[command]
run = ["true", "{{early}}"]
[results]
weight = { key = "w" }
[objective]
minimize = "later"
)",
                                        issues);
  Model model(problem, issues);
  EXPECT_EQ(issues.text(), "");
  EXPECT_EQ(model.inputNames(), (std::vector<std::string>{"x", "y", "early"}));
  const std::vector<double> x{2, 3}, results{10};
  EXPECT_EQ(model.inputs(x), (std::vector<double>{2, 3, 5}));
  EXPECT_EQ(model.values(x, results), (std::vector<double>{30}));
}

TEST(Model, NamesACircleOnce) {
  const Scratch scratch;
  Issues issues("p.toml");
  const ProblemFile problem = problemOf(scratch, std::string(head) + R"(
[quantities]
a = "b"
b = "c"
c = "a + x"
[objective]
minimize = "a"
)",
                                        issues);
  const Model model(problem, issues);
  EXPECT_NE(issues.text().find("depends on itself: 'a' -> 'b' -> 'c' -> 'a'"), std::string::npos)
      << issues.text();
  EXPECT_EQ(issues.text().find('\n'), std::string::npos) << issues.text();
}

TEST(Model, ValuesThatAreNoNumbersAreOneNan) {
  const auto f = valuesOf("[objective]\nminimize = \"sqrt(-x)\"\n");
  EXPECT_TRUE(std::isnan(f[0]));
  EXPECT_FALSE(std::signbit(f[0]));
}

}  // namespace
}  // namespace tarnix::cli
