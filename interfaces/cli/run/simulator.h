// The external command of a problem: what a run gets, how it is started, what is read from it.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "problem/model.h"
#include "run/output_reader.h"
#include "run/process.h"
#include "problem/text_template.h"

namespace tarnix::cli {

// One running process.
struct Run {
  long number = 0;
  std::vector<double> x;
  int attempt = 1;
  std::filesystem::path directory;
  pid_t process = -1;
  Clock::time_point started;
  std::optional<Clock::time_point> deadline;
};

// One finished run. Without a reason it has succeeded.
struct RunOutcome {
  std::vector<double> results;
  std::string reason;
  double seconds = 0;
};

class Simulator {
 public:
  // Compiles the templates; their faults are added to issues.
  Simulator(const ProblemFile& problem, Model& model, Issues& issues);

  // Names the directory that run directories are made in, and starts the guard of the processes.
  void open(const std::filesystem::path& runsDirectory);

  Run start(long number, std::span<const double> x, int attempt);
  // Empty while it runs. Ends it when its time is over.
  std::optional<RunOutcome> finished(Run& run);
  // Ends a run whose result is not wanted any more, and removes its directory.
  void abandon(Run& run);

  // What would run at a design: words and filled files, for the user to look at.
  struct Preview {
    std::vector<std::string> words;
    std::vector<std::pair<std::string, std::string>> files;
  };
  Preview preview(std::span<const double> x);

 private:
  struct Filled {
    std::string to;
    TextTemplate text;
  };
  std::vector<std::string> texts(long number) const;
  std::string lastErrorLine(const Run& run) const;
  void leaveDirectory(const Run& run, bool succeeded) const;

  const ProblemFile& problem;
  const Command& command;
  Model& model;
  std::vector<TextTemplate> words;
  std::vector<Filled> templates;
  OutputReader reader;
  std::filesystem::path runs;
  std::optional<GroupGuard> guard;
};

// Name of a run's directory: its number in six digits or more.
std::string runName(long number);

}  // namespace tarnix::cli
