#pragma once
// What a solve minimizes, and how the feasibility phase of the reduced gradient method asks for it.

#include <cmath>
#include <cstdint>

#include "base/views.h"
#include "state/settings.h"

namespace tarnix::core {

enum FeasibilityMode : int32_t {
  optimizing = 0,
  violatedInequality = 1,
  positiveEquality = 2,
  negatedEquality = 3  // the stored value is negated, so that reducing it moves it towards zero
};

struct Objective {
  int32_t index = 0;  // position in f, 0 for none
  int32_t mode = optimizing;

  bool isEquality() const { return mode == positiveEquality || mode == negatedEquality; }

  // 0.0 - f and not -f: an entry of +0.0 stays +0.0.
  void negate(VectorView f) const { f(index) = 0.0 - f(index); }
  // A fresh function vector to the stored form, and back.
  void applyMode(VectorView f) const {
    if (mode == negatedEquality) negate(f);
  }
  // A violated constraint that is minimized has come within convTol.
  bool reached(ConstVector f) const {
    const double value = f(index), tol = settings->convTol;
    return (mode == violatedInequality && value <= tol) || std::fabs(value) <= tol;
  }
};

}  // namespace tarnix::core
