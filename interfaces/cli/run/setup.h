// A problem that is ready to run, and the places of its files.
#pragma once

#include <filesystem>
#include <memory>

#include "problem/model.h"
#include "problem/problem.h"
#include "run/history.h"
#include "run/simulator.h"

namespace tarnix::cli {

// Throws Failure with every issue when the file has any; warnings go to standard error, and stay.
struct Setup {
  // Without warn warnings are not shown, for a file that is read again.
  explicit Setup(const std::filesystem::path& file, const Overrides& overrides = {},
                 bool warn = true);
  // Of a problem that is only described: nothing can be evaluated.
  explicit Setup(ProblemFile described);
  Setup(const Setup&) = delete;
  Setup& operator=(const Setup&) = delete;

  ProblemFile problem;
  std::string warnings;  // a line each
  std::unique_ptr<Model> model;
  std::unique_ptr<Simulator> simulator;  // null without a command
};

// Next to the problem file, or in a directory of the user's choice.
struct Places {
  Places(const std::filesystem::path& file, const std::filesystem::path& output);
  std::filesystem::path history, runs, best, report;
};

// Starts at another design: "start" for the file's own, "best" for the best one of the history, or
// the best one of the history file that is named. Of a history whose values belong to another state
// of the problem it is the design that its solve ended at, moved into the bounds.
void moveStart(Setup& setup, const Places& places, const std::string& where);

// The changes that a history was written with, then those of the command line; the former are
// shown.
Overrides goOnWith(const Places& places, const Overrides& overrides);

// Puts the history of an earlier solve that ran a command aside, and its directories, when it has
// come to its end or fresh is set; throws Failure otherwise.
void makeRoom(const ProblemFile& problem, const Places& places, bool fresh);

// Makes room for the directories of other runs.
void putRunsAside(const std::filesystem::path& runs);

// Renames a file or directory to the next free of NAME.1.EXTENSION, NAME.2.EXTENSION and so on,
// where it is there. Its new name.
std::filesystem::path putAside(const std::filesystem::path& path, const std::string& extension);

}  // namespace tarnix::cli
