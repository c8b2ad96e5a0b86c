#pragma once
// The words of a result: names, meanings of the statuses, the summary.

#include <tarnix/statuses.h>
#include <tarnix/tarnix.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

#include "../result.hpp"
#include "../text.hpp"
#include "inline.hpp"

namespace tarnix {

TARNIX_INLINE const char* name(Method method) {
  switch (method) {
    case Method::grg: return "GRG";
    case Method::sqp: return "SQP";
    case Method::automatic: break;
  }
  return "automatic";
}

TARNIX_INLINE const char* name(Reason reason) {
  switch (reason) {
    case Reason::finished: return "finished";
    case Reason::noFeasiblePoint: return "no feasible point";
    case Reason::breakdown: return "breakdown";
    case Reason::iterationLimit: return "iteration limit";
    case Reason::evaluationLimit: return "evaluation limit";
    case Reason::timeLimit: return "time limit";
    case Reason::targetReached: return "target reached";
    case Reason::stopped: return "stopped";
    case Reason::unbounded: break;
  }
  return "unbounded";
}

TARNIX_INLINE const char* name(Differences differences) {
  return differences == Differences::forward ? "forward" : "central";
}

TARNIX_INLINE const char* name(Relation relation) {
  switch (relation) {
    case Relation::atMost: return "at most";
    case Relation::atLeast: return "at least";
    case Relation::between: return "between";
    case Relation::equal: break;
  }
  return "equal";
}

TARNIX_INLINE const char* name(ActiveLimit::Kind kind) {
  using Kind = ActiveLimit::Kind;
  switch (kind) {
    case Kind::equality: return "equality";
    case Kind::lowerLimit: return "lower limit";
    case Kind::upperLimit: return "upper limit";
    case Kind::lowerBound: return "lower bound";
    case Kind::upperBound: break;
  }
  return "upper bound";
}

TARNIX_INLINE std::string meaning(Method method, std::int32_t status) {
  struct Entry {
    std::int32_t status;
    const char* text;
  };
#define TARNIX_MEANING_ROW(status, name, word, meaning, when, remedy) {status, meaning},
  static constexpr Entry ofSqp[] = {TARNIX_SQP_STATUSES(TARNIX_MEANING_ROW)};
  static constexpr Entry ofGrg[] = {TARNIX_GRG_STATUSES(TARNIX_MEANING_ROW)};
#undef TARNIX_MEANING_ROW
  const auto look = [status](const Entry* first, const Entry* last) -> std::string {
    const Entry* found =
        std::find_if(first, last, [status](const Entry& e) { return e.status == status; });
    return found == last ? "unknown status " + std::to_string(status) : found->text;
  };
  return method == Method::grg ? look(std::begin(ofGrg), std::end(ofGrg))
                               : look(std::begin(ofSqp), std::end(ofSqp));
}

TARNIX_INLINE Reason reasonOf(Method method, std::int32_t status) {
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

/// A missing bound is answered by the side that the layer searched up to.
inline std::string boundsText(const Description::VariableData& v, double x, double searchLower,
                              double searchUpper) {
  if (v.lower == v.upper) return "fixed";
  const bool lower = std::isfinite(v.lower), upper = std::isfinite(v.upper);
  const std::string searched =
      ", searched in " + number(searchLower) + " .. " + number(searchUpper);
  if (!lower && !upper) return "free" + searched;
  const std::string at = x == v.lower   ? ", at its lower bound"
                         : x == v.upper ? ", at its upper bound"
                                        : "";
  if (!lower) return "<= " + number(v.upper) + searched + at;
  if (!upper) return ">= " + number(v.lower) + searched + at;
  return "in " + number(v.lower) + " .. " + number(v.upper) + at;
}

inline std::string limitText(const Description::FunctionData& f) {
  switch (f.relation) {
    case Relation::atMost: return "<= " + number(f.upper);
    case Relation::atLeast: return ">= " + number(f.lower);
    case Relation::between: return "in " + number(f.lower) + " .. " + number(f.upper);
    case Relation::equal: break;
  }
  return "= " + number(f.upper);
}

inline std::string minimaText(const Minima& minima) {
  std::string text = "minima of " + std::to_string(minima.starts) + " starts\n";
  for (const Minimum& minimum : minima.found)
    text += "  " + padded(number(minimum.point.values[0]), 14) + std::to_string(minimum.times) +
            (minimum.times == 1 ? " time\n" : " times\n");
  if (minima.unsuccessful > 0)
    text += "  " + std::to_string(minima.unsuccessful) + " without success\n";
  if (minima.unseen) text += "  expected to be unseen still: " + number(*minima.unseen, 2) + "\n";
  return text;
}

}  // namespace detail

TARNIX_INLINE std::string Result::summary() const {
  using detail::number;
  using detail::padded;
  const Description& d = *description;
  std::size_t width = 8;
  for (const auto& v : d.variables) width = std::max(width, v.name.size());
  for (const auto& f : d.functions) width = std::max(width, f.name.size());
  const auto line = [width](const std::string& label, double value, const std::string& rest) {
    return "  " + padded(label, width + 2) + padded(number(value), rest.empty() ? 0 : 14) + rest +
           "\n";
  };

  std::string text = success ? "success: " : feasible ? "feasible, no success: " : "no success: ";
  text += std::string(name(reason)) + "; " + name(method) + ": " + meaning + "\n" + advice + "\n";
  text +=
      std::to_string(evaluations) + " evaluations, " + std::to_string(iterations) + " iterations\n";
  if (stages.size() > 1)
    for (const Stage& s : stages)
      text +=
          line(std::to_string(s.settings.stage) + " " + name(s.settings.method), s.end.values[0],
               "violation " + number(s.end.violation, 2) + ", " + std::to_string(s.evaluations) +
                   " evaluations: " + (s.further ? "further start, " : "") + s.meaning);
  text += d.maximized ? "maximized\n" : "minimized\n";
  text += line(d.functions[0].name, point.values[0], "");
  text += "variables\n";
  for (std::size_t i = 0; i < d.variables.size(); ++i)
    text += line(d.variables[i].name, point.x[i],
                 detail::boundsText(d.variables[i], point.x[i], searchLower[i], searchUpper[i]));
  if (d.functions.size() > 1) text += "constraints\n";
  for (std::size_t j = 1; j < d.functions.size(); ++j) {
    std::string rest = detail::limitText(d.functions[j]);
    if (report)
      for (const ActiveLimit& a : report->active)
        if (a.name == d.functions[j].name && a.multiplier != 0)
          rest += ", 1 % more: " + d.functions[0].name + (a.perPercent > 0 ? " +" : " ") +
                  number(a.perPercent, 3);
    text += line(d.functions[j].name, point.values[j], rest);
  }
  if (minima) text += detail::minimaText(*minima);
  return text;
}

}  // namespace tarnix
