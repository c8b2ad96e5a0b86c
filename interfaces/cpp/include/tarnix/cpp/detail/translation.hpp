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
/// minimized, every constraint as h = 0 or g <= 0, all relative to their scales.
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
      all.push_back(v.lower);
      if (v.lower == v.upper) continue;
      free.push_back(i);
      trueLower.push_back(v.lower);
      trueUpper.push_back(v.upper);
      for (auto* column : {&lower, &upper, &roundOff, &lowerEdge, &upperEdge}) column->push_back(0);
      setBox(free.size() - 1, v.lower, v.upper);
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
  double half(std::size_t i) const { return 0.5 * (upper[i] - lower[i]); }

  /// The sides of variable i in the core: bounds of the problem, or invented ones.
  void setBox(std::size_t i, double low, double high) {
    // Scaling back and forth changes the last bits: what is this close is the same.
    const double close = 1e-13 * (high - low) + 8 * std::numeric_limits<double>::epsilon() *
                                                    std::max(std::abs(low), std::abs(high));
    lower[i] = low;
    upper[i] = high;
    roundOff[i] = close;
    lowerEdge[i] = low + close;
    upperEdge[i] = high - close;
  }

  // ---- points ----------------------------------------------------------------------------------
  /// What is on a bound up to rounding is on it.
  double snapped(double v, std::size_t i) const {
    if (std::abs(v - lower[i]) <= roundOff[i]) return lower[i];
    if (std::abs(v - upper[i]) <= roundOff[i]) return upper[i];
    return v;
  }
  void clip(double* x) const {
    for (std::size_t i = 0; i < free.size(); ++i)
      x[i] = std::min(std::max(snapped(x[i], i), lower[i]), upper[i]);
  }
  /// Number of the variables in which two points differ.
  int differing(const double* a, const double* b) const {
    int count = 0;
    for (std::size_t i = 0; i < free.size(); ++i)
      if (!(std::abs(a[i] - b[i]) <= roundOff[i])) ++count;
    return count;
  }
  /// All variables of the host at a core point.
  void toHost(const double* core, double* host) const {
    std::copy(all.begin(), all.end(), host);
    for (std::size_t i = 0; i < free.size(); ++i) host[free[i]] = core[i];
  }

  // ---- values ----------------------------------------------------------------------------------
  /// Core values, and the violation: not a number when a value is not finite.
  double toCore(const double* values, double* f) const {
    const std::size_t count = rows.size();
    for (std::size_t r = 0; r < count; ++r) f[r] = rows[r].of(values[rows[r].function]);
    bool finite = true;
    for (std::size_t r = 0; r < count; ++r)
      finite &= std::abs(f[r]) <= std::numeric_limits<double>::max();
    const std::size_t firstInequality = 1 + static_cast<std::size_t>(equalities);
    double violation = 0;
    for (std::size_t r = 1; r < firstInequality; ++r)
      if (std::abs(f[r]) > violation) violation = std::abs(f[r]);
    for (std::size_t r = firstInequality; r < count; ++r)
      if (f[r] > violation) violation = f[r];
    return finite ? violation : std::numeric_limits<double>::quiet_NaN();
  }

  /// Derivatives (variables, functions) of the host as columns (n, rows) of the core, physical
  /// units. True when there is any; what is not finite is none.
  bool gradientsToCore(const double* derivatives, double* G) const {
    bool any = false;
    for (std::size_t r = 0; r < rows.size(); ++r)
      for (std::size_t i = 0; i < free.size(); ++i) {
        const double g = rows[r].factor * derivatives[rows[r].function * all.size() + free[i]];
        const bool given = std::isfinite(g);
        G[r * free.size() + i] = given ? g : std::numeric_limits<double>::quiet_NaN();
        any |= given;
      }
    return any;
  }

  std::vector<std::size_t> free;  // position of each core variable
  std::vector<double> all;        // of the host's variables: the value where one is fixed
  std::vector<double> trueLower, trueUpper;  // bounds of the problem, infinite where there is none
  std::vector<double> lower, upper, roundOff;  // the box of the core
  std::vector<double> lowerEdge, upperEdge;    // between them a value is not on a bound
  std::vector<Row> rows;                       // objective, equalities, inequalities
  std::int32_t equalities = 0, inequalities = 0;
};

}  // namespace tarnix::detail
