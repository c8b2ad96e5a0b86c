// What values say about a design, by the limits that the problem file states now.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "problem/model.h"
#include "run/history.h"

namespace tarnix::cli {

struct Judged {
  bool measured = false;       // false: the run failed
  bool inside = false;         // the bounds
  std::vector<double> values;  // objective, constraints
  double violation = 0;        // largest, in units of the scales; NaN when a value is not finite
};

// Values of a record follow from what a command has measured, each time: a limit or an expression
// may have been changed in between.
Judged judge(const ProblemFile& problem, Model& model, const Record& record);

// Largest violation of the constraints, each in units of its scale; NaN when a value is not finite.
double violation(const ProblemFile& problem, std::span<const double> values);

struct BestDesign {
  std::vector<double> x, values;
  double violation = 0;
};

// Keeps the best of the designs that were measured inside the bounds: within the limits before
// outside them, then the objective, or the violation.
void keepBest(const ProblemFile& problem, const Record& record, const Judged& judged,
              std::optional<BestDesign>& best);

}  // namespace tarnix::cli
