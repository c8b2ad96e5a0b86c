#pragma once
// The SQP iteration with its arrays from the work storage.

#include "sqp/iteration.h"

namespace tarnix::core {

// Its status for the caller, 7 when the storage is too small.
int32_t solveSqp(int maxIter, const SqpProblem& problem);

}  // namespace tarnix::core
