#include "eval/evaluation.h"

#include "api/problem.h"
#include "api/settings.h"

namespace tarnix {

void evaluate(int n, double* x, double* f) {
  ++settings.nFunEval;
  toPhysical(n, x);
  callAnalysis(x, f);
  toScaled(n, x);
}

}  // namespace tarnix
