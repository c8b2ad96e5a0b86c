#pragma once
// The stages of a solve: runs of one method, and the judgement of their ends.

#include <tarnix/session.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "../options.hpp"
#include "../problem.hpp"
#include "../result.hpp"
#include "evaluator.hpp"
#include "gradient_pass.hpp"
#include "report.hpp"
#include "scaling.hpp"
#include "search_box.hpp"
#include "session.hpp"
#include "text.hpp"
#include "warm_step.hpp"

namespace tarnix::detail {

class Stages {
 public:
  /// Stages are added to the result.
  Stages(const Description& description, const Options& options, const Host& host, Result& result)
      : d_(description),
        o_(options),
        core_(d_),
        box_(d_, core_, start()),
        evaluator_(d_, core_, host, options, session_.settings()),
        result_(result),
        step_(options.differenceStep > 0 ? options.differenceStep : tuning::plainStep) {
    session_.batch(Evaluator::many, &evaluator_);
    if (host.gradient) session_.gradient(Evaluator::gradient, &evaluator_);
    if (o_.trace) session_.trace(trace, const_cast<Options*>(&o_));
  }
  Stages(const Stages&) = delete;
  Stages& operator=(const Stages&) = delete;

  /// How the automatic method runs a stage.
  struct Plan {
    bool scaled = false;              // the core sees scaled functions
    bool judged = false;              // a converged end is looked at as well
    bool further = false;             // from a further start
    double radius = 1;                // of the box around the start, in half ranges
    Evaluator::Watch watch{};         // may break the stage off
    std::function<void()> prepare{};  // before the first stage: may evaluate, and choose the step
  };

  /// A stage, and again while its end calls for another box. True when the method came to an end,
  /// false when a limit or a stop ended everything, or the point ran away.
  bool run(StageStart settings, const Plan& plan) {
    for (;;) {
      if (!runOnce(settings, plan)) return false;
      Stage& stage = last();
      stage.onInventedSide = box_.isOnSide(stage.end.x);
      if (stage.reason == Reason::iterationLimit || stage.brokenOff) return true;
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

  Stage& last() { return result_.stages.back(); }

  /// A stage that ended before it began.
  void addEnded(const StageStart& settings, const EndSolve& end) {
    result_.stages.push_back({});
    last().settings = settings;
    last().settings.stage = static_cast<int>(result_.stages.size());
    last().further = true;
    endEarly(last(), end);
  }

  /// Where the solve starts, within the bounds.
  std::vector<double> start() const {
    std::vector<double> x = o_.warm ? o_.warm->x : o_.start;
    if (x.empty())
      for (const auto& v : d_.variables) x.push_back(v.start);
    for (std::size_t i = 0; i < x.size(); ++i)
      x[i] = std::min(std::max(x[i], d_.variables[i].lower), d_.variables[i].upper);
    return x;
  }

  /// The same after the first step of a warm start.
  std::vector<double> warmStart() const { return hostOf(warmStep(core_, session_, *o_.warm)); }

  std::vector<double> coreOf(const std::vector<double>& x) const {
    std::vector<double> free;
    for (const std::size_t i : core_.free) free.push_back(x[i]);
    return free;
  }
  std::vector<double> hostOf(const std::vector<double>& free) const {
    std::vector<double> x(d_.variables.size());
    core_.toHost(free.data(), x.data());
    return x;
  }

  /// Whether the last stage, in a box of that radius, ended on a side that is none of the whole
  /// box.
  bool onNarrowSide(const Stage& stage, double radius) const {
    if (radius >= 1) return false;
    const std::vector<double> start = coreOf(stage.settings.x), end = coreOf(stage.end.x);
    for (std::size_t i = 0; i < end.size(); ++i) {
      const auto [low, high] = narrowSides(core_, i, start[i], radius);
      const double close = narrowSide * (high - low);
      if (end[i] <= low + close && low > core_.lower[i] + close) return true;
      if (end[i] >= high - close && high < core_.upper[i] - close) return true;
    }
    return false;
  }

  // ---- judgement -------------------------------------------------------------------------------
  /// An end that is an optimum as far as the method can tell, not one of a standstill.
  static bool converged(const Stage& stage) {
    constexpr std::int32_t sqp = VRK_SQP_CONVERGED, grg = VRK_GRG_CONVERGED;
    return stage.status == (stage.settings.method == Method::sqp ? sqp : grg);
  }

  bool proper(const Stage& stage) const {
    const bool ended = stage.reason == Reason::finished || stage.reason == Reason::targetReached;
    return ended && !stage.brokenOff && stage.stationary && !stage.onInventedSide &&
           evaluator_.feasible(stage.end);
  }

  /// Feasible before infeasible, then the objective; among infeasible ones the violation.
  bool better(const Design& a, const Design& b) const {
    const bool fa = evaluator_.feasible(a), fb = evaluator_.feasible(b);
    if (fa != fb) return fa;
    if (fa) return evaluator_.coreObjective(a) < evaluator_.coreObjective(b);
    return a.violation < b.violation || std::isnan(b.violation);
  }

  /// Whether a is better than b by more than the tolerance.
  bool gain(const Design& a, const Design& b) const {
    if (!better(a, b)) return false;
    if (!evaluator_.feasible(b)) return true;
    const double f = evaluator_.coreObjective(b);
    return f - evaluator_.coreObjective(a) > evaluator_.tolerance() * std::max(1.0, std::abs(f));
  }

  /// Of two stages that are as good as each other within the tolerance, one with a sound end, then
  /// the less violated one.
  bool preferable(const Stage& a, const Stage& b) const {
    if (gain(a.end, b.end) || gain(b.end, a.end)) return gain(a.end, b.end);
    if (proper(a) != proper(b)) return proper(a);
    if (!clean(a) || !clean(b)) return a.end.violation < b.end.violation;
    return better(a.end, b.end);
  }

  /// The tolerance is hardly used.
  bool clean(const Stage& stage) const {
    return stage.end.violation <= tuning::smallViolation * evaluator_.tolerance();
  }

  Design bestSoFar(const std::vector<double>& from) const {
    if (evaluator_.best()) return *evaluator_.best();
    if (evaluator_.measured()) return evaluator_.last();
    constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
    return {from, std::vector<double>(d_.functions.size(), unknown), unknown, 0};
  }

  /// The report on a design; that on the last one is kept. May throw EndSolve.
  const Report& reportOn(const Design& design) {
    if (!report_ || reported_ != design.evaluation) {
      ReportPass pass(d_, core_, evaluator_.tolerance(), session_,
                      gradientPass(core_, evaluator_, design, step_, o_.keepInside));
      report_ = pass.run();
      multipliers_ = pass.multipliers();
      slopes_ = pass.slopes();
      descent_ = pass.descent();
      reported_ = design.evaluation;
    }
    return *report_;
  }

  /// Value of the Lagrangian of the last report at a design, in core units.
  double lagrangian(const Design& design) const {
    const std::vector<double> f = evaluator_.rowsOf(design);
    double sum = 0;
    for (std::size_t r = 0; r < f.size(); ++r) sum += multipliers_[r] * f[r];
    return sum;
  }

  /// Its derivatives there, half a range being the unit.
  const std::vector<double>& slopes() const { return slopes_; }

  /// The same from both sides, without what the curvature adds to one of them.
  std::vector<double> centralSlopes(const Design& design) {
    reportOn(design);
    const GradientPass back = gradientPass(core_, evaluator_, design, -step_, o_.keepInside);
    std::vector<double> central = slopes_;
    for (std::size_t i = 0; i < central.size(); ++i) {
      double slope = 0;
      for (std::size_t r = 0; r < multipliers_.size(); ++r)
        if (multipliers_[r] != 0) slope += multipliers_[r] * back.G[r * central.size() + i];
      central[i] = (central[i] + slope) / 2;
    }
    return central;
  }

  const Description& description() const { return d_; }
  const Options& options() const { return o_; }
  const CoreProblem& core() const { return core_; }
  const SearchBox& box() const { return box_; }
  Evaluator& evaluator() { return evaluator_; }
  const Evaluator& evaluator() const { return evaluator_; }
  /// Of the differences, where a stage does not say otherwise.
  double step() const { return step_; }
  /// Relative noise of the values; 0: clean.
  double noise() const { return noise_; }
  /// Chooses the step of the differences and the tolerance that suit the noise.
  void setNoise(double noise) {
    noise_ = noise;
    if (!(o_.differenceStep > 0))
      step_ = std::min(std::max(tuning::noiseStep * std::sqrt(noise), tuning::cleanStep),
                       tuning::widestStep);
    evaluator_.setTolerance(
        std::max(o_.tolerance, tuning::noiseTolerance * noise * largestLimit()));
  }

 private:
  static void trace(void* options, const char* text, std::size_t length) {
    static_cast<const Options*>(options)->trace({text, length});
  }

  /// Noise is relative to values, and an active one is as large as its limit.
  double largestLimit() const {
    double most = 1;
    for (std::size_t r = 1; r < core_.rows.size(); ++r)
      most = std::max(most, std::abs(core_.rows[r].limit * core_.rows[r].factor));
    return most;
  }

  bool runOnce(const StageStart& settings, const Plan& plan) {
    result_.stages.push_back({});
    Stage& stage = last();
    stage.settings = settings;
    stage.further = plan.further;
    stage.settings.stage = static_cast<int>(result_.stages.size());
    session_.settings().nIter = 0;
    evaluator_.beginStage(stage.settings);
    const std::int64_t before = evaluator_.evaluations();
    std::vector<double> x = coreOf(stage.settings.x);
    for (std::size_t i = 0; i < x.size(); ++i)
      x[i] = std::min(std::max(x[i], core_.lower[i]), core_.upper[i]);
    bool goOn = true;
    int begun = 0;  // iterations without an end
    try {
      if (plan.prepare) {
        plan.prepare();
        stage.settings.differenceStep = step_;
      }
      if (o_.onStage) o_.onStage(stage.settings);
      stage.status = callCore(stage.settings, plan, x);
      stage.reason = reasonOf(stage.settings.method, stage.status);
      stage.meaning = meaning(stage.settings.method, stage.status);
      evaluator_.endStage();
      stage.end = endAt(x, stage.settings.x);
      goOn = stage.reason != Reason::stopped;
      judge(stage, plan);
    } catch (const BreakOff& off) {
      begun = 1;
      stage.brokenOff = true;
      stage.meaning = off.why;
      stage.end = evaluator_.current();
    } catch (const EndSolve& end) {
      endEarly(stage, end);
      goOn = false;
    }
    stage.iterations = session_.settings().nIter - begun;
    evaluator_.addIterations(stage.iterations);
    result_.iterations += stage.iterations;
    stage.evaluations = evaluator_.evaluations() - before;
    return goOn;
  }

  void endEarly(Stage& stage, const EndSolve& end) const {
    stage.reason = end.reason;
    stage.status = 0;
    stage.meaning = "ended early";
    stage.end = bestSoFar(stage.settings.x);
  }

  std::int32_t callCore(const StageStart& stage, const Plan& plan, std::vector<double>& x) {
    const NarrowBox narrow(core_, x, plan.radius);
    inner_ = stage;
    inner_.differenceStep /= plan.radius;
    double tolerance = std::max(stage.tolerance, tuning::noiseTolerance * objectiveNoise(x));
    std::vector<double> factors;
    if (plan.scaled) {
      const Scaling scaling = scalingAt(x, tolerance);
      tolerance *= scaling.ofTolerance;
      factors = scaling.factors;
    }
    evaluator_.beginStage(inner_, std::move(factors), plan.watch);
    const Session::Use use(session_);
    VRK_Settings& settings = session_.settings();
    VRK_setDefaults();
    settings.dblStorageCapacity = VRK_DBL_STORAGE_LIMIT;
    settings.intStorageCapacity = VRK_INT_STORAGE_LIMIT;
    settings.printLevel = o_.printLevel;
    settings.diffMethod = stage.differences == Differences::forward ? 1 : 2;
    settings.diffPert = inner_.differenceStep;
    settings.convTol = settings.convTolGrg = tolerance;
    std::vector<double> f(core_.rows.size());
    const auto call = stage.method == Method::grg ? VRK_grg : VRK_sqp;
    return call(o_.maxIterations, core_.n(), x.data(), core_.lower.data(), core_.upper.data(),
                core_.equalities, core_.inequalities, Evaluator::one, &evaluator_, f.data());
  }

  /// From the pass with which the stage begins.
  Scaling scalingAt(const std::vector<double>& x, double tolerance) {
    evaluator_.measureAt(x);
    const GradientPass pass =
        gradientPass(core_, evaluator_, evaluator_.last(), inner_.differenceStep, o_.keepInside);
    return Scaling(core_, tolerance, evaluator_.tolerance(), pass.f, pass.G);
  }

  /// In the core's units, where the values are noisy.
  double objectiveNoise(const std::vector<double>& x) {
    if (noise_ == 0) return 0;
    evaluator_.measureAt(x);
    return noise_ * std::max(1.0, std::abs(evaluator_.coreObjective(evaluator_.last())));
  }

  /// The design at the point that the core has left, or the best one where that is no point.
  Design endAt(std::vector<double>& x, const std::vector<double>& from) {
    if (!std::all_of(x.begin(), x.end(), [](double v) { return std::isfinite(v); }))
      return bestSoFar(from);
    core_.clip(x.data());
    if (!evaluator_.isLast(x)) evaluator_.measureAt(x);
    return evaluator_.last();
  }

  /// A method that stands still need not be at an optimum: its end is one when the multipliers
  /// leave nothing noticeable of the gradient. May throw EndSolve.
  void judge(Stage& stage, const Plan& plan) {
    if (stage.reason != Reason::finished || !evaluator_.feasible(stage.end)) return;
    if (converged(stage) && !plan.judged) return;
    stage.stationary = false;  // should the limits leave no evaluations to find out
    const Report& report = reportOn(stage.end);
    const double size = std::max(1.0, std::abs(evaluator_.coreObjective(stage.end)));
    const double smallPart = plan.judged ? tuning::smallPart : tuning::plainSmallPart;
    stage.stationary =
        report.optimality <= smallPart || report.slope <= std::sqrt(evaluator_.tolerance()) * size;
    if (plan.judged && stage.stationary && report.slope > tuning::tailFall * size)
      stage.stationary = !onTail(stage.end, size);
  }

  /// Whether the objective falls noticeably with a step of some length along the slope, however
  /// small it is. May throw EndSolve.
  bool onTail(const Design& end, double size) {
    std::vector<double> x = coreOf(end.x);
    const double length = report_->optimality;
    for (std::size_t i = 0; i < x.size(); ++i) {
      x[i] += tuning::tailStep * core_.half(i) * descent_[i] / length;
      x[i] = std::min(std::max(x[i], core_.lower[i]), core_.upper[i]);
    }
    const double here = lagrangian(end);
    evaluator_.measureAt(x);
    return lagrangian(evaluator_.last()) < here - tuning::tailFall * size;
  }

  static constexpr double narrowSide = 1e-3;  // of a narrow box: this close is on its side

  /// Of a box around x with that share of the whole box, moved into it.
  static std::pair<double, double> narrowSides(const CoreProblem& core, std::size_t i, double x,
                                               double radius) {
    const double half = radius * core.half(i);
    const double low = std::min(std::max(x - half, core.lower[i]), core.upper[i] - 2 * half);
    return {low, low + 2 * half};
  }

  /// A smaller box around a point, as long as this lives: the core's unit of length.
  class NarrowBox {
   public:
    NarrowBox(CoreProblem& core, const std::vector<double>& x, double radius)
        : core_(core), lower_(core.lower), upper_(core.upper) {
      for (std::size_t i = 0; radius < 1 && i < x.size(); ++i) {
        const auto [low, high] = narrowSides(core, i, x[i], radius);
        core.setBox(i, low, high);
      }
    }
    ~NarrowBox() {
      for (std::size_t i = 0; i < lower_.size(); ++i) core_.setBox(i, lower_[i], upper_[i]);
    }
    NarrowBox(const NarrowBox&) = delete;
    NarrowBox& operator=(const NarrowBox&) = delete;

   private:
    CoreProblem& core_;
    const std::vector<double> lower_, upper_;
  };

  // Given.
  const Description& d_;
  const Options& o_;
  CoreProblem core_;
  SearchBox box_;
  const Session session_;
  Evaluator evaluator_;
  Result& result_;
  // Decided.
  StageStart inner_;  // as the core runs the stage
  double step_;
  double noise_ = 0;
  std::optional<Report> report_;
  std::vector<double> multipliers_, slopes_;  // of the rows and of the Lagrangian there
  std::vector<double> descent_;               // the direction that is left there
  std::int64_t reported_ = 0;                 // the evaluation that it is about
};

}  // namespace tarnix::detail
