// What a warm start saves: every problem of the collection with a limit or a bound that holds its
// minimiser is solved, the limit moved, and the changed problem solved again, cold and warm.
//
//     tarnix_warm_bench [share by which the limit is moved, 0.01]
//
// Counts where both end with success at the same objective. evaluations: medians; ratio: median of
// warm by cold.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <tarnix/tarnix.hpp>
#include <vector>

#include "problems.h"

namespace {

struct Case {
  const Problem* p;
  std::vector<double> shift;  // added to the limit of each constraint, equalities first
  tarnix::Problem describe() const {
    tarnix::Problem problem;
    for (int i = 0; i < p->n; ++i)
      problem.variable("x" + std::to_string(i), p->start[i], p->lower[i], p->upper[i]);
    problem.minimize("f");
    for (int i = 0; i < p->nEq; ++i) problem.equal("h" + std::to_string(i), shift[i]);
    for (int i = 0; i < p->nIneq; ++i)
      problem.atMost("g" + std::to_string(i), shift[static_cast<std::size_t>(p->nEq + i)]);
    return problem;
  }
  tarnix::Result solve(const tarnix::Options& options) const {
    std::vector<double> copy;
    return describe().solve(
        [&](const tarnix::Point& x, tarnix::Values& v) {
          copy.assign(x.begin(), x.end());
          double* f = v.data();
          p->evaluate(nullptr, copy.data(), f, f + 1, f + 1 + p->nEq);
        },
        options);
  }
};

// The range of a constraint's values is not known: its slope at the solution over a hundredth of
// the half ranges stands for one percent of its limit.
double onePercent(const tarnix::Result& r, const Problem& p, std::size_t function, double share) {
  double square = 0;
  for (int i = 0; i < p.n; ++i) {
    const double slope =
        r.report->jacobian[function * static_cast<std::size_t>(p.n) + static_cast<std::size_t>(i)] *
        0.5 * (p.upper[i] - p.lower[i]);
    square += slope * slope;
  }
  return share * std::sqrt(square);
}

double median(std::vector<double> all) {
  if (all.empty()) return 0;
  std::sort(all.begin(), all.end());
  return all[all.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const double share = argc > 1 ? std::atof(argv[1]) : 0.01;
  std::vector<double> cold, warm, ratio;
  int tried = 0, coldOnly = 0, warmOnly = 0, lower = 0;
  for (int i = 0; i < wideProblemCount(); ++i) {
    Case c{wideProblemAt(i), {}};
    const Problem& p = *c.p;
    c.shift.assign(static_cast<std::size_t>(p.nEq + p.nIneq), 0.0);
    tarnix::Options options;
    options.maxEvaluations = 10000;
    const tarnix::Result first = c.solve(options);
    if (!first.success || !first.report) continue;
    std::size_t moved = 0;
    for (const auto& a : first.report->active)
      if (const auto f = first.description->functionIndex.find(a.name);
          moved == 0 && a.multiplier != 0 && f != first.description->functionIndex.end())
        moved = f->second;
    if (moved == 0) continue;
    ++tried;
    c.shift[moved - 1] = onePercent(first, p, moved, share);
    const tarnix::Result again = c.solve(options);
    options.warm = first.warm();
    const tarnix::Result next = c.solve(options);
    coldOnly += again.success && !next.success;
    warmOnly += next.success && !again.success;
    if (!again.success || !next.success) continue;
    const double size = std::max(1.0, std::abs(again.objective()));
    const double better = (again.objective() - next.objective()) / size;
    lower += better > 1e-3;
    if (std::abs(better) > 1e-3) continue;
    cold.push_back(static_cast<double>(again.evaluations));
    warm.push_back(static_cast<double>(next.evaluations));
    ratio.push_back(warm.back() / cold.back());
  }
  std::printf(
      "problems %d, solved alike %zu, by the cold one alone %d, by the warm one alone %d, "
      "better warm %d\n"
      "evaluations: cold %.0f, warm %.0f, ratio %.2f\n",
      tried, ratio.size(), coldOnly, warmOnly, lower, median(cold), median(warm), median(ratio));
}
