// The parts of the automatic method by themselves, against what is computed by hand.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <set>
#include <string>
#include <tarnix/cpp/detail/curvature.hpp>
#include <tarnix/cpp/detail/further_starts.hpp>
#include <tarnix/cpp/detail/noise.hpp>
#include <tarnix/cpp/detail/scaling.hpp>
#include <tarnix/cpp/detail/session.hpp>
#include <tarnix/tarnix.hpp>
#include <vector>

#include "describe.hpp"

using namespace tarnix;

namespace {

/// x and y in a box of half range 1, an objective, equalities, then inequalities.
tarnix::Problem plane(int equalities, int inequalities, double scale = 1) {
  tarnix::Problem p;
  p.variable("x", 0, -1, 1);
  p.variable("y", 0, -1, 1);
  p.minimize("f", scale);
  for (int k = 0; k < equalities; ++k) p.equal("h" + std::to_string(k), 0);
  for (int k = 0; k < inequalities; ++k) p.atMost("g" + std::to_string(k), 0);
  return p;
}

double noiseOf(double scale, const std::function<double(double)>& f) {
  const Description d = plane(0, 0, scale).description();
  const detail::CoreProblem core(d);
  const detail::Session session;
  const Options options;
  const auto call = [&f](const Point& x, Values& v) { v[0] = f(x[0] + 1); };
  const Analysis analysis = call;
  detail::Evaluator evaluator(d, core, {analysis, {}}, options, session.settings());
  const StageStart stage;
  evaluator.beginStage(stage);
  return detail::NoiseProbe(d, core, evaluator).at({-1, -1});
}

TEST(NoiseProbe, TellsTheNoiseOfKnownSequences) {
  // Number of a point of the first line, which goes inwards by 1e-8.
  const auto number = [](double x) { return std::lround(x * 1e8); };
  const auto alternating = [&](double size) {
    return [=](double x) { return 1 + (number(x) % 2 == 0 ? size : -size); };
  };
  // Differences of order k of a sequence that alternates by a are 2^k a; with gamma_2 = 1/6,
  // gamma_3 = 1/20, gamma_4 = 1/70 the estimates are a times sqrt(16/6), sqrt(64/20), sqrt(256/70).
  const double factor = std::sqrt(16.0 / 6);
  const struct {
    const char* name;
    double scale;
    std::function<double(double)> f;
    double noise, within;
  } cases[] = {
      {"alternating by 1e-6", 1, alternating(1e-6), factor * 1e-6, 1e-10},
      {"alternating by 1e-4", 1, alternating(1e-4), factor * 1e-4, 1e-7},
      {"relative to the scale", 100, alternating(1e-6), factor * 1e-8, 1e-12},
      {"below rounding", 1, alternating(1e-13), 0, 0},
      {"constant", 1, [](double) { return 3.0; }, 0, 0},
      {"straight", 1, [](double x) { return 2 + 5 * x; }, 0, 0},
      {"bent", 1, [](double x) { return std::exp(3 * x); }, 0, 0},
      // Stands still on the lines with steps of 1e-8 and 1e-5.
      {"steps between digits", 1,
       [](double x) { return 1 + (std::lround(x * 1e2) % 2 == 0 ? 1e-4 : -1e-4); }, factor * 1e-4,
       1e-7},
      // The same, and straight beyond: no step is below 1/1000 of the slope over 1e-2, by value 2.
      {"a staircase", 1, [](double x) { return 2 + 5e-3 * std::round(x * 1e3); }, 2.5e-5, 1e-12},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_NEAR(noiseOf(c.scale, c.f), c.noise, c.within);
  }
}

TEST(Scaling, FactorsFollowTheLargestDerivative) {
  constexpr double tolerance = 1e-5;
  const struct {
    const char* name;
    double objective, constraint, value;  // largest derivatives; value of the equality
    double factor, constraintFactor;
  } cases[] = {
      {"both brought to their sizes", 0.5, 10, 1, 200, 1000.0 / 10},
      {"a negative equality is turned", 0.5, 10, -1, 200, -1000.0 / 10},
      {"a large objective is left alone", 1e5, 10, 1, 1, 100},
      {"a huge one is not", 1e9, 10, 1, 1e-2, 100},
      {"not more than 1e4", 1e-6, 10, 1, 1e4, 1e4},  // nor less than the tolerance asks for
      {"no derivative", 0, 0, 1, 1, 1},
      {"not below 1e-9 of a violation", 0.5, 1e-6, 1, 200, 200 * tolerance / 1e-9},
  };
  const Description d = plane(1, 1).description();
  const detail::CoreProblem core(d);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::vector<double> G = {c.objective / 2,  -c.objective, c.constraint, 0,
                                   c.constraint / 4, -c.constraint};
    const detail::Scaling s(core, tolerance, tolerance, {7, c.value, -1}, G);
    EXPECT_DOUBLE_EQ(s.ofTolerance, c.factor);
    ASSERT_EQ(s.factors.size(), 3u);
    EXPECT_DOUBLE_EQ(s.factors[0], c.factor);
    const double least = std::max(std::abs(c.constraintFactor), c.factor);  // for the violation
    EXPECT_DOUBLE_EQ(s.factors[1], c.value < 0 ? -least : least);
    EXPECT_DOUBLE_EQ(s.factors[2], least);  // an inequality is never turned
  }
}

TEST(FurtherStarts, AreTheMirroredStartTheCenterAndALatinHypercube) {
  tarnix::Problem p;
  p.variable("x", 1, 0, 10);
  p.variable("y", 0, -4, 4);
  p.variable("z", 7, 5, 9);
  p.minimize("f");
  const Description d = p.description();
  const detail::CoreProblem core(d);
  const std::vector<double> start = {1, -3, 8};
  const std::size_t count = 12, fixed = 2;
  const std::vector<double> X = detail::furtherStarts(core, start, count);
  ASSERT_EQ(X.size(), 3 * count);
  EXPECT_EQ(X, detail::furtherStarts(core, start, count));
  EXPECT_EQ(std::vector<double>(X.begin(), X.begin() + 6), (std::vector<double>{9, 3, 6, 5, 0, 7}));
  for (std::size_t i = 0; i < 3; ++i) {
    std::set<int> cells;
    for (std::size_t k = fixed; k < count; ++k)
      cells.insert(static_cast<int>((X[3 * k + i] - core.lower[i]) / (2 * core.half(i)) *
                                    static_cast<double>(count - fixed)));
    EXPECT_EQ(cells.size(), count - fixed) << "axis " << i;
    EXPECT_GE(*cells.begin(), 0);
    EXPECT_LT(*cells.rbegin(), static_cast<int>(count - fixed));
  }
  EXPECT_EQ(detail::furtherStarts(core, start, 1), (std::vector<double>{9, 3, 6}));
}

TEST(Curvature, FallOfAQuadratic) {
  // f = x^2 + x y + 2 y^2 + z^2 - 3 x: derivatives (-3, 0), and in z nothing to gain; the minimum
  // over x and y is -9/2 * 4/7 from f = 0.
  const auto f = [](const std::vector<double>& x) {
    return x[0] * x[0] + x[0] * x[1] + 2 * x[1] * x[1] + x[2] * x[2] - 3 * x[0];
  };
  const double h = 0.25;
  const std::vector<double> H = detail::secondDerivatives({0, 0, 0}, {0, 1}, {h, -h}, f);
  const std::vector<double> expected = {2 * h * h, -h * h, -h * h, 4 * h * h};
  for (std::size_t k = 0; k < 4; ++k) EXPECT_NEAR(H[k], expected[k], 1e-14);
  EXPECT_NEAR(detail::newtonFall(H, {-3 * h, 0}), 4.5 * 4 / 7, 1e-12);
  EXPECT_EQ(detail::newtonFall({1, 2, 2, 1}, {1, 0}), std::numeric_limits<double>::infinity());
  EXPECT_EQ(detail::newtonFall({1, 1, 1, 1}, {1, 1}), std::numeric_limits<double>::infinity());
  EXPECT_EQ(detail::newtonFall({}, {}), 0);
}

TEST(Elastic, WhatIsNotNeededOfTheSlackIsTakenAway) {
  // x >= 2 and x <= 0 leave 1 at best. The limits of y can be met, and of z as well.
  tarnix::Problem p;
  const Variable x = p.variable("x", 5, -10, 10), y = p.variable("y", 0, 0, 10);
  const Variable z = p.variable("z", 9, 0, 10);
  const Function cost = p.minimize("cost"), right = p.atLeast("right", 2);
  const Function left = p.atMost("left", 0), far = p.atLeast("far", 3), even = p.equal("even", 0);
  const Result r = p.solve([&](const Point& d, Values& v) {
    v[cost] = d[x] + d[y] + d[z];
    v[right] = v[left] = d[x];
    v[far] = d[y];
    v[even] = d[z] - d[y];
  });
  ASSERT_TRUE(r.conflict);
  EXPECT_EQ(r.conflict->constraints, (std::vector<std::string>{"right", "left"}));
  EXPECT_NEAR(r.conflict->violation, 1, 1e-4);
  const std::vector<double>& at = r.conflict->point.x;
  EXPECT_NEAR(at[0], 1, 1e-4);
  EXPECT_GE(at[1], 3 - 1e-4);
  EXPECT_NEAR(at[2], at[1], 1e-4);
}

TEST(MultiStart, EstimatesTheMinimaThatAreUnseen) {
  // w (w + 1) / (N - w - 2) for N successful starts in w minima; nothing where N <= w + 2.
  const struct {
    int minima, starts;
    double unseen;  // 0: absent
  } cases[] = {{1, 3, 0}, {1, 4, 2}, {1, 5, 1}, {1, 23, 0.1}, {2, 10, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.minima) + " of " + std::to_string(c.starts));
    tarnix::Problem p;
    p.variable("x", -2, -3, 3);
    p.minimize("f");
    Options options;
    options.starts = c.starts;
    const Result r = p.solve(
        [&](const Point& v, Values& f) {
          const double x = v[0];
          f[0] = c.minima == 1 ? x * x : (x * x - 1) * (x * x - 1);
        },
        options);
    ASSERT_TRUE(r.minima);
    ASSERT_EQ(static_cast<int>(r.minima->found.size()), c.minima);
    EXPECT_EQ(r.minima->unsuccessful, 0);
    EXPECT_EQ(r.minima->unseen.has_value(), c.unseen > 0);
    if (r.minima->unseen) {
      EXPECT_DOUBLE_EQ(*r.minima->unseen, c.unseen);
    }
  }
}

Result solveProblem(const char* name, const std::vector<double>& start, const Options& options) {
  const ::Problem& p = *problemByName(name);
  Options started = options;
  started.start = start;
  std::vector<double> copy;
  return describe(p).solve(
      [&](const Point& x, Values& v) {
        copy.assign(x.begin(), x.end());
        double* const f = v.data();
        p.evaluate(nullptr, copy.data(), f, f + 1, f + 1 + p.nEq);
      },
      started);
}

// Quartic walls far away, a flat valley near the minimum: neither the scales of the start nor the
// curvature that was learned there hold in it.
TEST(Scaling, BeginsAnewWhereTheFunctionsHaveBecomeSmall) {
  tarnix::Problem p;
  for (int i = 0; i < 6; ++i) p.variable("x" + std::to_string(i), i % 2 ? 9 : -8, -10, 10);
  p.minimize("f");
  Options options;
  options.effort = 0;
  const Result r = p.solve(
      [](const Point& x, Values& v) {
        v[0] = 0;
        for (int i = 0; i < 6; i += 2)
          v[0] += 100 * std::pow(x[i + 1] - x[i] * x[i], 2) + std::pow(1 - x[i], 2);
      },
      options);
  EXPECT_TRUE(r.success) << r.summary();
  EXPECT_NEAR(r.objective(), 0, 1e-6);
  int rescaled = 0;
  for (std::size_t k = 0; k + 1 < r.stages.size(); ++k) {
    if (!r.stages[k].brokenOff || r.stages[k].end.violation > 0) continue;
    ++rescaled;
    EXPECT_EQ(r.stages[k + 1].settings.method, Method::sqp);
    EXPECT_EQ(r.stages[k + 1].settings.x, r.stages[k].end.x);
    EXPECT_EQ(r.stages[k + 1].settings.tolerance, r.stages[k].settings.tolerance);
  }
  EXPECT_GE(rescaled, 1);
}

// From sizes near zero the deflection is 1e6 times its limit.
TEST(BrokenOff, InfeasibleSqpIsFollowedByGrgAtOnce) {
  Options options;
  options.effort = 0;
  const Result r = solveProblem("segments_10", std::vector<double>(10, 0.011), options);
  EXPECT_TRUE(r.success) << r.summary();
  EXPECT_NEAR(r.objective(), 8.470866141185677, 1e-5);
  ASSERT_GE(r.stages.size(), 2U);
  EXPECT_TRUE(r.stages[0].brokenOff);
  EXPECT_GT(r.stages[0].end.violation, 1e-3);
  EXPECT_EQ(r.stages[1].settings.method, Method::grg);
  EXPECT_EQ(r.stages[1].settings.differences, Differences::forward);
}

// A tail at 0 with next to no slope, which leads down to -0.0267.
TEST(Stationary, IsNoTail) {
  const std::vector<double> tail = {-0.3932540029615543, 2.33816909929663, 0.027723316711000923,
                                    2.3066724702182073, 1.4280441347154826};
  const Result r = solveProblem("HS47", tail, {});
  EXPECT_TRUE(!r.success || r.objective() < -0.0267) << r.summary();
}

TEST(BrokenOff, IterationsAreThoseThatWereTold) {
  const ::tarnix::Problem camel = [] {
    tarnix::Problem p;
    p.variable("x", 2.5, -3, 3);
    p.variable("y", -1.5, -2, 2);
    p.minimize("f");
    return p;
  }();
  int told = 0;
  Options options;
  options.onIteration = [&](Progress&) { ++told; };
  const Result r = camel.solve(
      [](const Point& p, Values& v) {
        const double x = p[0], y = p[1];
        v[0] = (4 - 2.1 * x * x + x * x * x * x / 3) * x * x + x * y + (4 * y * y - 4) * y * y;
      },
      options);
  bool broken = false;
  int sum = 0;
  for (const Stage& stage : r.stages) {
    broken = broken || stage.brokenOff;
    sum += stage.iterations;
  }
  EXPECT_TRUE(broken);
  EXPECT_EQ(sum, told);
  EXPECT_EQ(r.iterations, told);
}

}  // namespace
