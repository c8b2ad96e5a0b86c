#pragma once
// Gradients of all rows at a design, the host's own or forward differences.

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "../result.hpp"
#include "evaluator.hpp"

namespace tarnix::detail {

struct GradientPass {
  std::vector<double> x;  // core point
  std::vector<double> f;  // core values
  std::vector<double> G;  // (n, rows), in variables that run over [-1, 1]

  double norm(std::size_t r) const {
    double square = 0;
    for (std::size_t i = 0; i < x.size(); ++i) square += G[r * x.size() + i] * G[r * x.size() + i];
    return std::sqrt(square);
  }
};

/// The step, of either sign, is in units of half the distances of the sides. It leads into the box,
/// or, where points are remembered and may lie outside, to where the methods look as well. May
/// throw EndSolve.
inline GradientPass gradientPass(const CoreProblem& c, Evaluator& evaluator, const Design& design,
                                 double step, bool keepInside) {
  GradientPass p;
  for (const std::size_t i : c.free) p.x.push_back(design.x[i]);
  p.f = evaluator.rowsOf(design);
  const std::size_t n = c.free.size(), m = c.rows.size();
  p.G.assign(n * m, std::numeric_limits<double>::quiet_NaN());
  evaluator.gradientAt(p.x.data(), p.G.data());
  std::vector<std::size_t> stepped;
  std::vector<double> steps, points;
  for (std::size_t i = 0; i < n; ++i) {
    bool given = true;
    for (std::size_t r = 0; r < m; ++r) {
      double& g = p.G[r * n + i];
      g *= c.half(i);
      given &= std::isfinite(g);
    }
    if (given) continue;
    std::vector<double> x = p.x;
    const double size = step * c.half(i);
    const bool mayLeave = evaluator.remembers() && !keepInside;
    const double to = p.x[i] + size;
    x[i] = mayLeave || (to <= c.upper[i] && to >= c.lower[i]) ? to : p.x[i] - size;
    stepped.push_back(i);
    steps.push_back((x[i] - p.x[i]) / c.half(i));
    points.insert(points.end(), x.begin(), x.end());
  }
  if (stepped.empty()) return p;
  const std::vector<double>& values = evaluator.measureAt(points);
  for (std::size_t k = 0; k < stepped.size(); ++k)
    for (std::size_t r = 0; r < m; ++r)
      if (double& g = p.G[r * n + stepped[k]]; !std::isfinite(g))
        g = (values[k * m + r] - p.f[r]) / steps[k];
  return p;
}

}  // namespace tarnix::detail
