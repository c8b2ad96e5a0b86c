// Plans of experiments: designs that are chosen beforehand, without an optimizer.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "problem/problem.h"

namespace tarnix::cli {

struct Plan {
  std::string kind = "one-at-a-time";  // or corners, latin, sobol
  int count = 0;                       // of latin and sobol points, levels of one-at-a-time
  std::uint64_t seed = 1;
};

// The words for kind that this build knows.
const std::vector<std::string>& planKinds();

// The start first, but for latin and sobol; fixed variables keep their value. Throws Failure for a
// plan that is too large.
std::vector<std::vector<double>> designsOf(const Plan& plan, const ProblemFile& problem);

}  // namespace tarnix::cli
