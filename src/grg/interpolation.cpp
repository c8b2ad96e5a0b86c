#include "grg/interpolation.h"

#include <algorithm>
#include <cmath>

#include "state/settings.h"
#include "trace/trace.h"

namespace tarnix::core {

bool parabolaVertex(const std::array<StepValue, 3>& at, double& vertex) {
  const auto [s1, f1] = at[0];
  const auto [s2, f2] = at[1];
  const auto [s3, f3] = at[2];
  const double denominator = (s2 - s3) * f1 + (s3 - s1) * f2 + (s1 - s2) * f3;
  if (!(std::fabs(denominator) >= settings->zeroTol)) {
    if (tracing(1)) trace::message("ERROR IN GRGPR3, ZERO DENOM");
    return false;
  }
  vertex = 0.5 * (f1 * (s2 * s2 - s3 * s3) + f2 * (s3 * s3 - s1 * s1) + f3 * (s1 * s1 - s2 * s2)) /
           denominator;
  return true;
}

bool chooseThree(bool forParabola, const std::array<StepValue, 4>& from,
                 std::array<StepValue, 3>& to) {
  int first = 1;
  bool bracketed = true;
  if (forParabola) {
    const auto lowest =
        std::min_element(from.begin(), from.end(), [](auto a, auto b) { return a.f < b.f; });
    const int at = static_cast<int>(lowest - from.begin());
    bracketed = at == 1 || at == 2;
    first = at <= 1 ? 0 : 1;
    if (!bracketed && tracing(1)) trace::message("ERROR IN BRACKET, GRGS34");
  }
  std::copy_n(from.begin() + first, 3, to.begin());
  return bracketed;
}

CrossingEnd crossingStep(double s0, double g0, double s1, double g1, double& crossing) {
  if (!(std::fabs(g1 - g0) >= settings->zeroTol)) {
    if (tracing(1)) trace::message("ERROR2 IN GRGINT");
    return CrossingEnd::flat;
  }
  const double t = (settings->convTol - g0) / (g1 - g0);
  if (!(t >= 0.0 && t <= 1.0)) {
    if (tracing(1)) trace::message("ERROR1 IN GRGINT");
    return CrossingEnd::outside;
  }
  crossing = s0 + t * (s1 - s0);
  return CrossingEnd::found;
}

}  // namespace tarnix::core
