// A problem that is ready to run, and the places of its files.
#pragma once

#include <filesystem>
#include <memory>

#include "problem/model.h"
#include "problem/problem.h"
#include "run/history.h"
#include "run/simulator.h"

namespace tarnix::cli {

// Throws Failure with every issue when the file has any.
struct Setup {
  explicit Setup(const std::filesystem::path& file);
  Setup(const Setup&) = delete;
  Setup& operator=(const Setup&) = delete;

  ProblemFile problem;
  std::unique_ptr<Model> model;
  std::unique_ptr<Simulator> simulator;  // null without a command
};

// Beside the problem file, or in a directory of the user's choice.
struct Places {
  Places(const std::filesystem::path& file, const std::filesystem::path& output);
  std::filesystem::path history, runs, report;
};

// Puts the history of an earlier solve that ran a command aside, and its run directories, when it
// has come to its end or fresh is set; throws Failure otherwise.
void makeRoom(const ProblemFile& problem, const Places& places, bool fresh);

// Removes the directories of runs that a kill has cut short.
void sweepRuns(const std::filesystem::path& runs, const std::vector<Record>& records);

}  // namespace tarnix::cli
