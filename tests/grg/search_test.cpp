// The search along a direction: every step it tries and every message, from both routines. The
// first variable is the step.

#include <memory>
#include <tuple>

#include "grg/along.h"

using namespace support;

namespace {

class GrgSearch : public Library {};

struct Row {
  const char* name;
  int n, m1, m2;
  Along::Fill fill;
  Values steps;  // of every evaluation, restorations included; all of them or the first ones
  std::string printed;
  void (*options)(Along&) = nullptr;
  int32_t status = 0, mode = 0;
};

const std::string worse = "FITTING PARABOLA WORSE\n", better = "FITTING PARABOLA\n",
                  flat = "ERROR IN GRGPR3, ZERO DENOM\n", above = "TERMINATE PARAB=1 STPLEN>.5\n";
void fall(const double* x, double* f) {
  *f = -x[0];
}
void far(Along& a) {
  a.upper[0] = 100.0;
}
void rise(Along& a) {
  a.gObj[0] = -1.0;
}
template <int divisor>
void carry(Along& a) {
  a.carried = 1.0 / divisor;
}

// clang-format off
const Row rows[] = {
    {"growth by 3, then by 0.4", 1, 0, 0, fall, {.02, .06, .18, .54, .94, 1.34, 1.74}, "...", far},
    {"carried equals the smallest step", 1, 0, 0, fall, {.0001, .0003, .0009}, "...", carry<10000>},
    {"carried below it", 1, 0, 0, fall, {}, "TERMINATE: MINIMUM STEPLENGTH\n", carry<20000>, 2},
    {"hardly falling, sixth trial", 1, 0, 0, [](auto x, auto f) { *f = -1e-4 * x[0]; },
     {.02, .06, .18, .54, .94, 1.34}, "TERMINATE OBJ NOT CHANGING\n", far},
    {"hardly falling, step above 2", 1, 0, 0, [](auto x, auto f) { *f = -1e-5 * x[0]; },
     {1, 1.4, 1.8, 2.2}, "TERMINATE OBJ NOT CHANGING\n",
     [](Along& a) { far(a), VRK_settings.grgSearchParam1 = 1.0; }},
    {"fitted step above the limit", 1, 0, 0, [](auto x, auto f) { *f = (x[0] - .6) * (x[0] - .6); },
     {.02, .06, .18, .54, .94, .6}, worse + above},
    {"third fit is worse", 1, 0, 0, [](auto x, auto f) { *f = std::fabs(x[0] - .3); },
     {.02, .06, .18, .54, .3, .33}, worse + better + "TERMINATE= PARAB WORSE\n"},
    {"three fits, all better", 1, 0, 0, [](auto x, auto f) { *f = x[0] + .01 / (x[0] + .01); },
     {.02, .06, .18, .11505, .09936675, .0943412826937}, worse + better + better},
    // Worse at once: the parabola of the slope -1, held within a tenth and a half of the step.
    {"collinear", 1, 0, 0, [](auto x, auto f) { *f = x[0]; }, {.02, .005}, worse + flat, rise, 7},
    {"at a tenth", 1, 0, 0, [](auto x, auto f) { *f = 9 * x[0]; }, {.02, .002}, worse + flat, rise,
     7},
    {"at a half", 1, 0, 0, [](auto, auto f) { *f = 1; }, {.02, .01}, worse + flat, rise, 7},
    {"no bracket", 1, 0, 0, [](auto x, auto f) { *f = x[0] + x[0] * x[0]; }, {.02, .5 / 101, .001},
     worse + "ERROR IN BRACKET, GRGS34\n" + worse + flat, rise, 7},
    {"risen once: parabolas only", 1, 0, 0, [](auto x, auto f) { *f = std::fabs(x[0] - .006); },
     {.02, 1 / 140., .00761904761905, .00511337868481, .00572774943311}, better + worse + better,
     rise},
    {"inequality reached", 1, 0, 1, [](auto x, auto f) { f[0] = 0, f[1] = .1 - x[0]; },
     {.02, .06, .18}, "", nullptr, 0, 1},
    {"equality reached", 1, 1, 0, [](auto x, auto f) { f[0] = 0, f[1] = .0605 - x[0]; }, {.02, .06},
     "", nullptr, 0, 2},
    {"negative equality ahead", 1, 1, 0, [](auto x, auto f) { f[0] = 0, f[1] = x[0] - .1; },
     {.02, .06, .11, .099}, "...NEW CONSTRAINT   2\n", nullptr, 0, 3},
    // Linear to 0.3232, 10 % more; the crossing there; Newton and one secant step to 0.3.
    {"inequality ahead", 1, 0, 1,
     [](auto x, auto f) { f[0] = -x[0], f[1] = x[0] + x[0] * x[0] - .39; },
     {.02, .06, .18, .3555483871, .2963102391, .3022002422, .2999949213},
     "NEW CONSTRAINT   2\nNR ITERATIONS=    2\n"},
    {"at most 0.05 beyond it", 1, 0, 1, [](auto x, auto f) { f[0] = -x[0], f[1] = x[0] - .9; },
     {.02, .06, .18, .54, .94, .901}, "...NEW CONSTRAINT   2\n"},
    {"inequality held", 2, 0, 1, [](auto x, auto f) { f[0] = std::fabs(x[0] - .6), f[1] = x[1]; },
     {.02, .04, .08, .16, .32, .57, .82, .58704545454545}, worse + above},
    {"restored slowly", 2, 1, 0,
     [](auto x, auto f) { f[0] = -x[0], f[1] = x[1] + 8 * x[1] * x[1] + x[0] * x[0]; },
     {.02, .04, .04, .08, .08, .16, .16, .16, .16, .31},
     "...NR ITERATIONS=    1\nNR ITERATIONS=    1\nNR ITERATIONS=    3\n"},
    {"restored slowly one trial ago", 2, 1, 0,
     [](auto x, auto f) {
       f[0] = -x[0], f[1] = x[1] + 6 * x[1] * x[1] + (x[0] > .1 && x[0] < .2 ? .03 : 0);
     },
     {.02, .04, .08, .16, .16, .16, .16, .31, .46}, "...NR ITERATIONS=    3\n"},
    // 2 y = x: y meets its bound 0.1 at the step 0.2; 2 % more are tried.
    {"bound of the dependent variable", 2, 1, 0,
     [](auto x, auto f) { f[0] = -x[0], f[1] = 2 * x[1] - x[0]; },
     {.02, .04, .08, .16, .204, .2}, "NR ITERATIONS=    0\n",
     [](Along& a) { a.d[1] = .5, a.lower[1] = -.1, a.upper[1] = .1; }},
};
// clang-format on

TEST_F(GrgSearch, StepsMessagesAndBestPoint) {
  for (const Row& row : rows)
    for (const bool ownArrays : {false, true}) {
      SCOPED_TRACE(testing::Message() << row.name << (ownArrays ? ", own arrays" : ""));
      VRK_setDefaults();
      Along a(row.n == 2 ? Values{1, 0} : Values{1}, row.m1, row.m2, row.fill, row.mode);
      if (row.options) row.options(a);
      const double start = a.f[a.target - 1];
      VRK_set_print(2);
      const std::string text = messages(captured([&] { a.search(ownArrays); }));
      const std::size_t taken = a.host.calls.size(), count = row.steps.size();
      if (row.printed.starts_with("...")) {
        EXPECT_TRUE(text.starts_with(row.printed.substr(3))) << text;
        EXPECT_LE(count, taken);
      } else {
        EXPECT_EQ(text, row.printed);
        EXPECT_EQ(taken, count);
      }
      for (std::size_t k = 0; k < std::min(taken, count); ++k)
        EXPECT_NEAR(a.host.calls[k].x[0], row.steps[k], 1e-9);
      EXPECT_EQ(std::tuple(a.status, a.hessReset), std::tuple(row.status, 0));
      EXPECT_EQ(std::tuple(VRK_settings.dblStorageUsed, VRK_settings.intStorageUsed),
                std::tuple(0, 0));
      EXPECT_EQ(a.f.values(), a.callbackValues());
      EXPECT_LE(a.f[a.target - 1], start);
      if (count == 0) {
        EXPECT_EQ(a.x[0], 0.0);
      }
    }
}

TEST_F(GrgSearch, EndsAfterFiftyOneTrials) {
  Along a({1}, 0, 0, fall);
  far(a);
  a.search(false);
  EXPECT_EQ(a.host.calls.size(), 51U);
  EXPECT_NEAR(a.x[0], .54 + 47 * .4, 1e-12);
}

// Of two parallel rows one is held; the other stays under the saturation's eyes. A direction that
// leads out of a tangent plane asks for a new Hessian.
TEST_F(GrgSearch, RowsThatAreHeld) {
  Along a({1, 0}, 0, 3, [](auto x, auto f) {
    f[0] = -x[0], f[1] = x[1], f[2] = 2 * x[1], f[3] = x[1] + .02 * x[0];
  });
  a.search(true);
  EXPECT_EQ(Rows(a.tracked.begin() + 1, a.tracked.end()), (Rows{1, 0, 1}));
  EXPECT_EQ(a.hessReset, -1);
}

// Each refinement where it decides, and the plain method without it.
TEST_F(GrgSearch, Refinements) {
  const auto searched = [](bool refined, Values d, int m1, int m2, Along::Fill fill,
                           auto... options) {
    VRK_setDefaults();
    tarnix_session_refine(nullptr, refined);
    auto a = std::make_unique<Along>(d, m1, m2, fill);
    (options(*a), ...);
    a->search(true);
    return a;
  };
  for (const bool refined : {false, true}) {
    SCOPED_TRACE(refined ? "refined" : "plain");
    // The entry point is off its row by half the tolerance: one Newton correction first.
    const auto entry =
        searched(refined, {1, 0}, 1, 0, [](auto x, auto f) { f[0] = -x[0], f[1] = x[1] + .0005; });
    EXPECT_EQ(entry->host.calls[0].x, refined ? Values({0, -.0005}) : Values({.02, 0}));

    // Uphill, to mend a violation within the tolerance: the whole step, or none.
    const auto uphill = searched(
        refined, {1}, 0, 1, [](auto x, auto f) { f[0] = x[0], f[1] = .0008 - x[0]; }, carry<2>,
        [](Along& a) { a.gObj[0] = 1.0; });
    EXPECT_EQ(uphill->x[0], refined ? .5 : 0.0);
    EXPECT_EQ(uphill->host.calls[0].x[0], refined ? .5 : .02);

    // The second row takes the variable with the larger entry, whose pivot is 0.001.
    const std::string basis = captured([&] {
      searched(
          refined, {0, 0, 1}, 2, 0,
          [](auto x, auto f) {
            f[0] = 0, f[1] = x[0] + .599 * x[1], f[2] = x[0] + .6 * x[1] + .5 * x[2];
          },
          [](Along&) { VRK_set_print(2); });
    });
    const char* const chosen =
        refined ? " MDDV\n         1         3\n" : " MDDV\n         1         2\n";
    EXPECT_NE(basis.npos, basis.find(chosen)) << basis;

    // Constraint 3 follows from the equality that is held: once that is restored the step stands.
    VRK_setDefaults();
    VRK_set_print(1);
    Along implied({1, 1}, 1, 1, [](auto x, auto f) {
      f[0] = 0, f[1] = x[1] - x[0] - .1 * x[0] * x[0], f[2] = -f[1];
    });
    const std::string text = captured([&] { implied.saturate(0, .5, true); });
    EXPECT_EQ(text.find("SINGULAR JACOBIAN DURING AUGMENT") == text.npos, refined) << text;
    EXPECT_EQ(implied.terminate, refined ? 0 : -1);
    if (refined) {
      EXPECT_EQ(std::tuple(implied.step, implied.second), std::tuple(.5, 0));
    }
  }
}

// The growth of the step follows the last restoration, be it of an earlier call.
TEST_F(GrgSearch, RestorationsAreCountedOverCalls) {
  const auto steps = [] {
    Along a({1, 0}, 0, 1, [](auto x, auto f) { f[0] = -x[0], f[1] = x[1]; });
    a.search(true);
    Values seen;
    for (std::size_t k = 3; k < 6; ++k) seen.push_back(a.host.calls[k].x[0]);
    return seen;
  };
  const auto expectSteps = [&](const Values& wanted) {
    const Values seen = steps();
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(seen[k], wanted[k], 1e-12);
  };
  expectSteps({.16, .32, .57});
  Along slow({1, 0}, 1, 0,
             [](auto x, auto f) { f[0] = -x[0], f[1] = x[1] + 8 * x[1] * x[1] + x[0] * x[0]; });
  slow.saturate(0, .16, true);  // three iterations
  expectSteps({.16, .31, .46});
}

}  // namespace
