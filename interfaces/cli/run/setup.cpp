#include "run/setup.h"

#include <algorithm>
#include <iostream>

#include "base/numbers.h"
#include "base/text.h"
#include "run/history.h"
#include "run/judgement.h"
#include "run/layer.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

// A step of the differences that a template's format or rounding swallows gives differences of
// zero.
void warnSwallowedSteps(const ProblemFile& problem, Simulator& simulator, Issues& issues) {
  std::vector<double> x;
  for (const VariableEntry& v : problem.variables) x.push_back(v.start);
  const Simulator::Preview start = simulator.preview(x);
  const std::vector<std::string> used = simulator.filledIn();
  for (std::size_t i = 0; i < x.size(); ++i) {
    const VariableEntry& v = problem.variables[i];
    if (v.lower == v.upper || std::find(used.begin(), used.end(), v.name) == used.end()) continue;
    const double step =
        v.differenceStep.value_or(problem.options.differenceStep) * (v.upper - v.lower) / 2;
    x[i] = v.start + step;
    const Simulator::Preview moved = simulator.preview(x);
    x[i] = v.start;
    if (moved.words == start.words && moved.files == start.files &&
        moved.environment == start.environment)
      issues.warn(v.line, "variable '" + v.name + "': a difference step of " + rounded(step, 3) +
                              " does not show in what the command is given; write more digits, or "
                              "raise difference_step");
  }
}

}  // namespace

Setup::Setup(const fs::path& file, const Overrides& overrides, bool warn) {
  Issues issues(file.string());
  problem = readProblem(file, issues, overrides);
  if (!problem.variables.empty()) {
    model = std::make_unique<Model>(problem, issues);
    if (problem.command) simulator = std::make_unique<Simulator>(problem, *model, issues);
  }
  if (issues.empty())
    for (const std::string& message : layerIssues(problem)) issues.add(0, message);
  if (issues.empty()) {
    model->warnUnused(simulator ? simulator->filledIn() : std::vector<std::string>(), issues);
    if (simulator) warnSwallowedSteps(problem, *simulator, issues);
  }
  warnings = issues.text();
  if (!issues.empty()) throw Failure(exitBadProblem, warnings);
  if (warn && !warnings.empty()) std::cerr << warnings << "\n";
}

Setup::Setup(ProblemFile described) : problem(std::move(described)) {
  Issues none(problem.file.string());
  model = std::make_unique<Model>(problem, none);
}

void moveStart(Setup& setup, const Places& places, const std::string& where) {
  if (where.empty() || where == "start") return;
  History history(where == "best" ? places.history : fs::path(where));
  history.read(setup.problem);
  std::optional<BestDesign> best;
  for (const Record& record : history.records())
    keepBest(setup.problem, record, judge(setup.problem, *setup.model, record), best);
  if (!best)
    throw Failure(exitFiles, history.path().string() + ": no measured design within the bounds");
  for (std::size_t i = 0; i < best->x.size(); ++i) setup.problem.variables[i].start = best->x[i];
}

Overrides goOnWith(const Places& places, const Overrides& overrides) {
  Overrides all = History::overridesIn(places.history);
  std::string told;
  for (const std::string& change : all) told += " --set " + clipped(change);
  if (!all.empty()) std::cerr << "As the history was begun:" << told << "\n";
  for (const std::string& change : overrides) {
    const std::string name = change.substr(0, change.find('=') + 1);
    std::erase_if(all, [&](const std::string& earlier) { return earlier.rfind(name, 0) == 0; });
    all.push_back(change);
  }
  return all;
}

Places::Places(const fs::path& file, const fs::path& output) {
  const fs::path directory = output.empty() ? file.parent_path() : output;
  const std::string stem = file.stem().string();
  history = directory / (stem + ".history.jsonl");
  runs = directory / (stem + ".runs");
  best = directory / (stem + ".best");
  report = directory / (stem + ".report.html");
}

fs::path putAside(const fs::path& path, const std::string& extension) {
  std::error_code error;
  if (!fs::exists(fs::symlink_status(path, error))) return {};
  const std::string whole = path.string(), stem = whole.substr(0, whole.size() - extension.size());
  fs::path aside;
  for (int number = 1; aside.empty() || fs::exists(fs::symlink_status(aside, error)); ++number)
    aside = stem + "." + std::to_string(number) + extension;
  fs::rename(path, aside, error);
  if (error) throw Failure(exitFiles, path.string() + ": cannot be renamed: " + error.message());
  std::cerr << "Of the earlier solve: " << aside.string() << "\n";
  return aside;
}

void makeRoom(const ProblemFile& problem, const Places& places, bool fresh) {
  std::string content;
  if (!problem.command || !readFile(places.history, content)) return;
  if (History::inUse(places.history))
    throw Failure(exitFiles, places.history.string() + ": another solve is writing to it");
  if (content.find("\n{\"run\":") == std::string::npos) return;
  const bool measured = content.find("\"r\":[") != std::string::npos;
  if (!fresh && !measured)
    return;  // nothing is lost; directories of failed runs stay where they are
  if (!fresh && content.find("\n{\"end\":") == std::string::npos)
    throw Failure(exitFiles, places.history.string() +
                                 ": an earlier solve did not come to its end. Go on with 'tarnix "
                                 "resume', or begin anew with 'tarnix solve --fresh'");
  putAside(places.history, ".jsonl");
  std::error_code ignored;
  if (!fs::remove(places.runs, ignored)) putAside(places.runs, ".runs");  // an empty one is no loss
  putAside(places.best, ".best");
}

}  // namespace tarnix::cli
