#pragma once
// Factors by which the SQP core sees the functions.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "translation.hpp"
#include "tuning.hpp"

namespace tarnix::detail {

/// SQP's tests compare with absolute numbers, and its weights begin with one: functions whose
/// derivatives by the scaled variables are of a known size suit them. GRG sees the plain functions.
struct Scaling {
  std::vector<double> factors;  // by row
  /// Of a tolerance in the host's units.
  double ofTolerance;

  /// From the values and the gradients (n, rows) of all rows at a point, in scaled variables. The
  /// tolerance is that of the objective; what the core accepts as a violation, at the tolerance
  /// times ofTolerance, is at most `violation` for the host.
  Scaling(const CoreProblem& core, double tolerance, double violation, const std::vector<double>& f,
          const std::vector<double>& G) {
    const std::size_t n = core.free.size(), m = core.rows.size();
    const auto wanted = [&](std::size_t r, double size) {
      double most = 0;
      for (std::size_t i = 0; i < n; ++i) most = std::max(most, std::abs(G[r * n + i]));
      return most > 0 && std::isfinite(most) ? size / most : 1.0;
    };
    factors.assign(m, 1.0);
    const double up = wanted(0, tuning::objectiveSlope), down = wanted(0, tuning::steepestSlope);
    factors[0] = up > 1 ? std::min(up, tuning::largestObjectiveFactor) : std::min(down, 1.0);
    ofTolerance = factors[0];
    const double loosest = tolerance * ofTolerance / std::min(violation, tolerance);
    const double strictest = std::max(tolerance * ofTolerance / tuning::smallestViolation, loosest);
    for (std::size_t r = 1; r < m; ++r) {
      factors[r] = std::min(std::max(wanted(r, tuning::constraintSlope), loosest), strictest);
      // The slope of SQP's merit function takes an equality as positive.
      if (r <= static_cast<std::size_t>(core.equalities) && f[r] < 0) factors[r] = -factors[r];
    }
  }
};

}  // namespace tarnix::detail
