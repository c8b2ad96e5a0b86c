#pragma once
// The inner loops of the QP. Every one walks contiguous memory. A sum is kept in four partial sums
// over i mod 4, combined in one fixed order, so that its bits depend neither on the instruction set
// nor on how many columns are summed side by side.

#include <cstring>

namespace tarnix::core {

// Two lanes: what every 64-bit target has. Lane arithmetic is the scalar IEEE arithmetic.
using Pair = double __attribute__((vector_size(16)));

inline Pair loadPair(const double* p) {
  Pair v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
inline void storePair(double* p, Pair v) {
  std::memcpy(p, &v, sizeof v);
}

inline double combine(Pair even, Pair odd) {
  const Pair sum = even + odd;
  return sum[0] + sum[1];
}

// sum a(i) b(i)
inline double dot(const double* a, const double* b, int n) {
  Pair s01{}, s23{};
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    s01 += loadPair(a + i) * loadPair(b + i);
    s23 += loadPair(a + i + 2) * loadPair(b + i + 2);
  }
  double sum = combine(s01, s23);
  for (; i < n; ++i) sum += a[i] * b[i];
  return sum;
}

// Four columns against one vector: each sum has the bits that dot() gives it.
[[gnu::always_inline]] inline void dot4(const double* const a[4], const double* b, int n,
                                        double sum[4]) {
  const double *a0 = a[0], *a1 = a[1], *a2 = a[2], *a3 = a[3];
  Pair p0{}, q0{}, p1{}, q1{}, p2{}, q2{}, p3{}, q3{};
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const Pair x = loadPair(b + i), y = loadPair(b + i + 2);
    p0 += loadPair(a0 + i) * x;
    q0 += loadPair(a0 + i + 2) * y;
    p1 += loadPair(a1 + i) * x;
    q1 += loadPair(a1 + i + 2) * y;
    p2 += loadPair(a2 + i) * x;
    q2 += loadPair(a2 + i + 2) * y;
    p3 += loadPair(a3 + i) * x;
    q3 += loadPair(a3 + i + 2) * y;
  }
  double s0 = combine(p0, q0), s1 = combine(p1, q1), s2 = combine(p2, q2), s3 = combine(p3, q3);
  for (; i < n; ++i) {
    s0 += a0[i] * b[i];
    s1 += a1[i] * b[i];
    s2 += a2[i] * b[i];
    s3 += a3[i] * b[i];
  }
  sum[0] = s0;
  sum[1] = s1;
  sum[2] = s2;
  sum[3] = s3;
}

// y(i) -= x a(i)
inline void subtractColumn(double* __restrict y, const double* __restrict a, double x, int n) {
  const Pair c = {x, x};
  int i = 0;
  for (; i + 2 <= n; i += 2) storePair(y + i, loadPair(y + i) - c * loadPair(a + i));
  for (; i < n; ++i) y[i] -= x * a[i];
}

// y(i) += x a(i)
inline void addMultiple(double* __restrict y, const double* __restrict a, double x, int n) {
  const Pair c = {x, x};
  int i = 0;
  for (; i + 2 <= n; i += 2) storePair(y + i, loadPair(y + i) + c * loadPair(a + i));
  for (; i < n; ++i) y[i] += x * a[i];
}

// y(i) = -a(i)
inline void negate(double* y, const double* a, int n) {
  int i = 0;
  for (; i + 2 <= n; i += 2) storePair(y + i, -loadPair(a + i));
  for (; i < n; ++i) y[i] = -a[i];
}

// y(i) -= x0 a0(i), then x1 a1(i), x2 a2(i), x3 a3(i): the bits of four calls of subtractColumn.
inline void subtractColumns4(double* __restrict y, const double* const a[4], const double x[4],
                             int n) {
  const double* __restrict a0 = a[0], * __restrict a1 = a[1];
  const double* __restrict a2 = a[2], * __restrict a3 = a[3];
  const double x0 = x[0], x1 = x[1], x2 = x[2], x3 = x[3];
  const Pair c0 = {x0, x0}, c1 = {x1, x1}, c2 = {x2, x2}, c3 = {x3, x3};
  int i = 0;
  for (; i + 2 <= n; i += 2) {
    Pair v = loadPair(y + i) - c0 * loadPair(a0 + i);
    v -= c1 * loadPair(a1 + i);
    v -= c2 * loadPair(a2 + i);
    v -= c3 * loadPair(a3 + i);
    storePair(y + i, v);
  }
  for (; i < n; ++i) {
    double v = y[i] - x0 * a0[i];
    v -= x1 * a1[i];
    v -= x2 * a2[i];
    v -= x3 * a3[i];
    y[i] = v;
  }
}

// The same from the far end, where a back substitution goes on.
inline void subtractColumns4Down(double* __restrict y, const double* const a[4], const double x[4],
                                 int n) {
  const double* __restrict a0 = a[0], * __restrict a1 = a[1];
  const double* __restrict a2 = a[2], * __restrict a3 = a[3];
  const double x0 = x[0], x1 = x[1], x2 = x[2], x3 = x[3];
  const Pair c0 = {x0, x0}, c1 = {x1, x1}, c2 = {x2, x2}, c3 = {x3, x3};
  int i = n;
  for (; i >= 2;) {
    i -= 2;
    Pair v = loadPair(y + i) - c0 * loadPair(a0 + i);
    v -= c1 * loadPair(a1 + i);
    v -= c2 * loadPair(a2 + i);
    v -= c3 * loadPair(a3 + i);
    storePair(y + i, v);
  }
  if (i == 1) {
    double v = y[0] - x0 * a0[0];
    v -= x1 * a1[0];
    v -= x2 * a2[0];
    v -= x3 * a3[0];
    y[0] = v;
  }
}

}  // namespace tarnix::core
