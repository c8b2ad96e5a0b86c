// The packed factor, and the gradient components of all rows.

#include "qp/qp_problem.h"

#include <tuple>

namespace {

using namespace support;

class Factor : public Library {};

TEST_F(Factor, ByHand) {
  const double tol = 1e-7, below = std::nextafter(tol, 0.0);
  const std::tuple<int, int, Values, int, Values> cases[] = {
      // n, k0, matrix, fail, factor
      {2, 1, {4, 2, 3}, 0, {4, 0.5, 2}},
      {3, 1, {2, 4, 11, -2, -2.5, 6.75}, 0, {2, 2, 3, -1, 0.5, 4}},
      {3, 3, {2, 2, 3, -2, -2.5, 6.75}, 0, {2, 2, 3, -1, 0.5, 4}},
      {2, 3, {-1, 7, -1}, 0, {-1, 7, -1}},
      {2, 1, {tol, 0, tol}, 0, {tol, 0, tol}},
      {2, 1, {below, 2, 3}, -1, {below, 2, 3}},
      {2, 1, {1, 0, below}, -1, {1, 0, below}},
      {3, 1, {4, 2, 1, 7, 8, 9}, -1, {4, 0.5, 0, 7, 8, 9}},
  };
  int32_t fail = 5;
  for (const auto& [n, k0, matrix, failWanted, factor] : cases) {
    Values P = matrix;
    QPSTRI(P.data(), &n, &k0, &fail);
    EXPECT_EQ(fail, failWanted);
    EXPECT_EQ(P, factor);
  }
  for (const double pivot : {4.0, double{NAN}}) {
    VRK_settings.zeroTol = 4.5;
    QPSTRI(Values{5, 0, pivot}.data(), by(2), by(1), &fail);
    EXPECT_EQ(fail, -1) << pivot;
  }
  Doubles x{4.0, 18.5, 13.25}, one{6.0};
  QPSSOL(Values{2, 2, 3, -1, 0.5, 4}.data(), x, by(3));
  EXPECT_EQ(x.values(), (Values{1, 2, 3}));
  QPSSOL(Values{4}.data(), one, by(1));
  QPSSOL(Values{4}.data(), one, by(0));
  EXPECT_EQ(one[0], 1.5);
}

TEST_F(Factor, ResidualsOfRandomMatrices) {
  Random random(1);
  for (int n = 1; n <= 45; ++n) {
    SCOPED_TRACE(n);
    Qp q(n, 0, 0);
    q.randomHessian(random);
    const Values x = random.values(n);
    const int32_t lead = random.integer(0, n);
    Doubles P(n * (n + 1) / 2), solution(n);
    for (int j = 0; j < n; ++j) {
      solution[j] = 0.0;
      for (int i = 0; i < n; ++i) solution[j] += q.h(i, j) * x[i];
      for (int i = 0; i <= j; ++i) P[j * (j + 1) / 2 + i] = q.h(i, j);
    }
    int32_t fail = 0, failLater = 0;
    QPSTRI(P, &lead, by(1), &fail);
    const Values before = P.values();
    QPSTRI(P, &n, by(lead + 1), &failLater);
    EXPECT_EQ(std::tuple(fail, failLater), std::tuple(0, 0));
    EXPECT_TRUE(std::equal(P.begin(), P.begin() + lead * (lead + 1) / 2, before.begin()));
    for (int j = 0; j < n; ++j)
      for (int i = 0; i <= j; ++i) EXPECT_NEAR(factored(P, i, j), q.h(i, j), 1e-14) << i << j;
    QPSSOL(P, solution, &n);
    for (int i = 0; i < n; ++i) EXPECT_NEAR(solution[i], x[i], 1e-12) << i;
  }
}

TEST_F(Factor, GradientComponents) {
  const int n = 4, lda = 5, meq = 2, off = 1, nb = 5;  // nb: one more than the codes have
  const int32_t codes[] = {1, 4, 3, 2};
  Values A(lda * 3);
  std::iota(A.begin(), A.end(), 1.0);
  const Values rows[] = {{1, 2, 3, 4},  {6, 7, 8, 9},     {1, 0, 0, 0},
                         {-1, 0, 0, 0}, {0, 0, 1, 0},     {0, 0, 0, -1},
                         {0, 0, 0, 0},  {-6, -7, -8, -9}, {-11, -12, -13, -14}};
  for (int r = 1; r <= 9; ++r)
    for (int i = 1; i <= n; ++i) {
      double value = NAN;
      QPSGRA(&r, &i, &value, &n, &meq, &off, &nb, A.data(), &lda, codes);
      EXPECT_EQ(value, rows[r - 1][i - 1]) << "row " << r << " component " << i;
    }
}

}  // namespace
