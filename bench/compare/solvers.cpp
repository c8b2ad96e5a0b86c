#include <tarnix/tarnix.h>

#include <algorithm>
#include <tarnix/tarnix.hpp>

#include "compare.h"
#include "describe.hpp"

namespace compare {
namespace {

template <tarnix::Method method>
Claim byTarnix(Values& values, const std::vector<double>& start, const Setup& setup) {
  const Problem& p = values.problem;
  const tarnix::Problem problem = describe(p);
  tarnix::Options options;
  options.method = method;
  options.tolerance = setup.tolerance;
  options.start = start;
  options.report = false;
  options.maxEvaluations = setup.maxEvaluations;
  std::vector<double> x;
  const tarnix::Result r = problem.solve(
      [&](const tarnix::Point& point, tarnix::Values& v) {
        x.assign(point.begin(), point.end());
        const std::vector<double>& all = values.at(x);
        std::copy(all.begin(), all.end(), v.data());
      },
      options);
  return {r.success, r.point.x};
}

}  // namespace

std::vector<Solver> solvers() {
  std::vector<Solver> all = {{"automatic", VRK_VERSION_STRING, byTarnix<tarnix::Method::automatic>},
                             {"sqp", VRK_VERSION_STRING, byTarnix<tarnix::Method::sqp>},
                             {"grg", VRK_VERSION_STRING, byTarnix<tarnix::Method::grg>}};
#ifdef COMPARE_NLOPT
  addNlopt(all);
#endif
#ifdef COMPARE_IPOPT
  addIpopt(all);
#endif
  return all;
}

}  // namespace compare
