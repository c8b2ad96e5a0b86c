#include "qp/rows.h"

#include <algorithm>

namespace tarnix::core {

Row boundRow(int t, ConstIndex codes) {
  int q = 0;
  for (int j = 1; j <= codes.size(); ++j) {
    const int32_t code = codes(j);
    if (code == boundBoth || code == boundUpper) {
      if (++q == t) return {Row::Kind::bound, j, 1.0};
    }
    if (code == boundBoth || code == boundLower) {
      if (++q == t) return {Row::Kind::bound, j, -1.0};
    }
  }
  return {Row::Kind::none, 0, 0.0};
}

int countBoundRows(ConstIndex codes) {
  int count = 0;
  for (const int32_t code : codes)
    count += code == boundBoth ? 2 : code == boundLower || code == boundUpper ? 1 : 0;
  return count;
}

RowNumbering solverRows(int m, int m1, int nb, ConstIndex codes) {
  const bool everyBound =
      std::ranges::all_of(codes, [](int32_t code) { return code == boundBoth; });
  return {m, nb, m1, codes, everyBound};
}

}  // namespace tarnix::core
