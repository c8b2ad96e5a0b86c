#include "grg/classification.h"

#include <algorithm>
#include <cmath>

#include "state/settings.h"

namespace tarnix::core {

void classify(ConstIndex inequalities, ConstIndex equalities, const double* f,
              Classification& out) {
  const double tol = settings->convTol;
  out.kept.clear();
  out.active.clear();
  out.satisfied.clear();
  for (const int32_t c : inequalities) {
    const double g = f[c - 1];
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
    const double h = std::fabs(f[c - 1]);
    if (h <= tol) {
      out.satisfied.append(c);
    } else if (h > out.worstEquality) {
      out.worstEquality = h;
      out.worstEqualityIndex = c;
    }
  }
}

void screen(int inequalities, const double* f, Classification& lists) {
  constexpr double noScreening = 0.99;
  constexpr int fewest = 25;
  if (!(settings->grgParam1 <= noScreening && inequalities > fewest)) return;
  IndexList& kept = lists.kept;
  const int count = kept.count();
  // Kept: the larger entry overwrites the earlier one and then stands twice; which constraints
  // survive the cut depends on it.
  for (int i = 1; i <= count; ++i)
    for (int j = i + 1; j <= count; ++j)
      if (f[kept(j) - 1] > f[kept(i) - 1]) kept.replaceAt(i, kept(j));
  const int active = lists.activeTotal;
  const double wanted = (count - active) * settings->grgParam1;
  const double share = std::isnan(wanted) ? 0.0 : std::clamp(wanted, -1.0 * count, 1.0 * count);
  kept.truncate(std::clamp(active + static_cast<int>(share), 0, count));
}

bool Target::reached(const double* f) const {
  const double tol = settings->convTol;
  const double value = f[index - 1];
  return (mode == violatedInequality && value <= tol) || std::fabs(value) <= tol;
}

void Target::choose(const Classification& lists, double* f) {
  if (lists.worstInequality > lists.worstEquality) {
    mode = violatedInequality;
    index = lists.worstInequalityIndex;
    return;
  }
  index = lists.worstEqualityIndex;
  mode = f[index - 1] > 0.0 ? positiveEquality : negatedEquality;
  if (mode == negatedEquality) negate(f);
}

bool Target::flipIfOvershot(double* f) {
  if (!equalityTarget(mode) || !(f[index - 1] < -settings->convTol)) return false;
  mode = mode == negatedEquality ? positiveEquality : negatedEquality;
  negate(f);
  return true;
}

}  // namespace tarnix::core
