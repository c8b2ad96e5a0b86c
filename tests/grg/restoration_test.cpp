// Newton restoration of feasibility, with bounds where scaling is exact.

#include "grg/grg_test.h"

#include <tuple>

namespace {

using namespace support;

// Three variables; functions 2 and 3 may be restored; matrices with leading dimension 4.
struct Newton {
  int32_t mode = 0, broyden = 0, maxIter = 1, ld = 4, nRows = 1, stepVar = 0, nIndep = 0, nDep = 1;
  int32_t nVar = 3, nFun = 3, k = 2, allAtBound = 7, converged = 7, iter = 77;
  Ints rows{2, 3}, independent{2, 3}, dependent{1, 1};
  Doubles inverse{0.25, 0, 0, 0, 0, 0}, jacobian{4, 0, 0, 0, 0, 0}, dir{0, 0, 0}, x{0.5, 0, 0};
  Doubles lower{-1, -1, -1}, upper{1, 1, 1}, f{9, 1, 0}, base{0, 0, 0}, previous{0, 0, 0};
  Doubles dx = Doubles(2), r = Doubles(2);
  double tBase = 0, tPrev = 0, alpha = 0;
  Recorder host;

  explicit Newton(std::function<void(double* x, double* h)> constraints) {
    host.install({-1, -1, -1}, {1, 1, 3}, 2);
    host.fill = [constraints](double* at, double*, double* h, double*) { constraints(at, h); };
  }
  void run(bool twin = false) {
    const auto call = [&](auto routine, auto... work) {
      routine(&mode, &broyden, &maxIter, &ld, &nRows, rows, inverse, jacobian, &stepVar, &nIndep,
              independent, &nDep, dependent, dir, &nVar, x, lower, upper, &nFun, f, &k, base,
              previous, &tBase, &tPrev, &alpha, &allAtBound, &converged, &iter, work...);
    };
    twin ? call(GRSNR) : call(GRGNR, dx.begin(), r.begin());
  }
  std::string trace(int level, bool twin = false) {
    VRK_set_print(level);
    return captured([&] { run(twin); });
  }
};

class RestorationTest : public Library {};

const auto twice = [](double* x, double* h) { h[0] = 2 * x[0], h[1] = 0 - 2 * x[0]; };

TEST_F(RestorationTest, SatisfiedAtOnce) {
  const std::string end = "NR ITERATIONS=    0\n";
  const std::string point =
      " DV RETURN NR\n       0.50000       0.00000       0.00000\n"
      " DF RETURN NR\n       9.00000   1.00000e-03  -1.00000e-03\n";
  for (const int level : {0, 1, 2, 3}) {
    Newton newton(twice);
    newton.nRows = 2, newton.f[1] = 0.001, newton.f[2] = -0.001;
    EXPECT_EQ(newton.trace(level), level == 0 ? "" : level == 2 ? point + end : end);
    EXPECT_EQ(std::tuple(newton.converged, newton.iter, newton.allAtBound), std::tuple(-1, 1, 7));
    EXPECT_EQ(VRK_settings.nNewton1 + VRK_settings.nNewton2 + VRK_settings.nFunEval, 0);
  }
}

// One row, x = 1/2 at first in the box [-3/4, 7/8]; each correction is -h/4 for the h in turn.
TEST_F(RestorationTest, Endings) {
  enum { limit, converged, iter, x, growing, atBound, h };
  const Values cases[] = {{0, 0, 1, 0.5, 0, 0, 1},
                          {3, 0, 4, 0.0625, 0, 0, 1, 0.5, 0.25, 0.125},
                          {4, -1, 4, 0.0625, 0, 0, 1, 0.5, 0.25, 0.125},  // 1/8 is the tolerance
                          {2, 0, 3, 0, 0, 0, 1, 1, 1},
                          {2, 0, 2, 0.515625, 1, 0, 1, -1.0625},
                          {2, 0, 2, -0.75, 1, 1, 1, 8},
                          // Kept: on the upper bound is inside, on the lower bound is not.
                          {1, 0, 2, 0.875, 0, 0, -1.5, 1},
                          {1, 0, 1, 0.875, 0, 1, -2},
                          {1, 0, 2, -0.625, 0, 0, 4.5, 1},
                          {1, 0, 1, -0.75, 0, 1, 5},
                          {1, 0, 1, -0.75, 0, 1, 6}};
  for (const Values& c : cases) {
    SCOPED_TRACE(&c - cases);
    VRK_setDefaults();
    VRK_settings.convTol = 0.125;
    std::size_t next = h + 1;
    Newton newton([&](double*, double* values) { values[0] = c.at(next++); });
    newton.maxIter = static_cast<int32_t>(c[limit]), newton.f[1] = c[h];
    newton.lower[0] = -0.75, newton.upper[0] = 0.875;
    const std::string text = newton.trace(c[converged] ? 1 : 2);
    EXPECT_EQ(text, std::string(c[converged] ? "NR ITERATIONS=    3\n" : "") +
                        (c[growing] ? "NR RESIDUALS GROWING\n" : "") +
                        (c[atBound] ? "DEPENDENT VAR AT BOUND\n" : ""));
    EXPECT_EQ(std::tuple(newton.converged, newton.iter), std::tuple(c[converged], c[iter]));
    EXPECT_EQ(std::tuple(newton.x[0], next), std::tuple(c[x], c.size()));
    EXPECT_EQ(VRK_settings.nNewton1, c[limit] > 0);
    EXPECT_EQ(VRK_settings.nNewton2, static_cast<int>(c.size()) - h - 1);
    EXPECT_EQ(std::tuple(newton.inverse[0], newton.jacobian[0]),
              std::tuple(0.25, 4));  // broyden is false
  }
}

// Two rows. With s = -B h = (-1/2, -1/2) and the new values g, B g = (3/4, -1/4):
//     B := B - (B g)(s'B) / s'(B g + s),   J := J + g s' / s's,
// and the one stays the inverse of the other. Mode 3 negates function 2.
TEST_F(RestorationTest, UpdatesByHandAndTrace) {
  for (const bool twin : {false, true}) {
    Newton newton([](double* x, double* h) { h[0] = -3.25, h[1] = -x[2]; });
    newton.broyden = -1, newton.nRows = newton.nDep = 2, newton.dependent[1] = 2;
    newton.mode = 3, newton.k = 2, newton.nVar = 2;  // so that x(3) is not scaled
    newton.x[2] = 0.5, newton.f[1] = 1.5, newton.f[2] = 1;
    newton.inverse[4] = 0.125, newton.inverse[5] = 0.5;
    newton.jacobian[4] = -1, newton.jacobian[5] = 2;
    EXPECT_EQ(
        newton.trace(3, twin),
        "I=    1 DELDV(I)=      -0.50000\nI=    2 DELDV(I)=      -0.50000\n"
        " DV AFTER NR\n       0.00000      -0.50000\n"
        " DF AFTER NR\n       9.00000       3.25000      -0.50000\n"
        " UPDATED INVERSE JACOBIAN\n       0.62500       1.06250\n      -0.12500       0.18750\n"
        " UPDATED JACOBIAN\n       0.75000      -4.25000\n       0.50000       2.50000\n");
    EXPECT_EQ(newton.inverse.values(), (Values{0.625, -0.125, 0, 0, 1.0625, 0.1875}));
    EXPECT_EQ(newton.jacobian.values(), (Values{0.75, 0.5, 0, 0, -4.25, 2.5}));
  }
}

// Row 1 asks nothing; the last row asks for a change of the step from 1/2 by 1/4. Independent
// variables are counted from the base at step 1/4, dependent ones move on from where they are.
TEST_F(RestorationTest, StepRows) {
  const double yes = 1, no = 0;
  const Values cases[] = {
      // tPrev, x1, stepVar, d2, nIndep, x, evaluated, allAtBound
      {0.25, 0.375, 0, 1, 2, 0.5, 0.5, -0.375, yes, 7},     // on the tangent
      {0.125, 0.375, 0, 1, 2, 0.5, 0.5, -0.375, yes, 7},    // steps within zeroTol
      {-0.25, 0.375, 0, 1, 2, 0.625, 0.5, -0.375, yes, 7},  // on the secant
      {0.25, 0.875, 0, 1, 2, 1, 0.5, -0.375, yes, 7},       // just reaches its bound
      {0.25, 0.9375, 0, 1, 2, 1, 0.5, -0.375, no, 7},       // clamped
      {0.25, 0.375, 1, 1, 2, 0.375, 0.5, -0.375, yes, 7},   // a variable stands for the step
      {0.25, 0.375, 0, 4, 2, 0.5, 1, -0.375, yes, 7},
      {0.25, 0.375, 0, 4, 1, 0.375, 1, 0.125, no, -1},  // all projected: nothing else moves
      {0.25, 0.375, 0, 4, 0, 0.5, 0.25, 0.125, yes, 7},
  };
  for (const Values& c : cases) {
    SCOPED_TRACE(&c - cases);
    VRK_setDefaults();
    VRK_settings.zeroTol = 0.125;
    Newton newton(twice);
    newton.stepVar = static_cast<int32_t>(c[2]), newton.nIndep = static_cast<int32_t>(c[4]);
    newton.nRows = newton.stepVar ? 1 : 2, newton.inverse[0] = 0, newton.f[1] = 0;
    const int last = newton.nRows - 1;
    newton.f[1 + last] = 0.5, newton.inverse[5 * last] = -0.5;
    newton.tBase = 0.25, newton.tPrev = c[0], newton.alpha = 0.5;
    newton.base[0] = 0.25, newton.previous[0] = -0.25, newton.base[2] = 0.125;
    newton.dir[0] = 0.5, newton.dir[1] = c[3], newton.dir[2] = -1;
    newton.x[0] = c[1], newton.x[1] = 0.25, newton.x[2] = 0.125;
    EXPECT_EQ(newton.trace(2), c[8] == yes || c[9] == -1 ? "" : "DEPENDENT VAR AT BOUND\n");
    EXPECT_EQ(newton.x.values(), Values(&c[5], &c[5] + 3));
    EXPECT_EQ(std::tuple(newton.alpha, newton.allAtBound), std::tuple(0.75, c[9]));
    EXPECT_EQ(std::tuple(VRK_settings.nNewton2, newton.iter), std::tuple(c[8], 1 + c[8]));
  }
}

TEST_F(RestorationTest, Storage) {
  Newton newton(twice);
  newton.broyden = -1;
  for (const bool twin : {false, true})  // the twin claims its vectors, and above them the work
    expectClaim(twin ? 6 : 3, [&] {
      newton.x[0] = 0.5, newton.f[1] = 1, newton.inverse[0] = 0.25, newton.jacobian[0] = 4;
      newton.run(twin);
      const bool refused = VRK_settings.errorFlag == -1;
      EXPECT_EQ(std::tuple(newton.f[1], newton.converged), std::tuple(0.5, 0))
          << "evaluated in either case";
      EXPECT_EQ(newton.iter, refused ? 1 : 2);
      EXPECT_EQ(newton.inverse[0], refused ? 0.25 : 0.5);
      EXPECT_EQ(newton.jacobian[0], refused ? 4.0 : 2.0);
    });
  VRK_settings.dblStorageCapacity = VRK_settings.dblStorageUsed + 2;
  newton.converged = 7;
  EXPECT_NE(newton.trace(1, true), "");
  EXPECT_EQ(std::tuple(newton.converged, VRK_settings.nFunEval), std::tuple(0, 4))
      << "refused at its entry";
}

}  // namespace
