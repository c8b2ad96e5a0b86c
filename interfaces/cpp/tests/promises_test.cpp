// Where the layer evaluates, on the problem collection, with sound values and with dirty ones.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <tarnix/tarnix.hpp>
#include <vector>

#include "describe.hpp"

namespace {

using namespace tarnix;

// Largest distance of a design beyond its bounds, in half ranges; not a number stays one.
double outside(const ::Problem& p, const double* x) {
  double most = 0;
  for (int i = 0; i < p.n; ++i) {
    const double half = 0.5 * (p.upper[i] - p.lower[i]);
    if (half == 0) continue;
    const double beyond = std::max(p.lower[i] - x[i], x[i] - p.upper[i]) / half;
    if (!(beyond <= most)) most = beyond;
    if (std::isnan(most)) break;
  }
  return most;
}

enum class Dirt { none, notANumber, infinity, huge };

TEST(Promises, EvaluationsStayInTheBoxAndResultsAreFinite) {
  for (int k = 0; k < problemCount(); ++k) {
    const ::Problem& p = *problemAt(k);
    if (p.n > 30) continue;  // the same code, for long
    SCOPED_TRACE(p.name);
    const tarnix::Problem problem = describe(p);
    for (const Method method : {Method::sqp, Method::grg, Method::automatic})
      for (const bool inside : {false, true})
        for (const Dirt dirt : {Dirt::none, Dirt::notANumber, Dirt::infinity, Dirt::huge}) {
          Options options;
          options.method = method;
          options.keepInside = inside;
          std::mt19937 random(static_cast<unsigned>(k));
          std::vector<double> copy;
          double most = 0;
          const Result r = problem.solve(
              [&](const Point& x, Values& v) {
                copy.assign(x.begin(), x.end());
                const double beyond = outside(p, copy.data());
                if (!(beyond <= most)) most = beyond;
                double* f = v.data();
                p.evaluate(nullptr, copy.data(), f, f + 1, f + 1 + p.nEq);
                if (dirt == Dirt::none || random() % 8 != 0) return;
                f[random() % v.size()] = dirt == Dirt::notANumber ? std::nan("")
                                         : dirt == Dirt::huge
                                             ? 1e200
                                             : -std::numeric_limits<double>::infinity();
              },
              options);
          double step = 0;
          for (const Stage& stage : r.stages) step = std::fmax(step, stage.settings.differenceStep);
          EXPECT_LE(most, inside ? 0 : step * (1 + 1e-5));
          for (const double xi : r.point.x) EXPECT_TRUE(std::isfinite(xi));
          EXPECT_LE(outside(p, r.point.x.data()), 0);
        }
  }
}

// w/(h - 1) >= 2 has a pole where the objective w + 3h wants to be: there is no optimum, and a
// method that stands still before it has not found one.
TEST(Promises, AStandstillIsASuccessAtStationaryPointsOnly) {
  for (const double start : {1.0, 1.5, 3.0})
    for (const Method method : {Method::sqp, Method::grg, Method::automatic}) {
      SCOPED_TRACE(start);
      tarnix::Problem p;
      const Variable w = p.variable("w", 2, 0.1, 10), h = p.variable("h", start, 0.1, 10);
      p.minimize("f");
      p.atLeast("ratio", 2);
      Options options;
      options.method = method;
      const Result r = p.solve(
          [&](const Point& x, Values& v) { v[0] = x[w] + 3 * x[h], v[1] = x[w] / (x[h] - 1); },
          options);
      EXPECT_FALSE(r.success) << r.summary();
      ASSERT_TRUE(r.report);
      EXPECT_GT(r.report->slope, 1);  // 5 for h alone
      if (method == Method::grg && start > 1) {
        EXPECT_EQ(r.reason, Reason::finished);
        EXPECT_NE(r.advice.find("That is no optimum"), std::string::npos) << r.advice;
      }
    }
}

TEST(Promises, TheLeastViolatedDesignIsReturned) {
  for (int k = 0; k < problemCount(); ++k) {
    const ::Problem& p = *problemAt(k);
    if (p.n > 30) continue;
    for (const Method method : {Method::sqp, Method::grg}) {
      Options options;
      options.method = method;
      options.maxEvaluations = 3 * p.n + 5;
      options.keepInside = true;
      double least = std::numeric_limits<double>::infinity();
      std::vector<double> copy;
      const Result r = describe(p).solve(
          [&](const Point& x, Values& v) {
            copy.assign(x.begin(), x.end());
            double* f = v.data();
            p.evaluate(nullptr, copy.data(), f, f + 1, f + 1 + p.nEq);
            least = std::fmin(least, problemViolation(&p, copy.data(), nullptr));
          },
          options);
      if (r.feasible) continue;
      EXPECT_LE(r.point.violation, least * (1 + 1e-12)) << p.name;
    }
  }
}

}  // namespace
