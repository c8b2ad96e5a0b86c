// The iteration as a whole: every ending by a problem that is worked out by hand, the storage, the
// trace, the feasibility phase, and the arrays of the routine that takes them from its caller.

#include <limits>
#include <numbers>
#include <tuple>

#include "grg/along.h"
#include "sqp/solve.h"

using namespace support;

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN(), pi = std::numbers::pi;

class GrgIteration : public Library {};

// clang-format off
void constant(double*, double* f, double*, double*) { *f = 3.0; }
void violated(double*, double* f, double* h, double*) { *f = 3.0, *h = 0.5; }
void half(double* x, double* f, double*, double*) { *f = 0.5 * x[0]; }
void lessThanHalf(double* x, double* f, double*, double*) { *f = 0.499 * x[0]; }
void steep(double* x, double* f, double*, double*) { *f = 100 * x[0]; }
void steepBelow(double* x, double* f, double*, double* g) { *f = 0, *g = 100 * x[0] + 200; }
void tooSteep(double* x, double* f, double*, double*) { *f = 1e9 * x[0]; }
void beyondBound(double* x, double* f, double* h, double*) { *f = x[0], *h = x[0] - 1.0005; }
void noNumber(double*, double* f, double*, double*) { *f = nan; }
// Falls over the difference step only: the trials form a flat bracket.
void trap(double* x, double* f, double*, double*) { *f = std::fabs(x[0]) < 2e-4 ? 1 - x[0] : 1; }
void trapBelow(double* x, double* f, double*, double* g) { *f = 0, trap(x, g, f, f); }
// The target falls from .001 to 0, a little each time, and the objective is that small as well.
void smallValues(double* x, double* f, double*, double* g) {
  *f = 4e-4 - (x[0] > .02 && x[0] < .0202 ? x[0] - .02 : 0);
  *g = x[0] <= 0 || (x[0] > 2e-4 && VRK_get_nIter() == 1) ? .001 + 4e-9 : 5e-9;
}
void stopSecond(double* x, double* f, double*, double*) { *f = x[0], VRK_set_stop(x[0] < 0.8); }

constexpr int32_t untouched = 77, any = -1;
const double nearBound = 1.0 / 32768 - 1.0;
const char* const denominator = "ERROR IN GRGPR3, ZERO DENOM\n";
const auto none = [] {};
void trace1() { VRK_set_print(1); }
void exact() { VRK_set_diffPert(1.0 / 1024.0); }
void rough() { exact(), VRK_set_convTol(0.25); }
void central() { VRK_set_diffMeth(0); }

const struct {
  const char* name;
  Values start;
  int m1, m2;
  decltype(Recorder::fill) fill;
  void (*options)();
  int32_t maxIter, status, iterations, evaluations;
  const char* printed = nullptr;
} endings[] = {
    {"converged, forward", {0, 0}, 0, 0, constant, none, 9, 1, 1, 1 + 2},
    {"converged, central", {0, 0}, 0, 0, constant, central, 9, 1, 1, 1 + 4},
    {"no variables", {}, 0, 0, constant, none, 9, 1, 1, 1},
    {"slope equals the tolerance", {0}, 0, 0, half, rough, 1, 6, 1, any},
    {"slope below it", {0}, 0, 0, lessThanHalf, rough, 1, 1, 1, 2},
    // The direction has the length 2^-15: below the smallest step.
    {"minimum step", {nearBound}, 0, 0, steep, exact, 9, 2, 1, 2},
    {"minimum step, infeasible", {nearBound}, 0, 1, steepBelow, exact, 9, 4, 1, 2},
    {"no descent, infeasible", {0}, 0, 1, violated, none, 9, 4, 1, 2},
    {"no descent, infeasible equality", {0}, 1, 0, violated, none, 9, 4, 1, 2},
    // 7 of the search does not leave: the same value in the third iteration ends the solve.
    {"objective stalls", {0}, 0, 0, trap, trace1, 9, 3, 3, 1 + 3 * 3, denominator},
    {"violation stalls", {0}, 0, 1, trapBelow, trace1, 9, 5, 3, 1 + 3 * 3, denominator},
    {"a new objective forgets", {0}, 0, 1, smallValues, none, 9, 3, 5, any},
    {"iteration limit", {0}, 0, 0, trap, none, 2, 6, 2, 1 + 2 * 3},
    {"no iteration", {0}, 0, 0, trap, none, 0, 6, untouched, 1},
    {"no solution: 1/H below zeroTol", {-.5}, 0, 0, tooSteep, none, 9, 8, 1, 2},
    {"no solution: equality and bound", {1}, 1, 0, beyondBound, none, 9, 8, 1, 2},
    {"not definite, twice", {0}, 0, 0, constant, [] { VRK_settings.zeroTol = 2.0, trace1(); },
     9, 10, 1, 1 + 1 + 1, "HESSIAN NOT POS. DEFINITE\n"},
    {"not a number", {0}, 0, 0, noNumber, none, 9, 10, 1, 2},
    {"error flag of before", {0}, 0, 0, constant, [] { VRK_settings.errorFlag = -1; }, 9, 11, 1, 2},
    {"stopped", {0}, 0, 0, constant, [] { VRK_set_stop(1); }, 9, 12, 1, 1},
    {"stopped on the way", {.9}, 0, 0, stopSecond, none, 9, 12, 2, any},
    {"stop is 1 alone", {0}, 0, 0, constant, [] { VRK_set_stop(2); }, 9, 1, 1, 2},
    {"too many variables", Values(101), 0, 0, constant, none, 9, 99, untouched, 0},
};
// clang-format on

TEST_F(GrgIteration, EndingsCountersAndMarks) {
  for (const auto& e : endings) {
    SCOPED_TRACE(e.name);
    VRK_setDefaults();
    VRK_settings.nIter = untouched;
    e.options();
    const int32_t flag = VRK_settings.errorFlag;
    Solve solve(e.start, e.m1, e.m2, e.fill);
    const std::string text = captured([&] { EXPECT_EQ(e.status, solve.run(e.maxIter, VRK_grg)); });
    EXPECT_TRUE(e.printed ? text.find(e.printed) != text.npos : text.empty()) << text;
    EXPECT_EQ(e.iterations, VRK_get_nIter());
    if (e.evaluations != any) {
      EXPECT_EQ(e.evaluations, VRK_get_nFunEval());
    }
    EXPECT_EQ(VRK_get_nFunEval(), static_cast<int>(solve.host.calls.size()));
    EXPECT_EQ(std::tuple(VRK_settings.errorFlag, VRK_settings.nGradEval), std::tuple(flag, 0));
    EXPECT_EQ(std::tuple(VRK_settings.dblStorageUsed, VRK_settings.intStorageUsed),
              std::tuple(0, 0));
    EXPECT_EQ(e.evaluations == 0, solve.f.untouched());
    if (e.evaluations != any) {
      EXPECT_EQ(solve.x.values(), e.start);
    }
  }
}

// Each requirement refuses every capacity below it that the ones before it pass, and names its
// total.
TEST_F(GrgIteration, StorageRefusals) {
  const struct {
    int n, m1;
    bool integers;
    Rows totals;
    int solver;  // the subproblem's own among them: printed at every level, status 10
  } cases[] = {
      // n^2 + 8n + 1; gradients n; both blocks of differences; 2n + 1 right sides; QPSOLV 33.
      {3, 0, false, {34, 37, 39, 41, 44, 77}, 77},
      // Three equalities: gradients 4, blocks of 5, QPSOLV 13; search 2 + 8 + 2 * 16 + 1, its basis
      // 3 + 1, the first row of that 1.
      {1, 3, false, {10, 14, 19, 24, 33, 57, 61, 62}, 33},
      {3, 0, true, {4, 8, 20}, 0},
      {100, 0, false, {10801}, 0},
  };
  for (const auto& c : cases)
    for (int capacity = c.totals[0] - 1; capacity < c.totals.back(); ++capacity) {
      SCOPED_TRACE(testing::Message() << "n " << c.n << ", capacity " << capacity);
      const int total = *std::upper_bound(c.totals.begin(), c.totals.end(), capacity);
      VRK_setDefaults();
      VRK_set_print(1);
      (c.integers ? VRK_settings.intStorageCapacity : VRK_settings.dblStorageCapacity) = capacity;
      Solve solve(Values(c.n, 0.5), c.m1, 0, [&](double* x, double* f, double* h, double*) {
        *f = x[0] * x[0];
        std::fill_n(h, c.m1, 0.0);
      });
      const bool solver = total == c.solver;
      const std::string text =
          captured([&] { EXPECT_EQ(solver ? 10 : 11, solve.run(1, VRK_grg)); });
      const std::string number = std::to_string(total);
      const std::string line = (c.integers ? "ERROR:  INTEGER STORAGE EXCEEDED"
                                : solver   ? "ERROR: DOUBLE PRECISION STORAGE EXCEEDED, "
                                           : "ERROR:  DOUBLE PRECISION STORAGE EXCEEDED") +
                               std::string(10 - number.size(), ' ') + number + "\n";
      EXPECT_TRUE(text.ends_with(line)) << text;
      EXPECT_EQ(VRK_settings.errorFlag, solver ? 0 : -1);
      EXPECT_EQ(std::tuple(VRK_settings.dblStorageUsed, VRK_settings.intStorageUsed),
                std::tuple(0, 0));
      EXPECT_EQ(solve.x.values(), Values(c.n, 0.5));
    }
}

// x^2 with x >= 1/4 from 0.1: to the far side of the constraint, then back to it.
void cornered(double* x, double* f, double*, double* g) {
  *f = x[0] * x[0], *g = 0.0625 - *f;
}

TEST_F(GrgIteration, LevelOneTellsTheStory) {
  VRK_set_print(1);
  Solve solve({0.1}, 0, 1, cornered);
  const char* const story = R"(
BEGINNING ITERATION    1
 DV
       0.10000
 DF
   1.00000e-02   5.25000e-02
NO. ANALYSIS CALLS    1
SEARCHING FOR FEASIBLE STARTING POINT
TEMPORARY OBJECTIVE IS FUNCTION   2

STEP LENGTH   2.0000e-02

STEP LENGTH   6.0000e-02

STEP LENGTH       0.1800

BEGINNING ITERATION    2
 DV
       0.28000
 DF
   7.84000e-02  -1.59000e-02
NO. ANALYSIS CALLS    5
FEASIBLE POINT FOUND, BEGINNING OPTIMIZATION OF PROBLEM

STEP LENGTH   2.0000e-02

STEP LENGTH   3.2389e-02
NEW CONSTRAINT   2
NR ITERATIONS=    0

BEGINNING ITERATION    3
 DV
       0.24861
 DF
   6.18075e-02   6.92515e-04
NO. ANALYSIS CALLS    9
)";
  EXPECT_EQ(story, captured([&] { EXPECT_EQ(1, solve.run(9, VRK_grg)); }));
}

// Titles and messages in their order, numbers left out; a message ends with a semicolon.
std::string titles(const std::string& trace) {
  std::string all;
  for (std::size_t at = 0, end; (end = trace.find('\n', at)) != trace.npos; at = end + 1) {
    std::string line = trace.substr(at, end - at);
    const auto letter = line.find_first_not_of(' ');
    if (letter == line.npos || letter > 1 || !std::isupper(line[letter])) continue;
    if (line.starts_with("DIRECT DERIV")) line = "DIRECT DERIV";
    line.erase(line.find_last_not_of(" 0123456789.e+-") + 1);
    all += line.substr(letter) + (letter == 0 ? "; " : " ");
  }
  return all;
}

TEST_F(GrgIteration, TitlesOfLevelsTwoAndThree) {
  for (const int level : {2, 3}) {
    VRK_setDefaults();
    VRK_set_print(level);
    Solve solve({0.1}, 0, 1, cornered);
    const std::string text = captured([&] { EXPECT_EQ(1, solve.run(9, VRK_grg)); });
    const auto at = [&](int only, const char* title) { return level == only ? title : ""; };
    const std::string start = "BEGINNING ITERATION; DV DF NO. ANALYSIS CALLS; ",
                      model = "LISDF GRADD GRADOB " + std::string(at(3, "HESSIAN IACT XLAG ")) +
                              "DIRECT DERIV; ",
                      step = "STEP LENGTH; DV AFTER STEP DF AFTER STEP ",
                      search = "SEARCH DIRECTION MTRAK LTRAK MIDV MDDV XJINV XJAC " + step,
                      best = "BSTDV BSTDF ";
    EXPECT_EQ(titles(text),
              start + "SEARCHING FOR FEASIBLE STARTING POINT; TEMPORARY OBJECTIVE IS FUNCTION; " +
                  at(3, "MGRGIN FOR INFEASIBLE ") + "HESSIAN INITIALIZED; " + model + search +
                  step + step + best + start +
                  "FEASIBLE POINT FOUND, BEGINNING OPTIMIZATION OF PROBLEM; " +
                  "HESSIAN INITIALIZED; " + model + search + step +
                  "NEW CONSTRAINT; DV AT BIND STEP DF AT BIND STEP " + at(3, "AROW ACOL ACORN; ") +
                  "ACORN NEGATIVE; " + at(3, "JACOBIAN INVERSE ") +
                  at(2, "DV RETURN NR DF RETURN NR ") + "NR ITERATIONS=; " + best + start +
                  "HESSIAN UPDATED; " + at(3, "GRADLO GRADL ") + model);
  }
}

// ---- feasibility phase -------------------------------------------------------------------------

TEST_F(GrgIteration, WorstViolationIsTheTarget) {
  const struct {
    Values f;  // objective, two equalities, three inequalities
    int target;
  } cases[] = {{{0, .25, .5, .125, .25, 0}, 3}, {{0, .25, -.5, .125, .25, 0}, 3},
               {{0, .25, .5, .5, .25, .5}, 3},  {{0, -.5, .5, .25, .5, .5}, 2},
               {{0, .25, -.5, .25, .6, .5}, 5}, {{0, 0, 0, .25, .5, .5}, 5}};
  VRK_set_print(1);
  for (const auto& c : cases) {
    Solve solve({0}, 2, 3, [&](double*, double* f, double*, double*) {
      std::copy(c.f.begin(), c.f.end(), f);
    });
    const std::string text = captured([&] { EXPECT_EQ(4, solve.run(9, VRK_grg)); });
    const auto line = "TEMPORARY OBJECTIVE IS FUNCTION   " + std::to_string(c.target) + "\n";
    EXPECT_NE(text.npos, text.find(line)) << text;
    EXPECT_EQ(c.f, solve.f.values());
  }
}

// Two negative equalities, one after the other, and an inequality: wherever the solve ends, by its
// limit, the host or the storage, f holds what the analysis gives at x.
TEST_F(GrgIteration, ReturnedValuesAreThoseOfTheAnalysis) {
  const auto fill = [](double* x, double* f, double* h, double* g) {
    *f = x[0] + x[2] * x[2], h[0] = x[0] * x[1] - .5, h[1] = x[1] - x[2] * x[2] - .75;
    *g = x[0] - x[2] - .5;
  };
  const auto check = [&](int32_t maxIter, int32_t stopAt, int32_t capacity) {
    SCOPED_TRACE(testing::Message() << maxIter << ' ' << stopAt << ' ' << capacity);
    VRK_setDefaults();
    VRK_settings.dblStorageCapacity = capacity;
    Solve solve({.1, .2, .3}, 2, 1, [&](double* x, double* f, double* h, double* g) {
      if (VRK_get_nIter() == stopAt) VRK_set_stop(1);
      fill(x, f, h, g);
    });
    captured([&] { solve.run(maxIter, VRK_grg); });
    Values f(4);
    fill(solve.x, &f[0], &f[1], &f[3]);
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(f[i], solve.f[i], 1e-9);
    return solve.f[1] < -.01 || solve.f[2] < -.01;
  };
  int negative = 0;
  for (const int32_t stopAt : {-1, 1, 2, 3})
    for (int32_t maxIter = 0; maxIter < 8; ++maxIter) negative += check(maxIter, stopAt, 40000);
  for (int32_t capacity = 34; capacity < 400; ++capacity) check(9, -1, capacity);
  EXPECT_LT(10, negative);
}

// An equality that jumps to its other side when the entry point is put back on the active row: the
// mode changes, and the Hessian with it.
TEST_F(GrgIteration, OvershootChangesTheMode) {
  VRK_set_print(2);
  tarnix_session_refine(nullptr, 1);
  for (const double sign : {1.0, -1.0}) {
    Solve solve({.0005, 0}, 1, 1, [&](double* x, double* f, double* h, double* g) {
      *f = 0, *h = sign * ((x[0] > .0002 ? .5 : -.5) - .1 * x[1]), *g = x[0];
    });
    const std::string text = messages(captured([&] { EXPECT_EQ(6, solve.run(2, VRK_grg)); }));
    const auto second = text.substr(text.find("BEGINNING ITERATION    2"));
    EXPECT_NE(second.npos, second.find("OBJECTIVE IS FUNCTION   2\nHESSIAN INITIALIZED\n")) << text;
    EXPECT_GT(sign * solve.f[1], -.5) << "its size falls again";
    EXPECT_LT(sign * solve.f[1], -.3);
  }
}

// ---- curvature and lists -----------------------------------------------------------------------

// The solve by the routines behind VRK_grg, with arrays of the caller or from the work storage.
struct Direct : Solve {
  bool ownArrays = true;
  Reals GRADOB{n}, GRADLO{n}, GRADL{n}, XLAG{n}, HESSIAN{n * n}, xOld{n}, s{n}, y{n}, d{n};
  Indices kept{m2}, active{std::min(n, m2)}, satisfied{m1}, LISDF{1 + m1 + m2}, IACT{n}, status{1};
  using Solve::Solve;

  int32_t run(int32_t maxIter) {
    host.install(lower.values(), upper.values(), m1, m2);
    Rows list(m1 + m2);
    std::iota(list.begin(), list.end(), 2);
    GRGFUN(by(0), by(1), &n, x, f);
    const int32_t m = 1 + m1 + m2;
    if (ownArrays)
      GRGALG(&maxIter, &n, x, lower, upper, &m, f, by(1), &m1, list.data(), &m2, list.data() + m1,
             status, GRADOB, GRADLO, GRADL, XLAG, HESSIAN, xOld, s, y, d, kept, active, satisfied,
             LISDF, IACT);
    else
      GRSALG(&maxIter, &n, x, lower, upper, &m, f, by(1), &m1, list.data(), &m2, list.data() + m1,
             status);
    return status[0];
  }
};

TEST_F(GrgIteration, OwnArraysGiveTheSameBits) {
  const auto quadratic = [](double* x, double* f, double* h, double* g) {
    *f = x[0] * x[0] + 2 * x[1] * x[1] + 3 * (x[2] - .3) * (x[2] - .3) - x[0] * x[1];
    h[0] = x[0] + x[1] * x[2] - .3, h[1] = x[1] - .2 * x[2] * x[2];
    g[0] = .4 - x[2], g[1] = x[0] * x[0] + x[2] - .7;
  };
  for (const int32_t maxIter : {0, 1, 2, 3, 50}) {
    VRK_setDefaults();
    Solve solve({.5, -.2, .1}, 2, 2, quadratic);
    const int32_t status = solve.run(maxIter, VRK_grg);
    const VRK_Settings after = VRK_settings;
    EXPECT_EQ(status, maxIter == 50 ? 1 : 6);
    for (const bool ownArrays : {true, false}) {
      VRK_setDefaults();
      Direct direct({.5, -.2, .1}, 2, 2, quadratic);
      direct.ownArrays = ownArrays;
      EXPECT_EQ(status, direct.run(maxIter));
      EXPECT_EQ(after.nFunEval, VRK_settings.nFunEval);
      EXPECT_EQ(after.nNewton2, VRK_settings.nNewton2);
      EXPECT_EQ(0, VRK_settings.dblStorageUsed);
      for (int i = 0; i < 3; ++i) EXPECT_BITS(solve.x[i], direct.x[i]);
      for (int i = 0; i < 5; ++i) EXPECT_BITS(solve.f[i], direct.f[i]);
      EXPECT_EQ(direct.LISDF.untouched(), maxIter == 0 || !ownArrays);
    }
  }
}

// (x - .3)^2/2 + (y - .9)^2/2 + .5 stays violated; .1 - x does not, so that y - x, active with the
// multiplier .3, is the first row of the first subproblem but the second of the second.
TEST_F(GrgIteration, LagrangianTakesTheListsOfItsSubproblem) {
  VRK_set_diffPert(1.0 / 1024.0);
  VRK_set_diffMeth(2);
  Direct direct({0, 0}, 0, 3, [](double* x, double* f, double*, double* g) {
    *f = 0, g[1] = .1 - x[0], g[2] = x[1] - x[0];
    g[0] = .5 * (x[0] - .3) * (x[0] - .3) + .5 * (x[1] - .9) * (x[1] - .9) + .5;
  });
  EXPECT_EQ(4, direct.run(2));
  EXPECT_EQ((Rows{3, 4}), Rows(direct.kept.begin(), direct.kept.begin() + 2));
  EXPECT_GT(direct.x[0], .1);
  const double gradient[] = {-.3, -.9}, row[] = {-1, 1};
  for (int i = 0; i < 2; ++i) {
    EXPECT_NEAR(direct.GRADLO[i], gradient[i] + .3 * row[i], 1e-9);
    EXPECT_NEAR(direct.GRADL[i], direct.x[i] + gradient[i] + .3 * row[i], 1e-9);
    EXPECT_EQ(direct.y[i], direct.GRADL[i] - direct.GRADLO[i]);
    EXPECT_EQ(direct.s[i], direct.x[i] - direct.xOld[i]);
  }
}

// What asks for a new Hessian gets it in the next iteration: a refused update (the trials were all
// worse, the point is the same), and a direction out of a tangent plane.
TEST_F(GrgIteration, CausesOfANewHessian) {
  VRK_set_print(2);
  Solve same({0}, 0, 0, trap);
  std::string text = messages(captured([&] { same.run(3, VRK_grg); }));
  EXPECT_LT(text.find("HESSIAN NOT UPDATED"), text.rfind("HESSIAN INITIALIZED")) << text;
  Solve outside({-.0009}, 0, 1,
                [](double* x, double* f, double*, double* g) { *f = -10 * x[0], *g = x[0]; });
  text = messages(captured([&] { outside.run(2, VRK_grg); }));
  EXPECT_LT(text.find("SEARCH DIRECTION OUTSIDE TANGENT"), text.rfind("HESSIAN INITIALIZED"))
      << text;
}

// The update leaves 0.2 of the diagonal 1: below zeroTol here. Gradients and Hessian start again in
// the same iteration.
TEST_F(GrgIteration, RepeatAfterAnIndefiniteHessian) {
  VRK_settings.zeroTol = 0.21;
  VRK_set_print(2);
  Solve solve({0}, 0, 0,
              [](double* x, double* f, double*, double*) { *f = .05 * (x[0] - .5) * (x[0] - .5); });
  const std::string text = titles(captured([&] { EXPECT_EQ(1, solve.run(9, VRK_grg)); }));
  EXPECT_TRUE(
      text.ends_with("HESSIAN UPDATED; LISDF GRADD GRADOB HESSIAN NOT POS. DEFINITE; "
                     "HESSIAN INITIALIZED; LISDF GRADD GRADOB DIRECT DERIV; "))
      << text;
  EXPECT_EQ(VRK_get_nFunEval(), 1 + (1 + 5) + 2);
}

// A polygon of 26 sides. At the start side 22, function 23, is the nearest: the pass puts it in the
// place of all before it. What an earlier solve left in the work storage must not show there.
TEST_F(GrgIteration, ScreeningDoublesEntries) {
  Solve spoilt({.1, .1}, 0, 26,
               [](double*, double* f, double*, double*) { std::fill_n(f, 27, nan); });
  EXPECT_EQ(10, spoilt.run(3, VRK_grg));
  for (const int32_t maxIter : {1, 50}) {
    VRK_setDefaults();
    VRK_settings.grgParam1 = 0.5;
    Direct direct({.1, -.2}, 0, 26, [](double* x, double* f, double*, double* g) {
      *f = -x[0] - .3 * x[1];
      for (int i = 0; i < 26; ++i)
        g[i] = x[0] * std::cos(i * pi / 13) + x[1] * std::sin(i * pi / 13) - .5;
    });
    const std::string text = captured([&] {
      VRK_set_print(3);
      EXPECT_EQ(maxIter == 1 ? 6 : 1, direct.run(maxIter));
    });
    EXPECT_EQ(text.npos, text.find("nan"));
    if (maxIter == 1) {
      EXPECT_EQ(Rows(13, 23), Rows(direct.kept.begin(), direct.kept.begin() + 13));
      EXPECT_EQ(std::tuple(direct.LISDF[22], direct.LISDF[0]), std::tuple(13, 14));
    } else {
      const double corner = .5 / std::cos(pi / 26), angle = 1.5 * pi / 13;
      EXPECT_NEAR(direct.x[0], corner * std::cos(angle), 1e-3);
      EXPECT_NEAR(direct.x[1], corner * std::sin(angle), 1e-3);
      EXPECT_NE(text.npos, text.find("\nGRADIENT NOT AVAILABLE, FUNCTION     ")) << text;
    }
  }
}

}  // namespace
