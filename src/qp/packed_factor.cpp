#include "qp/packed_factor.h"

#include <algorithm>

#include "qp/kernels.h"
#include "state/settings.h"

namespace tarnix::core {

namespace {

// Rows of the forward substitution come in fixed groups 1..4, 5..8, ...: row i subtracts first the
// sum over the earlier groups, then its own group's terms one by one. So its bits do not depend on
// how many rows follow or where the solve starts, and the sums' lengths are multiples of four.

// First row (zero-based) of the group with row i.
int groupOf(int i) {
  return i & ~3;
}

// Rows i..i+3 of x := U'^-1 x, a whole group; x is zero before start, which begins a group. Here
// and in the inner loops below, i and start count from 0.
[[gnu::always_inline]] inline void forwardGroup(ConstPacked P, double* x, int i, int start) {
  const double* c0 = P.data() + packedSize(i);
  const double* c1 = c0 + (i + 1);
  const double* c2 = c1 + (i + 2);
  const double* c3 = c2 + (i + 3);
  const int known = i - start;
  const auto s =
      dot4({{{c0 + start, known}, {c1 + start, known}, {c2 + start, known}, {c3 + start, known}}},
           {x + start, known});
  const double x0 = x[i] - s[0];
  double x1 = x[i + 1] - s[1], x2 = x[i + 2] - s[2], x3 = x[i + 3] - s[3];
  x1 -= c1[i] * x0;
  x2 -= c2[i] * x0;
  x3 -= c3[i] * x0;
  x2 -= c2[i + 1] * x1;
  x3 -= c3[i + 1] * x1;
  x3 -= c3[i + 2] * x2;
  // Stored as they are loaded, by pairs.
  storePair(x + i, Pair{x0, x1});
  storePair(x + i + 2, Pair{x2, x3});
}

// Rows i..end-1 with i at the beginning of a group.
void forwardSubstitute(ConstPacked P, double* x, int i, int end, int start) {
  for (; i + 4 <= end; i += 4) forwardGroup(P, x, i, start);
  for (int k = i; k < end; ++k) {
    const double* column = P.data() + packedSize(k);
    double v = x[k] - dot({column + start, i - start}, {x + start, i - start});
    for (int l = i; l < k; ++l) v -= column[l] * x[l];
    x[k] = v;
  }
}

// The rest of column k (one-based) when its first done rows are solved for: done begins a group.
void finishColumn(PackedUpper P, int k, int done) {
  double* column = P.column(k).data();
  forwardSubstitute(P, column, done, k - 1, 0);
  double pivot = P(k, k);
  int i = 0;
  const double* diagonal = P.data();
  for (; i + 2 <= k - 1; i += 2) {
    const double* next = diagonal + (i + 2);
    const Pair t = loadPair(column + i);
    const Pair scaled = t / Pair{*diagonal, *next};
    storePair(column + i, scaled);
    const Pair product = t * scaled;
    pivot -= product[0];
    pivot -= product[1];
    diagonal = next + (i + 3);
  }
  if (i < k - 1) {
    const double t = column[i];
    column[i] = t / *diagonal;
    pivot -= t * column[i];
  }
  P(k, k) = pivot;
}

}  // namespace

void reduceColumn(PackedUpper P, int k) {
  finishColumn(P, k, 0);
}

bool factorColumns(PackedUpper P, int k0) {
  const double zeroTol = settings->zeroTol;
  for (int k = k0; k <= P.order(); ++k) {
    reduceColumn(P, k);
    if (!(P(k, k) >= zeroTol)) return false;
  }
  return true;
}

bool factorWhole(PackedUpper P) {
  const double zeroTol = settings->zeroTol;
  const int n = P.order();
  for (int first = 1; first <= n; first += 4) {
    const int last = std::min(first + 3, n);
    for (int i = 0; i + 4 < first; i += 4)
      for (int k = first; k <= last; ++k) forwardGroup(P, P.column(k).data(), i, 0);
    for (int k = first; k <= last; ++k) {
      finishColumn(P, k, first - 1);
      if (!(P(k, k) >= zeroTol)) return false;
    }
  }
  return true;
}

void solveTransposed(ConstPacked P, VectorView x, int firstNonzero) {
  const int start = groupOf(firstNonzero - 1);
  forwardSubstitute(P, x.data(), start, x.size(), start);
}

void solveUnitUpper(ConstPacked P, VectorView x) {
  int k = x.size();
  for (; k >= 4; k -= 4) {
    const int a = k - 3, b = k - 2, c = k - 1;
    const double xk = x(k);
    double xc = x(c), xb = x(b), xa = x(a);
    xc -= P(c, k) * xk;
    xb -= P(b, k) * xk;
    xa -= P(a, k) * xk;
    xb -= P(b, c) * xc;
    xa -= P(a, c) * xc;
    xa -= P(a, b) * xb;
    x(c) = xc;
    x(b) = xb;
    x(a) = xa;
    subtractColumns4Down(x.head(k - 4), {P.column(k), P.column(c), P.column(b), P.column(a)},
                         {xk, xc, xb, xa});
  }
  for (; k >= 2; --k) subtractColumn(x.head(k - 1), P.column(k), x(k));
}

void solveFactored(ConstPacked P, VectorView x, int firstNonzero) {
  const int n = x.size();
  if (n < 1) return;
  solveTransposed(P, x, firstNonzero);
  int i = groupOf(firstNonzero - 1) + 1;
  for (; i + 1 <= n; i += 2) storePair(&x(i), loadPair(&x(i)) / Pair{P(i, i), P(i + 1, i + 1)});
  if (i <= n) x(n) /= P(n, n);
  solveUnitUpper(P, x);
}

void deleteRow(PackedUpper P, int n, int k, VectorView work) {
  // Shift: column r moves into r - 1 without its row k, which goes to work.
  double weight = P(k, k);
  for (int r = k + 1; r <= n; ++r) {
    const ConstVector from = P.column(r);
    const VectorView to = P.column(r - 1);
    work(r - k) = from(k);
    std::ranges::copy(from.head(k - 1), to.begin());
    std::ranges::copy(from.part(k + 1, r - k), &to(k));
  }
  // Rank-one correction of the trailing block by weight * work work', four rows at a time: the
  // pivots of the four first, then their corrections in every later column.
  for (int first = k; first < n; first += 4) {
    const int end = std::min(first + 4, n);
    double p[4], beta[4];
    for (int r = first; r < end; ++r) {
      double* u = &P(first, r);
      double w = work(r - k + 1);
      for (int c = 0; c < r - first; ++c) {
        w -= p[c] * u[c];
        u[c] += beta[c] * w;
      }
      const int c = r - first;
      const double old = u[c];
      const double pivot = old + weight * w * w;
      p[c] = w;
      beta[c] = weight * w / pivot;
      weight = weight * (old / pivot);
      u[c] = pivot;
    }
    if (end == n) break;
    const double p0 = p[0], p1 = p[1], p2 = p[2], p3 = p[3];
    const double b0 = beta[0], b1 = beta[1], b2 = beta[2], b3 = beta[3];
    double* u = &P(first, end);
    for (int r = end; r < n; ++r) {
      const double w0 = work(r - k + 1) - p0 * u[0];
      const double w1 = w0 - p1 * u[1];
      const double w2 = w1 - p2 * u[2];
      const double w3 = w2 - p3 * u[3];
      u[0] += b0 * w0;
      u[1] += b1 * w1;
      u[2] += b2 * w2;
      u[3] += b3 * w3;
      work(r - k + 1) = w3;
      u += r;
    }
  }
}

}  // namespace tarnix::core
