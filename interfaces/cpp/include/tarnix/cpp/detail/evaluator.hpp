#pragma once
// The bridge from the core to the callable: every evaluation passes here. It keeps the limits, and
// remembers what it has seen.

#include <tarnix/session.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "../options.hpp"
#include "../problem.hpp"
#include "../result.hpp"
#include "inside_box.hpp"
#include "memory.hpp"
#include "pool.hpp"
#include "translation.hpp"

namespace tarnix::detail {

/// Leaves the core from inside its callback; caught where the core was called.
struct EndSolve {
  Reason reason;
};

/// Leaves the core likewise, but ends the stage alone.
struct BreakOff {
  const char* why;
};

/// What the host has given to a solve.
struct Host {
  Analysis analysis;
  Gradient gradient;
  std::optional<Stop> halt{};  ///< of one of many starts, in addition to Options::stop
};

class Evaluator {
 public:
  Evaluator(const Description& description, const CoreProblem& core, const Host& host,
            const Options& options, const VRK_Settings& counters)
      : d_(description),
        c_(core),
        host_(host),
        o_(options),
        counters_(counters),
        inside_(core),
        started_(std::chrono::steady_clock::now()) {
    tolerance_ = o_.tolerance;
    if (o_.maxEvaluations) limit_ = *o_.maxEvaluations;
    if (o_.maxTime)
      deadline_ = started_ + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                 std::min<std::chrono::duration<double>>(
                                     *o_.maxTime, std::chrono::hours(24 * 365 * 100)));
    if (host_.analysis.one() && o_.threads > 1) pool_ = std::make_unique<Pool>(o_.threads);
  }
  Evaluator(const Evaluator&) = delete;
  Evaluator& operator=(const Evaluator&) = delete;

  /// The callbacks of the core.
  static void one(void* self, double* x, double* f, double* eq, double* ineq) {
    outside(self).answerOne(x, f, eq, ineq);
  }
  static void many(void* self, std::int32_t count, const double* X, double* F) {
    outside(self).answer(static_cast<std::size_t>(count), X, F);
  }
  static std::int32_t gradient(void* self, const double* x, std::int32_t, std::int32_t, double* G) {
    return outside(self).answerGradient(x, G) ? 1 : 0;
  }

  /// Points are evaluated once while they are remembered, from now on.
  void remember() { memory_.emplace(c_); }
  /// Is asked at the point of every iteration but the first, and ends the stage by a reason.
  using Watch = std::function<const char*(const Design&)>;

  /// Factors of the rows as the core sees them; empty: 1.
  void beginStage(const StageStart& stage, std::vector<double> factors = {}, Watch watch = {}) {
    stage_ = &stage;
    factors_ = std::move(factors);
    watch_ = std::move(watch);
    lastIteration_ = 0;
    inside_.beginStage(stage);
  }
  /// The last iteration is reported at the end of its stage. May throw EndSolve.
  void endStage() {
    const int iterations = lastIteration_;
    lastIteration_ = 0;
    if (iterations > 0) tellIteration(iterations);
  }
  void addIterations(int iterations) { earlierIterations_ += iterations; }

  /// Evaluations of the host at core points, columns of X; their core values are columns of what is
  /// returned. May throw EndSolve.
  const std::vector<double>& measureAt(const std::vector<double>& X) {
    points_ = X;
    measure();
    return f_;
  }
  /// Derivatives (n, rows) in physical units at a core point, not a number where the host gives
  /// none; false when it gives none at all.
  bool gradientAt(const double* x, double* G) {
    if (!host_.gradient) return false;
    std::vector<double> inBox(x, x + n()), design(d_.variables.size());
    c_.clip(inBox.data());
    c_.toHost(inBox.data(), design.data());
    derivatives_.assign(design.size() * d_.functions.size(), notKnown);
    Gradients gradients(derivatives_.data(), d_);
    host_.gradient(Point(design.data(), d_), gradients);
    return c_.gradientsToCore(derivatives_.data(), G);
  }

  /// True when x is the point of the last evaluation, up to rounding.
  bool isLast(const std::vector<double>& x) const {
    if (!measured()) return false;
    std::vector<double> free;
    for (const std::size_t i : c_.free)
      free.push_back(designs_[(done_ - 1) * d_.variables.size() + i]);
    return c_.differing(x.data(), free.data()) == 0;
  }
  /// Core values of a design.
  std::vector<double> rowsOf(const Design& design) const {
    std::vector<double> f;
    for (const CoreProblem::Row& row : c_.rows) f.push_back(row.of(design.values[row.function]));
    return f;
  }
  bool remembers() const { return memory_.has_value(); }
  bool measured() const { return done_ > 0; }
  /// The last design, where there is one.
  Design last() const { return designAt(done_ - 1); }
  /// Design k of those that were measured last.
  Design measuredAt(std::size_t k) const { return designAt(k); }
  /// The last design that a watched stage has asked for alone.
  const Design& current() const { return current_; }
  std::int64_t evaluations() const { return count_; }
  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
  }

  /// Best point of all evaluations in the box: feasible ones first, then the least violation.
  const std::optional<Design>& best() const { return best_; }
  bool feasible(const Design& design) const { return design.violation <= tolerance_; }
  /// Violation that still counts as none; that of the options, or what noise leaves of it.
  double tolerance() const { return tolerance_; }
  void setTolerance(double tolerance) { tolerance_ = tolerance; }

  struct NotFinite {
    std::string name;
    std::int64_t evaluation = 0;
    std::vector<double> x;
  };
  const std::optional<NotFinite>& firstNotFinite() const { return firstNotFinite_; }
  std::int64_t notFiniteCount() const { return notFinite_; }

  /// The objective as the core minimizes it: smaller is better.
  double coreObjective(const Design& design) const { return c_.rows[0].of(design.values[0]); }

 private:
  /// What the host does with the C interface in a callable is not done to the session of the solve,
  /// but to the one that the caller of the solve uses. The core continues in its own.
  static Evaluator& outside(void* self) {
    auto& evaluator = *static_cast<Evaluator*>(self);
    tarnix_session_use(evaluator.outer_);
    return evaluator;
  }
  static tarnix_session* inUse() {
    tarnix_session* const session = tarnix_session_use(nullptr);
    tarnix_session_use(session);
    return session;
  }

  static constexpr double notKnown = std::numeric_limits<double>::quiet_NaN();
  std::size_t n() const { return c_.free.size(); }
  std::size_t rows() const { return c_.rows.size(); }

  // ---- answers to the core ---------------------------------------------------------------------
  void answerOne(const double* x, double* f, double* eq, double* ineq) {
    answer_.resize(rows());
    answer(1, x, answer_.data());
    *f = answer_[0];
    std::copy_n(answer_.data() + 1, c_.equalities, eq);
    std::copy_n(answer_.data() + 1 + c_.equalities, c_.inequalities, ineq);
    if (watch_ && measured()) current_ = last();
  }

  bool answerGradient(const double* x, double* G) {
    noteIteration();
    if (!gradientAt(x, G)) return false;
    for (std::size_t r = 0; r < factors_.size(); ++r)
      for (std::size_t i = 0; i < n(); ++i) G[r * n() + i] *= factors_[r];
    return true;
  }

  void noteIteration() {
    const int iteration = counters_.nIter;
    if (iteration == lastIteration_) return;
    if (lastIteration_ > 0) tellIteration(lastIteration_);
    lastIteration_ = iteration;
    if (iteration < 2 || !watch_) return;
    if (const char* why = watch_(current_)) throw BreakOff{why};
  }

  /// A point that is not finite is answered by values that are none, and nobody is asked.
  void answer(std::size_t count, const double* X, double* F) {
    noteIteration();
    points_.clear();
    asked_.clear();
    for (std::size_t k = 0; k < count; ++k) {
      const double* x = X + k * n();
      if (!std::all_of(x, x + n(), [](double v) { return std::isfinite(v); })) {
        std::fill_n(F + k * rows(), rows(), notKnown);
        continue;
      }
      asked_.push_back(k);
      if (o_.keepInside)
        inside_.ask(x, points_);
      else
        append(x);
    }
    if (!points_.empty()) measure();
    if (o_.keepInside) inside_.settle(f_.data());
    for (std::size_t a = 0; a < asked_.size(); ++a) {
      double* f = F + asked_[a] * rows();
      if (o_.keepInside)
        inside_.answer(a, f);
      else
        std::copy_n(f_.data() + a * rows(), rows(), f);
      for (std::size_t r = 0; r < factors_.size(); ++r) f[r] *= factors_[r];
    }
    if (o_.keepInside) inside_.forget();
  }

  /// No coordinate is outside its bounds by more than the step of the differences.
  void append(const double* x) {
    const double *lowerEdge = c_.lowerEdge.data(), *upperEdge = c_.upperEdge.data();
    const std::size_t size = n(), at = points_.size();
    points_.insert(points_.end(), x, x + size);
    for (std::size_t i = 0; i < size; ++i) {
      double& v = points_[at + i];
      if (v > lowerEdge[i] && v < upperEdge[i]) continue;
      v = c_.snapped(v, i);
      const double step = c_.half(i) * stage_->differenceStep * (1 + 1e-6) + c_.roundOff[i];
      if (v < c_.lower[i] - step) v = c_.lower[i];
      if (v > c_.upper[i] + step) v = c_.upper[i];
    }
  }

  // ---- evaluations -----------------------------------------------------------------------------
  /// Finds the values at points_, remembered ones or the host's, and fills designs_, values_,
  /// violations_, numbers_ and f_. Everything is noted in the order of the points, whatever the
  /// order of their evaluation.
  void measure() {
    const std::size_t nv = d_.variables.size(), nf = d_.functions.size();
    // Without free variables there is one point, of length 0.
    const std::size_t wanted = n() == 0 ? 1 : points_.size() / n();
    const std::vector<const Memory::Sample*> known = recall(wanted);
    const auto missing = static_cast<std::size_t>(std::count(known.begin(), known.end(), nullptr));
    const std::size_t count = static_cast<std::size_t>(std::min<std::int64_t>(
        static_cast<std::int64_t>(missing), std::max<std::int64_t>(limit_ - count_, 0)));
    if (missing > 0 && count == 0) throw EndSolve{Reason::evaluationLimit};
    if (count > 0 && !mayGoOn()) throw EndSolve{cause_};
    done_ = 0;
    designs_.resize(wanted * nv);
    values_.resize(wanted * nf);
    f_.resize(wanted * rows());
    violations_.resize(wanted);
    numbers_.resize(wanted);
    for (std::size_t k = 0; k < wanted; ++k)
      c_.toHost(points_.data() + k * n(), designs_.data() + k * nv);
    const std::size_t end = count > 0 ? callHost(known, count) : 0;
    bool reached = false;
    for (std::size_t asked = 0; done_ < wanted; ++done_) {
      if (known[done_] != nullptr) {
        recallInto(done_, *known[done_]);
        continue;
      }
      if (asked == end) break;
      reached |= note(done_, hostValues_.data() + asked++ * nf);
    }
    if (memory_) keep(known);
    if (end < count) throw EndSolve{cause_};
    if (count < missing) throw EndSolve{Reason::evaluationLimit};
    if (reached) throw EndSolve{Reason::targetReached};
  }

  /// By point of points_: the sample there, null where there is none.
  std::vector<const Memory::Sample*> recall(std::size_t wanted) const {
    std::vector<const Memory::Sample*> known(wanted, nullptr);
    for (std::size_t k = 0; memory_ && k < wanted; ++k)
      known[k] = memory_->find(points_.data() + k * n());
    return known;
  }

  /// The design is that of the sample, to the last bit.
  void recallInto(std::size_t k, const Memory::Sample& sample) {
    c_.toHost(sample.x.data(), designs_.data() + k * d_.variables.size());
    std::copy(sample.values.begin(), sample.values.end(),
              values_.begin() + static_cast<std::ptrdiff_t>(k * d_.functions.size()));
    violations_[k] = c_.toCore(sample.values.data(), f_.data() + k * rows());
    numbers_[k] = sample.number;
  }

  /// Remembers what was not known.
  void keep(const std::vector<const Memory::Sample*>& known) {
    const std::size_t nf = d_.functions.size();
    for (std::size_t k = 0; k < done_; ++k)
      if (known[k] == nullptr)
        memory_->add(points_.data() + k * n(), values_.data() + k * nf, nf, numbers_[k]);
  }

  bool mayGoOn() {
    if ((o_.stop && o_.stop->requested()) || (host_.halt && host_.halt->requested()))
      cause_ = Reason::stopped;
    else if (o_.maxTime && std::chrono::steady_clock::now() >= deadline_)
      cause_ = Reason::timeLimit;
    else
      return true;
    return false;
  }

  /// Fills hostValues_ at the first `count` designs that are not known. Returns the number of those
  /// that were evaluated, the first ones.
  std::size_t callHost(const std::vector<const Memory::Sample*>& known, std::size_t count) {
    const std::size_t nv = d_.variables.size();
    hostDesigns_.clear();
    for (std::size_t k = 0; hostDesigns_.size() < count * nv; ++k)
      if (known[k] == nullptr) {
        const double* design = designs_.data() + k * nv;
        hostDesigns_.insert(hostDesigns_.end(), design, design + nv);
      }
    hostValues_.assign(count * d_.functions.size(), notKnown);
    const auto goOn = [this] { return mayGoOn(); };
    Batch batch(count, hostDesigns_.data(), hostValues_.data(), d_, goOn);
    const auto evaluate = [&](std::size_t k) {
      Values values = batch.values(k);
      host_.analysis.one()(batch.point(k), values);
    };
    // That the first one may be begun is known already.
    const auto mayBegin = [&](std::size_t k) { return k == 0 || batch.mayBegin(k); };
    if (!host_.analysis.one())
      host_.analysis.many()(batch);
    else if (pool_ && count > 1)
      pool_->run(count, mayBegin, evaluate);
    else
      for (std::size_t k = 0; k < count && mayBegin(k); ++k) evaluate(k);
    return batch.end();
  }

  /// True when the design reaches the target.
  bool note(std::size_t k, const double* values) {
    numbers_[k] = ++count_;
    double* f = f_.data() + k * rows();
    std::copy_n(values, d_.functions.size(), values_.data() + k * d_.functions.size());
    violations_[k] = c_.toCore(values, f);
    if (!std::isfinite(violations_[k])) {
      noteNotFinite(k);
      return false;
    }
    const double* x = points_.data() + k * n();
    for (std::size_t i = 0; i < n(); ++i)
      if (!(x[i] >= c_.trueLower[i] && x[i] <= c_.trueUpper[i])) return false;
    return noteBest(k, f[0]);
  }

  Design designAt(std::size_t k) const {
    const auto column = [k](const std::vector<double>& all, std::size_t size) {
      const double* first = all.data() + k * size;
      return std::vector<double>(first, first + size);
    };
    return {column(designs_, d_.variables.size()), column(values_, d_.functions.size()),
            violations_[k], numbers_[k]};
  }

  void noteNotFinite(std::size_t k) {
    if (notFinite_++ > 0) return;
    const double* f = f_.data() + k * rows();
    std::size_t r = 0;
    while (r + 1 < rows() && std::isfinite(f[r])) ++r;
    const double* x = designs_.data() + k * d_.variables.size();
    firstNotFinite_ = NotFinite{d_.functions[c_.rows[r].function].name, count_,
                                std::vector<double>(x, x + d_.variables.size())};
  }

  bool noteBest(std::size_t k, double objective) {
    const bool feasibleNow = violations_[k] <= tolerance_;
    if (best_) {
      const bool feasibleThen = feasible(*best_);
      if (feasibleThen && (!feasibleNow || !(objective < bestObjective_))) return false;
      if (!feasibleThen && !feasibleNow && !(violations_[k] < best_->violation)) return false;
    }
    best_ = designAt(k);
    bestObjective_ = objective;
    return feasibleNow && o_.target && objective <= c_.rows[0].of(*o_.target);
  }

  void tellIteration(int iteration) {
    if (!o_.onIteration) return;
    Progress progress;
    progress.stage = stage_->stage;
    progress.method = stage_->method;
    progress.iteration = earlierIterations_ + iteration;
    progress.evaluations = count_;
    progress.bestObjective = best_ ? best_->values[0] : notKnown;
    progress.worstViolation = best_ ? best_->violation : notKnown;
    progress.best = best_ ? &best_->x : nullptr;
    o_.onIteration(progress);
    if (progress.stopRequested) throw EndSolve{Reason::stopped};
  }

  // Given.
  const Description& d_;
  const CoreProblem& c_;
  const Host host_;
  const Options& o_;
  const VRK_Settings& counters_;  // of the solve's session
  tarnix_session* const outer_ = inUse();
  // The current round: one point, or those of a pass.
  InsideBox inside_;
  std::unique_ptr<Pool> pool_;
  std::vector<std::size_t> asked_;  // points of the core that are answered by values
  std::vector<double> answer_;      // of a single one
  std::vector<double> points_, f_;  // core points and values, a column each
  std::vector<double> designs_, values_, violations_;  // the host's
  std::vector<std::int64_t> numbers_;                  // of the evaluations
  std::vector<double> hostDesigns_, hostValues_;       // of those that are not remembered
  std::vector<double> derivatives_;                    // (variables, functions)
  std::size_t done_ = 0;                               // columns that are known and noted
  Reason cause_ = Reason::stopped;                     // why no evaluation may be begun
  // Limits.
  std::int64_t limit_ = std::numeric_limits<std::int64_t>::max();
  std::chrono::steady_clock::time_point started_, deadline_;
  // Seen.
  std::int64_t count_ = 0, notFinite_ = 0;
  std::optional<Design> best_;
  double bestObjective_ = 0;
  std::optional<NotFinite> firstNotFinite_;
  std::optional<Memory> memory_;
  double tolerance_;
  // Stage.
  const StageStart* stage_ = nullptr;
  std::vector<double> factors_;  // of the rows, as the core sees them
  Watch watch_;
  Design current_;  // the last one that was asked for alone, for watch_
  int lastIteration_ = 0, earlierIterations_ = 0;
};

}  // namespace tarnix::detail
