#include "run/solve.h"

#include <unistd.h>

#include <tarnix/tarnix.h>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <iostream>
#include <new>
#include <optional>
#include <tarnix/tarnix.hpp>

#include "base/numbers.h"
#include "run/advice.h"
#include "run/catalogue.h"
#include "run/layer.h"
#include "run/layer_solve.h"
#include "run/shared_pool.h"
#include "run/verification.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

class Solve {
 public:
  Solve(Setup& s, const Places& p, const SolveOptions& o)
      : setup(s),
        problem(s.problem),
        options(o),
        places(p),
        history(openHistory()),
        evaluations(problem, *setup.model, setup.simulator.get(), &history, options.jobs,
                    options.retryFailed),
        progress(options.progress, problem, evaluations) {
    evaluations.onChange = [this] { progress.evaluated(); };
    if (options.progress == ProgressStyle::live) evaluations.onTick = evaluations.onChange;
  }

  Outcome run(int& exitCode) {
    Outcome outcome = attempt(exitCode);
    const bool ended = exitCode == exitSolved || exitCode == exitNotSolved;
    if (ended && setup.simulator && outcome.objective) verify(outcome, exitCode);
    progress.clear();
    if (!outcome.error.empty()) std::cerr << "error: " << outcome.error << "\n";
    addCounts(outcome);
    if (ended) history.appendEnd(outcome);
    return outcome;
  }

 private:
  History openHistory() {
    if (const fs::path directory = places.history.parent_path(); !directory.empty()) {
      std::error_code error;
      fs::create_directories(directory, error);
      if (error)
        throw Failure(exitFiles, directory.string() + ": cannot be made: " + error.message());
    }
    History opened(places.history);
    if (options.resume) {
      opened.resume(problem);
    } else {
      makeRoom(problem, places, options.fresh);
      opened.create(problem);
    }
    opened.noteBeginning(present());
    if (setup.simulator) {
      setup.simulator->open(places.runs);
      for (const long run : opened.cutShort()) setup.simulator->sweep(run);
    }
    return opened;
  }

  Beginning present() const {
    char date[32] = "", host[256] = "";
    const std::time_t now = std::time(nullptr);
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&now));
    gethostname(host, sizeof host - 1);
    return {VRK_VERSION_STRING, date, host, options.commandLine, problem.overrides};
  }

  Outcome attempt(int& exitCode) {
    try {
      const tarnix::Result result = callLayer();
      Outcome outcome = measured(result);
      challenge(result, outcome);
      judgeCatalogue(outcome);
      exitCode = outcome.success ? exitSolved : exitNotSolved;
      return outcome;
    } catch (const LimitReached& limit) {
      exitCode = exitNotSolved;
      Outcome outcome = cutShort("limit of " + limit.option);
      outcome.advice = (outcome.objective ? "This is the best design measured; raise " : "Raise ") +
                       limit.option + " in [options] and continue with 'tarnix resume'.";
      return outcome;
    } catch (const Interrupted& interrupted) {
      exitCode = 128 + interrupted.signal;
      return cutShort(std::string("interrupted: ") + strsignal(interrupted.signal));
    } catch (const Failure& failure) {
      exitCode = failure.code;
      Outcome outcome = cutShort("an evaluation failed");
      outcome.error = failure.what();
      return outcome;
    }
  }

  // Evaluates the start, which gives the objective its scale. The methods scale variables forth and
  // back, which changes last bits; a solve that ends after one evaluation asks for the design that
  // every solve asks for first.
  void evaluateStart() {
    std::vector<double> start;
    double value = 0;
    const auto analysis = [&](const Point& x, Values& values) {
      start.assign(x.begin(), x.end());
      const auto f = evaluations.at(start);
      std::copy(f.begin(), f.end(), values.begin());
      value = f[0];
    };
    tarnix::Options first = layerOptions(problem.options);
    first.maxEvaluations = 1;
    first.starts = 1;
    first.report = false;
    layerProblem(problem, 1).solve(analysis, first);
    if (start.empty()) throw std::bad_alloc();  // the method could not begin
    if (const std::string reason = evaluations.failureAt(start); !reason.empty())
      throw Failure(exitEvaluation,
                    "the start cannot be evaluated: " + reason +
                        "\n  when the cause is removed: tarnix resume --retry-failed");
    scale = problem.objective.scale.value_or(typicalSize(value));
  }

  tarnix::Result callLayer() {
    evaluateStart();
    tarnix::Options layer = layerOptions(problem.options);
    // Every start has its share, whichever comes first.
    const int most = problem.options.maxEvaluations;
    if (layer.starts > 1 && most > 0) {
      layer.maxEvaluations = most;
      setup.problem.options.maxEvaluations = 0;
    }
    tarnix::Result result =
        layer.starts > 1 && setup.simulator ? solveSideBySide(layer) : solveAlone(problem, layer);
    setup.problem.options.maxEvaluations = most;
    return hasCatalogue(problem) ? searched(result) : result;
  }

  tarnix::Result solveAlone(const ProblemFile& part, tarnix::Options layer) {
    layer.onIteration = [&](const tarnix::Progress& at) {
      iterated(layer.starts, at.start, name(at.method), at.iteration);
    };
    return solveLayer(part, scale, layer, [&](const Evaluations::Designs& designs) {
      return evaluations.atAll(designs);
    });
  }

  void iterated(int starts, int start, const std::string& nameOfMethod, int number) {
    method = nameOfMethod;
    iterations = number;
    history.noteIteration(method, iterations);
    progress.iterated((starts > 1 ? "start " + std::to_string(start) + ", " : "") + method, number);
  }

  // The solves of all starts in threads, which share the runs.
  tarnix::Result solveSideBySide(tarnix::Options layer) {
    SharedPool pool(options.jobs);
    pool.onTick = evaluations.onTick;
    layer.threads = std::min(layer.starts, options.jobs);
    layer.onIteration = [&](const tarnix::Progress& at) {
      pool.tell([this, &layer, start = at.start, word = name(at.method), number = at.iteration] {
        iterated(layer.starts, start, word, number);
      });
    };
    tarnix::Result result;
    pool.serve({[&] {
      result = solveLayer(problem, scale, layer, [&](const Evaluations::Designs& designs) {
        std::vector<std::vector<double>> values;
        for (SharedPool::Answer& answer : pool.ask(evaluations, designs))
          values.push_back(std::move(answer.values));
        return values;
      });
    }});
    return result;
  }

  tarnix::Result searched(const tarnix::Result& continuous) {
    tarnix::Options layer = layerOptions(problem.options);
    layer.starts = 1;
    CatalogueSearch found = searchCatalogue(
        problem, continuous, [&](const ProblemFile& part, const std::vector<double>& start) {
          layer.start = start;
          try {
            return solveAlone(part, layer);
          } catch (const LimitReached&) {
            throw BudgetEnded{};
          }
        });
    catalogue = std::move(found);
    return catalogue->result;
  }

  void judgeCatalogue(Outcome& outcome) const {
    if (!catalogue) return;
    if (!catalogue->found) {
      const Outcome continuous = outcome;
      outcome = outcomeAt(problem, evaluations.best(), "no design of the catalogue was found");
      outcome.advice = continuous.feasible
                           ? "Without the catalogue there are designs within the limits, so more "
                             "values, or another start, may give one."
                           : continuous.advice;
    } else {
      outcome.catalogue = {catalogue->proved, catalogue->continuous, catalogue->bound,
                           catalogue->solves};
    }
    if (catalogue->budgetEnded) {
      outcome.success = false;
      outcome.reason = "limit of runs or solves";
      outcome.advice =
          "This is the best design of the catalogue that was found; raise "
          "max_evaluations and continue with 'tarnix resume'.";
    }
  }

  // The outcome of the layer's result, but at the best design that was measured where that is
  // better; a penalty is never shown.
  Outcome measured(const tarnix::Result& solved) const {
    Outcome outcome = outcomeOf(problem, solved);
    outcome.advice = adviceFor(problem, solved, evaluations.notFinite());
    const auto& best = evaluations.best();
    const bool penalized = !evaluations.failureAt(solved.point.x).empty();
    const bool worse = best && !solved.feasible && !(solved.point.violation <= best->violation);
    if (penalized || worse) {
      Outcome other = outcomeAt(problem, best, outcome.reason);
      other.method = outcome.method, other.meaning = outcome.meaning;
      other.iterations = outcome.iterations, other.stages = outcome.stages;
      other.noise = outcome.noise, other.differenceStep = outcome.differenceStep;
      other.conflict = outcome.conflict;
      other.advice = penalized ? "The method came to its end where the run fails; this is the best "
                                 "design measured. Narrow the bounds to where the command works."
                               : outcome.advice;
      return other;
    }
    // Multipliers are differences of answers close by.
    std::vector<double> reach;
    for (std::size_t i = 0; i < problem.variables.size(); ++i) {
      constexpr double rounding = 1.000001;
      const double step = problem.variables[i].differenceStep.value_or(solved.differenceStep);
      reach.push_back(rounding * step * (solved.searchUpper[i] - solved.searchLower[i]) / 2);
    }
    if (evaluations.failureNear(solved.point.x, reach)) dropMultipliers(outcome);
    return outcome;
  }

  // Where no value moves with a variable, its slope is zero or the step of the differences too
  // small for the digits of the values: designs further away tell.
  void challenge(const tarnix::Result& result, Outcome& outcome) {
    if (!outcome.success || !result.report || !problem.command || catalogue) return;
    const std::vector<double>&x = result.point.x, &slopes = result.report->jacobian;
    constexpr double further = 0.01;  // half ranges
    Evaluations::Designs designs;
    for (std::size_t i = 0; i < x.size(); ++i) {
      const VariableEntry& v = problem.variables[i];
      bool moves = v.lower == v.upper;
      for (std::size_t k = i; k < slopes.size(); k += x.size()) moves = moves || slopes[k] != 0;
      for (const double side : {-further, further}) {
        designs.push_back(x);
        designs.back()[i] = std::clamp(x[i] + side * (v.upper - v.lower) / 2, v.lower, v.upper);
        if (moves || designs.back() == x) designs.pop_back();
      }
    }
    const double sign = problem.objective.maximize ? -1 : 1, value = result.objective();
    const auto all = evaluations.atAll(designs);
    if (std::none_of(all.begin(), all.end(), [&](const std::vector<double>& f) {
          return violation(problem, f) <= outcome.tolerance &&
                 sign * (f[0] - value) < -outcome.tolerance * scale;
        }))
      return;
    outcome.success = false;
    outcome.reason = "the differences do not show a slope";
    outcome.advice =
        "Close by are better designs: the values have too few digits for this difference_step; "
        "raise it, or leave it and the method to be chosen automatically.";
  }

  static void dropMultipliers(Outcome& outcome) {
    for (VariableOutcome& v : outcome.variables) v.multiplier = v.perPercent = {};
    for (ConstraintOutcome& c : outcome.constraints) c.multiplier = c.perPercent = {};
  }

  Outcome cutShort(const std::string& reason) const {
    Outcome outcome = outcomeAt(problem, evaluations.best(), reason);
    outcome.method = method;
    outcome.meaning = "ended early";
    outcome.iterations = iterations;
    outcome.advice = outcome.objective
                         ? "Below the best design so far; continue with 'tarnix resume'."
                         : "Continue with 'tarnix resume'.";
    return outcome;
  }

  // Runs the final design once more, alone, and after a solve with jobs side by side a few of these
  // too.
  void verify(Outcome& outcome, int& exitCode) {
    std::vector<double> x;
    for (const VariableOutcome& v : outcome.variables) x.push_back(v.value);
    const Record* first = Verifier::recordAt(history.records(), x);
    if (!first) return;
    try {
      Verifier verifier(problem, *setup.model, evaluations, history);
      const std::vector<Record> runs = history.sideBySide();
      Verification v = verifier.compared(*first, finalRun(x), scale);
      if (problem.command->keep != Keep::none) v.directory = places.best.string();
      if (v.agrees) verifier.verifyRuns(runs, scale, v);
      conclude(v, outcome, exitCode);
    } catch (const Interrupted& interrupted) {
      exitCode = 128 + interrupted.signal;
      outcome.success = false;
      outcome.reason = std::string("interrupted: ") + strsignal(interrupted.signal);
    }
  }

  // The run that verifies a design, which leaves its directory; made before a resume, it counts.
  Record finalRun(const std::vector<double>& x) {
    const Record* again = Verifier::recordAt(history.verifications(), x);
    std::error_code error;
    if (again && fs::exists(places.best, error)) return *again;
    fs::path directory;
    Record repeated = evaluations.repeat(x, directory);
    keepDirectory(directory);
    return repeated;
  }

  void keepDirectory(const fs::path& directory) const {
    std::error_code error;
    if (problem.command->keep == Keep::none) {
      fs::remove_all(directory, error);
      return;
    }
    putAside(places.best, ".best");
    fs::rename(directory, places.best, error);
    if (error)
      throw Failure(exitFiles, places.best.string() + ": cannot be made: " + error.message());
  }

  static void conclude(Verification v, Outcome& outcome, int& exitCode) {
    if (!v.agrees) {
      if (outcome.success)
        outcome.reason = v.reason.empty() ? "the final design does not repeat" : v.reason;
      outcome.success = false;
      outcome.advice =
          "The command gives other results for the same design; no optimum can be "
          "trusted before the cause is found.";
      exitCode = exitNotSolved;
    } else if (!v.same) {
      v.text += "; that is within the tolerance";
    }
    outcome.verification = std::move(v);
  }

  void addCounts(Outcome& outcome) const {
    const Evaluations::Counts& count = evaluations.counts();
    outcome.evaluations = count.asked;
    if (setup.simulator) {
      outcome.runs = count.finished + count.failed;
      outcome.failed = count.failed;
      outcome.lastFailure = evaluations.lastFailure();
    }
    outcome.replayed = count.replayed;
    outcome.seconds = std::chrono::duration<double>(Clock::now() - started).count();
  }

  const Clock::time_point started = Clock::now();
  Setup& setup;
  const ProblemFile& problem;
  const SolveOptions& options;
  const Places& places;
  double scale = 1;  // of the objective
  std::optional<CatalogueSearch> catalogue;
  std::string method;
  int iterations = 0;
  History history;
  Evaluations evaluations;
  ProgressLine progress;
};

}  // namespace

Outcome solve(Setup& setup, const Places& places, const SolveOptions& options, int& exitCode) {
  return Solve(setup, places, options).run(exitCode);
}

}  // namespace tarnix::cli
