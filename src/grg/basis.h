#pragma once
// The basis of the reduced gradient method: one dependent (basic) variable per constraint that is
// held, and the inverse of the Jacobian J(i, j) = d (row i) / d (dependent variable j) of those
// constraints, grown one row and column at a time by bordering. The other variables are independent
// (nonbasic).

#include "grg/box.h"

namespace tarnix::core {

struct Basis {
  IndexList independent;  // MIDV
  int32_t& nDep;
  IndexVector variables;  // MDDV (n): positions 1..nDep the dependent variables in row order
  IndexList rows;         // the constraints that are held, in row order
  MatrixView Jinv;        // XJINV
  MatrixView J;           // XJAC, its order the room for rows

  int n() const { return variables.size(); }
  int room() const { return J.rows(); }
  ConstIndex dependent() const { return variables.head(nDep); }
  IndexVector candidates() const { return variables.part(nDep + 1, n() - nDep); }
  MatrixView inverseBlock(int k) const { return Jinv.block(k, k); }
  MatrixView jacobianBlock(int k) const { return J.block(k, k); }
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
double dependentScore(int v, double sensitivity, ConstVector x, const Box& box,
                      ConstVector moveDir);

struct BasisScratch {
  VectorView u;      // (n) the new column
  VectorView z;      // (n) the new row
  VectorView score;  // (n)
};

// Chooses a dependent variable for every row of both lists, in their order, and forms the inverse;
// rows for which no variable works are dropped. False when the work storage is exceeded.
[[nodiscard]] bool chooseBasis(ConstIndex rows1, ConstIndex rows2, ConstVector x, const Box& box,
                               const Gradients& gradients, ConstVector moveDir, Basis& basis,
                               BasisScratch scratch);

// Extends the inverse of order k, the leading block of Jinv, by a corner, a row z and a column u.
// False, with the inverse unchanged, when the pivot corner - z . (inverse u) is within zeroTol of
// zero. w, y: work of length k.
[[nodiscard]] bool borderInverse(int k, double corner, ConstVector z, ConstVector u,
                                 MatrixView Jinv, VectorView w, VectorView y);

// Jinv := J^-1 by elimination with row interchanges. False, with its message, at a pivot within
// zeroTol of zero. w: work of that order.
[[nodiscard]] bool invertJacobian(ConstMatrix J, MatrixView Jinv, VectorView w);

// One Newton correction of the dependent variables from the values f at x, held within the box.
void correctDependents(const Basis& basis, ConstVector f, const Box& box, VectorView x);

// What exchanging the dependent variable at a position for independent variable v would take as its
// pivot: the factor by which it scales the determinant of the basis.
double pivotOf(const Basis& basis, int position, int v, const Gradients& gradients);

// The independent variable with the largest pivot times distance from its bounds; 0 when every
// pivot is within zeroTol of zero.
int exchangePartner(const Basis& basis, int position, ConstVector x, const Box& box,
                    const Gradients& gradients);

// Makes that exchange in the lists and in both matrices. column, w: work of length nDep.
void exchangeDependent(Basis& basis, int position, int entering, const Gradients& gradients,
                       VectorView column, VectorView w);

// The first variable that works for a row may leave the basis almost singular, and its restoration
// helpless. Exchanges by the largest pivot, weighted by the room that the variables have, mend
// that. column, w: work of length nDep. True when there was one.
bool improveBasis(Basis& basis, ConstVector x, const Box& box, const Gradients& gradients,
                  VectorView column, VectorView w);

// J := J - r s'/(s's): Broyden's rank-one update (1965). Nothing when s's is within zeroTol.
void updateJacobian(MatrixView J, ConstVector s, ConstVector r);

}  // namespace tarnix::core
