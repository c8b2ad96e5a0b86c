// A problem file in the words of the C++ layer, and the layer's result in the program's.
#pragma once

#include <string>
#include <vector>

#include "output/outcome.h"
#include "problem/problem.h"

namespace tarnix {
class Problem;
struct Options;
struct Result;
}  // namespace tarnix

namespace tarnix::cli {

tarnix::Problem layerProblem(const ProblemFile& problem, double objectiveScale);
// Step of the differences in half ranges where the automatic method does not choose it.
double plainStep(const OptionsTable& options);
tarnix::Options layerOptions(const OptionsTable& options);

// What the layer would reject.
std::vector<std::string> layerIssues(const ProblemFile& problem);

Outcome outcomeOf(const ProblemFile& problem, const tarnix::Result& result);

// One significant digit of the objective at the start: the tolerance is relative to it.
double typicalSize(double value);

}  // namespace tarnix::cli
