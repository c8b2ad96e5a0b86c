#include "qp/lagrangian.h"

#include <algorithm>

namespace tarnix::core {

int lagrangianGradient(int n, const ActiveRows& active, const double* g, const double* J,
                       double* gl) {
  if (n < 1) return 0;
  std::copy_n(g, n, gl);
  const int m1 = active.map1.size();
  const int general = m1 + active.map2.size();
  int missing = 0;
  // Row by row of the active list: each gl(i) gets its terms in that order.
  for (int k = 1; k <= active.rows.size(); ++k) {
    const int row = active.rows(k);
    double& multiplier = active.multiplier[k - 1];
    if (row > general) {
      const int t = row - general;
      const int j = (t + 1) / 2;
      if (j > n) continue;
      if (t % 2 == 1)
        gl[j - 1] += multiplier;
      else
        gl[j - 1] -= multiplier;
      continue;
    }
    const int constraint = row <= m1 ? active.map1(row) : active.map2(row - m1);
    const int column = active.column[constraint - 1];
    if (column == 0) {
      if (row <= m1) {
        multiplier = 0.0;
        missing = constraint;
      }
      continue;  // a second-kind row always has a column; without one it is left out
    }
    const double* gradient = J + static_cast<std::ptrdiff_t>(column - 1) * n;
    for (int i = 0; i < n; ++i) gl[i] += multiplier * gradient[i];
  }
  return missing;
}

}  // namespace tarnix::core
