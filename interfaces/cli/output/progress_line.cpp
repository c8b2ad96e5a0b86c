#include "output/progress_line.h"

#include <cstdio>
#include <iostream>

#include "base/numbers.h"

namespace tarnix::cli {

ProgressLine::ProgressLine(ProgressStyle s, const ProblemFile& p, const Evaluations& e)
    : style(s), problem(p), evaluations(e) {}

void ProgressLine::evaluated() {
  if (style == ProgressStyle::live && Clock::now() - shown > std::chrono::milliseconds(50)) show();
}

void ProgressLine::iterated(const std::string& method, int number) {
  label = method + " " + std::to_string(number);
  if (style == ProgressStyle::lines) std::cerr << text() << "\n";
  evaluated();
}

void ProgressLine::clear() {
  if (shown != Clock::time_point{}) std::cerr << "\r\x1b[K" << std::flush;
  shown = {};
}

void ProgressLine::show() {
  shown = Clock::now();
  std::cerr << "\r\x1b[K" << text() << std::flush;
}

std::string ProgressLine::text() const {
  std::string line =
      "  " + label + "  evaluations " + std::to_string(evaluations.counts().asked);
  if (const auto& best = evaluations.best())
    line += "  " + problem.objective.name + " " + rounded(best->values[0]) + "  violation " +
            rounded(best->violation, 2);
  if (style == ProgressStyle::live && problem.command)
    line += "  running " + std::to_string(evaluations.running());
  const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
  char time[32];
  std::snprintf(time, sizeof time, "  %.1f s", seconds);
  return line + time;
}

}  // namespace tarnix::cli
