// The tables [command] and [results] of a problem file.
#pragma once

#include <filesystem>
#include <set>
#include <string>

#include "problem/section.h"

namespace tarnix::cli {

class CommandReader {
 public:
  CommandReader(std::filesystem::path problemDirectory, Issues& list)
      : directory(std::move(problemDirectory)), issues(list) {}

  Command command(Section& section);
  ResultEntry result(const std::string& name, Section& section);

 private:
  void readRun(Section& section, Command& command);
  std::filesystem::path program(Section& section, const std::string& key, const std::string& name);
  void readSupplied(Section& section, const char* key, Command& command);
  void readEnvironment(Section& section, Command& command);
  void readScratch(Section& section, Command& command);
  void warnOfMissingScripts(Section& section, const Command& command);
  void warnOfShellParts(Section& section, const Command& command);
  void readTemplates(Section& section, Command& command);
  void readSource(Section& section, ResultEntry& result);
  static void readPick(Section& section, ResultEntry& result);
  void readFailurePolicy(Section& section, Command& command);
  void claim(int line, const std::string& to);
  std::filesystem::path existing(int line, const std::string& name);

  std::filesystem::path directory;
  Issues& issues;
  std::set<std::string> targets{"stdout.txt", "stderr.txt"};  // taken names in a run directory
};

}  // namespace tarnix::cli
