// How a solve ended: printed as a table, written as JSON, kept at the end of the history, drawn by
// the report.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "problem/problem.h"
#include "run/judgement.h"

namespace tarnix::cli {

using Json = nlohmann::ordered_json;

struct ObjectiveOutcome {
  std::string name, sense;  // minimize or maximize
  double value = 0;
  std::string unit;
};

struct VariableOutcome {
  std::string name;
  double value = 0;
  std::string unit;
  double lower = 0, upper = 0;
  std::string at;  // lower, upper or fixed; empty inside the bounds
  std::optional<double> multiplier, perPercent;
};

struct ConstraintOutcome {
  std::string name;
  double value = 0;
  std::string unit;
  std::optional<double> min, max;
  double violation = 0;  // in units of the scale
  bool active = false;
  std::optional<double> multiplier, perPercent;
};

struct StageOutcome {
  std::string method, differences;
  int status = 0;
  std::string meaning;
  int iterations = 0;
  long evaluations = 0;
};

// A local minimum that several starts led to.
struct MinimumOutcome {
  double objective = 0;
  int times = 0, start = 0;  // how often, and from which start first
  std::vector<double> x;
};
struct MinimaOutcome {
  std::vector<MinimumOutcome> found;  // the best first
  int starts = 0, unsuccessful = 0;
  std::optional<double> unseen;  // expected number of others
};

// How the search in catalogues ended.
struct CatalogueOutcome {
  bool proved = false;  // for the local model
  double continuous = 0, bound = 0;
  int solves = 0;
};

// Constraints that cannot hold together within the bounds.
struct ConflictOutcome {
  double violation = 0;  // the least that was found, in units of the scales
  std::vector<std::string> constraints;
  bool minimal = false;  // without any one of them the others can hold
};

// The final design run once more, alone, and compared.
struct Verification {
  bool same = false;      // to the last bit
  bool agrees = false;    // within the tolerance
  std::string text;       // what differs
  std::string directory;  // of that run; empty when it is not kept
  std::string reason{};   // why they do not agree, for the outcome
};

struct Outcome {
  std::string problem;
  bool success = false, feasible = false;
  std::string reason;
  std::optional<ObjectiveOutcome> objective;  // absent as long as no design has been evaluated
  std::optional<double> violation;
  std::vector<VariableOutcome> variables;
  std::vector<ConstraintOutcome> constraints;
  std::string method;
  std::optional<int> status;
  std::string meaning, advice, error;
  std::optional<int> iterations;
  std::vector<StageOutcome> stages;
  double tolerance = 0;
  std::optional<double> noise;           // of the values, relative to their size; absent: none
  std::optional<double> differenceStep;  // in half ranges
  std::optional<ConflictOutcome> conflict;
  std::optional<long> evaluations, runs, replayed;  // runs: of a command
  std::optional<long> failed;                       // of the runs
  std::string lastFailure;
  std::optional<Verification> verification;
  std::optional<MinimaOutcome> minima;
  std::optional<CatalogueOutcome> catalogue;
  std::optional<double> seconds;
};

// The outcome as it would be if the solve ended at this design. The tolerance is that of the file,
// or one that noise has made larger.
Outcome outcomeAt(const ProblemFile& problem, const std::optional<BestDesign>& design,
                  const std::string& reason, double tolerance = 0);

// Why there is no design to be shown.
std::string noDesignText(const Outcome& outcome);

// In a sentence.
std::string conflictText(const ConflictOutcome& conflict);

Json toJson(const Outcome& outcome);
Outcome outcomeFrom(const Json& json);

// What several starts found, and how a search in catalogues ended; empty without.
std::string searchText(const Outcome& outcome);

// Readable table.
std::string table(const Outcome& outcome);

}  // namespace tarnix::cli
