#pragma once
// A solve call on guarded arrays, every variable in [-1, 1]: scaling is exact there, and with it
// whatever is worked out by hand.

#include "support/support.h"

namespace support {

using Values = std::vector<double>;

struct Solve {
  const int32_t n, m1, m2;
  Recorder host;
  Doubles x, lower, upper, f;

  Solve(const Values& start, int m1_, int m2_, decltype(Recorder::fill) fill)
      : n(static_cast<int32_t>(start.size())),
        m1(m1_),
        m2(m2_),
        x(n),
        lower(n),
        upper(n),
        f(1 + m1 + m2) {
    host.n = n;
    host.fill = std::move(fill);
    std::copy(start.begin(), start.end(), x.begin());
    std::fill(lower.begin(), lower.end(), -1.0);
    std::fill(upper.begin(), upper.end(), 1.0);
  }
  int32_t run(int32_t maxIter = 50, decltype(VRK_sqp)* method = VRK_sqp) {
    return method(maxIter, n, x, lower, upper, m1, m2, Recorder::analysis, &host, f);
  }
};

}  // namespace support
