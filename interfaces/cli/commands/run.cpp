#include <algorithm>
#include <cmath>
#include <iostream>
#include <sstream>

#include "base/numbers.h"
#include "base/text_table.h"
#include "commands/commands.h"

namespace tarnix::cli {

namespace {

// "a=3,b=4" as changes of the starts.
Overrides changesOf(const std::string& at) {
  Overrides changes;
  std::istringstream parts(at);
  for (std::string part; std::getline(parts, part, ',');) changes.push_back(part);
  return changes;
}

std::string valuesTable(const ProblemFile& problem, const Outcome& outcome, const Record& record) {
  TextTable rows("lrl");
  for (const VariableOutcome& v : outcome.variables) rows.row({v.name, rounded(v.value), v.unit});
  rows.row({"", "", ""});
  for (std::size_t i = 0; i < record.results.size(); ++i)
    rows.row({problem.results[i].name, rounded(record.results[i]), "result"});
  rows.row({outcome.objective->name, rounded(outcome.objective->value), outcome.objective->unit});
  for (const ConstraintOutcome& c : outcome.constraints)
    rows.row({c.name, rounded(c.value),
              (c.unit.empty() ? "" : c.unit + "  ") + limitText(c.min, c.max) +
                  (c.violation > outcome.tolerance ? ", VIOLATED" : "")});
  return rows.text();
}

// A reason with the place of the run before the last lines of its standard error.
std::string withPlace(const std::string& reason, const std::filesystem::path& directory) {
  const std::size_t lines = std::min(reason.find('\n'), reason.size());
  const bool said = lines < reason.size();
  return reason.substr(0, lines) + "; see " + directory.string() +
         (said ? "/stderr.txt, which ends with" : "") + reason.substr(lines);
}

}  // namespace

int commandRun(const ProblemArguments& arguments, const std::string& at) {
  ProblemArguments changed = arguments;
  const bool named = at.find('=') != std::string::npos;
  if (named)
    for (const std::string& change : changesOf(at)) changed.overrides.push_back(change);
  Setup setup(changed.file, changed.overrides);
  const Places places(changed.file, changed.output);
  moveStart(setup, places, named ? "start" : at);
  const ProblemFile& problem = setup.problem;
  std::vector<double> x;
  for (const VariableEntry& v : problem.variables) x.push_back(v.start);

  Record record;
  std::filesystem::path directory;
  if (setup.simulator) {
    setup.simulator->open(places.runs / "single");
    record =
        Evaluations(problem, *setup.model, setup.simulator.get(), nullptr, 1).repeat(x, directory);
    if (!record.failed.empty()) throw Failure(exitEvaluation, withPlace(record.failed, directory));
  } else {
    record.x = x;
    record.values = setup.model->values(x, {});
  }
  const BestDesign design{x, record.values, violation(problem, record.values)};
  std::cout << valuesTable(problem, outcomeAt(problem, design, ""), record);
  if (!directory.empty())
    std::cout << "  " << rounded(record.seconds, 3) << " s in " << directory.string() << "\n";
  return std::isnan(design.violation) ? exitEvaluation : exitSolved;
}

}  // namespace tarnix::cli
