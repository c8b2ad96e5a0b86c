// Messages for the user: every one names the file, the line where it has one, and the thing meant.
#pragma once

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarnix::cli {

// Exit status of the program. A signal adds its number to 128, as a shell does.
enum ExitCode {
  exitSolved = 0,      // the design found satisfies every constraint, and the method has converged
  exitNotSolved = 1,   // the solve ended otherwise: no feasible design, a limit, no convergence
  exitBadProblem = 2,  // wrong command line or problem file; nothing was run
  exitEvaluation = 3,  // an evaluation failed, and the failure policy says stop
  exitFiles = 4,       // history, run directory or report cannot be written or read
  exitInternal = 5     // anything else
};

// Ends the command with a message and a status.
struct Failure : std::runtime_error {
  Failure(ExitCode exitCode, const std::string& text) : std::runtime_error(text), code(exitCode) {}
  ExitCode code;
};

// Everything wrong with a problem file, and what is suspicious, in the order of its lines.
class Issues {
 public:
  explicit Issues(std::string fileName) : file(std::move(fileName)) {}

  void add(int line, const std::string& text) { addIn(file, line, text); }
  void addIn(const std::string& otherFile, int line, const std::string& text) {
    note(otherFile, line, text, false);
  }
  void warn(int line, const std::string& text) { note(file, line, text, true); }
  bool empty() const { return errors == 0; }  // warnings do not count

  // One line each, which begins with error or warning; as whole texts end, without a line end.
  std::string text() const {
    auto sorted = entries;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Entry& a, const Entry& b) {
      return a.foreign != b.foreign ? b.foreign : a.line < b.line;
    });
    std::string all;
    for (const Entry& entry : sorted) all += (all.empty() ? "" : "\n") + entry.text;
    return all;
  }

 private:
  struct Entry {
    int line;
    std::string text;
    bool foreign;  // in a template, not in the problem file
  };
  void note(const std::string& where, int line, const std::string& text, bool warning) {
    entries.push_back({line,
                       (warning ? "warning: " : "error: ") + where +
                           (line > 0 ? ":" + std::to_string(line) : "") + ": " + text,
                       where != file});
    errors += !warning;
  }
  std::string file;
  std::vector<Entry> entries;
  int errors = 0;
};

// Number of single-character edits between two words.
inline std::size_t editDistance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i - 1] != b[j - 1]);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
    }
  }
  return row[b.size()];
}

// "; did you mean 'lower'?" when a known word is near enough, else nothing.
inline std::string suggestion(const std::string& word, const std::vector<std::string>& known) {
  std::string best;
  std::size_t distance = word.size() < 4 ? 1 : word.size() / 3 + 1;
  for (const std::string& candidate : known) {
    const std::size_t d = editDistance(word, candidate);
    if (d <= distance && (best.empty() || d < distance)) {
      best = candidate;
      distance = d;
    }
  }
  return best.empty() ? "" : "; did you mean '" + best + "'?";
}

}  // namespace tarnix::cli
