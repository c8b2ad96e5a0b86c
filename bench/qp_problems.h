#pragma once
// Random strictly convex QPs with a chosen solution and a chosen active set, in the manner of Rosen
// and Suzuki (1965) and Goldfarb and Idnani (1983): take the point, the active rows and positive
// multipliers, then choose the gradient and the right-hand sides so that the optimality conditions
// hold. The same seed gives the same problem everywhere.

#include <tarnix/routines.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace bench {

// min g.d + d.Hd/2  subject to  a_r.d <= b_r, r = 1..m,  dl <= d <= du.
struct QpInstance {
  int32_t n, m;
  std::vector<double> A, b, H, g, dl, du;
  std::vector<int32_t> codes;
  std::vector<double> solution;
  int32_t active;  // rows active at the solution
};

struct QpAnswer {
  std::vector<double> d, multiplier;
  std::vector<int32_t> rows;
  int32_t count = 0, noSolution = 0, notPosDef = 0, failure = 0;

  explicit QpAnswer(const QpInstance& qp) : d(qp.n), multiplier(qp.n), rows(qp.n) {}
  bool solved() const { return !noSolution && !notPosDef && !failure; }
};

inline void solve(const QpInstance& qp, QpAnswer& out) {
  QPSOLV(&qp.n, &qp.m, &qp.m, qp.A.data(), &qp.n, qp.b.data(), qp.H.data(), &qp.n, qp.g.data(),
         qp.codes.data(), qp.dl.data(), qp.du.data(), out.d.data(), out.multiplier.data(),
         out.rows.data(), &out.count, &out.noSolution, &out.notPosDef, &out.failure);
}

// Largest difference, relative to the largest entry of the expected vector.
inline double relativeError(const std::vector<double>& got, const std::vector<double>& expected) {
  double worst = 0.0, size = 0.0;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const double error = std::fabs(got[i] - expected[i]);
    if (!(error <= worst)) worst = error;  // a NaN stays
    size = std::max(size, std::fabs(expected[i]));
  }
  return worst / size;
}

class Random {
 public:
  explicit Random(uint64_t seed) : bits_(seed) {}
  double unit() { return static_cast<double>(bits_() >> 11) * 0x1p-53; }
  double between(double low, double high) { return low + (high - low) * unit(); }
  // A random selection of the given size out of 0..n-1.
  std::vector<int> choose(int size, int n) {
    std::vector<int> all(n);
    for (int i = 0; i < n; ++i) all[i] = i;
    for (int i = 0; i < size; ++i) std::swap(all[i], all[i + static_cast<int>(unit() * (n - i))]);
    all.resize(size);
    return all;
  }

 private:
  std::mt19937_64 bits_;
};

// A box on every variable and m = n general rows of unit length. About the given share of n is
// active at the solution: one half bounds, one half general rows.
inline QpInstance randomQp(int n, int activePercent, uint64_t seed) {
  Random random(seed * 1000003 + static_cast<uint64_t>(n) * 101 + activePercent);
  const auto at = [n](int i, int j) { return static_cast<std::size_t>(j) * n + i; };
  QpInstance qp;
  qp.n = qp.m = n;
  qp.active = std::max(1, (n * activePercent + 50) / 100);

  // H = M'M/n + I/50: the eigenvalues lie between 0.02 and about 4/3.
  std::vector<double> M(at(0, n));
  for (double& v : M) v = random.between(-1.0, 1.0);
  qp.H.resize(at(0, n));
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i <= j; ++i) {
      double sum = 0.0;
      for (int k = 0; k < n; ++k) sum += M[at(k, i)] * M[at(k, j)];
      qp.H[at(i, j)] = qp.H[at(j, i)] = sum / n + (i == j ? 0.02 : 0.0);
    }
  }

  qp.A.resize(at(0, n));
  for (int r = 0; r < n; ++r) {
    double norm = 0.0;
    for (int i = 0; i < n; ++i) {
      const double v = qp.A[at(i, r)] = random.between(-1.0, 1.0);
      norm += v * v;
    }
    for (int i = 0; i < n; ++i) qp.A[at(i, r)] /= std::sqrt(norm);
  }

  qp.codes.assign(n, 1);
  for (int i = 0; i < n; ++i) {
    qp.solution.push_back(random.between(-1.0, 1.0));
    qp.dl.push_back(qp.solution[i] - random.between(0.1, 1.0));
    qp.du.push_back(qp.solution[i] + random.between(0.1, 1.0));
  }
  for (int r = 0; r < n; ++r) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i) sum += qp.A[at(i, r)] * qp.solution[i];
    qp.b.push_back(sum + random.between(0.1, 1.0));
  }

  // g = -H d - sum of multiplier times gradient over the active rows.
  for (int i = 0; i < n; ++i) {
    double sum = 0.0;
    for (int j = 0; j < n; ++j) sum += qp.H[at(i, j)] * qp.solution[j];
    qp.g.push_back(-sum);
  }
  const int activeBounds = qp.active / 2;
  for (const int j : random.choose(activeBounds, n)) {
    const double multiplier = random.between(0.5, 1.5);
    const bool upper = random.unit() < 0.5;
    (upper ? qp.du : qp.dl)[j] = qp.solution[j];
    qp.g[j] += upper ? -multiplier : multiplier;
  }
  for (const int r : random.choose(qp.active - activeBounds, n)) {
    const double multiplier = random.between(0.5, 1.5);
    double sum = 0.0;
    for (int i = 0; i < n; ++i) {
      sum += qp.A[at(i, r)] * qp.solution[i];
      qp.g[i] -= multiplier * qp.A[at(i, r)];
    }
    qp.b[r] = sum;
  }
  return qp;
}

}  // namespace bench
