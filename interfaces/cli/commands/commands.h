// What the subcommands do, one file each. They print to standard output, throw Failure for what
// ends them, and return the exit status.
#pragma once

#include <filesystem>

#include "run/designs.h"
#include "run/solve.h"
#include "run/study.h"

namespace tarnix::cli {

// What every command that reads a problem is given.
struct ProblemArguments {
  std::filesystem::path file, output;  // output: directory for the files, empty for the file's own
  Overrides overrides;
  std::string start;  // start, best or a history; empty: start
};

// Writes a commented problem file to begin with, with a command also a template and a small
// simulator; refuses to overwrite anything.
int commandInit(const std::filesystem::path& file, bool withCommand, const Overrides& overrides);

// Shows what a problem would run; with run also the values at the start, which so many runs side by
// side have to agree on.
int commandCheck(const ProblemArguments& arguments, bool run, int jobs, bool json);

// Evaluates one design, keeps its directory and shows the values. At: start, best, or "a=3,b=4".
int commandRun(const ProblemArguments& arguments, const std::string& at);

// Solves, or continues a solve.
int commandSolve(const ProblemArguments& arguments, const SolveOptions& options, bool json);

// Evaluates a plan of designs; their table, what each function goes with, and a CSV file.
int commandDoe(const ProblemArguments& arguments, const Plan& plan, const StudyOptions& options,
               bool json);

// Runs a command at the start and around it: does it repeat, how noisy is it, which steps suit it.
int commandProbe(const ProblemArguments& arguments, const StudyOptions& options, bool json);

// Solves with keys of the file at several values, NAME.KEY=FROM:TO:COUNT each: a trade-off curve,
// or a map of two.
int commandSweep(const ProblemArguments& arguments, const std::vector<std::string>& over,
                 const StudyOptions& options, bool json);

// Writes a history as CSV, or the designs of a CSV file evaluated.
struct TableOptions {
  std::filesystem::path history;  // empty: that of the solve
  std::filesystem::path designs;  // to be evaluated, instead
  std::filesystem::path to;       // empty: standard output
};
int commandTable(const ProblemArguments& arguments, const TableOptions& table,
                 const StudyOptions& options);

// Names of the limits that values violate, or that all hold.
std::string limitsText(const ProblemFile& problem, const std::vector<double>& values);
// How a study went, and its exit status.
std::string studyText(const StudyResult& result, bool command);
std::string verificationText(const std::optional<Verification>& verification);
int studyExit(const StudyResult& result);

// Writes one self-contained page about the history of a solve, or of several.
int commandReport(const ProblemArguments& arguments,
                  const std::vector<std::filesystem::path>& files);

}  // namespace tarnix::cli
