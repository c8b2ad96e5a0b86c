// The exported steps of the quadratic program, one by one and chained.

#include "qp/qp_problem.h"

#include <tuple>

namespace {

using namespace support;

class QpSteps : public Library {};

// QPSOLV put together from its exported steps.
struct Chain {
  const Qp& q;
  const int n = q.n, size = n * (n + 1) / 2;
  int32_t nb = q.bounds(), nact = 0, notPosDef = 5, failure = 0;
  Doubles P = Doubles(size), T = Doubles(size), W = Doubles(n * n), d = Doubles(n),
          res = Doubles(2 * q.m - q.m1 + nb), r = Doubles(n), z = Doubles(n),
          multiplier = Doubles(n);
  Ints rows = Ints(n);
  int steps = 0;

  explicit Chain(const Qp& problem) : q(problem) {
    QPSINI(&n, q.H.data(), &q.ldh, q.g.data(), P, d, &notPosDef);
  }
  void residuals(const double* at, const Values& b, const Values& dl, const Values& du,
                 double* out) {
    QPSCON(&n, &q.m, &q.m1, q.A.data(), &q.lda, b.data(), q.codes.data(), &nb, dl.data(), du.data(),
           at, out);
  }
  int32_t choose() {
    int32_t p = -7;
    residuals(d, q.b, q.dl, q.du, res);
    QPSVIO(&q.m, &q.m1, &nb, res, &nact, rows, &p);
    return p;
  }
  // n_p'z, in the library's own order of summation: the residual at z without a right-hand side.
  double aim(int32_t p) {
    QPSDIR(&p, &n, &q.m, &q.m1, &nb, q.A.data(), &q.lda, q.codes.data(), P, W, &nact, rows, T, r,
           z);
    const Values zeros(n + q.m);
    Doubles slopes(res.size());
    residuals(z, zeros, zeros, zeros, slopes);
    return slopes[p - 1];
  }
  void change(int32_t p, double up, int32_t k) {
    QPSDOA(&nact, &n, &q.m, &q.m1, &nb, q.codes.data(), q.A.data(), &q.lda, W, T, rows, multiplier,
           &p, &up, &k, &failure);
  }
  bool add(int32_t p) {
    double up = 0.0, t = 0.0;
    for (int32_t kind = 0, k = 0; kind != 3; choose()) {
      if (++steps > 50 * (n + res.size()) + 100) return false;  // rounding can make it cycle
      const double slope = aim(p), curvature = -slope;
      QPSLEN(&n, &nact, multiplier, r, &slope, &curvature, &res[p - 1], &t, &kind, &k);
      if (kind == 0) return false;
      QPSSTP(&n, &t, z, d, &nact, r, multiplier, &up);
      change(p, up, k);
    }
    return true;
  }
  Rows active() { return {rows.begin(), rows.begin() + nact}; }
};

TEST_F(QpSteps, ChainedTheyAreTheSolver) {
  Random random(8);
  for (int trial = 0; trial < 160; ++trial) {
    SCOPED_TRACE(trial);
    const Qp q = randomQp(random, 1 + trial % 25, static_cast<Data>(trial % 4));
    Chain chain(q);
    bool feasible = true;
    for (int32_t p; feasible && (p = chain.choose()) != 0;) feasible = chain.add(p);
    for (int k = 0; k < chain.nact; ++k)
      if (chain.rows[k] > q.m + chain.nb) {
        chain.rows[k] -= chain.nb + q.m - q.m1;
        chain.multiplier[k] = -chain.multiplier[k];
      }
    Solved s(q);
    ASSERT_EQ(s.flags(), (Rows{feasible ? 0 : -1, chain.notPosDef, chain.failure}));
    ASSERT_EQ(s.active(), chain.active());
    for (int i = 0; i < q.n; ++i) EXPECT_BITS(s.d[i], chain.d[i]);
    for (int k = 0; k < s.nact; ++k) EXPECT_BITS(s.multiplier[k], chain.multiplier[k]);
  }
}

TEST_F(QpSteps, ResidualsDoNotDependOnThePosition) {
  Random random(9);
  for (int n = 2; n <= 13; ++n) {
    Qp q(n, 9, 3);
    const Values a = random.values(n), d = random.values(n);
    for (int r = 1; r <= 9; ++r) q.general(r, a, 0.3);
    for (int j = 1; j <= n; ++j) q.bound(j, n % 2 ? 1 : j % 3 + 1, 0.5, 0.25);
    Chain c(q);
    std::copy(d.begin(), d.end(), c.d.begin());
    c.choose();
    EXPECT_NEAR(c.res[0], residual(q.rows()[0], d.data()), 1e-14);
    for (int r = 1; r < 9; ++r) EXPECT_BITS(c.res[r], c.res[0]);
    Values bounds;
    for (int j = 0; j < n; ++j) {
      if (q.codes[j] != 2) bounds.push_back(d[j] - 0.25);
      if (q.codes[j] != 3) bounds.push_back(0.5 - d[j]);
    }
    for (int t = 0; t < c.nb; ++t) EXPECT_BITS(bounds[t], c.res[9 + t]);
    for (int e = 0; e < 6; ++e) EXPECT_BITS(-c.res[0], c.res[9 + c.nb + e]);
  }
}

TEST_F(QpSteps, ChoiceOfTheRow) {
  // Rows 1, 2 inequalities, 3, 4 equalities, 5, 6 bounds, 7, 8 mirrors of 3, 4.
  const double tol = 1e-7, above = std::nextafter(tol, 1.0);
  // Residuals, active rows, choice.
  const std::tuple<Values, Rows, int> cases[] = {
      {{tol, 0, tol, 0, tol, 0, 0, 0}, {}, 0},
      {{tol, 0, tol, 0, 9, 0, 0, 0}, {5}, 0},
      {{tol, above, 0, 0, 0, 0, 0, 0}, {}, 2},
      {{1, 2, 2, 2, 2, 0, 0, 0}, {}, 2},
      {{1, 2, 2, 2, 2, 0, 0, 0}, {5, 2}, 3},
      {{0, 0, -2, 1, 0, 0, 2, 0}, {3}, 4},
      {{0, 1, 0, 9, 0, 0, 0, -9}, {8}, 2},
      {{0, 0, 0, 0, 0, 0, 0, 1}, {3}, 8},
      {{1, INFINITY, INFINITY, 0, 0, 0, 0, 0}, {}, 2},
      {{NAN, 1, NAN, 0, 0, 0, 0, 0}, {}, 2},
  };
  for (const auto& [res, active, choice] : cases) {
    int32_t p = -7;
    QPSVIO(by(4), by(2), by(2), res.data(), by(static_cast<int>(active.size())), active.data(), &p);
    EXPECT_EQ(p, choice) << testing::PrintToString(res);
  }
}

TEST_F(QpSteps, StepLength) {
  const double tol = 1e-7, above = std::nextafter(tol, 1.0);
  // Multipliers and their changes, slope, curvature, residual; length, kind, position.
  const std::tuple<Values, Values, double, double, double, double, int, int> cases[] = {
      {{}, {}, 0, 0, 3, 0, 0, 0},
      {{3}, {-2}, -2, 2, 3, 1.5, 3, 2},  // equal lengths: full
      {{2.5}, {-2}, -2, 2, 3, 1.25, 2, 1},
      {{2.5}, {-2}, 0, 0, 3, 1.25, 1, 1},
      {{2, 1, 4, 9}, {-2, -1, -4, -1}, 0, 0, 3, 1, 1, 3},  // the later of equals
      {{1, 8}, {2, -2}, 0, 0, 3, 4, 1, 2},
      {{1}, {-tol}, 0, 0, 3, 0, 0, 0},
      {{1}, {-above}, 0, 0, 3, 1 / above, 1, 1},
      {{}, {}, -tol, 1, 1, 0, 0, 0},
      {{}, {}, -1, tol, 1, 0, 0, 0},
      {{}, {}, -above, above, 1, 1 / above, 3, 1},
      {{1e30}, {-1}, -1, 1, 2e30, 1e30, 2, 1},  // the big value itself
      {{2e30}, {-1}, 0, 0, 1, 0, 0, 0},
      {{}, {}, -1, 1, 2e30, 2e30, 3, 1},
      {{-1}, {-1}, -1, 1, 1, -1, 2, 1},  // either length may lead back
      {{1}, {-1}, -1, 1, -1, -1, 3, 2},
      {{NAN}, {NAN}, NAN, NAN, 1, 0, 0, 0}};
  int number = 0;
  for (const auto& [u, r, slope, curvature, s, length, kindWanted, position] : cases) {
    SCOPED_TRACE(++number);
    double t = NAN;
    int32_t kind = 5, k = 5;
    QPSLEN(by(9), by(static_cast<int>(u.size())), u.data(), r.data(), &slope, &curvature, &s, &t,
           &kind, &k);
    EXPECT_EQ(std::tuple(t, kind, k), std::tuple(length, kindWanted, position));
  }
}

// W must hold H^-1 N, and T factor N'H^-1 N, of the rows listed; the multipliers be their numbers.
void expectFactors(Chain& c, const Rows& wanted) {
  ASSERT_EQ(c.failure, 0);
  ASSERT_EQ(c.active(), wanted);
  const auto rows = c.q.rows();
  for (int j = 0; j < c.nact; ++j) {
    EXPECT_EQ(c.multiplier[j], wanted[j]);
    Values w = rows[c.rows[j] - 1];
    QPSSOL(c.P, w.data(), &c.n);
    for (int i = 0; i < c.n; ++i) EXPECT_NEAR(c.W[i + j * c.n], w[i], 1e-12);
    for (int i = 0; i <= j; ++i) {
      const Values& a = rows[c.rows[i] - 1];
      EXPECT_NEAR(factored(c.T, i, j), std::inner_product(w.begin(), w.end() - 1, a.begin(), 0.0),
                  1e-11);
    }
  }
}

TEST_F(QpSteps, AddAndDropAtEveryPosition) {
  Random random(10);
  for (const int n : {2, 5, 9, 10}) {
    const int equalities = n / 3;
    Qp q(n, n, n - equalities);
    q.randomHessian(random);
    for (int j = 1; j <= n; ++j) q.general(j, random.values(n), 0.0), q.bound(j, j % 3 + 1, 0, 0);
    Rows chosen;  // general, bound and mirrored rows, n in all
    for (int r = 1; r <= q.m1; ++r) chosen.push_back(r % 2 ? r : n + r);
    for (int e = 1; e <= equalities; ++e) chosen.push_back(n + q.bounds() + e);
    for (int k = 1; k <= n; ++k) {
      SCOPED_TRACE(testing::Message() << n << " drop " << k);
      VRK_settings.printLevel = k % 2;
      Chain c(q);
      // Refused without a trace in the active set.
      const auto refuse = [&](int32_t p, const std::string& message) {
        c.aim(p);
        EXPECT_EQ(captured([&] { c.change(p, 1.0, c.nact + 1); }), k % 2 ? message : "");
        EXPECT_EQ(std::exchange(c.failure, 0), -1);
        EXPECT_EQ(VRK_settings.errorFlag, 0);
      };
      for (const int32_t p : chosen) {
        EXPECT_LT(c.aim(p), 0.0);
        c.change(p, p, c.nact + 1);
      }
      refuse(2, "ERROR: TOO MANY ACTIVE CONSTRAINTS, SHOULD NOT HAPPEN\n");
      expectFactors(c, chosen);
      Rows left = chosen;
      left.erase(left.begin() + k - 1);
      c.change(0, NAN, k);
      refuse(left[0], "ERROR: NONPOSITIVE GRADGT*BINV*GRADV MATRIX, SHOULD NOT HAPPEN\n");
      expectFactors(c, left);
    }
  }
}

// With H = I the pivot of the row (1, 0) is 1.
TEST_F(QpSteps, PivotAtTheToleranceIsTaken) {
  Qp q(2, 1, 1);
  q.general(1, {1, 0}, 0.0);
  for (const double tolerance : {1.0, 1.0 + 1e-15}) {
    VRK_settings.zeroTol = tolerance;
    Chain c(q);
    VRK_settings.zeroTol = tolerance;
    c.aim(1);
    c.change(1, 1.0, 1);
    EXPECT_EQ(std::tuple(c.nact, c.failure), tolerance > 1 ? std::tuple(0, -1) : std::tuple(1, 0));
  }
}

}  // namespace
