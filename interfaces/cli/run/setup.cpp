#include "run/setup.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <utility>

#include "base/numbers.h"
#include "base/text.h"
#include "output/outcome.h"
#include "run/history.h"
#include "run/judgement.h"
#include "run/layer.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

// The steps in which a command is given a variable, near the start, in half ranges: formats have
// few digits, and a double near a large number too. 0 where they are finer than anything matters.
class Resolution {
 public:
  static constexpr double never = 2;

  Resolution(const ProblemFile& p, const Simulator* s) : problem(p), simulator(s) {
    for (const VariableEntry& v : p.variables) x.push_back(v.start);
  }

  double of(std::size_t i) {
    const VariableEntry& v = problem.variables[i];
    const double half = (v.upper - v.lower) / 2;
    const double sign = v.start + half <= v.upper ? half : -half;  // into the box
    const double first = change(i, sign, 0);
    if (first == 0 || first == never) return first;
    const double second = change(i, sign, first);
    return second == never ? never : second - first;
  }

 private:
  std::string at(std::size_t i, double move) {
    const double start = std::exchange(x[i], x[i] + move);
    std::string text = simulator ? simulator->given(x) : shortest(x[i]);
    x[i] = start;
    return text;
  }

  // The first share of half the range behind one where another number is given.
  double change(std::size_t i, double half, double behind) {
    const std::string before = at(i, behind * half);
    constexpr double finest = 1e-10;
    double low = behind, high = behind + finest;
    for (double by = finest; at(i, high * half) == before; high = behind + by) {
      if (by > 1) return never;
      low = high, by *= 4;
    }
    if (low == behind && behind == 0) return 0;
    for (int k = 0; k < 12; ++k) {
      const double middle = low + (high - low) / 2;
      (at(i, middle * half) == before ? low : high) = middle;
    }
    return high;
  }

  const ProblemFile& problem;
  const Simulator* const simulator;
  std::vector<double> x;
};

// Notes the coarsest resolution, and warns where nothing, or not the step of the file, shows in it.
void findResolution(ProblemFile& problem, const Simulator* simulator, Issues& issues) {
  const std::vector<std::string> used =
      simulator ? simulator->filledIn() : std::vector<std::string>();
  for (std::size_t i = 0; i < problem.variables.size(); ++i) {
    const VariableEntry& v = problem.variables[i];
    if (v.lower == v.upper) continue;
    const bool named = !simulator || std::find(used.begin(), used.end(), v.name) != used.end();
    const double share = Resolution(problem, simulator).of(i), half = (v.upper - v.lower) / 2;
    if (!named && share == Resolution::never) continue;  // for expressions, which take all digits
    const double step = v.differenceStep.value_or(problem.options.differenceStep);
    constexpr double coarse = 1e-3;
    if (step > 0 && step < share)
      issues.warn(v.line, "variable '" + v.name + "': a difference step of " +
                              rounded(step * half, 3) +
                              " does not show in what the command is given; write more digits, or "
                              "raise difference_step");
    else if (share > coarse)
      issues.warn(v.line, "variable '" + v.name + "': the command is given it in steps of " +
                              rounded(share * half, 3) + "; write more digits");
    problem.options.resolution = std::max(problem.options.resolution, std::min(share, 1.0));
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
    findResolution(problem, simulator.get(), issues);
  }
  warnings = issues.text();
  if (!issues.empty()) throw Failure(exitBadProblem, warnings);
  if (warn && !warnings.empty()) std::cerr << warnings << "\n";
}

Setup::Setup(ProblemFile described) : problem(std::move(described)) {
  Issues none(problem.file.string());
  model = std::make_unique<Model>(problem, none);
}

namespace {

// Values of another state of the problem are not compared; where its solve ended may be a start.
bool moveToEnd(ProblemFile& problem, const fs::path& history) {
  const auto end = History::endIn(history);
  if (!end || !end->objective || end->variables.size() != problem.variables.size()) return false;
  for (std::size_t i = 0; i < problem.variables.size(); ++i)
    if (end->variables[i].name != problem.variables[i].name ||
        !std::isfinite(end->variables[i].value))
      return false;
  for (std::size_t i = 0; i < problem.variables.size(); ++i) {
    VariableEntry& v = problem.variables[i];
    v.start = std::clamp(end->variables[i].value, v.lower, v.upper);
  }
  return true;
}

}  // namespace

void moveStart(Setup& setup, const Places& places, const std::string& where) {
  if (where.empty() || where == "start") return;
  if (where != "best" && !fs::exists(where))
    throw Failure(exitFiles, "'" + clipped(where) + "' is neither start, best nor a history file");
  History history(where == "best" ? places.history : fs::path(where));
  try {
    history.read(setup.problem);
  } catch (const OtherState&) {
    if (moveToEnd(setup.problem, history.path())) return;
    throw;
  }
  std::optional<BestDesign> best;
  for (const Record& record : history.records()) {
    const Judged judged = judge(setup.problem, *setup.model, record);
    keepBest(setup.problem, record, judged, best);
    // Near an optimum of zero the value at the start says nothing of the size of values: the scale
    // is that of the solve before.
    if (judged.measured && !setup.problem.objective.scale)
      setup.problem.objective.scale = typicalSize(judged.values[0]);
  }
  if (!best)
    throw Failure(exitFiles, history.path().string() + ": no measured design within the bounds");
  for (std::size_t i = 0; i < best->x.size(); ++i) setup.problem.variables[i].start = best->x[i];
}

Overrides goOnWith(const Places& places, const Overrides& overrides) {
  Overrides all = History::overridesIn(places.history);
  std::string shown;
  for (const std::string& change : all) shown += " --set " + clipped(change);
  if (!all.empty()) std::cerr << "As the history was started:" << shown << "\n";
  for (const std::string& change : overrides) {
    const std::string name = change.substr(0, change.find('=') + 1);
    std::erase_if(all, [&](const std::string& earlier) { return earlier.starts_with(name); });
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
    aside = std::string(stem).append(".").append(std::to_string(number)).append(extension);
  fs::rename(path, aside, error);
  if (error) throw Failure(exitFiles, path.string() + ": cannot be renamed: " + error.message());
  std::cerr << "Of the earlier solve: " << aside.string() << "\n";
  return aside;
}

// An empty one is no loss. A link leads to where the user has room: it stays, and so does what is
// there, for a number that is taken is not used again.
void putRunsAside(const fs::path& runs) {
  std::error_code ignored;
  if (fs::is_symlink(runs, ignored)) return;
  if (!fs::remove(runs, ignored)) putAside(runs, ".runs");
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
    throw Failure(exitFiles,
                  places.history.string() +
                      ": an earlier solve did not come to its end. Continue with 'tarnix "
                      "resume', or start over with 'tarnix solve --fresh'");
  putAside(places.history, ".jsonl");
  putRunsAside(places.runs);
  putAside(places.best, ".best");
}

}  // namespace tarnix::cli
