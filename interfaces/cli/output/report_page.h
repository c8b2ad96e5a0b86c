// One self-contained HTML page about the history of a solve.
#pragma once

#include <string>

#include "run/history.h"
#include "run/setup.h"

namespace tarnix::cli {

std::string reportPage(const Setup& setup, const History& history);

}  // namespace tarnix::cli
