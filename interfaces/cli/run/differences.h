// Gradients by differences with a step for each variable.
#pragma once

#include <functional>
#include <span>
#include <vector>

#include "run/evaluations.h"

namespace tarnix::cli {

// Whether the file gives a step to a variable; otherwise the methods take their own differences.
bool hasOwnSteps(const ProblemFile& problem);

// Objective and constraints at designs.
using Answers = std::function<std::vector<std::vector<double>>(const Evaluations::Designs&)>;

// Derivatives of objective and constraints by each variable, in the user's units; none for fixed
// ones. All points of the pass are evaluated side by side.
std::vector<std::vector<double>> derivativesAt(const ProblemFile& problem, const Answers& answers,
                                               std::span<const double> x);

}  // namespace tarnix::cli
