// The file of finished evaluations: one JSON object per line, numbers in the shortest form that
// reads back to the same bits. A line is written whole, in one call, before the solve continues; it
// ends with a check of what precedes it.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "problem/problem.h"

namespace tarnix::cli {

struct Outcome;

// A finished evaluation.
struct Record {
  long run = 0;  // number of the run directory; 0 without a command
  std::vector<double> x;
  std::vector<double> results;  // of the command
  std::vector<double> values;   // objective, constraints
  std::string failed;           // reason, of an evaluation that the failure policy replaces
  double seconds = 0;
};

// A start of the program that wrote to the history.
struct Beginning {
  std::string version, date, host, command;
  Overrides set;
};

// An iteration of a method, behind so many records.
struct IterationMark {
  std::string method;
  int number = 0;
  std::size_t behind = 0;
};

// Its values belong to another state of the problem.
struct OtherState : Failure {
  using Failure::Failure;
};

class History {
 public:
  explicit History(std::filesystem::path path) : file(std::move(path)) {}
  ~History();
  History(History&& other) noexcept;
  History& operator=(const History&) = delete;

  // Begins a new file. Throws Failure rather than emptying a file that is no history.
  void create(const ProblemFile& problem);
  // Continues an existing one, from which it cuts a torn last line. Throws Failure when there is
  // none, or when it is damaged before its end, belongs to other values, or is in use.
  void resume(const ProblemFile& problem);
  // Only reads; nothing is locked or cut.
  void read(const ProblemFile& problem);

  // Changes of the command line that the last start of the program noted; none without a history.
  static Overrides overridesIn(const std::filesystem::path& path);

  // The design that a finished solve ended at, whatever the state of the problem; null without one.
  static std::unique_ptr<const Outcome> endIn(const std::filesystem::path& path);

  // True while another process writes to the file.
  static bool inUse(const std::filesystem::path& path);

  // Notes that a method has begun an iteration; once for those that a resume goes through again.
  void noteIteration(const std::string& method, int number);
  void noteBeginning(const Beginning& beginning);
  // Notes that a run is about to begin: its directory is this history's from then on.
  void noteStart(long run);
  // Notes that an attempt has failed that is made again.
  void noteFailedAttempt(long run);
  void append(const Record& record);
  // A run that repeats the final design, for comparison.
  void appendVerification(const Record& record);
  void appendEnd(const Outcome& outcome);

  const std::vector<Record>& records() const { return known; }
  const std::vector<Beginning>& beginnings() const { return begun; }
  const std::vector<IterationMark>& iterations() const { return marks; }
  const std::vector<Record>& verifications() const { return repeated; }
  // Pairs of measured designs whose runs were under way at the same time: the last one that gave
  // the same for different designs, as a file of both may, and the last one.
  std::vector<Record> sideBySide() const;
  // Numbers of the runs that were begun and have not come to their end.
  std::vector<long> cutShort() const;
  long lastRun() const { return highestRun; }
  // Runs that came to their end, attempts that failed and were repeated too.
  long finishedRuns() const;
  // Null when the solve has not come to its end.
  const Outcome* end() const { return lastEnd.get(); }
  const std::filesystem::path& path() const { return file; }

 private:
  void open(int flags);
  void writeHeader(const ProblemFile& problem);
  void write(std::string line);                   // with its last brace
  void store();                                   // on the disk itself
  std::size_t parse(const ProblemFile& problem);  // length of the whole lines
  void parseHeader(std::string_view line, const ProblemFile& problem) const;
  void parseLine(std::string_view line, const ProblemFile& problem);

  std::filesystem::path file;
  int descriptor = -1;
  std::vector<Record> known, repeated;
  std::vector<Beginning> begun;
  std::vector<IterationMark> marks;
  std::vector<long> started, failedAttempts;
  std::vector<long> course;  // numbers of runs as they begin, negative as they end; 0: all have
  long highestRun = 0;
  std::shared_ptr<const Outcome> lastEnd;
};

}  // namespace tarnix::cli
