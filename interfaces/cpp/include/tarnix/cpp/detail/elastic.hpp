#pragma once
// When no start leads to a feasible design: the least violation, and which constraints are to
// blame.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include "../options.hpp"
#include "../problem.hpp"
#include "../result.hpp"
#include "stages.hpp"
#include "tuning.hpp"

namespace tarnix::detail {

/// Minimizes one slack t, with every constraint allowed to be violated by t of its scale. Where
/// that ends above the tolerance, the constraints that hold t up contradict each other; one that
/// can be left out without a feasible design appearing is none of them. The others need not use up
/// the slack: with one slack each, none above the least t, the sum of the violations is minimized.
class Elastic {
 public:
  /// The solver of the inner problems: solve() of the layer.
  using Solve = Result (*)(const Problem&, const Analysis&, const Options&);

  Elastic(Stages& stages, Solve solve, std::int64_t evaluations)
      : s_(stages), c_(stages.core()), e_(stages.evaluator()), solve_(solve), left_(evaluations) {}

  /// Empty where the question could not be asked. A conflict without constraints: the point is
  /// feasible.
  std::optional<Conflict> find(const Design& from) {
    std::vector<std::size_t> all;
    for (std::size_t j = 1; j < s_.description().functions.size(); ++j) all.push_back(j);
    const std::optional<Least> least = relax(all, from);
    if (!least) return std::nullopt;
    Conflict conflict;
    conflict.point = least->point;
    conflict.violation = least->point.violation;
    if (e_.feasible(least->point)) return conflict;
    std::vector<std::size_t> blamed = least->holding.empty() ? all : least->holding;
    conflict.minimal = shrink(blamed, least->point);
    for (const std::size_t j : blamed)
      conflict.constraints.push_back(s_.description().functions[j].name);
    settleTheRest(all, conflict);
    return conflict;
  }

 private:
  struct Least {
    Design point;
    std::vector<std::size_t> holding;  // functions with multipliers
    double slack = 0;
    bool ended = false;  // by the method's own end
  };

  /// Leaves out what is not needed for the contradiction; false when not everything was tried.
  bool shrink(std::vector<std::size_t>& blamed, const Design& from) {
    for (std::size_t k = 0; k < blamed.size() && blamed.size() > 1;) {
      std::vector<std::size_t> rest = blamed;
      rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(k));
      const std::optional<Least> least = relax(rest, from);
      if (!least || !least->ended) return false;
      if (least->slack > e_.tolerance())
        blamed = rest;
      else
        ++k;
    }
    return true;
  }

  /// What the constraints that contradict each other do not need of the slack is taken away.
  void settleTheRest(const std::vector<std::size_t>& all, Conflict& conflict) {
    constexpr std::size_t most = 100;  // variables of the core
    if (all.size() < 2 || c_.free.size() + all.size() > most) return;
    const std::optional<Least> settled = relax(all, conflict.point, conflict.violation);
    const double allowed = conflict.violation + e_.tolerance();
    if (!settled || !(settled->point.violation <= allowed) ||
        !(sumOfViolations(settled->point) < sumOfViolations(conflict.point) - e_.tolerance()))
      return;
    conflict.point = settled->point;
    conflict.violation = settled->point.violation;
  }

  double violationOf(std::size_t function, const std::vector<double>& f) const {
    double most = 0;
    for (std::size_t r = 1; r < c_.rows.size(); ++r)
      if (c_.rows[r].function == function)
        most = std::max(most, r <= static_cast<std::size_t>(c_.equalities) ? std::abs(f[r]) : f[r]);
    return most;
  }

  double sumOfViolations(const Design& at) const {
    const std::vector<double> f = e_.rowsOf(at);
    double sum = 0;
    for (std::size_t j = 1; j < s_.description().functions.size(); ++j) sum += violationOf(j, f);
    return sum;
  }

  /// A row of a constraint, and the slack that it may use.
  struct Row {
    std::size_t row;
    double sign;
    std::size_t slack;
  };

  std::vector<Row> rowsOf(const std::vector<std::size_t>& functions, bool each) const {
    std::vector<Row> rows;
    for (std::size_t k = 0; k < functions.size(); ++k)
      for (std::size_t r = 1; r < c_.rows.size(); ++r) {
        if (c_.rows[r].function != functions[k]) continue;
        const std::size_t slack = each ? k : 0;
        rows.push_back({r, 1, slack});
        if (r <= static_cast<std::size_t>(c_.equalities)) rows.push_back({r, -1, slack});
      }
    return rows;
  }

  /// Variables x, then the slacks: one for all constraints, or one each, none above `highest`.
  void declareVariables(Problem& q, const std::vector<std::size_t>& functions, const Design& from,
                        std::optional<double> highest) const {
    for (std::size_t i = 0; i < c_.free.size(); ++i) {
      const double x = std::min(std::max(from.x[c_.free[i]], c_.lower[i]), c_.upper[i]);
      q.variable("x" + std::to_string(i), x, c_.lower[i], c_.upper[i]);
    }
    const double worst = std::max(from.violation, e_.tolerance());
    if (!highest) {
      q.variable("slack", worst, 0, 2 * worst);
      return;
    }
    const std::vector<double> f = e_.rowsOf(from);
    for (std::size_t k = 0; k < functions.size(); ++k)
      q.variable("slack" + std::to_string(k), std::min(violationOf(functions[k], f), *highest), 0,
                 *highest);
  }

  std::optional<Least> relax(const std::vector<std::size_t>& functions, const Design& from,
                             std::optional<double> highest = {}) {
    if (left_ <= 0) return std::nullopt;
    Problem q;
    declareVariables(q, functions, from, highest);
    q.minimize("violation");
    const std::vector<Row> rows = rowsOf(functions, highest.has_value());
    for (std::size_t k = 0; k < rows.size(); ++k) q.atMost("g" + std::to_string(k), 0);
    Options options = innerOptions();
    if (!q.check(options).empty()) return std::nullopt;
    Least least;
    least.point = from;
    const auto analysis = [&](const Point& x, Values& v) {
      const double* slack = x.begin() + c_.free.size();
      e_.measureAt({x.begin(), slack});
      const std::vector<double> f = e_.rowsOf(e_.last());
      v[0] = std::accumulate(slack, x.end(), 0.0);
      for (std::size_t k = 0; k < rows.size(); ++k)
        v[k + 1] = rows[k].sign * f[rows[k].row] - slack[rows[k].slack];
    };
    const std::int64_t before = e_.evaluations();
    const Result r = solve_(q, analysis, options);
    left_ -= e_.evaluations() - before;
    least.slack = r.point.values[0];
    least.ended = r.feasible && (r.reason == Reason::finished || r.reason == Reason::targetReached);
    e_.measureAt(
        {r.point.x.begin(), r.point.x.begin() + static_cast<std::ptrdiff_t>(c_.free.size())});
    least.point = e_.last();
    if (r.report)
      for (const ActiveLimit& a : r.report->active) {
        const auto found = r.description->functionIndex.find(a.name);
        if (found == r.description->functionIndex.end() || !(std::abs(a.multiplier) > 1e-6))
          continue;
        const std::size_t j = c_.rows[rows[found->second - 1].row].function;
        if (std::find(least.holding.begin(), least.holding.end(), j) == least.holding.end())
          least.holding.push_back(j);
      }
    return least;
  }

  Options innerOptions() const {
    const Options& o = s_.options();
    Options options;
    options.tolerance = o.tolerance * tuning::toleranceShare;
    options.differenceStep = s_.step();
    options.keepInside = o.keepInside;
    options.effort = 0;
    options.maxIterations = o.maxIterations;
    options.maxEvaluations = left_;
    options.target = e_.tolerance() / 2;
    return options;
  }

  Stages& s_;
  const CoreProblem& c_;
  Evaluator& e_;
  const Solve solve_;
  std::int64_t left_;
};

}  // namespace tarnix::detail
