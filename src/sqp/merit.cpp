#include "sqp/merit.h"

#include <cmath>

#include "api/settings.h"

namespace tarnix {

double parabolaStep(double a1, double a2, double f1, double f2, double g1) {
  const double c = (f2 - f1 + (a1 - a2) * g1) / ((a1 - 2.0 * a2) * a1 + a2 * a2);
  if (!(std::fabs(c) > settings.zeroTol)) return 0.0;
  const double vertex = a1 - g1 / (2.0 * c);
  const double step = vertex > 0.0 ? vertex : 0.0;
  return step > a2 ? a2 : step;
}

}  // namespace tarnix
