#pragma once
// The parabola of the line search, one rule for the search and for its exported form.

namespace tarnix {

// Minimiser in [0, a2] of the parabola through (a1, f1) with slope g1 and through (a2, f2); 0 when
// its curvature c is within zeroTol of zero.
double parabolaStep(double a1, double a2, double f1, double f2, double g1);

}  // namespace tarnix
