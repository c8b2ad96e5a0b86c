// Gradient passes: batches, threads, derivatives from the host.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>
#include <set>
#include <tarnix/tarnix.hpp>
#include <vector>

using namespace tarnix;

namespace {

// A problem with its optimum in a corner of the box and on a curve, so that differences leave the
// box: minimize (x-2)^2 + (y+1)^2 + exp(z/4) + 0.1 (w-1)^2 with x w + z^2 <= 3 and 1 <= y + w <= 4.
struct Case {
  Case() {
    problem.variables("x", {0.5, 0.5, 1, 1.5}, {0, 0, -1, -3}, {1.5, 1, 2, 3});
    problem.minimize("f");
    problem.atMost("curve", 3, 3);
    problem.between("sum", 1, 4, 2);
  }
  static void evaluate(const Point& x, Values& v) {
    v[0] = std::pow(x[0] - 2, 2) + std::pow(x[1] + 1, 2) + std::exp(x[2] / 4) +
           0.1 * std::pow(x[3] - 1, 2);
    v[1] = x[0] * x[3] + x[2] * x[2];
    v[2] = x[1] + x[3];
  }
  Problem problem;
};

using Points = std::vector<std::vector<double>>;

// What one thread evaluates, in order.
Result recorded(const Problem& p, const Options& options, Points& points) {
  return p.solve(
      [&](const Point& x, Values& v) {
        points.emplace_back(x.begin(), x.end());
        Case::evaluate(x, v);
      },
      options);
}

bool same(const Result& a, const Result& b) {
  return a.point.x == b.point.x && a.point.values == b.point.values && a.status == b.status &&
         a.reason == b.reason && a.iterations == b.iterations && a.evaluations == b.evaluations &&
         a.point.evaluation == b.point.evaluation && a.best->evaluation == b.best->evaluation;
}

TEST(Passes, AreTheSameForAnyNumberOfThreadsAndForBatches) {
  const Case c;
  for (const Method method : {Method::sqp, Method::grg, Method::automatic})
    for (const Differences differences : {Differences::forward, Differences::central})
      for (const bool inside : {false, true})
        for (const std::int64_t limit : {3, 4, 9, 17, 1000}) {
          Options options;
          options.method = method;
          options.differences = differences;
          options.keepInside = inside;
          options.maxEvaluations = limit;
          if (limit == 17) options.target = 2.5;
          Points single, batched;
          const Result alone = recorded(c.problem, options, single);
          EXPECT_EQ(static_cast<std::size_t>(alone.evaluations), single.size());
          for (const auto& x : single)
            for (std::size_t i = 0; inside && i < x.size(); ++i) {
              const auto& v = c.problem.description().variables[i];
              EXPECT_GE(x[i], v.lower);
              EXPECT_LE(x[i], v.upper);
            }
          std::size_t largest = 0;
          const Result byBatches = c.problem.solve(
              [&](Batch& batch) {
                largest = std::max(largest, batch.size());
                for (std::size_t k = 0; k < batch.size(); ++k) {
                  const Point x = batch.point(k);
                  batched.emplace_back(x.begin(), x.end());
                  Values v = batch.values(k);
                  Case::evaluate(x, v);
                }
              },
              options);
          EXPECT_TRUE(same(alone, byBatches));
          EXPECT_EQ(batched, single);
          EXPECT_GE(largest, limit > 4 ? 4u : 1u);
          for (const int threads : {2, 5}) {
            options.threads = threads;
            std::mutex mutex;
            std::multiset<std::vector<double>> seen;
            const Result together = c.problem.solve(
                [&](const Point& x, Values& v) {
                  Case::evaluate(x, v);
                  const std::lock_guard<std::mutex> lock(mutex);
                  seen.emplace(x.begin(), x.end());
                },
                options);
            EXPECT_TRUE(same(alone, together));
            EXPECT_EQ(seen, std::multiset<std::vector<double>>(single.begin(), single.end()));
          }
        }
}

struct Failure {
  std::vector<double> point;
};

TEST(Passes, ThrowTheExceptionThatOneThreadWouldMeet) {
  const Case c;
  Options options;
  options.report = false;
  Points single;
  recorded(c.problem, options, single);
  options.threads = 4;
  for (std::size_t first = 0; first + 1 < single.size(); ++first) {
    const auto fatal = [&](const std::vector<double>& x) {
      return x == single[first] || x == single[first + 1];
    };
    const auto expected = std::find_if(single.begin(), single.end(), fatal);
    try {
      c.problem.solve(
          [&](const Point& x, Values& v) {
            const std::vector<double> point(x.begin(), x.end());
            if (fatal(point)) throw Failure{point};
            Case::evaluate(x, v);
          },
          options);
      ADD_FAILURE() << "no exception";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.point, *expected);
    }
  }
}

TEST(Passes, EndWhereAStopIsRequested) {
  const Case c;
  for (const bool threads : {false, true}) {
    Options options;
    options.stop.emplace();
    std::int64_t evaluated = 0;
    const auto manyAtOnce = [&](Batch& batch) {
      for (std::size_t k = 0; k < batch.size() && batch.mayBegin(k); ++k) {
        Values v = batch.values(k);
        Case::evaluate(batch.point(k), v);
        if (++evaluated == 9) options.stop->request();
      }
    };
    std::atomic<std::int64_t> calls{0};
    const auto oneByOne = [&](const Point& x, Values& v) {
      Case::evaluate(x, v);
      if (++calls == 9) options.stop->request();
    };
    options.threads = 3;
    const Result r =
        threads ? c.problem.solve(oneByOne, options) : c.problem.solve(manyAtOnce, options);
    EXPECT_EQ(r.reason, Reason::stopped);
    EXPECT_EQ(r.evaluations, threads ? calls.load() : evaluated);
    EXPECT_LE(r.evaluations, threads ? 9 + 2 : 9);  // what other threads had begun is finished
  }
}

// ---- derivatives -------------------------------------------------------------------------------

// Shape and order change on the way to the core: a maximum, a fixed variable, an equality declared
// after inequalities, a lower limit, a range, scales. maximize -(x-1)^2 - 2 (y-2)^2 - z w with
// w = 3 fixed, x + y + z >= 2, 1 <= x - z <= 2, y z = 0.5.
struct Mixed {
  Mixed() {
    x = p.variable("x", 1.5, -5, 5), w = p.variable("w", 3, 3, 3);
    y = p.variable("y", 1, 0.1, 7), z = p.variable("z", 0.5, -4, 4);
    value = p.maximize("value", 4);
    sum = p.atLeast("sum", 2, 3), range = p.between("range", 1, 2, 0.5);
    product = p.equal("product", 0.5, 2);
  }
  void evaluate(const Point& at, Values& v) const {
    v[value] = -std::pow(at[x] - 1, 2) - 2 * std::pow(at[y] - 2, 2) - at[z] * at[w];
    v[sum] = at[x] + at[y] + at[z];
    v[range] = at[x] - at[z];
    v[product] = at[y] * at[z];
  }
  void derive(const Point& at, Gradients& g, bool whole) const {
    g(value, x) = -2 * (at[x] - 1), g("value", "y") = -4 * (at[y] - 2), g(value, z) = -at[w];
    g(product, x) = 0, g(product, y) = at[z], g(product, z) = at[y];
    if (!whole) return;
    g(value, w) = -at[z];
    std::fill_n(g.of(sum), 4, 1.0);
    g.of(range)[0] = 1, g.of(range)[2] = 0, g.of(range)[3] = -1;
  }
  Problem p;
  Variable x{}, w{}, y{}, z{};
  Function value{}, sum{}, range{}, product{};
};

TEST(Derivatives, TakeThePlaceOfDifferences) {
  const Mixed m;
  const auto analysis = [&](const Point& x, Values& v) { m.evaluate(x, v); };
  for (const Method method : {Method::sqp, Method::grg, Method::automatic}) {
    Options options;
    options.method = method;
    options.tolerance = 1e-7;
    options.effort = 0;
    options.differences = Differences::central;
    options.checkGradients = true;
    const Result differences = m.p.solve(analysis, options);
    ASSERT_TRUE(differences.success) << differences.summary();
    for (const bool whole : {false, true}) {
      const auto gradient = [&](const Point& x, Gradients& g) { m.derive(x, g, whole); };
      const Result r = m.p.solve(analysis, gradient, options);
      ASSERT_TRUE(r.success) << r.summary();
      EXPECT_NEAR(r[m.value], differences[m.value], 1e-6);
      for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(r.point.x[i], differences.point.x[i], 1e-3);
      ASSERT_TRUE(r.report);
      ASSERT_TRUE(differences.report);
      EXPECT_LT(r.report->optimality, 1e-3);
      ASSERT_EQ(r.report->active.size(), differences.report->active.size());
      for (std::size_t k = 0; k < r.report->active.size(); ++k)
        EXPECT_NEAR(r.report->active[k].multiplier, differences.report->active[k].multiplier, 1e-2);
      // A variable is stepped while a derivative by it is missing. The check takes 6.
      EXPECT_LT(r.evaluations - 6,
                whole ? differences.evaluations * 2 / 3 : differences.evaluations + 6);
    }
    // Nothing given: as without the callable, but for the check's own evaluations.
    options.checkGradients = false;
    const Result nothing = m.p.solve(
        analysis, [](const Point&, Gradients&) {}, options);
    EXPECT_EQ(nothing.point.x, differences.point.x);
    EXPECT_EQ(nothing.evaluations, differences.evaluations);
  }
}

TEST(Derivatives, ThatAreWrongAreNamedBeforeTheSolve) {
  const Mixed m;
  Options options;
  options.checkGradients = true;
  const auto check = [&](auto spoil) {
    std::vector<std::string> named;
    int calls = 0;
    try {
      m.p.solve([&](const Point& x, Values& v) { ++calls, m.evaluate(x, v); },
                [&](const Point& x, Gradients& g) {
                  m.derive(x, g, true);
                  spoil(g);
                },
                options);
    } catch (const InvalidProblem& e) {
      EXPECT_EQ(calls, 6);
      for (const Issue& issue : e.issues()) named.push_back(issue.message);
    }
    return named;
  };
  EXPECT_TRUE(check([](Gradients&) {}).empty());
  const auto named = check([&](Gradients& g) {
    g(m.product, m.y) *= 1.01;
    g(m.sum, m.x) = -1;
    g(m.range, m.w) = 17;  // of a fixed variable: not used
  });
  ASSERT_EQ(named.size(), 2u);
  EXPECT_NE(named[0].find("'product' by 'y' is given as 0.505, central differences at the start "
                          "give 0.5"),
            std::string::npos)
      << named[0];
  EXPECT_NE(named[1].find("'sum' by 'x' is given as -1, "), std::string::npos) << named[1];
}

TEST(Derivatives, AreComparedInsideTheBounds) {
  Problem p;
  p.variable("x", 0, 0, 4), p.variable("y", 4, 0, 4);
  p.minimize("f");
  Options options;
  options.checkGradients = options.keepInside = true;
  EXPECT_NO_THROW(p.solve(
      [](const Point& x, Values& v) {
        for (const double xi : x) EXPECT_TRUE(xi >= 0 && xi <= 4) << xi;
        v[0] = x[0] * x[0] + std::pow(4 - x[1], 2);
      },
      [](const Point& x, Gradients& g) { g(0, 0) = 2 * x[0], g(0, 1) = 2 * x[1] - 8; }, options));
}

}  // namespace
