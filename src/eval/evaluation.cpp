#include "eval/evaluation.h"

#include "state/problem.h"

namespace tarnix::core {

void evaluate(VectorView x, VectorView f, const Objective& objective) {
  ++settings->nFunEval;
  toPhysical(x);
  callAnalysis(x, f);
  toScaled(x);
  objective.applyMode(f);
}

}  // namespace tarnix::core
