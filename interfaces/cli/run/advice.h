// What happened in a solve and what to try, in the keys of the problem file.
#pragma once

#include <string>
#include <vector>

#include "problem/problem.h"

namespace tarnix {
struct Result;
}

namespace tarnix::cli {

// The first value that was not finite, and how many designs had one.
struct NotFinite {
  long designs = 0;
  std::string name;  // of the objective or constraint
  bool inside = true;
};

// One paragraph.
std::string adviceFor(const ProblemFile& problem, const tarnix::Result& result,
                      const NotFinite& notFinite);

}  // namespace tarnix::cli
