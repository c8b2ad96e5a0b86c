#include "run/fingerprint.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>

#include "base/text.h"
#include "problem/file_names.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

std::string contentOf(const fs::path& path) {
  std::string all;
  readFile(path, all);
  return all;
}

class Hash {
 public:
  void add(const std::string& part) { value = hashOf(part + '\0', value); }
  std::string text() const {
    char result[17];
    std::snprintf(result, sizeof result, "%016llx", static_cast<unsigned long long>(value));
    return result;
  }

 private:
  std::uint64_t value = hashOf("");
};

// Of a folder everything in it. What is linked may be large: its size and time represent it.
void addContent(const fs::path& path, bool link, Hash& hash) {
  std::error_code error;
  if (fs::is_directory(path, error)) {
    std::set<fs::path> inside;
    for (const auto& entry : fs::recursive_directory_iterator(path, error))
      if (entry.is_regular_file(error)) inside.insert(entry.path());
    for (const fs::path& one : inside) {
      hash.add(one.lexically_relative(path).string());
      addContent(one, link, hash);
    }
  } else if (link) {
    const auto time = fs::last_write_time(path, error).time_since_epoch().count();
    hash.add(std::to_string(fs::file_size(path, error)) + " " + std::to_string(time));
  } else {
    hash.add(contentOf(path));
  }
}

// Whether a name in a text for the shell is that of a file that the command writes: behind > or >>.
bool isWritten(const std::string& word, std::size_t at) {
  while (at > 0 && std::string(" \t'\"").find(word[at - 1]) != std::string::npos) --at;
  return at > 0 && word[at - 1] == '>';
}

// Files next to the problem file that a word of a list names, or a text for the shell, which may
// also name some that it writes.
void addNamed(const ProblemFile& problem, const std::string& word, std::set<fs::path>& found,
              std::set<fs::path>& written) {
  const bool shell = problem.command->shell;
  for (const std::string& mark :
       {std::string("{{dir}}/"), std::string("./"), problem.directory.string() + "/"})
    for (std::size_t at = word.find(mark); at != std::string::npos; at = word.find(mark, at + 1)) {
      if (mark == "./" && at > 0 &&
          std::string(" \t\n'\"=;&|(").find(word[at - 1]) == std::string::npos)
        continue;
      const std::size_t begin = at + mark.size();
      const std::size_t end = shell ? word.find_first_of(" \t\n'\"`;&|<>()$", begin) : word.npos;
      const fs::path path =
          problem.directory / word.substr(begin, std::min(end, word.size()) - begin);
      std::error_code error;
      if (fs::is_regular_file(path, error))
        (shell && isWritten(word, at) ? written : found).insert(path.lexically_normal());
    }
}

// Files next to the problem file that the command names: {{dir}}/x, ./x, and its own program.
std::set<fs::path> scripts(const ProblemFile& problem) {
  const Command& command = *problem.command;
  std::set<fs::path> found, written;
  for (const std::string& word : command.words)
    addNamed(problem, withPlainDir(word), found, written);
  for (const fs::path& path : written) found.erase(path);
  const std::string& first = command.words[0];
  if (!command.shell && first.find('/') != std::string::npos &&
      std::string("/~$").find(first[0]) == std::string::npos)
    found.insert(command.ownProgram);
  return found;
}

// Whether a place of a word or template names a quantity.
bool quantityFilledIn(const ProblemFile& problem) {
  std::string all;
  for (const std::string& word : problem.command->words) all += word + "\n";
  for (const TemplateFile& file : problem.command->templates) all += contentOf(file.from) + "\n";
  std::set<std::string> named;
  for (std::size_t at = all.find("{{"); at != std::string::npos; at = all.find("{{", at + 2)) {
    const std::size_t begin = std::min(all.find_first_not_of(' ', at + 2), all.size());
    named.insert(all.substr(begin, all.find_first_of(" :}\n", begin) - begin));
  }
  return std::any_of(problem.quantities.begin(), problem.quantities.end(),
                     [&](const QuantityEntry& q) { return named.count(q.name) > 0; });
}

void addCommand(const ProblemFile& problem, Fingerprint& parts) {
  const Command& command = *problem.command;
  Hash words, results;
  for (const std::string& word : command.words) words.add(word);
  for (const auto& r : problem.results)
    for (const std::string& part :
         {r.name, r.file, r.key, r.regex, r.json, r.after, std::to_string(r.column),
          std::to_string(static_cast<int>(r.pick)), std::to_string(r.pickNumber)})
      results.add(part);
  for (const auto& r : problem.results)
    if (!r.header.empty()) results.add(r.name + ' ' + r.header);
  parts.emplace_back("run", words.text());
  parts.emplace_back("results", results.text());
  Hash environment;
  for (const auto& [name, value] : command.environment)
    environment.add(std::string(name).append("=").append(value));
  if (!command.environment.empty()) parts.emplace_back("env", environment.text());
  const auto addFile = [&](const std::string& kind, const fs::path& path, const std::string& to) {
    Hash hash;
    hash.add(to);
    addContent(path, kind == "link", hash);
    parts.emplace_back(kind + " '" + path.lexically_relative(problem.directory).string() + "'",
                       hash.text());
  };
  for (const TemplateFile& file : command.templates) addFile("template", file.from, file.to);
  for (const SuppliedFile& file : command.files)
    addFile(file.link ? "link" : "file", file.from, file.to);
  for (const fs::path& file : scripts(problem)) addFile("program", file, "");
}

}  // namespace

std::vector<std::string> variableNames(const ProblemFile& problem) {
  std::vector<std::string> names;
  for (const VariableEntry& v : problem.variables) names.push_back(v.name);
  return names;
}

Fingerprint fingerprint(const ProblemFile& problem) {
  if (!problem.statedParts.empty()) return problem.statedParts;
  Fingerprint parts;
  Hash variables, expressions;
  for (const std::string& name : variableNames(problem)) variables.add(name);
  parts.emplace_back("variables", variables.text());
  if (problem.command) addCommand(problem, parts);
  if (problem.command && !quantityFilledIn(problem)) return parts;
  for (const QuantityEntry& q : problem.quantities) expressions.add(q.name + '=' + q.value.text);
  if (!problem.command) {
    expressions.add(problem.objective.value.text);
    for (const ConstraintEntry& c : problem.constraints)
      expressions.add(c.name + '=' + c.value.text);
  }
  parts.emplace_back(problem.command ? "quantities" : "expressions", expressions.text());
  return parts;
}

}  // namespace tarnix::cli
