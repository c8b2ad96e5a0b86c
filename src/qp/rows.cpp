#include "qp/rows.h"

namespace tarnix::core {

Row boundRow(int t, int n, const int32_t* codes) {
  int q = 0;
  for (int j = 1; j <= n; ++j) {
    const int32_t code = codes[j - 1];
    if (code == boundBoth || code == boundUpper) {
      if (++q == t) return {Row::Kind::bound, j, 1.0};
    }
    if (code == boundBoth || code == boundLower) {
      if (++q == t) return {Row::Kind::bound, j, -1.0};
    }
  }
  return {Row::Kind::none, 0, 0.0};
}

int countBoundRows(int n, const int32_t* codes) {
  int count = 0;
  for (int j = 0; j < n; ++j)
    count += codes[j] == boundBoth ? 2 : codes[j] == boundLower || codes[j] == boundUpper ? 1 : 0;
  return count;
}

RowNumbering solverRows(int n, int m, int m1, int nb, const int32_t* codes) {
  const bool everyBound =
      std::all_of(codes, codes + std::max(n, 0), [](int32_t code) { return code == boundBoth; });
  return {m, nb, m1, n, codes, everyBound};
}

}  // namespace tarnix::core
