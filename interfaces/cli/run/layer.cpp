#include "run/layer.h"

#include <cmath>
#include <tarnix/tarnix.hpp>

namespace tarnix::cli {

tarnix::Problem layerProblem(const ProblemFile& problem, double objectiveScale) {
  tarnix::Problem p;
  for (const VariableEntry& v : problem.variables) p.variable(v.name, v.start, v.lower, v.upper);
  const ObjectiveEntry& objective = problem.objective;
  if (objective.maximize)
    p.maximize(objective.name, objectiveScale);
  else
    p.minimize(objective.name, objectiveScale);
  for (const ConstraintEntry& c : problem.constraints) {
    if (c.equality)
      p.equal(c.name, *c.max, c.scale);
    else if (c.min && c.max)
      p.between(c.name, *c.min, *c.max, c.scale);
    else if (c.max)
      p.atMost(c.name, *c.max, c.scale);
    else if (c.min)
      p.atLeast(c.name, *c.min, c.scale);
  }
  return p;
}

tarnix::Options layerOptions(const OptionsTable& options) {
  tarnix::Options o;
  o.method = options.method == "grg"   ? Method::grg
             : options.method == "sqp" ? Method::sqp
                                       : Method::automatic;
  o.tolerance = options.tolerance;
  o.differences = options.centralDifferences ? Differences::central : Differences::forward;
  o.differenceStep = options.differenceStep;
  o.keepInside = options.insideBounds;
  o.maxIterations = options.maxIterations;
  o.target = options.target;
  o.starts = options.starts;
  o.seed = static_cast<std::uint64_t>(options.seed);
  return o;
}

std::vector<std::string> layerIssues(const ProblemFile& problem) {
  std::vector<std::string> messages;
  for (const tarnix::Issue& issue : layerProblem(problem, 1).check(layerOptions(problem.options)))
    messages.push_back(issue.message);
  return messages;
}

Outcome outcomeOf(const ProblemFile& problem, const tarnix::Result& r) {
  Outcome outcome =
      outcomeAt(problem, BestDesign{r.point.x, r.point.values, r.point.violation}, name(r.reason));
  outcome.success = r.success;
  outcome.feasible = r.feasible;
  outcome.method = name(r.method);
  outcome.status = r.status;
  outcome.meaning = r.meaning;
  outcome.iterations = r.iterations;
  for (const Stage& stage : r.stages)
    outcome.stages.push_back({name(stage.settings.method), name(stage.settings.differences),
                              stage.status, stage.meaning, stage.iterations, stage.evaluations});
  if (r.minima) {
    outcome.minima.emplace();
    for (const Minimum& m : r.minima->found)
      outcome.minima->found.push_back({m.point.values[0], m.times, m.start, m.point.x});
    outcome.minima->starts = r.minima->starts;
    outcome.minima->unsuccessful = r.minima->unsuccessful;
    outcome.minima->unseen = r.minima->unseen;
  }
  if (!r.report) return outcome;
  for (const ActiveLimit& limit : r.report->active) {
    if (limit.multiplier == 0) continue;
    const auto tell = [&](auto& entries) {
      for (auto& entry : entries)
        if (entry.name == limit.name) {
          entry.multiplier = limit.multiplier;
          entry.perPercent = limit.perPercent;
        }
    };
    tell(outcome.variables);
    tell(outcome.constraints);
  }
  return outcome;
}

double typicalSize(double value) {
  if (!std::isfinite(value) || value == 0) return 1;
  const double power = std::pow(10.0, std::floor(std::log10(std::abs(value))));
  const double size = std::round(std::abs(value) / power) * power;
  return std::isfinite(size) && size > 0 ? size : 1;
}

}  // namespace tarnix::cli
