// A solve whose runs come from a pool that it shares with others: a point of a sweep.
#pragma once

#include <optional>
#include <string>
#include <tarnix/tarnix.hpp>
#include <vector>

#include "output/outcome.h"
#include "run/setup.h"
#include "run/shared_pool.h"

namespace tarnix::cli {

class PointSolve {
 public:
  // Store: null for formulas. The setup is this solve's own; the store's may be of another state of
  // the limits, as long as runs give the same.
  PointSolve(Setup& setup, Evaluations* runs, SharedPool& shared)
      : problem(setup.problem), model(*setup.model), store(runs), pool(shared) {}

  // Solves from the end of another solve, where one is given. When that is no success, or there is
  // none, it solves from the file's start, and the better end counts.
  struct End {
    tarnix::WarmStart warm;
    double scale;  // of the objective
  };
  Outcome from(const std::optional<End>& neighbor);
  // What the end tells a solve of a similar problem; absent where a limit does not hold.
  const std::optional<End>& end() const { return ended; }

 private:
  struct RunFailed {
    std::string reason;
  };
  std::vector<std::vector<double>> answers(const Evaluations::Designs& designs);
  Outcome solved(const End* neighbor);
  double scaleAtStart(tarnix::Options layer);

  ProblemFile& problem;
  Model& model;
  Evaluations* store;
  SharedPool& pool;
  std::optional<BestDesign> best;
  std::optional<End> ended;
  std::vector<std::vector<double>> penalized;  // designs whose runs have failed
  long asked = 0;
};

}  // namespace tarnix::cli
