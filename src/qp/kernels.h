#pragma once
// The inner loops of the QP. Every one walks contiguous memory. A sum is kept in four partial sums
// over i mod 4, combined in one fixed order, so that its bits depend neither on the instruction set
// nor on how many columns are summed side by side.

#include <array>

#include "base/pair.h"
#include "base/views.h"

namespace tarnix::core {

// Four columns side by side.
using Columns4 = std::array<ConstVector, 4>;

inline double combine(Pair even, Pair odd) {
  const Pair sum = even + odd;
  return sum[0] + sum[1];
}

// sum a(i) b(i)
inline double dot(ConstVector first, ConstVector second) {
  const int n = first.size();
  const double *a = first.data(), *b = second.data();
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
[[gnu::always_inline]] inline std::array<double, 4> dot4(const Columns4& a, ConstVector v) {
  const int n = v.size();
  const double* b = v.data();
  const double *a0 = a[0].data(), *a1 = a[1].data(), *a2 = a[2].data(), *a3 = a[3].data();
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
  return {s0, s1, s2, s3};
}

// y(i) -= x a(i)
inline void subtractColumn(VectorView vector, ConstVector column, double x) {
  const int n = vector.size();
  double* __restrict y = vector.data();
  const double* __restrict a = column.data();
  const Pair c = {x, x};
  int i = 0;
  for (; i + 2 <= n; i += 2) storePair(y + i, loadPair(y + i) - c * loadPair(a + i));
  for (; i < n; ++i) y[i] -= x * a[i];
}

// y(i) += x a(i)
inline void addMultiple(VectorView vector, ConstVector column, double x) {
  const int n = vector.size();
  double* __restrict y = vector.data();
  const double* __restrict a = column.data();
  const Pair c = {x, x};
  int i = 0;
  for (; i + 2 <= n; i += 2) storePair(y + i, loadPair(y + i) + c * loadPair(a + i));
  for (; i < n; ++i) y[i] += x * a[i];
}

// y(i) = -a(i)
inline void negate(VectorView vector, ConstVector other) {
  const int n = vector.size();
  double* y = vector.data();
  const double* a = other.data();
  int i = 0;
  for (; i + 2 <= n; i += 2) storePair(y + i, -loadPair(a + i));
  for (; i < n; ++i) y[i] = -a[i];
}

// y(i) -= x0 a0(i), then x1 a1(i), x2 a2(i), x3 a3(i): the bits of four calls of subtractColumn.
inline void subtractColumns4(VectorView vector, const Columns4& a, ConstVector x) {
  const int n = vector.size();
  double* __restrict y = vector.data();
  const double* __restrict a0 = a[0].data(), * __restrict a1 = a[1].data();
  const double* __restrict a2 = a[2].data(), * __restrict a3 = a[3].data();
  const double x0 = x(1), x1 = x(2), x2 = x(3), x3 = x(4);
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

// The same from the far end, where a back substitution continues.
inline void subtractColumns4Down(VectorView vector, const Columns4& a,
                                 const std::array<double, 4>& x) {
  const int n = vector.size();
  double* __restrict y = vector.data();
  const double* __restrict a0 = a[0].data(), * __restrict a1 = a[1].data();
  const double* __restrict a2 = a[2].data(), * __restrict a3 = a[3].data();
  const auto [x0, x1, x2, x3] = x;
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

// Position of the largest entry above the limit, the first of equals; 0 without one.
inline int firstLargest(ConstVector values, double limit) {
  // First the value without a branch per entry, then its place. A NaN is above nothing.
  const double* v = values.data();
  const int n = values.size();
  Pair m0 = {limit, limit}, m1 = m0;
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    m0 = larger(loadPair(v + i), m0);
    m1 = larger(loadPair(v + i + 2), m1);
  }
  m0 = larger(m1, m0);
  double best = m0[1] > m0[0] ? m0[1] : m0[0];
  for (; i < n; ++i) best = v[i] > best ? v[i] : best;
  if (!(best > limit)) return 0;
  const Pair wanted = {best, best};
  for (i = 0; i + 4 <= n; i += 4)
    if (anyEqual(loadPair(v + i), loadPair(v + i + 2), wanted)) break;
  while (v[i] != best) ++i;
  return i + 1;
}

}  // namespace tarnix::core
