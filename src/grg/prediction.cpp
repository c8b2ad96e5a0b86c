#include "grg/prediction.h"

#include <cmath>

#include "state/settings.h"

namespace tarnix::core {

bool moveIndependent(ConstIndex variables, const Box& box, double step, ConstVector d, VectorView x,
                     const StepPoint& base) {
  const double change = step - base.step;
  int projected = 0;
  for (const int32_t i : variables) {
    const double v = d(i) * change + base.x(i);
    if (v > box.upper(i) || v < box.lower(i)) ++projected;
    x(i) = box.clip(i, v);
  }
  return variables.size() > 0 && projected == variables.size();
}

namespace {

struct Prediction {
  double value;
  double boundStep;  // where the prediction meets a bound
};

Prediction extrapolated(int i, const Box& box, double step, const StepPoint& base,
                        const StepPoint& previous) {
  const double zeroTol = settings->zeroTol;
  const double slope = (base.x(i) - previous.x(i)) / (base.step - previous.step);
  const double intercept = base.x(i) - base.step * slope;
  double boundStep = settings->bigValue;
  if (slope > zeroTol)
    boundStep = (box.upper(i) - intercept) / slope;
  else if (slope < -zeroTol)
    boundStep = (box.lower(i) - intercept) / slope;
  return {step * slope + intercept, boundStep};
}

// Kept: on the tangent the step is where the value reaches zero, not a bound.
Prediction onTangent(int i, double step, ConstVector dxdt, const StepPoint& base) {
  const double slope = dxdt(i);
  const double value = (step - base.step) * slope + base.x(i);
  const double zeroStep = std::fabs(slope) > settings->zeroTol
                              ? (0.0 - base.x(i)) / slope + base.step
                              : settings->bigValue;
  return {value, zeroStep};
}

}  // namespace

Blocking predictDependent(ConstIndex variables, const Box& box, double step, ConstVector dxdt,
                          VectorView x, const StepPoint& base, const StepPoint& previous) {
  const double zeroTol = settings->zeroTol;
  const bool twoPoints = std::fabs(base.step - previous.step) > zeroTol;
  Blocking first{0, settings->bigValue};
  double shortest = settings->bigValue;
  for (const int32_t i : variables) {
    const Prediction p =
        twoPoints ? extrapolated(i, box, step, base, previous) : onTangent(i, step, dxdt, base);
    if (p.value >= box.upper(i) - zeroTol) {
      x(i) = box.upper(i);
    } else if (box.lower(i) + zeroTol >= p.value) {
      x(i) = box.lower(i);
    } else {
      x(i) = p.value;
      continue;
    }
    if (shortest > p.boundStep) {
      first = {i, p.boundStep};
      shortest = p.boundStep;
    }
  }
  return first;
}

Blocking predictFrom(const StepPoint& from, ConstIndex variables, const Box& box, double step,
                     ConstVector tangent, VectorView x, VectorView work) {
  for (const int32_t i : variables) work(i) = from.x(i) - tangent(i);
  return predictDependent(variables, box, step, tangent, x, from, {work, from.step - 1.0});
}

namespace {

void meetBound(int32_t i, ConstVector x, const Box& box, ConstVector d, Blocking& first) {
  const double speed = d(i);
  if (!(std::fabs(speed) > settings->zeroTol)) return;
  const double bound = speed > 0.0 ? box.upper(i) : box.lower(i);
  const double step = (bound - x(i)) / speed;
  if (step < first.step) first = {i, step};
}

}  // namespace

Blocking firstBound(ConstIndex variables, ConstVector x, const Box& box, ConstVector d) {
  Blocking first{0, settings->bigValue};
  for (const int32_t i : variables) meetBound(i, x, box, d, first);
  return first;
}

Blocking firstBound(ConstVector x, const Box& box, ConstVector d) {
  Blocking first{0, settings->bigValue};
  for (int32_t i = 1; i <= x.size(); ++i) meetBound(i, x, box, d, first);
  return first;
}

}  // namespace tarnix::core
