#pragma once
// A quadratic program that owns its arrays, QPSOLV's answer to it, and the optimality conditions.

#include <cmath>
#include <numeric>
#include <random>
#include <tuple>
#include <utility>

#include "support/support.h"

namespace support {

using Values = std::vector<double>;
using Rows = std::vector<int32_t>;

struct Random {
  std::mt19937 engine;
  explicit Random(unsigned seed) : engine(seed) {}
  double real() { return std::uniform_real_distribution<double>(-1.0, 1.0)(engine); }
  int integer(int low, int high) { return std::uniform_int_distribution<int>(low, high)(engine); }
  Values values(int n) {
    Values v(n);
    for (double& x : v) x = real();
    return v;
  }
};

// Element (i, j), i <= j, zero-based, of the matrix that a packed factor stands for.
inline double factored(const double* P, int i, int j) {
  const auto u = [&](int l, int k) { return l == k ? 1.0 : P[k * (k + 1) / 2 + l]; };
  double sum = 0.0;
  for (int l = 0; l <= i; ++l) sum += u(l, i) * P[l * (l + 3) / 2] * u(l, j);
  return sum;
}

// H starts as I, the rest as zeros. Whatever is not to be read is NaN: the padding, the lower
// triangle, limits without a bound row.
struct Qp {
  int n, m, m1, lda = n + 3, ldh = n + 2;
  Values A, b, H, g, dl, du;
  Rows codes;

  Qp(int n_, int m_, int m1_) : n(n_), m(m_), m1(m1_), A(lda * m, NAN), b(m), H(ldh * n, NAN) {
    g.resize(n), dl.resize(n, NAN), du.resize(n, NAN), codes.resize(n);
    for (int j = 0; j < n; ++j)
      for (int i = 0; i <= j; ++i) h(i, j) = i == j;
    for (int r = 1; r <= m; ++r) general(r, Values(n), 0.0);
  }
  double& h(int i, int j) { return H[std::min(i, j) + std::max(i, j) * ldh]; }
  void general(int r, const Values& a, double right) {
    std::copy(a.begin(), a.end(), A.begin() + (r - 1) * lda);
    b[r - 1] = right;
  }
  void bound(int j, int32_t code, double lower, double upper) {
    codes[j - 1] = code;
    dl[j - 1] = code == 1 || code == 2 ? lower : NAN;
    du[j - 1] = code == 1 || code == 3 ? upper : NAN;
  }
  void randomHessian(Random& random) {
    const Values M = random.values(n * n);
    for (int j = 0; j < n; ++j)
      for (int i = 0; i <= j; ++i)
        h(i, j) =
            std::inner_product(&M[i * n], &M[i * n] + n, &M[j * n], i == j ? 0.1 * n : 0.0) / n;
  }
  int bounds() const {
    int count = 0;
    for (const int32_t code : codes) count += code == 1 ? 2 : code == 2 || code == 3;
    return count;
  }
  // All rows in the internal numbering, (a, -b) each, with the gradients of QPSGRA.
  std::vector<Values> rows() const {
    const int32_t nb = bounds();
    std::vector<Values> list(2 * m - m1 + nb, Values(n + 1));
    for (int32_t r = 1; r <= 2 * m - m1 + nb; ++r) {
      double* row = list[r - 1].data();
      for (int32_t i = 1; i <= n; ++i) {
        QPSGRA(&r, &i, row + i - 1, &n, &m, &m1, &nb, A.data(), &lda, codes.data());
        if (row[i - 1] != 0.0) row[n] = row[i - 1] > 0.0 ? -du[i - 1] : dl[i - 1];
      }
      if (r <= m) row[n] = -b[r - 1];
      if (r > m + nb) row[n] = b[r - nb - m + m1 - 1];
    }
    return list;
  }
};
inline double residual(const Values& row, const double* d) {
  return std::inner_product(row.begin(), row.end() - 1, d, row.back());
}

struct Solved {
  Doubles d, multiplier;
  Ints rows;
  int32_t nact = -7, noSolution = 5, notPosDef = 5, failure = 5;

  explicit Solved(const Qp& q) : d(std::max(q.n, 0)), multiplier(d.size()), rows(d.size()) {
    const int32_t mark = VRK_settings.dblStorageUsed;
    QPSOLV(&q.n, &q.m, &q.m1, q.m > 0 ? q.A.data() : nullptr, &q.lda,
           q.m > 0 ? q.b.data() : nullptr, q.H.data(), &q.ldh, q.g.data(), q.codes.data(),
           q.dl.data(), q.du.data(), d, multiplier, rows, &nact, &noSolution, &notPosDef, &failure);
    EXPECT_EQ(VRK_settings.dblStorageUsed, mark);
  }
  Rows flags() const { return {noSolution, notPosDef, failure}; }
  Rows active() { return {rows.begin(), rows.begin() + nact}; }
};
inline const Rows solved{0, 0, 0}, infeasible{-1, 0, 0}, notDefinite{0, -1, 0}, failed{0, 0, -1};

// A strictly convex problem has one minimum, and these conditions are met there alone.
inline void expectOptimal(Qp q, Solved& s, double tolerance = 1e-10) {
  ASSERT_EQ(s.flags(), solved);
  ASSERT_GE(s.nact, 0);
  ASSERT_LE(s.nact, q.n);
  const auto rows = q.rows();
  const double* u = s.multiplier;
  for (int k = 0; k < s.nact; ++k) tolerance = std::max(tolerance, 1e-10 * std::fabs(u[k]));
  std::vector<bool> seen(rows.size());
  for (int k = 0; k < s.nact; ++k) {
    const int r = s.rows[k];
    ASSERT_GE(r, 1);
    ASSERT_LE(r, q.m + q.bounds());
    ASSERT_FALSE(seen[r - 1]) << "row " << r;
    seen[r - 1] = true;
    const bool equality = q.m1 < r && r <= q.m;
    if (!equality) {
      EXPECT_GE(u[k], -tolerance) << "row " << r;
    }
    EXPECT_NEAR(residual(rows[r - 1], s.d), 0.0, tolerance) << "active row " << r;
  }
  for (const Values& row : rows) EXPECT_LE(residual(row, s.d), 1e-7 + tolerance);
  for (int i = 0; i < q.n; ++i) {
    double gradient = q.g[i];
    for (int j = 0; j < q.n; ++j) gradient += q.h(i, j) * s.d[j];
    for (int k = 0; k < s.nact; ++k) gradient += u[k] * rows[s.rows[k] - 1][i];
    EXPECT_NEAR(gradient, 0.0, tolerance);
  }
}

// Feasible by construction around a point. Some rows repeat earlier ones: in ties exactly, nearly
// dependent ones up to next to nothing, unclear ones up to differences about zeroTol.
enum class Data { general, ties, nearlyDependent, unclear };
inline Qp randomQp(Random& random, int n, Data data) {
  const bool ties = data == Data::ties;
  const int equalities = random.integer(0, n / 2), inequalities = random.integer(0, 2 * n);
  Qp q(n, inequalities + equalities, inequalities);
  const auto value = [&] { return ties ? random.integer(-1, 1) : random.real(); };
  const auto gap = [&] { return random.integer(0, 2) * (ties ? 0.25 : std::fabs(random.real())); };
  Values inside(n), a(n);
  if (!ties) q.randomHessian(random);
  for (int j = 0; j < n; ++j) {
    inside[j] = value(), q.g[j] = 4.0 * value();
    const double upper = inside[j] + gap(), lower = inside[j] - gap();  // in this order everywhere
    q.bound(j + 1, random.integer(-1, 4), lower, upper);
  }
  for (int r = 0; r < q.m; ++r) {
    const bool repeat = data != Data::general && r > 0 && random.integer(0, 1);
    const int from = random.integer(0, r), exponent = random.integer(0, 5);
    const double noise =
        ties ? 0.0 : std::pow(10.0, data == Data::unclear ? -3 - exponent : -9 - exponent);
    for (int i = 0; i < n; ++i)
      a[i] = repeat && from < r ? q.A[i + from * q.lda] + noise * value() : value();
    const double slack = r < q.m1 ? gap() : 0.0;
    q.general(r + 1, a, std::inner_product(a.begin(), a.end(), inside.begin(), slack));
  }
  return q;
}

}  // namespace support
