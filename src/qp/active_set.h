#pragma once
// The QP's problem data, its active set with the factor of N' H^-1 N, and the steps of the dual
// active-set method over them (Goldfarb and Idnani 1983). One row's residual is
//     c(d) = a . d - b  (general),   d(j) - du(j)  (upper),   dl(j) - d(j)  (lower),
// satisfied at c <= 0; an equality is a pair of opposite rows, partners that are never both active.

#include "base/index_list.h"
#include "base/views.h"
#include "qp/packed_factor.h"
#include "qp/rows.h"

namespace tarnix::core {

// Given, never written.
struct QpRows {
  ConstMatrix A;   // (n, m) gradients of the general rows
  ConstVector b;   // (m) right-hand sides
  int m1;          // inequalities among the general rows
  ConstVector dl;  // (n) lower limits of the step
  ConstVector du;  // (n) upper limits of the step
  RowNumbering row;

  int n() const { return A.rows(); }
  int m() const { return A.columns(); }
  int equalities() const { return m() > m1 ? m() - m1 : 0; }
  int count() const { return m() + row.bounds + equalities(); }
  int firstMirrored() const { return m() + row.bounds + 1; }
  // The equality behind a mirrored row.
  int equalityOf(int mirrored) const { return mirrored - row.bounds - m() + m1; }
};

struct ActiveSet {
  IndexList rows;         // IACT, at most n
  VectorView multiplier;  // XLAG, in the order of rows
  PackedUpper T;          // U'DU factor of N' H^-1 N
  MatrixView W;           // (n, n) column k = H^-1 (gradient of active row k)

  int count() const { return rows.count(); }
  bool full() const { return count() >= W.columns(); }
  // Column count()+1 of W and T belongs to the row that is about to be added.
  int bordering() const { return count() + 1; }
};

// d = -H^-1 g with the factor of H that it leaves in P. False when H is not positive definite.
[[nodiscard]] bool unconstrainedMinimizer(ConstMatrix H, ConstVector g, PackedUpper P,
                                          VectorView d);

// Residuals of all rows, and of one row with the same bits.
void residuals(const QpRows& qp, ConstVector d, VectorView res);
double residual(const QpRows& qp, int r, ConstVector d);

// The row to add: the largest residual above zeroTol among the rows that are neither active nor
// partner of an active row, the earliest of equals; 0 when there is none.
int mostViolated(int m, int m1, int nb, ConstVector res, const IndexList& active);

// Per unit multiplier of row p: z is the change of d, which holds the residuals of the active rows,
// and r the change of their multipliers. keepColumn says that the bordering column of W holds
// H^-1 n_p already.
void directions(const QpRows& qp, int p, ConstPacked P, const ActiveSet& active, bool keepColumn,
                VectorView r, VectorView z);
// n_p . z, not positive.
double slope(const QpRows& qp, int p, ConstVector z);
// Curvature of the quadratic along z, the bordering pivot of T; 0 when n rows are active.
double curvature(const ActiveSet& active);

struct DualStep {
  enum class Kind { none = 0, onlyPartial = 1, partial = 2, full = 3 };
  double step;
  Kind kind;
  int index;  // position to drop, or count + 1 for a full step
};
// The next step with the multipliers of the active rows and their change r; q = n_p . z.
DualStep dualStep(ConstVector multiplier, ConstVector r, double q, double curvature,
                  double violation);

// d += step z, up += step, multiplier += step r.
void takeStep(double step, ConstVector z, VectorView d, ConstVector r, VectorView multiplier,
              double& up);

// Forms the bordering column of T from W and the gradients.
void borderFactor(const QpRows& qp, int p, const ActiveSet& active);
// Appends row p, whose bordering columns stand in W and T. False with its message when the active
// set cannot take it.
[[nodiscard]] bool addRow(ActiveSet& active, int p, double up);
// Drops position k. The bordering column of W moves along.
void dropRow(ActiveSet& active, int k);

}  // namespace tarnix::core
