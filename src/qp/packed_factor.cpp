#include "qp/packed_factor.h"

#include <algorithm>

#include "api/settings.h"
#include "qp/kernels.h"

namespace tarnix {

namespace {

// x(i) -= sum over l < i of U(l, i) x(l), for i = first..last in increasing order. Sums start at row
// start, before which x is zero. Four columns share one pass over the x that is already known.
void forwardSubstitute(ConstPacked P, double* x, int first, int last, int start) {
  int i = first;
  for (; i + 3 <= last; i += 4) {
    const double* column[4];
    double sum[4];
    for (int c = 0; c < 4; ++c) column[c] = P.column(i + c) + (start - 1);
    dot4(column, x + (start - 1), i - start, sum);
    for (int c = 0; c < 4; ++c) {
      double v = x[i + c - 1] - sum[c];
      for (int l = 0; l < c; ++l) v -= P(i + l, i + c) * x[i + l - 1];
      x[i + c - 1] = v;
    }
  }
  for (; i <= last; ++i)
    x[i - 1] -= dot(P.column(i) + (start - 1), x + (start - 1), i - start);
}

}  // namespace

void reduceColumn(PackedUpper P, int k) {
  double* column = P.column(k);
  forwardSubstitute(P, column, 2, k - 1, 1);
  double pivot = column[k - 1];
  for (int i = 1; i < k; ++i) {
    const double t = column[i - 1];
    const double scaled = t / P(i, i);
    column[i - 1] = scaled;
    pivot -= t * scaled;
  }
  column[k - 1] = pivot;
}

bool factorColumns(PackedUpper P, int n, int k0) {
  const double zeroTol = settings.zeroTol;
  for (int k = k0; k <= n; ++k) {
    reduceColumn(P, k);
    if (!(P(k, k) >= zeroTol)) return false;
  }
  return true;
}

void solveTransposed(ConstPacked P, double* x, int n, int firstNonzero) {
  forwardSubstitute(P, x, firstNonzero + 1, n, firstNonzero);
}

void solveUnitUpper(ConstPacked P, double* x, int n) {
  int k = n;
  for (; k >= 4; k -= 4) {
    // Columns k, k-1, k-2, k-3: first the four unknowns, then their share in all above them.
    double negated[4];
    const double* column[4];
    for (int c = 0; c < 4; ++c) {
      const int j = k - c;
      for (int l = 0; l < c; ++l) x[j - 1] -= P(j, k - l) * x[k - l - 1];
      negated[c] = x[j - 1];
      column[c] = P.column(j);
    }
    subtractColumns4(x, column, negated, k - 4);
  }
  for (; k >= 2; --k) subtractColumn(x, P.column(k), x[k - 1], k - 1);
}

void solveFactored(ConstPacked P, double* x, int n, int firstNonzero) {
  if (n < 1) return;
  solveTransposed(P, x, n, firstNonzero);
  for (int k = firstNonzero; k <= n; ++k) x[k - 1] /= P(k, k);
  solveUnitUpper(P, x, n);
}

void deleteRow(PackedUpper P, int n, int k, double* work) {
  // Shift: column r moves into r - 1 without its row k, which goes to work.
  double weight = P(k, k);
  for (int r = k + 1; r <= n; ++r) {
    const double* from = P.column(r);
    double* to = P.column(r - 1);
    work[r - k - 1] = from[k - 1];
    std::copy(from, from + (k - 1), to);
    std::copy(from + k, from + r, to + (k - 1));
  }
  // Rank-one correction of the trailing block by weight * work work'.
  for (int j = k; j < n; ++j) {
    const double p = work[j - k];
    const double old = P(j, j);
    const double pivot = old + weight * p * p;
    const double beta = weight * p / pivot;
    weight = weight * (old / pivot);
    P(j, j) = pivot;
    for (int r = j + 1; r < n; ++r) {
      const double u = P(j, r);
      const double w = work[r - k] - p * u;
      work[r - k] = w;
      P(j, r) = u + beta * w;
    }
  }
}

}  // namespace tarnix
