#pragma once
// Dual active-set solver of the quadratic subproblem
//     min  g.d + d.Hd/2   subject to  a_r.d <= b_r  (r <= m1),  a_r.d = b_r  (m1 < r <= m),
//                                     dl <= d <= du  by bound code,
// with H positive definite (Goldfarb and Idnani 1983).

#include "qp/active_set.h"

namespace tarnix::core {

struct QpProblem {
  ConstMatrix A;     // (n, m) gradients of the general rows
  ConstVector b;     // (m)
  int m1;            // inequalities among them, which come first
  ConstMatrix H;     // (n, n) only the upper triangle is read
  ConstVector g;     // (n)
  ConstIndex codes;  // (n)
  ConstVector dl;    // (n)
  ConstVector du;    // (n)
};

struct QpResult {
  VectorView d;           // (n) the step
  VectorView multiplier;  // (n) of the active rows
  IndexList rows;         // at most n active rows, an equality under its own number
};

enum class QpEnd { solved, noSolution, notPositiveDefinite, failure };

[[nodiscard]] QpEnd solveQp(const QpProblem& problem, const QpResult& result);

}  // namespace tarnix::core
