#include "grg/classification.h"

#include <algorithm>
#include <cmath>

#include "state/settings.h"

namespace tarnix::core {

void classify(ConstIndex inequalities, ConstIndex equalities, ConstVector f, Classification& out) {
  const double tol = settings->convTol;
  out.kept.clear();
  out.active.clear();
  out.satisfied.clear();
  for (const int32_t c : inequalities) {
    const double g = f(c);
    if (g < -tol) {
      out.kept.append(c);
    } else if (std::fabs(g) <= tol) {
      ++out.activeTotal;
      if (out.active.count() < out.activeRoom) out.active.append(c);
      out.kept.append(c);
    } else if (g > out.worstInequality) {
      out.worstInequality = g;
      out.worstInequalityIndex = c;
    }
  }
  for (const int32_t c : equalities) {
    const double h = std::fabs(f(c));
    if (h <= tol) {
      out.satisfied.append(c);
    } else if (h > out.worstEquality) {
      out.worstEquality = h;
      out.worstEqualityIndex = c;
    }
  }
}

void screen(int inequalities, ConstVector f, Classification& lists) {
  constexpr double noScreening = 0.99;
  constexpr int fewest = 25;
  if (!(settings->grgParam1 <= noScreening && inequalities > fewest)) return;
  IndexList& kept = lists.kept;
  const int count = kept.count();
  // Kept: the larger entry overwrites the earlier one and then stands twice; which constraints
  // survive the cut depends on it.
  for (int i = 1; i <= count; ++i)
    for (int j = i + 1; j <= count; ++j)
      if (f(kept(j)) > f(kept(i))) kept.replaceAt(i, kept(j));
  const int active = lists.activeTotal;
  const double wanted = (count - active) * settings->grgParam1;
  const double share = std::isnan(wanted) ? 0.0 : std::clamp(wanted, -1.0 * count, 1.0 * count);
  kept.truncate(std::clamp(active + static_cast<int>(share), 0, count));
}

Objective chooseTarget(const Classification& lists, VectorView f) {
  if (lists.worstInequality > lists.worstEquality)
    return {lists.worstInequalityIndex, violatedInequality};
  const int32_t worst = lists.worstEqualityIndex;
  const Objective target{worst, f(worst) > 0.0 ? positiveEquality : negatedEquality};
  target.applyMode(f);
  return target;
}

bool flipIfOvershot(Objective& target, VectorView f) {
  if (!target.isEquality() || !(f(target.index) < -settings->convTol)) return false;
  target.mode = target.mode == negatedEquality ? positiveEquality : negatedEquality;
  target.negate(f);
  return true;
}

}  // namespace tarnix::core
