#pragma once
// The reduced gradient iteration over the work storage of the session.

#include "grg/iteration.h"

namespace tarnix::core {

[[nodiscard]] GrgEnd solveGrg(int maxIter, const GrgProblem& problem);

}  // namespace tarnix::core
