// The functions that stand for those of the C library in the comparison of bits are what they are
// called: within a few units in the last place of the host's.

#include "bits/portable_math.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using Function = double (*)(double);

double power0219(double x) {
  return std::pow(x, 0.219);
}
double portablePower0219(double x) {
  return portablePow(x, 0.219);
}

TEST(PortableMath, IsThatOfTheHostToSomeUnits) {
  const struct {
    const char* name;
    Function portable, host;
    double from, to;
  } cases[] = {{"exp", portableExp, std::exp, -740, 709.5},
               {"log", portableLog, std::log, 1e-3, 1e3},
               {"log of large ones", portableLog, std::log, 1e3, 1e300},
               {"log10", portableLog10, std::log10, 1e-3, 1e3},
               {"pow", portablePower0219, power0219, 1e-3, 1e3},
               {"cbrt", portableCbrt, std::cbrt, -1e3, 1e3},
               {"erfc", portableErfc, std::erfc, -5, 5},
               {"sin", portableSin, std::sin, -40, 40},
               {"cos", portableCos, std::cos, -40, 40},
               {"tan", portableTan, std::tan, -1.5, 1.5}};
  const double epsilon = std::numeric_limits<double>::epsilon();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    for (int i = 0; i <= 10000; ++i) {
      const double x = c.from + (c.to - c.from) * i / 10000, expected = c.host(x);
      ASSERT_NEAR(expected, c.portable(x), 16 * epsilon * (1e-3 + std::fabs(expected))) << x;
    }
  }
}

TEST(PortableMath, Ends) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(infinity, portableExp(infinity));
  EXPECT_EQ(infinity, portableExp(900));
  EXPECT_EQ(0, portableExp(-infinity));
  EXPECT_TRUE(std::isnan(portableExp(NAN)));
  EXPECT_EQ(-infinity, portableLog(0));
  EXPECT_EQ(infinity, portableLog(infinity));
  EXPECT_TRUE(std::isnan(portableLog(-1)));
  EXPECT_NEAR(std::log(5e-324), portableLog(5e-324), 1e-12);
  EXPECT_EQ(0, portablePow(0, 0.5));
  EXPECT_EQ(1, portablePow(7, 0));
  EXPECT_TRUE(std::isnan(portablePow(-2, 0.5)));
  EXPECT_TRUE(std::isnan(portableSin(infinity)));
}

}  // namespace
