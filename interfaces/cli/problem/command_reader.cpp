#include "problem/command_reader.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

bool insideDirectory(const std::string& name) {
  const fs::path path(name);
  return path.is_relative() && std::find(path.begin(), path.end(), "..") == path.end();
}

fs::path searchProgram(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::istringstream directories(path ? path : "/usr/bin:/bin");
  for (std::string directory; std::getline(directories, directory, ':');) {
    const fs::path candidate = fs::path(directory.empty() ? "." : directory) / name;
    std::error_code error;
    if (fs::is_regular_file(candidate, error) && access(candidate.c_str(), X_OK) == 0)
      return fs::absolute(candidate);
  }
  return {};
}

}  // namespace

Command CommandReader::command(Section& section) {
  Command command;
  command.line = section.line("run");
  readRun(section, command);
  readTemplates(section, command);
  for (const std::string& file : section.texts("files")) {
    command.files.push_back(existing(section.line("files"), file));
    claim(section.line("files"), command.files.back().filename().string());
  }
  command.timeout = section.positive("timeout").value_or(0);
  readFailurePolicy(section, command);
  if (const auto grace = section.number("kill_grace")) {
    if (*grace < 0) section.issue("kill_grace", "'kill_grace' is below zero");
    command.killGrace = *grace;
  }
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
  }
}

void CommandReader::readFailurePolicy(Section& section, Command& command) {
  const auto policy = section.choice("on_failure", {"stop", "retry", "penalty"}).value_or(0);
  command.onFailure = static_cast<FailurePolicy>(policy);
  const auto retries = section.count("retries", 1);
  if (retries && command.onFailure == FailurePolicy::stop)
    section.issue("retries", "'retries' needs on_failure = \"retry\" or \"penalty\"");
  command.retries = retries.value_or(command.onFailure == FailurePolicy::retry ? 2 : 0);
  const auto penalty = section.positive("penalty");
  if (penalty && command.onFailure != FailurePolicy::penalty)
    section.issue("penalty", "'penalty' needs on_failure = \"penalty\"");
  command.penalty = penalty.value_or(1e6);
}

void CommandReader::readRun(Section& section, Command& command) {
  if (!section.has("run")) return section.issue("no 'run': the command to start is missing");
  if (section.take("run")->is_string()) {
    command.shell = true;
    command.program = "/bin/sh";
    if (const auto line = section.text("run")) command.words = {*line};
    return;
  }
  command.words = section.texts("run");
  if (command.words.empty() || command.words[0].empty())
    return section.issue("run", "'run' names no program");
  runProgram(section, command);
}

void CommandReader::runProgram(Section& section, Command& command) {
  const std::string& name = command.words[0];
  if (name.find('/') == std::string::npos) {
    command.program = searchProgram(name);
    if (command.program.empty())
      section.issue("run", "program '" + name + "' is not in PATH; one beside the problem file " +
                               "is written './" + name + "'");
    return;
  }
  command.program = existing(section.line("run"), name);
  std::error_code error;
  if (fs::exists(command.program, error) && access(command.program.c_str(), X_OK) != 0)
    section.issue("run", "'" + name + "' may not be executed");
}

// Takes a name in the run directory. Names are compared as paths: ./a//b is a/b.
void CommandReader::claim(int line, const std::string& to) {
  const std::string path = fs::path(to).lexically_normal().generic_string();
  if (!insideDirectory(to) || path == "." || path.back() == '/')
    return issues.add(line, "command: '" + to + "' names no file in the run directory");
  for (const std::string& taken : targets)
    if (path == taken || path.rfind(taken + "/", 0) == 0 || taken.rfind(path + "/", 0) == 0)
      return issues.add(line, "command: '" + to + "' and '" + taken +
                                  "' cannot both be files of the run directory");
  targets.insert(path);
}

// A file that the problem names, relative to its own place.
fs::path CommandReader::existing(int line, const std::string& name) {
  const fs::path path = (directory / name).lexically_normal();
  std::error_code error;
  if (!fs::exists(path, error))
    issues.add(line, "command: no file '" + name + "' in " + directory.string());
  else if (!fs::is_regular_file(path, error))
    issues.add(line, "command: '" + name + "' is not a file");
  return path;
}

ResultEntry CommandReader::result(const std::string& name, Section& section) {
  ResultEntry result{name, section.text("file").value_or(""), section.text("key").value_or(""),
                     section.text("regex").value_or(""), section.line()};
  result.column = section.count("column", 1).value_or(0);
  result.json = section.text("json").value_or("");
  result.after = section.text("after").value_or("");
  readPick(section, result);
  const int sources = section.has("key") + section.has("regex") + section.has("column") +
                      section.has("json");
  if (sources != 1) section.issue("give either 'key', 'regex', 'column' or 'json'");
  if (!result.json.empty() && result.json[0] != '/')
    section.issue("json", "'json' is a pointer such as \"/loads/0/force\"");
  if (!result.json.empty() && !result.after.empty())
    section.issue("after", "'after' is about lines: leave it out with 'json'");
  if (!insideDirectory(result.file))
    section.issue("file", "'" + result.file + "' lies outside the run directory");
  return result;
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
