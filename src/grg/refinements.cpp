#include "grg/refinements.h"

#include <algorithm>
#include <cmath>

namespace tarnix::core {

namespace {

// Largest violation of what was satisfied at entry; bigValue where a value is not a number.
double violation(const SearchProblem& p) {
  double worst = std::isfinite(p.minimized()) ? 0.0 : settings->bigValue;
  const auto consider = [&](double value) {
    if (!(value <= worst)) worst = std::isnan(value) ? settings->bigValue : value;
  };
  for (const int32_t c : p.kept) consider(p.f(c));
  for (const int32_t c : p.satisfied) consider(std::fabs(p.f(c)));
  return worst;
}

double residual(const SearchProblem& p) {
  double worst = 0.0;
  for (const int32_t c : p.basis.rows) worst = std::max(worst, std::fabs(p.f(c)));
  return worst;
}

bool returnTo(SearchProblem& p, ConstVector x, ConstVector f) {
  std::ranges::copy(x, p.x.begin());
  std::ranges::copy(f, p.f.begin());
  return false;
}

}  // namespace

bool takeWholeStep(SearchProblem& p, ConstVector d, double length, ConstVector entryX,
                   ConstVector entryF) {
  const double before = violation(p);
  for (int v = 1; v <= p.n(); ++v) p.x(v) = p.box.clip(v, p.x(v) + length * d(v));
  if (!p.evaluateHere()) return returnTo(p, entryX, entryF);
  const double after = violation(p);
  return (after < 0.5 * before && after <= settings->convTol) || returnTo(p, entryX, entryF);
}

bool restoreEntry(SearchProblem& p, ConstVector entryX, ConstVector entryF) {
  constexpr double negligible = 0.1;  // of convTol
  const double before = residual(p);
  if (!(before > negligible * settings->convTol)) return false;
  correctDependents(p.basis, p.f, p.box, p.x);
  return (p.evaluateHere() && residual(p) < before && violation(p) <= settings->convTol) ||
         returnTo(p, entryX, entryF);
}

}  // namespace tarnix::core
