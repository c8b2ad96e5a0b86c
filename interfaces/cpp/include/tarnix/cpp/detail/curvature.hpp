#pragma once
// Whether what is left of the slope at a point is worth anything, by second differences.

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "tuning.hpp"

namespace tarnix::detail {

/// Newton's estimate of how far a function still falls, from its gradient g and its second
/// derivatives H (n, n); infinite where H is not positive definite.
inline double newtonFall(std::vector<double> H, std::vector<double> g) {
  const std::size_t n = g.size();
  double fall = 0;
  // H = L D L', and g becomes the solution of L y = g: the fall is y'D^-1 y / 2.
  for (std::size_t k = 0; k < n; ++k) {
    const double pivot = H[k * n + k];
    if (!(pivot > 0)) return std::numeric_limits<double>::infinity();
    fall += g[k] * g[k] / (2 * pivot);
    for (std::size_t i = k + 1; i < n; ++i) {
      const double factor = H[i * n + k] / pivot;
      g[i] -= factor * g[k];
      for (std::size_t j = k + 1; j < n; ++j) H[i * n + j] -= factor * H[k * n + j];
    }
  }
  return fall;
}

/// Second derivatives of a function at x by the variables in `free`, from values at points within a
/// step of the box [lower, upper], in units of half. `at` returns the function at a point.
template <class Function>
std::vector<double> secondDerivatives(const std::vector<double>& x,
                                      const std::vector<std::size_t>& free,
                                      const std::vector<double>& step, Function at) {
  const std::size_t k = free.size();
  std::vector<double> H(k * k), single(k), moved = x;
  const double here = at(x);
  for (std::size_t a = 0; a < k; ++a) {
    moved[free[a]] = x[free[a]] + step[a];
    single[a] = at(moved);
    moved[free[a]] = x[free[a]] + 2 * step[a];
    H[a * k + a] = at(moved) - 2 * single[a] + here;
    moved[free[a]] = x[free[a]];
  }
  for (std::size_t a = 0; a < k; ++a)
    for (std::size_t b = 0; b < a; ++b) {
      moved[free[a]] = x[free[a]] + step[a];
      moved[free[b]] = x[free[b]] + step[b];
      H[a * k + b] = H[b * k + a] = at(moved) - single[a] - single[b] + here;
      moved[free[a]] = x[free[a]];
      moved[free[b]] = x[free[b]];
    }
  return H;
}

}  // namespace tarnix::detail
