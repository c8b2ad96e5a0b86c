// The judge of tarnix_compare, and the counted and noisy functions that it hands out.

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <tuple>

#include "compare.h"

using namespace compare;

namespace {

TEST(Judge, FindsNothingLeftAtTheBestPoints) {
  for (int i = 0; i < wideProblemCount(); ++i) {
    const Problem& p = *wideProblemAt(i);
    if (std::string(p.name) == "HS13") continue;  // has no multipliers at its minimizer
    SCOPED_TRACE(p.name);
    const std::vector<double> best(p.best, p.best + p.n);
    const Verdict v = judge(p, {true, best}, 1e-3);
    EXPECT_EQ(std::tuple(v.loose, v.tight, v.wrong, v.better),
              std::tuple(true, true, false, false));
    EXPECT_LE(furtherFall(p, best, 1e-8), 1e-5);
  }
}

TEST(Judge, TellsLocalMinimaFromOtherEnds) {
  const struct {
    const char *what, *problem;
    std::vector<double> x;
    bool loose, wrong;
  } cases[] = {
      {"close enough", "HS1", {1.001, 1.002}, true, false},
      {"floor of the valley", "HS1", {0.82, 0.6724}, false, true},
      {"local minimum with steep walls", "freudenstein_roth", {10, -0.979494000}, false, false},
      {"local minimum in a corner", "HS20", {-0.5, std::sqrt(0.75)}, false, false},
      {"corner that is none", "HS16", {-0.5, -std::sqrt(0.5)}, false, true},
      {"saddle point on a bound", "HS33", {0, 0, 2}, false, true},
      {"slope left", "HS43", {0, 0, 0, 0}, false, true},
      {"vertex that is not the best, but a minimum",
       "concave_knapsack",
       {1, 1, 0, 0, 1},
       false,
       false},
      {"not feasible", "HS43", {0.1, 1, 2.5, -1}, false, true},
      {"not a number", "HS43", {0, 1, std::nan(""), -1}, false, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Verdict claimed = judge(*problemByName(c.problem), {true, c.x}, 1e-3);
    EXPECT_EQ(claimed.loose, c.loose);
    EXPECT_EQ(claimed.wrong, c.wrong) << claimed.fall;
    EXPECT_FALSE(judge(*problemByName(c.problem), {false, c.x}, 1e-3).wrong) << "nothing claimed";
  }
}

TEST(Values, AreCountedOnceAtAPointAndEndWithTheBudget) {
  const Problem& p = *problemByName("HS43");
  compare::Setup setup;
  setup.maxEvaluations = 6;
  Values values(p, setup);
  const double z[4] = {0.1, 1, -0.2, 0.3};
  values.atScaled(z);
  values.jacobian(z);
  values.jacobian(z);
  EXPECT_EQ(values.evaluations, 5);
  const std::vector<double> best(p.best, p.best + p.n);
  EXPECT_EQ(values.at(best)[0], -44);
  EXPECT_EQ(values.at(best)[0], -44);
  EXPECT_EQ(values.evaluations, 6);
  EXPECT_THROW(values.at({0, 0, 0, 0}), BudgetSpent);
}

TEST(Values, HaveNoiseThatDependsOnThePointAlone) {
  const Problem& p = *problemByName("HS43");
  compare::Setup setup;
  setup.noise = 1e-4;
  Values first(p, setup), second(p, setup);
  std::set<double> noises;
  for (int k = 0; k < 50; ++k) {
    std::vector<double> x(p.best, p.best + p.n);
    x[0] += 1e-13 * k;
    const double f = first.at(x)[0];
    noises.insert(f + 44);
    EXPECT_LE(std::abs(f + 44), 44 * setup.noise * (1 + 1e-9));
  }
  EXPECT_GT(noises.size(), 45u);
  EXPECT_GT(*noises.rbegin() - *noises.begin(), 44 * setup.noise);
  const std::vector<double> x(p.best, p.best + p.n);
  EXPECT_EQ(first.at(x), second.at(x));
}

}  // namespace
