#pragma once
// U'DU factor of a symmetric positive definite matrix in packed upper storage, square-root free:
// the pivots d(k) on the diagonal, the unit upper triangle U above it.

#include "base/views.h"

namespace tarnix::core {

// Reduces column k against the factor in columns 1..k-1: U(1..k-1, k) and the pivot d(k). The pivot
// is not tested.
void reduceColumn(PackedUpper P, int k);

// Factors columns k0..n; columns before k0 hold a factor already. False at the first pivot that is
// below zeroTol or not a number: that column is left reduced, the later ones untouched.
[[nodiscard]] bool factorColumns(PackedUpper P, int n, int k0);

// All columns, several side by side; the same bits. On failure the later columns are undefined.
[[nodiscard]] bool factorWhole(PackedUpper P, int n);

// x := (U'DU)^-1 x for the leading n columns. The entries of x before firstNonzero are zero.
void solveFactored(ConstPacked P, double* x, int n, int firstNonzero = 1);

// The parts of that solve: x := U'^-1 x and x := U^-1 x.
void solveTransposed(ConstPacked P, double* x, int n, int firstNonzero = 1);
void solveUnitUpper(ConstPacked P, double* x, int n);

// The factor of the matrix without row and column k of n. Deleting row k of U leaves a rank-one
// term d(k) u u' to be worked into the columns behind it (Gill, Golub, Murray and Saunders 1974);
// the columns before k stay. work holds n - k doubles.
void deleteRow(PackedUpper P, int n, int k, double* work);

}  // namespace tarnix::core
