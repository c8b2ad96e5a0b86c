#include <iostream>

#include "base/exact_json.h"
#include "commands/commands.h"

namespace tarnix::cli {

int commandSolve(const ProblemArguments& arguments, const SolveOptions& options, bool json) {
  const Places places(arguments.file, arguments.output);
  Setup setup(arguments.file,
              options.resume ? goOnWith(places, arguments.overrides) : arguments.overrides);
  moveStart(setup, places, arguments.start);
  int exitCode = exitInternal;
  const Outcome outcome = solve(setup, places, options, exitCode);
  std::cout << (json ? dumped(toJson(outcome), 2) + "\n" : table(outcome));
  return exitCode;
}

}  // namespace tarnix::cli
