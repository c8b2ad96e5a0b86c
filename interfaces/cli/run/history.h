// The file of finished evaluations: one JSON object per line, numbers in the shortest form that
// reads back to the same bits. A line is written whole, in one call, before the solve goes on.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
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

class History {
 public:
  explicit History(std::filesystem::path path) : file(std::move(path)) {}
  ~History();
  History(History&& other) noexcept;
  History& operator=(const History&) = delete;

  // Begins a new file.
  void create(const ProblemFile& problem);
  // Goes on with an existing one, from which it cuts a torn last line; begins a new one when there
  // is none. Throws Failure when it is damaged before its end, belongs to other values, or is in
  // use.
  void resume(const ProblemFile& problem);
  // Only reads; nothing is locked or cut.
  void read(const ProblemFile& problem);

  // True while another process writes to the file.
  static bool inUse(const std::filesystem::path& path);

  void append(const Record& record);
  void appendEnd(const Outcome& outcome);

  const std::vector<Record>& records() const { return known; }
  // Null when the solve has not come to its end.
  const Outcome* end() const { return lastEnd.get(); }
  const std::filesystem::path& path() const { return file; }

 private:
  void open(int flags);
  void writeHeader(const ProblemFile& problem);
  void write(const std::string& line);
  std::size_t parse(const ProblemFile& problem);  // length of the whole lines

  std::filesystem::path file;
  int descriptor = -1;
  std::vector<Record> known;
  std::shared_ptr<const Outcome> lastEnd;
};

}  // namespace tarnix::cli
