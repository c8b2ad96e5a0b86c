#pragma once
// The box of the scaled variables, and the gradients with their column map.

#include "base/index_list.h"
#include "base/views.h"

namespace tarnix::core {

struct Box {
  ConstVector lower, upper;  // (n) scaled

  double clip(int v, double value) const {
    return value > upper(v) ? upper(v) : value < lower(v) ? lower(v) : value;
  }
  // Distance of a value from the nearer bound of variable v.
  double room(int v, double value) const { return std::min(upper(v) - value, value - lower(v)); }
};

// Gradient of function c in column columnOf(c) of G; 0 means that it has none.
struct Gradients {
  ConstMatrix G;        // (n, .)
  ConstIndex columnOf;  // (m)

  bool has(int c) const { return columnOf(c) != 0; }
  ConstVector of(int c) const { return G.column(columnOf(c)); }
  double operator()(int v, int c) const { return G(v, columnOf(c)); }
};

}  // namespace tarnix::core
