#pragma once
// Parabola fits of both line searches.

#include <cmath>

namespace tarnix::core {

// Minimiser in [0, a2] of the parabola through (a1, f1) with slope g1 and through (a2, f2); 0 when
// its curvature c is within zeroTol of zero.
inline double parabolaStep(double a1, double a2, double f1, double f2, double g1, double zeroTol) {
  const double c = (f2 - f1 + (a1 - a2) * g1) / ((a1 - 2.0 * a2) * a1 + a2 * a2);
  if (!(std::fabs(c) > zeroTol)) return 0.0;
  const double vertex = a1 - g1 / (2.0 * c);
  const double step = vertex > 0.0 ? vertex : 0.0;
  return step > a2 ? a2 : step;
}

}  // namespace tarnix::core
