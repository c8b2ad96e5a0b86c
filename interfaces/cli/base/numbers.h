// How numbers are written, one way each.
#pragma once

#include <optional>
#include <string>

namespace tarnix::cli {

// Shortest text that reads back as the same number.
std::string shortest(double value);

// For people: so many significant digits.
std::string rounded(double value, int digits = 6);

// "1 run", "2 runs"
std::string counted(long count, const std::string& what);

// "<= 5", ">= 2", "2 .. 5", "= 3"; at least one limit is given.
std::string limitText(const std::optional<double>& min, const std::optional<double>& max);

// ", 1 % more: cost -0.1"; empty when nothing is known or nothing changes.
std::string perPercentText(const std::optional<double>& change, const std::string& objective);

}  // namespace tarnix::cli
