// Limits, stops, exceptions, threads, and evaluations inside the box.

#include <gtest/gtest.h>

#include <tarnix/session.h>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <random>
#include <tarnix/cpp/detail/evaluator.hpp>
#include <tarnix/tarnix.hpp>
#include <thread>
#include <vector>

using namespace tarnix;

namespace {

// Rosen and Suzuki's problem: optimum -44 at (0, 1, 2, -1).
Problem rosenSuzuki() {
  Problem p;
  p.variables("x", {0, 0, 0, 0}, {-5, -5, -5, -5}, {5, 5, 5, 5});
  p.minimize("f");
  for (const auto& [name, limit] : {std::pair("g1", 8.0), {"g2", 10.0}, {"g3", 5.0}})
    p.atMost(name, limit);
  return p;
}

void evaluate(const Point& x, Values& v) {
  const double a = x[0], b = x[1], c = x[2], d = x[3];
  v[0] = a * a + b * b + 2 * c * c + d * d - 5 * a - 5 * b - 21 * c + 7 * d;
  v[1] = a * a + b * b + c * c + d * d + a - b + c - d;
  v[2] = a * a + 2 * b * b + c * c + 2 * d * d - a - d;
  v[3] = 2 * a * a + b * b + c * c + 2 * a - b - d;
}

Options withMethod(Method method) {
  Options options;
  options.method = method;
  return options;
}

// Everything a C host may have set or can read.
std::vector<double> settingsNow() {
  const VRK_Settings& s = VRK_settings;
  // clang-format off
  return {double(s.intStorageCapacity), double(s.dblStorageCapacity), double(s.intStorageUsed),
          double(s.dblStorageUsed), double(s.diffMethod), double(s.nGradEval),
          double(s.stopRequest), double(s.nNewton1), double(s.nNewton2), s.grgParam1,
          s.grgSearchParam1, s.grgSearchParam2, double(s.printLevel), s.maxStepNorm,
          double(s.errorFlag), double(s.nFunEval), double(s.nIter), s.zeroTol, s.bigValue,
          s.convTolGrg, s.convTol, s.diffPert};
  // clang-format on
}

struct Failure {
  std::int64_t evaluation;
};

TEST(Exceptions, ReachTheCallerFromAnyEvaluationAndLeaveTheLibraryReady) {
  const Problem p = rosenSuzuki();
  VRK_setDefaults();
  VRK_set_convTol(0.25);
  const std::vector<double> before = settingsNow();
  for (const Method method : {Method::sqp, Method::grg, Method::automatic}) {
    const Result whole = p.solve(evaluate, withMethod(method));
    ASSERT_TRUE(whole.success);
    EXPECT_EQ(settingsNow(), before);
    for (std::int64_t fatal = 1; fatal <= whole.evaluations; ++fatal) {
      std::int64_t calls = 0;
      const auto failing = [&](const Point& x, Values& v) {
        if (++calls == fatal) throw Failure{fatal};
        evaluate(x, v);
      };
      try {
        p.solve(failing, withMethod(method));
        ADD_FAILURE() << "no exception";
      } catch (const Failure& failure) {
        EXPECT_EQ(failure.evaluation, fatal);
      }
      EXPECT_EQ(settingsNow(), before);
    }
    const Result again = p.solve(evaluate, withMethod(method));
    EXPECT_EQ(again.point.x, whole.point.x);
    EXPECT_EQ(again.evaluations, whole.evaluations);
  }
}

TEST(Limits, EvaluationLimitIsExactAndKeepsTheBestPoint) {
  const Problem p = rosenSuzuki();
  for (const Method method : {Method::sqp, Method::grg, Method::automatic}) {
    for (std::int64_t limit = 1; limit <= 40; ++limit) {
      Options options = withMethod(method);
      options.maxEvaluations = limit;
      std::int64_t calls = 0;
      double best = 1e300;
      const Result r = p.solve(
          [&](const Point& x, Values& v) {
            ++calls;
            evaluate(x, v);
            if (v[1] <= 8 && v[2] <= 10 && v[3] <= 5) best = std::fmin(best, v[0]);
          },
          options);
      EXPECT_LE(r.evaluations, limit);
      EXPECT_EQ(r.evaluations, calls);
      ASSERT_TRUE(r.best);
      EXPECT_LE(r.best->values[0], best);
      if (r.success) continue;
      EXPECT_EQ(r.reason, Reason::evaluationLimit);
      EXPECT_EQ(calls, limit);
      EXPECT_EQ(r.point.x, r.best->x);
      EXPECT_NE(r.advice.find("evaluation limit"), std::string::npos);
      if (r.stages.empty()) continue;  // the first look at the box
      EXPECT_EQ(r.stages.back().reason, Reason::evaluationLimit);
      EXPECT_EQ(r.stages.back().status, 0);
      EXPECT_EQ(r.stages.back().meaning, "ended early");
    }
  }
}

TEST(Limits, TargetTimeAndIterations) {
  const Problem p = rosenSuzuki();
  Options options;
  options.target = -40;
  const Result reached = p.solve(evaluate, options);
  EXPECT_EQ(reached.reason, Reason::targetReached);
  EXPECT_TRUE(reached.success);
  EXPECT_LE(reached.objective(), -40);
  EXPECT_EQ(reached.point.evaluation, reached.evaluations);

  options = {};
  options.maxTime = std::chrono::milliseconds(20);
  const Result late = p.solve(
      [](const Point& x, Values& v) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        evaluate(x, v);
      },
      options);
  EXPECT_EQ(late.reason, Reason::timeLimit);
  EXPECT_FALSE(late.success);
  EXPECT_GE(late.seconds, 0.02);
  EXPECT_LE(late.evaluations, 6);  // of 4; some systems sleep a little less

  options = withMethod(Method::sqp);
  options.maxIterations = 2;
  const Result early = p.solve(evaluate, options);
  EXPECT_EQ(early.reason, Reason::iterationLimit);
  EXPECT_EQ(early.status, VRK_SQP_ITERATION_LIMIT);
  EXPECT_EQ(early.iterations, 2);
  EXPECT_FALSE(early.success);
}

TEST(Control, ProgressIsToldOncePerIterationAndMayStop) {
  const Problem p = rosenSuzuki();
  for (const Method method : {Method::sqp, Method::grg}) {
    Options options = withMethod(method);
    options.report = false;
    std::vector<Progress> told;
    options.onIteration = [&](Progress& progress) { told.push_back(progress); };
    const Result r = p.solve(evaluate, options);
    ASSERT_EQ(told.size(), static_cast<std::size_t>(r.iterations));
    for (std::size_t k = 0; k < told.size(); ++k) {
      EXPECT_EQ(told[k].iteration, static_cast<int>(k) + 1);
      EXPECT_EQ(told[k].method, method);
      EXPECT_LE(told[k].worstViolation, options.tolerance);  // the start is feasible
      if (k == 0) continue;
      EXPECT_GT(told[k].evaluations, told[k - 1].evaluations);
      EXPECT_LE(told[k].bestObjective, told[k - 1].bestObjective);
    }
    options.onIteration = [&](Progress& progress) {
      if (progress.iteration == 2) progress.stop();
    };
    const Result stopped = p.solve(evaluate, options);
    EXPECT_EQ(stopped.reason, Reason::stopped);
    EXPECT_EQ(stopped.evaluations, told[1].evaluations);
    EXPECT_EQ(stopped.objective(), told[1].bestObjective);
  }
}

TEST(Control, StopFromAnotherThread) {
  Options options;
  options.stop.emplace();
  std::atomic<std::int64_t> calls{0};
  std::thread other([&, stop = *options.stop] {
    while (calls < 7) std::this_thread::yield();
    stop.request();
  });
  const Result r = rosenSuzuki().solve(
      [&](const Point& x, Values& v) {
        evaluate(x, v);
        if (++calls == 7)
          while (!options.stop->requested()) std::this_thread::yield();
      },
      options);
  other.join();
  EXPECT_EQ(r.reason, Reason::stopped);
  EXPECT_EQ(r.evaluations, 7);
  EXPECT_TRUE(r.feasible);
}

TEST(Control, AStopBeforeTheBeginningEndsEverySolve) {
  const auto never = [](const Point&, Values&) { ADD_FAILURE() << "evaluated"; };
  Stop stop;
  stop.request();
  Options options;
  options.stop = stop;
  Problem fixed;
  fixed.variable("x", 2, 2, 2);
  fixed.minimize("f");
  for (const Problem& p : {fixed, rosenSuzuki()})
    for (const Method method : {Method::sqp, Method::grg, Method::automatic})
      for (const bool check : {false, true}) {  // of gradients: is not made, and finds no fault
        options.method = method;
        options.checkGradients = check;
        const Result r = p.solve(
            never, [](const Point&, Gradients&) {}, options);
        EXPECT_EQ(r.reason, Reason::stopped);
        EXPECT_FALSE(r.success);
        EXPECT_FALSE(r.feasible);
        EXPECT_EQ(r.evaluations, 0);
        EXPECT_EQ(r.point.evaluation, 0);
        EXPECT_EQ(r.point.x, (std::vector<double>(p.description().variables.size(),
                                                  p.description().variables[0].start)));
      }
}

TEST(Control, ALimitOfTimeMayBeAsLongAsADoubleSays) {
  Options options;
  options.maxTime = std::chrono::duration<double>(1e300);
  EXPECT_TRUE(rosenSuzuki().solve(evaluate, options).success);
}

// Random convex problems: minimize sum c_i (x_i - a_i)^2 with two linear limits.
struct RandomProblem {
  explicit RandomProblem(unsigned seed) {
    std::mt19937 random(seed);
    const auto draw = [&] { return 4.0 * random() / double(std::mt19937::max()) - 2; };
    const std::size_t n = 1 + random() % 6;
    for (std::vector<double>* v : {&a, &c, &g, &h})
      for (std::size_t i = 0; i < n; ++i) v->push_back(draw());
    problem.variables("x", std::vector<double>(n, 0), std::vector<double>(n, -2),
                      std::vector<double>(n, 2));
    problem.minimize("f");
    problem.atMost("g", 0.5);
    problem.atMost("h", 0.5);
    constexpr Method methods[] = {Method::sqp, Method::grg, Method::automatic};
    options.method = methods[random() % 3];
    options.keepInside = random() % 2 == 0;
  }
  void evaluate(const Point& x, Values& v) const {
    v[0] = v[1] = v[2] = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
      v[0] += (0.1 + c[i] * c[i]) * (x[i] - a[i]) * (x[i] - a[i]);
      v[1] += g[i] * x[i];
      v[2] += h[i] * x[i];
    }
  }
  Result solve() const {
    return problem.solve([this](const Point& x, Values& v) { evaluate(x, v); }, options);
  }
  Problem problem;
  Options options;
  std::vector<double> a, c, g, h;
};

bool sameBits(const Result& a, const Result& b) {
  return a.point.x == b.point.x && a.point.values == b.point.values && a.status == b.status &&
         a.iterations == b.iterations && a.evaluations == b.evaluations;
}

TEST(Threads, SolvesSideBySideGiveTheBitsOfSolvesAlone) {
  constexpr unsigned count = 1000, threads = 8;
  std::vector<Result> alone;
  for (unsigned seed = 0; seed < count; ++seed) alone.push_back(RandomProblem(seed).solve());
  std::atomic<int> different{0};
  std::vector<std::thread> running;
  for (unsigned t = 0; t < threads; ++t)
    running.emplace_back([&, t] {
      for (unsigned k = 0; k < count; ++k) {
        const unsigned seed = (k + t * count / threads) % count;
        if (!sameBits(RandomProblem(seed).solve(), alone[seed])) ++different;
      }
    });
  for (std::thread& thread : running) thread.join();
  EXPECT_EQ(different, 0);
}

TEST(Threads, ACallableMaySolveAndTheOuterSolveDoesNotNotice) {
  const Problem p = rosenSuzuki();
  const RandomProblem inner(7);
  const Result alone = p.solve(evaluate), innerAlone = inner.solve();
  VRK_setDefaults();
  const std::vector<double> before = settingsNow();
  int depth = 0, different = 0;
  const Result outer = p.solve([&](const Point& x, Values& v) {
    if (++depth < 3) different += !sameBits(p.solve(evaluate), alone);
    different += !sameBits(inner.solve(), innerAlone);
    --depth;
    evaluate(x, v);
  });
  EXPECT_EQ(different, 0);
  EXPECT_TRUE(sameBits(outer, alone));
  // An exception of the inner callable passes through both solves.
  EXPECT_THROW(p.solve([&](const Point&, Values&) {
    p.solve([](const Point&, Values&) { throw Failure{1}; });
  }),
               Failure);
  EXPECT_EQ(settingsNow(), before);
  EXPECT_EQ(tarnix_session_use(nullptr), nullptr);  // the thread is left as it was found
}

// ---- trace -------------------------------------------------------------------------------------

// The C interface within a callable works on what the caller of the solve uses.
TEST(Threads, ACallableMayUseTheCInterface) {
  const Problem p = rosenSuzuki();
  const Result alone = p.solve(evaluate);
  VRK_setDefaults();
  const Result beside = p.solve([](const Point& x, Values& v) {
    VRK_set_convTol(0.5);
    double at = 0.25, f = 0, lower = -1, upper = 1;
    VRK_sqp(
        3, 1, &at, &lower, &upper, 0, 0,
        [](void*, double* y, double* value, double*, double*) { *value = y[0] * y[0]; }, nullptr,
        &f);
    evaluate(x, v);
  });
  EXPECT_EQ(alone.point.x, beside.point.x);
  EXPECT_EQ(alone.evaluations, beside.evaluations);
  EXPECT_EQ(VRK_settings.convTol, 0.5);
  EXPECT_GT(VRK_get_nFunEval(), beside.evaluations);
}

TEST(Trace, GoesToTheHostsFunction) {
  std::string text;
  Options options;
  options.printLevel = 2;
  options.trace = [&](std::string_view piece) { text += piece; };
  testing::internal::CaptureStdout();
  const Result r = rosenSuzuki().solve(evaluate, options);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_TRUE(r.success);
  EXPECT_GT(std::count(text.begin(), text.end(), '\n'), r.iterations);
  EXPECT_EQ(text.back(), '\n');
  options.trace = [](std::string_view) { throw Failure{0}; };
  EXPECT_THROW(rosenSuzuki().solve(evaluate, options), Failure);
}

// ---- inside the box ----------------------------------------------------------------------------

TEST(KeepInside, DifferencesAtABoundKeepTheirOrder) {
  // Asked as the core asks at (1, 0), both at a bound: exp x + (y + 1)^3, slopes e and 3.
  Problem p;
  p.variable("x", 1, 0, 1);
  p.variable("y", 0, 0, 1);
  p.minimize("f");
  Options options;
  options.keepInside = true;
  const auto analysis = [](const Point& x, Values& v) {
    for (const double xi : x) EXPECT_EQ(xi, std::clamp(xi, 0.0, 1.0));
    v[0] = std::exp(x[0]) + std::pow(x[1] + 1, 3);
  };
  const detail::CoreProblem core(p.description());
  for (const Differences differences : {Differences::forward, Differences::central}) {
    VRK_Settings counters{};
    detail::Evaluator evaluator(p.description(), core, {analysis, nullptr}, options, counters);
    const StageStart stage{1, Method::sqp, differences, 1e-4, 1e-5, {}};
    evaluator.beginStage(stage);
    const auto ask = [&](double x, double y) {
      double point[] = {x, y}, f = 0, none = 0;
      detail::Evaluator::one(&evaluator, point, &f, &none, &none);
      return f;
    };
    const bool central = differences == Differences::central;
    const double h = 0.5e-4, f0 = ask(1, 0), fx = ask(1 + h, 0);
    const double bx = central ? ask(1 - h, 0) : f0;
    const double fy = ask(1, h), by = central ? ask(1, -h) : f0;
    const double width = central ? 2 * h : h, error = central ? 1e-7 : 2e-4;
    EXPECT_NEAR((fx - bx) / width, std::exp(1.0), error);
    EXPECT_NEAR((fy - by) / width, 3, error);
    EXPECT_EQ(evaluator.evaluations(), central ? 5 : 3);
  }
}

TEST(KeepInside, SolvesProblemsThatExistInsideTheBoxOnly) {
  // log defined inside only; the optimum (1, 0) is in a corner.
  Problem p;
  p.variable("x", 0.5, 0, 1);
  p.variable("y", 0.5, 0, 1);
  p.minimize("f");
  p.atMost("g", 3);
  for (const Method method : {Method::sqp, Method::grg, Method::automatic})
    for (const bool inside : {true, false}) {
      Options options = withMethod(method);
      options.keepInside = inside;
      const Result r = p.solve(
          [](const Point& x, Values& v) {
            v[0] = std::pow(x[0] - 2, 2) + std::pow(x[1] + 2, 2);
            v[1] = x[0] < 0 || x[0] > 1 || x[1] < 0 || x[1] > 1 ? NAN : x[0] + x[1];
          },
          options);
      if (inside) {
        EXPECT_TRUE(r.success) << r.summary();
        EXPECT_EQ(r.point.x, (std::vector<double>{1, 0}));
      } else {
        EXPECT_NE(r.advice.find("set keepInside"), std::string::npos) << r.advice;
      }
    }
}

}  // namespace
