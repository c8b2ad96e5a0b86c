#include <fstream>
#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "output/report_page.h"
#include "problem/described.h"

namespace tarnix::cli {

namespace {

// Of a problem file, or of the history that another host has written.
ReportedSolve solveOf(const std::filesystem::path& file, const ProblemArguments& arguments) {
  const bool bare = file.extension() == ".jsonl";
  Places places(file, arguments.output);
  if (bare) places.history = file;
  auto setup = bare ? std::make_unique<Setup>(describedProblem(file))
                    : std::make_unique<Setup>(file, goOnWith(places, arguments.overrides));
  History history(places.history);
  history.read(setup->problem);
  return {std::move(setup), std::move(history)};
}

}  // namespace

int commandReport(const ProblemArguments& arguments,
                  const std::vector<std::filesystem::path>& files) {
  std::vector<ReportedSolve> solves;
  solves.reserve(files.size());
  for (const std::filesystem::path& file : files) solves.push_back(solveOf(file, arguments));
  std::filesystem::path target = Places(files[0], arguments.output).report;
  if (files.size() > 1) target.replace_filename("comparison.report.html");
  std::ofstream stream(target);
  writeReport(solves, stream);
  if (!stream.flush()) throw Failure(exitFiles, target.string() + ": cannot be written");
  std::cout << "Wrote " << target.string() << "\n";
  return exitSolved;
}

}  // namespace tarnix::cli
