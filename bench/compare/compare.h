// Solvers side by side on the problem collection: what they share.
#ifndef TARNIX_BENCH_COMPARE_H
#define TARNIX_BENCH_COMPARE_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "problems.h"

namespace compare {

/// How every solver is run.
struct Setup {
  double tolerance = 1e-5;      ///< of tarnix
  double peerTolerance = 1e-7;  ///< of the others
  double noise = 0;             ///< of every value, relative to max(1, |value|)
  std::uint64_t seed = 1;       ///< of the noise and of the random starts
  long maxEvaluations = 10000;  ///< of a solve
  double maxSeconds = 10;       ///< of processor time, of a solve
};

/// Thrown by Values::at when the evaluations or the time of a solve are used up.
struct BudgetSpent : std::runtime_error {
  BudgetSpent() : std::runtime_error("evaluations or time used up") {}
};

/// The functions of one problem as a solver sees them: counted, with noise. Values at a point are
/// always the same, the noise included.
class Values {
 public:
  Values(const Problem& problem, const Setup& setup);

  /// Objective, equalities, inequalities at x, in the problem's variables. The values of the last
  /// point are kept: asking for them again is no evaluation.
  const std::vector<double>& at(const std::vector<double>& x);

  /// The same for variables that run over [-1, 1].
  const std::vector<double>& atScaled(const double* z);
  std::vector<double> unscaled(const double* z) const;
  std::vector<double> scaled(const std::vector<double>& x) const;

  /// Forward differences in the scaled variables, turned inward at the upper bounds: one row per
  /// function. Kept for the last point.
  const std::vector<std::vector<double>>& jacobian(const double* z);

  const Problem& problem;
  long evaluations = 0;

 private:
  double noisy(double value, const std::vector<double>& x, std::size_t function) const;

  const Setup& setup_;
  double started_, step_;
  std::vector<double> lastX_, last_, jacobianAt_;
  std::vector<std::vector<double>> jacobian_;
};

/// What a solver says about its solve.
struct Claim {
  bool success = false;
  std::vector<double> x;
};

struct Solver {
  std::string name, version;
  Claim (*solve)(Values& values, const std::vector<double>& start, const Setup& setup);
};

/// Those that this program was built with.
std::vector<Solver> solvers();
void addNlopt(std::vector<Solver>& to);
void addIpopt(std::vector<Solver>& to);

struct Verdict {
  double f = 0, violation = 0;        ///< without noise
  double fall = -1;                   ///< see furtherFall; -1: not looked at
  bool loose = false, tight = false;  ///< within 1e-3 or 1e-6 of the best known, and as feasible
  bool wrong = false;                 ///< success claimed, not loose, and no local minimum
  bool better = false;                ///< feasible, and below the best known by more than 1e-6
};

/// looseTolerance: of "loose", and of what counts as wrong.
Verdict judge(const Problem& problem, const Claim& claim, double looseTolerance);

/// How far the objective would still fall by its quadratic model, relative to max(1, |f|), at x:
/// Newton's step on the optimality conditions, in variables that run over [-1, 1], within 0.1 along
/// every axis of curvature. Next to nothing at a local minimum however steep its walls are; large
/// on the floor of a valley, at saddle points, and where the slope is left. Infinite where x
/// violates a constraint by more than the tolerance.
double furtherFall(const Problem& problem, const std::vector<double>& x, double tolerance);

double seconds();  ///< of processor time

}  // namespace compare

#endif
