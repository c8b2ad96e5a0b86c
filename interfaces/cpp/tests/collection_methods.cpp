// Solves the problem collection through the C++ layer with each method, and counts.
//
//     tarnix_collection_methods [--list] [tolerance [difference step]]
//
// A problem counts as solved when the result says success and the objective is within 0.1 percent
// (of 1 where it is smaller than that) of the published one; as wrong when it says success and the
// objective is not. --list shows every problem that some method did not solve.
//
// Ends with 1 when the automatic method does not solve more than either of the others, or leaves a
// problem without a feasible point; and when what a result says about feasibility is not what the
// collection's own formulas say.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <tarnix/tarnix.hpp>
#include <vector>

#include "problems.h"

namespace {

tarnix::Result solve(const Problem& p, const tarnix::Options& options) {
  tarnix::Problem problem;
  for (int i = 0; i < p.n; ++i)
    problem.variable("x" + std::to_string(i), p.start[i], p.lower[i], p.upper[i]);
  problem.minimize("f");
  for (int i = 0; i < p.nEq; ++i) problem.equal("h" + std::to_string(i), 0);
  for (int i = 0; i < p.nIneq; ++i) problem.atMost("g" + std::to_string(i), 0);
  std::vector<double> copy;
  return problem.solve(
      [&](const tarnix::Point& x, tarnix::Values& v) {
        copy.assign(x.begin(), x.end());
        double* f = v.data();
        p.evaluate(nullptr, copy.data(), f, f + 1, f + 1 + p.nEq);
      },
      options);
}

struct Count {
  int solved = 0, feasible = 0, wrong = 0;
  long evaluations = 0;
};

}  // namespace

int main(int argc, char** argv) {
  bool list = false, honest = true;
  tarnix::Options options;
  int given = 0;
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) == "--list") list = true;
    else (given++ == 0 ? options.tolerance : options.differenceStep) = std::atof(argv[i]);
  }
  options.report = false;
  const tarnix::Method methods[] = {tarnix::Method::sqp, tarnix::Method::grg,
                                    tarnix::Method::automatic};
  Count counts[3];
  for (int i = 0; i < problemCount(); ++i) {
    const Problem& p = *problemAt(i);
    std::string line;
    bool all = true;
    for (int k = 0; k < 3; ++k) {
      options.method = methods[k];
      const tarnix::Result r = solve(p, options);
      const bool feasible =
          problemViolation(&p, r.point.x.data(), nullptr) <= options.tolerance;
      honest = honest && r.feasible == feasible && (feasible || !r.success);
      const double difference = r.objective() - p.fBest;
      const bool right = std::abs(difference) <= 1e-3 * std::fmax(1.0, std::abs(p.fBest));
      counts[k].solved += r.success && right;
      counts[k].wrong += r.success && !right;
      counts[k].feasible += r.feasible;
      counts[k].evaluations += r.evaluations;
      all = all && r.success && right;
      char text[120];
      std::snprintf(text, sizeof text, " | %-6s %4d %d st %9.1e viol %7.1e %6ld",
                    !r.success ? "no" : right ? "solved" : "wrong", r.status,
                    static_cast<int>(r.stages.size()), difference, r.point.violation,
                    static_cast<long>(r.evaluations));
      line += text;
    }
    if (list && !all) std::printf("%-24s%s\n", p.name, line.c_str());
  }
  std::printf("%-10s %8s %8s %8s %12s   of %d problems\n", "method", "solved", "feasible", "wrong",
              "evaluations", problemCount());
  for (int k = 0; k < 3; ++k)
    std::printf("%-10s %8d %8d %8d %12ld\n", tarnix::name(methods[k]), counts[k].solved,
                counts[k].feasible, counts[k].wrong, counts[k].evaluations);
  return honest && counts[2].solved > counts[0].solved && counts[2].solved > counts[1].solved &&
                 counts[2].feasible == problemCount()
             ? 0
             : 1;
}
