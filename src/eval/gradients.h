#pragma once
// Forward- and central-difference gradients of chosen functions, one scaled variable at a time.

#include <cstdint>

#include "base/views.h"
#include "eval/evaluation.h"

namespace tarnix::core {

// Which column of the gradient matrix function j goes to; 0 means none.
class ColumnSelection {
 public:
  // Function j goes to column entries(j) unless that is 0.
  static ColumnSelection map(const int32_t* entries) { return {entries, Form::map}; }
  // A first entry of -1 takes every function in order; otherwise entries above 0 are columns.
  static ColumnSelection list(const int32_t* entries, int m) {
    return {entries, m > 0 && entries[0] == -1 ? Form::everyFunction : Form::list};
  }

  int column(int j) const {
    switch (form_) {
      case Form::everyFunction: return j;
      case Form::list: return entries_[j - 1] > 0 ? entries_[j - 1] : 0;
      case Form::map: break;
    }
    return entries_[j - 1];
  }

 private:
  enum class Form { map, list, everyFunction };
  ColumnSelection(const int32_t* entries, Form form) : entries_(entries), form_(form) {}

  const int32_t* entries_;
  Form form_;
};

// The point and its function values. The perturbed points are not held within the box: a variable at
// its bound is evaluated beyond it. f holds its entry values again afterwards; x is restored by
// adding and subtracting the step and may differ in its last bits.
struct DifferencePoint {
  int n;
  double* x;
  int m;
  double* f;
  Negation negation;
};

struct DifferenceScratch {
  double* saved;   // (m) the values at the point
  double* spare;   // (m) the values on the forward side, central differences only
};

// G(i, c) = derivative of the function with column c by scaled variable i; leading dimension ld.
void differenceGradients(const DifferencePoint& point, ColumnSelection columns, int ld, double* G,
                         DifferenceScratch scratch);

// The same with its scratch from the work storage, claimed in one block (the message in mixed case)
// or in two, the second refused by itself. False when the storage is exceeded, with the message
// printed and errorFlag set; nothing is evaluated then. One block also counts in nGradEval.
[[nodiscard]] bool gradientsInOneBlock(const DifferencePoint& point, ColumnSelection columns,
                                       int ld, double* G);
[[nodiscard]] bool gradientsInTwoBlocks(const DifferencePoint& point, ColumnSelection columns,
                                        double* G);

// Gradients of the functions of both lists and, in the last column, of f(k), k of the negation; map
// (m) becomes their column map. gObj (n) is that last column, gScale = max(1, mean |gObj(i)|).
// Kept: gObj and gScale are also set after a refused claim, from whatever G holds.
bool listedGradients(const DifferencePoint& point, ConstIndex list1, ConstIndex list2, int32_t* map,
                     double* G, double* gObj, double& gScale);

void copyGradient(const double* G, int n, int column, double* out);

}  // namespace tarnix::core
