// QPSOLV: known answers, optimality conditions on random problems, every way to end.

#include "qp/qp_problem.h"

#include <tuple>

namespace {

using namespace support;

class QpSolver : public Library {};

void expectAnswer(const Qp& q, const Values& d, const Rows& rows, const Values& multipliers,
                  const Rows& flags = solved) {
  Solved s(q);
  ASSERT_EQ(s.flags(), flags);
  ASSERT_EQ(s.active(), rows);
  for (int i = 0; i < q.n; ++i) EXPECT_NEAR(s.d[i], d[i], 1e-14) << i;
  for (int k = 0; k < s.nact; ++k) EXPECT_NEAR(s.multiplier[k], multipliers[k], 1e-13) << k;
}

TEST_F(QpSolver, RowNumbers) {
  Qp none(2, 0, 0);
  none.H = {4, NAN, NAN, NAN, 2, 3, NAN, NAN};
  none.g = {-8, -8};
  expectAnswer(none, {1, 2}, {}, {});

  Qp bounds(6, 2, 2);  // H = I: the start is (5, 9, -4, 3, -2, 9)
  bounds.g = {-5, -9, 4, -3, 2, -9};
  bounds.b = {1, 1};
  bounds.bound(1, 1, -1, 1), bounds.bound(2, 4, 0, 0), bounds.bound(3, 2, -1, 0);
  bounds.bound(4, 3, 0, 1), bounds.bound(5, 1, -1, 1);
  expectAnswer(bounds, {1, 9, -1, 1, -1, 9}, {3, 5, 6, 8}, {4, 3, 2, 1});

  for (const double side : {3.0, -3.0}) {  // -3: the equality itself is violated, 3: its mirror
    Qp q(2, 2, 1);
    q.bound(1, 1, -9, 9), q.bound(2, 2, -9, 0);
    q.general(1, {0, 1}, 50), q.general(2, {1, 0}, side);
    expectAnswer(q, {side, 0}, {2}, {-side});
    q.general(1, {side / 3, 0}, 1);  // contradicts the equality: the last iterate is reported
    expectAnswer(q, {side, 0}, {2}, {-side}, infeasible);
  }
}

TEST_F(QpSolver, TieRules) {
  Qp first(3, 2, 2);  // violated by 1, 2 and, the bound, 2
  first.general(1, {1, 0, 0}, 2), first.general(2, {0, 1, 0}, 1), first.bound(3, 3, 0, 1);
  first.g = {-3, -3, -3};
  expectAnswer(first, {2, 1, 1}, {2, 3, 1}, {2, 2, 1});

  // Rows 3 and then 2 are active with multipliers 2 and 1 when row 1 drives both to zero at the
  // same length 16. Without row 2 the minimum violates it again, so it comes back behind row 1;
  // without row 3 it would have stayed ahead.
  Qp later(3, 1, 1);
  later.h(0, 1) = 0.5, later.h(1, 1) = 0.5;
  later.g = {-1, -2, 0};
  later.general(1, {1 / 16., 1 / 8., 1 / 8.}, -0.5);
  later.bound(1, 3, 0, 0), later.bound(2, 3, 0, 0);
  expectAnswer(later, {0, -4 / 3., -8 / 3.}, {1, 2}, {64 / 3., 1 / 3.});
}

TEST_F(QpSolver, OptimalityOnRandomProblems) {
  Random random(5);
  VRK_settings.dblStorageUsed = 77;
  for (int trial = 0; trial < 960 && !HasFailure(); ++trial) {
    SCOPED_TRACE(trial);
    const Qp q = randomQp(random, 1 + trial % 40, static_cast<Data>(trial / 40 % 3));
    Solved s(q);
    expectOptimal(q, s);
  }
  Qp large(139, 0, 0);
  large.randomHessian(random);
  large.g = random.values(large.n);
  for (int j = 1; j <= large.n; ++j) large.bound(j, 1, -0.5, 0.5);
  VRK_settings.dblStorageUsed = 0;
  Solved s(large);
  expectOptimal(large, s);
  EXPECT_GT(s.nact, 30);
}

// With a stiff Hessian many curvatures are within zeroTol: steps along them pass the limits, and
// only a step back mends that. An answer without a flag is the minimum all the same.
TEST_F(QpSolver, StiffHessians) {
  Random random(11);
  int answers = 0;
  for (int trial = 0; trial < 3000 && !HasFailure(); ++trial) {
    SCOPED_TRACE(trial);
    Qp q = randomQp(random, 1 + trial % 12, Data::general);
    const double stiffness =
        std::pow(10.0, 6.0 + trial % 3 * 0.5 + 0.25 * std::fabs(random.real()));
    for (int j = 0; j < q.n; ++j) {
      q.g[j] *= stiffness;
      for (int i = 0; i <= j; ++i) q.h(i, j) *= stiffness;
    }
    Solved s(q);
    if (s.flags() != solved) continue;
    ++answers;
    expectOptimal(q, s, 1e-10 * stiffness);
  }
  EXPECT_GT(answers, 1500);
}

TEST_F(QpSolver, Infeasible) {
  Random random(6);
  for (int trial = 0; trial < 72; ++trial) {
    const int n = 1 + trial % 24;
    Qp q(n, 3, 1 + trial / 24);
    q.randomHessian(random);
    q.g = random.values(n);
    for (int j = 1; j <= n; ++j) q.bound(j, random.integer(0, 3), -0.5, 0.5);
    const Values a = random.values(n), c = random.values(n);
    Values sum(n);
    for (int i = 0; i < n; ++i) sum[i] = -a[i] - 2.0 * c[i];
    q.general(3, a, 1.0), q.general(2, c, 0.5), q.general(1, sum, -3.0);
    Solved s(q);  // row 3 + 2 row 2 + row 1 reads 0 <= -1
    EXPECT_EQ(s.flags(), infeasible);
    for (const int32_t r : s.active()) {
      EXPECT_GE(r, 1);
      EXPECT_LE(r, 3 + q.bounds());
    }
  }
}

TEST_F(QpSolver, CountsBelowOne) {
  for (const int n : {0, -3})
    for (const double b : {-1e-7, -1e-6}) {
      Qp q(0, 1, 1);
      q.n = n, q.b[0] = b;
      expectAnswer(q, {}, {}, {}, b < -1e-7 ? infeasible : solved);
    }
  Qp q(2, 1, 0);
  q.g = {-3, -2};
  q.bound(1, 3, 0, 1), q.bound(2, 3, 0, 1);
  q.general(1, {0, 1}, 1);
  for (q.m1 = -2; q.m1 <= 0; ++q.m1) expectAnswer(q, {1, 1}, {2, 1}, {2, 1});
  q.m1 = 0;
  for (q.m = 0; q.m > -3; --q.m) expectAnswer(q, {1, 1}, {1, 2}, {2, 1});
}

TEST_F(QpSolver, PivotsOfTheHessian) {
  for (const double pivot : {1e-7, std::nextafter(1e-7, 0.0), -1.0, double{NAN}}) {
    Qp q(2, 0, 0);
    q.h(1, 1) = pivot;
    q.bound(1, 1, 1, 2);
    EXPECT_EQ(Solved(q).flags(), pivot >= 1e-7 ? solved : notDefinite) << pivot;
  }
}

TEST_F(QpSolver, StorageRefused) {
  Qp q(3, 3, 1), wide(0, 0, 0);
  q.general(2, {1, 0, 0}, 1), q.general(3, {0, 1, 0}, 1);
  q.bound(1, 1, -2, 2), q.bound(3, 2, 0, 0);
  wide.m = 2000000000;
  VRK_settings.dblStorageUsed = 1000;
  VRK_settings.dblStorageCapacity = 1000 + (2 * 3 + 3 + 2 * 3 - 1 + 12 + 9);
  EXPECT_EQ(Solved(q).flags(), solved);
  --VRK_settings.dblStorageCapacity;
  const std::string text = captured([&] {
    Solved s(q);
    EXPECT_EQ(s.flags(), failed);
    EXPECT_EQ(std::tuple(s.d.untouched(), s.multiplier.untouched(), s.rows.untouched(), s.nact),
              std::tuple(true, true, true, -7));
    EXPECT_EQ(Solved(wide).flags(), failed);
  });
  EXPECT_EQ(text,
            "ERROR: DOUBLE PRECISION STORAGE EXCEEDED,       1035\n"
            "ERROR: DOUBLE PRECISION STORAGE EXCEEDED, 4000001000\n");
  EXPECT_EQ(VRK_settings.errorFlag, 0);
}

TEST_F(QpSolver, AlwaysEnds) {
  Random random(7);
  const double poison[] = {NAN, INFINITY, -INFINITY, 1e308, -1e308, 1e-308, 0.0};
  for (int trial = 0; trial < 4000; ++trial) {
    VRK_settings.zeroTol = trial % 2 ? 0.0 : 1e-7;  // without a tolerance, ties make it cycle
    Qp q = randomQp(random, random.integer(1, 11), static_cast<Data>(trial / 2 % 4));
    Values* arrays[] = {&q.A, &q.b, &q.H, &q.g, &q.dl, &q.du};
    for (int count = random.integer(-2, 3); count > 0; --count) {
      Values& v = *arrays[random.integer(0, 5)];
      if (v.empty()) continue;
      v[random.integer(0, static_cast<int>(v.size()) - 1)] = poison[random.integer(0, 6)];
    }
    Solved s(q);
    EXPECT_EQ(s.failure, 0);
    if (s.notPosDef == 0) {
      EXPECT_GE(s.nact, 0);
      EXPECT_LE(s.nact, q.n);
    }
  }
}

}  // namespace
