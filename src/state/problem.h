#pragma once
// The problem of the running solve: the stored bounds, the callback record, and the two maps between
// physical and scaled variables. Each formula's order of operations is part of the results.

#include <tarnix/tarnix.h>

namespace tarnix::core {

struct Problem {
  double lowerBound[VRK_MAX_VARIABLES];
  double upperBound[VRK_MAX_VARIABLES];
  VRK_analysis analysis;
  void* user;
  int32_t m1;  // size of the first constraint group: where the second one starts
};

// All of them work with the problem of the session in use.
// x := ((u - l) x + (u + l)) / 2, as every evaluation maps to physical units.
void toPhysical(int n, double* x);
// x := (x - (u + l)/2) / ((u - l)/2), the way back.
void toScaled(int n, double* x);
// x := (u - l)/2 x + (u + l)/2, as the final point returns to the caller.
// Kept: this is not the order of toPhysical, and the last bits may differ.
void unscaleResult(int n, double* x);

// Hands x (physical) to the recorded callback; without one f stays as it is.
void callAnalysis(double* x, double* f);

}  // namespace tarnix::core
