// Whole solves from many starts.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <set>
#include <stdexcept>
#include <string>
#include <tarnix/cpp/detail/quasi_random.hpp>
#include <tarnix/tarnix.hpp>
#include <thread>
#include <vector>

using namespace tarnix;

namespace {

// Dixon and Szegö's camel with six humps: three pairs of minima, mirrored at the origin.
struct Camel {
  Camel() {
    x = problem.variable("x", 2.5, -3, 3);
    y = problem.variable("y", -1.5, -2, 2);
    problem.minimize("f");
  }
  static void evaluate(const Point& p, Values& v) {
    const double x = p[0], y = p[1];
    v[0] = (4 - 2.1 * x * x + x * x * x * x / 3) * x * x + x * y + (4 * y * y - 4) * y * y;
  }
  Problem problem;
  Variable x{}, y{};
};

Options starts(int count, int threads = 1) {
  Options options;
  options.starts = count;
  options.threads = threads;
  return options;
}

TEST(QuasiRandomPoints, FillEveryStripeOfEveryAxis) {
  const detail::QuasiRandom points(4, 7);
  const int bases[] = {2, 3, 5, 7};
  for (std::size_t axis = 0; axis < 4; ++axis)
    for (int stripes = bases[axis]; stripes <= 1000; stripes *= bases[axis]) {
      // Any run of so many points has one in each stripe, beginning at a multiple of their number.
      std::set<int> hit;
      for (int k = 3 * stripes; k < 4 * stripes; ++k)
        hit.insert(static_cast<int>(points.point(static_cast<std::uint64_t>(k))[axis] * stripes));
      EXPECT_EQ(static_cast<int>(hit.size()), stripes) << "axis " << axis;
    }
  EXPECT_NE(points.point(0), detail::QuasiRandom(4, 8).point(0));
  // A seed's points are those of every machine and every version: results are repeated by them.
  const std::vector<double> kept = {0.48777870176854776, 0.95760576667540287, 0.21727993150072428};
  const std::vector<double> now = detail::QuasiRandom(3, 7).point(1000);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(now[i], kept[i], 1e-14);
}

TEST(MultiStart, FindsAllMinimaOfTheCamel) {
  const Camel c;
  const Result r = c.problem.solve(Camel::evaluate, starts(60));
  ASSERT_TRUE(r.success);
  ASSERT_TRUE(r.minima);
  const struct {
    double x, y, f;
  } known[] = {{0.0898, -0.7126, -1.0316}, {1.7036, -0.7961, -0.2155}, {1.6071, 0.5687, 2.1043}};
  ASSERT_EQ(r.minima->found.size(), 6u);
  int times = 0;
  for (std::size_t k = 0; k < 6; ++k) {
    const Minimum& m = r.minima->found[k];
    const double sign = m.point.x[0] > 0 ? 1 : -1;
    EXPECT_NEAR(m.point.values[0], known[k / 2].f, 1e-3);
    EXPECT_NEAR(sign * m.point.x[0], known[k / 2].x, 0.01);
    EXPECT_NEAR(sign * m.point.x[1], known[k / 2].y, 0.01);
    if (k % 2 == 1) {  // its mirror
      EXPECT_NEAR(m.point.x[0], -r.minima->found[k - 1].point.x[0], 0.02);
    }
    times += m.times;
  }
  EXPECT_EQ(times + r.minima->unsuccessful, 60);
  EXPECT_EQ(r.minima->starts, 60);
  // 6 minima from `times` starts.
  EXPECT_DOUBLE_EQ(r.minima->unseen.value(), 42.0 / (times - 8));
  EXPECT_EQ(r.point.x, r.minima->found[0].point.x);
  EXPECT_NE(r.summary().find("minima of 60 starts"), std::string::npos);
}

void expectSame(const Result& a, const Result& b) {
  EXPECT_EQ(a.point.x, b.point.x);
  EXPECT_EQ(a.point.values, b.point.values);
  EXPECT_EQ(a.point.evaluation, b.point.evaluation);
  EXPECT_EQ(a.best->x, b.best->x);
  EXPECT_EQ(a.reason, b.reason);
  EXPECT_EQ(a.advice, b.advice);
  EXPECT_EQ(a.iterations, b.iterations);
  ASSERT_EQ(a.minima->found.size(), b.minima->found.size());
  EXPECT_EQ(a.minima->starts, b.minima->starts);
  EXPECT_EQ(a.minima->unsuccessful, b.minima->unsuccessful);
  for (std::size_t k = 0; k < a.minima->found.size(); ++k) {
    EXPECT_EQ(a.minima->found[k].point.x, b.minima->found[k].point.x);
    EXPECT_EQ(a.minima->found[k].point.evaluation, b.minima->found[k].point.evaluation);
    EXPECT_EQ(a.minima->found[k].times, b.minima->found[k].times);
    EXPECT_EQ(a.minima->found[k].start, b.minima->found[k].start);
  }
}

TEST(MultiStart, IsTheSameForAnyNumberOfThreadsAndForBatches) {
  const Camel c;
  const auto many = [](Batch& batch) {
    for (std::size_t k = 0; k < batch.size(); ++k) {
      Values v = batch.values(k);
      Camel::evaluate(batch.point(k), v);
    }
  };
  for (const std::int64_t limit : {0, 5, 333}) {
    Options options = starts(12);
    if (limit > 0) options.maxEvaluations = limit;
    const Result one = c.problem.solve(Camel::evaluate, options);
    if (limit > 0) {
      EXPECT_LE(one.evaluations, limit);
    }
    EXPECT_EQ(one.minima->starts, limit == 5 ? 5 : 12);
    for (const int threads : {2, 4, 30}) {
      options.threads = threads;
      std::atomic<std::int64_t> calls{0};
      const Result more = c.problem.solve(
          [&](const Point& x, Values& v) {
            ++calls;
            Camel::evaluate(x, v);
          },
          options);
      expectSame(one, more);
      EXPECT_EQ(more.evaluations, calls.load());
      EXPECT_EQ(more.evaluations, one.evaluations);
      expectSame(one, c.problem.solve(many, options));
    }
    options.seed = 2;
    EXPECT_NE(c.problem.solve(Camel::evaluate, options).point.x, one.point.x);
  }
}

// Feasible in two discs; the better optimum is in the one where the start is not.
TEST(MultiStart, FindsTheBetterOfTwoFeasibleRegions) {
  Problem p;
  p.variable("x", -3, -5, 5);
  p.variable("y", 0, -5, 5);
  p.variable("fixed", 2, 2, 2);
  p.maximize("height");
  p.atMost("discs", 1);
  Options options = starts(20, 2);
  std::vector<int> told;
  options.onIteration = [&](Progress& progress) { told.push_back(progress.start); };
  const auto analysis = [](const Point& x, Values& v) {
    const auto disc = [&](double middle) { return std::hypot(x[0] - middle, x[1]); };
    v[0] = x[0] * x[2] / 2;
    v[1] = std::min(disc(-3), disc(3));
  };
  const Result r = p.solve(analysis, options);
  ASSERT_TRUE(r.success);
  EXPECT_NEAR(r.point.x[0], 4, 1e-3);
  EXPECT_EQ(r.point.x[2], 2);
  EXPECT_NEAR(r.minima->found.at(1).point.values[0], -2, 1e-3);
  EXPECT_EQ(std::set<int>(told.begin(), told.end()).size(), 20u);
  // The best solve is the one that its start leads to alone.
  Options alone;
  alone.start = r.stages.front().settings.x;
  EXPECT_EQ(p.solve(analysis, alone).point.x, r.point.x);
}

TEST(MultiStart, WhatNoStartCanMeetIsReportedAtTheLeastViolation) {
  // max(x, 2 - x) >= 1 everywhere, but at most 0.9 is asked for; not a number where x > 1.5.
  Problem p;
  p.variable("x", 1.9, 0, 2);
  p.minimize("f");
  p.atMost("g", 0.9);
  Options options = starts(6);
  options.method = Method::grg;
  const Result r = p.solve(
      [](const Point& x, Values& v) {
        v[0] = x[0];
        v[1] = x[0] > 1.5 ? std::nan("") : std::max(x[0], 2 - x[0]);
      },
      options);
  EXPECT_FALSE(r.success);
  EXPECT_TRUE(r.minima->found.empty());
  EXPECT_EQ(r.minima->unsuccessful, 6);
  EXPECT_NEAR(r.point.violation, 0.1, 1e-3) << r.summary();
}

TEST(MultiStart, StagesTraceAndTimeOfAllStarts) {
  const Camel c;
  Options options = starts(5, 2);
  std::set<int> begun;
  std::string trace;
  options.onStage = [&](const StageStart& stage) { begun.insert(stage.start); };
  options.trace = [&](std::string_view text) { trace += text; };
  options.printLevel = 2;
  const Result r = c.problem.solve(Camel::evaluate, options);
  ASSERT_TRUE(r.success);
  EXPECT_EQ(begun, (std::set<int>{1, 2, 3, 4, 5}));
  EXPECT_FALSE(trace.empty());

  options = starts(1000);
  options.maxTime = std::chrono::milliseconds(30);
  const Result late = c.problem.solve(
      [](const Point& x, Values& v) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        Camel::evaluate(x, v);
      },
      options);
  EXPECT_EQ(late.reason, Reason::timeLimit);
  EXPECT_LT(late.minima->starts, 1000);
  EXPECT_GE(late.seconds, 0.03);
}

// Two plains: every start is at its best at once, the second lower than the first.
TEST(MultiStart, EvaluationsAreNumberedAsIfTheStartsCameInTurn) {
  Problem p;
  p.variable("x", 1, 0, 4);
  p.minimize("f");
  std::vector<double> seen;
  Options options;
  options.method = Method::sqp;
  options.starts = 2;
  const Result r = p.solve(
      [&](const Point& x, Values& v) {
        seen.push_back(x[0]);
        v[0] = std::abs(x[0] - seen[0]) < 1e-3 ? 1 : 0;
      },
      options);
  ASSERT_TRUE(r.best);
  EXPECT_EQ(r.best->values[0], 0);
  for (const Design& design : {r.point, *r.best}) {
    ASSERT_GT(design.evaluation, 1);
    ASSERT_LE(design.evaluation, static_cast<std::int64_t>(seen.size()));
    EXPECT_EQ(seen[static_cast<std::size_t>(design.evaluation) - 1], design.x[0]);
  }
}

TEST(MultiStart, EndsWithTargetStopAndException) {
  const Camel c;
  Options options = starts(40);
  options.target = -1.03;
  const Result first = c.problem.solve(Camel::evaluate, options);
  EXPECT_EQ(first.reason, Reason::targetReached);
  EXPECT_LT(first.minima->starts, 40);
  for (const int threads : {2, 4}) {
    options.threads = threads;
    expectSame(first, c.problem.solve(Camel::evaluate, options));
  }
  options.target.reset();
  options.onIteration = [](Progress& progress) {
    if (progress.start == 3) progress.stop();
  };
  for (const int threads : {1, 4}) {
    options.threads = threads;
    const Result stopped = c.problem.solve(Camel::evaluate, options);
    EXPECT_EQ(stopped.reason, Reason::stopped);
    if (threads == 1) {  // others may be quick meanwhile
      EXPECT_LE(stopped.minima->starts, 3);
    }
  }
  std::atomic<int> calls{0};
  EXPECT_THROW(c.problem.solve(
                   [&](const Point& x, Values& v) {
                     if (++calls >= 100) throw std::runtime_error("license");
                     Camel::evaluate(x, v);
                   },
                   starts(40, 3)),
               std::runtime_error);
  EXPECT_LE(calls.load(), 99 + 3) << "each thread ends with the first exception that it sees";
  EXPECT_THROW(c.problem.solve(Camel::evaluate, starts(0)), InvalidProblem);
}

}  // namespace
