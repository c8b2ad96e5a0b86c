#include "problem/command_reader.h"

#include <unistd.h>

#include <algorithm>
#include <sstream>

#include "problem/file_names.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

Command CommandReader::command(Section& section) {
  Command command;
  command.line = section.line("run");
  readRun(section, command);
  readTemplates(section, command);
  readSupplied(section, "files", command);
  readSupplied(section, "links", command);
  readEnvironment(section, command);
  readScratch(section, command);
  warnOfMissingScripts(section, command);
  warnOfShellParts(section, command);
  command.timeout = section.positive("timeout").value_or(0);
  command.resultWait = section.notNegative("result_wait").value_or(0);
  if (const auto accepted = section.wholeNumbers("accept_status", 0, 255); !accepted.empty())
    command.acceptedStatus = accepted;
  readFailurePolicy(section, command);
  command.killGrace = section.notNegative("kill_grace").value_or(command.killGrace);
  if (const auto limit = section.positive("output_limit"))  // megabytes
    command.outputLimit = static_cast<std::uintmax_t>(std::min(*limit, 1e9) * 1e6);
  const auto keep = section.choice("keep", {"none", "failed", "best", "all"}).value_or(2);
  command.keep = static_cast<Keep>(keep);
  return command;
}

void CommandReader::readTemplates(Section& section, Command& command) {
  const toml::node* node = section.take("templates");
  if (!node) return;
  const toml::array* list = node->as_array();
  if (!list) return section.issue("templates", "'templates' is not a list: write [{ from, to }]");
  for (const toml::node& item : *list) {
    const int line = lineOf(item);
    if (!item.is_table()) {
      issues.add(line, "command: a template is written { from = ..., to = ... }");
      continue;
    }
    Section entry(*item.as_table(), "template", line, issues);
    const auto from = entry.text("from"), to = entry.text("to");
    if (!entry.has("from")) entry.issue("no 'from'");
    if (!entry.has("to")) entry.issue("no 'to'");
    entry.finish();
    if (!from || !to) continue;
    claim(line, *to);
    command.templates.push_back({existing(entry.line("from"), *from), *to, line});
    std::error_code error;
    if (fs::is_directory(command.templates.back().from, error))
      entry.issue("from", "'" + *from + "' is not a file");
  }
}

void CommandReader::readFailurePolicy(Section& section, Command& command) {
  const auto policy = section.choice("on_failure", {"stop", "retry", "penalty"}).value_or(0);
  command.onFailure = static_cast<FailurePolicy>(policy);
  const auto retries = section.count("retries", 1);
  if (retries && command.onFailure == FailurePolicy::stop)
    section.issue("retries", "'retries' needs on_failure = \"retry\" or \"penalty\"");
  command.retries = retries.value_or(command.onFailure == FailurePolicy::retry ? 2 : 0);
  command.retryWait = section.notNegative("retry_wait").value_or(0);
  if (command.retryWait > 0 && command.retries == 0)
    section.issue("retry_wait", "'retry_wait' needs 'retries', or on_failure = \"retry\"");
  const auto penalty = section.positive("penalty");
  if (penalty && command.onFailure != FailurePolicy::penalty)
    section.issue("penalty", "'penalty' needs on_failure = \"penalty\"");
  command.penalty = penalty.value_or(1e6);
}

void CommandReader::readRun(Section& section, Command& command) {
  command.launcher = section.texts("launcher");
  if (!command.launcher.empty())
    command.program = program(section, "launcher", command.launcher[0]);
  if (!section.has("run")) return section.issue("no 'run': the command to start is missing");
  if (section.take("run")->is_string()) {
    command.shell = true;
    if (command.launcher.empty()) command.program = "/bin/sh";
    if (const auto line = section.text("run")) command.words = {*line};
    return;
  }
  command.words = section.texts("run");
  if (command.words.empty() || command.words[0].empty())
    return section.issue("run", "'run' names no program");
  command.ownProgram = program(section, "run", command.words[0]);
  if (command.launcher.empty()) command.program = command.ownProgram;
}

// A name with a slash is relative to the problem file, one without is in PATH.
fs::path CommandReader::program(Section& section, const std::string& key, const std::string& name) {
  const auto wrong = [&](const std::string& text) { section.issue(key, text); };
  const bool several = name.find(' ') != std::string::npos;
  const std::string cure =
      "; a list holds one word per entry, [\"python3\", \"x.py\"], "
      "and a text without brackets is a line for the shell";
  if (name.find('/') == std::string::npos) {
    fs::path found = name.empty() ? fs::path() : searchProgram(name);
    if (found.empty())
      wrong("program '" + name + "' is not in PATH" +
            (several ? cure : "; one next to the problem file is written './" + name + "'"));
    return found;
  }
  const FileName stated = fileName(name);
  if (!stated.reason.empty() && !several) return wrong(stated.reason), fs::path();
  fs::path path = (directory / stated.name).lexically_normal();
  std::error_code error;
  if (!fs::exists(path, error))
    wrong("no file '" + name + "' in " + directory.string() + (several ? cure : ""));
  else if (!fs::is_regular_file(path, error))
    wrong("'" + name + "' is not a file");
  else if (access(path.c_str(), X_OK) != 0)
    wrong("'" + name + "' may not be executed: chmod +x makes that possible");
  return path;
}

// Names and patterns of files and folders.
void CommandReader::readSupplied(Section& section, const char* key, Command& command) {
  const int line = section.line(key);
  for (const std::string& name : section.texts(key)) {
    std::vector<fs::path> matches;
    const FileName stated = fileName(name);
    if (name.find_first_of("*?[") == std::string::npos || !stated.reason.empty())
      matches = {existing(line, name)};
    else if ((matches = matching(directory, stated.name)).empty())
      section.issue(key, "nothing is called '" + name + "' in " + directory.string());
    for (fs::path path : matches) {
      if (!path.has_filename()) path = path.parent_path();  // "mesh/"
      command.files.push_back({path, path.filename().string(), std::string(key) == "links"});
      claim(line, command.files.back().to);
    }
  }
}

void CommandReader::readEnvironment(Section& section, Command& command) {
  command.environment = section.pairs("env");
  for (const auto& [name, value] : command.environment)
    if (name.empty() || name.find('=') != std::string::npos || name.starts_with("TARNIX_"))
      section.issue("env", "'" + name + "' is no name of a variable of the environment for a run");
}

void CommandReader::readScratch(Section& section, Command& command) {
  const auto name = section.text("scratch");
  if (!name) return;
  const FileName place = fileName(*name);
  if (!place.reason.empty()) return section.issue("scratch", place.reason);
  command.scratch = fs::absolute(directory / place.name).lexically_normal();
  std::error_code error;
  if (!fs::is_directory(command.scratch, error))
    section.issue("scratch", "'" + command.scratch.string() + "' is no directory");
}

// Runs begin in a directory of their own: a script next to the problem file is not found by its
// bare name there.
void CommandReader::warnOfMissingScripts(Section& section, const Command& command) {
  static const char* const endings[] = {".sh", ".py", ".pl",  ".awk", ".m",   ".R",
                                        ".jl", ".rb", ".lua", ".tcl", ".bash"};
  std::string all;
  for (const std::string& word : command.words) all += word + "\n";
  std::istringstream words(all);
  for (std::string word; words >> word;) {
    const fs::path path(word);
    const bool script = std::any_of(std::begin(endings), std::end(endings),
                                    [&](const char* e) { return path.extension() == e; });
    std::error_code error;
    const bool isThere = fs::exists(directory / path, error);
    const bool named = script || (isThere && word.find('/') != std::string::npos);
    if (!named || path.is_absolute() || word.find_first_of("{}$`'\"<>;|&()*?") != word.npos ||
        targets.count(path.lexically_normal().generic_string()) ||
        (!command.shell && word == command.words[0]))
      continue;
    issues.warn(section.line("run"),
                "command: '" + word + "' is not in the directory of a run; " +
                    (isThere ? "write {{dir}}/" + path.lexically_normal().generic_string() +
                                   ", or name it in 'files'"
                             : "nor is there one next to the problem file"));
  }
}

// No shell reads a list of words, nor the values of env. What a word -c precedes is for a shell.
void CommandReader::warnOfShellParts(Section& section, const Command& command) {
  const auto warn = [&](const char* key, const std::string& word, const std::string& cure) {
    const std::string part = shellPart(word);
    if (!part.empty())
      issues.warn(
          section.line(key),
          "command: '" + word + "' is given as it is, no shell replaces " + part + " in it" + cure);
  };
  for (std::size_t i = 1; !command.shell && i < command.words.size(); ++i)
    if (command.words[i - 1] != "-c")
      warn("run", command.words[i], "; a text without brackets is a line for the shell");
  for (const auto& [name, value] : command.environment)
    warn("env", std::string(name).append(" = ").append(value),
         std::string("; a line for the shell can: run = \"").append(name).append("=... x\""));
}

// Takes a name in the run directory. Names are compared as paths: ./a//b is a/b.
void CommandReader::claim(int line, const std::string& to) {
  const std::string path = fs::path(to).lexically_normal().generic_string();
  if (!insideDirectory(to) || path == "." || path.back() == '/')
    return issues.add(line, "command: '" + to + "' names no file in the run directory");
  for (const std::string& taken : targets)
    if (path == taken || path.starts_with(taken + "/") || taken.starts_with(path + "/"))
      return issues.add(line, std::string("command: '").append(to).append("' and '").append(taken) +
                                  "' cannot both be files of the run directory");
  targets.insert(path);
}

// A file or folder that the problem names, relative to its own place.
fs::path CommandReader::existing(int line, const std::string& name) {
  const FileName stated = fileName(name);
  fs::path path = (directory / stated.name).lexically_normal();
  if (!stated.reason.empty()) return issues.add(line, "command: " + stated.reason), path;
  std::error_code error;
  if (!fs::exists(path, error))
    issues.add(line, "command: no file '" + name + "' in " + directory.string());
  else if (!fs::is_regular_file(path, error) && !fs::is_directory(path, error))
    issues.add(line, "command: '" + name + "' is neither a file nor a folder");
  return path;
}

ResultEntry CommandReader::result(const std::string& name, Section& section) {
  ResultEntry result{name, section.text("file").value_or(""), section.text("key").value_or(""),
                     section.text("regex").value_or(""), section.line()};
  readSource(section, result);
  result.json = section.text("json").value_or("");
  result.after = section.text("after").value_or("");
  readPick(section, result);
  const int sources =
      section.has("key") + section.has("regex") + section.has("column") + section.has("json");
  if (sources != 1) section.issue("give either 'key', 'regex', 'column' or 'json'");
  if (!result.json.empty() && result.json[0] != '/')
    section.issue("json", "'json' is a pointer such as \"/loads/0/force\"");
  if (!result.json.empty() && !result.after.empty())
    section.issue("after", "'after' is about lines: omit it with 'json'");
  if (result.file.find("{{") != std::string::npos)
    section.issue("file", "'" + result.file +
                              "' is the name of a file in the directory of a run, without places");
  else if (!insideDirectory(result.file))
    section.issue("file", "'" + result.file + "' lies outside the run directory");
  return result;
}

// A column has a number, or a name in the first line of a table.
void CommandReader::readSource(Section& section, ResultEntry& result) {
  const toml::node* column = section.take("column");
  if (!column) return;
  if (column->is_string())
    result.header = section.text("column").value_or("");
  else
    result.column = section.count("column", 1).value_or(0);
}

void CommandReader::readPick(Section& section, ResultEntry& result) {
  const toml::node* node = section.take("pick");
  if (!node) return;
  if (node->is_integer()) {
    result.pick = Pick::number;
    result.pickNumber = section.count("pick", 1).value_or(1);
    return;
  }
  const auto pick = section.choice("pick", {"last", "first", "max", "min", "sum"}).value_or(0);
  result.pick = static_cast<Pick>(pick);
}

}  // namespace tarnix::cli
