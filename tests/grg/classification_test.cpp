// Classification of constraints, the choice of a temporary objective, screening, and the subproblem
// over the resulting lists.

#include "grg/grg_test.h"

#include <tuple>

namespace {

using namespace support;

class Classification : public Library {};

TEST_F(Classification, ListsAndTarget) {
  // f(1) is the objective, 2 and 3 are equalities, 4 to 6 inequalities. The lists run against the
  // order of the numbers, so that the first of equals in the list shows.
  const int32_t equalities[] = {3, 2}, inequalities[] = {6, 5, 4};
  const double t = 0.001, past = std::nextafter(t, 1.0);  // convTol
  const struct {
    Values f;
    int32_t target, mode;
    Rows kept, active, satisfied;
    int32_t newTarget, newMode, negated;
  } cases[] = {
      {{9, t, -t, t, -t, -past}, 0, 0, {6, 5, 4}, {5, 4}, {3, 2}, 0, 0, 0},
      // The worst is chosen: an equality on a tie, else the first of equals.
      {{9, 0, -past, past, -1, 0}, 0, 0, {6, 5}, {6}, {2}, 3, 3, 3},
      {{9, 0.5, 0, 0.25, 0.75, 0.75}, 0, 0, {}, {}, {3}, 6, 1, 0},
      {{9, -0.5, 0.5, -1, 0.25, -1}, 0, 0, {6, 4}, {}, {}, 3, 2, 0},
      // A target stays until it is reached, ...
      {{9, 2, 0, past, 3, -1}, 4, 1, {6}, {}, {3}, 4, 1, 0},
      {{9, -0.5, 0, t, 0.25, -1}, 4, 1, {6, 4}, {4}, {3}, 2, 3, 2},
      {{9, 0.5, 0, -3, 0.25, -1}, 4, 1, {6, 4}, {}, {3}, 2, 2, 0},
      // ... and an equality that overshot is pursued from its other side.
      {{9, 0, -past, 0.5, -1, -1}, 3, 2, {6, 5}, {}, {2}, 3, 3, 3},
      {{9, 0, -0.5, -1, -1, -1}, 3, 3, {6, 5, 4}, {}, {2}, 3, 2, 3},
      {{9, 4, 0.5, -1, -1, -1}, 3, 3, {6, 5, 4}, {}, {}, 3, 3, 0},
      {{9, 0, -0.5, -1, -1, -1}, 3, 0, {6, 5, 4}, {}, {2}, 3, 0, 0},
      // Kept: the negated value of a target that was reached stays when another is chosen, ...
      {{9, 0.5, -t, -1, -1, -1}, 3, 3, {6, 5, 4}, {}, {3}, 2, 2, 0},
      // ... and is undone when all are satisfied; a zero stays positive.
      {{9, 0, -0.0005, -1, 0, -1}, 3, 3, {6, 5, 4}, {5}, {3, 2}, 3, 0, 3},
      {{9, 0, 0.0, -1, -1, -1}, 3, 3, {6, 5, 4}, {}, {3, 2}, 3, 0, 3},
      {{9, 0, 0, -1, -1, -1}, 4, 1, {6, 5, 4}, {}, {3, 2}, 4, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    Doubles f(6);
    std::copy(c.f.begin(), c.f.end(), f.begin());
    Ints kept(3), active(3), satisfied(2);
    int32_t nKept = 77, nActive = 77, nSatisfied = 77, target = c.target, mode = c.mode;
    GRGCON(by(3), inequalities, by(2), equalities, f, &nKept, kept, &nActive, active, &nSatisfied,
           satisfied, &target, &mode);
    EXPECT_EQ(Rows(kept.begin(), kept.begin() + nKept), c.kept);
    EXPECT_EQ(Rows(active.begin(), active.begin() + nActive), c.active);
    EXPECT_EQ(Rows(satisfied.begin(), satisfied.begin() + nSatisfied), c.satisfied);
    EXPECT_EQ(std::tuple(target, mode), std::tuple(c.newTarget, c.newMode));
    for (int i = 0; i < 6; ++i) EXPECT_BITS(i + 1 == c.negated ? 0.0 - c.f[i] : c.f[i], f[i]);
  }
}

// The pass overwrites and does not exchange: each place ends with the largest value from there on.
TEST_F(Classification, ScreeningKeepsDuplicates) {
  Values f{9, 0.0005, -8, 0, -5, -3, -9, -4, -6, -3, -7, -20, -10, -12, -11};
  f.resize(27, 1.0);  // two active, twelve inactive, twelve violated
  const Rows before{2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  const Rows passed{2, 4, 4, 6, 6, 10, 10, 10, 10, 11, 13, 13, 15, 15};
  Rows list(26);
  std::iota(list.begin(), list.end(), 2);
  const double off = std::nextafter(0.99, 1.0);
  const Values cases[] = {// inequalities, share, kept
                          {26, 0.5, 8},
                          {26, 0.99, 13},
                          {26, 0, 2},
                          {25, 0.5, 14},
                          {26, off, 14}};
  for (const Values& c : cases) {
    SCOPED_TRACE(&c - cases);
    VRK_settings.grgParam1 = c[1];
    Ints kept(14), active(2);
    int32_t nKept = 0, nActive = 0, nSatisfied = 0, target = 0, mode = 0;
    GRGCON(by(static_cast<int32_t>(c[0])), list.data(), by(0), nullptr, f.data(), &nKept, kept,
           &nActive, active, &nSatisfied, nullptr, &target, &mode);
    ASSERT_EQ(nKept, c[2]);
    const Rows& wanted = nKept < 14 ? passed : before;
    EXPECT_TRUE(std::equal(kept.begin(), kept.begin() + nKept, wanted.begin()));
    EXPECT_EQ(active.values(), (Rows{2, 4}));
  }
}

// Two variables, H = diag(1, h). Row 1 is an inequality with gradient (1, 0), row 2 an equality
// with gradient (1, 1), or there are none of them; bound rows follow, upper before lower.
struct Direction {
  Doubles d{0, 0}, multiplier{0, 0};
  Ints rows{0, 0};
  int32_t nact = 7, status = 0;

  Direction(int32_t count, const Values& f, const Values& g, double h = 1.0) {
    const double G[] = {1, 0, 1, 1}, H[] = {1, 0, 0, h};
    const double x[] = {0.25, -0.5}, upper[] = {1, 2}, lower[] = {-1, -0.75};
    const int32_t list[] = {3, 2}, used = VRK_settings.dblStorageUsed;
    GRSQP(by(2), &count, list, &count, list + 1, f.data(), x, upper, lower, G, H, d, g.data(),
          multiplier, rows, &nact, &status);
    EXPECT_EQ(std::tuple(VRK_settings.dblStorageUsed, VRK_settings.intStorageUsed),
              std::tuple(used, 0));
  }
  double of(int row) { return multiplier[rows[0] == row ? 0 : rows[1] == row ? 1 : 16]; }
};

TEST_F(Classification, Subproblem) {
  // d1 <= 1/4 and d1 + d2 = 1/2: d + g + of(1) (1, 0) + of(2) (1, 1) = 0.
  Direction held(1, {9, -0.5, -0.25}, {-3, 0});
  EXPECT_EQ(held.d.values(), (Values{0.25, 0.25}));
  EXPECT_EQ(std::tuple(held.nact, held.of(1), held.of(2), held.status),
            std::tuple(2, 3.0, -0.25, 0));
  Direction boxed(0, {}, {-5, 5});
  EXPECT_EQ(boxed.d.values(), (Values{0.75, -0.25}));
  EXPECT_EQ(std::tuple(boxed.nact, boxed.of(1), boxed.of(4)), std::tuple(2, 4.25, 4.75));
  EXPECT_EQ(Direction(1, {9, -10, -0.25}, {0, 0}).status, 8);  // beyond the box
  EXPECT_EQ(Direction(1, {9, 0, 0}, {0, 0}, -1.0).status, 9);

  const auto refusal = [](int32_t doubles, int32_t ints) {
    VRK_setDefaults(), VRK_set_print(1);
    VRK_settings.dblStorageCapacity = doubles, VRK_settings.intStorageCapacity = ints;
    int32_t status = 0;
    const auto call = [&] { status = Direction(1, {9, -0.5, -0.25}, {-3, 0}).status; };
    const std::string text = captured(call);
    return text + std::to_string(VRK_settings.errorFlag) + " " + std::to_string(status);
  };
  EXPECT_EQ(refusal(6, 3), "ERROR:  DOUBLE PRECISION STORAGE EXCEEDED         7\n-1 0");
  EXPECT_EQ(refusal(28, 2), "ERROR:  INTEGER STORAGE EXCEEDED         3\n-1 0");
  EXPECT_EQ(refusal(27, 3), "ERROR: DOUBLE PRECISION STORAGE EXCEEDED,         28\n0 10");
  EXPECT_EQ(refusal(28, 3), "0 0");
}

}  // namespace
