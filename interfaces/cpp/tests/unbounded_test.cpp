// Variables without bounds: published problems with known minima, and problems without one.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <tarnix/tarnix.hpp>
#include <vector>

using namespace tarnix;

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

double square(double v) {
  return v * v;
}

struct Classic {
  const char* name;
  std::vector<double> start, best;  // best is empty where f alone is unique
  double fBest;
  int equalities, inequalities;  // h = 0, g <= 0
  void (*evaluate)(const Point&, Values&);
  std::vector<double> lower = {}, upper = {};
};

// clang-format off
const Classic classics[] = {
    {"Rosenbrock", {-1.2, 1}, {1, 1}, 0, 0, 0,
     [](const Point& x, Values& v) { v[0] = 100 * square(x[1] - x[0] * x[0]) + square(1 - x[0]); }},
    {"Powell, singular", {3, -1, 0, 1}, {}, 0, 0, 0,
     [](const Point& x, Values& v) {
       v[0] = square(x[0] + 10 * x[1]) + 5 * square(x[2] - x[3]) +
              square(square(x[1] - 2 * x[2])) + 10 * square(square(x[0] - x[3]));
     }},
    {"Wood", {-3, -1, -3, -1}, {1, 1, 1, 1}, 0, 0, 0,
     [](const Point& x, Values& v) {
       v[0] = 100 * square(x[1] - x[0] * x[0]) + square(1 - x[0]) +
              90 * square(x[3] - x[2] * x[2]) + square(1 - x[2]) +
              10.1 * (square(x[1] - 1) + square(x[3] - 1)) + 19.8 * (x[1] - 1) * (x[3] - 1);
     }},
    {"Beale", {1, 1}, {3, 0.5}, 0, 0, 0,
     [](const Point& x, Values& v) {
       v[0] = square(1.5 - x[0] * (1 - x[1])) + square(2.25 - x[0] * (1 - x[1] * x[1])) +
              square(2.625 - x[0] * (1 - x[1] * x[1] * x[1]));
     }},
    {"HS6", {-1.2, 1}, {1, 1}, 0, 1, 0,
     [](const Point& x, Values& v) {
       v[0] = square(1 - x[0]), v[1] = 10 * (x[1] - x[0] * x[0]);
     }},
    {"HS7", {2, 2}, {0, std::sqrt(3.0)}, -std::sqrt(3.0), 1, 0,
     [](const Point& x, Values& v) {
       v[0] = std::log(1 + x[0] * x[0]) - x[1];
       v[1] = square(1 + x[0] * x[0]) + x[1] * x[1] - 4;
     }},
    {"HS43", {0, 0, 0, 0}, {0, 1, 2, -1}, -44, 0, 3,
     [](const Point& x, Values& v) {
       const double a = x[0], b = x[1], c = x[2], d = x[3];
       v[0] = a * a + b * b + 2 * c * c + d * d - 5 * a - 5 * b - 21 * c + 7 * d;
       v[1] = a * a + b * b + c * c + d * d + a - b + c - d - 8;
       v[2] = a * a + 2 * b * b + c * c + 2 * d * d - a - d - 10;
       v[3] = 2 * a * a + b * b + c * c + 2 * a - b - d - 5;
     }},
    {"HS1, one-sided", {-2, 1}, {1, 1}, 0, 0, 0,
     [](const Point& x, Values& v) { v[0] = 100 * square(x[1] - x[0] * x[0]) + square(1 - x[0]); },
     {-infinite, -1.5}, {infinite, infinite}},
    {"HS35, one-sided", {0.5, 0.5, 0.5}, {4 / 3., 7 / 9., 4 / 9.}, 1 / 9., 0, 1,
     [](const Point& x, Values& v) {
       v[0] = 9 - 8 * x[0] - 6 * x[1] - 4 * x[2] + 2 * x[0] * x[0] + 2 * x[1] * x[1] +
              x[2] * x[2] + 2 * x[0] * x[1] + 2 * x[0] * x[2];
       v[1] = x[0] + x[1] + 2 * x[2] - 3;
     },
     {0, 0, 0}, {infinite, infinite, infinite}},
    {"far away", {0, 0}, {5000, -300}, 7, 0, 0,
     [](const Point& x, Values& v) {
       v[0] = 7 + square(x[0] / 1000 - 5) + square(x[1] / 100 + 3);
     }},
    {"from far away", {4000, 4000}, {0.5, -0.25}, 0, 0, 0,
     [](const Point& x, Values& v) { v[0] = square(x[0] - 0.5) + square(x[1] + 0.25); }},
};
// clang-format on

Problem describe(const Classic& c) {
  Problem p;
  for (std::size_t i = 0; i < c.start.size(); ++i)
    p.variable("x" + std::to_string(i), c.start[i], c.lower.empty() ? -infinite : c.lower[i],
               c.upper.empty() ? infinite : c.upper[i]);
  p.minimize("f");
  for (int i = 0; i < c.equalities; ++i) p.equal("h" + std::to_string(i), 0);
  for (int i = 0; i < c.inequalities; ++i) p.atMost("g" + std::to_string(i), 0);
  return p;
}

TEST(Unbounded, ClassicsAreSolvedWithoutBounds) {
  for (const Classic& c : classics) {
    SCOPED_TRACE(c.name);
    const Result r = describe(c).solve(c.evaluate);
    ASSERT_TRUE(r.success) << r.summary();
    EXPECT_NEAR(r.objective(), c.fBest, 1e-3) << r.summary();
    for (std::size_t i = 0; i < c.best.size(); ++i)
      EXPECT_NEAR(r.point.x[i], c.best[i], 3e-2 * std::max(1.0, std::abs(c.best[i])));
    EXPECT_FALSE(r.stages.back().onInventedSide);
    for (std::size_t i = 0; i < c.start.size(); ++i) {
      if (c.lower.empty() || r.point.x[i] != c.lower[i]) {
        EXPECT_LT(r.searchLower[i], r.point.x[i]);
      }
      EXPECT_LT(r.point.x[i], r.searchUpper[i]);
    }
    ASSERT_TRUE(r.report);
    for (const ActiveLimit& limit : r.report->active)  // an invented side is no limit
      if (c.lower.empty() && limit.kind != ActiveLimit::Kind::equality) {
        EXPECT_EQ(limit.kind, ActiveLimit::Kind::upperLimit) << limit.name;
      }
  }
}

TEST(Unbounded, WhatRunsAwaySaysSo) {
  for (const Method method : {Method::sqp, Method::grg, Method::automatic}) {
    Problem p;  // a linear program without a minimum: x grows along y = x - 1, z stays at 2
    p.variable("x", 0);
    p.variable("y", 0, -infinite, infinite);
    p.variable("z", 1, 0, 2);
    p.minimize("f");
    p.atMost("g", 1);
    Options options;
    options.method = method;
    const Result r = p.solve(
        [](const Point& x, Values& v) { v[0] = -x[0] - x[2], v[1] = x[0] - x[1]; }, options);
    EXPECT_FALSE(r.success);
    EXPECT_EQ(r.reason, Reason::unbounded) << r.summary();
    EXPECT_GT(r["x"], 1e6);
    for (const double x : r.point.x) EXPECT_TRUE(std::isfinite(x)) << x;
    const std::string summary = r.summary();
    EXPECT_NE(summary.find("unbounded as far as x = "), std::string::npos) << summary;
    EXPECT_NE(summary.find("free, searched in "), std::string::npos) << summary;
    EXPECT_EQ(summary.find("z = "), std::string::npos) << summary;
  }
}

}  // namespace
