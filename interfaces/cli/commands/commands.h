// What the subcommands do, one file each. They print to standard output, throw Failure for what
// ends them, and return the exit status.
#pragma once

#include <filesystem>

#include "run/solve.h"

namespace tarnix::cli {

// What every command that reads a problem is told.
struct ProblemArguments {
  std::filesystem::path file, output;  // output: directory for the files, empty for the file's own
  Overrides overrides;
  std::string start;  // start, best or a history; empty: start
};

// Writes a commented problem file to begin with; refuses to overwrite one.
int commandInit(const std::filesystem::path& file, bool withCommand);

// Shows what a problem would run; with run also the values at the start, which so many runs side by
// side have to agree on.
int commandCheck(const ProblemArguments& arguments, bool run, int jobs);

// Evaluates one design, keeps its directory and shows the values. At: start, best, or "a=3,b=4".
int commandRun(const ProblemArguments& arguments, const std::string& at);

// Solves, or goes on with a solve.
int commandSolve(const ProblemArguments& arguments, const SolveOptions& options, bool json);

// Writes one self-contained page about the history of a solve.
int commandReport(const ProblemArguments& arguments);

}  // namespace tarnix::cli
