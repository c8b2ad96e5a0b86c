#pragma once
// Derivatives that the host fills, against central differences.

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "../problem.hpp"
#include "evaluator.hpp"
#include "text.hpp"

namespace tarnix::detail {

class GradientCheck {
 public:
  /// The step is in units of half the distances of the sides.
  GradientCheck(const Description& description, const CoreProblem& core, double step,
                Evaluator& evaluator)
      : d_(description), c_(core), step_(step), evaluator_(evaluator) {}

  /// One issue for each derivative that differs, near a core point: all evaluations are in the box.
  std::vector<Issue> at(std::vector<double> x) {
    const std::size_t n = c_.free.size(), m = c_.rows.size();
    for (std::size_t i = 0; i < n; ++i) {
      const double step = step_ * c_.half(i);
      x[i] = std::min(std::max(x[i], c_.lower[i] + step), c_.upper[i] - step);
    }
    std::vector<double> G(n * m, std::numeric_limits<double>::quiet_NaN()), points;
    if (!evaluator_.gradientAt(x.data(), G.data())) return {};
    for (std::size_t i = 0; i < n; ++i)
      for (const double sign : {1.0, -1.0}) {
        points.insert(points.end(), x.begin(), x.end());
        points[points.size() - n + i] += sign * step_ * c_.half(i);
      }
    const std::vector<double>& values = evaluator_.measureAt(points);
    std::vector<Issue> issues;
    for (std::size_t r = 0; r < m; ++r) {
      // A range makes two rows of one function.
      if (r > 0 && c_.rows[r].function == c_.rows[r - 1].function) continue;
      for (std::size_t i = 0; i < n; ++i) {
        const double above = values[2 * i * m + r], below = values[(2 * i + 1) * m + r];
        const double found = (above - below) / (2 * step_);
        compare(r, i, G[r * n + i] * c_.half(i), found, std::max(std::abs(above), 1.0), issues);
      }
    }
    return issues;
  }

 private:
  /// Both in core units: changes of the function, in its scales, over half the range.
  void compare(std::size_t r, std::size_t i, double given, double found, double size,
               std::vector<Issue>& issues) const {
    constexpr double relative = 1e-3, absolute = 1e-5;
    const double allowed = relative * std::max(std::abs(given), std::abs(found)) + absolute * size;
    if (!std::isfinite(given) || !std::isfinite(found) || std::abs(given - found) <= allowed)
      return;
    const std::string& function = d_.functions[c_.rows[r].function].name;
    const std::string& variable = d_.variables[c_.free[i]].name;
    const double unit = 1 / (c_.rows[r].factor * c_.half(i));
    issues.push_back({function, "the derivative of '" + function + "' by '" + variable +
                                    "' is given as " + number(given * unit) +
                                    ", central differences at the start give " +
                                    number(found * unit)});
  }

  const Description& d_;
  const CoreProblem& c_;
  const double step_;
  Evaluator& evaluator_;
};

}  // namespace tarnix::detail
