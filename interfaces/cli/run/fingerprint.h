// What recorded values depend on, in one number.
#pragma once

#include <string>
#include <vector>

#include "problem/problem.h"

namespace tarnix::cli {

std::vector<std::string> variableNames(const ProblemFile& problem);

// Fingerprint of everything that the recorded values follow from: with a command its words, files
// and results; without one the expressions. Bounds, limits and options may change on the way.
std::string fingerprint(const ProblemFile& problem);

}  // namespace tarnix::cli
