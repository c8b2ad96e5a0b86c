// A problem as its file states it. Numbers are in the user's units and senses throughout: the
// objective as written, constraints with their limits.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/issues.h"

namespace tarnix::cli {

struct VariableEntry {
  std::string name;
  std::string unit;
  double start = 0;
  double lower = 0;
  double upper = 0;
  int line = 0;
  std::optional<double> differenceStep{};  // of its own, in units of half its range
  std::vector<double> catalogue{};         // the values that it may take, rising; empty: all
};

struct Expression {
  std::string text;
  std::string owner;  // for messages: "constraint 'shear'"
  int line = 0;
};

// A named intermediate value.
struct QuantityEntry {
  std::string name;
  Expression value;
};

struct ObjectiveEntry {
  std::string name = "objective";
  std::string unit;
  Expression value;
  bool maximize = false;
  std::optional<double> scale;
};

// min <= value <= max, or value = equal, which is then both limits.
struct ConstraintEntry {
  std::string name;
  std::string unit;
  Expression value;
  std::optional<double> min, max;
  bool equality = false;
  double scale = 1;  // the violation is measured in units of this
  int line = 0;
};

enum class Pick { last, first, max, min, sum, number };

// A number to be read from the output of the command.
struct ResultEntry {
  std::string name;
  std::string file;   // in the run directory; empty for standard output
  std::string key;    // "key = value" or "key: value" on a line, or
  std::string regex;  // the first group of an expression that matches within a line, or
  int line = 0;
  int column = 0;          // the word of this number in a line, where it is a number, or the cells
                           // below this word in a file of comma-separated values; or
  std::string json{};      // what a pointer like /a/b names in a JSON file
  std::string after{};     // lines count behind the first that holds this text
  Pick pick = Pick::last;  // of several matches
  int pickNumber = 0;      // from 1 on, with Pick::number
  std::string header{};    // a column by its name
};

struct TemplateFile {
  std::filesystem::path from;  // absolute
  std::string to;              // in the run directory
  int line = 0;
};

// What a run directory gets from next to the problem file.
struct SuppliedFile {
  std::filesystem::path from;  // absolute; a file or a folder
  std::string to;              // in the run directory
  bool link = false;           // by a symbolic link, else as a copy
};

enum class FailurePolicy { stop, retry, penalty };
enum class Keep { none, failed, best, all };  // best: failed ones, and the final design

struct Command {
  std::vector<std::string> launcher;  // words before these, with placeholders; a program first
  std::vector<std::string> words;     // with placeholders; one word when the shell runs it
  bool shell = false;
  std::filesystem::path program;     // absolute, resolved from the first word of all
  std::filesystem::path ownProgram;  // the same of the words of a list; behind a launcher too
  std::vector<TemplateFile> templates;
  std::vector<SuppliedFile> files;
  std::vector<std::pair<std::string, std::string>> environment;  // values with placeholders
  std::vector<int> acceptedStatus{0};
  std::filesystem::path scratch;  // directories of runs are made here; empty: where they are kept
  double resultWait = 0;          // seconds that results may come after the end of a run
  double timeout = 0;             // seconds, 0 for none
  FailurePolicy onFailure = FailurePolicy::stop;
  int retries = 0;
  double retryWait = 0;  // seconds before a run is repeated
  double penalty = 1e6;  // objective and violations of a failed evaluation, in scaled units
  Keep keep = Keep::best;
  double killGrace = 5;                     // seconds between SIGTERM and SIGKILL
  std::uintmax_t outputLimit = 1000000000;  // bytes of standard output, error and result files
  int line = 0;
};

struct OptionsTable {
  std::string method = "automatic";
  int maxIterations = 200;
  int maxEvaluations = 0;  // 0: no limit, as below
  double maxSeconds = 0;
  double tolerance = 1e-4;
  double differenceStep = 0;  // 0: what suits the noise of the values
  double effort = 4;          // for further starts of the automatic method
  double accuracy = 0;        // of the values, relative, where it is known
  // Share of half the range in which the command is given the coarsest variable; 0: in all digits.
  double resolution = 0;
  bool centralDifferences = false;
  bool insideBounds = false;
  std::optional<double> target;
  int starts = 1;  // whole solves, from the start and quasi-random points
  int seed = 1;    // of these points
};

using Overrides = std::vector<std::string>;

struct ProblemFile {
  std::filesystem::path file;       // as the user gave it
  std::filesystem::path directory;  // of the file, absolute: where relative names start
  std::string title;
  std::vector<VariableEntry> variables;
  std::vector<QuantityEntry> quantities;
  ObjectiveEntry objective;
  std::vector<ConstraintEntry> constraints;
  std::optional<Command> command;
  std::vector<ResultEntry> results;
  OptionsTable options;
  Overrides overrides;  // of the command line
  // What the values of a described problem depend on, as its history states it.
  std::vector<std::pair<std::string, std::string>> statedParts;
};

// Reads and validates a file. Whatever is wrong is added to issues, and the problem is then
// incomplete; it never throws for the content of a file.
// Overrides are changes of the command line, NAME=VALUE or NAME.KEY=VALUE, made before anything is
// read.
ProblemFile readProblem(const std::filesystem::path& file, Issues& issues,
                        const Overrides& overrides = {});

}  // namespace tarnix::cli
