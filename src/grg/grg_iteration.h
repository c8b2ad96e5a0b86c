#pragma once
// The generalized reduced gradient iteration (Abadie and Carpentier 1969; Lasdon, Waren, Jain and
// Ratner 1978), its direction from a quadratic subproblem. All variables are scaled.

#include "grg/lists.h"

namespace tarnix::core {

struct GrgProblem {
  int n;
  double* x;                // (n) in: start, out: last accepted point
  Box box;
  int m;
  double* f;                // (m) values at x
  int objective;            // its position in f
  ConstIndex equalities;    // positions in f
  ConstIndex inequalities;
};

// Persistent arrays of one solve.
struct GrgArrays {
  double* gObj;             // GRADOB (n) gradient of what the iteration minimises
  double* lagrangianOld;    // GRADLO (n)
  double* lagrangian;       // GRADL (n)
  double* multiplier;       // XLAG (n)
  double* hessian;          // (n, n)
  double* xOld;             // (n) point before the last search
  double* s;                // (n) change of the point
  double* y;                // (n) change of the gradient of the Lagrangian
  double* d;                // SEARCH DIRECTION (n)
  int32_t* kept;            // (inequalities) non-violated inequalities
  int32_t* active;          // (min(n, inequalities))
  int32_t* satisfied;       // (equalities)
  int32_t* columns;         // LISDF (m) column of each function in the gradient matrix
  int32_t* activeRows;      // IACT (n) active rows of the subproblem
};

// Status of a solve; 0 when errorFlag has ended it.
int32_t runGrg(int maxIter, const GrgProblem& problem, const GrgArrays& arrays);

// The iteration over the static work storage. False, with the status not set, when errorFlag is set.
[[nodiscard]] bool solveGrg(int maxIter, const GrgProblem& problem, int32_t& status);

// The quadratic subproblem of the iteration.
enum class DirectionEnd : int32_t {
  solved = 0,
  noSolution = 8,
  notPositiveDefinite = 9,
  failure = 10,
  storage = 11  // errorFlag is set
};

struct Subproblem {
  int n;
  const double* x;
  Box box;
  const double* f;
  ConstIndex kept, satisfied;
  const double* G;
  const double* hessian;
  const double* gObj;
};

[[nodiscard]] DirectionEnd findDirection(const Subproblem& qp, double* d, double* multiplier,
                                         int32_t* activeRows, int32_t& nact);

}  // namespace tarnix::core
