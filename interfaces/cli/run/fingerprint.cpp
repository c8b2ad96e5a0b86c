#include "run/fingerprint.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "base/text.h"

namespace tarnix::cli {

std::vector<std::string> variableNames(const ProblemFile& problem) {
  std::vector<std::string> names;
  for (const VariableEntry& v : problem.variables) names.push_back(v.name);
  return names;
}

std::string fingerprint(const ProblemFile& problem) {
  std::uint64_t hash = 14695981039346656037u;  // FNV-1a
  const auto add = [&](const std::string& part) {
    for (const char c : part + '\0') hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
  };
  const auto content = [](const std::filesystem::path& path) {
    std::string all;
    readFile(path, all);
    return all;
  };
  for (const std::string& name : variableNames(problem)) add(name);
  if (const auto& command = problem.command) {
    for (const std::string& word : command->words) add(word);
    for (const TemplateFile& file : command->templates) add(file.to + '\0' + content(file.from));
    for (const auto& file : command->files) add(file.filename().string() + '\0' + content(file));
    for (const ResultEntry& r : problem.results)
      for (const std::string& part : {r.name, r.file, r.key, r.regex}) add(part);
  }
  // With a command they matter where a place of a template or word names one of them.
  const auto filledIn = [&] {
    std::string all;
    for (const std::string& word : problem.command->words) all += word;
    for (const TemplateFile& file : problem.command->templates) all += content(file.from);
    return std::any_of(problem.quantities.begin(), problem.quantities.end(),
                       [&](const auto& q) { return all.find("{{" + q.name) != std::string::npos; });
  };
  if (!problem.command || filledIn())
    for (const QuantityEntry& q : problem.quantities) add(q.name + '=' + q.value.text);
  if (!problem.command) {
    add(problem.objective.value.text);
    for (const ConstraintEntry& c : problem.constraints) add(c.name + '=' + c.value.text);
  }
  char result[17];
  std::snprintf(result, sizeof result, "%016llx", static_cast<unsigned long long>(hash));
  return result;
}

}  // namespace tarnix::cli
