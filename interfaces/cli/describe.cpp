#include <cmath>
#include <set>

#include "commands.h"
#include "text_table.h"

namespace tarnix::cli {

namespace {

std::string range(const Variable& v) {
  if (v.lower == v.upper) return "fixed";
  return "in " + rounded(v.lower) + " .. " + rounded(v.upper);
}

std::string limits(const Constraint& c) {
  if (c.equality) return "= " + rounded(*c.max);
  if (c.min && c.max) return "in " + rounded(*c.min) + " .. " + rounded(*c.max);
  return c.max ? "<= " + rounded(*c.max) : ">= " + rounded(*c.min);
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
  for (const auto& file : command.files) text += "  with a copy of " + file.string() + "\n";
  text += "  and reads";
  for (const Result& r : setup.problem.results)
    text += (&r == &setup.problem.results[0] ? " " : ", ") + r.name + " from " +
            (r.file.empty() ? "standard output" : r.file);
  text += "\n  timeout: " + (command.timeout > 0 ? rounded(command.timeout) + " s" : "none");
  const char* const policies[] = {"the solve stops", "the run is repeated, then the solve stops",
                                  "the solve goes on with a penalty"};
  return text + "; when a run fails " + policies[static_cast<int>(command.onFailure)] + "\n";
}

}  // namespace

std::string describe(Setup& setup, const Places& places, bool run) {
  const Problem& problem = setup.problem;
  std::vector<double> start;
  for (const Variable& v : problem.variables) start.push_back(v.start);
  std::vector<double> values(setup.model->size(), std::nan(""));
  const bool known = run || !setup.simulator;
  if (known) {
    const std::filesystem::path trial = places.runs / "check";
    std::error_code ignored;
    if (setup.simulator) {
      std::filesystem::remove_all(trial, ignored);
      setup.simulator->open(trial);
    }
    values = Evaluations(problem, *setup.model, setup.simulator.get(), nullptr, 1).at(start);
    if (setup.simulator) std::filesystem::remove(trial, ignored);  // unless a run is kept there
  }
  const auto shown = [&](double value) { return known ? rounded(value) : std::string(); };

  const Objective& objective = problem.objective;
  std::string text = (problem.title.empty() ? problem.file.string() : problem.title) + "\n\n";
  TextTable table("lrll");
  table.row({"variable", "start", "unit", ""});
  for (const Variable& v : problem.variables)
    table.row({v.name, rounded(v.start), v.unit, range(v)});
  table.row({"", "", "", ""});
  table.row({"function", known ? "at the start" : "", "unit", ""});
  table.row({objective.name, shown(values[0]), objective.unit,
             std::string(objective.maximize ? "maximize " : "minimize ") + objective.value.text});
  for (std::size_t j = 0; j < problem.constraints.size(); ++j) {
    const Constraint& c = problem.constraints[j];
    table.row({c.name, shown(values[j + 1]), c.unit, limits(c) + "  with  " + c.value.text});
  }
  text += table.text();
  if (known && std::isnan(violation(problem, values)))
    text += "  WARNING: a value at the start is not finite\n";
  if (setup.simulator) text += commandText(setup, places, start);
  const Options& o = problem.options;
  text += "\nmethod " + o.method + ", tolerance " + rounded(o.tolerance) + ", " +
          (o.centralDifferences ? "central" : "forward") + " differences of " +
          rounded(o.differenceStep) + " half ranges\n";
  return text + "history: " + places.history.string() + "\n";
}

}  // namespace tarnix::cli
