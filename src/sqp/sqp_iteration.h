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
  int n;
  double* x;                      // (n) in: start, out: last accepted point
  int nfun;
  double* f;                      // (nfun) function vector
  int objective;                  // its position in f
  ConstIndex inequalities;        // positions in f
  ConstIndex equalities;
  const double* lower;            // (n)
  const double* upper;            // (n)

  int constraints() const { return inequalities.size() + equalities.size(); }
  // One entry per constraint and per variable bound.
  int multipliers() const { return constraints() + 2 * n; }
};

// The caller's arrays; the lengths are those of SqpProblem.
struct SqpArrays {
  double* lambda;          // (multipliers) by QP row
  double* weight;          // (multipliers) penalty weights, constraints only
  double* activeLambda;    // (multipliers) by position in the active set
  double* G;               // (n, nfun) gradients
  double* rhs;             // (constraints) minus the constraint values
  double* B;               // (n, n) Hessian of the Lagrangian
  double* gObj;            // (n) and all below
  double* d;
  double* xSaved;
  double* dLower;
  double* dUpper;
  double* lagrangianOld;
  double* lagrangianNew;
  double* dvdel;
  double* gradel;
  double* w1;
  double* w2;
  double* w3;
  int32_t* active;         // (multipliers) active QP rows
  int32_t* column;         // (nfun) column of each function in G
  int32_t* codes;          // (n) bound codes
};

[[nodiscard]] SqpEnd runSqp(int maxIter, const SqpProblem& problem, const SqpArrays& arrays);

}  // namespace tarnix::core
