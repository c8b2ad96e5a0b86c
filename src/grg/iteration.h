#pragma once
// The generalized reduced gradient iteration (Abadie and Carpentier 1969; Lasdon, Waren, Jain and
// Ratner 1978), its direction from a quadratic subproblem. All variables are scaled.

#include "eval/objective.h"
#include "grg/box.h"

namespace tarnix::core {

enum class GrgEnd : int32_t {
  error = 0,  // errorFlag is set
  converged = 1,
  minimumStep = 2,
  objectiveStalled = 3,
  noFeasiblePoint = 4,
  infeasibilityStalled = 5,
  iterationLimit = 6,
  noQpSolution = 8,
  qpFailure = 10,
  stopped = 12
};

struct GrgProblem {
  VectorView x;  // (n) in: start, out: last accepted point
  Box box;
  VectorView f;           // (m) values at x
  int objective;          // its position in f
  ConstIndex equalities;  // positions in f
  ConstIndex inequalities;
};

// Persistent arrays of one solve.
struct GrgArrays {
  VectorView gObj;           // GRADOB (n) gradient of what the iteration minimizes
  VectorView lagrangianOld;  // GRADLO (n)
  VectorView lagrangian;     // GRADL (n)
  VectorView multiplier;     // XLAG (n)
  MatrixView hessian;        // (n, n)
  VectorView xOld;           // (n) point before the last search
  VectorView s;              // (n) change of the point
  VectorView y;              // (n) change of the gradient of the Lagrangian
  VectorView d;              // SEARCH DIRECTION (n)
  IndexVector kept;          // (inequalities) non-violated inequalities
  IndexVector active;        // (min(n, inequalities))
  IndexVector satisfied;     // (equalities)
  IndexVector columns;       // LISDF (m) column of each function in the gradient matrix
  IndexVector activeRows;    // IACT (n) active rows of the subproblem
};

[[nodiscard]] GrgEnd runGrg(int maxIter, const GrgProblem& problem, const GrgArrays& arrays);

}  // namespace tarnix::core
