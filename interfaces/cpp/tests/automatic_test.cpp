// What the automatic method does beyond its stages: scales, noise, memory, saddle points, further
// starts.

#include <gtest/gtest.h>
#include <tarnix/tarnix.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <tarnix/tarnix.hpp>
#include <vector>

#include "describe.hpp"

namespace {

using namespace tarnix;

auto analysisOf(const ::Problem& p) {
  return [&p](const Point& x, Values& v) {
    std::vector<double> copy(x.begin(), x.end());
    double* f = v.data();
    p.evaluate(nullptr, copy.data(), f, f + 1, f + 1 + p.nEq);
  };
}

// Even in [-1, 1], from the bits of a point.
double scatter(const Point& x) {
  std::uint64_t state = 7;
  for (const double xi : x) {
    std::uint64_t bits;
    std::memcpy(&bits, &xi, sizeof bits);
    state = (state ^ bits) * 0x9e3779b97f4a7c15u;
    state ^= state >> 29;
  }
  return static_cast<double>(state >> 11) / 4503599627370496.0 - 1;
}

TEST(Noise, IsEstimatedAndChoosesTheStep) {
  tarnix::Problem p;
  p.variable("x", 2, 0, 4);
  p.variable("y", 3, 0, 4);
  p.minimize("f");
  p.atMost("g", 3);
  const auto exact = [](const Point& x, Values& v) {
    v[0] = 5 + std::pow(x[0] - 1, 2) + std::pow(x[1] - 3, 2);
    v[1] = x[0] + x[1];
  };
  const Result clean = p.solve(exact);
  EXPECT_EQ(clean.noise, 0);
  EXPECT_EQ(clean.tolerance, 1e-5);
  EXPECT_NEAR(clean.objective(), 5.5, 1e-6);
  for (const double level : {1e-6, 1e-4}) {
    SCOPED_TRACE(level);
    const Result r = p.solve([&](const Point& x, Values& v) {
      exact(x, v);
      v[0] *= 1 + level * scatter(x);
      v[1] *= 1 + level * scatter(x);
    });
    // The noise is even: its deviation is the level by the root of 3.
    EXPECT_GT(r.noise, level / 10);
    EXPECT_LT(r.noise, level * 2);
    EXPECT_GT(r.differenceStep, std::sqrt(level) / 4);
    EXPECT_GE(r.tolerance, 1e-5);
    EXPECT_NEAR(r.objective(), 5.5, 1e-2);
    EXPECT_NE(r.advice.find("noise"), std::string::npos) << r.advice;
  }
  // Values with few digits are as good as noisy ones, but stand still on short lines.
  const Result rounded = p.solve([&](const Point& x, Values& v) {
    exact(x, v);
    for (double& value : v) value = std::round(value * 1e4) / 1e4;
  });
  EXPECT_GT(rounded.noise, 1e-6);
  EXPECT_LT(rounded.noise, 1e-3);
  EXPECT_NEAR(rounded.objective(), 5.5, 1e-2);
  Options stated;
  stated.accuracy = 1e-8;
  EXPECT_EQ(p.solve(exact, stated).noise, 1e-8);
}

TEST(Noise, IsNotLookedForWhereTheHostKnowsBetter) {
  tarnix::Problem p;
  p.variable("x", 2, 0, 4), p.variable("y", 3, 0, 4);
  p.minimize("f");
  const auto noisy = [](const Point& x, Values& v) {
    v[0] = (5 + std::pow(x[0] - 1, 2) + std::pow(x[1] - 3, 2)) * (1 + 1e-4 * scatter(x));
  };
  const auto gradient = [](const Point& x, Gradients& g) {
    g(0, 0) = 2 * (x[0] - 1), g(0, 1) = 2 * (x[1] - 3);
  };
  Options none, step, accuracy, few;
  step.differenceStep = 0.02;
  accuracy.accuracy = 1e-3;
  few.maxEvaluations = 29;  // less than ten for each variable and one
  EXPECT_GT(p.solve(noisy, none).noise, 1e-5);
  EXPECT_EQ(p.solve(noisy, step).noise, 0);
  EXPECT_EQ(p.solve(noisy, accuracy).noise, 1e-3);
  EXPECT_EQ(p.solve(noisy, few).noise, 0);
  EXPECT_EQ(p.solve(noisy, gradient, none).noise, 0);
}

// Of a large value the same accuracy leaves more that is noise: there is less to be gained.
TEST(Noise, IsRelativeToTheValue) {
  int iterations[2];
  for (const double offset : {0.0, 1e4}) {
    tarnix::Problem p;
    p.variable("x", -1.2, -5, 5), p.variable("y", 1, -5, 5);
    p.minimize("f");
    Options stated;
    stated.accuracy = 1e-4;
    const Result r =
        p.solve([&](const Point& x,
                    Values& v) { v[0] = offset + std::cosh(x[0] - 2) + std::cosh(x[0] + x[1]); },
                stated);
    ASSERT_FALSE(r.stages.empty());
    iterations[offset > 0] = r.stages[0].iterations;
    EXPECT_LT(r.stages[0].end.values[0] - offset, offset > 0 ? 5 : 2.01);
  }
  EXPECT_LT(iterations[1], iterations[0] / 2) << iterations[0];
}

// After a solve that was not cheap: 2 + 0.75 (n + 1) points, and stages that return to its end.
TEST(FurtherStarts, AreChosenFromAFewPointsPerVariable) {
  tarnix::Problem p;
  const std::size_t n = 20;
  p.variables("x", std::vector<double>(n, 0.5), std::vector<double>(n, -1),
              std::vector<double>(n, 2));
  p.minimize("f");
  p.atMost("sum", 10);
  const auto analysis = [](const Point& x, Values& v) {
    v[0] = v[1] = 0;
    for (std::size_t i = 0; i < n; ++i) {
      v[0] += (1 + 0.1 * static_cast<double>(i)) * std::pow(x[i] - 1, 2);
      v[1] += x[i];
    }
  };
  Options none;
  none.effort = 0;
  const Result first = p.solve(analysis, none), whole = p.solve(analysis);
  EXPECT_TRUE(first.success);
  std::int64_t points = whole.evaluations - first.evaluations;
  for (std::size_t k = first.stages.size(); k < whole.stages.size(); ++k) {
    EXPECT_TRUE(whole.stages[k].further);
    EXPECT_EQ(whole.stages[k].meaning, "ran into a known end");
    points -= whole.stages[k].evaluations;
  }
  EXPECT_EQ(points % static_cast<std::int64_t>(n), 17);  // but for whole passes of differences
  EXPECT_EQ(whole.point.x, first.point.x);
}

TEST(Scales, OfTheFunctionsShowNowhere) {
  // The smallest box of a given volume: side 2, multiplier 12 / (3 * 2^2) * ... by the scales.
  for (const double size : {1e-6, 1.0, 1e6}) {
    SCOPED_TRACE(size);
    tarnix::Problem p;
    const auto sides = p.variables("side", {5, 4, 3}, {1, 1, 1}, {9, 9, 9});
    p.minimize("sum", size);
    p.atLeast("volume", 8 / size, 1 / size);
    const Result r = p.solve([&](const Point& x, Values& v) {
      v[0] = size * (x[0] + x[1] + x[2]);
      v[1] = x[0] * x[1] * x[2] / size;
    });
    ASSERT_TRUE(r.success) << r.summary();
    EXPECT_NEAR(r.objective() / size, 6, 1e-5);
    ASSERT_TRUE(r.report);
    ASSERT_EQ(r.report->active.size(), 1u);
    // d sum / d volume = 1 / side^2.
    EXPECT_NEAR(r.report->active[0].multiplier / (size * size), 0.25, 1e-3);
  }
}

TEST(Memory, NoPointIsEvaluatedTwice) {
  for (const char* name : {"HS33", "HS71", "welded_beam", "HS13"}) {
    SCOPED_TRACE(name);
    const ::Problem& p = *problemByName(name);
    std::set<std::vector<double>> seen;
    int again = 0;
    const auto analysis = analysisOf(p);
    Options options;
    options.maxEvaluations = 300;
    const Result r = describe(p).solve(
        [&](const Point& x, Values& v) {
          again += !seen.insert({x.begin(), x.end()}).second;
          analysis(x, v);
        },
        options);
    EXPECT_EQ(seen.count(r.point.x), 1u);  // to the last bit
    for (const Stage& stage : r.stages) EXPECT_EQ(seen.count(stage.end.x), 1u);
    EXPECT_LE(again, name == std::string("HS13") ? 30 : 0);  // later stages come back after long
  }
}

TEST(Limits, OfEvaluationsAreExactAndEndWithoutSuccess) {
  for (const char* name : {"HS33", "HS71", "HS1", "g08"})
    for (std::int64_t limit = 1; limit <= 90; ++limit) {
      SCOPED_TRACE(std::string(name) + " " + std::to_string(limit));
      const ::Problem& p = *problemByName(name);
      std::int64_t calls = 0;
      const auto analysis = analysisOf(p);
      Options options;
      options.maxEvaluations = limit;
      options.report = false;
      const Result r =
          describe(p).solve([&](const Point& x, Values& v) { ++calls, analysis(x, v); }, options);
      EXPECT_EQ(calls, r.evaluations);
      EXPECT_LE(calls, limit);
      EXPECT_FALSE(r.success && r.reason != Reason::finished) << r.summary();
    }
}

TEST(Saddles, AreLeft) {
  // Saddle points and kinks of symmetry on the way from the published starts.
  for (const char* name : {"HS33", "g01"}) {
    const ::Problem& p = *problemByName(name);
    Options options;
    options.effort = 0;
    const Result r = describe(p).solve(analysisOf(p), options);
    EXPECT_TRUE(r.success) << r.summary();
    EXPECT_NEAR(r.objective(), p.fBest, 1e-3) << name;
  }
}

TEST(FurtherStarts, FindTheLowerOfTwoMinima) {
  tarnix::Problem p;
  p.variable("x", -0.98, -2, 2);
  p.minimize("f");
  // Minima near 1 and -1, the one at the right lower.
  const auto analysis = [](const Point& x, Values& v) {
    v[0] = std::pow(x[0] * x[0] - 1, 2) - 0.05 * x[0];
  };
  Options options;
  options.effort = 0;
  const Result near = p.solve(analysis, options);
  EXPECT_TRUE(near.success);
  EXPECT_LT(near.point.x[0], 0);
  options.effort = 1e300;  // more than can be counted
  EXPECT_GT(p.solve(analysis, options).point.x[0], 0);
  options.effort = 8;
  const Result r = p.solve(analysis, options);
  EXPECT_TRUE(r.success);
  EXPECT_GT(r.point.x[0], 0);
  EXPECT_TRUE(std::any_of(r.stages.begin(), r.stages.end(), [](auto& s) { return s.further; }));
  options.threads = 4;
  const Result threads = p.solve(analysis, options);
  EXPECT_EQ(threads.point.x, r.point.x);
  EXPECT_EQ(threads.evaluations, r.evaluations);
  EXPECT_EQ(threads.point.evaluation, r.point.evaluation);
}

TEST(Conflict, NamesTheConstraintsThatContradictEachOther) {
  tarnix::Problem p;
  const Variable x = p.variable("x", 1, 0, 10), y = p.variable("y", 1, 0, 10);
  p.minimize("cost");
  const Function strength = p.atLeast("strength", 20), area = p.atMost("area", 8);
  const Function height = p.atMost("height", 9), width = p.atLeast("width", 1);
  const auto analysis = [&](const Point& d, Values& v) {
    v[0] = d[x] + d[y];
    v[strength] = d[x] * d[y];
    v[area] = d[x] + d[y];
    v[height] = d[y];
    v[width] = d[x];
  };
  const Result r = p.solve(analysis);
  EXPECT_FALSE(r.feasible);
  ASSERT_TRUE(r.conflict);
  EXPECT_EQ(r.conflict->constraints, (std::vector<std::string>{"strength", "area"}));
  EXPECT_TRUE(r.conflict->minimal);
  // x = y = (8 + t) / 2 with x y = 20 - t: t^2 + 20 t - 16 = 0.
  EXPECT_NEAR(r.conflict->violation, std::sqrt(116.0) - 10, 1e-4);
  EXPECT_NE(r.advice.find("'strength', 'area' contradict each other"), std::string::npos);
  Options few;
  few.maxEvaluations = 40;
  EXPECT_LE(p.solve(analysis, few).evaluations, 40);
}

TEST(Warm, GoesOnWhereASolveHasEnded) {
  for (const char* name : {"welded_beam", "HS71", "speed_reducer", "spring"}) {
    SCOPED_TRACE(name);
    const ::Problem& p = *problemByName(name);
    const Result first = describe(p).solve(analysisOf(p));
    ASSERT_TRUE(first.success);
    Options options;
    options.warm = first.warm();
    const Result same = describe(p).solve(analysisOf(p), options);
    EXPECT_TRUE(same.success);
    EXPECT_NEAR(same.objective(), first.objective(), 1e-5 * std::abs(first.objective()));
    EXPECT_LE(same.evaluations, first.evaluations / 2);
  }
  Options wrong;
  wrong.warm = WarmStart{};
  EXPECT_THROW(describe(*problemByName("HS71")).solve(analysisOf(*problemByName("HS71")), wrong),
               InvalidProblem);
}

TEST(Advice, ASuccessWithoutTheTestOfConvergenceIsSaid) {
  int stalled = 0, converged = 0;
  for (int k = 0; k < problemCount(); ++k) {
    const ::Problem& problem = *problemAt(k);
    if (problem.n > 8) continue;
    for (const Method method : {Method::sqp, Method::grg, Method::automatic}) {
      SCOPED_TRACE(testing::Message() << problem.name << ", " << name(method));
      Options options;
      options.method = method;
      const Result r = describe(problem).solve(analysisOf(problem), options);
      if (!r.success) continue;
      const bool met =
          r.status == (r.method == Method::sqp ? int{VRK_SQP_CONVERGED} : int{VRK_GRG_CONVERGED});
      ++(met ? converged : stalled);
      const auto said = [&](const char* text) { return r.advice.find(text) != std::string::npos; };
      EXPECT_EQ(said("The method stalled before it met its test of convergence."), !met);
      EXPECT_EQ(said("It is a stationary point"), !met && method == Method::automatic);
      EXPECT_EQ(said("The automatic method shows"), !met && method != Method::automatic);
    }
  }
  EXPECT_GT(converged, 100);
  EXPECT_GT(stalled, 10);
  tarnix::Problem fixed;  // no method ran that could stall
  fixed.variable("x", 2, 2, 2);
  fixed.minimize("f");
  EXPECT_EQ(fixed.solve([](const Point&, Values& v) { v[0] = 1; }).advice,
            "The point lies within its bounds.");
}

}  // namespace
