// The external command of a problem: what a run gets, how it is started, what is read from it.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "problem/model.h"
#include "problem/text_template.h"
#include "run/output_reader.h"
#include "run/process.h"

namespace tarnix::cli {

// One running process.
struct Run {
  long number = 0;
  std::vector<double> x;
  int attempt = 1;
  std::filesystem::path directory;            // in the scratch directory until it is kept
  int slot = 0;                               // its place among the runs side by side
  pid_t process = -1;                         // none: it has ended, and its results are waited for
  Clock::time_point started, looked;          // at the size of its output
  std::optional<Clock::time_point> deadline;  // of its time, of the grace, or of the results
  std::string ending;                         // why it was asked to end; empty: it was not
};

// One finished run. Without a reason it has succeeded.
struct RunOutcome {
  std::vector<double> results;
  std::string reason;
  std::string lastErrors;  // the end of its standard error, lines indented
  double seconds = 0;
};

class Simulator {
 public:
  // Compiles the templates; their faults are added to issues.
  Simulator(const ProblemFile& problem, Model& model, Issues& issues);
  ~Simulator();
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  // Names the directory that run directories are made in, and gets ready to start processes.
  void open(const std::filesystem::path& runsDirectory);

  // Starts a run with the first number from this one on whose directory is free. NoteStart is
  // called of the number before the directory is made.
  Run start(long number, std::span<const double> x, int attempt,
            const std::function<void(long)>& noteStart = {});
  // Empty while it runs, or its results may still come. Ends it when its time is over, or its
  // output grows beyond the limit. Of a run that is kept the directory stays, whatever the file
  // says.
  std::optional<RunOutcome> finished(Run& run, bool keep = false);
  // Removes what a kill has left of a run.
  void sweep(long number) const;
  // Ends runs whose results are no longer needed, and removes their directories. A second signal
  // to the program cuts the grace short.
  void abandon(const std::vector<Run*>& unwanted);

  // Names of variables and quantities that words or templates hold.
  std::vector<std::string> filledIn() const;

  // What would run at a design: words, filled files and what is added to the environment, for the
  // user to look at.
  struct Preview {
    struct File {
      std::string name, text;
      std::vector<int> lines;  // that hold a place, from 1 on
      bool operator==(const File& other) const { return text == other.text; }
    };
    std::vector<std::string> words, environment;
    std::vector<File> files;
  };
  Preview preview(std::span<const double> x);

  // All numbers that a run at a design is given, as they are written.
  std::string given(std::span<const double> x) const;

 private:
  struct Filled {
    std::string to;
    TextTemplate text;
  };
  std::vector<std::string> texts(long number, int slot) const;
  std::vector<std::string> commandWords(std::span<const double> numbers,
                                        const std::vector<std::string>& names) const;
  LaunchPlan planOf(const Run& run) const;
  void fillDirectory(const Run& run) const;
  void supply(const SuppliedFile& file, const Run& run) const;
  bool hasEnded(Run& run, RunOutcome& outcome);
  void look(Run& run);
  void askToEnd(Run& run, const std::string& reason);
  bool outputTooLarge(const Run& run) const;
  static std::string lastErrorLines(const Run& run);
  void leaveDirectory(Run& run, bool keep);

  const ProblemFile& problem;
  const Command& command;
  Model& model;
  std::vector<TextTemplate> words;  // of launcher and command
  std::vector<Filled> templates, environment;
  OutputReader reader;
  std::filesystem::path runs, place;  // where directories are kept, where they are made
  std::vector<bool> slots;            // taken ones
  std::unique_ptr<ProcessTrees> trees;
};

// Name of a run's directory: its number in six digits or more.
std::string runName(long number);

}  // namespace tarnix::cli
