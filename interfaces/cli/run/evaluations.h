// Answers the solve's evaluations: from memory, by the expressions, or by running the command, with
// the difference points of a gradient pass side by side.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "problem/model.h"
#include "run/history.h"
#include "run/judgement.h"
#include "run/prediction.h"
#include "run/simulator.h"

namespace tarnix::cli {

class Evaluations {
 public:
  struct Counts {
    long asked = 0;     // by the solve
    long finished = 0;  // evaluations or runs that gave values, by this start of the program
    long replayed = 0;  // designs known from the history
    long foreseen = 0;  // runs that were started before the solve asked for them
    long used = 0;      // of those, the ones that it asked for
    long failed = 0;    // runs without values
  };

  Evaluations(const ProblemFile& problem, Model& model, Simulator* simulator, History* history,
              int jobs);
  ~Evaluations();
  Evaluations(const Evaluations&) = delete;
  Evaluations& operator=(const Evaluations&) = delete;

  // Objective and constraints at a design. Throws Failure when the policy says stop, Interrupted
  // on a signal.
  std::vector<double> at(std::span<const double> x);

  // Best design seen in the box: a feasible one before others, then the better objective.
  const std::optional<BestDesign>& best() const { return bestSeen; }
  const Counts& counts() const { return count; }
  int running() const { return static_cast<int>(runs.size()); }

  bool lastFailed() const { return lastAnswerFailed; }  // the last values of at are penalties

  std::function<void()> onChange;  // after every finished evaluation
  std::function<void()> onTick;    // now and then while runs are waited for

 private:
  using Key = std::string;  // the bytes of a design: equal bits, equal design
  struct Known {
    std::vector<double> values;
    std::string failed;
    bool foreseen = false;  // and not asked for yet
  };
  static Key keyOf(std::span<const double> x);

  void replay();
  void foresee(std::span<const double> x);
  void runUntilKnown(std::span<const double> x, const Key& key);
  void startRun(std::span<const double> x, int attempt, bool foreseen);
  void startAhead();
  bool slotFree() const { return static_cast<int>(runs.size()) < jobs; }
  bool isRunning(const Key& key) const;
  void collect();
  void finish(const Run& run, const RunOutcome& outcome, bool foreseen);
  void dropForeseen();
  void drop(const Key& key);
  void store(Record record, bool foreseen);
  std::vector<double> penalties() const;

  const ProblemFile& problem;
  Model& model;
  Simulator* simulator;
  History* history;
  const int jobs;
  PassPrediction prediction;
  std::unordered_map<Key, Known> known;
  std::deque<std::vector<double>> ahead;     // foreseen, not started yet
  std::deque<std::vector<double>> expected;  // foreseen, not asked for yet
  struct Started {
    Run run;
    Key key;
    bool foreseen;
  };
  std::vector<Started> runs;
  long nextRun = 1;
  std::optional<BestDesign> bestSeen;
  bool lastAnswerFailed = false;
  Counts count;
};

}  // namespace tarnix::cli
