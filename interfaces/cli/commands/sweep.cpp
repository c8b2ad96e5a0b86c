#include <algorithm>
#include <cstring>
#include <iostream>

#include "base/exact_json.h"
#include "base/numbers.h"
#include "base/text_table.h"
#include "commands/commands.h"
#include "output/csv.h"
#include "output/sweep_chart.h"

namespace tarnix::cli {

namespace {

std::string stateOf(const std::optional<Outcome>& outcome) {
  if (!outcome) return "not run";
  if (outcome->success) return "solved";
  if (!outcome->error.empty()) return "FAILED: " + outcome->error;
  return (outcome->feasible ? "within the limits, " : "NOT SOLVED, ") + outcome->reason;
}

std::string activeOf(const Outcome& outcome) {
  std::string names;
  const auto add = [&](const std::string& name) { names += (names.empty() ? "" : ", ") + name; };
  for (const ConstraintOutcome& c : outcome.constraints)
    if (c.violation > outcome.tolerance)
      add(c.name + " violated");
    else if (c.active)
      add(c.name);
  for (const VariableOutcome& v : outcome.variables)
    if (v.at == "lower" || v.at == "upper") add(v.name + " at its " + v.at + " bound");
  return names;
}

std::vector<std::string> namesOf(const std::vector<Axis>& axes) {
  std::vector<std::string> names(axes.size());
  std::transform(axes.begin(), axes.end(), names.begin(), [](const Axis& a) { return a.name; });
  return names;
}

std::string tableText(const ProblemFile& problem, const std::vector<Axis>& axes,
                      const std::vector<SweepPoint>& points) {
  constexpr std::size_t mostVariables = 6;
  const std::size_t shown =
      problem.variables.size() <= mostVariables ? problem.variables.size() : 0;
  TextTable rows(std::string(axes.size() + 1 + shown, 'r') + "ll");
  std::vector<std::string> head = namesOf(axes);
  head.push_back(problem.objective.name);
  for (std::size_t i = 0; i < shown; ++i) head.push_back(problem.variables[i].name);
  head.insert(head.end(), {"state", "active"});
  rows.row(std::move(head));
  for (const SweepPoint& point : points) {
    std::vector<std::string> cells;
    for (const double at : point.at) cells.push_back(rounded(at));
    const bool known = point.outcome && point.outcome->objective;
    cells.push_back(known ? rounded(point.outcome->objective->value) : "-");
    for (std::size_t i = 0; i < shown; ++i)
      cells.push_back(known ? rounded(point.outcome->variables[i].value, 5) : "-");
    cells.push_back(stateOf(point.outcome));
    cells.push_back(known ? activeOf(*point.outcome) : "");
    rows.row(std::move(cells));
  }
  return rows.text();
}

std::string csvText(const ProblemFile& problem, const std::vector<Axis>& axes,
                    const std::vector<SweepPoint>& points) {
  std::vector<std::string> head = namesOf(axes);
  for (const char* name : {"solved", "feasible"}) head.push_back(name);
  head.push_back(problem.objective.name);
  for (const VariableEntry& v : problem.variables) head.push_back(v.name);
  for (const ConstraintEntry& c : problem.constraints) head.push_back(c.name);
  for (const char* name : {"violation", "evaluations", "reason", "active"}) head.push_back(name);
  std::string text = csvLine(head);
  for (const SweepPoint& point : points) {
    std::vector<std::string> cells;
    for (const double at : point.at) cells.push_back(csvNumber(at));
    const Outcome outcome = point.outcome.value_or(Outcome{});
    const auto flag = [&](bool value) { return point.outcome ? (value ? "1" : "0") : ""; };
    cells.push_back(flag(outcome.success));
    cells.push_back(flag(outcome.feasible));
    cells.push_back(outcome.objective ? csvNumber(outcome.objective->value) : "");
    for (std::size_t i = 0; i < problem.variables.size(); ++i)
      cells.push_back(outcome.objective ? csvNumber(outcome.variables[i].value) : "");
    for (std::size_t j = 0; j < problem.constraints.size(); ++j)
      cells.push_back(outcome.objective ? csvNumber(outcome.constraints[j].value) : "");
    cells.push_back(outcome.violation ? csvNumber(*outcome.violation) : "");
    cells.push_back(outcome.evaluations ? std::to_string(*outcome.evaluations) : "");
    cells.push_back(outcome.error.empty() ? outcome.reason : outcome.error);
    cells.push_back(activeOf(outcome));
    text += csvLine(cells);
  }
  return text;
}

Json jsonOf(const std::vector<Axis>& axes, const SweepResult& result) {
  Json all;
  all["version"] = 1;
  all["command"] = "sweep";
  all["over"] = namesOf(axes);
  all["points"] = Json::array();
  for (const SweepPoint& point : result.points) {
    Json entry;
    entry["at"] = Json::array();
    for (const double at : point.at) entry["at"].push_back(exact(at));
    if (point.outcome) entry["outcome"] = toJson(*point.outcome);
    all["points"].push_back(std::move(entry));
  }
  all["runs"] = result.runs;
  all["replayed"] = result.replayed;
  all["seconds"] = result.seconds;
  return all;
}

int exitOf(const SweepResult& result) {
  if (result.signal != 0) {
    std::cerr << "Interrupted; the same command continues, and repeats no run\n";
    return 128 + result.signal;
  }
  int code = exitSolved;
  for (const SweepPoint& point : result.points) {
    if (!point.outcome->error.empty()) return exitEvaluation;
    if (!point.outcome->success) code = exitNotSolved;
  }
  return code;
}

}  // namespace

int commandSweep(const ProblemArguments& arguments, const std::vector<std::string>& over,
                 const StudyOptions& options, bool json) {
  std::vector<Axis> axes;
  axes.reserve(over.size());
  for (const std::string& text : over) axes.push_back(axisOf(text));
  if (axes.size() > 2) throw Failure(exitBadProblem, "--over can be given once or twice");
  const auto onPoint = [&](const SweepPoint& point) {
    if (options.progress == ProgressStyle::none) return;
    std::string line = " ";
    for (std::size_t a = 0; a < axes.size(); ++a)
      line += " " + axes[a].name + " " + rounded(point.at[a]);
    if (point.outcome->objective)
      line +=
          "  " + point.outcome->objective->name + " " + rounded(point.outcome->objective->value);
    std::cerr << line << "  " << stateOf(point.outcome) << "\n" << std::flush;
  };
  const SweepResult result =
      sweep(arguments.file, arguments.output, arguments.overrides, axes, options, onPoint);
  const ProblemFile problem = Setup(arguments.file, arguments.overrides, false).problem;
  const Places places = studyPlaces(arguments.file, arguments.output, "sweep");
  const std::string chart = places.report.string().substr(0, places.report.string().size() - 3);
  writeTextFile(places.report, csvText(problem, axes, result.points));
  writeTextFile(chart + "svg", sweepChart(problem, axes, result.points));
  if (json) {
    std::cout << dumped(jsonOf(axes, result), 2) << "\n";
    return exitOf(result);
  }
  std::cout << (problem.title.empty() ? problem.file.filename().string() : problem.title) << ": "
            << result.points.size() << " points";
  if (problem.command) {
    std::cout << ", " << result.runs << " runs of the command";
    if (result.replayed > 0) std::cout << ", " << result.replayed << " from the history";
    std::cout << ", " << rounded(result.seconds, 3) << " s";
  }
  std::cout << "\n\n"
            << tableText(problem, axes, result.points)
            << "\nTable and chart: " << places.report.string() << ", " << chart << "svg\n";
  return exitOf(result);
}

}  // namespace tarnix::cli
