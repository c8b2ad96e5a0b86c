#pragma once
// Where the variables are at a trial step: the independent ones on the search direction, the
// dependent ones by extrapolation. Steps are lengths along the direction.

#include "grg/box.h"

namespace tarnix::core {

// A point and the step at which it lies.
struct StepPoint {
  ConstVector x;
  double step;
};

// x(i) := base(i) + (step - base step) d(i), projected on the box, for the listed variables. True
// when there are any and every one was projected.
bool moveIndependent(ConstIndex variables, const Box& box, double step, ConstVector d, VectorView x,
                     const StepPoint& base);

// The first variable to reach a bound: its number (0 when none does) and the step there.
struct Blocking {
  int32_t variable = 0;
  double step = 0.0;
};

// Linear extrapolation of the listed variables from two points, or along the tangent dxdt when
// their steps are within zeroTol of each other; a prediction that reaches a bound is put on it.
Blocking predictDependent(ConstIndex variables, const Box& box, double step, ConstVector dxdt,
                          VectorView x, const StepPoint& base, const StepPoint& previous);

// The same from one point along the tangent. A second point one step back is made up for it in work
// (n): from two points the step that is reported is that of the bound, on the tangent alone it is
// not.
Blocking predictFrom(const StepPoint& from, ConstIndex variables, const Box& box, double step,
                     ConstVector tangent, VectorView x, VectorView work);

// Ratio test: the first of the listed variables to reach its bound when x moves along d.
Blocking firstBound(ConstIndex variables, ConstVector x, const Box& box, ConstVector d);
// The same over all variables.
Blocking firstBound(ConstVector x, const Box& box, ConstVector d);

}  // namespace tarnix::core
