// Numbers in JSON, exact: it knows no infinities, so they and NaN are texts.
#pragma once

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace tarnix::cli {

inline nlohmann::ordered_json exact(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
  return value;
}

inline double number(const nlohmann::ordered_json& value) {
  if (value.is_number()) return value.get<double>();
  const std::string text = value.get<std::string>();
  if (text == "inf") return std::numeric_limits<double>::infinity();
  if (text == "-inf") return -std::numeric_limits<double>::infinity();
  if (text == "nan") return std::numeric_limits<double>::quiet_NaN();
  throw std::invalid_argument("'" + text + "' is not a number");
}

// ASCII: messages of simulators come in any encoding, and a terminal shows what it is sent.
inline std::string dumped(const nlohmann::ordered_json& json, int indent = -1) {
  return json.dump(indent, ' ', true, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace tarnix::cli
