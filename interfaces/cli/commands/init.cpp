#include <fstream>
#include <iostream>

#include "commands/commands.h"

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

# All may be left out; these are the defaults.
[options]
method = "automatic"        # sqp, grg, or automatic: the one, then the other where that pays
tolerance = 1e-4            # of constraints and objective, relative to their scales
differences = "forward"     # or central: twice the evaluations, closer to the optimum
difference_step = 1e-4      # in units of half the range of a variable
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

# The program is started once per evaluation, in a directory of its own, which is made anew. In its
# arguments and templates {{width}} stands for the value of a variable or quantity, {{width:%10.4e}}
# for it in a format, {{dir}} for the directory of this file.
[command]
run = ["awk", "-f", "{{dir}}/simulator.awk", "input.txt"] # or one text, for the shell
templates = [{ from = "input.template", to = "input.txt" }]
files = []                  # copied into the directory of every run
timeout = 60                # seconds
on_failure = "stop"         # or retry, or penalty: go on with very bad values
# retries = 2               # with retry or penalty
# penalty = 1e6             # with penalty, in units of the scales
keep = "best"               # which run directories stay: none, failed, best or all

# What is read from its output: the number after a key ("mass = 3.2" or "mass: 3.2"), or the group
# of a regex that matches within a line; the last match counts. From standard output, or a file.
[results]
mass   = { key = "mass" }
stress = { regex = 'largest stress +(\S+) MPa', file = "output.txt" }

# ObjectiveEntry and constraints are expressions of variables, quantities and results.
[objective]
minimize = "mass"
unit = "kg"

[constraints]
strength = { value = "stress", max = 160, unit = "MPa" }
slender  = { value = "height / width", max = 2.5 }

[options]
difference_step = 1e-3      # well above the noise of the program
)toml";

}  // namespace

int commandInit(const std::filesystem::path& file, bool withCommand) {
  if (std::filesystem::exists(file))
    throw Failure(exitFiles, file.string() + ": is there already, and is left as it is");
  std::ofstream stream(file);
  if (!(stream << (withCommand ? commandStarter : expressionStarter)) || !stream.flush())
    throw Failure(exitFiles, file.string() + ": cannot be written");
  std::cout << "Wrote " << file.string() << "; next: tarnix check " << file.string() << "\n";
  return exitSolved;
}

}  // namespace tarnix::cli
