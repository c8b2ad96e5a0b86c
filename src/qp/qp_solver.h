#pragma once
// Dual active-set solver of the quadratic subproblem
//     min  g.d + d.Hd/2   subject to  a_r.d <= b_r  (r <= m1),  a_r.d = b_r  (m1 < r <= m),
//                                     dl <= d <= du  by bound code,
// with H positive definite (Goldfarb and Idnani 1983).

#include "qp/active_set.h"

namespace tarnix::core {

struct QpProblem {
  int n, m, m1;
  ConstMatrix A;
  const double* b;
  ConstMatrix H;  // only the upper triangle is read
  const double* g;
  const int32_t* codes;
  const double* dl;
  const double* du;
};

struct QpResult {
  double* d;           // (n) the step
  double* multiplier;  // (n) of the active rows
  int32_t* rows;       // (n) active rows, an equality under its own number
  int32_t& count;
};

enum class QpEnd { solved, noSolution, notPositiveDefinite, failure };

[[nodiscard]] QpEnd solveQp(const QpProblem& problem, const QpResult& result);

}  // namespace tarnix::core
