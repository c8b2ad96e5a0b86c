#include "run/advice.h"

#include <algorithm>
#include <cmath>
#include <tarnix/tarnix.hpp>

#include "base/numbers.h"
#include "output/outcome.h"
#include "run/layer.h"

namespace tarnix::cli {

namespace {

class Advice {
 public:
  Advice(const ProblemFile& p, const tarnix::Result& r, const NotFinite& n)
      : problem(p), result(r), notFinite(n) {}

  std::string text() {
    tellViolation();
    tellNotFinite();
    if (result.conflict)
      say(conflictText(*outcomeOf(problem, result).conflict));
    else if (!result.success)
      tellReason();
    return all;
  }

 private:
  void say(const std::string& sentence) { all += (all.empty() ? "" : " ") + sentence; }

  void tellViolation() {
    if (result.feasible || std::isnan(result.point.violation)) return;
    const ConstraintEntry* worst = nullptr;
    double most = 0, value = 0;
    for (std::size_t j = 0; j < problem.constraints.size(); ++j) {
      const ConstraintEntry& c = problem.constraints[j];
      const double v = result.point.values[j + 1];
      const double by = std::max(c.max ? v - *c.max : 0, c.min ? *c.min - v : 0) / c.scale;
      if (by > most) worst = &c, most = by, value = v;
    }
    if (worst)
      say("The limit violated most is that of '" + worst->name + "': " + rounded(value) +
          ", which has to be " + limitText(worst->min, worst->max) + ".");
  }

  void tellNotFinite() {
    if (notFinite.designs == 0) return;
    say("'" + notFinite.name + "' was not finite, in " + std::to_string(notFinite.designs) +
        (notFinite.designs == 1 ? " design." : " designs."));
    if (!notFinite.inside && !problem.options.insideBounds)
      say("That lay outside the bounds, by the step of the differences: set inside_bounds = true "
          "in [options].");
    else if (!result.success)
      say("Narrow the bounds to where everything is defined, or start elsewhere.");
  }

  void tellReason() {
    switch (result.reason) {
      case Reason::finished:
        say("The method has stalled.");
        if (result.feasible)
          say("This is no optimum: the objective still has a slope that no active limit explains.");
        break;
      case Reason::noFeasiblePoint:
        say("From here no step reduces the violation: the limits may contradict each other within "
            "these bounds, or another start is needed.");
        break;
      case Reason::breakdown: say("The method broke down: " + result.meaning + "."); break;
      case Reason::iterationLimit:
        say("Raise max_iterations in [options], or continue from here with 'tarnix solve --start "
            "best'.");
        return;
      default: say("Continue from here with 'tarnix solve --start best'."); return;
    }
    tellWhatToTry();
  }

  void tellWhatToTry() {
    std::string tries;
    const auto add = [&](const std::string& what) { tries += (tries.empty() ? "" : "; ") + what; };
    const OptionsTable& o = problem.options;
    const double value = result.point.values[0];
    if (const double size = std::abs(value) / problem.objective.scale.value_or(typicalSize(value));
        size > 1e4 || (size > 0 && size < 1e-4))
      add("scale = " + rounded(typicalSize(value)) + " in [objective]");
    if (o.method != "automatic") add("method = \"automatic\" in [options]");
    if (!o.centralDifferences) add("differences = \"central\"");
    if (problem.command && result.noise == 0) add("another difference_step");
    if (!problem.constraints.empty())
      add("a 'scale' for each constraint that is about the size of its usual changes");
    add("another start");
    say("To try: " + tries + ".");
  }

  const ProblemFile& problem;
  const tarnix::Result& result;
  const NotFinite& notFinite;
  std::string all;
};

}  // namespace

std::string adviceFor(const ProblemFile& problem, const tarnix::Result& result,
                      const NotFinite& notFinite) {
  return Advice(problem, result, notFinite).text();
}

}  // namespace tarnix::cli
