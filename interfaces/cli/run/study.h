// Evaluates designs that are known beforehand, as many side by side as there are jobs. What its
// history holds is not run again.
#pragma once

#include <optional>
#include <vector>

#include "output/outcome.h"
#include "output/progress_line.h"
#include "run/setup.h"

namespace tarnix::cli {

struct StudyOptions {
  int jobs = 1;
  bool fresh = false;        // puts the history aside
  bool retryFailed = false;  // runs designs again whose runs have failed
  ProgressStyle progress = ProgressStyle::lines;
};

// Places of a study next to those of a solve: beam.doe.history.jsonl, beam.doe.runs.
Places studyPlaces(const std::filesystem::path& file, const std::filesystem::path& output,
                   const std::string& study);

// Opens the history of a study: continues the one that is there, unless it is to be put aside.
// Throws Failure when that belongs to another state of the problem.
History openStudy(const ProblemFile& problem, const Places& places, const std::string& study,
                  bool fresh);

// One record per design, in their order. A run that fails leaves its record without values; the
// others continue. Limits of the options are those of a solve. Where runs were side by side a few
// of them are repeated alone.
struct StudyResult {
  std::vector<Record> records;
  long runs = 0, replayed = 0, failed = 0;
  std::optional<Verification> verification;  // of runs side by side
  double seconds = 0;
  int signal = 0;  // that ended it; what was not run has neither values nor a reason
};
StudyResult evaluateAll(Setup& setup, const Places& places, const std::string& study,
                        const std::vector<std::vector<double>>& designs,
                        const StudyOptions& options);

}  // namespace tarnix::cli
