#include "solve.h"

#include <unistd.h>

#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <tarnix/tarnix.hpp>

#include "text_table.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

// ---- the problem in the words of the C++ layer -------------------------------------------------

tarnix::Problem layerProblem(const Problem& problem, double objectiveScale) {
  tarnix::Problem p;
  for (const Variable& v : problem.variables) p.variable(v.name, v.start, v.lower, v.upper);
  const Objective& objective = problem.objective;
  if (objective.maximize)
    p.maximize(objective.name, objectiveScale);
  else
    p.minimize(objective.name, objectiveScale);
  for (const Constraint& c : problem.constraints) {
    if (c.equality)
      p.equal(c.name, *c.max, c.scale);
    else if (c.min && c.max)
      p.between(c.name, *c.min, *c.max, c.scale);
    else if (c.max)
      p.atMost(c.name, *c.max, c.scale);
    else if (c.min)
      p.atLeast(c.name, *c.min, c.scale);
  }
  return p;
}

tarnix::Options layerOptions(const Options& options) {
  tarnix::Options o;
  o.method = options.method == "grg"   ? Method::grg
             : options.method == "sqp" ? Method::sqp
                                       : Method::automatic;
  o.tolerance = options.tolerance;
  o.differences = options.centralDifferences ? Differences::central : Differences::forward;
  o.differenceStep = options.differenceStep;
  o.keepInside = options.insideBounds;
  o.maxIterations = options.maxIterations;
  if (options.maxEvaluations > 0) o.maxEvaluations = options.maxEvaluations;
  if (options.maxSeconds > 0) o.maxTime = std::chrono::duration<double>(options.maxSeconds);
  o.target = options.target;
  return o;
}

// One significant digit of the objective at the start: the tolerance is relative to it.
double typicalSize(double value) {
  if (!std::isfinite(value) || value == 0) return 1;
  const double power = std::pow(10.0, std::floor(std::log10(std::abs(value))));
  const double size = std::round(std::abs(value) / power) * power;
  return std::isfinite(size) && size > 0 ? size : 1;
}

// ---- progress ----------------------------------------------------------------------------------

// On a terminal one line that is written again and again, elsewhere a line per iteration.
class ProgressLine {
 public:
  ProgressLine(Progress progressKind, const Problem& p, const Evaluations& e)
      : kind(progressKind), problem(p), evaluations(e) {}
  ~ProgressLine() { clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void evaluated() {
    if (kind == Progress::live && Clock::now() - shown > std::chrono::milliseconds(50)) show();
  }
  void iterated(const std::string& method, int number) {
    label = method + " " + std::to_string(number);
    if (kind == Progress::lines) std::cerr << text() << "\n";
    evaluated();
  }
  void clear() {
    if (shown != Clock::time_point{}) std::cerr << "\r\x1b[K" << std::flush;
    shown = {};
  }

 private:
  void show() {
    shown = Clock::now();
    std::cerr << "\r\x1b[K" << text() << std::flush;
  }
  std::string text() const {
    const auto& count = evaluations.counts();
    std::string line = "  " + label + "  evaluations " + std::to_string(count.asked);
    if (const auto& best = evaluations.best())
      line += "  " + problem.objective.name + " " + rounded(best->values[0]) + "  violation " +
              rounded(best->violation, 2);
    if (kind == Progress::live && problem.command)
      line += "  running " + std::to_string(evaluations.running());
    const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
    char time[32];
    std::snprintf(time, sizeof time, "  %.1f s", seconds);
    return line + time;
  }

  const Progress kind;
  const Problem& problem;
  const Evaluations& evaluations;
  std::string label = "start";
  const Clock::time_point started = Clock::now();
  Clock::time_point shown;
};

// ---- results -----------------------------------------------------------------------------------

Json resultOf(const Problem& problem, const tarnix::Result& r) {
  Json result = resultOfBest(problem, BestDesign{r.point.x, r.point.values, r.point.violation},
                             name(r.reason));
  result["success"] = r.success;
  result["feasible"] = r.feasible;
  result["method"] = name(r.method);
  result["status"] = r.status;
  result["meaning"] = r.meaning;
  result["advice"] = r.advice;
  result["iterations"] = r.iterations;
  result["stages"] = Json::array();
  for (const Stage& stage : r.stages)
    result["stages"].push_back({{"method", name(stage.settings.method)},
                                {"differences", name(stage.settings.differences)},
                                {"status", stage.status},
                                {"meaning", stage.meaning},
                                {"iterations", stage.iterations},
                                {"evaluations", stage.evaluations}});
  if (r.report)
    for (const ActiveLimit& limit : r.report->active) {
      if (limit.multiplier == 0) continue;
      for (const char* list : {"variables", "constraints"})
        for (Json& entry : result[list])
          if (entry.at("name") == limit.name) {
            entry["multiplier"] = exact(limit.multiplier);
            entry["per_percent"] = exact(limit.perPercent);
          }
    }
  return result;
}

void addBest(Json& result, const Problem& problem, const std::optional<BestDesign>& best) {
  if (!best || best->violation > problem.options.tolerance || result.value("feasible", false))
    return;
  result["best_feasible"] = {{"value", exact(best->values[0])},
                             {"violation", exact(best->violation)},
                             {"x", exact(best->x)}};
}

// ---- files of a solve --------------------------------------------------------------------------

// Renames a file or directory, NAME.EXTENSION to NAME.number.EXTENSION.
void putAside(const fs::path& path, const std::string& extension, int number) {
  std::error_code error;
  if (!fs::exists(path, error)) return;
  fs::path aside = path;
  aside.replace_extension();
  aside += "." + std::to_string(number) + extension;
  fs::rename(path, aside, error);
  if (error) throw Failure(exitFiles, path.string() + ": cannot be renamed: " + error.message());
  std::cerr << "Of the earlier solve: " << aside.string() << "\n";
}

// A history that cost runs of a command is put aside when it has come to its end, else not touched.
void makeRoom(const Problem& problem, const Places& places, bool fresh) {
  std::string content;
  if (!problem.command || !readFile(places.history, content)) return;
  if (History::inUse(places.history))
    throw Failure(exitFiles, places.history.string() + ": another solve is writing to it");
  if (content.find("\"f\":[") == std::string::npos) return;  // nothing that would be lost
  if (!fresh && content.find("\n{\"end\":") == std::string::npos)
    throw Failure(exitFiles, places.history.string() +
                                 ": an earlier solve did not come to its end. Go on with 'tarnix "
                                 "resume', or begin anew with 'tarnix solve --fresh'");
  const fs::path stem = fs::path(places.history).replace_extension();  // NAME.history
  int number = 1;
  while (fs::exists(fs::path(stem.string() + "." + std::to_string(number) + ".jsonl"))) ++number;
  putAside(places.history, ".jsonl", number);
  putAside(places.runs, ".runs", number);
}

// Directories of runs that a kill has cut short. Those of finished runs are named by the history.
void sweepRuns(const fs::path& runs, const std::vector<Record>& records) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(runs, error)) {
    const std::string name = entry.path().filename().string();
    if (name.size() < 6 || name.find_first_not_of("0123456789") != std::string::npos) continue;
    const bool recorded = std::any_of(records.begin(), records.end(),
                                      [&](const Record& r) { return runName(r.run) == name; });
    if (!recorded) fs::remove_all(entry.path(), error);
  }
}

}  // namespace

// ---- setup -------------------------------------------------------------------------------------

Setup::Setup(const fs::path& file) {
  Issues issues(file.string());
  problem = readProblem(file, issues);
  if (!problem.variables.empty()) {
    model = std::make_unique<Model>(problem, issues);
    if (problem.command) simulator = std::make_unique<Simulator>(problem, *model, issues);
  }
  if (issues.empty())
    for (const Issue& issue : layerProblem(problem, 1).check(layerOptions(problem.options)))
      issues.add(0, issue.message);
  if (!issues.empty()) throw Failure(exitBadProblem, issues.text());
}

Places::Places(const fs::path& file, const fs::path& output) {
  const fs::path directory = output.empty() ? file.parent_path() : output;
  const std::string stem = file.stem().string();
  history = directory / (stem + ".history.jsonl");
  runs = directory / (stem + ".runs");
  report = directory / (stem + ".report.html");
}

// ---- solve -------------------------------------------------------------------------------------

Json solve(Setup& setup, const Places& places, const SolveOptions& options, int& exitCode) {
  const auto started = Clock::now();
  const Problem& problem = setup.problem;
  if (const fs::path directory = places.history.parent_path(); !directory.empty()) {
    std::error_code error;
    fs::create_directories(directory, error);
    if (error)
      throw Failure(exitFiles, directory.string() + ": cannot be made: " + error.message());
  }
  History history(places.history);
  if (options.resume) {
    history.resume(problem);
  } else {
    makeRoom(problem, places, options.fresh);
    history.create(problem);
  }
  if (setup.simulator) {
    sweepRuns(places.runs, history.records());
    setup.simulator->open(places.runs);
  }

  Evaluations evaluations(problem, *setup.model, setup.simulator.get(), &history, options.jobs);
  ProgressLine progress(options.progress, problem, evaluations);
  evaluations.onChange = [&] { progress.evaluated(); };
  if (options.progress == Progress::live) evaluations.onTick = evaluations.onChange;
  Json result;
  std::string trouble;
  try {
    double scale = problem.objective.scale.value_or(0);
    if (scale == 0) {
      std::vector<double> start;
      for (const Variable& v : problem.variables) start.push_back(v.start);
      // The design that the method asks for first, so that this one is not evaluated in addition.
      const double value = evaluations.at(PassPrediction(problem).firstAsked(start))[0];
      scale = evaluations.lastFailed() ? 1 : typicalSize(value);
    }
    tarnix::Options layer = layerOptions(problem.options);
    layer.onIteration = [&](const tarnix::Progress& at) {
      progress.iterated(name(at.method), at.iteration);
    };
    const tarnix::Problem layered = layerProblem(problem, scale);
    const auto analysis = [&](const Point& x, Values& values) {
      const auto f = evaluations.at({x.data(), x.size()});
      std::copy(f.begin(), f.end(), values.begin());
    };
    const tarnix::Result solved = layered.solve(analysis, layer);
    result = resultOf(problem, solved);
    exitCode = solved.success ? exitSolved : exitNotSolved;
  } catch (const Interrupted& interrupted) {
    exitCode = 128 + interrupted.signal;
    result = resultOfBest(problem, evaluations.best(),
                          std::string("interrupted: ") + strsignal(interrupted.signal));
    result["advice"] = "Below the best design so far; go on with 'tarnix resume'.";
  } catch (const Failure& failure) {
    exitCode = failure.code;
    trouble = failure.what();
    result = resultOfBest(problem, evaluations.best(), "an evaluation failed");
    result["advice"] = "Below the best design so far; go on with 'tarnix resume'.";
  }
  progress.clear();
  if (!trouble.empty()) std::cerr << "error: " << trouble << "\n";
  if (!trouble.empty()) result["error"] = trouble;
  addBest(result, problem, evaluations.best());
  const Evaluations::Counts& count = evaluations.counts();
  result["tolerance"] = problem.options.tolerance;
  result["evaluations"] = count.asked;
  if (setup.simulator) {
    result["runs"] = count.finished + count.failed;
    result["foreseen"] = count.foreseen;
    result["foreseen_used"] = count.used;
  }
  result["replayed"] = count.replayed;
  result["seconds"] = std::chrono::duration<double>(Clock::now() - started).count();
  if (exitCode == exitSolved || exitCode == exitNotSolved) history.appendEnd(result);
  return result;
}

}  // namespace tarnix::cli
