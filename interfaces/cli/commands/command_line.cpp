#include "commands/command_line.h"

#include <tarnix/tarnix.h>
#include <unistd.h>
#include <CLI/CLI.hpp>
#include <iostream>

#include "base/text.h"
#include "commands/commands.h"

namespace tarnix::cli {

namespace {

const char* const footer = R"(
First steps:
  tarnix init beam.toml       writes a commented problem file
  tarnix check beam.toml      shows what is wrong with it, or what would run
  tarnix solve beam.toml      solves it and prints the design
  tarnix report beam.toml     draws how the solve went, as one HTML page

Around a solve:
  tarnix probe beam.toml      tries the command: repeatability, noise, steps, time
  tarnix doe beam.toml        evaluates a plan of designs
  tarnix sweep beam.toml --over stress.max=100:200:5
                              solves with a key at several values
  tarnix table beam.toml      writes the history as CSV

Files, next to the problem file or in the directory of --output:
  beam.history.jsonl          every finished evaluation, one line each, exact
  beam.runs/                  directories of the runs of an external command
  beam.best/                  the run that verified the final design
  beam.report.html            the page of 'report'

Exit status:
  0  solved: every limit holds and the method has converged
  1  the solve ended otherwise (no feasible design, a limit of the options, a final design
     that does not repeat)
  2  wrong command line or problem file; nothing was run
  3  an evaluation failed, and on_failure is "stop"; or the one of the start
  4  a file cannot be read or written, or an unfinished history is in the way
  5  anything else
  128 + N  ended by signal N (INT, TERM, HUP, USR1, USR2); the best design so far is printed)";

class CommandLine {
 public:
  CommandLine() {
    app.footer(footer);
    app.set_version_flag("--version", std::string("tarnix ") + VRK_VERSION_STRING);
    app.require_subcommand(1);
    app.get_formatter()->column_width(30);
    addInit();
    addCheck();
    addRun();
    addSolve();
    addReport();
    addProbe();
    addSweep();
    addDoe();
    addTable();
  }

  int run(int argc, char** argv) {
    if (argc < 2) {
      std::cout << app.help();
      return exitBadProblem;
    }
    if (std::string(argv[1]) == "help") {
      std::cout << app.help();
      return exitSolved;
    }
    if (const std::string word = argv[1];
        word[0] != '-' && std::find(names.begin(), names.end(), word) == names.end()) {
      std::cerr << "error: there is no command '" << clipped(word) << "'" << suggestion(word, names)
                << "\n";
      return exitBadProblem;
    }
    for (int i = 0; i < argc; ++i)
      options.commandLine += (i > 0 ? " " : "") + shellWord(i > 0 ? argv[i] : "tarnix");
    try {
      app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      return report(error, argc, argv);
    }
    return chosen();
  }

 private:
  // Help, or what is wrong with the words: an unknown option with the nearest one.
  int report(const CLI::ParseError& error, int argc, char** argv) const {
    if (error.get_exit_code() == 0) return app.exit(error);
    const auto chosenOnes = app.get_subcommands();
    const CLI::App& sub = chosenOnes.empty() ? app : *chosenOnes[0];
    std::vector<std::string> known;
    for (const CLI::Option* option : sub.get_options())
      for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
    std::string text = error.what();
    for (int i = 1; i < argc; ++i) {
      const std::string word(argv[i]), option = word.substr(0, word.find('='));
      if (option.starts_with("--") && std::find(known.begin(), known.end(), option) == known.end())
        text = "unknown option '" + clipped(option) + "'" + suggestion(option, known);
    }
    const std::string command = chosenOnes.empty() ? "tarnix" : "tarnix " + sub.get_name();
    std::cerr << "error: " << text << "; see " << command << " --help\n";
    return exitBadProblem;
  }

  CLI::App* add(const char* name, const char* description, const std::function<int()>& action) {
    CLI::App* sub = app.add_subcommand(name, description);
    sub->callback([this, action] { chosen = action; });
    sub->footer("");
    names.push_back(name);
    return sub;
  }

  CLI::App* withFile(const char* name, const char* description,
                     const std::function<int()>& action) {
    CLI::App* sub = add(name, description, action);
    sub->add_option("FILE", arguments.file, "Problem file (TOML)")->required();
    addOutput(sub);
    addSet(sub);
    return sub;
  }

  void addOutput(CLI::App* sub) {
    sub->add_option("-o,--output", arguments.output, "Directory for history, runs and report");
  }

  void addSet(CLI::App* sub) {
    sub->add_option("--set", arguments.overrides,
                    "Change of the file for this time: NAME=VALUE or NAME.KEY=VALUE")
        ->allow_extra_args(false);
  }

  void addInit() {
    CLI::App* sub = add("init", "Write a commented problem file to begin with",
                        [this] { return commandInit(arguments.file, flag, arguments.overrides); });
    sub->add_option("FILE", arguments.file, "File to write")->required();
    sub->add_flag("--command", flag, "One for an external command, which is written too");
    addSet(sub);
  }

  void addCheck() {
    CLI::App* sub = withFile("check", "Validate a problem and show what would run",
                             [this] { return commandCheck(arguments, flag, options.jobs, json); });
    sub->add_flag("--run", flag, "Also run the external command, at the start");
    addJobs(sub, "Runs of the start side by side, which have to agree");
    addStart(sub);
    sub->add_flag("--json", json, "Print what was found as JSON");
  }

  void addSolve() {
    const auto solves = [this](bool resume) {
      return [this, resume] {
        options.resume = resume;
        options.progress = progressStyle(quiet);
        return commandSolve(arguments, options, json);
      };
    };
    CLI::App* solve = withFile("solve", "Solve a problem", solves(false));
    solve->add_flag("--fresh", options.fresh, "Put an unfinished history aside and start over");
    addStart(solve);
    CLI::App* resume =
        withFile("resume", "Continue a solve that was ended, repeating no run", solves(true));
    resume->add_flag("--retry-failed", options.retryFailed,
                     "Run designs again whose runs have failed");
    for (CLI::App* sub : {solve, resume}) {
      addOverride(sub, "--starts", "options.starts",
                  "Solve from so many starts: the file's and quasi-random points");
      addOverride(sub, "--seed", "options.seed", "Of the quasi-random points");
      addJobs(sub, "Runs of the external command side by side");
      sub->add_flag("-q,--quiet", quiet, "No progress");
      sub->add_flag("--json", json, "Print the result as JSON");
    }
  }

  // An option that is a key of the file.
  void addOverride(CLI::App* sub, const char* option, const std::string& key,
                   const char* description) {
    sub->add_option_function<int>(
           option,
           [this, key](int value) {
             arguments.overrides.push_back(key + "=" + std::to_string(value));
           },
           description)
        ->check(CLI::Range(1, 1'000'000));
  }

  void addRun() {
    CLI::App* sub = withFile("run", "Evaluate one design and keep its directory",
                             [this] { return commandRun(arguments, at); });
    sub->add_option("--at", at, "Design: start, best, or values such as a=3,b=4")
        ->capture_default_str();
  }

  void addJobs(CLI::App* sub, const char* description) {
    sub->add_option("-j,--jobs", options.jobs, description)
        ->check(CLI::Range(1, 1024))
        ->capture_default_str();
  }

  void addStart(CLI::App* sub) {
    sub->add_option("--start", arguments.start,
                    "Where to start: start, best (of the history), or a history file");
  }

  void addReport() {
    CLI::App* sub = add("report", "Write an HTML page about the history of a solve, or of several",
                        [this] { return commandReport(arguments, files); });
    sub->add_option("FILE", files, "Problem files (TOML)")->required();
    addOutput(sub);
    addSet(sub);
  }

  // Options of the commands that evaluate designs without solving.
  void addStudy(CLI::App* sub) {
    addJobs(sub, "Runs of the external command side by side");
    sub->add_flag("--fresh", options.fresh, "Put the history of an earlier call aside");
    sub->add_flag("--retry-failed", options.retryFailed,
                  "Run designs again whose runs have failed");
    sub->add_flag("-q,--quiet", quiet, "No progress");
  }

  StudyOptions studyOptions() const {
    const ProgressStyle style = progressStyle(quiet);
    return {options.jobs, options.fresh, options.retryFailed, style};
  }

  void addProbe() {
    CLI::App* sub = withFile("probe", "Try a command: repeatability, noise, steps, time",
                             [this] { return commandProbe(arguments, studyOptions(), json); });
    addStart(sub);
    addStudy(sub);
    sub->add_flag("--json", json, "Print the result as JSON");
  }

  void addSweep() {
    CLI::App* sub = withFile("sweep", "Solve with a key of the file at several values", [this] {
      return commandSweep(arguments, over, studyOptions(), json);
    });
    sub->add_option("--over", over,
                    "NAME.KEY=FROM:TO:COUNT, or NAME.KEY=A,B,C; twice for a map of two keys")
        ->allow_extra_args(false)
        ->required();
    addStudy(sub);
    sub->add_flag("--json", json, "Print the result as JSON");
  }

  void addDoe() {
    CLI::App* sub = withFile("doe", "Evaluate a plan of designs, without an optimizer",
                             [this] { return commandDoe(arguments, plan, studyOptions(), json); });
    sub->add_option("--plan", plan.kind, "Which designs")
        ->check(CLI::IsMember(planKinds()))
        ->capture_default_str();
    sub->add_option("-n,--count", plan.count, "Designs of latin and sobol, levels of one-at-a-time")
        ->check(CLI::Range(1, 1'000'000));
    sub->add_option("--seed", plan.seed, "Of latin and sobol")->capture_default_str();
    addStart(sub);
    addStudy(sub);
    sub->add_flag("--json", json, "Print the result as JSON");
  }

  void addTable() {
    CLI::App* sub = withFile("table", "Write a history as CSV, or evaluate the designs of a CSV",
                             [this] { return commandTable(arguments, table, studyOptions()); });
    sub->add_option("--history", table.history, "Another history than that of the solve");
    sub->add_option("--designs", table.designs,
                    "Evaluate the designs of this file: a line with names, then one per design");
    sub->add_option("--to", table.to, "File to write; otherwise standard output");
    addStudy(sub);
  }

  CLI::App app{
      "Finds the best design under constraints, from expressions or an external simulator.",
      "tarnix"};
  ProblemArguments arguments;
  std::vector<std::filesystem::path> files;
  SolveOptions options;
  Plan plan;
  TableOptions table;
  std::string at = "start";
  std::vector<std::string> over;
  std::vector<std::string> names;  // of the commands
  bool flag = false, json = false, quiet = false;
  std::function<int()> chosen;
};

}  // namespace

int runCommandLine(int argc, char** argv) {
  return CommandLine().run(argc, argv);
}

}  // namespace tarnix::cli
