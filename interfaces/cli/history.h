// The file of finished evaluations: one JSON object per line, numbers in the shortest form that
// reads back to the same bits. A line is written whole, in one call, before the solve goes on.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "problem.h"

namespace tarnix::cli {

using Json = nlohmann::ordered_json;

// A finished evaluation.
struct Record {
  long run = 0;  // number of the run directory; 0 without a command
  std::vector<double> x;
  std::vector<double> results;  // of the command
  std::vector<double> values;   // objective, constraints
  std::string failed;           // reason, of an evaluation that the failure policy replaces
  double seconds = 0;
};

// Fingerprint of everything that the recorded values follow from: with a command its words, files
// and results; without one the expressions. Bounds, limits and options may change on the way.
std::string fingerprint(const Problem& problem);

// JSON knows no infinities: they and NaN are texts.
Json exact(double value);
Json exact(const std::vector<double>& values);

class History {
 public:
  explicit History(std::filesystem::path path) : file(std::move(path)) {}
  ~History();
  History(const History&) = delete;
  History& operator=(const History&) = delete;

  // Begins a new file.
  void create(const Problem& problem);
  // Goes on with an existing one, from which it cuts a torn last line; begins a new one when there
  // is none. Throws Failure when it is damaged before its end, belongs to other values, or is in
  // use.
  void resume(const Problem& problem);
  // Only reads; nothing is locked or cut.
  void read(const Problem& problem);

  // True while another process writes to the file.
  static bool inUse(const std::filesystem::path& path);

  void append(const Record& record);
  void appendEnd(const Json& result);

  const std::vector<Record>& records() const { return known; }
  const Json& end() const { return lastEnd; }  // null when the solve has not come to its end
  bool ended() const { return !lastEnd.is_null(); }
  const std::filesystem::path& path() const { return file; }

 private:
  void open(int flags);
  void writeHeader(const Problem& problem);
  void write(const std::string& line);
  std::size_t parse(const Problem& problem);  // length of the whole lines

  std::filesystem::path file;
  int descriptor = -1;
  std::vector<Record> known;
  Json lastEnd;
};

}  // namespace tarnix::cli
