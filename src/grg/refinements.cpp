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

void improveBasis(SearchProblem& p, VectorView column, VectorView w) {
  constexpr double worthwhile = 5.0;
  constexpr double leastRoom = 0.01;
  Basis& basis = p.basis;
  const int k = basis.nDep;
  const auto room = [&](int v) {
    const double up = p.box.upper(v) - p.x(v), down = p.x(v) - p.box.lower(v);
    return std::min(up, down) / (up + down);
  };
  for (int exchanges = 0; exchanges < 2 * k; ++exchanges) {
    double highest = worthwhile;
    int position = 0, entering = 0;
    for (const int32_t v : basis.independent)
      for (int i = 1; i <= k; ++i) {
        const double gain = std::fabs(pivotOf(basis, i, v, p.gradients)) * room(v) /
                            (room(basis.variables(i)) + leastRoom);
        if (!(gain > highest)) continue;
        highest = gain;
        position = i;
        entering = v;
      }
    if (position == 0) break;
    exchangeDependent(basis, position, entering, p.gradients, column, w);
  }
}

bool takeWholeStep(SearchProblem& p, ConstVector d, double length, ConstVector entryX,
                   ConstVector entryF) {
  const double before = violation(p);
  for (int v = 1; v <= p.n(); ++v) p.x(v) = p.box.clip(v, p.x(v) + length * d(v));
  p.evaluateHere();
  const double after = violation(p);
  return (after < 0.5 * before && after <= settings->convTol) || returnTo(p, entryX, entryF);
}

bool restoreEntry(SearchProblem& p, ConstVector entryX, ConstVector entryF) {
  constexpr double negligible = 0.1;  // of convTol
  const double before = residual(p);
  if (!(before > negligible * settings->convTol)) return false;
  correctDependents(p.basis, p.f, p.box, p.x);
  p.evaluateHere();
  return (residual(p) < before && violation(p) <= settings->convTol) ||
         returnTo(p, entryX, entryF);
}

}  // namespace tarnix::core
