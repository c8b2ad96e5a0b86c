// One self-contained HTML page about the histories of solves.
#pragma once

#include <iosfwd>
#include <memory>
#include <vector>

#include "run/history.h"
#include "run/setup.h"

namespace tarnix::cli {

// A solve to be reported.
struct ReportedSolve {
  std::unique_ptr<Setup> setup;
  History history;
};

// Of several solves their results are shown side by side, with a section for each below.
void writeReport(const std::vector<ReportedSolve>& solves, std::ostream& page);

}  // namespace tarnix::cli
