#pragma once
// U'DU factor of a symmetric positive definite matrix in packed upper storage, square-root free:
// the pivots d(k) on the diagonal, the unit upper triangle U above it.

#include "base/views.h"

namespace tarnix::core {

// Reduces column k against the factor in columns 1..k-1: U(1..k-1, k) and the pivot d(k). The pivot
// is not tested.
void reduceColumn(PackedUpper P, int k);

// Factors the columns from k0 on; those before hold a factor already. False at the first pivot that
// is below zeroTol or not a number: that column is left reduced, the later ones untouched.
[[nodiscard]] bool factorColumns(PackedUpper P, int k0);

// All columns, several side by side; the same bits. On failure the later columns are undefined.
[[nodiscard]] bool factorWhole(PackedUpper P);

// x := (U'DU)^-1 x for as many leading columns as x has entries. Those before firstNonzero are
// zero.
void solveFactored(ConstPacked P, VectorView x, int firstNonzero = 1);

// The parts of that solve: x := U'^-1 x and x := U^-1 x.
void solveTransposed(ConstPacked P, VectorView x, int firstNonzero = 1);
void solveUnitUpper(ConstPacked P, VectorView x);

// The factor of the matrix without row and column k of n. Deleting row k of U leaves a rank-one
// term d(k) u u' to be worked into the columns behind it (Gill, Golub, Murray and Saunders 1974);
// the columns before k stay. work holds at least n - k doubles.
void deleteRow(PackedUpper P, int n, int k, VectorView work);

}  // namespace tarnix::core
