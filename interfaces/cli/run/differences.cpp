#include "run/differences.h"

#include <algorithm>

#include "run/layer.h"

namespace tarnix::cli {

namespace {

struct Pair {
  std::size_t variable;
  double low, high;  // of the variable; one of them may be where the pass is made
};

Pair pairFor(const ProblemFile& problem, std::size_t i, double x) {
  const VariableEntry& v = problem.variables[i];
  const OptionsTable& o = problem.options;
  const double step = v.differenceStep.value_or(plainStep(o)) * (v.upper - v.lower) / 2;
  const bool above = !o.insideBounds || x + step <= v.upper,
             below = !o.insideBounds || x - step >= v.lower;
  if (o.centralDifferences && above && below) return {i, x - step, x + step};
  return above ? Pair{i, x, x + step} : Pair{i, x - step, x};
}

}  // namespace

bool hasOwnSteps(const ProblemFile& problem) {
  return std::any_of(problem.variables.begin(), problem.variables.end(),
                     [](const VariableEntry& v) { return v.differenceStep.has_value(); });
}

std::vector<std::vector<double>> derivativesAt(const ProblemFile& problem, const Answers& answers,
                                               std::span<const double> x) {
  std::vector<Pair> pairs;
  Evaluations::Designs designs;
  for (std::size_t i = 0; i < x.size(); ++i) {
    if (problem.variables[i].lower == problem.variables[i].upper) continue;
    pairs.push_back(pairFor(problem, i, x[i]));
    for (const double place : {pairs.back().low, pairs.back().high}) {
      designs.emplace_back(x.begin(), x.end());
      designs.back()[i] = place;
    }
  }
  const auto values = answers(designs);
  std::vector<std::vector<double>> derivatives(x.size());
  for (std::size_t k = 0; k < pairs.size(); ++k) {
    const auto &low = values[2 * k], &high = values[2 * k + 1];
    for (std::size_t j = 0; j < low.size(); ++j)
      derivatives[pairs[k].variable].push_back((high[j] - low[j]) / (pairs[k].high - pairs[k].low));
  }
  return derivatives;
}

}  // namespace tarnix::cli
