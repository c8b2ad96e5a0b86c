#pragma once
// Boxes for variables without bounds. The methods work on a box; where a bound is missing the layer
// invents a side, and moves it away while the answer lies on it.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include "../problem.hpp"
#include "text.hpp"
#include "translation.hpp"

namespace tarnix::detail {

class SearchBox {
 public:
  /// Invents the missing sides around a design.
  SearchBox(const Description& description, CoreProblem& core, const std::vector<double>& start)
      : d_(description), c_(core), half_(core.free.size(), 0.0), sides_(core.free.size()) {
    for (std::size_t i = 0; i < half_.size(); ++i)
      if (!bounded(i)) {
        half_[i] = natural(start[c_.free[i]]);
        place(i, start[c_.free[i]]);
      }
    first_ = half_;
  }

  bool invented() const {
    for (std::size_t i = 0; i < half_.size(); ++i)
      if (!bounded(i)) return true;
    return false;
  }

  enum class Answer { inside, moved, ranAway };

  /// Looks at where a stage has ended, a design. Moved: the answer is not final, for it lies on an
  /// invented side, or in a box that is far too wide for its size, or the method broke down, which
  /// a wide box leads to; the stage is to be repeated in a better one. The point runs away when the
  /// widest box has been reached.
  Answer follow(const std::vector<double>& design, bool brokeDown) {
    const bool onSide = isOnSide(design);
    bool moved = false;
    for (std::size_t i = 0; i < half_.size(); ++i) {
      if (bounded(i)) continue;
      const double x = design[c_.free[i]];
      if (isFar(i) && (brokeDown || (touches(i, x) && half_[i] > widest * first_[i])))
        return Answer::ranAway;
      if (onSide && touches(i, x))
        half_[i] *= growth;
      else if (brokeDown)
        half_[i] /= growth;
      else if (!onSide && half_[i] > 2 * natural(x))
        half_[i] = natural(x);
      else
        continue;
      place(i, x);
      moved = true;
    }
    if (!moved || ++moves_ > mostMoves) return onSide ? Answer::ranAway : Answer::inside;
    return Answer::moved;
  }

  bool isOnSide(const std::vector<double>& design) const {
    for (std::size_t i = 0; i < half_.size(); ++i)
      if (touches(i, design[c_.free[i]])) return true;
    return false;
  }

  /// "x = 1e+06, y = -3e+06": the variables that went far, or lie on an invented side.
  std::string runaways(const std::vector<double>& design) const {
    std::string text;
    for (std::size_t i = 0; i < half_.size(); ++i)
      if (isFar(i) || touches(i, design[c_.free[i]]))
        text += (text.empty() ? "" : ", ") + d_.variables[c_.free[i]].name + " = " +
                number(design[c_.free[i]]);
    return text;
  }

 private:
  static constexpr double growth = 10;
  static constexpr double widest = 1e5;  // in units of the first box
  static constexpr int mostMoves = 20;

  struct Sides {
    bool lower = false, upper = false;  // invented ones
  };

  const Description::VariableData& variable(std::size_t i) const {
    return d_.variables[c_.free[i]];
  }
  bool bounded(std::size_t i) const {
    return std::isfinite(variable(i).lower) && std::isfinite(variable(i).upper);
  }
  bool isFar(std::size_t i) const { return !bounded(i) && half_[i] >= 100 * first_[i]; }
  static double natural(double x) { return 10 * std::max(1.0, std::abs(x)); }

  bool touches(std::size_t i, double x) const {
    constexpr double close = 1e-3;
    return (sides_[i].lower && x - c_.lower[i] <= close * c_.half(i)) ||
           (sides_[i].upper && c_.upper[i] - x <= close * c_.half(i));
  }

  void place(std::size_t i, double middle) {
    const auto& v = variable(i);
    sides_[i] = {middle - half_[i] > v.lower, middle + half_[i] < v.upper};
    c_.setBox(i, std::max(middle - half_[i], v.lower), std::min(middle + half_[i], v.upper));
  }

  const Description& d_;
  CoreProblem& c_;
  std::vector<double> half_;  // of the boxes of variables without a bound
  std::vector<double> first_;
  std::vector<Sides> sides_;
  int moves_ = 0;
};

}  // namespace tarnix::detail
