#pragma once
// Between the host's problem and the core's.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "../problem.hpp"

namespace tarnix::detail {

/// The variables and functions as the core sees them: fixed variables taken out, the objective
/// minimised, every constraint as h = 0 or g <= 0, all relative to their scales.
struct CoreProblem {
  struct Row {
    std::size_t function;
    double factor;  // 1 / scale; negative for lower limits, and for what is maximised
    double limit;
    double of(double value) const { return factor * (value - limit); }
  };

  explicit CoreProblem(const Description& d) {
    for (std::size_t i = 0; i < d.variables.size(); ++i) {
      const auto& v = d.variables[i];
      if (v.lower == v.upper) continue;
      free.push_back(i);
      // Scaling back and forth changes the last bits: what is this close is the same.
      const double close = 1e-13 * (v.upper - v.lower) +
                           8 * std::numeric_limits<double>::epsilon() *
                               std::max(std::abs(v.lower), std::abs(v.upper));
      lower.push_back(v.lower);
      upper.push_back(v.upper);
      roundOff.push_back(close);
      lowerEdge.push_back(v.lower + close);
      upperEdge.push_back(v.upper - close);
    }
    rows.push_back({0, (d.maximized ? -1.0 : 1.0) / d.functions[0].scale, 0.0});
    for (std::size_t j = 1; j < d.functions.size(); ++j)
      if (d.functions[j].relation == Relation::equal)
        rows.push_back({j, 1.0 / d.functions[j].scale, d.functions[j].upper});
    equalities = static_cast<std::int32_t>(rows.size()) - 1;
    for (std::size_t j = 1; j < d.functions.size(); ++j) {
      const auto& f = d.functions[j];
      if (f.relation == Relation::atMost || f.relation == Relation::between)
        rows.push_back({j, 1.0 / f.scale, f.upper});
      if (f.relation == Relation::atLeast || f.relation == Relation::between)
        rows.push_back({j, -1.0 / f.scale, f.lower});
    }
    inequalities = static_cast<std::int32_t>(rows.size()) - 1 - equalities;
  }

  std::int32_t n() const { return static_cast<std::int32_t>(free.size()); }

  std::vector<std::size_t> free;  // position of each core variable
  std::vector<double> lower, upper, roundOff;
  std::vector<double> lowerEdge, upperEdge;  // between them a value is not on a bound
  std::vector<Row> rows;  // objective, equalities, inequalities
  std::int32_t equalities = 0, inequalities = 0;
};

}  // namespace tarnix::detail
