#pragma once
// Quasi-Newton curvature: the damped BFGS update of a full symmetric Hessian approximation, its
// initial forms, and the secant update of an inverse Jacobian.

#include "base/views.h"

namespace tarnix::core {

struct UpdateWork {
  VectorView u, r, v;  // (n) each: H s, the damped gradient change, H's
};

// H := H - u v'/s'Hs + r r'/s'r with Powell's damping (1978). True when H has changed.
bool dampedUpdate(ConstVector s, ConstVector y, MatrixView H, const UpdateWork& work);

// max(mean |g(i)|, 0.001): the initial diagonal from the objective gradient.
double initialCurvature(ConstVector g);
// H := diagonal I; every element is written.
void setScaledIdentity(double diagonal, MatrixView H);

// B := B - u w'/delta, u = -B a, w = B'b, delta = b'(u + b): Broyden's secant update (1965) in its
// Sherman-Morrison form on the inverse. Nothing happens unless |delta| > zeroTol.
void updateInverse(MatrixView B, ConstVector a, ConstVector b, VectorView u, VectorView w);

}  // namespace tarnix::core
