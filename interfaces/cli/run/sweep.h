// Solves of one problem with a key of it at several values, or two keys at a grid of them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "output/outcome.h"
#include "run/study.h"

namespace tarnix::cli {

// What is swept: a NAME.KEY as of --set, and its values.
struct Axis {
  std::string name;
  std::vector<double> values;
};

// Of "NAME=FROM:TO:COUNT", with ":log" behind it evenly spaced in the logarithm, or "NAME=A,B,C".
// Throws Failure for anything else.
Axis axisOf(const std::string& over);

struct SweepPoint {
  std::vector<double> at;          // one per axis
  std::optional<Outcome> outcome;  // absent where the sweep was ended before
};

struct SweepResult {
  std::vector<SweepPoint> points;  // the last axis runs fastest
  long runs = 0, replayed = 0;     // of the command
  double seconds = 0;
  int signal = 0;  // that ended it
};

// Begins in the middle and works outwards, each point from the end of its neighbor as soon as that
// is known, so that the branches are solved side by side. What a point starts from, and so the
// answer, is the same for any number of jobs. OnPoint: called with every point that is done.
SweepResult sweep(const std::filesystem::path& file, const std::filesystem::path& output,
                  const Overrides& overrides, const std::vector<Axis>& axes,
                  const StudyOptions& options,
                  const std::function<void(const SweepPoint&)>& onPoint);

}  // namespace tarnix::cli
