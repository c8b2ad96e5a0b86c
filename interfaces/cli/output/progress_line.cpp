#include "output/progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>

#include "base/numbers.h"
#include "base/text.h"

namespace tarnix::cli {

namespace {

// Asked for each time: a window may change its size meanwhile.
std::size_t terminalWidth() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1 ? size.ws_col - 1u : 79u;
}

std::string timeOfDay() {
  char text[16] = "";
  const std::time_t now = std::time(nullptr);
  std::strftime(text, sizeof text, "%H:%M:%S", std::localtime(&now));
  return text;
}

// "12.3 s", "4 min", "2.5 h"
std::string duration(double seconds) {
  char text[32];
  if (seconds < 120)
    std::snprintf(text, sizeof text, seconds < 10 ? "%.1f s" : "%.0f s", seconds);
  else if (seconds < 7200)
    std::snprintf(text, sizeof text, "%.0f min", seconds / 60);
  else
    std::snprintf(text, sizeof text, "%.1f h", seconds / 3600);
  return text;
}

}  // namespace

ProgressStyle progressStyle(bool quiet) {
  const char* const terminal = std::getenv("TERM");
  const bool plain = !terminal || std::string(terminal) == "dumb" || !isatty(STDERR_FILENO);
  return quiet ? ProgressStyle::none : plain ? ProgressStyle::lines : ProgressStyle::live;
}

ProgressLine::ProgressLine(ProgressStyle s, const ProblemFile& p, const Evaluations& e)
    : style(s), problem(p), evaluations(e) {}

void ProgressLine::evaluated() {
  if (style == ProgressStyle::live && Clock::now() - shown > std::chrono::milliseconds(50)) show();
}

void ProgressLine::iterated(const std::string& method, int number) {
  label = method + " " + std::to_string(number);
  if (style == ProgressStyle::lines) std::cerr << timeOfDay() + "  " + text() << "\n" << std::flush;
  evaluated();
}

void ProgressLine::clear() {
  if (shown != Clock::time_point{}) writeAll(STDERR_FILENO, "\r\x1b[K");
  shown = {};
}

void ProgressLine::show() {
  shown = Clock::now();
  // Past the filter of std::cerr.
  writeAll(STDERR_FILENO, "\r\x1b[K" + firstCharacters(printable(text()), terminalWidth()));
}

std::string ProgressLine::text() const {
  const Evaluations::Counts& count = evaluations.counts();
  std::string line = label + "  evaluations " + std::to_string(count.asked);
  if (const auto& best = evaluations.best()) {
    line += "  " + problem.objective.name + " " + rounded(best->values[0]) + "  violation " +
            rounded(best->violation, 2);
    const auto& latest = evaluations.latest();
    if (style == ProgressStyle::live && !latest.empty()) line += "  now " + rounded(latest[0]);
  }
  if (style == ProgressStyle::live && problem.command)
    line += "  running " + std::to_string(evaluations.running());
  if (count.failed > 0) line += "  failed " + std::to_string(count.failed);
  if (count.seconds > 0) {
    const double each = count.seconds / static_cast<double>(count.finished);
    line += "  " + (each < 1 ? rounded(each, 2) + " s" : duration(each)) + " a run";
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
  return line + "  " + duration(seconds) + remaining(seconds);
}

// Of the limits of the options that there are.
std::string ProgressLine::remaining(double seconds) const {
  const OptionsTable& o = problem.options;
  std::string left;
  if (o.maxEvaluations > 0)
    left = std::to_string(std::max(0L, o.maxEvaluations - evaluations.counts().total)) + " runs";
  if (o.maxSeconds > 0)
    left += (left.empty() ? "" : ", ") + duration(std::max(0.0, o.maxSeconds - seconds));
  return left.empty() ? "" : "  left " + left;
}

}  // namespace tarnix::cli
