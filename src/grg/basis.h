#pragma once
// The basis of the reduced gradient method: one dependent variable per constraint that is held, and
// the inverse of the Jacobian B(i, j) = d (row i) / d (dependent variable j) of those constraints,
// grown one row and column at a time by bordering.

#include "grg/lists.h"

namespace tarnix::core {

struct Basis {
  int n;
  IndexList independent;   // MIDV
  int32_t& nDep;
  int32_t* variables;      // MDDV: positions 1..nDep the dependent variables in row order, (n)
  IndexList rows;          // the constraints that are held, in row order
  int ld;                  // leading dimension of both matrices, and the room for rows
  double* inverse;         // XJINV
  double* jacobian;        // XJAC

  ConstIndex dependent() const { return {variables, nDep}; }
  MatrixView inverseBlock(int k) const { return {inverse, ld, k, k}; }
  MatrixView jacobianBlock(int k) const { return {jacobian, ld, k, k}; }
  int positionOf(int v) const;

  // Independent variable v becomes the dependent one of the new last row c, and back.
  void addDependent(int v, int c);
  void removeLastDependent();
  // Independent variable v takes the place of the dependent one at a position.
  void exchange(int position, int v);
  void fillJacobian(const Gradients& gradients);
};

// How well variable v suits as the dependent variable of constraint c: its sensitivity times a
// weight for its distance from the bound that it moves towards.
double dependentScore(int v, double sensitivity, const double* x, Box box, const double* moveDir);

struct BasisScratch {
  double* u;      // (n) the new column
  double* z;      // (n) the new row
  double* score;  // (n)
};

// Chooses a dependent variable for every row of both lists, in their order, and forms the inverse;
// rows for which no variable works are dropped. False when the work storage is exceeded.
[[nodiscard]] bool chooseBasis(ConstIndex rows1, ConstIndex rows2, const double* x, Box box,
                               const Gradients& gradients, const double* moveDir, Basis& basis,
                               BasisScratch scratch);

// Extends the inverse of order k by a corner a, a row z and a column u. False, with the inverse
// unchanged, when the pivot a - z . (inverse u) is within zeroTol of zero. w, y: work of length k.
[[nodiscard]] bool borderInverse(int k, double corner, const double* z, const double* u,
                                 double* inverse, int ld, double* w, double* y);

// The inverse of a given basis, by elimination with row interchanges. False, with its message, at a
// pivot within zeroTol of zero. w: work of length k.
[[nodiscard]] bool invertJacobian(int k, const double* jacobian, double* inverse, int ld,
                                  double* w);

// One Newton correction of the dependent variables from the values f at x, held within the box.
void correctDependents(const Basis& basis, const double* f, Box box, double* x);

// What exchanging the dependent variable at a position for independent variable v would take as its
// pivot: the factor by which it scales the determinant of the basis.
double pivotOf(const Basis& basis, int position, int v, const Gradients& gradients);

// The independent variable with the largest pivot times distance from its bounds; 0 when every pivot
// is within zeroTol of zero.
int exchangePartner(const Basis& basis, int position, const double* x, Box box,
                    const Gradients& gradients);

// Makes that exchange in the lists and in both matrices. column, w: work of length nDep.
void exchangeDependent(Basis& basis, int position, int entering, const Gradients& gradients,
                       double* column, double* w);

// JAC := JAC - r s'/(s's): Broyden's rank-one update (1965). Nothing when s's is within zeroTol.
void updateJacobian(MatrixView jacobian, const double* s, const double* r);

}  // namespace tarnix::core
