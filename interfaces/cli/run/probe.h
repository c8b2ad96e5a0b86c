// What a command is like before it is optimized: does it repeat, how noisy is it, which difference
// steps suit it, how long does it take.
#pragma once

#include <string>
#include <vector>

#include "run/study.h"

namespace tarnix::cli {

// A result of the command, the objective or a constraint.
struct ProbedValue {
  std::string name;
  bool function = false;  // false: a result
  double value = 0;       // at the start
  double noise = 0;       // standard deviation, by repetition and by differences
};

struct ProbedVariable {
  std::string name;
  double step = 0;        // that balances noise and curvature, in half ranges, to one digit
  double slopeError = 0;  // to be expected there, relative to the slopes
};

struct Probe {
  std::vector<ProbedValue> values;
  std::vector<ProbedVariable> variables;     // free ones
  bool repeats = true;                       // alone
  bool repeatsBeside = true;                 // side by side, as alone
  int alone = 0, beside = 0;                 // runs of the start
  std::optional<Verification> verification;  // of other designs, that ran side by side
  long runs = 0, replayed = 0, failed = 0;
  std::string failure;                    // the first of those
  double seconds = 0, secondsBeside = 0;  // per run, medians
  int signal = 0;

  // Suggestions.
  double step = 0;       // of all variables
  double noise = 0;      // of the noisiest function, relative to its size or scale
  bool central = false;  // forward differences would have noticeable errors
  double tolerance = 0;  // as it is, or raised above the noise
};

// Runs of a command only. Throws Failure when the start itself fails.
Probe probe(Setup& setup, const Places& places, const StudyOptions& options);

// Seconds of a solve of so many iterations, for a number of jobs.
double secondsOfSolve(const Probe& probe, int iterations, int jobs);

}  // namespace tarnix::cli
