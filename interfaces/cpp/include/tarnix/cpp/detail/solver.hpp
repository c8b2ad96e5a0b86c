#pragma once
// The stages of a solve, and the judgement of its end.

#include <tarnix/session.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "../options.hpp"
#include "../problem.hpp"
#include "../result.hpp"
#include "advice.hpp"
#include "evaluator.hpp"
#include "gradient_check.hpp"
#include "report.hpp"
#include "search_box.hpp"
#include "session.hpp"
#include "text.hpp"
#include "validation.hpp"

namespace tarnix::detail {

class Solver {
 public:
  Solver(std::shared_ptr<const Description> description, const Host& host, const Options& options)
      : description_(std::move(description)),
        d_(*description_),
        o_(options),
        core_(d_),
        box_(d_, core_, start()),
        evaluator_(d_, core_, host, options, session_.settings()) {
    session_.batch(Evaluator::many, &evaluator_);
    if (host.gradient) session_.gradient(Evaluator::gradient, &evaluator_);
    if (o_.trace) session_.trace(trace, const_cast<Options*>(&o_));
  }

  Result run() {
    result_.description = description_;
    if (o_.checkGradients && core_.n() > 0) checkGradients();
    if (core_.n() == 0)
      judgeFixed();
    else if (o_.method == Method::automatic)
      runAutomatic();
    else
      runStage({1, o_.method, o_.differences, o_.differenceStep, o_.tolerance, start()});
    return conclude();
  }

 private:
  static void trace(void* options, const char* text, std::size_t length) {
    static_cast<const Options*>(options)->trace({text, length});
  }

  std::vector<double> start() const {
    std::vector<double> x = o_.start;
    if (x.empty())
      for (const auto& v : d_.variables) x.push_back(v.start);
    for (std::size_t i = 0; i < x.size(); ++i)
      x[i] = std::min(std::max(x[i], d_.variables[i].lower), d_.variables[i].upper);
    return x;
  }

  std::vector<double> coreOf(const std::vector<double>& x) const {
    std::vector<double> free;
    for (const std::size_t i : core_.free) free.push_back(x[i]);
    return free;
  }

  /// For the session in use.
  static void prepareCore(const StageStart& s, int printLevel, VRK_Settings& settings) {
    VRK_setDefaults();
    settings.dblStorageCapacity = VRK_DBL_STORAGE_LIMIT;
    settings.intStorageCapacity = VRK_INT_STORAGE_LIMIT;
    settings.printLevel = printLevel;
    settings.diffMethod = s.differences == Differences::forward ? 1 : 2;
    settings.diffPert = s.differenceStep;
    settings.convTol = settings.convTolGrg = s.tolerance;
  }

  std::int32_t callCore(const StageStart& stage, std::vector<double>& x) {
    const Session::Use use(session_);
    prepareCore(stage, o_.printLevel, session_.settings());
    std::vector<double> f(core_.rows.size());
    const auto call = stage.method == Method::grg ? VRK_grg : VRK_sqp;
    return call(o_.maxIterations, core_.n(), x.data(), core_.lower.data(), core_.upper.data(),
                core_.equalities, core_.inequalities, Evaluator::one, &evaluator_, f.data());
  }

  /// A stage, and again while its end calls for another box. True when the method came to an end,
  /// false when a limit or a stop ended everything, or the point ran away.
  bool runStage(StageStart settings) {
    for (;;) {
      if (!runOnce(settings)) return false;
      Stage& stage = result_.stages.back();
      stage.onInventedSide = box_.isOnSide(stage.end.x);
      if (stage.reason == Reason::iterationLimit) return true;
      const std::string runaways = box_.runaways(stage.end.x);
      const auto answer = box_.follow(stage.end.x, stage.reason == Reason::breakdown);
      if (answer == SearchBox::Answer::inside) return true;
      if (answer == SearchBox::Answer::ranAway) {
        stage.reason = Reason::unbounded;
        stage.meaning = "unbounded as far as " + runaways;
        return false;
      }
      settings.x = stage.end.x;
    }
  }

  bool runOnce(const StageStart& settings) {
    result_.stages.push_back({});
    Stage& stage = result_.stages.back();
    stage.settings = settings;
    stage.settings.stage = static_cast<int>(result_.stages.size());
    if (o_.onStage) o_.onStage(stage.settings);
    session_.settings().nIter = 0;
    evaluator_.beginStage(stage.settings);
    const std::int64_t before = evaluator_.evaluations();
    std::vector<double> x = coreOf(stage.settings.x);
    for (std::size_t i = 0; i < x.size(); ++i)
      x[i] = std::min(std::max(x[i], core_.lower[i]), core_.upper[i]);
    bool goOn = true;
    try {
      stage.status = callCore(stage.settings, x);
      stage.reason = reasonOf(stage.settings.method, stage.status);
      stage.meaning = meaning(stage.settings.method, stage.status);
      evaluator_.endStage();
      stage.end = endAt(x, stage.settings.x);
      goOn = stage.reason != Reason::stopped;
      judgeStandstill(stage);
    } catch (const EndSolve& end) {
      stage.reason = end.reason;
      stage.status = 0;
      stage.meaning = "ended early";
      stage.end = bestSoFar(stage.settings.x);
      goOn = false;
    }
    stage.iterations = session_.settings().nIter;
    evaluator_.addIterations(stage.iterations);
    result_.iterations += stage.iterations;
    stage.evaluations = evaluator_.evaluations() - before;
    return goOn;
  }

  /// The design at the point that the core has left, or the best one where that is no point.
  Design endAt(std::vector<double>& x, const std::vector<double>& from) {
    if (!std::all_of(x.begin(), x.end(), [](double v) { return std::isfinite(v); }))
      return bestSoFar(from);
    core_.clip(x.data());
    if (!evaluator_.isLast(x)) evaluator_.measureAt(x);
    return evaluator_.last();
  }

  Design bestSoFar(const std::vector<double>& from) const {
    if (evaluator_.best()) return *evaluator_.best();
    if (evaluator_.measured()) return evaluator_.last();
    constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
    return {from, std::vector<double>(d_.functions.size(), unknown), unknown, 0};
  }

  bool proper(const Stage& stage) const {
    const bool ended = stage.reason == Reason::finished || stage.reason == Reason::targetReached;
    return ended && stage.stationary && !stage.onInventedSide && evaluator_.feasible(stage.end);
  }

  /// A method that stands still need not be at an optimum: its end is one when the multipliers
  /// leave nothing noticeable of the gradient. May throw EndSolve.
  void judgeStandstill(Stage& stage) {
    if (stage.reason != Reason::finished || converged(stage) || !evaluator_.feasible(stage.end))
      return;
    stage.stationary = false;  // should the limits leave no evaluations to find out
    report_ = ReportPass(d_, core_, o_, session_, evaluator_).at(stage.end);
    reported_ = stage.end.evaluation;
    constexpr double smallPart = 0.01;
    const double size = std::max(1.0, std::abs(evaluator_.coreObjective(stage.end)));
    stage.stationary =
        report_->optimality <= smallPart || report_->slope <= std::sqrt(o_.tolerance) * size;
  }

  /// Feasible before infeasible, then the objective; among infeasible ones the violation.
  bool better(const Design& a, const Design& b) const {
    const bool fa = evaluator_.feasible(a), fb = evaluator_.feasible(b);
    if (fa != fb) return fa;
    if (fa) return evaluator_.coreObjective(a) < evaluator_.coreObjective(b);
    return a.violation < b.violation || std::isnan(b.violation);
  }

  /// SQP first, then by turns GRG and SQP from the best point with central differences, ever
  /// smaller steps and tolerances. Ends with a stage that converged, with two in a row that gained
  /// nothing, and with one that gained nothing on a point that was sound already.
  void runAutomatic() {
    // The steps of an invented box are as arbitrary as the box: central differences bear more.
    const Differences first = box_.invented() ? Differences::central : o_.differences;
    StageStart next{1, Method::sqp, first, o_.differenceStep, o_.tolerance, start()};
    constexpr int mostStages = 6;
    constexpr double smallestStep = 1e-6;
    std::optional<Design> reached;
    int idle = 0;
    while (runStage(next)) {
      const Stage& stage = result_.stages.back();
      if (proper(stage) && converged(stage)) return;
      const bool gained = !reached || gain(stage.end, *reached);
      idle = gained ? 0 : idle + 1;
      if (next.stage == mostStages || idle == 2) return;
      if (idle == 1 && proper(stage)) return;
      if (!reached || better(stage.end, *reached)) reached = stage.end;
      ++next.stage;
      next.method = next.method == Method::sqp ? Method::grg : Method::sqp;
      next.differences = Differences::central;
      if (next.differenceStep > smallestStep)
        next.differenceStep = std::max(next.differenceStep / 10, smallestStep);
      if (next.stage > 2) next.tolerance /= 10;
      next.x = bestSoFar(next.x).x;
    }
  }

  /// An end that is an optimum as far as the method can tell, not one of a standstill.
  static bool converged(const Stage& stage) {
    constexpr std::int32_t sqp = VRK_SQP_CONVERGED, grg = VRK_GRG_CONVERGED;
    return stage.status == (stage.settings.method == Method::sqp ? sqp : grg);
  }

  /// Whether a is better than b by more than the tolerance.
  bool gain(const Design& a, const Design& b) const {
    if (!better(a, b)) return false;
    if (!evaluator_.feasible(b)) return true;
    const double f = evaluator_.coreObjective(b);
    return f - evaluator_.coreObjective(a) > o_.tolerance * std::max(1.0, std::abs(f));
  }

  /// Every variable is fixed: the one point is the answer.
  void judgeFixed() {
    result_.stages.push_back({});
    Stage& stage = result_.stages.back();
    stage.settings.x = start();
    stage.settings.method = o_.method == Method::grg ? Method::grg : Method::sqp;
    evaluator_.beginStage(stage.settings);
    try {
      evaluator_.measureAt({});
      stage.end = evaluator_.last();
    } catch (const EndSolve& end) {
      stage.reason = end.reason;
      stage.end = bestSoFar(stage.settings.x);
    }
    stage.meaning = "every variable is fixed";
    stage.evaluations = evaluator_.evaluations();
  }

  // ---- gradients of the host -------------------------------------------------------------------
  /// At the start, moved inside by the step of the differences.
  void checkGradients() {
    std::vector<Issue> issues;
    try {
      issues = GradientCheck(d_, core_, o_, evaluator_).at(coreOf(start()));
    } catch (const EndSolve&) {
      // A limit: the first stage meets it as well.
    }
    if (!issues.empty()) throw InvalidProblem(std::move(issues));
  }

  // ---- judgement -------------------------------------------------------------------------------
  Result conclude() {
    const Stage* chosen = &result_.stages.front();
    for (const Stage& stage : result_.stages)
      if (better(stage.end, chosen->end)) chosen = &stage;
    result_.point = chosen->end;
    if (!evaluator_.feasible(result_.point) && evaluator_.best() &&
        better(*evaluator_.best(), result_.point))
      result_.point = *evaluator_.best();
    result_.method = chosen->settings.method;
    result_.status = chosen->status;
    result_.meaning = chosen->meaning;
    const Reason last = result_.stages.back().reason;
    result_.reason = cutShort(last) ? last : chosen->reason;
    result_.feasible = evaluator_.feasible(result_.point);
    // The point is at least as good as any of the stages' ends.
    result_.success = result_.feasible && last != Reason::unbounded &&
                      std::any_of(result_.stages.begin(), result_.stages.end(),
                                  [&](const Stage& s) { return proper(s); });
    if (o_.report && std::isfinite(result_.point.violation) && core_.n() > 0) makeReport();
    if (evaluator_.best() && evaluator_.feasible(*evaluator_.best()))
      result_.best = evaluator_.best();
    result_.searchLower = result_.searchUpper = core_.all;
    core_.toHost(core_.lower.data(), result_.searchLower.data());
    core_.toHost(core_.upper.data(), result_.searchUpper.data());
    result_.evaluations = evaluator_.evaluations();
    result_.seconds = evaluator_.seconds();
    result_.advice = Advice(result_, o_, evaluator_).text();
    return std::move(result_);
  }

  static bool cutShort(Reason reason) {
    return reason == Reason::evaluationLimit || reason == Reason::timeLimit ||
           reason == Reason::stopped || reason == Reason::targetReached ||
           reason == Reason::unbounded;
  }

  void makeReport() {
    if (cutShort(result_.reason)) return;
    if (report_ && reported_ == result_.point.evaluation) {
      result_.report = std::move(report_);
      return;
    }
    try {
      result_.report = ReportPass(d_, core_, o_, session_, evaluator_).at(result_.point);
    } catch (const EndSolve&) {
      // The limits leave no evaluations for it.
    }
  }

  const std::shared_ptr<const Description> description_;
  const Description& d_;
  const Options& o_;
  CoreProblem core_;
  SearchBox box_;
  const Session session_;
  Evaluator evaluator_;
  std::optional<Report> report_;  // of a standstill
  std::int64_t reported_ = 0;     // and the evaluation that it is about
  Result result_;
};

}  // namespace tarnix::detail
