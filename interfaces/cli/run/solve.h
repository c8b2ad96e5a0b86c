// A solve from the problem to its outcome.
#pragma once

#include <string>

#include "output/outcome.h"
#include "output/progress_line.h"
#include "run/setup.h"

namespace tarnix::cli {

struct SolveOptions {
  int jobs = 1;
  bool resume = false;
  bool fresh = false;
  bool retryFailed = false;
  std::string commandLine;  // for the history
  ProgressStyle progress = ProgressStyle::lines;
};

// The outcome of a solve, of an interrupted one too; exitCode tells how it ended. What goes wrong
// is reported on standard error.
Outcome solve(Setup& setup, const Places& places, const SolveOptions& options, int& exitCode);

}  // namespace tarnix::cli
