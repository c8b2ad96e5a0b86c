// A solve whose runs come from a pool that it shares with others: a point of a sweep.
#pragma once

#include <string>
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

  // Solves from a design, which is moved into the bounds; an empty one stands for the file's start.
  // When that is no success it solves from the file's start too, and the better end counts.
  Outcome from(const std::vector<double>& design);

 private:
  struct RunFailed {
    std::string reason;
  };
  std::vector<std::vector<double>> answers(const Evaluations::Designs& designs);
  Outcome solvedFrom(std::vector<double> start);

  ProblemFile& problem;
  Model& model;
  Evaluations* store;
  SharedPool& pool;
  std::optional<BestDesign> best;
  std::vector<std::vector<double>> penalized;  // designs whose runs have failed
  long asked = 0;
};

}  // namespace tarnix::cli
