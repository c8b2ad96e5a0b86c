#pragma once
// Gradients of chosen functions: what the host gives, and forward or central differences for the
// rest, one scaled variable at a time.

#include "eval/evaluation.h"

namespace tarnix::core {

// Which column of the gradient matrix function j goes to; 0 means none.
class ColumnSelection {
 public:
  // Function j goes to column entries(j) unless that is 0.
  static ColumnSelection map(ConstIndex entries) { return {entries, Form::map}; }
  // A first entry of -1 takes every function in order; otherwise entries above 0 are columns.
  static ColumnSelection list(ConstIndex entries) {
    return {entries, entries.size() > 0 && entries(1) == -1 ? Form::everyFunction : Form::list};
  }

  int column(int j) const {
    if (form_ == Form::everyFunction) return j;
    return form_ == Form::map || entries_(j) > 0 ? entries_(j) : 0;
  }
  // The highest column.
  int columns() const;

 private:
  enum class Form { map, list, everyFunction };
  ColumnSelection(ConstIndex entries, Form form) : entries_(entries), form_(form) {}

  ConstIndex entries_;
  Form form_;
};

// The point and its function values. The perturbed points are not held within the box: a variable
// at its bound is evaluated beyond it. f holds its entry values again afterwards; x is restored by
// adding and subtracting the step and may differ in its last bits.
struct DifferencePoint {
  VectorView x;  // (n)
  VectorView f;  // (m)
  Objective objective{};
};

struct DifferenceScratch {
  VectorView saved;  // (m) the values at the point
  VectorView spare;  // (m) the values on the forward side, central differences only
};

// G(i, c) = derivative of the function with column c by scaled variable i.
void differenceGradients(const DifferencePoint& at, const ColumnSelection& columns,
                         const MatrixView& G, const DifferenceScratch& scratch);

// The same with its scratch from the work storage, claimed in one block (the message in mixed case)
// or in two, the second refused by itself. False when the storage is exceeded, with the message
// printed and errorFlag set; nothing is evaluated then. One block also counts in nGradEval.
[[nodiscard]] bool gradientsInOneBlock(const DifferencePoint& at, const ColumnSelection& columns,
                                       const MatrixView& G);
[[nodiscard]] bool gradientsInTwoBlocks(const DifferencePoint& at, const ColumnSelection& columns,
                                        const MatrixView& G);

// Gradients of the functions of both lists and, in the last column, of the objective; map (m)
// becomes their column map. gObj (n) is that last column, gScale = max(1, mean |gObj(i)|).
// Kept: gObj and gScale are also set after a refused claim, from whatever G holds.
bool listedGradients(const DifferencePoint& at, ConstIndex list1, ConstIndex list2, IndexVector map,
                     MatrixView G, VectorView gObj, double& gScale);

}  // namespace tarnix::core
