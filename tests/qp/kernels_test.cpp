// The inner loops of the QP against plain loops, bit for bit: with the compiler's vectors, and with
// TARNIX_PLAIN_PAIRS, as which this file is compiled a second time.

#include "qp/kernels.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

using namespace tarnix::core;

namespace {

using Vector = std::vector<double>;

constexpr int longest = 19;  // every remainder of two and of four, after several rounds

Vector numbers(int n, unsigned seed) {
  std::mt19937 bits(seed);  // the same with every library, which distributions are not
  Vector v;
  for (int i = 0; i < n; ++i)
    v.push_back((static_cast<double>(bits()) / 2147483648.0 - 1.0) *
                std::ldexp(1.0, static_cast<int>(bits() % 9)));
  return v;
}
ConstVector view(const Vector& v) {
  return {v.data(), static_cast<int>(v.size())};
}
VectorView view(Vector& v) {
  return {v.data(), static_cast<int>(v.size())};
}

void expectBits(const Vector& expected, const Vector& actual) {
  ASSERT_EQ(expected.size(), actual.size());
  for (std::size_t i = 0; i < expected.size(); ++i)
    EXPECT_EQ(std::bit_cast<std::uint64_t>(expected[i]), std::bit_cast<std::uint64_t>(actual[i]))
        << expected[i] << " and " << actual[i] << " at " << i;
}

// Four sums over i mod 4, then (0 + 2) + (1 + 3), then what remains.
double plainDot(const Vector& a, const Vector& b) {
  const std::size_t whole = a.size() / 4 * 4;
  double sums[4] = {};
  for (std::size_t i = 0; i < whole; ++i) sums[i % 4] += a[i] * b[i];
  double sum = (sums[0] + sums[2]) + (sums[1] + sums[3]);
  for (std::size_t i = whole; i < a.size(); ++i) sum += a[i] * b[i];
  return sum;
}

TEST(Kernels, HaveTheBitsOfPlainLoops) {
  for (int n = 0; n <= longest; ++n) {
    SCOPED_TRACE(n);
    const Vector y = numbers(n, 1), x = numbers(4, 2),
                 columns[4] = {numbers(n, 3), numbers(n, 4), numbers(n, 5), numbers(n, 6)};
    const Columns4 four = {view(columns[0]), view(columns[1]), view(columns[2]), view(columns[3])};
    const auto sums = dot4(four, view(y));
    Vector lessOne = y, moreOne = y, minus = y, lessFour = y;
    for (std::size_t c = 0; c < 4; ++c) {
      expectBits({plainDot(columns[c], y)}, {dot(four[c], view(y))});
      expectBits({plainDot(columns[c], y)}, {sums[c]});
      for (std::size_t i = 0; i < y.size(); ++i) lessFour[i] -= x[c] * columns[c][i];
    }
    for (std::size_t i = 0; i < y.size(); ++i) {
      lessOne[i] -= x[0] * columns[0][i];
      moreOne[i] += x[0] * columns[0][i];
      minus[i] = -columns[0][i];
    }
    Vector one = y, more = y, negated = y, upwards = y, downwards = y;
    subtractColumn(view(one), four[0], x[0]);
    addMultiple(view(more), four[0], x[0]);
    negate(view(negated), four[0]);
    subtractColumns4(view(upwards), four, view(x));
    subtractColumns4Down(view(downwards), four, {x[0], x[1], x[2], x[3]});
    expectBits(lessOne, one);
    expectBits(moreOne, more);
    expectBits(minus, negated);
    expectBits(lessFour, upwards);
    expectBits(lessFour, downwards);
  }
}

TEST(Kernels, FirstLargestIsTheFirstOfEqualsAndNeverNaN) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (int n = 1; n <= longest; ++n)
    for (int at = 1; at <= n; ++at)
      for (int again = at; again <= n; ++again) {
        Vector v(static_cast<std::size_t>(n), 1.0);
        v[static_cast<std::size_t>(at) - 1] = v[static_cast<std::size_t>(again) - 1] = 2.0;
        if (again + 1 < n) v[static_cast<std::size_t>(again)] = nan;
        EXPECT_EQ(at, firstLargest(view(v), 0.5)) << n << ' ' << again;
        EXPECT_EQ(0, firstLargest(view(v), 2.0)) << n << ' ' << again;
      }
  const Vector nans(9, nan);
  EXPECT_EQ(0, firstLargest(view(nans), 0.0));
}

}  // namespace
