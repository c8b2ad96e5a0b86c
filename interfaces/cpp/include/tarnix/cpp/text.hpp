#pragma once
// The words of a result: meanings of the statuses, explanation and advice, the summary.

#include <tarnix/tarnix.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

#include "evaluator.hpp"
#include "result.hpp"

namespace tarnix {

inline const char* name(Method method) {
  switch (method) {
    case Method::grg: return "GRG";
    case Method::sqp: return "SQP";
    case Method::automatic: break;
  }
  return "automatic";
}

inline const char* name(Reason reason) {
  switch (reason) {
    case Reason::finished: return "finished";
    case Reason::noFeasiblePoint: return "no feasible point";
    case Reason::breakdown: return "breakdown";
    case Reason::iterationLimit: return "iteration limit";
    case Reason::evaluationLimit: return "evaluation limit";
    case Reason::timeLimit: return "time limit";
    case Reason::targetReached: return "target reached";
    case Reason::stopped: break;
  }
  return "stopped";
}

inline const char* name(Differences differences) {
  return differences == Differences::forward ? "forward" : "central";
}

/// What a status of SQP or GRG means, in words.
inline std::string meaning(Method method, std::int32_t status) {
  struct Entry {
    std::int32_t status;
    const char* text;
  };
  static constexpr Entry ofSqp[] = {
      {VRK_SQP_CONVERGED, "constraints hold and no noticeable decrease is left"},
      {VRK_SQP_ITERATION_LIMIT, "the iteration limit was reached"},
      {VRK_SQP_NO_QP_SOLUTION, "the quadratic subproblem has no solution"},
      {VRK_SQP_HESSIAN_NOT_POSITIVE_DEFINITE, "the curvature matrix is not positive definite"},
      {VRK_SQP_QP_FAILURE, "the solver of the subproblem broke down"},
      {VRK_SQP_STORAGE, "work storage or memory is exhausted"},
      {VRK_SQP_STOPPED, "a stop was requested"},
      {VRK_SQP_MERIT_NOT_CHANGING, "objective and weighted violations stand still"},
  };
  static constexpr Entry ofGrg[] = {
      {VRK_GRG_CONVERGED, "constraints hold and no noticeable decrease is left"},
      {VRK_GRG_MINIMUM_STEP, "the line search reached its smallest step"},
      {VRK_GRG_OBJECTIVE_NOT_CHANGING, "the objective stands still"},
      {VRK_GRG_NO_FEASIBLE_POINT, "a violated constraint has no descent left"},
      {VRK_GRG_INFEASIBILITY_NOT_CHANGING, "the violation of a constraint stands still"},
      {VRK_GRG_ITERATION_LIMIT, "the iteration limit was reached"},
      {VRK_GRG_NO_QP_SOLUTION, "the quadratic subproblem has no solution"},
      {VRK_GRG_QP_FAILURE, "the solver of the subproblem broke down"},
      {VRK_GRG_STORAGE, "work storage or memory is exhausted"},
      {VRK_GRG_STOPPED, "a stop was requested"},
  };
  const auto look = [status](const Entry* first, const Entry* last) -> std::string {
    const Entry* found =
        std::find_if(first, last, [status](const Entry& e) { return e.status == status; });
    return found == last ? "unknown status " + std::to_string(status) : found->text;
  };
  return method == Method::grg ? look(std::begin(ofGrg), std::end(ofGrg))
                               : look(std::begin(ofSqp), std::end(ofSqp));
}

/// Why a method of that status ended.
inline Reason reasonOf(Method method, std::int32_t status) {
  if (method == Method::sqp) switch (status) {
      case VRK_SQP_CONVERGED:
      case VRK_SQP_MERIT_NOT_CHANGING: return Reason::finished;
      case VRK_SQP_ITERATION_LIMIT: return Reason::iterationLimit;
      case VRK_SQP_STOPPED: return Reason::stopped;
      default: return Reason::breakdown;
    }
  switch (status) {
    case VRK_GRG_CONVERGED:
    case VRK_GRG_MINIMUM_STEP:
    case VRK_GRG_OBJECTIVE_NOT_CHANGING: return Reason::finished;
    case VRK_GRG_NO_FEASIBLE_POINT:
    case VRK_GRG_INFEASIBILITY_NOT_CHANGING: return Reason::noFeasiblePoint;
    case VRK_GRG_ITERATION_LIMIT: return Reason::iterationLimit;
    case VRK_GRG_STOPPED: return Reason::stopped;
    default: return Reason::breakdown;
  }
}

namespace detail {

inline std::string number(double v, int digits = 6) {
  char text[40];
  std::snprintf(text, sizeof text, "%.*g", digits, v);
  return text;
}

inline std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(text.size(), width), ' ');
  return text;
}

/// "stress = 512.3 is above 500", of the constraint that is violated most.
inline std::string worstConstraint(const Description& d, const Design& design) {
  std::size_t worst = 0;
  double most = 0;
  for (std::size_t j = 1; j < d.functions.size(); ++j) {
    const auto& f = d.functions[j];
    const double v = design.values[j];
    const double size = std::max(v - f.upper, f.lower - v) / f.scale;
    if (size > most) worst = j, most = size;
  }
  if (worst == 0) return "";
  const auto& f = d.functions[worst];
  const double v = design.values[worst];
  const bool above = v > f.upper;
  const std::string limit = number(above ? f.upper : f.lower);
  return "'" + f.name + "' = " + number(v) +
         (f.relation == Relation::equal ? " instead of " : above ? " above " : " below ") + limit;
}

}  // namespace detail

inline std::string Result::summary() const {
  using detail::number;
  using detail::padded;
  const Description& d = *description;
  std::string text = success ? "success: " : feasible ? "feasible, but no success: " : "no success: ";
  text += std::string(name(reason)) + ", " + name(method) + ": " + meaning + "\n";
  text += std::to_string(evaluations) + " evaluations, " + std::to_string(iterations) +
          " iterations, " + number(seconds, 3) + " s, largest violation " +
          number(point.violation, 2) + "\n";
  std::size_t width = 8;
  for (const auto& v : d.variables) width = std::max(width, v.name.size());
  for (const auto& f : d.functions) width = std::max(width, f.name.size());
  const auto line = [&](const std::string& label, double value, const std::string& rest) {
    text += "  " + padded(label, width + 2) + (rest.empty() ? number(value) : padded(number(value), 14) + rest) + "\n";
  };
  text += d.maximized ? "maximized\n" : "minimized\n";
  line(d.functions[0].name, point.values[0], "");
  text += "variables\n";
  for (std::size_t i = 0; i < d.variables.size(); ++i) {
    const auto& v = d.variables[i];
    const double x = point.x[i];
    std::string rest = v.lower == v.upper ? "fixed"
                                          : "in " + number(v.lower) + " .. " + number(v.upper);
    if (v.lower != v.upper && x == v.lower) rest += ", at its lower bound";
    if (v.lower != v.upper && x == v.upper) rest += ", at its upper bound";
    line(v.name, x, rest);
  }
  if (d.functions.size() > 1) text += "constraints\n";
  for (std::size_t j = 1; j < d.functions.size(); ++j) {
    const auto& f = d.functions[j];
    std::string rest;
    switch (f.relation) {
      case Relation::atMost: rest = "<= " + number(f.upper); break;
      case Relation::atLeast: rest = ">= " + number(f.lower); break;
      case Relation::between: rest = "in " + number(f.lower) + " .. " + number(f.upper); break;
      case Relation::equal: rest = "= " + number(f.upper); break;
    }
    if (report)
      for (const ActiveLimit& a : report->active)
        if (a.name == f.name && a.multiplier != 0)
          rest += ", one percent more: " + d.functions[0].name + " " +
                  (a.perPercent > 0 ? "+" : "") + number(a.perPercent, 3);
    line(f.name, point.values[j], rest);
  }
  return text + advice + "\n";
}

}  // namespace tarnix
