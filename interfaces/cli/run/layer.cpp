#include "run/layer.h"

#include <algorithm>
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

namespace {

// Values that are given in steps are as exact as a quarter of one, in the mean; what is finer than
// this is no more than rounding.
double printedNoise(const OptionsTable& options) {
  constexpr double fine = 1e-9;
  return options.resolution > fine ? options.resolution / 4 : 0;
}

}  // namespace

double plainStep(const OptionsTable& options) {
  if (options.differenceStep > 0) return options.differenceStep;
  const double noise = std::max(options.accuracy, printedNoise(options));
  return std::clamp(std::sqrt(noise), 1e-4, 0.05);
}

tarnix::Options layerOptions(const OptionsTable& options) {
  tarnix::Options o;
  o.method = options.method == "grg"   ? Method::grg
             : options.method == "sqp" ? Method::sqp
                                       : Method::automatic;
  o.tolerance = options.tolerance;
  o.differences = options.centralDifferences ? Differences::central : Differences::forward;
  o.differenceStep = o.method == Method::automatic ? options.differenceStep : plainStep(options);
  if (options.differenceStep == 0) o.accuracy = std::max(options.accuracy, printedNoise(options));
  o.effort = options.effort;
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
  Outcome outcome = outcomeAt(problem, BestDesign{r.point.x, r.point.values, r.point.violation},
                              name(r.reason), r.tolerance);
  outcome.success = r.success;
  outcome.feasible = r.feasible;
  outcome.method = name(r.method);
  outcome.status = r.status;
  outcome.meaning = r.meaning;
  outcome.iterations = r.iterations;
  if (r.noise > 0) outcome.noise = r.noise;
  outcome.differenceStep = r.differenceStep;
  if (r.conflict)
    outcome.conflict = {r.conflict->violation, r.conflict->constraints, r.conflict->minimal};
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
  if (!r.report || !r.feasible) return outcome;  // of a design that is none nothing has a price
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
