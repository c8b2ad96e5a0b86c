#include "run/solve.h"

#include <cstring>
#include <iostream>
#include <tarnix/tarnix.hpp>

#include "run/layer.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

class Solve {
 public:
  Solve(Setup& s, const Places& places, const SolveOptions& o)
      : setup(s), problem(s.problem), options(o), history(openHistory(places)),
        evaluations(problem, *setup.model, setup.simulator.get(), &history, options.jobs),
        progress(options.progress, problem, evaluations) {
    evaluations.onChange = [this] { progress.evaluated(); };
    if (options.progress == ProgressStyle::live) evaluations.onTick = evaluations.onChange;
  }

  Outcome run(int& exitCode) {
    Outcome outcome = attempt(exitCode);
    progress.clear();
    if (!outcome.error.empty()) std::cerr << "error: " << outcome.error << "\n";
    addBest(outcome);
    addCounts(outcome);
    if (exitCode == exitSolved || exitCode == exitNotSolved) history.appendEnd(outcome);
    return outcome;
  }

 private:
  History openHistory(const Places& places) {
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
    if (setup.simulator) {
      sweepRuns(places.runs, opened.records());
      setup.simulator->open(places.runs);
    }
    return opened;
  }

  Outcome attempt(int& exitCode) {
    try {
      const tarnix::Result solved = callLayer();
      exitCode = solved.success ? exitSolved : exitNotSolved;
      return outcomeOf(problem, solved);
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

  tarnix::Result callLayer() {
    double scale = problem.objective.scale.value_or(0);
    if (scale == 0) {
      std::vector<double> start;
      for (const VariableEntry& v : problem.variables) start.push_back(v.start);
      // The design that the method asks for first, so that this one is not evaluated in addition.
      const double value = evaluations.at(PassPrediction(problem).firstAsked(start))[0];
      scale = evaluations.lastFailed() ? 1 : typicalSize(value);
    }
    tarnix::Options layer = layerOptions(problem.options);
    layer.onIteration = [&](const tarnix::Progress& at) {
      progress.iterated(name(at.method), at.iteration);
    };
    const auto analysis = [&](const Point& x, Values& values) {
      const auto f = evaluations.at({x.data(), x.size()});
      std::copy(f.begin(), f.end(), values.begin());
    };
    return layerProblem(problem, scale).solve(analysis, layer);
  }

  Outcome cutShort(const std::string& reason) const {
    Outcome outcome = outcomeAt(problem, evaluations.best(), reason);
    outcome.advice = "Below the best design so far; go on with 'tarnix resume'.";
    return outcome;
  }

  void addBest(Outcome& outcome) const {
    const auto& best = evaluations.best();
    if (best && best->violation <= problem.options.tolerance && !outcome.feasible)
      outcome.bestFeasible = {best->values[0], best->violation, best->x};
  }

  void addCounts(Outcome& outcome) const {
    const Evaluations::Counts& count = evaluations.counts();
    outcome.evaluations = count.asked;
    if (setup.simulator) {
      outcome.runs = count.finished + count.failed;
      outcome.foreseen = count.foreseen;
      outcome.foreseenUsed = count.used;
    }
    outcome.replayed = count.replayed;
    outcome.seconds = std::chrono::duration<double>(Clock::now() - started).count();
  }

  const Clock::time_point started = Clock::now();
  Setup& setup;
  const ProblemFile& problem;
  const SolveOptions& options;
  History history;
  Evaluations evaluations;
  ProgressLine progress;
};

}  // namespace

Outcome solve(Setup& setup, const Places& places, const SolveOptions& options, int& exitCode) {
  return Solve(setup, places, options).run(exitCode);
}

}  // namespace tarnix::cli
