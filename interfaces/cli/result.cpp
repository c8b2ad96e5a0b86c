#include <cmath>

#include "solve.h"
#include "text_table.h"

namespace tarnix::cli {

namespace {

double numberAt(const Json& object, const char* key) {
  const Json& value = object.at(key);
  if (value.is_number()) return value.get<double>();
  const std::string text = value.get<std::string>();
  return text == "nan" ? NAN : text == "inf" ? INFINITY : -INFINITY;
}

std::string textAt(const Json& object, const char* key) {
  return object.value(key, std::string());
}

std::string limitText(const Json& constraint) {
  const bool min = constraint.contains("min"), max = constraint.contains("max");
  const auto limit = [&](const char* key) { return rounded(numberAt(constraint, key)); };
  if (min && max)
    return limit("min") == limit("max") ? "= " + limit("max")
                                        : limit("min") + " .. " + limit("max");
  return max ? "<= " + limit("max") : ">= " + limit("min");
}

std::string perPercent(const Json& entry, const std::string& objective) {
  if (!entry.contains("per_percent")) return "";
  const double change = numberAt(entry, "per_percent");
  if (change == 0) return "";
  return ", 1 % more: " + objective + (change > 0 ? " +" : " ") + rounded(change, 2);
}

}  // namespace

Json resultOfBest(const Problem& problem, const std::optional<BestDesign>& best,
                  const std::string& reason) {
  Json result;
  const bool feasible = best && best->violation <= problem.options.tolerance;
  result["problem"] = problem.title.empty() ? problem.file.filename().string() : problem.title;
  result["success"] = false;
  result["feasible"] = feasible;
  result["reason"] = reason;
  if (!best) return result;
  const Objective& objective = problem.objective;
  result["objective"] = {{"name", objective.name},
                         {"sense", objective.maximize ? "maximize" : "minimize"},
                         {"value", exact(best->values[0])},
                         {"unit", objective.unit}};
  result["violation"] = exact(best->violation);
  result["variables"] = Json::array();
  for (std::size_t i = 0; i < problem.variables.size(); ++i) {
    const Variable& v = problem.variables[i];
    Json entry{{"name", v.name},
               {"value", exact(best->x[i])},
               {"unit", v.unit},
               {"lower", v.lower},
               {"upper", v.upper}};
    if (v.lower == v.upper)
      entry["at"] = "fixed";
    else if (best->x[i] == v.lower)
      entry["at"] = "lower";
    else if (best->x[i] == v.upper)
      entry["at"] = "upper";
    result["variables"].push_back(entry);
  }
  result["constraints"] = Json::array();
  for (std::size_t j = 0; j < problem.constraints.size(); ++j) {
    const Constraint& c = problem.constraints[j];
    const double value = best->values[j + 1];
    Json entry{{"name", c.name}, {"value", exact(value)}, {"unit", c.unit}};
    double room = INFINITY;  // to the nearer limit, in units of the scale; below zero: violated
    if (c.min) {
      entry["min"] = *c.min;
      room = std::min(room, (value - *c.min) / c.scale);
    }
    if (c.max) {
      entry["max"] = *c.max;
      room = std::min(room, (*c.max - value) / c.scale);
    }
    const double tolerance = problem.options.tolerance;
    entry["violation"] = exact(std::max(0.0, -room));
    entry["active"] = c.equality || (room >= -tolerance && room <= 10 * tolerance);
    result["constraints"].push_back(entry);
  }
  return result;
}

std::string resultTable(const Json& result) {
  const bool success = result.value("success", false), feasible = result.value("feasible", false);
  std::string text = textAt(result, "problem") + ": " +
                     (success    ? "solved"
                      : feasible ? "not solved to the end, but the design satisfies every limit"
                                 : "NOT SOLVED") +
                     " (" + textAt(result, "reason") + ")\n";
  const auto count = [&](const char* key) { return std::to_string(result.value(key, 0L)); };
  if (result.contains("method"))
    text += "  " + textAt(result, "method") + ": " + textAt(result, "meaning") + "; " +
            count("iterations") + " iterations\n";
  if (result.contains("evaluations")) {
    text += "  " + count("evaluations") + " evaluations";
    if (result.contains("runs")) text += ", for them " + count("runs") + " runs of the command";
    if (result.value("replayed", 0L) > 0) text += ", " + count("replayed") + " from the history";
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, ", %.1f s\n", result.value("seconds", 0.0));
    text += seconds;
  }
  if (const std::string advice = textAt(result, "advice"); !success && !advice.empty())
    text += "  " + advice + "\n";
  if (!result.contains("objective")) return text + "  No design has been evaluated.\n";

  const Json& objective = result.at("objective");
  const std::string name = textAt(objective, "name");
  TextTable table("lrll");
  table.row({"", "", "", ""});
  table.row({name, rounded(numberAt(objective, "value")), textAt(objective, "unit"),
             textAt(objective, "sense") == "maximize" ? "maximized" : "minimized"});
  table.row({"", "", "", ""});
  for (const Json& v : result.at("variables")) {
    const std::string at = textAt(v, "at");
    std::string rest = at == "fixed" ? at
                                     : "in " + rounded(numberAt(v, "lower")) + " .. " +
                                           rounded(numberAt(v, "upper"));
    if (at == "lower" || at == "upper") rest += ", at its " + at + " bound";
    table.row({textAt(v, "name"), rounded(numberAt(v, "value")), textAt(v, "unit"),
               rest + perPercent(v, name)});
  }
  if (!result.at("constraints").empty()) table.row({"", "", "", ""});
  for (const Json& c : result.at("constraints")) {
    std::string rest = limitText(c);
    if (numberAt(c, "violation") > result.value("tolerance", 0.0))
      rest += ", VIOLATED by " + rounded(numberAt(c, "violation"), 2) + " of its scale";
    else if (c.value("active", false))
      rest += ", active";
    table.row({textAt(c, "name"), rounded(numberAt(c, "value")), textAt(c, "unit"),
               rest + perPercent(c, name)});
  }
  text += table.text();
  if (result.contains("best_feasible")) {
    const Json& best = result.at("best_feasible");
    text += "\n  Best design within the limits that was seen: " + name + " " +
            rounded(numberAt(best, "value")) + " at";
    for (std::size_t i = 0; i < best.at("x").size(); ++i)
      text += " " + textAt(result.at("variables")[i], "name") + " = " +
              rounded(best.at("x")[i].get<double>());
    text += "\n";
  }
  return text;
}

}  // namespace tarnix::cli
