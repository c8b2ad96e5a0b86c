#include "eval/evaluation.h"

#include "state/problem.h"
#include "state/settings.h"

namespace tarnix::core {

void evaluate(int n, double* x, double* f) {
  ++settings->nFunEval;
  toPhysical(n, x);
  callAnalysis(x, f);
  toScaled(n, x);
}

}  // namespace tarnix::core
