#pragma once
// The problem of the running solve: the stored bounds, the callback record, and the two maps
// between physical and scaled variables. Each formula's order of operations is part of the results.

#include <tarnix/session.h>

#include "base/views.h"

namespace tarnix::core {

struct Problem {
  double lowerBound[VRK_MAX_VARIABLES];
  double upperBound[VRK_MAX_VARIABLES];
  VRK_analysis analysis;
  void* user;
  int32_t m1;  // size of the first constraint group: where the second one starts
};

// What a host has offered in addition to its analysis; a function is null where it has not.
struct Hooks {
  tarnix_batch batch;
  void* batchUser;
  tarnix_gradient gradient;
  void* gradientUser;
  tarnix_trace trace;
  void* traceUser;
};

// All of them work with the problem of the session in use.
// x := ((u - l) x + (u + l)) / 2, as every evaluation maps to physical units.
void toPhysical(VectorView x);
// x := (x - (u + l)/2) / ((u - l)/2), the way back.
void toScaled(VectorView x);
// x := (u - l)/2 x + (u + l)/2, as the final point returns to the caller.
// Kept: this is not the order of toPhysical, and the last bits may differ.
void unscaleResult(VectorView x);
// Physical change of variable i per unit of the scaled one.
double halfRange(int i);

// Each hands physical points to the host and leaves the thread's session as it was.
// Without a recorded callback f stays as it is.
void callAnalysis(VectorView x, VectorView f);
// Column k of F gets the values at column k of X. Only where the host has offered it.
void callBatch(ConstMatrix X, MatrixView F);
// The same for gradients (n, functions) in physical units, NaN where the host left them; false when
// it gave none here.
bool callGradient(ConstVector x, MatrixView gradients);

}  // namespace tarnix::core
