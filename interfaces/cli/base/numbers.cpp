#include "base/numbers.h"

#include <charconv>
#include <cstdio>

namespace tarnix::cli {

std::string shortest(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

std::string rounded(double value, int digits) {
  char text[40];
  std::snprintf(text, sizeof text, "%.*g", digits, value);
  return text;
}

std::string counted(long count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string limitText(const std::optional<double>& min, const std::optional<double>& max) {
  if (min && max)
    return *min == *max ? "= " + rounded(*max) : rounded(*min) + " .. " + rounded(*max);
  return max ? "<= " + rounded(*max) : ">= " + rounded(*min);
}

std::string perPercentText(const std::optional<double>& change, const std::string& objective) {
  if (!change || *change == 0) return "";
  return ", 1 % more: " + objective + (*change > 0 ? " +" : " ") + rounded(*change, 2);
}

}  // namespace tarnix::cli
