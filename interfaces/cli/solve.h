// A solve from the problem to its result, which is one JSON object: printed as a table or as it is,
// written at the end of the history, and drawn by the report.
#pragma once

#include <filesystem>
#include <string>

#include "evaluations.h"
#include "history.h"
#include "model.h"
#include "problem.h"
#include "simulator.h"

namespace tarnix::cli {

// A problem that is ready to run. Throws Failure with every issue when the file has any.
struct Setup {
  explicit Setup(const std::filesystem::path& file);
  Setup(const Setup&) = delete;
  Setup& operator=(const Setup&) = delete;

  Problem problem;
  std::unique_ptr<Model> model;
  std::unique_ptr<Simulator> simulator;  // null without a command
};

// Where the files of a problem go: beside it, or in a directory of the user's choice.
struct Places {
  Places(const std::filesystem::path& file, const std::filesystem::path& output);
  std::filesystem::path history, runs, report;
};

enum class Progress { none, lines, live };

struct SolveOptions {
  int jobs = 1;
  bool resume = false;
  bool fresh = false;
  Progress progress = Progress::lines;
};

// The result of a solve, of an interrupted one too; exitCode tells how it ended. What goes wrong is
// told on standard error.
Json solve(Setup& setup, const Places& places, const SolveOptions& options, int& exitCode);

// The result as it would be if the solve ended at the best design of a history.
Json resultOfBest(const Problem& problem, const std::optional<BestDesign>& best,
                  const std::string& reason);

// Readable table of a result.
std::string resultTable(const Json& result);

}  // namespace tarnix::cli
