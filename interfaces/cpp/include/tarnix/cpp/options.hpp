#pragma once
// How a problem is solved: method, tolerances, limits, and the callbacks that watch and stop it.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace tarnix {

/// Automatic starts with SQP and continues with GRG and finer differences while that pays.
enum class Method { grg, sqp, automatic };

/// Forward differences take one evaluation per variable and gradient, central ones two.
enum class Differences { forward, central };

/// Stops solves from any thread, or from a signal handler. Copies share one flag.
class Stop {
 public:
  Stop() : flag_(std::make_shared<std::atomic<bool>>(false)) {}
  void request() const noexcept { flag_->store(true, std::memory_order_relaxed); }
  void clear() const noexcept { flag_->store(false, std::memory_order_relaxed); }
  bool requested() const noexcept { return flag_->load(std::memory_order_relaxed); }

 private:
  std::shared_ptr<std::atomic<bool>> flag_;
};

/// What a running solve reports at the start of every iteration, and at the end of every stage.
struct Progress {
  int start = 1;                 ///< of Options::starts, from 1 on
  int stage = 0;                 ///< from 1 on
  Method method = Method::sqp;   ///< of the stage
  int iteration = 0;             ///< last iteration that was completed, over all stages
  std::int64_t evaluations = 0;  ///< so far
  double bestObjective = 0;      ///< at the best point so far, as the callable gave it
  double worstViolation = 0;     ///< there, relative to the scales; 0 when it is feasible
  const std::vector<double>* best = nullptr;  ///< that point, null when there is none; not kept
  void stop() { stopRequested = true; }       ///< ends the solve at once
  bool stopRequested = false;
};

/// A stage of a solve about to run: one method with its settings, from one point.
struct StageStart {
  int stage = 1;  ///< from 1 on
  Method method = Method::sqp;
  Differences differences = Differences::forward;
  double differenceStep = 0;  ///< in units of half the distance of the bounds, or of invented ones
  double tolerance = 0;       ///< convergence tolerance of the stage
  std::vector<double> x;      ///< where it starts
  int start = 1;              ///< of Options::starts, from 1 on
};

/// What the end of a solve tells the next one, of a problem with the same variables and functions.
/// Limits, scales and bounds may differ, and the callable a little.
struct WarmStart {
  std::vector<double> x;       ///< all variables
  std::vector<double> values;  ///< of all functions there
  /// (variables, functions), 0 for fixed variables; empty: not known. With it the first step, to
  /// where the limits are now, costs no evaluation.
  std::vector<double> jacobian;
  std::vector<double> multipliers;  ///< by function: change of the objective per unit of the limit
  double noise = 0;                 ///< see Result
};

struct Options {
  Method method = Method::automatic;

  /// Violation at which a constraint still counts as satisfied, relative to its scale; also the
  /// decrease of the objective, relative to its scale, that is not worth another iteration.
  double tolerance = 1e-5;
  Differences differences = Differences::forward;
  /// Step of the differences, in units of half the distance between a variable's bounds. 0: 1e-4,
  /// and what suits the noise of the values in the automatic method.
  double differenceStep = 0;
  /// Relative accuracy of the values, where it is known: their noise is then not looked for. 0: not
  /// known.
  double accuracy = 0;
  /// How much the automatic method may spend on further starts; 0: none, as suits evaluations that
  /// take minutes. With n variables that are not fixed: at most 32 (n + 1) evaluations times this,
  /// or 0.75 of what the solve had taken beyond 85 evaluations times this, whichever is more. A
  /// solve that took less than 85 mostly ends with a quarter of the rest times this.
  double effort = 4;
  /// The methods' differences step beyond the bounds. When this is set no evaluation does: a
  /// difference that would leave the box is formed from points on the inner side instead, forward
  /// ones from one point, central ones from two (second order as well).
  bool keepInside = false;
  /// Moves a start that lies outside the box to its nearest point, instead of rejecting it.
  bool moveStartInside = false;
  /// Threads that evaluate the points of a gradient pass side by side; the callable is then called
  /// on all of them. The solve is the same for any number, to the last bit, and so is the number of
  /// every evaluation. A batch callable manages its own threads.
  int threads = 1;
  /// Number of whole solves: one from the start, the others from quasi-random points of the box,
  /// side by side in the threads. The result is that of the best one, with the table of all minima;
  /// it is the same for any number of threads, to the last bit. Each solve has an equal share of
  /// maxEvaluations. Callables, a batch callable too, are called on all these threads; onIteration,
  /// onStage and trace one at a time. The first start that reaches the target, in their order, ends
  /// the solve; what later ones have evaluated by then is counted as well.
  int starts = 1;
  std::uint64_t seed = 1;  ///< of the quasi-random points
  /// Compares the derivatives that a gradient callable fills with central differences at the start,
  /// two evaluations per variable; solve() throws InvalidProblem with an issue for each one that
  /// differs.
  bool checkGradients = false;
  /// End of a solve of a similar problem, Result::warm(): the automatic method continues there,
  /// in place of the start, and looks neither at the noise nor elsewhere unless it fails.
  std::optional<WarmStart> warm;
  /// Start in place of the declared one; empty: the declared one.
  std::vector<double> start;

  // Limits of the whole solve, enforced exactly: no further evaluation starts, the best point so
  // far is returned, and the result names the reason.
  int maxIterations = 200;                               ///< of every stage
  std::optional<std::int64_t> maxEvaluations;            ///< calls of the callable
  std::optional<std::chrono::duration<double>> maxTime;  ///< wall clock
  /// A feasible objective as good as this. It is checked after an evaluation, or after all of a
  /// gradient pass.
  std::optional<double> target;
  std::optional<Stop> stop;                        ///< from anywhere
  std::function<void(Progress&)> onIteration;      ///< watches, and may stop
  std::function<void(const StageStart&)> onStage;  ///< called for every stage

  /// Multipliers and sensitivities at the end: one gradient pass, an evaluation per variable.
  bool report = true;
  /// Trace of the core, 0 to 3.
  int printLevel = 0;
  /// Takes the trace, in pieces of lines; without it, it goes to standard output.
  std::function<void(std::string_view)> trace;
};

}  // namespace tarnix
