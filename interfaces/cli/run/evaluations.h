// Answers the solve's evaluations: from memory, by the expressions, or by running the command, the
// designs of a gradient pass side by side.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "problem/model.h"
#include "run/advice.h"
#include "run/history.h"
#include "run/judgement.h"
#include "run/simulator.h"

namespace tarnix::cli {

// A limit of the options: the next evaluation is not begun.
struct LimitReached {
  std::string option;  // max_evaluations or max_seconds
};

// What replaces the values of a failed run when the failure policy says continue.
std::vector<double> penaltiesOf(const ProblemFile& problem);

class Evaluations {
 public:
  struct Counts {
    long asked = 0;      // by the solve
    long finished = 0;   // evaluations or runs that gave values, by this start of the program
    long replayed = 0;   // designs known from the history
    long failed = 0;     // runs without values
    long total = 0;      // evaluations or runs of the whole solve, those of the history too
    double seconds = 0;  // of all runs that gave values
  };

  Evaluations(const ProblemFile& problem, Model& model, Simulator* simulator, History* history,
              int jobs, bool retryFailed = false);
  ~Evaluations();
  Evaluations(const Evaluations&) = delete;
  Evaluations& operator=(const Evaluations&) = delete;

  using Designs = std::vector<std::vector<double>>;

  // Objective and constraints at designs, each as in at. They are begun in their order, as many
  // side by side as there are jobs, whatever that number: the same ones.
  std::vector<std::vector<double>> atAll(const Designs& designs);

  // Takes in the runs that have ended, and begins those of designs that are not known, in their
  // order, while fewer than so many are running. True when all are known; nothing is waited for.
  // Among others: runs of another command are side by side with these.
  bool advance(const Designs& designs, int most, bool amongOthers = false);
  // The last design that was begun among others; empty when there is none.
  const std::vector<double>& besideOthers() const { return amongOthersLast; }
  // Throws LimitReached when none may be begun.
  void keepLimits();
  // Of a design that is known: as at, and what the command gave.
  std::vector<double> answer(std::span<const double> x);
  std::vector<double> resultsAt(std::span<const double> x) const;

  // Objective and constraints at a design; penalties where a run has failed and the policy says
  // continue. Throws Failure when the policy says stop, LimitReached, Interrupted on a signal.
  std::vector<double> at(std::span<const double> x);

  // Runs a design once more, alone, and keeps its directory. Its record, with values unless it has
  // failed.
  Record repeat(std::span<const double> x, std::filesystem::path& directory);

  // Runs designs once more, side by side, into the history.
  void repeatAll(const Designs& designs);

  // As many runs of one design side by side as there are jobs, outside the history.
  std::vector<Record> copies(std::span<const double> x);

  // Best of the designs measured in the box: a feasible one before others, then the better
  // objective.
  const std::optional<BestDesign>& best() const { return bestSeen; }
  const Counts& counts() const { return count; }
  // Under way, with those that wait to be repeated too.
  int running() const { return static_cast<int>(runs.size() + retries.size()); }

  // Objective and constraints of the design measured last; empty before the first.
  const std::vector<double>& latest() const { return latestValues; }

  // Of the designs that were measured, or known from the history.
  const NotFinite& notFinite() const { return spoiled; }

  // Why the run of a design has failed; empty when it was measured.
  std::string failureAt(std::span<const double> x) const;
  // Whether a run has failed that is no farther away than this in each variable.
  bool failureNear(std::span<const double> x, std::span<const double> reach) const;
  const std::string& lastFailure() const { return latestFailure; }

  std::function<void()> onChange;  // after every finished evaluation
  std::function<void()> onTick;    // now and then while runs are waited for

 private:
  using Key = std::string;  // the bytes of a design: equal bits, equal design
  struct Known {
    std::vector<double> values;
    std::string failed;
    std::vector<double> results{};  // of the command
  };
  static Key keyOf(std::span<const double> x);

  void replay(bool retryFailed);
  bool limitReached() const;
  struct Retry {  // a run to be repeated, not before a time
    std::vector<double> x;
    int attempt;
    Clock::time_point from;
  };

  std::vector<Record> repeated(const Designs& designs);
  Record recordOf(const Run& run, const RunOutcome& outcome) const;
  std::string failureText(const Run& run, const RunOutcome& outcome) const;
  void compute(std::span<const double> x);
  void runAll(const Designs& designs);
  void startRun(std::span<const double> x, int attempt);
  bool isRunning(const Key& key) const;
  void wait();
  void collect();
  void beginRetries();
  void finish(const Run& run, const RunOutcome& outcome);
  void store(Record record);
  void note(const Record& record, const Judged& judged);

  const ProblemFile& problem;
  Model& model;
  Simulator* simulator;
  History* history;
  const int jobs;
  std::unordered_map<Key, Known> known;
  std::vector<Run> runs;
  std::vector<Retry> retries;
  long nextRun = 1;
  std::function<void(long)> noteStart;
  std::optional<BestDesign> bestSeen;
  NotFinite spoiled;
  std::vector<double> latestValues;
  std::vector<double> amongOthersLast;
  std::string latestFailure;
  const Clock::time_point begun = Clock::now();
  Counts count;
};

}  // namespace tarnix::cli
