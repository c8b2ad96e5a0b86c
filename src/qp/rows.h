#pragma once
// Numbering of the QP's rows: general rows 1..general (columns of A), then nb bound rows variable
// by variable, then the columns of A behind offset once more with the opposite sign.

#include <cstdint>

#include "base/views.h"

namespace tarnix::core {

// Per-variable bound codes. A variable with both bounds has its upper row first.
enum BoundCode : int32_t { boundBoth = 1, boundLower = 2, boundUpper = 3 };

struct Row {
  enum class Kind { general, bound, none };
  Kind kind;
  int index;    // column of A, or variable
  double sign;  // the gradient is sign * A(:, index), or sign * e(index)
};

// Which variable and side bound row t = 1.. belongs to; Kind::none when there are fewer.
Row boundRow(int t, ConstIndex codes);
int countBoundRows(ConstIndex codes);

struct RowNumbering {
  int general;       // columns of A that come first with sign +1
  int bounds;        // bound rows
  int offset;        // column before the first one that is repeated with sign -1
  ConstIndex codes;  // (n)
  bool everyBound;   // every code is 1: the row of a bound is arithmetic

  Row operator()(int r) const {
    if (r <= general) return {Row::Kind::general, r, 1.0};
    const int t = r - general;
    if (t > bounds) return {Row::Kind::general, t - bounds + offset, -1.0};
    if (everyBound) return {Row::Kind::bound, (t + 1) / 2, t % 2 == 1 ? 1.0 : -1.0};
    return boundRow(t, codes);
  }
};

// For the rows of the QP solver: m general rows, the first m1 inequalities, the equalities
// mirrored.
RowNumbering solverRows(int m, int m1, int nb, ConstIndex codes);

}  // namespace tarnix::core
