#include "run/catalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace tarnix::cli {
namespace {

ProblemFile integers(int count, double upper) {
  ProblemFile problem;
  for (int i = 0; i < count; ++i) {
    VariableEntry v;
    v.name = "x" + std::to_string(i);
    v.upper = upper;
    for (double value = 0; value <= upper; ++value) v.catalogue.push_back(value);
    problem.variables.push_back(v);
  }
  problem.options.tolerance = 1e-9;
  return problem;
}

tarnix::Result resultAt(double value, std::vector<double> x) {
  tarnix::Result result;
  result.success = result.feasible = true;
  result.point.x = std::move(x);
  result.point.values = {value};
  return result;
}

// Exact continuous solves of: maximize 5 x + 4 y under 6 x + 4 y <= 24, x + 2 y <= 6, which is at
// (3, 1.5) with 21; of whole numbers (4, 0) with 20 is best.
class TwoLimits {
 public:
  tarnix::Result operator()(const ProblemFile& part, const std::vector<double>&) {
    const VariableEntry &a = part.variables[0], &b = part.variables[1];
    ++solves;
    if (6 * a.lower + 4 * b.lower > 24 || a.lower + 2 * b.lower > 6) return {};  // not feasible
    // A linear objective is best at a corner of what is allowed.
    std::vector<std::vector<double>> corners;
    for (const double x : {a.lower, a.upper}) {
      corners.push_back({x, (24 - 6 * x) / 4});
      corners.push_back({x, (6 - x) / 2});
      for (const double y : {b.lower, b.upper}) corners.push_back({x, y});
    }
    for (const double y : {b.lower, b.upper}) {
      corners.push_back({(24 - 4 * y) / 6, y});
      corners.push_back({6 - 2 * y, y});
    }
    corners.push_back({3, 1.5});
    tarnix::Result best;
    for (const auto& c : corners) {
      constexpr double round = 1e-12;
      const double x = c[0], y = c[1], value = 5 * x + 4 * y;
      if (x < a.lower - round || x > a.upper + round || y < b.lower - round ||
          y > b.upper + round || 6 * x + 4 * y > 24 + round || x + 2 * y > 6 + round)
        continue;
      if (!best.feasible || value > best.objective()) best = resultAt(value, c);
    }
    return best;
  }
  int solves = 0;
};

TEST(Catalogue, BranchAndBoundFindsTheProvedBest) {
  ProblemFile problem = integers(2, 6);
  problem.objective.maximize = true;
  TwoLimits solver;
  const CatalogueSearch found = searchCatalogue(problem, resultAt(21, {3, 1.5}), std::ref(solver));
  EXPECT_TRUE(found.found);
  EXPECT_TRUE(found.proved);
  EXPECT_EQ(found.result.objective(), 20);
  EXPECT_EQ(found.result.point.x, (std::vector<double>{4, 0}));
  EXPECT_EQ(found.continuous, 21);
  EXPECT_EQ(found.bound, 20);
  EXPECT_EQ(found.solves, solver.solves);
  EXPECT_LT(found.solves, 49);  // fewer than there are combinations
}

// Minimize the distance to a point by clamping: every part has an exact answer, and the whole has
// the nearest value of every catalogue.
tarnix::Result nearest(const ProblemFile& part, const std::vector<double>& target) {
  double square = 0;
  std::vector<double> x;
  for (std::size_t i = 0; i < target.size(); ++i) {
    x.push_back(std::clamp(target[i], part.variables[i].lower, part.variables[i].upper));
    square += (x[i] - target[i]) * (x[i] - target[i]);
  }
  return resultAt(square, x);
}

TEST(Catalogue, EveryVariableGetsItsNearestValue) {
  struct Case {
    const char* name;
    std::vector<std::vector<double>> values;
    std::vector<double> target, best;
  };
  const Case cases[] = {{"uneven gaps", {{1, 2, 8, 9}, {0, 10}}, {4.9, 5.1}, {2, 10}},
                        {"one that is met", {{1, 2, 3}, {1, 4}}, {2, 3}, {2, 4}},
                        {"beside a continuous one", {{0, 3}, {}}, {1.4, 2.345}, {0, 2.345}},
                        {"one value", {{7}, {0, 1, 2}}, {7, 1.2}, {7, 1}},
                        {"five of them",
                         {{0, 1}, {0, 1}, {0, 1}, {0, 1}, {0, 1}},
                         {0.4, 0.6, 0.45, 0.55, 0.7},
                         {0, 1, 0, 1, 1}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ProblemFile problem = integers(static_cast<int>(c.values.size()), 10);
    for (std::size_t i = 0; i < c.values.size(); ++i) {
      VariableEntry& v = problem.variables[i];
      v.catalogue = c.values[i];
      if (!v.catalogue.empty()) v.lower = v.catalogue.front(), v.upper = v.catalogue.back();
    }
    const CatalogueSearch found =
        searchCatalogue(problem, nearest(problem, c.target),
                        [&](const ProblemFile& part, const std::vector<double>&) {
                          return nearest(part, c.target);
                        });
    EXPECT_TRUE(found.proved);
    EXPECT_EQ(found.result.point.x, c.best);
    EXPECT_TRUE(inCatalogue(problem, found.result.point.x));
  }
}

TEST(Catalogue, WhatIsNotCertainIsNotProved) {
  const ProblemFile problem = integers(2, 6);
  const std::vector<double> target{2.4, 3.6};
  int calls = 0;
  const auto budget = [&](const ProblemFile& part, const std::vector<double>&) {
    if (++calls > 3) throw BudgetEnded{};
    return nearest(part, target);
  };
  const CatalogueSearch cut = searchCatalogue(problem, nearest(problem, target), budget);
  EXPECT_TRUE(cut.budgetEnded);
  EXPECT_FALSE(cut.proved);
  EXPECT_LE(cut.bound, 0.32 + 1e-12);  // of (2, 4): no bound may exclude it
  // A solve that came to no end of its own may have missed the best of its part.
  const auto doubtful = [&](const ProblemFile& part, const std::vector<double>&) {
    tarnix::Result result = nearest(part, target);
    result.success = part.variables[0].lower == 0;
    return result;
  };
  const CatalogueSearch unsure = searchCatalogue(problem, nearest(problem, target), doubtful);
  EXPECT_TRUE(unsure.found);
  EXPECT_FALSE(unsure.proved);
  // Without a continuous design within the limits there is nothing to divide.
  tarnix::Result none = nearest(problem, target);
  none.feasible = none.success = false;
  EXPECT_FALSE(searchCatalogue(problem, none, doubtful).found);
}

}  // namespace
}  // namespace tarnix::cli
