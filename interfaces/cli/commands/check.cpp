#include <cmath>
#include <iostream>

#include "base/numbers.h"
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

std::string quoted(const std::string& word) {
  const bool plain =
      !word.empty() && word.find_first_of(" \t\n'\"\\$&;|<>*?()") == std::string::npos;
  return plain ? word : "'" + word + "'";
}

std::string indented(const std::string& text) {
  std::string result;
  std::size_t begin = 0;
  for (int line = 0; begin < text.size() && line < 20; ++line) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    result += "    | " + text.substr(begin, end - begin) + "\n";
    begin = end + 1;
  }
  return result + (begin < text.size() ? "    | ...\n" : "");
}

std::string commandText(Setup& setup, const Places& places, std::span<const double> start) {
  const Command& command = *setup.problem.command;
  const Simulator::Preview preview = setup.simulator->preview(start);
  std::string text = "\nEvery evaluation runs, in a new directory below " + places.runs.string() +
                     "; at the start:\n   ";
  for (const std::string& word : preview.words) text += " " + quoted(word);
  text += "\n";
  for (const auto& [name, content] : preview.files)
    text += "  with " + name + "\n" + indented(content);
  for (const SuppliedFile& file : command.files)
    text += (file.link ? "  with a link to " : "  with a copy of ") + file.from.string() + "\n";
  for (const std::string& variable : preview.environment)
    text += "  with " + variable + " in its environment\n";
  text += "  and reads";
  for (const ResultEntry& r : setup.problem.results)
    text += (&r == &setup.problem.results[0] ? " " : ", ") + r.name + " from " +
            (r.file.empty() ? "standard output" : r.file);
  text += "\n  timeout: " + (command.timeout > 0 ? rounded(command.timeout) + " s" : "none");
  const char* const policies[] = {"the solve stops", "the run is repeated, then the solve stops",
                                  "the solve goes on with a penalty"};
  return text + "; when a run fails " + policies[static_cast<int>(command.onFailure)] + "\n";
}

// What the same run gives beside itself has to be the same.
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

// Values at the start, by as many runs side by side as there are jobs.
std::vector<double> valuesAtStart(Setup& setup, const Places& places,
                                  const std::vector<double>& start, int jobs) {
  if (!setup.simulator) return setup.model->values(start, {});
  const std::filesystem::path trial = places.runs / "check";
  setup.simulator->open(trial);
  const std::vector<Record> records =
      Evaluations(setup.problem, *setup.model, setup.simulator.get(), nullptr, jobs).copies(start);
  std::error_code ignored;
  std::filesystem::remove(trial, ignored);  // unless a run is kept there
  compareSideBySide(setup.problem, records);
  return records[0].values;
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

}  // namespace

int commandCheck(const ProblemArguments& arguments, bool run, int jobs) {
  Setup setup(arguments.file, arguments.overrides);
  const Places places(arguments.file, arguments.output);
  moveStart(setup, places, arguments.start);
  const ProblemFile& problem = setup.problem;
  std::vector<double> start, values;
  for (const VariableEntry& v : problem.variables) start.push_back(v.start);
  if (run || !setup.simulator) values = valuesAtStart(setup, places, start, jobs);
  refuseNotFinite(problem, values);

  std::string text = (problem.title.empty() ? problem.file.string() : problem.title) + "\n\n" +
                     functionsText(problem, values);
  if (setup.simulator) text += commandText(setup, places, start);
  const OptionsTable& o = problem.options;
  text += "\nmethod " + o.method + ", tolerance " + rounded(o.tolerance) + ", " +
          (o.centralDifferences ? "central" : "forward") + " differences of " +
          rounded(o.differenceStep) + " half ranges\n";
  std::cout << text << "history: " << places.history.string() << "\n";
  return exitSolved;
}

}  // namespace tarnix::cli
