// The problem of a history that another host has written, a Python program for instance: its header
// names variables, limits and scales. It can be looked at, not evaluated.
#pragma once

#include <filesystem>

#include "problem/problem.h"

namespace tarnix::cli {

// Throws Failure for a file that is no history, or one that does not describe its problem.
ProblemFile describedProblem(const std::filesystem::path& history);

}  // namespace tarnix::cli
