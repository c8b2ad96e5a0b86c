#pragma once
// The bridge from the core to the callable: every evaluation passes here. It turns core variables
// and functions into the host's, keeps the limits, and remembers what it has seen.

#include <tarnix/routines.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "../options.hpp"
#include "../problem.hpp"
#include "../result.hpp"
#include "translation.hpp"

namespace tarnix::detail {

/// Leaves the core from inside its callback; caught where the core was called.
struct EndSolve {
  Reason reason;
};

/// A core point with its core values, for keepInside.
struct Sample {
  std::vector<double> x, f;
};

class Evaluator {
 public:
  Evaluator(const Description& description, const CoreProblem& core, Analysis analysis,
            const Options& options, const VRK_Settings& counters)
      : d_(description),
        c_(core),
        analysis_(analysis),
        o_(options),
        counters_(counters),
        f_(core.rows.size()),
        x_(core.free.size()),
        started_(std::chrono::steady_clock::now()) {
    point_.x.resize(d_.variables.size());
    point_.values.resize(d_.functions.size());
    for (std::size_t i = 0; i < d_.variables.size(); ++i) point_.x[i] = d_.variables[i].lower;
    if (o_.maxEvaluations) limit_ = *o_.maxEvaluations;
    if (o_.maxTime)
      deadline_ = started_ + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                 std::min<std::chrono::duration<double>>(
                                     *o_.maxTime, std::chrono::hours(24 * 365 * 100)));
  }
  Evaluator(const Evaluator&) = delete;
  Evaluator& operator=(const Evaluator&) = delete;

  /// The callback of the core.
  static void callback(void* self, double* x, double* f, double* eq, double* ineq) {
    static_cast<Evaluator*>(self)->answer(x, f, eq, ineq);
  }

  void beginStage(const StageStart& stage) {
    stage_ = &stage;
    lastIteration_ = 0;
    base_.x.clear();
    inner_.x.clear();
  }
  /// The last iteration is told at the end of its stage. May throw EndSolve.
  void endStage() {
    const int iterations = lastIteration_;
    lastIteration_ = 0;
    if (iterations > 0) tellIteration(iterations);
  }
  void addIterations(int iterations) { earlierIterations_ += iterations; }

  /// One evaluation of the host at a core point in the box. May throw EndSolve.
  const Design& measureAt(const std::vector<double>& x) {
    x_ = x;
    measure(true);
    return point_;
  }
  /// True when x is the point of the last evaluation, up to rounding.
  bool isLast(const std::vector<double>& x) const {
    if (count_ == 0) return false;
    std::vector<double> measured;
    for (const std::size_t i : c_.free) measured.push_back(point_.x[i]);
    return same(x.data(), measured.data());
  }

  void clip(double* x) const {
    for (std::size_t i = 0; i < c_.free.size(); ++i)
      x[i] = std::min(std::max(snapped(x[i], i), c_.lower[i]), c_.upper[i]);
  }

  const Design& last() const { return point_; }
  /// Core values of the last call of measureAt().
  const std::vector<double>& coreValues() const { return f_; }
  std::int64_t evaluations() const { return count_; }
  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
  }

  /// Best point of all evaluations in the box: feasible ones first, then the least violation.
  const std::optional<Design>& best() const { return best_; }
  bool feasible(const Design& design) const { return design.violation <= o_.tolerance; }

  struct NotFinite {
    std::string name;
    std::int64_t evaluation = 0;
    std::vector<double> x;
  };
  const std::optional<NotFinite>& firstNotFinite() const { return firstNotFinite_; }
  std::int64_t notFiniteCount() const { return notFinite_; }

  /// The objective as the core minimises it: smaller is better.
  double coreObjective(const Design& design) const {
    return c_.rows[0].of(design.values[0]);
  }

 private:
  void answer(const double* x, double* f, double* eq, double* ineq) {
    if (const int iteration = counters_.nIter; iteration != lastIteration_) {
      if (lastIteration_ > 0) tellIteration(lastIteration_);
      lastIteration_ = iteration;
    }
    bool inside = true;
    const std::size_t n = x_.size();
    double* place = x_.data();
    const double *lowerEdge = c_.lowerEdge.data(), *upperEdge = c_.upperEdge.data();
    for (std::size_t i = 0; i < n; ++i) {
      double v = x[i];
      if (!(v > lowerEdge[i] && v < upperEdge[i])) {
        v = snapped(v, i);
        inside &= v >= c_.lower[i] && v <= c_.upper[i];
      }
      place[i] = v;
    }
    if (!o_.keepInside) measure(inside);
    else if (inside) measureInside();
    else extrapolate();
    *f = f_[0];
    std::copy_n(f_.data() + 1, c_.equalities, eq);
    std::copy_n(f_.data() + 1 + c_.equalities, c_.inequalities, ineq);
  }

  /// What is on a bound up to rounding is on it.
  double snapped(double v, std::size_t i) const {
    if (std::abs(v - c_.lower[i]) <= c_.roundOff[i]) return c_.lower[i];
    if (std::abs(v - c_.upper[i]) <= c_.roundOff[i]) return c_.upper[i];
    return v;
  }

  // ---- one evaluation ------------------------------------------------------------------------
  /// Calls the host at x_, and fills point_ and f_.
  void measure(bool inside) {
    keepLimits();
    if (x_.size() == point_.x.size()) std::copy(x_.begin(), x_.end(), point_.x.begin());
    else
      for (std::size_t i = 0; i < x_.size(); ++i) point_.x[c_.free[i]] = x_[i];
    std::fill(point_.values.begin(), point_.values.end(),
              std::numeric_limits<double>::quiet_NaN());
    point_.evaluation = ++count_;
    Values values(point_.values.data(), d_);
    analysis_(Point(point_.x.data(), d_), values);
    toCore();
    if (!std::isfinite(point_.violation)) noteNotFinite();
    else if (inside) noteBest();
  }

  void keepLimits() {
    if (count_ >= limit_) throw EndSolve{Reason::evaluationLimit};
    if (o_.stop && o_.stop->requested()) throw EndSolve{Reason::stopped};
    if (o_.maxTime && std::chrono::steady_clock::now() >= deadline_)
      throw EndSolve{Reason::timeLimit};
  }

  /// Core values, and the violation: not a number when a value is not finite.
  void toCore() {
    const CoreProblem::Row* rows = c_.rows.data();
    const double* values = point_.values.data();
    double* f = f_.data();
    const std::size_t count = f_.size();
    for (std::size_t r = 0; r < count; ++r) f[r] = rows[r].of(values[rows[r].function]);
    bool finite = true;
    for (std::size_t r = 0; r < count; ++r)
      finite &= std::abs(f[r]) <= std::numeric_limits<double>::max();
    const std::size_t firstInequality = 1 + static_cast<std::size_t>(c_.equalities);
    double violation = 0;
    for (std::size_t r = 1; r < firstInequality; ++r)
      if (std::abs(f[r]) > violation) violation = std::abs(f[r]);
    for (std::size_t r = firstInequality; r < count; ++r)
      if (f[r] > violation) violation = f[r];
    point_.violation = finite ? violation : std::numeric_limits<double>::quiet_NaN();
  }

  void noteNotFinite() {
    if (notFinite_++ > 0) return;
    std::size_t r = 0;
    while (r + 1 < f_.size() && std::isfinite(f_[r])) ++r;
    firstNotFinite_ = NotFinite{d_.functions[c_.rows[r].function].name, count_, point_.x};
  }

  void noteBest() {
    const bool feasibleNow = feasible(point_);
    if (best_) {
      const bool feasibleThen = feasible(*best_);
      if (feasibleThen && (!feasibleNow || !(f_[0] < bestObjective_))) return;
      if (!feasibleThen && !feasibleNow && !(point_.violation < best_->violation)) return;
      *best_ = point_;
    } else {
      best_ = point_;
    }
    bestObjective_ = f_[0];
    if (feasibleNow && o_.target && f_[0] <= c_.rows[0].of(*o_.target))
      throw EndSolve{Reason::targetReached};
  }

  void tellIteration(int iteration) {
    if (!o_.onIteration) return;
    Progress progress;
    progress.stage = stage_->stage;
    progress.method = stage_->method;
    progress.iteration = earlierIterations_ + iteration;
    progress.evaluations = count_;
    constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
    progress.bestObjective = best_ ? best_->values[0] : unknown;
    progress.worstViolation = best_ ? best_->violation : unknown;
    progress.best = best_ ? &best_->x : nullptr;
    o_.onIteration(progress);
    if (progress.stopRequested) throw EndSolve{Reason::stopped};
  }

  // ---- evaluations inside the box only -------------------------------------------------------
  bool same(const double* a, const double* b) const { return differing(a, b) == 0; }
  int differing(const double* a, const double* b) const {
    int count = 0;
    for (std::size_t i = 0; i < x_.size(); ++i)
      if (!(std::abs(a[i] - b[i]) <= c_.roundOff[i])) ++count;
    return count;
  }

  /// Measures x_, unless it is the base or the inner point of the differences.
  void measureInside() {
    for (const Sample* known : {&inner_, &base_})
      if (!known->x.empty() && same(known->x.data(), x_.data())) {
        f_ = known->f;
        return;
      }
    measure(true);
    // A step in one variable belongs to the differences around the base.
    const bool step = !base_.x.empty() && differing(base_.x.data(), x_.data()) == 1;
    Sample& place = step ? inner_ : base_;
    place.x = x_;
    place.f = f_;
  }

  /// A difference that leaves the box by its step in one variable is answered by the straight line
  /// (forward) or the parabola (central) through points on the inner side. Their quotient is then
  /// the one-sided formula of the same order. Any other point is answered at the nearest one in
  /// the box.
  void extrapolate() {
    const std::vector<double> asked = x_;
    std::vector<double> base = asked;
    clip(base.data());
    if (differing(asked.data(), base.data()) == 1) {
      std::size_t i = 0;
      while (std::abs(asked[i] - base[i]) <= c_.roundOff[i]) ++i;
      const double size = 0.5 * (c_.upper[i] - c_.lower[i]) * stage_->differenceStep;
      const double step = asked[i] > c_.upper[i] ? size : -size;
      if (std::abs(asked[i] - base[i]) <= size * (1 + 1e-6)) {
        base[i] = asked[i] - step;
        clip(base.data());
        return extrapolateFrom(base, i, step);
      }
    }
    x_ = base;
    measureInside();
  }

  void extrapolateFrom(const std::vector<double>& base, std::size_t i, double step) {
    const auto valuesAt = [&](double xi) {
      x_ = base;
      x_[i] = xi;
      measureInside();
      return f_;
    };
    const std::vector<double> f0 = valuesAt(base[i]);
    const std::vector<double> f1 = valuesAt(base[i] - step);
    if (stage_->differences == Differences::forward) {
      for (std::size_t r = 0; r < f_.size(); ++r) f_[r] = 2 * f0[r] - f1[r];
      return;
    }
    const Sample first = inner_;
    const std::vector<double> f2 = valuesAt(base[i] - 2 * step);
    inner_ = first;  // the core asks for it next
    for (std::size_t r = 0; r < f_.size(); ++r) f_[r] = 3 * f0[r] - 3 * f1[r] + f2[r];
  }

  // Given.
  const Description& d_;
  const CoreProblem& c_;
  const Analysis analysis_;
  const Options& o_;
  const VRK_Settings& counters_;  // of the solve's session
  // The evaluation in work.
  std::vector<double> f_;  // core values
  std::vector<double> x_;  // core point
  Design point_;
  // Limits.
  std::int64_t limit_ = std::numeric_limits<std::int64_t>::max();
  std::chrono::steady_clock::time_point started_, deadline_;
  // Seen.
  std::int64_t count_ = 0, notFinite_ = 0;
  std::optional<Design> best_;
  double bestObjective_ = 0;
  std::optional<NotFinite> firstNotFinite_;
  // Stage.
  const StageStart* stage_ = nullptr;
  int lastIteration_ = 0, earlierIterations_ = 0;
  Sample base_, inner_;
};

}  // namespace tarnix::detail
