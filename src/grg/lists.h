#pragma once
// What every part of the reduced gradient method shares: the box, the gradients with their column
// map, and the numbers of the feasibility phase.

#include <cstdint>

#include "base/index_list.h"
#include "base/views.h"

namespace tarnix::core {

struct Box {
  const double* lower;  // (n) scaled
  const double* upper;  // (n)

  double lowerOf(int v) const { return lower[v - 1]; }
  double upperOf(int v) const { return upper[v - 1]; }
  double clip(int v, double value) const {
    return value > upperOf(v) ? upperOf(v) : value < lowerOf(v) ? lowerOf(v) : value;
  }
};

// Gradient of function c in column column(c) of G; 0 means that it has none.
struct Gradients {
  int n;
  const double* G;
  const int32_t* columnOf;

  bool has(int c) const { return columnOf[c - 1] != 0; }
  const double* of(int c) const {
    return G + static_cast<std::ptrdiff_t>(columnOf[c - 1] - 1) * n;
  }
  double operator()(int v, int c) const { return of(c)[v - 1]; }
};

}  // namespace tarnix::core
