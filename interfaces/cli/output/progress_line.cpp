#include "output/progress_line.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "base/numbers.h"
#include "base/text.h"

namespace tarnix::cli {

ProgressLine::ProgressLine(ProgressStyle s, const ProblemFile& p, const Evaluations& e)
    : style(s), problem(p), evaluations(e) {}

void ProgressLine::evaluated() {
  if (style == ProgressStyle::live && Clock::now() - shown > std::chrono::milliseconds(50)) show();
}

void ProgressLine::iterated(const std::string& method, int number) {
  label = method + " " + std::to_string(number);
  if (style == ProgressStyle::lines) std::cerr << text() << "\n" << std::flush;
  evaluated();
}

void ProgressLine::clear() {
  if (shown != Clock::time_point{}) writeAll(STDERR_FILENO, "\r\x1b[K");
  shown = {};
}

void ProgressLine::show() {
  shown = Clock::now();
  writeAll(STDERR_FILENO, "\r\x1b[K" + printable(text()));  // past the filter of std::cerr
}

std::string ProgressLine::text() const {
  std::string line =
      "  " + label + "  evaluations " + std::to_string(evaluations.counts().asked);
  if (const auto& best = evaluations.best())
    line += "  " + problem.objective.name + " " + rounded(best->values[0]) + "  violation " +
            rounded(best->violation, 2);
  if (style == ProgressStyle::live && problem.command)
    line += "  running " + std::to_string(evaluations.running());
  if (evaluations.counts().failed > 0)
    line += "  failed " + std::to_string(evaluations.counts().failed);
  const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
  char time[32];
  std::snprintf(time, sizeof time, "  %.1f s", seconds);
  return line + time;
}

}  // namespace tarnix::cli
