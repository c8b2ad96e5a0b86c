#include "run/point_solve.h"

#include <algorithm>
#include <utility>

#include "run/layer.h"
#include "run/layer_solve.h"

namespace tarnix::cli {

namespace {

bool better(const Outcome& a, const Outcome& b) {
  if (a.success != b.success) return a.success;
  if (a.feasible != b.feasible) return a.feasible;
  if (!a.objective || !b.objective) return a.objective.has_value();
  if (!a.feasible) return *a.violation < *b.violation;
  return a.objective->sense == "maximize" ? a.objective->value > b.objective->value
                                          : a.objective->value < b.objective->value;
}

}  // namespace

Outcome PointSolve::from(const std::optional<End>& neighbor) {
  Outcome outcome = solved(neighbor ? &*neighbor : nullptr);
  if (neighbor && !outcome.success) {
    const auto first = std::exchange(ended, {});
    Outcome other = solved(nullptr);
    if (better(other, outcome))
      outcome = std::move(other);
    else
      ended = first;
  }
  outcome.evaluations = asked;
  return outcome;
}

std::vector<std::vector<double>> PointSolve::answers(const Evaluations::Designs& designs) {
  std::vector<SharedPool::Answer> given(designs.size());
  if (store) given = pool.ask(*store, designs);
  std::vector<std::vector<double>> values;
  for (std::size_t k = 0; k < designs.size(); ++k) {
    ++asked;
    Record record{0, designs[k], given[k].results, {}, given[k].failed, 0};
    if (record.failed.empty()) {
      record.values = model.values(record.x, record.results);
      keepBest(problem, record, judge(problem, model, record), best);
    } else if (problem.command->onFailure != FailurePolicy::penalty) {
      throw RunFailed{record.failed};
    } else {
      penalized.push_back(record.x);
      record.values = penaltiesOf(problem);
    }
    values.push_back(std::move(record.values));
  }
  return values;
}

// The first evaluation of the solve, which gives the objective its scale.
double PointSolve::scaleAtStart(tarnix::Options layer) {
  if (problem.objective.scale) return *problem.objective.scale;
  double first = 0;
  const auto one = [&](const Point& x, Values& v) {
    const auto f = answers({{x.begin(), x.end()}})[0];
    std::copy(f.begin(), f.end(), v.begin());
    first = f[0];
  };
  layer.maxEvaluations = 1;
  layer.report = false;
  layer.starts = 1;
  layerProblem(problem, 1).solve(one, layer);
  --asked;  // the solve asks for it again
  return typicalSize(first);
}

Outcome PointSolve::solved(const End* neighbor) {
  tarnix::Options layer = layerOptions(problem.options);
  if (problem.options.maxEvaluations > 0) layer.maxEvaluations = problem.options.maxEvaluations;
  if (problem.options.maxSeconds > 0)
    layer.maxTime = std::chrono::duration<double>(problem.options.maxSeconds);
  if (neighbor) layer.warm = neighbor->warm, layer.starts = 1;
  try {
    const double scale = neighbor ? neighbor->scale : scaleAtStart(layer);
    const tarnix::Result result =
        solveLayer(problem, scale, layer,
                   [&](const Evaluations::Designs& designs) { return answers(designs); });
    const bool failedThere =
        std::find(penalized.begin(), penalized.end(), result.point.x) != penalized.end();
    const bool worse = best && !result.feasible && !(result.point.violation <= best->violation);
    if (result.feasible && !failedThere) ended = End{result.warm(), scale};
    if (!failedThere && !worse) return outcomeOf(problem, result);
    Outcome outcome = outcomeAt(problem, best, name(result.reason));
    outcome.advice = outcomeOf(problem, result).advice;
    return outcome;
  } catch (const RunFailed& failed) {
    Outcome outcome = outcomeAt(problem, best, "an evaluation failed");
    outcome.error = failed.reason;
    return outcome;
  }
}

}  // namespace tarnix::cli
