#pragma once
// A solve from its options to its judged result.

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "../options.hpp"
#include "../problem.hpp"
#include "../result.hpp"
#include "advice.hpp"
#include "automatic.hpp"
#include "gradient_check.hpp"
#include "stages.hpp"
#include "validation.hpp"

namespace tarnix::detail {

class Solver {
 public:
  Solver(std::shared_ptr<const Description> description, const Host& host, const Options& options)
      : description_(std::move(description)),
        d_(*description_),
        o_(options),
        stages_(d_, o_, host, result_),
        core_(stages_.core()),
        evaluator_(stages_.evaluator()) {}

  Result run() {
    result_.description = description_;
    if (o_.checkGradients && core_.n() > 0) checkGradients();
    if (core_.n() == 0)
      judgeFixed();
    else if (o_.method == Method::automatic)
      runAutomatic();
    else
      stages_.run({1, o_.method, o_.differences, stages_.step(), o_.tolerance, stages_.start()},
                  {});
    return conclude();
  }

 private:
  void runAutomatic() {
    Automatic automatic(
        stages_, [](const Problem& problem, const Analysis& analysis, const Options& options) {
          return problem.solve(analysis, options);
        });
    automatic.run();
    result_.conflict = automatic.conflict();
  }

  /// Every variable is fixed: the one point is the answer.
  void judgeFixed() {
    result_.stages.push_back({});
    Stage& stage = result_.stages.back();
    stage.settings.x = stages_.start();
    stage.settings.method = o_.method == Method::grg ? Method::grg : Method::sqp;
    evaluator_.beginStage(stage.settings);
    try {
      evaluator_.measureAt({});
      stage.end = evaluator_.last();
    } catch (const EndSolve& end) {
      stage.reason = end.reason;
      stage.end = stages_.bestSoFar(stage.settings.x);
    }
    stage.meaning = "every variable is fixed";
    stage.evaluations = evaluator_.evaluations();
  }

  // ---- gradients of the host -------------------------------------------------------------------
  /// At the start, moved inside by the step of the differences.
  void checkGradients() {
    std::vector<Issue> issues;
    try {
      issues =
          GradientCheck(d_, core_, stages_.step(), evaluator_).at(stages_.coreOf(stages_.start()));
    } catch (const EndSolve&) {
      // A limit: the first stage meets it as well.
    }
    if (!issues.empty()) throw InvalidProblem(std::move(issues));
  }

  // ---- judgement -------------------------------------------------------------------------------
  Result conclude() {
    const Stage* chosen = &result_.stages.front();
    for (const Stage& stage : result_.stages)
      if (stages_.preferable(stage, *chosen)) chosen = &stage;
    result_.point = chosen->end;
    if (!evaluator_.feasible(result_.point) && evaluator_.best() &&
        stages_.better(*evaluator_.best(), result_.point))
      result_.point = *evaluator_.best();
    result_.method = chosen->settings.method;
    result_.status = chosen->status;
    result_.meaning = chosen->meaning;
    const Stage& last = result_.stages.back();
    const bool cut = cutShort(last.reason) && !(last.further && isLimit(last.reason));
    result_.reason = cut ? last.reason : chosen->reason;
    result_.feasible = evaluator_.feasible(result_.point);
    // A proper end that another stage has improved on was none.
    result_.success =
        result_.feasible && last.reason != Reason::unbounded && !isLimit(result_.reason) &&
        std::any_of(result_.stages.begin(), result_.stages.end(), [&](const Stage& s) {
          return stages_.proper(s) && !stages_.gain(result_.point, s.end);
        });
    if (o_.report && std::isfinite(result_.point.violation) && core_.n() > 0) makeReport();
    if (evaluator_.best() && evaluator_.feasible(*evaluator_.best()))
      result_.best = evaluator_.best();
    result_.searchLower = result_.searchUpper = core_.all;
    core_.toHost(core_.lower.data(), result_.searchLower.data());
    core_.toHost(core_.upper.data(), result_.searchUpper.data());
    result_.noise = stages_.noise();
    result_.differenceStep = stages_.step();
    result_.tolerance = evaluator_.tolerance();
    result_.evaluations = evaluator_.evaluations();
    result_.seconds = evaluator_.seconds();
    result_.advice = Advice(result_, o_, evaluator_).text();
    return std::move(result_);
  }

  static bool isLimit(Reason reason) {
    return reason == Reason::iterationLimit || reason == Reason::evaluationLimit ||
           reason == Reason::timeLimit;
  }

  static bool cutShort(Reason reason) {
    return reason == Reason::evaluationLimit || reason == Reason::timeLimit ||
           reason == Reason::stopped || reason == Reason::targetReached ||
           reason == Reason::unbounded;
  }

  void makeReport() {
    if (cutShort(result_.reason)) return;
    try {
      result_.report = stages_.reportOn(result_.point);
    } catch (const EndSolve&) {
      // The limits leave no evaluations for it.
    }
  }

  const std::shared_ptr<const Description> description_;
  const Description& d_;
  const Options& o_;
  Result result_;
  Stages stages_;
  const CoreProblem& core_;
  Evaluator& evaluator_;
};

}  // namespace tarnix::detail
