#pragma once
// The first step of a warm start: to where the limits are now, as far as the old gradients tell.

#include <tarnix/routines.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "../options.hpp"
#include "session.hpp"
#include "translation.hpp"

namespace tarnix::detail {

/// The shortest step, in half ranges, that brings the rows with multipliers to their limits, and
/// the others not beyond them, within the sides. Returns the core point there; x itself where the
/// limits contradict each other, or no gradients are known.
inline std::vector<double> warmStep(const CoreProblem& c, const Session& session,
                                    const WarmStart& warm) {
  const std::size_t n = c.free.size(), nv = c.all.size();
  std::vector<double> x;
  for (std::size_t i = 0; i < n; ++i)
    x.push_back(std::min(std::max(warm.x[c.free[i]], c.lower[i]), c.upper[i]));
  if (warm.jacobian.empty()) return x;
  std::vector<double> A, b;
  std::int32_t inequalities = 0;
  const auto add = [&](std::size_t r, double sign) {
    const CoreProblem::Row& row = c.rows[r];
    std::vector<double> a(n);
    double square = 0, value = row.of(warm.values[row.function]);
    for (std::size_t i = 0; i < n; ++i) {
      const double g = row.factor * warm.jacobian[row.function * nv + c.free[i]];
      value += g * (x[i] - warm.x[c.free[i]]);
      a[i] = sign * g * c.half(i);
      square += a[i] * a[i];
    }
    const double length = std::sqrt(square);
    if (!(length > 0) || !std::isfinite(value)) return;
    for (double& v : a) v /= length;
    A.insert(A.end(), a.begin(), a.end());
    b.push_back(-sign * value / length);
  };
  const auto firstInequality = 1 + static_cast<std::size_t>(c.equalities);
  for (std::size_t r = firstInequality; r < c.rows.size(); ++r) add(r, 1);
  // A limit with a multiplier of its sign stays active.
  for (std::size_t r = firstInequality; r < c.rows.size(); ++r)
    if (const double m = warm.multipliers[c.rows[r].function] * c.rows[r].factor * c.rows[0].factor;
        m < 0)
      add(r, -1);
  inequalities = static_cast<std::int32_t>(b.size());
  for (std::size_t r = 1; r < firstInequality; ++r) add(r, 1);
  const auto size = static_cast<std::int32_t>(n), m = static_cast<std::int32_t>(b.size());
  std::vector<double> H(n * n), g(n), low(n), high(n), d(n), multiplier(n);
  for (std::size_t i = 0; i < n; ++i) {
    H[i * n + i] = 1;
    low[i] = (c.lower[i] - x[i]) / c.half(i);
    high[i] = (c.upper[i] - x[i]) / c.half(i);
  }
  std::vector<std::int32_t> codes(n, 1), active(n);
  std::int32_t nActive = 0, noSolution = 0, notPosDef = 0, failure = 0;
  const Session::Use use(session);
  VRK_setDefaults();
  session.settings().dblStorageCapacity = VRK_DBL_STORAGE_LIMIT;
  session.settings().intStorageCapacity = VRK_INT_STORAGE_LIMIT;
  QPSOLV(&size, &m, &inequalities, A.data(), &size, b.data(), H.data(), &size, g.data(),
         codes.data(), low.data(), high.data(), d.data(), multiplier.data(), active.data(),
         &nActive, &noSolution, &notPosDef, &failure);
  if (noSolution || notPosDef || failure) return x;
  for (std::size_t i = 0; i < n; ++i) x[i] += d[i] * c.half(i);
  c.clip(x.data());
  return x;
}

}  // namespace tarnix::detail
