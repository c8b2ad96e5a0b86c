#include <cmath>
#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "base/exact_json.h"
#include "base/numbers.h"
#include "base/text.h"
#include "base/text_table.h"
#include "commands/commands.h"

namespace tarnix::cli {

namespace {

std::string rangeText(const VariableEntry& v) {
  return v.lower == v.upper ? "fixed" : "in " + limitText(v.lower, v.upper);
}

std::string limitsOf(const ConstraintEntry& c) {
  return (c.min && c.max && !c.equality ? "in " : "") + limitText(c.min, c.max);
}

// The lines of a filled template that hold a value.
std::string linesOf(const Simulator::Preview::File& file) {
  constexpr std::size_t most = 20;
  std::istringstream content(file.text);
  std::string result, line;
  std::size_t shown = 0;
  for (int number = 1; std::getline(content, line) && shown < file.lines.size(); ++number) {
    if (number != file.lines[shown]) continue;
    if (++shown > most) break;
    char head[24];
    std::snprintf(head, sizeof head, "  %6d | ", number);
    result += head + clipped(line, 200) + "\n";
  }
  const auto left = file.lines.size() - std::min(most, file.lines.size());
  return result + (left > 0 ? "         | and " + std::to_string(left) + " lines more\n" : "");
}

// Where a result comes from, in the words of the file.
std::string sourceOf(const ResultEntry& r) {
  std::string rule = !r.key.empty()      ? "key '" + r.key + "'"
                     : !r.regex.empty()  ? "regex '" + r.regex + "'"
                     : !r.header.empty() ? "column '" + r.header + "'"
                     : !r.json.empty()   ? "json '" + r.json + "'"
                                         : "column " + std::to_string(r.column);
  static const char* const picks[] = {"", ", the first", ", the largest", ", the least",
                                      ", the sum"};
  rule += r.pick == Pick::number ? ", number " + std::to_string(r.pickNumber)
                                 : picks[static_cast<int>(r.pick)];
  if (!r.after.empty()) rule += ", after '" + clipped(r.after) + "'";
  return rule + " in " + (r.file.empty() ? "standard output" : r.file);
}

// Without a run there are no values.
std::string resultsText(const ProblemFile& problem, const std::optional<Record>& measured) {
  TextTable table("lrl");
  for (std::size_t i = 0; i < problem.results.size(); ++i)
    table.row({problem.results[i].name, measured ? rounded(measured->results[i]) : "",
               sourceOf(problem.results[i])});
  return table.text("    ");
}

std::string commandText(Setup& setup, const Places& places, std::span<const double> start,
                        const std::optional<Record>& measured) {
  const Command& command = *setup.problem.command;
  const Simulator::Preview preview = setup.simulator->preview(start);
  std::string text = "\nEvery evaluation runs, in a new directory below " + places.runs.string() +
                     "; at the start:\n   ";
  for (const std::string& word : preview.words) text += " " + shellWord(word);
  text += "\n";
  for (const auto& file : preview.files)
    text += "  with " + file.name + ", in which the values are at\n" + linesOf(file);
  for (const SuppliedFile& file : command.files)
    text += (file.link ? "  with a link to " : "  with a copy of ") + file.from.string() + "\n";
  for (const std::string& variable : preview.environment)
    text += "  with " + variable + " in its environment\n";
  text += "  and reads\n" + resultsText(setup.problem, measured);
  text += "  timeout: " + (command.timeout > 0 ? rounded(command.timeout) + " s" : "none");
  const char* const policies[] = {"the solve stops", "the run is repeated, then the solve stops",
                                  "the solve continues with a penalty"};
  text += std::string("; when a run fails ") + policies[static_cast<int>(command.onFailure)] + "\n";
  if (measured) text += "  the run took " + rounded(measured->seconds, 3) + " s\n";
  return text;
}

// What the same run gives side by side with itself has to be the same.
void compareSideBySide(const ProblemFile& problem, const std::vector<Record>& records) {
  for (const Record& record : records) {
    if (!record.failed.empty()) throw Failure(exitEvaluation, record.failed);
    for (std::size_t i = 0; i < record.results.size(); ++i)
      if (record.results[i] != records[0].results[i])
        throw Failure(exitNotSolved,
                      "the same design gave result '" + problem.results[i].name + "' as " +
                          shortest(records[0].results[i]) + " and as " +
                          shortest(record.results[i]) +
                          " in runs side by side: do they share a file, or is it noise?");
  }
}

// The start, by as many runs side by side as there are jobs.
Record runOfStart(Setup& setup, const Places& places, const std::vector<double>& start, int jobs) {
  const std::filesystem::path trial = places.runs / "check";
  setup.simulator->open(trial);
  const std::vector<Record> records =
      Evaluations(setup.problem, *setup.model, setup.simulator.get(), nullptr, jobs).copies(start);
  std::error_code ignored;
  std::filesystem::remove(trial, ignored);  // unless a run is kept there
  compareSideBySide(setup.problem, records);
  return records[0];
}

void refuseNotFinite(const ProblemFile& problem, const std::vector<double>& values) {
  Issues issues(problem.file.string());
  for (std::size_t j = 0; j < values.size(); ++j) {
    const Expression& e = j == 0 ? problem.objective.value : problem.constraints[j - 1].value;
    if (!std::isfinite(values[j]))
      issues.add(e.line, e.owner + ": it is not finite at the start: " + rounded(values[j]));
  }
  if (!issues.empty()) throw Failure(exitBadProblem, issues.text());
}

// Without values the column stays empty.
std::string functionsText(const ProblemFile& problem, const std::vector<double>& values) {
  const auto shown = [&](std::size_t j) { return values.empty() ? "" : rounded(values[j]); };
  const ObjectiveEntry& objective = problem.objective;
  TextTable table("lrll");
  table.row({"variable", "start", "unit", ""});
  for (const VariableEntry& v : problem.variables)
    table.row({v.name, rounded(v.start), v.unit, rangeText(v)});
  table.row({"", "", "", ""});
  table.row({"function", values.empty() ? "" : "at the start", "unit", ""});
  table.row({objective.name, shown(0), objective.unit,
             std::string(objective.maximize ? "maximize " : "minimize ") + objective.value.text});
  for (std::size_t j = 0; j < problem.constraints.size(); ++j) {
    const ConstraintEntry& c = problem.constraints[j];
    table.row({c.name, shown(j + 1), c.unit, limitsOf(c) + "  with  " + c.value.text});
  }
  return table.text();
}

std::vector<double> startOf(const ProblemFile& problem) {
  std::vector<double> start;
  for (const VariableEntry& v : problem.variables) start.push_back(v.start);
  return start;
}

Json linesAsJson(const std::string& text) {
  Json list = Json::array();
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) list.push_back(line);
  return list;
}

Json toJson(const Setup& setup, const std::vector<double>& values,
            const std::optional<Record>& measured) {
  const ProblemFile& problem = setup.problem;
  const std::vector<double> unknown(1 + problem.constraints.size());
  const std::vector<double>& f = values.empty() ? unknown : values;
  const Outcome outcome = outcomeAt(problem, BestDesign{startOf(problem), f, 0}, "");
  const Json shown = cli::toJson(outcome);
  Json json{{"version", 1}, {"problem", outcome.problem}, {"valid", true}};
  json["issues"] = linesAsJson(setup.warnings);
  json["variables"] = shown["variables"];
  for (const char* key : {"objective", "constraints"})
    if (!values.empty() && shown.contains(key)) json[key] = shown[key];
  if (!measured) return json;
  json["results"] = Json::array();
  for (std::size_t i = 0; i < problem.results.size(); ++i)
    json["results"].push_back(
        {{"name", problem.results[i].name}, {"value", exact(measured->results[i])}});
  json["seconds"] = measured->seconds;
  return json;
}

int check(const ProblemArguments& arguments, bool run, int jobs, bool json) {
  Setup setup(arguments.file, arguments.overrides);
  const Places places(arguments.file, arguments.output);
  moveStart(setup, places, arguments.start);
  const ProblemFile& problem = setup.problem;
  const std::vector<double> start = startOf(problem);
  std::optional<Record> measured;
  std::vector<double> values;
  if (!setup.simulator)
    values = setup.model->values(start, {});
  else if (run)
    values = (measured = runOfStart(setup, places, start, jobs))->values;
  refuseNotFinite(problem, values);
  if (json) {
    std::cout << dumped(toJson(setup, values, measured), 2) << "\n";
    return exitSolved;
  }
  std::string text = (problem.title.empty() ? problem.file.string() : problem.title) + "\n\n" +
                     functionsText(problem, values);
  if (setup.simulator) text += commandText(setup, places, start, measured);
  const OptionsTable& o = problem.options;
  text += "\nmethod " + o.method + ", tolerance " + rounded(o.tolerance) + ", " +
          (o.centralDifferences ? "central" : "forward") + " differences" +
          (o.differenceStep > 0 ? " of " + rounded(o.differenceStep) + " half ranges\n"
                                : ", step by the noise of the values\n");
  std::cout << text << "history: " << places.history.string() << "\n";
  return exitSolved;
}

}  // namespace

int commandCheck(const ProblemArguments& arguments, bool run, int jobs, bool json) {
  try {
    return check(arguments, run, jobs, json);
  } catch (const Failure& failure) {
    if (json)
      std::cout << dumped(
                       {{"version", 1}, {"valid", false}, {"issues", linesAsJson(failure.what())}},
                       2)
                << "\n";
    throw;
  }
}

}  // namespace tarnix::cli
