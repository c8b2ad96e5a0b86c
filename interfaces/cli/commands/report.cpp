#include <fstream>
#include <iostream>

#include "commands/commands.h"
#include "output/report_page.h"

namespace tarnix::cli {

int commandReport(const ProblemArguments& arguments) {
  Setup setup(arguments.file, arguments.overrides);
  const Places places(arguments.file, arguments.output);
  History history(places.history);
  history.read(setup.problem);
  std::ofstream stream(places.report);
  if (!(stream << reportPage(setup, history)) || !stream.flush())
    throw Failure(exitFiles, places.report.string() + ": cannot be written");
  std::cout << "Wrote " << places.report.string() << "\n";
  return exitSolved;
}

}  // namespace tarnix::cli
