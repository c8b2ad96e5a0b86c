#include <fcntl.h>
#include <unistd.h>

#include <tarnix/tarnix.h>
#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>

#include "commands.h"

using namespace tarnix::cli;
namespace fs = std::filesystem;

namespace {

const char* const footer = R"(
First steps:
  tarnix init beam.toml       writes a commented problem file
  tarnix check beam.toml      tells what is wrong with it, or what would run
  tarnix solve beam.toml      solves it and prints the design
  tarnix report beam.toml     draws how the solve went, as one HTML page

Files, beside the problem file or in the directory of --output:
  beam.history.jsonl          every finished evaluation, one line each, exact
  beam.runs/                  directories of the runs of an external command
  beam.report.html            the page of 'report'

Exit status:
  0  solved: every limit holds and the method has converged
  1  the solve ended otherwise (no feasible design, a limit of the options)
  2  wrong command line or problem file; nothing was run
  3  an evaluation failed, and on_failure is "stop"
  4  a file cannot be read or written, or an unfinished history is in the way
  5  anything else
  130, 143, 129  ended by SIGINT, SIGTERM, SIGHUP; the best design so far is printed)";

// A descriptor below 3 that is closed at the start would be taken by the next file to be opened.
void openStandardStreams() {
  int descriptor;
  do {
    descriptor = open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor < 3);
  if (descriptor >= 0) close(descriptor);
}

int run(int argc, char** argv) {
  CLI::App app{
      "Finds the best design under constraints, from expressions or an external simulator.",
      "tarnix"};
  app.footer(footer);
  app.set_version_flag("--version", std::string("tarnix ") + VRK_VERSION_STRING);
  app.require_subcommand(1);
  app.get_formatter()->column_width(30);

  std::string file, output;
  bool command = false, runStart = false, json = false, quiet = false;
  SolveOptions options;

  CLI::App* init = app.add_subcommand("init", "Write a commented problem file to begin with");
  init->add_option("FILE", file, "File to write")->required();
  init->add_flag("--command", command, "One for an external command, not for expressions");

  const auto withFile = [&](const char* name, const char* description) {
    CLI::App* sub = app.add_subcommand(name, description);
    sub->add_option("FILE", file, "Problem file (TOML)")->required();
    sub->add_option("-o,--output", output, "Directory for history, runs and report");
    return sub;
  };
  CLI::App* check = withFile("check", "Validate a problem and show what would run");
  check->add_flag("--run", runStart, "Also run the external command once, at the start");

  CLI::App* solveApp = withFile("solve", "Solve a problem");
  solveApp->add_flag("--fresh", options.fresh, "Put an unfinished history aside and begin anew");
  CLI::App* resume = withFile("resume", "Go on with a solve that was ended, repeating no run");
  for (CLI::App* sub : {solveApp, resume}) {
    sub->add_option("-j,--jobs", options.jobs, "Runs of the external command side by side")
        ->check(CLI::Range(1, 1024))
        ->capture_default_str();
    sub->add_flag("-q,--quiet", quiet, "No progress");
    sub->add_flag("--json", json, "Print the result as JSON");
  }
  CLI::App* report = withFile("report", "Write an HTML page about the history of a solve");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? exitSolved : exitBadProblem;
  }

  if (*init) {
    writeStarter(file, command);
    std::cout << "Wrote " << file << "; next: tarnix check " << file << "\n";
    return exitSolved;
  }
  Setup setup(file);
  const Places places(file, output);
  if (*check) {
    std::cout << describe(setup, places, runStart);
    return exitSolved;
  }
  if (*report) {
    const std::string page = reportPage(setup, places);
    std::ofstream stream(places.report);
    if (!(stream << page) || !stream.flush())
      throw Failure(exitFiles, places.report.string() + ": cannot be written");
    std::cout << "Wrote " << places.report.string() << "\n";
    return exitSolved;
  }
  options.resume = resume->parsed();
  options.progress = quiet                   ? Progress::none
                     : isatty(STDERR_FILENO) ? Progress::live
                                             : Progress::lines;
  int exitCode = exitInternal;
  const Json result = solve(setup, places, options, exitCode);
  if (json)
    std::cout << result.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
  else
    std::cout << resultTable(result);
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  openStandardStreams();
  blockSignals();
  try {
    return run(argc, argv);
  } catch (const Failure& failure) {
    std::cerr << "error: " << failure.what() << "\n";
    return failure.code;
  } catch (const Interrupted& interrupted) {
    return 128 + interrupted.signal;
  } catch (const std::exception& error) {
    std::cerr << "error: " << error.what() << "\n";
    return exitInternal;
  }
}
