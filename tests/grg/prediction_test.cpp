// Where the variables are at a trial step: projected, extrapolated, and stopped at their bounds.

#include "grg/grg_test.h"

#include <tuple>

namespace {

using namespace support;

class Prediction : public Library {};

// Variables 3 and 1 of three are listed, in this order, and so are the numbers of the tables.
const int32_t listed[] = {3, 1};
struct Spread : Doubles {
  Spread(double third, double first) : Doubles(3) { (*this)[2] = third, (*this)[0] = first; }
};

TEST_F(Prediction, IndependentVariables) {
  const Values cases[] = {// base, d, x, allAtBound
                          {0.25, 0.25, 0.5, -0.5, 0.5, 0.0, 7},
                          {0.5, 0, 0.5, -4, 0.75, -0.5, 7},  // the first ends on its bound
                          {0.5, 0, 4, -1, 0.75, -0.5, 7},    // the second one
                          {0.5, 0, 0.75, -1.25, 0.75, -0.5, -1}};
  for (const Values& c : cases) {
    SCOPED_TRACE(&c - cases);
    Spread base(c[0], c[1]), d(c[2], c[3]), upper(0.75, 0.625), lower(-0.25, -0.5);
    Doubles x(3);
    int32_t allAtBound = 7;
    GRGIDV(by(0), listed, upper, lower, by(0.75), d, x, base, by(0.25), &allAtBound);
    EXPECT_EQ(std::tuple(x.untouched(), allAtBound), std::tuple(true, 7)) << "none listed";
    GRGIDV(by(2), listed, upper, lower, by(0.75), d, x, base, by(0.25), &allAtBound);
    EXPECT_EQ(std::tuple(x[2], x[0], x.untouched(1)), std::tuple(c[4], c[5], true));
    EXPECT_EQ(allAtBound, c[6]);
  }
}

TEST_F(Prediction, DependentVariables) {
  // zeroTol is 1/8, so that every boundary is met exactly; the base is at step 1.
  const double below = std::nextafter(3.5, 0.0), none = 1e30;
  const Values cases[] = {
      // alpha, tPrev, base, previous point or tangent, x, blocking variable, its step
      {2, 0.5, 0.25, -0.25, 0.125, -0.125, 0.5, -0.5, 0, none},
      {5, 0.5, 0.25, -0.25, 0.125, -0.125, 1, -1, 3, 4},  // together: the first in the list
      {5, 0.5, 0.25, -0.5, 0.125, -0.25, 1, -1, 1, 2},
      {3.5, 0.5, 0.25, -0.25, 0.125, -0.125, 1, -1, 3, 4},  // within zeroTol of the bounds
      {below, 0.5, 0.25, -0.25, 0.125, -0.125, below / 4, -below / 4, 0, none},
      {1, 0.5, 0.875, -0.875, 0.8125, -0.8125, 1, -1, 0, none},  // slopes of zeroTol
      {3, 2, 0.25, -0.5, 0.75, -0.25, 1, 0, 3, 2.5},
      {-3, 0.5, 0, 0.5, 0.25, 0.25, 1, -1, 1, 2},  // the bound ahead, not the one behind
      // Kept: on the tangent the step is where the value reaches zero, even behind the base.
      {3, 0.875, 0.25, 0.5, 0.5, -0.5, 1, -0.5, 3, 0.5},
      {3, 1, 0.5, 0.75, 1, 0.25, 1, 1, 1, -2},
      {3, 1, 0.5, -0.5, 0.25, -0.25, 1, -1, 3, -1},
      {1, 1, 0.875, 0.5, 0.125, 0.125, 1, 0.5, 0, none},
  };
  VRK_settings.zeroTol = 0.125;
  for (const Values& c : cases) {
    SCOPED_TRACE(&c - cases);
    const bool onTangent = std::fabs(1 - c[1]) <= 0.125;
    Spread base(c[2], c[3]), other(c[4], c[5]), upper(1, 1), lower(-1, -1);
    Doubles x(3), unread(3);
    double *tangent = onTangent ? other : unread, *previous = onTangent ? unread : other;
    int32_t index = 77;
    double step = 77;
    GRGDDV(by(-1), listed, upper, lower, &c[0], tangent, x, base, previous, by(1.0), &c[1], &index,
           &step);
    EXPECT_EQ(std::tuple(x.untouched(), index, step), std::tuple(true, 0, none)) << "none listed";
    GRGDDV(by(2), listed, upper, lower, &c[0], tangent, x, base, previous, by(1.0), &c[1], &index,
           &step);
    EXPECT_EQ(std::tuple(x[2], x[0], x.untouched(1)), std::tuple(c[6], c[7], true));
    EXPECT_EQ(std::tuple(index, step), std::tuple(c[8], c[9]));
  }
}

TEST_F(Prediction, FirstBound) {
  const double upper[] = {1, 0.5, 2}, lower[] = {-1, -0.5, -2}, x[] = {0.5, 0, 1};
  const Values cases[] = {// d, index, step
                          {0.25, 0.25, -1, 1, 2},
                          {-0.25, 0.25, -2, 3, 1.5},
                          {0.125, -0.5, 0.25, 2, 1},
                          {1e-7, -1e-7, 0, 0, 1e30}};
  for (const Values& c : cases) {
    int32_t index = 77;
    double step = 77;
    GRGSTP(by(3), x, upper, lower, c.data(), &index, &step);
    EXPECT_EQ(std::tuple(index, step), std::tuple(c[3], c[4]));
  }
}

}  // namespace
