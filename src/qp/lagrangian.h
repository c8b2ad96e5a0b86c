#pragma once
// Gradient of the Lagrangian g + sum mult . (gradient of the active row).

#include "base/views.h"

namespace tarnix::core {

// Active rows are numbered in one range: the constraints of the first kind through map1, those of
// the second kind through map2, then two bound rows per variable, +e(j) (odd) and -e(j) (even).
struct ActiveRows {
  ConstIndex map1, map2;  // constraint numbers of the two kinds
  ConstIndex column;      // column of a constraint's gradient, 0 when it has none
  ConstIndex rows;        // active rows
  VectorView multiplier;  // of each active row
};

// gl := g + sum of terms, J the gradients. A first-kind row without a column contributes nothing:
// its multiplier is set to 0 and its constraint number returned (else 0).
int lagrangianGradient(const ActiveRows& active, ConstVector g, ConstMatrix J, VectorView gl);

}  // namespace tarnix::core
