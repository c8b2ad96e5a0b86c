#pragma once
// Sequential quadratic programming with an exact penalty merit function (Han 1977, Powell 1978).
// Per-constraint arrays hold the inequalities first, then the equalities, then (gradients) the
// objective. All variables are scaled.

#include <cstdint>

#include "base/views.h"

namespace tarnix::core {

enum class SqpEnd : int32_t {
  converged = 1,
  iterationLimit = 2,
  noQpSolution = 4,
  hessianNotPositiveDefinite = 5,
  qpFailure = 6,
  storage = 7,
  stopped = 8,
  meritNotChanging = 9
};

struct SqpProblem {
  VectorView x;             // (n) in: start, out: last accepted point
  VectorView f;             // (nfun) function vector
  int objective;            // its position in f
  ConstIndex inequalities;  // positions in f
  ConstIndex equalities;
  ConstVector lower;  // (n)
  ConstVector upper;  // (n)

  int n() const { return x.size(); }
  int constraints() const { return inequalities.size() + equalities.size(); }
  // One entry per constraint and per variable bound.
  int multipliers() const { return constraints() + 2 * n(); }
};

// The caller's arrays.
struct SqpArrays {
  VectorView lambda;         // (multipliers) by QP row
  VectorView weight;         // (multipliers) penalty weights, constraints only
  VectorView activeLambda;   // (multipliers) by position in the active set
  MatrixView G;              // (n, nfun) gradients
  VectorView rhs;            // (constraints) minus the constraint values
  MatrixView B;              // (n, n) Hessian of the Lagrangian
  VectorView gObj;           // (n) gradient of the objective
  VectorView d;              // (n) search direction
  VectorView xSaved;         // (n) the point before the line search
  VectorView dLower;         // (n) limits of d
  VectorView dUpper;         // (n)
  VectorView lagrangianOld;  // (n) gradients of the Lagrangian
  VectorView lagrangianNew;  // (n)
  VectorView s;              // (n) change of x
  VectorView y;              // (n) change of the gradient of the Lagrangian
  VectorView w1;             // (n) work of the update
  VectorView w2;             // (n)
  VectorView w3;             // (n)
  IndexVector active;        // (multipliers) active QP rows
  IndexVector column;        // (nfun) column of each function in G
  IndexVector codes;         // (n) bound codes
};

[[nodiscard]] SqpEnd runSqp(int maxIter, const SqpProblem& problem, const SqpArrays& arrays);

}  // namespace tarnix::core
