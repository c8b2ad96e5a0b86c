#pragma once
// From a .nl model to a problem of the C++ layer, and from a result to what modeling languages
// expect.

#include <string>
#include <tarnix/tarnix.hpp>
#include <vector>

#include "nl_model.h"

namespace tarnix::ampl {

/// What goes into the .sol file.
struct Answer {
  int code = 0;  ///< by hundreds: solved, solved?, infeasible, unbounded, limit, failure
  std::string message;
  std::vector<double> x, multipliers, boundMultipliers;  ///< empty: none
};

/// Solves the model, which has been read.
Answer solve(NlModel& model, const NlOptions& options, const Stop& stop);

}  // namespace tarnix::ampl
