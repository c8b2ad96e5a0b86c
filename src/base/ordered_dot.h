#pragma once
// The sum of products in increasing order: for the sums whose order of operations is pinned.

#include "base/views.h"

namespace tarnix::core {

inline double orderedDot(ConstVector a, ConstVector b) {
  double sum = 0.0;
  for (int i = 1; i <= a.size(); ++i) sum += a(i) * b(i);
  return sum;
}

}  // namespace tarnix::core
