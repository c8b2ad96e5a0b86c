#pragma once
// One evaluation of all problem functions at a scaled point.

#include "eval/objective.h"

namespace tarnix::core {

// Counts the evaluation, maps x to physical units in place, calls the analysis, maps x back. The
// way back is the inverse formula, not a copy: x may change in its last bits.
void evaluate(VectorView x, VectorView f, const Objective& objective = {});

}  // namespace tarnix::core
