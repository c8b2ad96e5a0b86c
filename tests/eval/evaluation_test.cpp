// One evaluation: counting, the two maps to the bit, the negation.

#include <cmath>

#include "support/support.h"

using namespace support;

namespace {

class Evaluation : public Library {};

// The expected bits follow from the two formulas in IEEE arithmetic; these points tell them from
// other orders of the operations.
TEST_F(Evaluation, MapsToTheBitAndBack) {
  const struct {
    const char* name;
    double lower, upper, x, seen, back;
  } cases[] = {
      {"back above", -0.3, 1.1, -0x1.3333333333334p-3, 0x1.2e147ae147ae1p-2, -0x1.3333333333335p-3},
      {"back below", -0.3, 1.1, 0x1.6666666666667p-2, 0x1.4a3d70a3d70a4p-1, 0x1.6666666666666p-2},
      {"lower bound", -2, 6, -1, -2, -1},
      {"beyond the upper bound", -2, 6, 1.5, 8, 1.5},
      {"sum before the half", 0.2e308, 1.2e308, 1, INFINITY, INFINITY},
  };
  for (const auto& c : cases)
    for (const bool sqp : {false, true}) {
      SCOPED_TRACE(c.name);
      Recorder host;
      host.install({c.lower}, {c.upper});
      int counted = -1;
      host.fill = [&](double*, double*, double*, double*) { counted = VRK_get_nFunEval(); };
      Doubles x{c.x}, f(1);
      sqp ? SQPFUN(by(1), x, f) : GRGFUN(by(0), by(1), by(1), x, f);
      ASSERT_EQ(1u, host.calls.size());
      EXPECT_BITS(c.seen, host.calls[0].x[0]);
      EXPECT_BITS(c.back, x[0]);
      EXPECT_EQ(1, counted) << "before the call";
    }
}

TEST_F(Evaluation, OnlyModeThreeNegatesOneEntry) {
  const double values[] = {2.5, 0.0, -0.0, -4}, negated[] = {-2.5, 0.0, 0.0, 4};
  Recorder host;
  host.install({0}, {1}, 1, 2);
  host.fill = [&](double*, double* objective, double*, double*) {
    std::copy_n(values, 4, objective);
  };
  for (const int mode : {0, 1, 2, 3, 4, -3})
    for (int k = 1; k <= 4; ++k) {
      Doubles x{0.5}, f(4);
      GRGFUN(by(mode), by(k), by(1), x, f);
      for (int i = 0; i < 4; ++i)
        EXPECT_BITS(mode == 3 && i == k - 1 ? negated[i] : values[i], f[i]);
    }
}

TEST_F(Evaluation, WithoutVariablesOrWidthOrCallback) {
  Recorder host;
  host.install({2}, {2});
  Doubles x{0.25}, f{5};
  SQPFUN(by(0), x, f);
  EXPECT_EQ(1u, host.calls.size());
  EXPECT_EQ(0.25, x[0]);
  SQPFUN(by(1), x, f);
  EXPECT_EQ(2, host.calls[1].x[0]) << "equal bounds";
  EXPECT_FALSE(std::isfinite(x[0]));

  const double bound = 0;
  double start = 0, value = 7;
  VRK_settings.nFunEval = 0;
  VRK_sqp(0, 1, &start, &bound, &bound, 0, 0, nullptr, nullptr, &value);
  GRGFUN(by(0), by(1), by(1), x, f);
  ANAFUN(x, f);
  EXPECT_EQ(7, value);
  EXPECT_EQ(5, f[0]);
  EXPECT_EQ(2, VRK_get_nFunEval()) << "the bridge itself does not count";
}

}  // namespace
