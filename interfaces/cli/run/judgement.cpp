#include "run/judgement.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarnix::cli {

namespace {

// The bounds, and the catalogues.
bool inside(const ProblemFile& problem, std::span<const double> x) {
  for (std::size_t i = 0; i < x.size(); ++i) {
    const VariableEntry& v = problem.variables[i];
    if (!(v.lower <= x[i] && x[i] <= v.upper)) return false;
    if (!v.catalogue.empty() && !std::binary_search(v.catalogue.begin(), v.catalogue.end(), x[i]))
      return false;
  }
  return true;
}

bool better(const ProblemFile& problem, const Judged& a, const BestDesign& b) {
  const double tolerance = problem.options.tolerance;
  if ((a.violation <= tolerance) != (b.violation <= tolerance)) return a.violation <= tolerance;
  if (a.violation > tolerance) return a.violation < b.violation;
  return problem.objective.maximize ? a.values[0] > b.values[0] : a.values[0] < b.values[0];
}

}  // namespace

Judged judge(const ProblemFile& problem, Model& model, const Record& record) {
  Judged judged;
  judged.measured = record.failed.empty();
  judged.inside = inside(problem, record.x);
  judged.violation = std::numeric_limits<double>::quiet_NaN();
  if (!judged.measured) return judged;
  judged.values = problem.command ? model.values(record.x, record.results) : record.values;
  judged.violation = violation(problem, judged.values);
  return judged;
}

double violation(const ProblemFile& problem, std::span<const double> values) {
  double largest = 0;
  for (std::size_t j = 0; j < values.size(); ++j) {
    if (!std::isfinite(values[j])) return std::numeric_limits<double>::quiet_NaN();
    if (j == 0) continue;
    const ConstraintEntry& c = problem.constraints[j - 1];
    if (c.max) largest = std::max(largest, (values[j] - *c.max) / c.scale);
    if (c.min) largest = std::max(largest, (*c.min - values[j]) / c.scale);
  }
  return largest;
}

void keepBest(const ProblemFile& problem, const Record& record, const Judged& judged,
              std::optional<BestDesign>& best) {
  if (!judged.measured || !judged.inside || std::isnan(judged.violation)) return;
  if (!best || better(problem, judged, *best))
    best = BestDesign{record.x, judged.values, judged.violation};
}

}  // namespace tarnix::cli
