// Every ending of a solve by a problem that is worked out by hand: status, counters, storage marks,
// and what is printed.

#include <cmath>

#include "sqp/solve.h"

using namespace support;

namespace {

class SqpEndings : public Library {};

void constant(double*, double* f, double*, double*) {
  *f = 3.0;
}
void linear(double* x, double* f, double*, double*) {
  *f = x[0];
}
void stopBelow(double* x, double* f, double*, double*) {
  VRK_set_stop((*f = x[0]) < 0.8);
}
void tooSteep(double* x, double* f, double*, double*) {
  *f = 1e9 * x[0];
}
void flatParabola(double* x, double* f, double*, double*) {
  *f = 0.02 * x[0] * x[0] + 0.1 * x[0];
}
// Descends over the difference step only: every trial of the line search is refused.
void trap(double* x, double* f, double*, double*) {
  *f = std::fabs(x[0]) < 2e-4 ? -x[0] : 1.0;
}
void violated(double*, double* f, double* h, double*) {
  *f = 3.0, *h = 1.0;
}
void atTolerance(double* x, double* f, double* h, double*) {
  *f = 0.25 * x[0], *h = 0.25;
}

const auto none = [] {};
void exact() {
  VRK_set_diffPert(1.0 / 1024.0), VRK_set_convTol(0.25);
}
void shortSteps() {
  VRK_settings.maxStepNorm = 0.25;
}
template <int32_t capacity>
void doubles() {
  VRK_settings.dblStorageCapacity = capacity, VRK_set_print(capacity % 2);
}

constexpr int32_t untouched = 77;

struct Ending {
  const char* name;
  Values start;
  int m1;
  decltype(Recorder::fill) fill;
  void (*options)();
  int32_t maxIter, status, iterations, evaluations, gradients;
  const char* printed = "";
  int32_t errorFlag = 0, indexMark = 0;
};

// n = 1 without constraints takes 23 doubles, above them 3 for the gradients, later 7 for the
// subproblem, and 5 integers.
// clang-format off
const Ending endings[] = {
    {"converged, forward", {0, 0}, 0, constant, none, 9, 1, 1, 1 + 2 + 1, 1},
    {"converged, central", {0, 0}, 0, constant, [] { VRK_set_diffMeth(0); }, 9, 1, 1, 1 + 4 + 1, 1},
    {"slope and violation equal the tolerance", {1}, 1, atTolerance, exact, 9, 1, 1, 3, 1},
    {"no variables", {}, 0, constant, none, 9, 1, 1, 2, 1},
    {"no iteration", {0}, 0, constant, none, 0, 2, untouched, 1, 0},
    {"fewer than none", {0}, 0, constant, none, -3, 2, untouched, 1, 0},
    {"iteration limit", {1}, 0, linear, shortSteps, 2, 2, 2, 5, 2},
    {"no solution: 1/H below zeroTol", {-0.5}, 0, tooSteep, none, 9, 4, 1, 2, 1},
    {"not definite", {0}, 0, constant, [] { VRK_settings.zeroTol = 0.01; }, 9, 5, 1, 2, 1},
    // B = 0.14, then 0.04 from the update: reset to 0.1; then 0.04 again: reset to 0.06.
    {"reset helps", {1}, 0, flatParabola, [] { VRK_settings.zeroTol = 0.05; }, 9, 1, 3, 7, 3},
    {"subproblem's storage", {0}, 0, constant, doubles<28>, 9, 6, 1, 2, 1,
     "ERROR: DOUBLE PRECISION STORAGE EXCEEDED,         30\n"},
    {"doubles", {0}, 0, constant, doubles<22>, 9, 7, untouched, 0, 0,
     "SQP: Double precision storage exceeded,        23\n", 0, 23},
    {"integers", {0}, 0, constant, [] { VRK_settings.intStorageCapacity = 4; }, 9, 7, untouched, 0,
     0, "SQP: Integer storage exceeded,         5         \n"},
    {"gradients' storage", {0}, 0, constant, doubles<24>, 9, 7, 1, 1, 0, "", -1},
    {"gradients' storage, level 1", {0}, 0, constant, doubles<25>, 9, 7, 1, 1, 0,
     "Error:  Double precision b storage exceeded        26\n", -1},
    {"error flag of before", {0}, 0, constant, [] { VRK_settings.errorFlag = -1; }, 9, 7, 1, 3, 1,
     "", -1},
    {"stopped", {0}, 0, constant, [] { VRK_set_stop(1); }, 9, 8, 1, 1, 0},
    {"stopped on the way", {1}, 0, stopBelow, shortSteps, 9, 8, 2, 3, 1},
    {"stop is 1 alone", {0}, 0, constant, [] { VRK_set_stop(2); }, 9, 1, 1, 3, 1},
    // The subproblem has no solution, d = 0, and the weight is halved from 0.01 on:
    // |0.00125 - 0.0003125| is the first difference to the last but one below 0.001.
    {"merit, violated", {0}, 1, violated, none, 99, 9, 5, 1 + 4 * 2 + 1, 5},
    {"line search fails", {0}, 0, trap, [] { VRK_set_print(1); }, 99, 9, 3, 1 + 2 * (1 + 5 + 1) + 1,
     3, "Warning: Line Search Failed\nWarning: Line Search Failed\n"},
    {"too many variables", Values(101), 0, constant, none, 9, 99, untouched, 0, 0},
};
// clang-format on

TEST_F(SqpEndings, StatusCountersMarksAndText) {
  for (const Ending& e : endings) {
    SCOPED_TRACE(e.name);
    VRK_setDefaults();
    VRK_settings.nIter = untouched;
    e.options();
    Solve solve(e.start, e.m1, 0, e.fill);
    EXPECT_EQ(e.printed, captured([&] { EXPECT_EQ(e.status, solve.run(e.maxIter)); }));
    EXPECT_EQ(e.iterations, VRK_get_nIter());
    EXPECT_EQ(e.evaluations, VRK_get_nFunEval());
    EXPECT_EQ(e.evaluations, static_cast<int>(solve.host.calls.size()));
    EXPECT_EQ(e.gradients, VRK_settings.nGradEval);
    EXPECT_EQ(e.errorFlag, VRK_settings.errorFlag);
    EXPECT_EQ(0, VRK_settings.dblStorageUsed);
    EXPECT_EQ(e.indexMark, VRK_settings.intStorageUsed);
    EXPECT_EQ(e.evaluations == 0, solve.f.untouched());
    if (e.evaluations <= 1) {
      EXPECT_EQ(solve.x.values(), e.start);
    }
  }
}

TEST_F(SqpEndings, OneCellShortRefusesAndTheExactCapacityPasses) {
  const struct {
    int32_t n, m2, doubles, integers;
  } sizes[] = {{100, 0, 12101, 302}, {60, 60, 8701, 302}, {1, 0, 23, 5}};
  for (const auto& s : sizes) {
    const auto status = [&](int32_t doubleCapacity, int32_t integerCapacity) {
      VRK_settings.dblStorageCapacity = doubleCapacity;
      VRK_settings.intStorageCapacity = integerCapacity;
      Solve solve(Values(static_cast<std::size_t>(s.n), 0.5), 0, s.m2,
                  [&](double* x, double* f, double*, double* g) {
                    *f = x[0];
                    for (int i = 0; i < s.m2; ++i) g[i] = x[i] - 0.75;
                  });
      int32_t result = 0;
      captured([&] { result = solve.run(3); });
      return result;
    };
    // The subproblem's share above the solve's own.
    const int32_t whole = s.doubles + 2 * s.n * s.n + 5 * s.n + s.m2;
    VRK_setDefaults();
    EXPECT_EQ(6, status(whole - 1, 5000));
    EXPECT_EQ(7, status(whole, s.integers - 1));
    EXPECT_EQ(1, status(whole, s.integers)) << "both marks were restored";
    // A refusal for doubles leaves the total as the mark of the integers, until the defaults.
    EXPECT_EQ(7, status(s.doubles - 1, 5000));
    EXPECT_EQ(7, status(whole, s.doubles + s.integers - 1));
    EXPECT_EQ(1, status(whole, s.doubles + s.integers));
    EXPECT_EQ(s.doubles, VRK_settings.intStorageUsed);
  }
}

// Counts that no storage holds are refused before a list or value is touched, with the true total,
// of which the 49 characters of the message hold nine digits.
TEST_F(SqpEndings, GiantCountsAreRefused) {
  const struct {
    int32_t m1, m2, mark;
    const char* printed;
  } cases[] = {
      {2000000, 0, 10000023, "SQP: Double precision storage exceeded,  10000023\n"},
      {0, 2000000000, INT32_MAX, "SQP: Double precision storage exceeded, 100000000\n"},
      {2000000000, 2000000000, INT32_MAX, "SQP: Double precision storage exceeded, 200000000\n"}};
  for (const auto& c : cases) {
    VRK_setDefaults();
    Doubles x{0.5}, f(1), l{0}, u{2};
    EXPECT_EQ(c.printed, captured([&] {
                EXPECT_EQ(7, VRK_sqp(5, 1, x, l, u, c.m1, c.m2, nullptr, nullptr, f));
              }));
    EXPECT_EQ(0.5, x[0]);
    EXPECT_TRUE(f.untouched());
    EXPECT_EQ(c.mark, VRK_settings.intStorageUsed);
  }
}

}  // namespace
