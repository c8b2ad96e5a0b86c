#pragma once
// What every part of the reduced gradient method shares: the box, the gradients with their column
// map, and the problem along one search direction.

#include "eval/evaluation.h"
#include "grg/basis.h"

namespace tarnix::core {

struct SearchProblem {
  Objective objective;
  VectorView x;
  VectorView f;
  Box box;
  Gradients gradients;
  ConstIndex kept;       // non-violated inequalities
  ConstIndex satisfied;  // equalities
  IndexVector tracked;   // LTRAK (m): 1 for each inequality that is held
  IndexList binding;     // MTRAK: those inequalities
  Basis basis;
  ConstVector dir;  // (n) direction, the tangent for dependent variables

  int n() const { return x.size(); }
  bool isTracked(int c) const { return tracked(c) == 1; }
  // Constraint c is held from here on; an equality target needs no place in the list.
  void hold(int c) {
    tracked(c) = 1;
    if (c != objective.index) binding.append(c);
  }
  double minimized() const { return f(objective.index); }
  // False, with nothing evaluated, where the point is not finite.
  [[nodiscard]] bool evaluateHere() const {
    for (const double xi : x)
      if (!std::isfinite(xi)) return false;
    evaluate(x, f, objective);
    return true;
  }
};

}  // namespace tarnix::core
