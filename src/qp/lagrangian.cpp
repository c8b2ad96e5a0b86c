#include "qp/lagrangian.h"

#include <algorithm>

namespace tarnix::core {

int lagrangianGradient(const ActiveRows& active, ConstVector g, ConstMatrix J, VectorView gl) {
  const int n = gl.size();
  if (n < 1) return 0;
  std::ranges::copy(g, gl.begin());
  const int m1 = active.map1.size();
  const int general = m1 + active.map2.size();
  int missing = 0;
  // Row by row of the active list: each gl(i) gets its terms in that order.
  for (int k = 1; k <= active.rows.size(); ++k) {
    const int row = active.rows(k);
    double& multiplier = active.multiplier(k);
    if (row > general) {
      const int t = row - general;
      const int j = (t + 1) / 2;
      if (j > n) continue;
      if (t % 2 == 1)
        gl(j) += multiplier;
      else
        gl(j) -= multiplier;
      continue;
    }
    const int constraint = row <= m1 ? active.map1(row) : active.map2(row - m1);
    const int column = active.column(constraint);
    if (column == 0) {
      if (row <= m1) {
        multiplier = 0.0;
        missing = constraint;
      }
      continue;  // a second-kind row always has a column; without one it is skipped
    }
    const ConstVector gradient = J.column(column);
    for (int i = 1; i <= n; ++i) gl(i) += multiplier * gradient(i);
  }
  return missing;
}

}  // namespace tarnix::core
