// The steps of one iteration: traces of tiny solves line by line, the line search's constants, what
// is restored, and the work arrays that the routine fills. A difference step of 2^-10 and quadratic
// functions make all arithmetic exact.

#include <cmath>
#include <cstdlib>
#include <limits>

#include "sqp/solve.h"

using namespace support;

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double single001 = 0.009999999776482582;  // the first penalty weight

class SqpIteration : public Library {
 protected:
  SqpIteration() {
    VRK_set_diffPert(1.0 / 1024.0);
    VRK_set_diffMeth(2);
  }
};

// x^2, x >= 1/8, from 1/4: d = -1/8 with lambda = 7/16. The first trial meets a hump; the parabola
// takes the slope of the whole d, -1/16, and its vertex 1/4.
TEST_F(SqpIteration, LevelThreeTrace) {
  VRK_set_print(3);
  VRK_settings.maxStepNorm = 0.09375;
  Solve solve({0.25}, 0, 1, [](double* x, double* f, double*, double* g) {
    *f = x[0] > 0.15 && x[0] < 0.16 ? 0.125 : x[0] * x[0];
    *g = 0.125 - x[0];
  });
  const char* const expected = R"( Starting Variable Values
       0.25000
 Starting Function Values
   6.25000e-02      -0.12500
Difference Step=   9.76562e-04
 Gradd: Ineqs First, Then Eqs, Then Obj
      -1.00000       0.50000
 Hessian
       0.50000
 Search Direction
      -0.12500
 Lambda: Ineqs First, Then Eqs, Then Bounds
       0.43750       0.00000       0.00000
Dderiv=  -6.25000e-02  Istopp=   0
Clipping Search Vector
Initial Penalty=   6.25000e-02
 Variable Values
       0.15625
 Function Values
       0.12500  -3.12500e-02
Step Length=       1.00000  Penalty=       0.12500
 xmu
       0.43750
Pender=   -6.25000e-02 Astar=        0.25000
 Variable Values
       0.22656
 Function Values
   5.13306e-02      -0.10156
Step Length=       0.25000  Penalty=   5.13306e-02
Difference Step=   9.76562e-04
 Dvdel
  -2.34375e-02
 Gradel
  -4.68750e-02
 Gradd: Ineqs First, Then Eqs, Then Obj
      -1.00000       0.45312
 Hessian
       2.00000
 Search Direction
      -0.10156
 Lambda: Ineqs First, Then Eqs, Then Bounds
       0.25000       0.00000       0.00000
Dderiv=  -4.60205e-02  Istopp=   0
Clipping Search Vector
Initial Penalty=   5.13306e-02
 Variable Values
       0.13281
 Function Values
   1.76392e-02  -7.81250e-03
Step Length=       1.00000  Penalty=   1.76392e-02
)";
  EXPECT_EQ(expected, captured([&] { EXPECT_EQ(2, solve.run(2)); }));
  EXPECT_EQ(0.1328125, solve.x[0]);
}

// 1/2 - x^2 <= 0 from its maximum, where it has no gradient: the first subproblem is reformulated,
// and the second iteration starts from a new Hessian. The weight of a constraint without multiplier
// is halved.
TEST_F(SqpIteration, ReformulationAndTheResetAfterIt) {
  const auto fill = [](double* x, double* f, double*, double* g) {
    *f = -x[0];
    *g = 0.5 - x[0] * x[0];
  };
  VRK_settings.maxStepNorm = 0.5;
  VRK_set_print(2);
  Solve two({0}, 0, 1, fill);
  EXPECT_EQ(R"(No solution to QP problem, Reformulating
 Gobj
      -1.00000
 Search Direction
       1.00000
Clipping Search Vector
Initial Penalty=   2.50000e-03
Step Length=       1.00000  Penalty=      -0.49875
 Search Direction
       0.50000
Initial Penalty=      -0.49938
Step Length=       1.00000  Penalty=      -1.00000
)",
            captured([&] { EXPECT_EQ(2, two.run(2)); }));

  VRK_set_print(3);
  Solve three({0}, 0, 1, fill);
  const std::string text = captured([&] { EXPECT_EQ(1, three.run(3)); });
  std::size_t second = text.find(" Hessian", text.find(" Hessian") + 1);
  EXPECT_LT(second, text.find(" Dvdel")) << "no update in the second iteration";
  EXPECT_LT(text.find(" Dvdel"), text.find(" Hessian", second + 1));
}

TEST_F(SqpIteration, MeritStallIsTracedAtLevelThree) {
  for (const int level : {2, 3}) {
    VRK_set_print(level);
    Solve solve({0}, 1, 0, [](double*, double* f, double* h, double*) { *f = 3.0, *h = 1.0; });
    const std::string text = captured([&] { EXPECT_EQ(9, solve.run()); });
    EXPECT_EQ(level == 3, text.ends_with("TERMINATE: PENALTY NOT CHANGING\n")) << text;
  }
}

// A bound that d passes by less than zeroTol is held by the trial point.
TEST_F(SqpIteration, TrialPointsStayWithinTheBounds) {
  for (const double bound : {-1.0, 1.0}) {
    Solve solve({bound * 5e-8}, 0, 0,
                [&](double* x, double* f, double*, double*) { *f = -bound * x[0]; });
    solve.run(1);
    EXPECT_EQ(bound, solve.x[0]);
  }
}

TEST_F(SqpIteration, ParabolaTable) {
  const double cases[][6] = {
      // a1, a2, f1, f2, g1, vertex
      {0, 1, 0, 1, -1, 0.25},
      {0.5, 1, 0, 0, -1, 0.75},
      {0, 1, 0, 3, 1, 0},         // held at 0
      {0, 1, 0, -0.75, -1, 1},    // held at a2
      {0, 1, 0, 5e-8, -5e-8, 0},  // curvature zeroTol
      {0, 1, 0, 6e-8, -5e-8, 5e-8 / 2.2e-7},
      {0, 1, 0, nan, -1, 0},
      {0, 1, 0, 1, nan, 0},
  };
  for (const auto& c : cases) {
    double astar = nan;
    SQPPR2(&c[0], &c[1], &c[2], &c[3], &c[4], &astar);
    EXPECT_DOUBLE_EQ(c[5], astar) << &c - cases;
  }
}

// The second trial's step after a first value v: from phi = 0 along d = 1 with slope -1 the vertex
// is 1 / (2 (v + 1)).
TEST_F(SqpIteration, SecondTrialOfTheLineSearch) {
  const struct {
    const char* name;
    double v, step, g = -1.0;
  } cases[] = {
      {"vertex", 1.0, 0.25},
      {"above the single 0.1", 3.9999999, 0.5 / (3.9999999 + 1.0)},
      {"between the tenths: tested by the single, cut by the double", 3.999999965, 0.1},
      {"below", 10.0, 0.1},
      {"not a number", nan, 0.1},
      {"violation not a number", -9.0, 0.1, nan},
      {"infinite", infinity, 0.1},
      {"equal is accepted", 0.0, 1.0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Solve solve({0}, 0, 1, [&](double* x, double* f, double*, double* g) {
      *f = std::fabs(x[0]) < 0.002 ? -x[0] : x[0] == 1.0 ? c.v : -2.0;
      *g = x[0] == 1.0 ? c.g : -1.0;
    });
    EXPECT_EQ(2, solve.run(1));
    EXPECT_EQ(c.step, solve.x[0]);
  }
  // An equality adds its derivative without its sign: from h < 0 the merit function seems to rise,
  // and a vertex beyond 0.9 of the step is cut to that.
  Solve rise({0}, 1, 0, [](double* x, double* f, double* h, double*) {
    const double slope = 0.5 * ((single001 + 0.0005) * 0.5);
    *h = x[0] - 0.5;
    *f = x[0] == 0.5 ? slope + 0.45 * slope : 0.0;
  });
  rise.run(1);
  EXPECT_BITS(0.9 * 0.5, rise.x[0]);
}

// Two constraints of each kind in three variables; the start violates both kinds.
void evaluateQuadratic(const double* x, double* f, double* h1, double* h2, double* g1, double* g2) {
  *f = x[0] * x[0] + 2 * x[1] * x[1] + 3 * (x[2] - 0.3) * (x[2] - 0.3) - x[0] * x[1];
  *h1 = x[0] + x[1] * x[2] - 0.3;
  *h2 = x[1] - 0.2 * x[2] * x[2];
  *g1 = 0.4 - x[2];
  *g2 = x[0] * x[0] + x[2] - 0.7;
}

// The routine on guarded arrays, with its functions in the order h2, g2, f, h1, a stranger, g1.
struct Direct {
  static constexpr int n = 3, nfun = 6, mc = 4, L = mc + 2 * n;
  template <class T, int size>
  struct Cells : Guarded<T> {
    Cells() : Guarded<T>(size) {}
  };
  Recorder host;
  Doubles x{0.5, -0.2, 0.1}, lower{-1, -1, -1}, upper{1, 1, 1};
  Cells<double, L> lambda, mu, XLAG;
  Cells<double, n * nfun> G;
  Cells<double, n * n> B;
  Cells<double, mc> rhs;
  Cells<double, n> gObj, d, xSaved, dLower, dUpper, oldL, newL, dvdel, gradel, w1, w2, w3, spare1,
      spare2;
  Cells<double, nfun> F;
  Ints inequalities{6, 2}, equalities{4, 1};
  Cells<int32_t, L> IACT;
  Cells<int32_t, nfun> columnMap;
  Cells<int32_t, n> codes;
  Cells<int32_t, 1> count, status;

  // Evaluations first..last get a bad objective: their trials are refused.
  explicit Direct(int first = 0, int last = 0, double physicalUpper = 1.0) {
    host.fill = [=, k = -1](double* at, double* f, double*, double*) mutable {  // 0 is install's
      evaluateQuadratic(at, &f[2], &f[3], &f[0], &f[5], &f[1]);
      f[4] = at[0];
      if (++k >= first && k <= last) f[2] += 100.0;
    };
    host.install(lower.values(), Values(n, physicalUpper), 0, nfun - 1);
  }
  int32_t run(int32_t maxIter) {
    SQPALG(by(maxIter), by(n), x, by(nfun), F, by(3), by(2), inequalities, by(2), equalities, count,
           lambda, mu, XLAG, G, rhs, B, gObj, d, xSaved, dLower, dUpper, oldL, newL, dvdel, gradel,
           w1, w2, w3, spare1, spare2, IACT, columnMap, codes, lower, upper, status);
    return status[0];
  }
  double along(int column) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i) sum += G[column * n + i] * d[i];
    return sum;
  }
};

TEST_F(SqpIteration, OrderOfTheFunctionsDoesNotMatter) {
  for (const int32_t maxIter : {1, 2, 50}) {
    VRK_setDefaults();
    Direct direct;
    const int32_t status = direct.run(maxIter);
    const int32_t evaluations = VRK_get_nFunEval(), iterations = VRK_get_nIter();
    VRK_setDefaults();
    Solve solve({0.5, -0.2, 0.1}, 2, 2, [](double* x, double* f, double* h, double* g) {
      evaluateQuadratic(x, f, &h[0], &h[1], &g[0], &g[1]);
    });
    EXPECT_EQ(solve.run(maxIter), status);
    EXPECT_EQ(maxIter == 50 ? 1 : 2, status);
    EXPECT_EQ(VRK_get_nFunEval(), evaluations);
    EXPECT_EQ(VRK_get_nIter(), iterations);
    for (int i = 0; i < 3; ++i) EXPECT_BITS(solve.x[i], direct.x[i]);
    const int place[] = {2, 3, 0, 5, 1};
    for (int i = 0; i < 5; ++i) EXPECT_BITS(solve.f[i], direct.F[place[i]]);
  }
}

// The evaluation after a failed line search is at the point of before it, bit for bit.
TEST_F(SqpIteration, FailedLineSearchRestoresThePoint) {
  VRK_set_diffPert(1e-4);
  const double l = -1.0, u = 1.3;
  Direct s(8, 12, u);
  EXPECT_EQ(2, s.run(1));
  ASSERT_EQ(13U, s.host.calls.size());
  for (int i = 0; i < s.n; ++i)
    EXPECT_BITS(((u - l) * s.xSaved[i] + (u + l)) * 0.5, s.host.calls.back().x[std::size_t(i)]);
}

// The arrays after one iteration satisfy the subproblem's optimality conditions, and the traced
// merit value and slope are those of the weights.
TEST_F(SqpIteration, ArraysOfOneIteration) {
  VRK_settings.maxStepNorm = 100.0;
  Direct s(8, 8);  // the first trial
  VRK_set_print(3);
  const std::string text = captured([&] { EXPECT_EQ(2, s.run(1)); });
  EXPECT_EQ(s.L, s.count[0]);
  EXPECT_EQ((std::vector<int32_t>{4, 2, 6, 3, 0, 1}), s.columnMap.values());
  EXPECT_EQ((std::vector<int32_t>{1, 1, 1}), s.codes.values());
  for (int i = 0; i < s.n; ++i) {
    EXPECT_TRUE(s.G.untouched(4 * s.n + i)) << "the stranger's column";
    EXPECT_BITS(s.gObj[i], s.G[5 * s.n + i]);
    double stationarity = s.gObj[i] + s.lambda[s.mc + 2 * i] - s.lambda[s.mc + 2 * i + 1];
    for (int j = 0; j < s.n; ++j) stationarity += s.B[j * s.n + i] * s.d[j];
    for (int c = 0; c < s.mc; ++c) stationarity += s.lambda[c] * s.G[c * s.n + i];
    EXPECT_NEAR(0.0, stationarity, 1e-12);
  }
  double f, value[4];  // in the order of the columns
  evaluateQuadratic(s.xSaved, &f, &value[2], &value[3], &value[0], &value[1]);
  double phi = f, slope = s.along(5);
  for (int c = 0; c < s.mc; ++c) {
    const double residual = s.along(c) - s.rhs[c], size = std::fabs(s.lambda[c]);
    EXPECT_NEAR(value[c], -s.rhs[c], 1e-12);
    EXPECT_NEAR(0.0, c < 2 ? std::max(residual, 0.0) : residual, 1e-9);
    if (c < 2) {
      EXPECT_GE(s.lambda[c], 0.0);
    }
    EXPECT_BITS(std::max(size, (single001 + size) * 0.5), s.mu[c]);
    phi += s.mu[c] * (c < 2 ? std::max(value[c], 0.0) : std::fabs(value[c]));
    if (c >= 2 || value[c] > 0.0) slope += s.mu[c] * s.along(c);
  }
  EXPECT_LT(0.0, value[0]);
  EXPECT_GT(0.0, value[1]);
  EXPECT_LT(0.0, value[2]);
  EXPECT_GT(0.0, value[3]);
  const auto traced = [&](const std::string& label) {
    const auto at = text.find(label);
    return at == text.npos ? nan : std::strtod(text.c_str() + at + label.size(), nullptr);
  };
  EXPECT_NEAR(phi, traced("Initial Penalty="), 1e-5);
  EXPECT_NEAR(slope, traced("Pender="), 1e-5);
}

// Counts below one mean that there is nothing of the kind.
TEST_F(SqpIteration, NegativeCounts) {
  const auto run = [](int32_t n, int32_t m1, int32_t m2, double start) {
    Recorder host;
    host.fill = [](double* x, double* f, double*, double*) { f[0] = x[0], f[1] = 0.25 - x[0]; };
    host.install({-1}, {1}, 0, 1);
    Doubles x{start}, F(2), lower{-1}, upper{1};
    Ints list{2}, status(1);
    SQSALG(by(20), by(n), x, lower, upper, by(2), F, by(1), by(m1), list, by(m2), list, status);
    EXPECT_EQ(1, status[0]);
    return x[0];
  };
  EXPECT_NEAR(0.25, run(1, -4, 1, 0.5), 1e-6);
  EXPECT_NEAR(0.25, run(1, 1, -4, 0.5), 1e-6);
  EXPECT_EQ(0.5, run(-2, -1, 1, 0.5));
}

}  // namespace
