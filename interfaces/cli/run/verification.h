// Runs that are repeated alone, and compared with what they gave in the solve: what runs do to each
// other, and what a command does not repeat, is found here.
#pragma once

#include <vector>

#include "output/outcome.h"
#include "run/evaluations.h"

namespace tarnix::cli {

class Verifier {
 public:
  Verifier(const ProblemFile& p, Model& m, Evaluations& e, const History& h)
      : problem(p), model(m), evaluations(e), history(h) {}

  // Differences count in units of the objective's scale, and of those of the constraints. A small
  // one is the command's own when it also differs from itself alone: then both agree.
  Verification compared(const Record& first, const Record& again, double scale);

  // Repeats designs whose runs were side by side. Says so where they give other results alone, and
  // give these again.
  void verifyRuns(const std::vector<Record>& runs, double scale, Verification& v);

  // The last run of a design in a list; null when there is none.
  static const Record* recordAt(const std::vector<Record>& records, const std::vector<double>& x);

 private:
  Record repeated(const std::vector<double>& x);

  const ProblemFile& problem;
  Model& model;
  Evaluations& evaluations;
  const History& history;
};

}  // namespace tarnix::cli
