#include "problem/described.h"

#include <cmath>
#include <string>

#include "base/exact_json.h"
#include "base/text.h"

namespace tarnix::cli {

namespace {

using Json = nlohmann::ordered_json;

VariableEntry variableFrom(const Json& entry) {
  VariableEntry v;
  v.name = entry.at("name").get<std::string>();
  v.start = number(entry.at("start"));
  v.lower = number(entry.at("lower"));
  v.upper = number(entry.at("upper"));
  return v;
}

ConstraintEntry constraintFrom(const Json& entry) {
  ConstraintEntry c;
  c.name = entry.at("name").get<std::string>();
  if (entry.contains("min")) c.min = number(entry.at("min"));
  if (entry.contains("max")) c.max = number(entry.at("max"));
  c.equality = c.min && c.max && *c.min == *c.max;
  c.scale = number(entry.at("scale"));
  return c;
}

}  // namespace

ProblemFile describedProblem(const std::filesystem::path& history) {
  ProblemFile problem;
  problem.file = history;
  problem.directory = std::filesystem::absolute(history).parent_path();
  std::string content;
  if (!readFile(history, content)) throw Failure(exitFiles, history.string() + ": cannot be read");
  try {
    const Json header = Json::parse(content.substr(0, content.find('\n')));
    const Json& described = header.at("described");
    for (const Json& entry : described.at("variables"))
      problem.variables.push_back(variableFrom(entry));
    const Json& objective = described.at("objective");
    problem.objective.name = objective.at("name").get<std::string>();
    problem.objective.maximize = objective.at("sense") == "maximize";
    problem.objective.scale = number(objective.at("scale"));
    for (const Json& entry : described.at("constraints"))
      problem.constraints.push_back(constraintFrom(entry));
    problem.options.tolerance = number(described.at("tolerance"));
    for (const auto& [part, hash] : header.at("parts").items())
      problem.statedParts.emplace_back(part, hash.get<std::string>());
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception&) {
    throw Failure(exitFiles, history.string() +
                                 ": no history that describes its problem; name the problem file");
  }
  return problem;
}

}  // namespace tarnix::cli
