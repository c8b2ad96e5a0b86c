#include "problems.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace {

struct Sample {
  const char* problem;
  std::vector<double> numbers;
};

const Sample samples[] = {
#include "samples.inc"
#include "wide_samples.inc"
};

std::vector<const Problem*> collection() {
  std::vector<const Problem*> problems;
  for (int i = 0; i < wideProblemCount(); ++i) problems.push_back(wideProblemAt(i));
  return problems;
}

// All function values at x: objective, equalities, inequalities. Expects that x is left alone and
// that every value is written, and nothing beside them.
std::vector<double> valuesAt(const Problem& p, const std::vector<double>& x) {
  const double unwritten = std::numeric_limits<double>::quiet_NaN();
  std::vector<double> input = x, eq(p.nEq + 1, unwritten), ineq(p.nIneq + 1, unwritten);
  double f[2] = {unwritten, unwritten};
  input.push_back(unwritten);
  p.evaluate(nullptr, input.data(), f, eq.data(), ineq.data());
  EXPECT_TRUE(std::equal(x.begin(), x.end(), input.begin())) << "x was changed";
  EXPECT_EQ(std::tuple(std::isnan(f[1]), std::isnan(eq.back()), std::isnan(ineq.back())),
            std::tuple(true, true, true));
  std::vector<double> all = {f[0]};
  all.insert(all.end(), eq.begin(), eq.end() - 1);
  all.insert(all.end(), ineq.begin(), ineq.end() - 1);
  return all;
}

bool atBound(const Problem& p, int i) {
  return p.best[i] == p.lower[i] || p.best[i] == p.upper[i];
}

TEST(Problems, AgreeWithSeparatelyComputedValues) {
  std::set<std::string> names;
  for (const Sample& sample : samples) {
    SCOPED_TRACE(sample.problem);
    names.insert(sample.problem);
    const Problem* p = problemByName(sample.problem);
    ASSERT_NE(p, nullptr);
    ASSERT_EQ(sample.numbers.size(), std::size_t(p->n + 1 + p->nEq + p->nIneq));
    const auto split = sample.numbers.begin() + p->n;
    const std::vector<double> values = valuesAt(*p, {sample.numbers.begin(), split});
    for (std::size_t i = 0; i < values.size(); ++i)
      EXPECT_NEAR(values[i], split[i], 1e-12 * std::max(1.0, std::abs(split[i]))) << "value " << i;
  }
}

TEST(Problems, TheWholeBeginsWithTheCoreSet) {
  EXPECT_EQ(problemCount(), 94);
  for (int i = 0; i < problemCount(); ++i) EXPECT_EQ(problemAt(i), wideProblemAt(i));
  EXPECT_EQ(problemAt(problemCount()), nullptr);
  EXPECT_EQ(wideProblemAt(wideProblemCount()), nullptr);
}

TEST(Problems, MinimisersAndFlagsHold) {
  const double feasibility = 1e-10, objective = 1e-12;
  std::set<std::string> names;
  for (const Problem* p : collection()) {
    SCOPED_TRACE(p->name);
    EXPECT_TRUE(names.insert(p->name).second) << "the name stands twice";
    EXPECT_EQ(problemByName(p->name), p);
    bool anyAtBound = false;
    for (int i = 0; i < p->n; ++i) {
      EXPECT_LT(p->lower[i], p->upper[i]);
      for (const double x : {p->start[i], p->best[i]}) {
        EXPECT_LE(p->lower[i], x) << i;
        EXPECT_GE(p->upper[i], x) << i;
      }
      anyAtBound = anyAtBound || atBound(*p, i);
    }
    double f = 0;
    EXPECT_LE(problemViolation(p, p->best, &f), feasibility);
    EXPECT_NEAR(f, p->fBest, objective * std::max(1.0, std::abs(f)));
    EXPECT_EQ(anyAtBound, (p->flags & PROBLEM_ACTIVE_BOUNDS) != 0);
    EXPECT_EQ(problemViolation(p, p->start, nullptr) > 1e-9,
              (p->flags & PROBLEM_INFEASIBLE_START) != 0);
  }
}

// Gradients of all functions at best, one row per function, in variables scaled to
// half the box; by differences of the fourth order.
std::vector<std::vector<double>> gradientsAtBest(const Problem& p) {
  const struct {
    int steps;
    double weight;
  } stencil[] = {{-2, 1.0 / 12}, {-1, -8.0 / 12}, {1, 8.0 / 12}, {2, -1.0 / 12}};
  std::vector<std::vector<double>> rows(1 + p.nEq + p.nIneq, std::vector<double>(p.n));
  for (int j = 0; j < p.n; ++j) {
    const double half = (p.upper[j] - p.lower[j]) / 2;
    const double step = 1e-5 * std::max(half, std::abs(p.best[j]));
    for (const auto& node : stencil) {
      std::vector<double> x(p.best, p.best + p.n);
      x[j] += node.steps * step;
      const std::vector<double> values = valuesAt(p, x);
      for (std::size_t i = 0; i < rows.size(); ++i)
        rows[i][j] += node.weight * values[i] / step * half;
    }
  }
  return rows;
}

// Smallest |g + sum u_k a_k| over the multipliers u of the active constraints, those of
// inequalities and bounds not negative, by descent in one multiplier after the other.
double stationarity(const Problem& p) {
  std::vector<std::vector<double>> rows = gradientsAtBest(p), active;
  std::vector<double> residual = rows[0], multipliers;
  const double* best = p.best;
  const std::vector<double> values = valuesAt(p, {best, best + p.n});
  for (int i = 1; i <= p.nEq + p.nIneq; ++i)
    if (i <= p.nEq || values[i] > -1e-8) active.push_back(rows[i]);
  for (int j = 0; j < p.n; ++j)
    if (atBound(p, j)) {
      active.emplace_back(p.n);
      active.back()[j] = best[j] == p.upper[j] ? 1 : -1;
    }
  const auto dot = [](const auto& a, const auto& b) {
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
  };
  multipliers.resize(active.size());
  const double noChange = 1e-14 * std::max(1.0, std::sqrt(dot(rows[0], rows[0])));
  double change = active.empty() ? 0 : 1;
  for (int sweep = 0; sweep < 200000 && change > noChange; ++sweep) {
    change = 0;
    for (std::size_t k = 0; k < active.size(); ++k) {
      const double square = dot(active[k], active[k]);
      if (square == 0) continue;
      double next = multipliers[k] - dot(active[k], residual) / square;
      if (int(k) >= p.nEq) next = std::max(next, 0.0);
      for (int j = 0; j < p.n; ++j) residual[j] += (next - multipliers[k]) * active[k][j];
      change = std::max(change, std::abs(next - multipliers[k]) * std::sqrt(square));
      multipliers[k] = next;
    }
  }
  return std::sqrt(dot(residual, residual) / std::max(1.0, dot(rows[0], rows[0])));
}

TEST(Problems, MinimisersAreStationary) {
  for (const Problem* p : collection()) {
    SCOPED_TRACE(p->name);
    // The descent is slow among almost parallel gradients.
    const double tolerance = (p->flags & PROBLEM_NEARLY_DEPENDENT) != 0 ? 1e-4 : 1e-6;
    if (std::string(p->name) == "HS13")
      EXPECT_GT(stationarity(*p), 0.5) << "no multipliers exist there";
    else
      EXPECT_LT(stationarity(*p), tolerance);
  }
}

TEST(Problems, CanBeEvaluatedBesideTheBox) {
  const double step = 1e-4;  // of half the box, as difference quotients take it
  for (const Problem* p : collection()) {
    SCOPED_TRACE(p->name);
    for (const double* base : {p->start, p->best})
      for (int i = 0; i < p->n; ++i)
        for (const double side : {-1 - step, 1 + step}) {
          std::vector<double> x(base, base + p->n);
          x[i] = (p->upper[i] + p->lower[i]) / 2 + side * (p->upper[i] - p->lower[i]) / 2;
          for (const double value : valuesAt(*p, x))
            ASSERT_TRUE(std::isfinite(value)) << "variable " << i << " at " << x[i];
        }
  }
}

TEST(Problems, CoverEveryKind) {
  const auto flag = [](unsigned bit) {
    return [bit](const Problem& p) { return (p.flags & bit) != 0; };
  };
  const auto scalable = [](int n) {
    return [n](const Problem& p) { return (p.flags & PROBLEM_SCALABLE) != 0 && p.n == n; };
  };
  const struct {
    const char* kind;
    int atLeast;
    std::function<bool(const Problem&)> holds;
  } kinds[] = {
      {"all", 200, [](const Problem&) { return true; }},
      {"one variable", 5, [](const Problem& p) { return p.n == 1; }},
      {"n above 10", 40, [](const Problem& p) { return p.n > 10; }},
      {"n above 30", 20, [](const Problem& p) { return p.n > 30; }},
      {"bounds only", 3, [](const Problem& p) { return p.nEq == 0 && p.nIneq == 0; }},
      {"equalities only", 10, [](const Problem& p) { return p.nEq > 0 && p.nIneq == 0; }},
      {"inequalities only", 10, [](const Problem& p) { return p.nEq == 0 && p.nIneq > 0; }},
      {"both", 5, [](const Problem& p) { return p.nEq > 0 && p.nIneq > 0; }},
      {"design", 10, flag(PROBLEM_DESIGN)},
      {"scalable, n = 10", 1, scalable(10)},
      {"scalable, n = 50", 1, scalable(50)},
      {"scalable, n = 100", 1, scalable(100)},
      {"infeasible start", 10, flag(PROBLEM_INFEASIBLE_START)},
      {"active bounds", 10, flag(PROBLEM_ACTIVE_BOUNDS)},
      {"redundant", 3, flag(PROBLEM_REDUNDANT)},
      {"nearly dependent", 3, flag(PROBLEM_NEARLY_DEPENDENT)},
      {"degenerate", 3, flag(PROBLEM_DEGENERATE)},
  };
  const std::vector<const Problem*> problems = collection();
  for (const auto& kind : kinds)
    EXPECT_GE(std::count_if(problems.begin(), problems.end(),
                            [&](const Problem* p) { return kind.holds(*p); }),
              kind.atLeast)
        << kind.kind;
}

}  // namespace
