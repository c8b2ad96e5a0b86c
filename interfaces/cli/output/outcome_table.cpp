#include <algorithm>
#include <cmath>
#include <cstdio>

#include "base/numbers.h"
#include "base/text.h"
#include "base/text_table.h"
#include "output/outcome.h"

namespace tarnix::cli {

namespace {

VariableOutcome outcomeOf(const VariableEntry& v, double value) {
  VariableOutcome entry{v.name, value, v.unit, v.lower, v.upper, {}, {}, {}};
  if (v.lower == v.upper)
    entry.at = "fixed";
  else if (value == v.lower)
    entry.at = "lower";
  else if (value == v.upper)
    entry.at = "upper";
  return entry;
}

ConstraintOutcome outcomeOf(const ConstraintEntry& c, double value, double tolerance) {
  double room = INFINITY;  // to the nearer limit, in units of the scale; below zero: violated
  if (c.min) room = std::min(room, (value - *c.min) / c.scale);
  if (c.max) room = std::min(room, (*c.max - value) / c.scale);
  const bool active = c.equality || (room >= -tolerance && room <= 10 * tolerance);
  return {c.name, value, c.unit, c.min, c.max, std::max(0.0, -room), active, {}, {}};
}

std::string headLines(const Outcome& o) {
  std::string text = o.problem + ": " +
                     (o.success    ? "solved"
                      : o.feasible ? "not solved to the end, but the design satisfies every limit"
                                   : "NOT SOLVED") +
                     " (" + o.reason + ")\n";
  if (!o.method.empty())
    text += "  " + o.method + ": " + o.meaning + "; " +
            counted(o.iterations.value_or(0), "iteration") + "\n";
  if (o.evaluations) {
    text += "  " + counted(*o.evaluations, "evaluation");
    if (o.runs) text += ", for them " + counted(*o.runs, "run") + " of the command";
    if (o.replayed.value_or(0) > 0)
      text += ", " + std::to_string(*o.replayed) + " from the history";
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, ", %.1f s\n", o.seconds.value_or(0));
    text += seconds;
  }
  if (o.failed.value_or(0) > 0)
    text += "  " + counted(*o.failed, "run") + " failed; the last: " + o.lastFailure + "\n";
  if (o.noise && o.differenceStep)
    text += "  Noise of the values " + rounded(*o.noise, 1) + " of their size; difference step " +
            rounded(*o.differenceStep, 1) + " half ranges\n";
  if (o.verification)
    text +=
        o.verification->same
            ? "  Run once more, alone: the same to the last bit" +
                  (o.verification->directory.empty() ? "" : "; see " + o.verification->directory) +
                  "\n"
            : "  Run once more, alone: " + o.verification->text + "\n";
  if (!o.success && !o.advice.empty()) text += wrapped(o.advice, "  ");
  return text;
}

std::string rest(const VariableOutcome& v, const std::string& objective) {
  std::string text = v.at == "fixed" ? v.at : "in " + limitText(v.lower, v.upper);
  if (v.at == "lower" || v.at == "upper") text += ", at its " + v.at + " bound";
  return text + perPercentText(v.perPercent, objective);
}

std::string rest(const ConstraintOutcome& c, const std::string& objective, double tolerance) {
  std::string text = limitText(c.min, c.max);
  if (c.violation > tolerance)
    text += ", VIOLATED by " + rounded(c.violation, 2) + " of its scale";
  else if (c.active)
    text += ", active";
  return text + perPercentText(c.perPercent, objective);
}

}  // namespace

Outcome outcomeAt(const ProblemFile& problem, const std::optional<BestDesign>& design,
                  const std::string& reason, double tolerance) {
  Outcome outcome;
  tolerance = std::max(tolerance, problem.options.tolerance);
  outcome.problem = problem.title.empty() ? problem.file.filename().string() : problem.title;
  outcome.reason = reason;
  outcome.tolerance = tolerance;
  if (!design) return outcome;
  outcome.feasible = design->violation <= tolerance;
  outcome.violation = design->violation;
  const ObjectiveEntry& goal = problem.objective;
  outcome.objective = {goal.name, goal.maximize ? "maximize" : "minimize", design->values[0],
                       goal.unit};
  for (std::size_t i = 0; i < problem.variables.size(); ++i)
    outcome.variables.push_back(outcomeOf(problem.variables[i], design->x[i]));
  for (std::size_t j = 0; j < problem.constraints.size(); ++j)
    outcome.constraints.push_back(
        outcomeOf(problem.constraints[j], design->values[j + 1], tolerance));
  return outcome;
}

std::string noDesignText(const Outcome& outcome) {
  const long asked = outcome.runs ? *outcome.runs : outcome.evaluations.value_or(0);
  const bool measured = asked + outcome.replayed.value_or(0) > outcome.failed.value_or(0);
  return measured ? "No design that was measured has finite values inside bounds and catalogues."
                  : "No design has been evaluated.";
}

std::string conflictText(const ConflictOutcome& conflict) {
  std::string names;
  for (const std::string& name : conflict.constraints)
    names += (names.empty() ? "'" : ", '") + name + "'";
  const std::string least =
      "; the least violation found is " + rounded(conflict.violation, 3) + " of the scales.";
  if (conflict.constraints.size() == 1)
    return "Within these bounds nothing meets " + names + " alone" + least;
  return names + " contradict each other within these bounds" +
         (conflict.minimal ? ": without any one of them the others can be met" : "") + least;
}

std::string table(const Outcome& o) {
  std::string text = headLines(o);
  if (!o.objective) return text + "  " + noDesignText(o) + "\n";
  const std::string& name = o.objective->name;
  TextTable rows("lrll");
  rows.row({"", "", "", ""});
  rows.row({name, rounded(o.objective->value), o.objective->unit,
            o.objective->sense == "maximize" ? "maximized" : "minimized"});
  rows.row({"", "", "", ""});
  for (const VariableOutcome& v : o.variables)
    rows.row({v.name, rounded(v.value), v.unit, rest(v, name)});
  if (!o.constraints.empty()) rows.row({"", "", "", ""});
  for (const ConstraintOutcome& c : o.constraints)
    rows.row({c.name, rounded(c.value), c.unit, rest(c, name, o.tolerance)});
  text += rows.text();
  const auto tells = [](const auto& entry) { return entry.perPercent.value_or(0) != 0; };
  if (std::any_of(o.variables.begin(), o.variables.end(), tells) ||
      std::any_of(o.constraints.begin(), o.constraints.end(), tells))
    text += "\n  1 % more: change of " + name +
            " when a limit is raised by 1 % of its size, a bound by 1 % of its range;\n"
            "  from the multipliers of one pass of differences at this design\n";
  return text + searchText(o);
}

}  // namespace tarnix::cli
