// Whole solves by both methods of problems whose callback costs next to nothing, so that the time
// is the method's own.

#include <benchmark/benchmark.h>
#include <tarnix/tarnix.h>

#include <cmath>
#include <string>
#include <vector>

#include "problems.h"

namespace {

struct Method {
  const char* name;
  decltype(&VRK_sqp) solve;
};

// Any ending will do, as long as its point keeps the constraints.
void BM_solve(benchmark::State& state, const Method& method, const Problem* problem) {
  std::vector<double> x(problem->n), f(1 + problem->nEq + problem->nIneq);
  VRK_setDefaults();
  int32_t status = 0;
  const auto solve = [&] {
    x.assign(problem->start, problem->start + problem->n);
    status = method.solve(200, problem->n, x.data(), problem->lower, problem->upper, problem->nEq,
                          problem->nIneq, problem->evaluate, nullptr, f.data());
  };
  solve();
  const int32_t evaluations = VRK_get_nFunEval();
  if (!(problemViolation(problem, x.data(), nullptr) <= 0.01))
    return state.SkipWithError("constraints violated");
  for (auto _ : state) solve();
  state.counters["n"] = problem->n;
  state.counters["constraints"] = problem->nEq + problem->nIneq;
  state.counters["iterations"] = VRK_get_nIter();
  state.counters["evaluations"] = evaluations;
  state.counters["status"] = status;
}

// A name that the collection does not have shows as an error, not as a shorter list.
const bool registered = [] {
  for (const Method& method : {Method{"sqp", VRK_sqp}, Method{"grg", VRK_grg}})
    for (const char* name : {"HS14", "HS43", "HS118", "welded_beam", "speed_reducer",
                             "rosen_suzuki_12", "rosen_suzuki_52", "rosen_suzuki_92", "segments_10",
                             "segments_50", "segments_100", "hanging_chain_10", "hanging_chain_50",
                             "chained_rosenbrock_10", "chained_rosenbrock_50"}) {
      const Problem* problem = problemByName(name);
      benchmark::RegisterBenchmark(("BM_" + std::string(method.name) + "/" + name).c_str(),
                                   [method, problem](benchmark::State& state) {
                                     if (problem == nullptr)
                                       state.SkipWithError("no such problem");
                                     else
                                       BM_solve(state, method, problem);
                                   })
          ->Unit(benchmark::kMicrosecond);
    }
  return true;
}();

}  // namespace
