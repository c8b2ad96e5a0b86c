// Solves the problem collection through the C++ layer with each method, and counts.
//
//     tarnix_collection_methods [--list] [--gradients] [tolerance [difference step]]
//
// A problem counts as solved when the result says success and the objective is within 0.1 percent
// (of 1 where it is smaller than that) of the published one; as wrong when it says success and the
// objective is not. --list shows every problem that some method did not solve. --gradients gives
// all derivatives to the layer, to about ten digits: extrapolated central differences. error:
// median of the relative error of the objective over the solved ones.
//
// Ends with 1 when the automatic method does not solve more than either of the others, or leaves a
// problem without a feasible point; and when what a result says about feasibility is not what the
// collection's own formulas say.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <tarnix/tarnix.hpp>
#include <vector>

#include "describe.hpp"
#include "problems.h"

namespace {

// Richardson's extrapolation of central differences in h, h/2, h/4, h/8; error of order h^8.
void extrapolated(const Problem& p, const double* at, tarnix::Gradients& g) {
  const auto size = static_cast<std::size_t>(1 + p.nEq + p.nIneq);
  std::vector<double> x(at, at + p.n), above(size), below(size);
  std::vector<double> table[4];
  for (int i = 0; i < p.n; ++i) {
    double h = 2e-3 * std::fmax(std::fabs(at[i]), 0.05 * (p.upper[i] - p.lower[i]));
    for (int level = 0; level < 4; ++level, h /= 2) {
      const auto evaluate = [&](double step, std::vector<double>& f) {
        x[static_cast<std::size_t>(i)] = at[i] + step;
        p.evaluate(nullptr, x.data(), f.data(), f.data() + 1, f.data() + 1 + p.nEq);
      };
      evaluate(h, above);
      evaluate(-h, below);
      x[static_cast<std::size_t>(i)] = at[i];
      table[level].resize(size);
      for (std::size_t j = 0; j < size; ++j) table[level][j] = (above[j] - below[j]) / (2 * h);
    }
    double power = 1;
    for (int order = 1; order < 4; ++order) {
      power *= 4;
      for (int level = 3; level >= order; --level)
        for (std::size_t j = 0; j < size; ++j)
          table[level][j] += (table[level][j] - table[level - 1][j]) / (power - 1);
    }
    for (std::size_t j = 0; j < size; ++j) g(j, static_cast<std::size_t>(i)) = table[3][j];
  }
}

tarnix::Result solve(const Problem& p, bool derivatives, const tarnix::Options& options) {
  const tarnix::Problem problem = describe(p);
  std::vector<double> copy;
  const auto analysis = [&](const tarnix::Point& x, tarnix::Values& v) {
    copy.assign(x.begin(), x.end());
    double* f = v.data();
    p.evaluate(nullptr, copy.data(), f, f + 1, f + 1 + p.nEq);
  };
  const auto gradient = [&](const tarnix::Point& x, tarnix::Gradients& g) {
    extrapolated(p, x.data(), g);
  };
  return derivatives ? problem.solve(analysis, gradient, options)
                     : problem.solve(analysis, options);
}

struct Count {
  int solved = 0, feasible = 0, wrong = 0;
  long evaluations = 0;
  std::vector<double> errors;  // of the solved ones, relative
};

}  // namespace

int main(int argc, char** argv) {
  bool list = false, honest = true, derivatives = false;
  tarnix::Options options;
  int given = 0;
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) == "--list")
      list = true;
    else if (std::string(argv[i]) == "--gradients")
      derivatives = true;
    else
      (given++ == 0 ? options.tolerance : options.differenceStep) = std::atof(argv[i]);
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
      const tarnix::Result r = solve(p, derivatives, options);
      const bool feasible = problemViolation(&p, r.point.x.data(), nullptr) <= options.tolerance;
      honest = honest && r.feasible == feasible && (feasible || !r.success);
      const double difference = r.objective() - p.fBest;
      const bool right = std::abs(difference) <= 1e-3 * std::fmax(1.0, std::abs(p.fBest));
      counts[k].solved += r.success && right;
      counts[k].wrong += r.success && !right;
      counts[k].feasible += r.feasible;
      counts[k].evaluations += r.evaluations;
      if (r.success && right)
        counts[k].errors.push_back(std::fabs(difference) / std::fmax(1.0, std::fabs(p.fBest)));
      all = all && r.success && right;
      char text[120];
      std::snprintf(text, sizeof text, " | %-6s %4d %d st %9.1e viol %7.1e %6ld",
                    !r.success ? "no"
                    : right    ? "solved"
                               : "wrong",
                    r.status, static_cast<int>(r.stages.size()), difference, r.point.violation,
                    static_cast<long>(r.evaluations));
      line += text;
    }
    if (list && !all) std::printf("%-24s%s\n", p.name, line.c_str());
  }
  std::printf("%-10s %8s %8s %8s %12s %10s   of %d problems\n", "method", "solved", "feasible",
              "wrong", "evaluations", "error", problemCount());
  for (int k = 0; k < 3; ++k) {
    std::vector<double>& errors = counts[k].errors;
    std::sort(errors.begin(), errors.end());
    std::printf("%-10s %8d %8d %8d %12ld %10.1e\n", tarnix::name(methods[k]), counts[k].solved,
                counts[k].feasible, counts[k].wrong, counts[k].evaluations,
                errors[errors.size() / 2]);
  }
  const double effort =
      static_cast<double>(counts[2].evaluations) / static_cast<double>(counts[1].evaluations);
  return honest && counts[2].solved > counts[0].solved && counts[2].solved > counts[1].solved &&
                 counts[2].feasible == problemCount() && effort < 3.5
             ? 0
             : 1;
}
