// QPSOLV over the number of variables and the share of it that is active at the solution.

#include <benchmark/benchmark.h>

#include "qp_problems.h"

namespace {

void BM_qpsolv(benchmark::State& state) {
  VRK_setDefaults();
  const int n = static_cast<int>(state.range(0));
  const int percent = static_cast<int>(state.range(1));
  // Several problems in turn, so that no branch is learnt by heart.
  std::vector<bench::QpInstance> problems;
  for (int k = 0; k < 8; ++k) problems.push_back(bench::randomQp(n, percent, 1 + k));
  double active = 0.0;
  for (const bench::QpInstance& qp : problems) {
    bench::QpAnswer answer(qp);
    bench::solve(qp, answer);
    if (!answer.solved() || answer.count != qp.active ||
        !(bench::relativeError(answer.d, qp.solution) <= 1e-8))
      return state.SkipWithError("wrong solution");
    active += qp.active / static_cast<double>(problems.size());
  }
  bench::QpAnswer answer(problems.front());
  std::size_t next = 0;
  for (auto _ : state) {
    bench::solve(problems[next], answer);
    benchmark::DoNotOptimize(answer.d.data());
    benchmark::ClobberMemory();
    next = (next + 1) % problems.size();
  }
  state.counters["active"] = active;
}
BENCHMARK(BM_qpsolv)
    ->ArgNames({"n", "activePercent"})
    ->ArgsProduct({{5, 10, 20, 50, 100}, {10, 30, 70}});

}  // namespace
