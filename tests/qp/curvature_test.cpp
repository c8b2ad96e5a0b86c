// Lagrangian gradient, Hessian approximation, secant update of an inverse.

#include "qp/qp_problem.h"

#include <tuple>

namespace {

using namespace support;

class Curvature : public Library {};

TEST_F(Curvature, LagrangianRowKinds) {
  const int n = 3;
  const double g[] = {0.5, 0.25, 0.125}, J[] = {1, 2, 3, 10, 20, 30, 100, 200, 300};
  const int32_t map1[] = {3, 1, 6}, map2[] = {4, 2, 5}, column[] = {1, 3, 0, 2, 0, 0};
  // Active rows, multipliers, gradient, ierr, multipliers afterwards.
  const std::tuple<Rows, Values, Values, int, Values> cases[] = {
      {{}, {}, {0.5, 0.25, 0.125}, 0, {}},
      {{1, 2}, {7, 2}, {2.5, 4.25, 6.125}, 3, {0, 2}},            // first kind, one without column
      {{1, 3, 7}, {7, 8, 1}, {1.5, 0.25, 0.125}, 6, {0, 0, 1}},   // the last of two without
      {{4, 5}, {-1, 0.5}, {40.5, 80.25, 120.125}, 0, {-1, 0.5}},  // second kind
      {{6}, {7}, {0.5, 0.25, 0.125}, 0, {7}},                     // second kind, no column
      {{7, 8, 9}, {4, 1, 4}, {3.5, 4.25, 0.125}, 0, {4, 1, 4}},   // bounds t = 1, 2, 3
      {{10, 12, 13}, {4, 4, 9}, {0.5, -3.75, -3.875}, 0, {4, 4, 9}},  // t = 4, 6, 7
      {{7, 8}, {1e17, 1e17}, {0, 0.25, 0.125}, 0, {1e17, 1e17}},      // terms go to g one by one
  };
  for (const auto& [act, mult, wanted, missing, left] : cases) {
    SCOPED_TRACE(testing::PrintToString(act));
    const auto nact = static_cast<int32_t>(act.size());
    for (const int size : {0, n}) {
      Values u = mult, gl(4, 99.0);
      int32_t ierr = 77;
      QLAG(&size, by(3), map1, by(3), map2, column, act.data(), &nact, u.data(), g, J, gl.data(),
           &ierr);
      EXPECT_EQ(gl[3], 99.0);
      gl.pop_back();
      EXPECT_EQ(gl, size == 0 ? Values(3, 99.0) : wanted);
      EXPECT_EQ(ierr, size == 0 ? 0 : missing);
      EXPECT_EQ(u, size == 0 ? mult : left);
    }
  }
}

struct Updated {
  int32_t flag = 5;
  Values H;
  Updated(int n, const Values& s, const Values& y, const Values& H0) : H(H0) {
    Doubles w1(n), w2(n), w3(n);
    QHESS(&n, s.data(), y.data(), H.data(), &flag, w1, w2, w3);
  }
};

TEST_F(Curvature, UpdateThresholds) {
  // With n = 1 and s = 1: s'Hs = H, s'y = y. The constants are widened single-precision values.
  const auto eps = std::bit_cast<double>(0x3EB0C6F7A0000000u);
  const auto trigger = std::bit_cast<double>(0x3FC99999A0000000u);
  const auto factor = std::bit_cast<double>(0x3FE99999A0000000u);
  const auto below = [](double v) { return std::nextafter(v, -INFINITY); };
  const double theta = factor / (1.0 - below(trigger));
  const double damped = theta * below(trigger) + (1.0 - theta);
  const std::tuple<double, double, double, int> cases[] = {
      // H, y, result, updated
      {eps, 3 * eps, 3 * eps, -1},  // s'Hs
      {below(eps), 3 * eps, below(eps), 0},
      {2 * eps, 3 * eps, 3 * eps, -1},  // s'Hs - s'y
      {2 * eps, below(3 * eps), 2 * eps, 0},
      {3 * eps, eps, eps, -1},  // s'r
      {3 * eps, below(eps), 3 * eps, 0},
      {1, trigger, trigger, -1},  // no damping at the trigger
      {1, below(trigger), damped * damped / damped, -1},
      {1, -1, 1 - factor, -1},  // theta = factor/2, r = 1 - 2 theta
  };
  for (const auto& [H, y, result, flag] : cases) {
    const Updated u(1, {1.0}, {y}, {H});
    EXPECT_BITS(result, u.H[0]) << H << " " << y;
    EXPECT_EQ(u.flag, flag) << H << " " << y;
  }
  const Updated still(2, {0, 0}, {1, 2}, {1, 2, 3, 4});
  EXPECT_EQ(std::tuple(still.flag, still.H), std::tuple(0, (Values{1, 2, 3, 4})));
}

TEST_F(Curvature, UpdateByTheFormulaBitByBit) {
  Random random(2);
  VRK_settings.zeroTol = 0.0;
  for (int run = 0; run < 52; ++run) {
    const int n = 1 + run % 13;
    const bool symmetric = run % 2;
    const Values G = random.values(n * n);  // y = G s: curvature of either sign
    Values H = random.values(n * n);
    if (symmetric) GRGHIN(&n, by(1.0), H.data());
    for (int step = 0; step < (symmetric ? 10 : 1); ++step) {
      const Values s = random.values(n);
      Values y(n), u(n), v(n), r(n), P;
      double sHs = 0.0, sy = 0.0, sr = 0.0;
      for (int j = 0; j < n; ++j) {
        for (int i = 0; i < n; ++i) {
          y[i] += G[i + j * n] * s[j];
          u[i] += H[i + j * n] * s[j], v[j] += H[i + j * n] * s[i];
        }
        sHs += v[j] * s[j];
      }
      for (int i = 0; i < n; ++i) sy += s[i] * y[i];
      const double theta = sy < double{0.2f} * sHs ? double{0.8f} * sHs / (sHs - sy) : 1.0;
      for (int i = 0; i < n; ++i) r[i] = theta * y[i] + (1.0 - theta) * u[i], sr += s[i] * r[i];
      const bool changes = std::min({std::fabs(sHs), std::fabs(sHs - sy), std::fabs(sr)}) >= 1e-6f;
      const Updated updated(n, s, y, H);
      ASSERT_EQ(updated.flag, changes ? -1 : 0);
      const Values before = std::exchange(H, updated.H);
      for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
          const int at = i + j * n;
          const double formula = before[at] - u[i] * v[j] / sHs + r[i] * r[j] / sr;
          ASSERT_EQ(bits(H[at]), bits(changes ? formula : before[at]));
          if (symmetric) {
            ASSERT_EQ(bits(H[at]), bits(H[j + i * n]));
          }
          if (i <= j) P.push_back(H[at]);
        }
      int32_t fail = 0;
      if (symmetric) QPSTRI(P.data(), &n, by(1), &fail);
      ASSERT_EQ(fail, 0) << "positive pivots, n " << n << " step " << step;
    }
  }
}

TEST_F(Curvature, InitialHessian) {
  const auto least = std::bit_cast<double>(0x3F50624DD2F1A9FCu);
  const std::pair<Values, double> cases[] = {
      {{0, 0}, least},       {{1, -2, 6}, 3},      {{0.002, 0}, least},
      {{-0.003, 0}, 0.0015}, {{1, NAN, 2}, least}, {{1, -INFINITY}, INFINITY},
  };
  for (const auto& [g, diagonal] : cases) {
    const auto n = static_cast<int32_t>(g.size());
    Doubles H(n * n), K(n * n);
    SQPHIN(by(0), g.data(), H), GRGHIN(by(-2), &diagonal, K);
    EXPECT_EQ(std::tuple(H.untouched(), K.untouched()), std::tuple(true, true));
    SQPHIN(&n, g.data(), H), GRGHIN(&n, &diagonal, K);
    EXPECT_EQ(H.values(), K.values());
    for (int i = 0; i < n * n; ++i) EXPECT_EQ(H[i], i % (n + 1) == 0 ? diagonal : 0.0);
  }
}

TEST_F(Curvature, InverseUpdateByHand) {
  const std::tuple<double, double, Values> cases[] = {
      // a1, zeroTol, result
      {1, 1e-7, {2, 0, 1, 1}}, {3, 1e-7, {-2, 0, -3, 1}}, {2, 1e-7, {1, 0, 0, 1}},
      {1, 1, {1, 0, 0, 1}},    {3, 1, {1, 0, 0, 1}},      {3, 0.99, {-2, 0, -3, 1}}};
  for (const auto& [a1, zeroTol, result] : cases) {  // B = I, b = (1, 1), a = (a1, 0)
    VRK_settings.zeroTol = zeroTol, VRK_settings.printLevel = result[0] < 0 ? 2 : 3;
    const double a[] = {a1, 0}, b[] = {1, 1};
    Doubles B{1, 0, 55, 0, 1, 55}, u(2), w(2);
    const std::string text = captured([&] { GRGBUP(by(3), by(2), B, a, b, u, w); });
    EXPECT_EQ(B.values(), (Values{result[0], result[1], 55, result[2], result[3], 55}));
    EXPECT_EQ(text, result[0] < 2 ? ""
                                  : " UPDATED INVERSE JACOBIAN\n"
                                    "       2.00000       1.00000\n       0.00000       1.00000\n");
  }
}

// B := B - u w'/delta in the order of operations of the formula.
Values secantUpdate(int ld, int n, Values B, const Values& a, const Values& b) {
  Values u(n), w(n);
  double delta = 0.0;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) u[i] -= B[i + j * ld] * a[j], w[j] += B[i + j * ld] * b[i];
  for (int i = 0; i < n; ++i) delta += b[i] * (u[i] + b[i]);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) B[i + j * ld] -= u[i] * w[j] / delta;
  return B;
}

TEST_F(Curvature, StorageTwins) {
  Random random(4);
  for (int trial = 0; trial < 24; ++trial) {
    const int n = 1 + trial / 4, level = trial % 2, twin = trial / 2 % 2;  // GRSHES or GRSBUP
    const int ld = n + 2 * twin, needed = 1234 + 1 + (3 - twin) * n;
    const Values a = random.values(n), b = random.values(n), before = random.values(ld * n);
    const Values wanted = twin ? secantUpdate(ld, n, before, a, b) : Updated(n, a, b, before).H;
    Values X = before, u(n), w(n);
    const std::string line =
        "ERROR:  DOUBLE PRECISION STORAGE EXCEEDED      " + std::to_string(needed) + "\n";
    for (const bool enough : {false, true}) {
      SCOPED_TRACE(testing::Message() << trial << enough);
      int32_t updated = 5;
      VRK_setDefaults();
      VRK_settings.printLevel = level, VRK_settings.dblStorageUsed = 1234;
      VRK_settings.dblStorageCapacity = enough ? needed : needed - 1;
      const std::string text = captured([&] {
        if (twin) return GRSBUP(&ld, &n, X.data(), a.data(), b.data());
        GRSHES(&n, a.data(), b.data(), X.data(), &updated);
      });
      EXPECT_EQ(text, level == 0 || enough ? "" : line);
      EXPECT_EQ(VRK_settings.errorFlag, enough ? 0 : -1);
      EXPECT_EQ(VRK_settings.dblStorageUsed, 1234);
      EXPECT_EQ(X, enough ? wanted : before);
      EXPECT_EQ(updated, enough && !twin ? -1 : 5);
    }
    X = before;
    if (twin) GRGBUP(&ld, &n, X.data(), a.data(), b.data(), u.data(), w.data());
    EXPECT_EQ(X, twin ? wanted : before);
  }
}

}  // namespace
