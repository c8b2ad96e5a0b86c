// What a running solve shows on standard error: on a terminal one line that is written again and
// again, elsewhere a line per iteration, with the time of day.
#pragma once

#include "run/evaluations.h"

namespace tarnix::cli {

enum class ProgressStyle { none, lines, live };

// None when quiet; live on a terminal that can move its cursor.
ProgressStyle progressStyle(bool quiet);

class ProgressLine {
 public:
  ProgressLine(ProgressStyle style, const ProblemFile& problem, const Evaluations& evaluations);
  ~ProgressLine() { clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void evaluated();
  void iterated(const std::string& method, int number);
  void clear();

 private:
  void show();
  std::string text() const;
  std::string remaining(double seconds) const;

  const ProgressStyle style;
  const ProblemFile& problem;
  const Evaluations& evaluations;
  std::string label = "start";
  const Clock::time_point started = Clock::now();
  Clock::time_point shown;
};

}  // namespace tarnix::cli
