// What becomes of a trial step: each decision by a problem worked out by hand, through both
// routines. A tolerance of 2^-10 makes the linear ones exact. The first variable is the step.

#include "grg/along.h"

#include <tuple>

using namespace support;

namespace {

class GrgSaturation : public Library {};

constexpr double tol = 1.0 / 1024.0, any = -1.0;

struct Row {
  const char* name;
  int n, m1, m2;
  Along::Fill fill;
  double s0, s1, step;
  int second, evaluations;
  std::string printed;
  int terminate = 0, mode = 0;
  double slope = 0.0;  // of the second variable along the direction
  double top = 1.0;    // its upper bound; a finite range makes it dependent
};

const std::string crossing2 = "NEW CONSTRAINT   2\n", crossing3 = "NEW CONSTRAINT   3\n",
                  held = "NR ITERATIONS=    0\n", once = "NR ITERATIONS=    1\n",
                  failed = "FEASIBILITY FAILED IN GRGSAT\n";

void equal(const double* x, double* f) {
  f[0] = -x[0], f[1] = x[1] - x[0];
}
// No correction of the second variable within the box mends it.
void lost(const double* x, double* f) {
  *f = 0, f[1] = x[0] > 0.01 ? 4 + x[1] * x[1] : x[1];
}
// Each cut of the step, by 1/16, reveals another crossing before the one that was found.
void cascade(const double* x, double* f) {
  *f = 0;
  for (int k = 1; k <= 5; ++k) {
    const double limit = .5 - k / 16.;
    f[k] = x[0] < limit + 5 / 64. ? x[0] + 4 * x[k] - limit : -1;
  }
}

// clang-format off
const Row rows[] = {
    {"at the tolerance it stands", 1, 0, 1, [](auto x, auto f) { *f = 0, f[1] = x[0] - .5 + tol; },
     0, .5, .5, 0, 0, ""},
    {"crossing", 1, 0, 1, [](auto x, auto f) { *f = 0, f[1] = x[0] - .25; },
     .125, .5, .25 + tol, -1, 1, crossing2 + held},
    {"back-off of 0.001", 1, 0, 1, [](auto x, auto f) { *f = 0, f[1] = 1.0625 * x[0] - .53125; },
     0, .5 + tol, .5 + tol - .001, -1, 1, crossing2 + held},
    {"back-off to step 0", 1, 0, 1, [](auto x, auto f) { *f = 0, f[1] = 64 * x[0] - .0078125; },
     0, tol / 2, 0, -1, 1, crossing2},
    {"equal crossings: the first", 1, 0, 2,
     [](auto x, auto f) { *f = 0, f[1] = f[2] = x[0] - .25; },
     0, .5, .25 + tol, -1, 1, crossing2 + held},
    {"the earlier crossing", 1, 0, 2,
     [](auto x, auto f) { *f = 0, f[1] = x[0] - .375, f[2] = x[0] - .25; },
     0, .5, .25 + tol, -1, 1, crossing3 + held},
    {"from the tolerance", 1, 0, 1, [](auto x, auto f) { *f = 0, f[1] = x[0] - .25 + tol; },
     .25, .5, .25, -1, 1, crossing2 + held},
    // The second variable that would have to depend does not exist.
    {"a crossing reveals another", 1, 0, 2, [](auto x, auto f) {
       *f = 0, f[1] = x[0] - .4, f[2] = x[0] < .45 ? x[0] - .3 : -1;
     },
     0, .5, .3 + tol, -1, 3,
     crossing2 + held + crossing3 + "SINGULAR JACOBIAN DURING AUGMENT\n", -1},
    {"violated before", 1, 0, 1, [](auto x, auto f) { *f = 0, f[1] = x[0] - .25; },
     .375, .5, .5, 0, 0, "ERROR1 IN GRGINT\n", -1},
    {"flat", 1, 0, 1, [](auto, auto f) { *f = 0, f[1] = .5; },
     0, .5, .5, 0, 0, "ERROR2 IN GRGINT\n", -1},
    {"the target's change of sign is first", 1, 1, 1,
     [](auto x, auto f) { *f = 0, f[1] = .25 + tol - x[0], f[2] = x[0] - .25 + tol; },
     0, .5, .25, -1, 1, crossing2 + held, 0, 2},
    {"bound", 2, 1, 0, equal, 0, .5, .25, -1, 1, held, 0, 0, 1, .25},
    {"bound within zeroTol of the step", 2, 1, 0, equal,
     0, .25, .25, 0, 0, "STPDEL ERROR IN GRGSAT, BND\n", 0, 0, 1, .25 - 5e-8},
    {"bound at the step", 2, 1, 0, equal,
     0, .25, .25, 0, 0, "STPDEL ERROR IN GRGSAT, BND\n", 0, 0, 1, .25},
    {"bound beyond it", 2, 1, 0, [](auto x, auto f) { *f = 0, f[1] = x[1] - 2e-7 * x[0]; },
     0, .5, .5, 0, 0, "", 0, 0, 2e-7, 1.5e-7},
    {"bound at a crossing", 2, 1, 1, [](auto x, auto f) { equal(x, f), f[2] = x[0] - .25 + tol; },
     0, .5, .25, -1, 1, held, 0, 0, 1, .25},
    {"crossing before the bound", 2, 1, 1, [](auto x, auto f) { equal(x, f), f[2] = x[0] - .125; },
     0, .5, .125 + tol, -1, 1, crossing3 + held, 0, 0, 1, .25},
    {"nothing to exchange for", 2, 1, 0, [](auto x, auto f) { *f = 0, f[1] = x[1]; },
     0, .5, .5, 0, 0, "ERROR IN GRGIJI, SINGULAR\n", -1, 0, 1, .25},
    {"restored half way", 2, 1, 0,
     [](auto x, auto f) { *f = 0, f[1] = x[1] + (x[0] > .3 ? 2 : 0); },
     0, .5, .25, 0, 1, held},
    {"not restored in five halves", 2, 1, 0, lost,
     0, .5, .5 / 32, 0, 5, "CONVERGE FAIL, GRGNR\n" + failed, -1},
    {"singular with the variable and the step", 1, 0, 1,
     [](auto x, auto f) { *f = 0, f[1] = 1e-9 * x[0] + (x[0] > .25 ? 1 : -1); },
     0, .5, .25 + tol / 4, -1, 2, crossing2 + "SINGULAR JACOBIAN DURING AUGMENT\n" + failed, -1},
    // Corrections of -1/2 and 0.3, then a longer one: each time two evaluations. The value is then
    // within the tolerance: no more is said.
    {"converges with neither", 1, 0, 1,
     [](auto x, auto f) { *f = 0, f[1] = x[0] > .25 ? .5 : x[0] - .5; },
     0, .5, any, -1, 6, crossing2 + "CONVERGE FAIL, GRGNR, NEW CONSTRAINT\n", -1},
    // The second variable is a pivot and of no avail past the jump, where its correction of -1/2
    // is repeated; the step is none at the origin.
    {"fails with the variable, singular with the step", 2, 0, 1,
     [](auto x, auto f) { *f = 0, f[1] = x[0] > .25 ? .5 : x[1] - .5; },
     0, .5, any, -1, 3, crossing2 + "CONVERGE FAIL, GRGNR, NEW CONSTRAINT\n" + failed, -1},
    {"four crossings, and then a fifth", 6, 0, 5, cascade,
     0, .5, .25 + tol, -1, 7,
     crossing2 + held + crossing3 + once + "NEW CONSTRAINT   4\n" + once +
         "NEW CONSTRAINT   5\n" + once + failed, -1},
};
// clang-format on

// GRSSAT takes 2n + 1 doubles; what it then does takes more.
TEST_F(GrgSaturation, StorageOneCellShort) {
  for (const int32_t capacity : {2, 3}) {
    VRK_setDefaults();
    Along a({1}, 0, 1, [](auto x, auto f) { *f = 0, f[1] = x[0] - .25; });
    VRK_settings.dblStorageCapacity = capacity;
    VRK_set_print(1);
    const std::string exceeded = "ERROR:  DOUBLE PRECISION STORAGE EXCEEDED         ";
    EXPECT_EQ(captured([&] { a.saturate(0, .5, false); }),
              capacity == 2 ? exceeded + "3\n" : crossing2 + exceeded + "4\n");
    EXPECT_EQ(std::tuple(a.terminate, a.second), std::tuple(-1, capacity == 2 ? 0 : -1));
    EXPECT_EQ(VRK_settings.dblStorageUsed, 0);
  }
}

TEST_F(GrgSaturation, StepFlagsAndMessages) {
  for (const Row& row : rows)
    for (const bool ownArrays : {false, true}) {
      SCOPED_TRACE(testing::Message() << row.name << (ownArrays ? ", own arrays" : ""));
      VRK_setDefaults();
      VRK_set_convTol(tol);
      Values direction(row.n, 0.0);
      direction.back() = row.slope, direction.front() = 1.0;
      Along a(direction, row.m1, row.m2, row.fill, row.mode);
      if (row.top < 1.0) a.upper[1] = row.top, a.lower[1] = -0.5 * row.top;
      VRK_set_print(1);
      EXPECT_EQ(captured([&] { a.saturate(row.s0, row.s1, ownArrays); }), row.printed);
      if (row.step != any) {
        EXPECT_NEAR(row.step, a.step, 1e-9);
      }
      EXPECT_EQ(std::tuple(a.terminate, a.second), std::tuple(row.terminate, row.second));
      EXPECT_EQ(a.host.calls.size(), static_cast<std::size_t>(row.evaluations));
      EXPECT_EQ(VRK_settings.dblStorageUsed, 0);
      if (!a.terminate) {
        EXPECT_EQ(std::tuple(a.f.values(), a.x[0]), std::tuple(a.callbackValues(), a.step));
      }
    }
}

}  // namespace
