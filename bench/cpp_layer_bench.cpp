// What the C++ layer costs per evaluation: the same solve through the core and through the layer,
// whose set-up and judgement of the end are part of the figure. layer_ns is what it adds, core_ns
// what an evaluation costs by the core alone. "limits": with every limit and callback in place.

#include <benchmark/benchmark.h>
#include <tarnix/routines.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <tarnix/tarnix.hpp>
#include <thread>
#include <vector>

#include "describe.hpp"

namespace {

using Clock = std::chrono::steady_clock;

constexpr double tolerance = 1e-5;
constexpr int maxIterations = 200;

double nanoseconds(Clock::duration d) {
  return std::chrono::duration<double, std::nano>(d).count();
}

// One solve by the core; returns the evaluations.
std::int64_t solveByCore(const Problem& p) {
  static std::vector<double> x, f;
  x.assign(p.start, p.start + p.n);
  f.resize(static_cast<std::size_t>(1 + p.nEq + p.nIneq));
  VRK_setDefaults();
  VRK_settings.dblStorageCapacity = VRK_DBL_STORAGE_LIMIT;
  VRK_settings.intStorageCapacity = VRK_INT_STORAGE_LIMIT;
  VRK_set_convTol(tolerance);
  VRK_sqp(maxIterations, p.n, x.data(), p.lower, p.upper, p.nEq, p.nIneq, p.evaluate, nullptr,
          f.data());
  return VRK_get_nFunEval();
}

// Rounds of the two alternate, and the median of their differences is taken: the machine's other
// load falls on both.
void BM_layer(benchmark::State& state, const char* name, bool limits) {
  const Problem* p = problemByName(name);
  if (p == nullptr) return state.SkipWithError("no such problem");
  const tarnix::Problem problem = describe(*p);
  tarnix::Options options;
  options.method = tarnix::Method::sqp;
  options.tolerance = tolerance;
  options.maxIterations = maxIterations;
  options.report = false;
  if (limits) {
    options.maxEvaluations = 1000000;
    options.maxTime = std::chrono::hours(1);
    options.stop.emplace();
    options.target = -1e300;
    options.onIteration = [](tarnix::Progress&) {};
  }
  const auto analysis = [p](const tarnix::Point& x, tarnix::Values& v) {
    double* f = v.data();
    p->evaluate(nullptr, const_cast<double*>(x.data()), f, f + 1, f + 1 + p->nEq);
  };
  std::int64_t byCore = 0, byLayer = 0;
  std::vector<double> perEvaluation, core;
  for (auto _ : state) {
    const auto t0 = Clock::now();
    byCore = solveByCore(*p);
    const auto t1 = Clock::now();
    const tarnix::Result r = problem.solve(analysis, options);
    const auto t2 = Clock::now();
    byLayer = r.evaluations;
    const double extra = nanoseconds(t2 - t1) - nanoseconds(t1 - t0);
    perEvaluation.push_back(extra / static_cast<double>(byLayer));
    core.push_back(nanoseconds(t1 - t0) / static_cast<double>(byCore));
    state.SetIterationTime(nanoseconds(t2 - t1) * 1e-9);
  }
  const auto median = [](std::vector<double>& v) {
    std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2), v.end());
    return v[v.size() / 2];
  };
  // Confirming the end takes one evaluation at most; otherwise the two solves are the same.
  if (byLayer < byCore || byLayer > byCore + 1) return state.SkipWithError("evaluations differ");
  state.counters["n"] = p->n;
  state.counters["functions"] = 1 + p->nEq + p->nIneq;
  state.counters["evaluations"] = static_cast<double>(byLayer);
  state.counters["core_ns"] = median(core);
  state.counters["layer_ns"] = median(perEvaluation);
}

// Solves in two threads side by side against the same solves in one: their throughput, on a machine
// with two cores that does nothing else close to 2.
void BM_two_threads(benchmark::State& state, const char* name) {
  const Problem* p = problemByName(name);
  if (p == nullptr) return state.SkipWithError("no such problem");
  const tarnix::Problem problem = describe(*p);
  const auto solves = [&](int count) {
    std::vector<double> copy;
    for (int k = 0; k < count; ++k)
      benchmark::DoNotOptimize(problem.solve([&](const tarnix::Point& x, tarnix::Values& v) {
        copy.assign(x.begin(), x.end());
        double* f = v.data();
        p->evaluate(nullptr, copy.data(), f, f + 1, f + 1 + p->nEq);
      }));
  };
  constexpr int count = 400;
  std::vector<double> ratios;
  for (auto _ : state) {
    const auto t0 = Clock::now();
    solves(count);
    const auto t1 = Clock::now();
    std::thread other([&] { solves(count); });
    solves(count);
    other.join();
    const auto t2 = Clock::now();
    ratios.push_back(2 * nanoseconds(t1 - t0) / nanoseconds(t2 - t1));
    state.SetIterationTime(nanoseconds(t2 - t0) * 1e-9);
  }
  std::sort(ratios.begin(), ratios.end());
  state.counters["throughput"] = ratios[ratios.size() / 2];
  state.counters["best"] = ratios.back();
}

const bool registered = [] {
  benchmark::RegisterBenchmark(
      "two_threads/speed_reducer",
      [](benchmark::State& state) { BM_two_threads(state, "speed_reducer"); })
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond)
      ->Iterations(15);
  for (const char* name :
       {"welded_beam", "HS106", "speed_reducer", "ten_bar_truss", "rosen_suzuki_52",
        "rosen_suzuki_92", "chained_rosenbrock_50", "segments_100"})
    for (const bool limits : {false, true})
      benchmark::RegisterBenchmark((std::string(name) + (limits ? "/limits" : "")).c_str(),
                                   [=](benchmark::State& state) { BM_layer(state, name, limits); })
          ->UseManualTime()
          ->Unit(benchmark::kMicrosecond);
  return true;
}();

}  // namespace

BENCHMARK_MAIN();
