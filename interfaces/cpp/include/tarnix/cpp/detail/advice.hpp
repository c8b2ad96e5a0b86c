#pragma once
// One paragraph about a result: what happened, and what to try.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "../options.hpp"
#include "../result.hpp"
#include "evaluator.hpp"
#include "text.hpp"

namespace tarnix::detail {

class Advice {
 public:
  Advice(const Result& result, const Options& options, const Evaluator& evaluator)
      : r_(result), d_(*result.description), o_(options), e_(evaluator) {}

  std::string text() {
    tellPoint();
    tellNotFinite();
    tellNoise();
    tellConflict();
    if (r_.success)
      tellStandstill();
    else if (!r_.conflict)
      tellWhatToTry();
    return text_;
  }

 private:
  void say(const std::string& sentence) { text_ += (text_.empty() ? "" : " ") + sentence; }

  void tellPoint() {
    if (std::isnan(r_.point.violation))
      say("No evaluation gave finite values for everything.");
    else if (r_.feasible)
      say(d_.functions.size() > 1
              ? "All constraints hold within " + number(e_.tolerance()) + " of their scales."
              : "The point lies within its bounds.");
    else
      say("The constraint violated most is " + worstConstraint() + ".");
    if (!r_.feasible && r_.best) say("A feasible point was seen on the way and is kept as best.");
  }

  /// "'stress' = 512.3, above 500".
  std::string worstConstraint() const {
    std::size_t worst = 0;
    double most = 0;
    for (std::size_t j = 1; j < d_.functions.size(); ++j) {
      const auto& f = d_.functions[j];
      const double v = r_.point.values[j];
      const double size = std::max(v - f.upper, f.lower - v) / f.scale;
      if (size > most) worst = j, most = size;
    }
    const auto& f = d_.functions[worst];
    const double v = r_.point.values[worst];
    const std::string limit = number(v > f.upper ? f.upper : f.lower);
    return "'" + f.name + "' = " + number(v) +
           (f.relation == Relation::equal ? " instead of "
            : v > f.upper                 ? ", above "
                                          : ", below ") +
           limit;
  }

  void tellNotFinite() {
    const auto& first = e_.firstNotFinite();
    if (!first) return;
    say("'" + first->name + "' was not finite, or not set, in evaluation " +
        std::to_string(first->evaluation) + " for the first time, in " +
        std::to_string(e_.notFiniteCount()) + " of " + std::to_string(e_.evaluations()) +
        " altogether.");
    if (!o_.keepInside && outside(first->x))
      say("That point lay outside the bounds, by the step of the differences: set keepInside.");
    else if (!r_.success)
      say("Narrow the bounds to where the functions are defined, or start elsewhere.");
  }

  void tellConflict() {
    if (!r_.conflict) return;
    std::string names;
    for (const std::string& name : r_.conflict->constraints)
      names += (names.empty() ? "'" : ", '") + name + "'";
    say("No design was found that meets all constraints: the least violation is " +
        number(r_.conflict->violation, 3) + " of the scales. " +
        (r_.conflict->constraints.size() == 1
             ? "Within these bounds nothing meets " + names + " alone."
             : names + " contradict each other within these bounds" +
                   (r_.conflict->minimal ? "; without any one of them the others can be met."
                                         : ".")));
  }

  void tellNoise() {
    if (r_.noise == 0) return;
    say("The values carry noise of about " + number(r_.noise, 1) +
        " of their size: smaller gains were not looked for, the differences step " +
        number(r_.differenceStep, 1) + " of half the ranges.");
  }

  bool outside(const std::vector<double>& x) const {
    for (std::size_t i = 0; i < x.size(); ++i)
      if (x[i] < d_.variables[i].lower || x[i] > d_.variables[i].upper) return true;
    return false;
  }

  void tellStandstill() {
    const bool converged =
        r_.method == Method::sqp ? r_.status == VRK_SQP_CONVERGED : r_.status == VRK_GRG_CONVERGED;
    if (r_.reason != Reason::finished || converged || r_.status == 0) return;
    say("The method stalled before it met its test of convergence.");
    say(o_.method == Method::automatic
            ? "It is a stationary point: as good as the differences allow."
            : "The automatic method shows whether another one finds a better point.");
  }

  void tellWhatToTry() {
    switch (r_.reason) {
      case Reason::finished:
        say("The method has stalled there.");
        if (r_.feasible)
          say("That is no optimum: the objective still has a slope that no active limit explains.");
        break;
      case Reason::noFeasiblePoint:
        say("From there no step reduces the violation: the constraints may contradict each other "
            "in these bounds, or another start is needed.");
        break;
      case Reason::breakdown: say("The method broke down: " + r_.meaning + "."); break;
      case Reason::iterationLimit:
        say("The limit of " + std::to_string(o_.maxIterations) +
            " iterations was reached: continue from this point (option start), or raise "
            "maxIterations.");
        return;
      case Reason::evaluationLimit:
      case Reason::timeLimit:
      case Reason::stopped:
        say("The solve was cut short (" + std::string(name(r_.reason)) +
            "); this is the best point seen. Continue from it with the option start.");
        return;
      case Reason::unbounded:
        say("The point runs away where bounds are missing, " + r_.stages.back().meaning +
            ": give bounds, or look at the sign of the objective.");
        return;
      case Reason::targetReached: return;
    }
    std::string tries;
    const auto add = [&](const std::string& what) { tries += (tries.empty() ? "" : "; ") + what; };
    if (const double size = std::abs(r_.point.values[0]) / d_.functions[0].scale;
        size > 1e4 || (size > 0 && size < 1e-4))
      add("scale the objective: give " + number(std::abs(r_.point.values[0]), 1) +
          " as its typical magnitude");
    if (o_.method != Method::automatic)
      add(std::string("the ") + (o_.method == Method::sqp ? "GRG" : "SQP") +
          " method, or the automatic one");
    if (o_.differences == Differences::forward && o_.method != Method::automatic)
      add("central differences");
    add("scales that bring every constraint to the order of 1");
    add("another start");
    say("To try: " + tries + ".");
  }

  const Result& r_;
  const Description& d_;
  const Options& o_;
  const Evaluator& e_;
  std::string text_;
};

}  // namespace tarnix::detail
