// What recorded values depend on, a hash per part.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "problem/problem.h"

namespace tarnix::cli {

std::vector<std::string> variableNames(const ProblemFile& problem);

// Everything that the recorded values follow from, by names that a user understands: with a command
// its words, the files that they name next to the problem file, templates, files and results;
// without one the expressions. Bounds, limits and options may change on the way.
using Fingerprint = std::vector<std::pair<std::string, std::string>>;
Fingerprint fingerprint(const ProblemFile& problem);

}  // namespace tarnix::cli
