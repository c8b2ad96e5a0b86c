#pragma once
// What a solve returns: the point, the truth about it, how it came about, and what its limits cost.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "options.hpp"
#include "problem.hpp"

namespace tarnix {

/// Why a solve or a stage ended.
enum class Reason {
  finished,         ///< the method ended by itself
  noFeasiblePoint,  ///< a violated constraint cannot be reduced any further
  breakdown,        ///< the method could not continue
  iterationLimit,
  evaluationLimit,
  timeLimit,
  targetReached,
  stopped,   ///< by Stop or by Progress::stop
  unbounded  ///< a variable without a bound was followed as far as it goes
};

/// A point with the values that the callable gave there.
struct Design {
  std::vector<double> x;        ///< all variables, fixed ones too
  std::vector<double> values;   ///< objective, then constraints
  double violation = 0;         ///< largest of the constraints, relative to scale; NaN: not finite
  std::int64_t evaluation = 0;  ///< number of the evaluation, from 1 on
};

/// One run of one method.
struct Stage {
  StageStart settings;
  std::int32_t status = 0;  ///< of the method; 0 when a limit or a stop ended it
  Reason reason = Reason::finished;
  int iterations = 0;
  std::int64_t evaluations = 0;
  Design end;           ///< point that the stage left
  std::string meaning;  ///< of the status, in words
  /// Of a feasible end where the method stalled rather than met its test of convergence:
  /// whether it is a stationary point, as far as the multipliers and the gradients tell.
  bool stationary = true;
  bool further = false;         ///< of the automatic method, from a further start
  bool brokenOff = false;       ///< left by the automatic method before its method ended
  bool onInventedSide = false;  ///< the end lies on a side that replaces a missing bound
};

/// An active constraint or bound, and what it costs.
struct ActiveLimit {
  enum class Kind { equality, lowerLimit, upperLimit, lowerBound, upperBound };
  std::string name;
  Kind kind = Kind::equality;
  double limit = 0;
  /// Change of the objective, as the callable measures it, per unit by which the limit is raised.
  double multiplier = 0;
  /// Change of the objective when the limit is raised by one percent of its size (of the scale when
  /// it is 0; of the distance of the bounds for bounds).
  double perPercent = 0;
};

/// What one gradient pass reveals about the final point.
struct Report {
  std::vector<ActiveLimit> active;
  std::vector<double> gradient;     ///< of the objective, by variable; 0 for fixed ones
  std::vector<double> jacobian;     ///< (variables, functions) of all functions, as gradient
  std::vector<double> sensitivity;  ///< change of the objective per percent of the variable's range
  double optimality = 0;            ///< part of the gradient left over by the multipliers, 0 to 1
  /// What is left over, its length: change of the objective, relative to its scale, per half of the
  /// variables' ranges.
  double slope = 0;
};

/// A local minimum that Options::starts led to.
struct Minimum {
  Design point;   ///< the best of the ends there
  int times = 0;  ///< starts that ended there
  int start = 0;  ///< the first of them, from 1 on
};

/// What all starts of Options::starts found.
struct Minima {
  /// Ends with success, the best first. Two of them are one minimum when no variable differs by
  /// more than 1 % of the distance of its bounds.
  std::vector<Minimum> found;
  int starts = 0;        ///< solves that were run
  int unsuccessful = 0;  ///< of them without success
  /// Expected number of minima that no start led to: w (w + 1) / (N - w - 2) when N starts ended in
  /// w minima (Boender and Rinnooy Kan, Bayesian stopping rules for multistart global optimization
  /// methods, Math. Programming 37 (1987) 59-80). Absent when N is too small to tell.
  std::optional<double> unseen;
};

/// What contradicts a feasible design, after a solve that has found none.
struct Conflict {
  Design point;                          ///< least violated design
  double violation = 0;                  ///< there, of the worst constraint, relative to scale
  std::vector<std::string> constraints;  ///< that cannot hold together within the bounds
  /// Each of them is needed: without it the others can be met. Otherwise not all was tried.
  bool minimal = false;
};

struct Result {
  Result();
  Result(const Result&);
  Result(Result&&) noexcept;
  Result& operator=(const Result&);
  Result& operator=(Result&&) noexcept;
  ~Result();

  /// The point is feasible, and a method came to its own end there, at a stationary point, or the
  /// target was reached.
  bool success = false;
  /// Judged by the callable's values, whatever a method says: all are finite, the point lies in the
  /// box, and no constraint is violated by more than the tolerance.
  bool feasible = false;
  Reason reason = Reason::finished;
  Method method = Method::sqp;  ///< of the stage that gave the point
  std::int32_t status = 0;      ///< of that stage; 0 when a limit or a stop ended it
  std::string meaning;          ///< of that status, in words
  std::string advice;           ///< what happened and what to try, one paragraph

  Design point;                ///< where the solve ended
  std::optional<Design> best;  ///< best feasible point of all evaluations
  std::vector<Stage> stages;
  /// Box of the last stage. It has the bounds of the problem; where one is missing, sides around
  /// the point that the layer has chosen and, if need be, moved.
  std::vector<double> searchLower, searchUpper;
  /// Noise of the values relative to their size, where the automatic method has found any.
  double noise = 0;
  /// Of the differences, in units of half the ranges: what the options say, or what was chosen.
  double differenceStep = 0;
  /// Violation that counts as none: that of the options, or what noise leaves of it.
  double tolerance = 0;
  int iterations = 0;            ///< over all stages, of all starts
  std::int64_t evaluations = 0;  ///< calls of the callable
  double seconds = 0;            ///< wall clock
  std::optional<Minima> minima;  ///< with Options::starts; the rest is about the best solve
  std::optional<Report> report;  ///< absent after a limit, a stop, or values not finite
  /// Of the automatic method, where every start has ended without a feasible design, and the
  /// violation is at a minimum: a local one, as everything here.
  std::optional<Conflict> conflict;
  std::shared_ptr<const Description> description;

  double operator[](Variable v) const;
  double operator[](Function f) const;
  /// Value of the variable, objective or constraint of that name.
  double operator[](std::string_view name) const;
  double objective() const { return point.values.at(0); }

  /// From where a solve of a problem that has changed a little starts best: Options::warm.
  WarmStart warm() const;

  /// Readable table of all this.
  std::string summary() const;
};

}  // namespace tarnix
