// One call of the C++ layer for a problem file.
#pragma once

#include <tarnix/tarnix.hpp>

#include "run/differences.h"

namespace tarnix::cli {

// Solves with the values that answers gives. Scale: of the objective. Throws what answers throws.
tarnix::Result solveLayer(const ProblemFile& problem, double scale, const tarnix::Options& options,
                          const Answers& answers);

}  // namespace tarnix::cli
