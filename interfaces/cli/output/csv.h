// Comma-separated values (RFC 4180): designs in, tables out.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "problem/problem.h"
#include "run/history.h"

namespace tarnix::cli {

// One line with its end; what holds a comma, a quote or a line end is put in quotes.
std::string csvLine(const std::vector<std::string>& cells);

// Exact; empty for what is not a number.
std::string csvNumber(double value);

// Heads and cells of a record: run, variables, results, objective, constraints, violation, whether
// it is within the limits, seconds, why it failed.
std::vector<std::string> recordHeads(const ProblemFile& problem);
std::vector<std::string> recordCells(const ProblemFile& problem, const Record& record);

// Designs of a file whose first line names variables; those that it does not name stay at the
// start. Throws Failure with the line of what is wrong.
std::vector<std::vector<double>> readDesigns(const std::filesystem::path& file,
                                             const ProblemFile& problem);

// Writes a whole file; throws Failure when that is not possible.
void writeTextFile(const std::filesystem::path& file, const std::string& content);

}  // namespace tarnix::cli
