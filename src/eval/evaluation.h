#pragma once
// One evaluation of all problem functions at a scaled point.

#include <cstdint>

namespace tarnix::core {

// Which entry of a fresh function vector is negated: f(k), in mode 3 alone. The feasibility phase of
// the reduced gradient method minimises a negative equality that way.
struct Negation {
  int32_t mode = 0;
  int32_t k = 0;

  // 0.0 - f and not -f: an entry of +0.0 stays +0.0.
  void apply(double* f) const {
    if (mode == 3) f[k - 1] = 0.0 - f[k - 1];
  }
};

// Counts the evaluation, maps x to physical units in place, calls the analysis, maps x back. The way
// back is the inverse formula, not a copy: x may change in its last bits.
void evaluate(int n, double* x, double* f);

inline void evaluate(int n, double* x, double* f, Negation negation) {
  evaluate(n, x, f);
  negation.apply(f);
}

}  // namespace tarnix::core
