#include <fstream>
#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "output/report_page.h"
#include "problem/described.h"

namespace tarnix::cli {

int commandReport(const ProblemArguments& arguments) {
  const std::filesystem::path file(arguments.file);
  const bool bare = file.extension() == ".jsonl";  // a history of another host
  const auto setup = bare ? std::make_unique<Setup>(describedProblem(file))
                          : std::make_unique<Setup>(file, arguments.overrides);
  Places places(file, arguments.output);
  if (bare) places.history = file;
  History history(places.history);
  history.read(setup->problem);
  std::ofstream stream(places.report);
  if (!(stream << reportPage(*setup, history)) || !stream.flush())
    throw Failure(exitFiles, places.report.string() + ": cannot be written");
  std::cout << "Wrote " << places.report.string() << "\n";
  return exitSolved;
}

}  // namespace tarnix::cli
