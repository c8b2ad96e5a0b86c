#include "grg/prediction.h"

#include <cmath>

#include "state/settings.h"

namespace tarnix::core {

bool moveIndependent(ConstIndex variables, Box box, double alpha, const double* d, double* x,
                     StepPoint base) {
  const double change = alpha - base.step;
  int projected = 0;
  for (const int32_t i : variables) {
    const double v = d[i - 1] * change + base.x[i - 1];
    if (v > box.upperOf(i) || v < box.lowerOf(i)) ++projected;
    x[i - 1] = box.clip(i, v);
  }
  return variables.size() > 0 && projected == variables.size();
}

namespace {

struct Prediction {
  double value;
  double boundStep;  // where the prediction meets a bound
};

Prediction extrapolated(int i, Box box, double alpha, StepPoint base, StepPoint previous) {
  const double zeroTol = settings->zeroTol;
  const double slope = (base.x[i - 1] - previous.x[i - 1]) / (base.step - previous.step);
  const double intercept = base.x[i - 1] - base.step * slope;
  double boundStep = settings->bigValue;
  if (slope > zeroTol)
    boundStep = (box.upperOf(i) - intercept) / slope;
  else if (slope < -zeroTol)
    boundStep = (box.lowerOf(i) - intercept) / slope;
  return {alpha * slope + intercept, boundStep};
}

// Kept: on the tangent the step is where the value reaches zero, not a bound.
Prediction onTangent(int i, double alpha, const double* dxdt, StepPoint base) {
  const double slope = dxdt[i - 1];
  const double value = (alpha - base.step) * slope + base.x[i - 1];
  const double zeroStep = std::fabs(slope) > settings->zeroTol
                              ? (0.0 - base.x[i - 1]) / slope + base.step
                              : settings->bigValue;
  return {value, zeroStep};
}

}  // namespace

Blocking predictDependent(ConstIndex variables, Box box, double alpha, const double* dxdt,
                          double* x, StepPoint base, StepPoint previous) {
  const double zeroTol = settings->zeroTol;
  const bool twoPoints = std::fabs(base.step - previous.step) > zeroTol;
  Blocking first{0, settings->bigValue};
  double shortest = settings->bigValue;
  for (const int32_t i : variables) {
    const Prediction p = twoPoints ? extrapolated(i, box, alpha, base, previous)
                                   : onTangent(i, alpha, dxdt, base);
    if (p.value >= box.upperOf(i) - zeroTol) {
      x[i - 1] = box.upperOf(i);
    } else if (box.lowerOf(i) + zeroTol >= p.value) {
      x[i - 1] = box.lowerOf(i);
    } else {
      x[i - 1] = p.value;
      continue;
    }
    if (shortest > p.boundStep) {
      first = {i, p.boundStep};
      shortest = p.boundStep;
    }
  }
  return first;
}

Blocking predictFrom(StepPoint from, ConstIndex variables, Box box, double alpha,
                     const double* tangent, double* x, double* work) {
  for (const int32_t i : variables) work[i - 1] = from.x[i - 1] - tangent[i - 1];
  return predictDependent(variables, box, alpha, tangent, x, from, {work, from.step - 1.0});
}

namespace {

void meetBound(int32_t i, const double* x, Box box, const double* d, Blocking& first) {
  const double speed = d[i - 1];
  if (!(std::fabs(speed) > settings->zeroTol)) return;
  const double bound = speed > 0.0 ? box.upperOf(i) : box.lowerOf(i);
  const double step = (bound - x[i - 1]) / speed;
  if (step < first.step) first = {i, step};
}

}  // namespace

Blocking firstBound(ConstIndex variables, const double* x, Box box, const double* d) {
  Blocking first{0, settings->bigValue};
  for (const int32_t i : variables) meetBound(i, x, box, d, first);
  return first;
}

Blocking firstBound(int n, const double* x, Box box, const double* d) {
  Blocking first{0, settings->bigValue};
  for (int32_t i = 1; i <= n; ++i) meetBound(i, x, box, d, first);
  return first;
}

}  // namespace tarnix::core
