#include <fstream>
#include <iostream>

#include "commands/commands.h"
#include "problem/changes.h"

namespace tarnix::cli {

namespace {

const char* const expressionStarter =
    R"toml(# A problem for tarnix.
# Check it with   tarnix check FILE   and run it with   tarnix solve FILE

title = "Tubular column"

# What may be changed, one entry each. The bounds are also the scale of a variable: choose them
# around sensible designs. A fixed one is written { value = 250 }.
[variables]
diameter  = { start = 8,   lower = 2,   upper = 14,  unit = "cm" }
thickness = { start = 0.5, lower = 0.2, upper = 0.8, unit = "cm" }

# Intermediate values, in any order. Operators + - * / ^, comparisons, a ? b : c, and sqrt, exp, ln,
# log10, sin, cos, tan, atan2, abs, min, max, pow, pi and others.
[quantities]
load     = 2500                                           # kgf
length   = 250                                            # cm
area     = "pi * diameter * thickness"
stress   = "load / area"
buckling = "pi^2 * 0.85e6 * (diameter^2 + thickness^2) / (8 * length^2)"

# minimize or maximize
[objective]
minimize = "9.8 * diameter * thickness + 2 * diameter"
name = "cost"

# Each with min, max, both, or equal. Violations are measured in units of the limit, or of scale.
[constraints]
yield    = { value = "stress", max = 500, unit = "kgf/cm^2" }
buckles  = { value = "stress / buckling", max = 1 }

# All are optional; these are the defaults.
[options]
method = "automatic"        # sqp, grg, or automatic: the one, then the other where that pays
tolerance = 1e-4            # of constraints and objective, relative to their scales
differences = "forward"     # or central: twice the evaluations, closer to the optimum
# difference_step = 1e-4    # in half the range of a variable; otherwise by the noise of the values
inside_bounds = false       # true: no evaluation steps beyond a bound, not even by a difference
max_iterations = 200        # of one method
# max_evaluations = 1000
# max_seconds = 3600
# target = 27               # stop at a design within the limits that is this good
)toml";

const char* const commandStarter =
    R"toml(# A problem for tarnix whose values come from a program.
# Check it with   tarnix check --run FILE   and run it with   tarnix solve --jobs 2 FILE

title = "My simulator"

# What may be changed, one entry each. The bounds are also the scale of a variable.
[variables]
width  = { start = 20, lower = 5, upper = 60, unit = "mm" }
height = { start = 30, lower = 5, upper = 60, unit = "mm" }

# The program is started once per evaluation, in a new directory of its own. In its
# arguments and templates {{width}} is the value of a variable or quantity, {{width:%10.4e}} that in
# a format, {{dir}} the directory of this file.
[command]
run = ["awk", "-f", "{{dir}}/simulator.awk", "input.txt"] # or one text, for the shell
templates = [{ from = "input.template", to = "input.txt" }]
timeout = 60                # seconds
on_failure = "stop"         # or retry, or penalty: continue with very bad values
keep = "best"               # which run directories stay: none, failed, best or all
# files = ["mesh/*.inp"]    # copied into the directory of every run; links = [...] links them
# env = { OMP_NUM_THREADS = 1 }
# retries = 2               # with retry or penalty; retry_wait = 60: seconds before each
# launcher = ["srun", "-n1"]  # what starts the program, for instance on another machine

# What is read from its output: the number after a key ("mass = 3.2" or "mass: 3.2"), or the group
# of a regex that matches within a line; the last match counts. From standard output, or a file.
[results]
mass   = { key = "mass" }
stress = { regex = 'largest stress +(\S+) MPa', file = "output.txt" }

# Objective and constraints are expressions of variables, quantities and results.
[objective]
minimize = "mass"
unit = "kg"

[constraints]
strength = { value = "stress", max = 160, unit = "MPa" }
slender  = { value = "height / width", max = 2.5 }

[options]
# accuracy = 1e-6           # of the results, relative; otherwise a few runs show it
# effort = 0                # no further starts, where a run takes minutes
)toml";

const char* const templateStarter = R"text(width   {{width}}
height  {{height}}
)text";

const char* const simulatorStarter =
    R"awk(# A stand-in for your program: a steel beam of 1 m with a load of 500 N at its end.
# It reads lines "name value", prints one result and writes the other to a file.
{ given[$1] = $2 }
END {
  w = given["width"]; h = given["height"]           # mm
  if (w <= 0 || h <= 0) { print "no beam" > "/dev/stderr"; exit 1 }
  printf "mass = %.17g\n", 7.85e-6 * 1000 * w * h   # kg
  stress = 6 * 500 * 1000 / (w * h * h)             # MPa
  printf "largest stress  %.17g MPa\n", stress > "output.txt"
}
)awk";

}  // namespace

int commandInit(const std::filesystem::path& file, bool withCommand, const Overrides& overrides) {
  Issues issues(file.string());
  std::vector<std::pair<std::filesystem::path, std::string>> files{
      {file, textWith(overrides, withCommand ? commandStarter : expressionStarter, issues)}};
  if (!issues.empty()) throw Failure(exitBadProblem, issues.text());
  if (withCommand) {
    files.emplace_back(file.parent_path() / "input.template", templateStarter);
    files.emplace_back(file.parent_path() / "simulator.awk", simulatorStarter);
  }
  std::error_code error;
  for (const auto& [path, text] : files)
    if (std::filesystem::exists(std::filesystem::symlink_status(path, error)))
      throw Failure(exitFiles, path.string() + ": is there already, and is left as it is");
  for (const auto& [path, text] : files) {
    std::ofstream stream(path);
    if (!(stream << text) || !stream.flush())
      throw Failure(exitFiles, path.string() + ": cannot be written");
    std::cout << "Wrote " << path.string() << "\n";
  }
  std::cout << "Next: tarnix check " << (withCommand ? "--run " : "") << file.string() << "\n";
  return exitSolved;
}

}  // namespace tarnix::cli
