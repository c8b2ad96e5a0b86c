#pragma once
// Points from which a solve may begin as well.

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "translation.hpp"

namespace tarnix::detail {

/// Core points, one column each, the same for every solve: the start mirrored in the box, the
/// center, then a Latin hypercube.
inline std::vector<double> furtherStarts(const CoreProblem& c, const std::vector<double>& start,
                                         std::size_t count) {
  const std::size_t n = c.free.size();
  std::vector<double> points(n * count);
  for (std::size_t i = 0; i < n; ++i) {
    points[i] = c.lower[i] + (c.upper[i] - start[i]);
    if (count > 1) points[n + i] = c.lower[i] + c.half(i);
  }
  constexpr std::size_t fixed = 2;
  if (count <= fixed) return points;
  const std::size_t cells = count - fixed;
  std::uint64_t state = 1;
  const auto random = [&state] {  // splitmix64
    std::uint64_t z = state += 0x9e3779b97f4a7c15u;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
  };
  std::vector<std::size_t> cell(cells);
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t k = 0; k < cells; ++k) {
      const std::size_t j = random() % (k + 1);
      cell[k] = cell[j];
      cell[j] = k;
    }
    for (std::size_t k = 0; k < cells; ++k) {
      const double within = static_cast<double>(random() >> 11) / 9007199254740992.0;
      const double share = (static_cast<double>(cell[k]) + within) / static_cast<double>(cells);
      points[(fixed + k) * n + i] = c.lower[i] + share * (c.upper[i] - c.lower[i]);
    }
  }
  return points;
}

}  // namespace tarnix::detail
