// Any text as a problem file: it is read or refused with messages that name the file.

#include "input.h"
#include "problem/model.h"
#include "problem/problem.h"
#include "scratch.h"

using namespace tarnix::cli;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
  const auto path =
      fuzz::write("p.toml", std::string(reinterpret_cast<const char*>(bytes), length));
  Issues issues("p.toml");
  const ProblemFile problem = readProblem(path, issues);
  if (!issues.empty()) {
    fuzz::require(issues.text().find("p.toml") != std::string::npos, "a message names the file");
    return 0;
  }
  fuzz::require(!problem.variables.empty(), "a problem has variables");
  for (const VariableEntry& v : problem.variables)
    fuzz::require(v.lower <= v.start && v.start <= v.upper, "a start lies within its bounds");
  return 0;
}
