// The external command of a problem: what a run gets, how it is started, what is read from it.
#pragma once

#include <functional>
#include <memory>
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
  std::optional<Clock::time_point> deadline;  // of its time, then of the grace
  std::string ending;                         // why it was asked to end; empty: it was not
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

  // Names the directory that run directories are made in, and gets ready to start processes.
  void open(const std::filesystem::path& runsDirectory);

  // Starts a run with the first number from this one on whose directory is free. NoteStart is told
  // of the number before the directory is made.
  Run start(long number, std::span<const double> x, int attempt,
            const std::function<void(long)>& noteStart = {});
  // Empty while it runs. Ends it when its time is over, or its output grows beyond the limit. Of a
  // run that is kept the directory stays, whatever the file says.
  std::optional<RunOutcome> finished(Run& run, bool keep = false);
  // Ends runs whose results are not wanted any more, and removes their directories. A second signal
  // to the program cuts the grace short.
  void abandon(std::vector<Run*> unwanted);

  // Names of variables and quantities that words or templates hold.
  std::vector<std::string> filledIn() const;

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
  LaunchPlan planOf(const Run& run) const;
  void fillDirectory(const Run& run) const;
  void askToEnd(Run& run, const std::string& reason);
  bool outputTooLarge(const Run& run) const;
  std::string lastErrorLines(const Run& run) const;
  void leaveDirectory(const Run& run, bool succeeded) const;

  const ProblemFile& problem;
  const Command& command;
  Model& model;
  std::vector<TextTemplate> words;
  std::vector<Filled> templates;
  OutputReader reader;
  std::filesystem::path runs;
  std::unique_ptr<ProcessTrees> trees;
};

// Name of a run's directory: its number in six digits or more.
std::string runName(long number);

}  // namespace tarnix::cli
