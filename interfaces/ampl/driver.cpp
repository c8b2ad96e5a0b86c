#include "driver.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace tarnix::ampl {
namespace {

struct Limits {
  double lower, upper;
};

Limits limitsOf(const NlModel& model, int i) {
  Limits l;
  nl_constraint(&model, i, &l.lower, &l.upper);
  return l;
}

// The functions of the problem: constraints that limit something, in the order of the file.
class Translation {
 public:
  explicit Translation(NlModel& model) : model_(model) {
    declareVariables();
    const char* none = "objective";
    nl_maximizes(&model) ? problem.maximize(none) : problem.minimize(none);
    for (int i = 0; i < nl_constraints(&model); ++i) declareConstraint(i);
    constraints_.resize(static_cast<std::size_t>(nl_constraints(&model)));
    gradients_.resize((constraints_.size() + 1) * static_cast<std::size_t>(nl_variables(&model)));
  }

  void values(const Point& x, Values& v) {
    nl_values(&model_, x.data(), &v[0], constraints_.data());
    for (std::size_t k = 0; k < rows.size(); ++k) v[k + 1] = constraints_[rows[k]];
  }

  void gradients(const Point& x, Gradients& g) {
    const std::size_t n = x.size();
    std::fill(gradients_.begin(), gradients_.end(), std::numeric_limits<double>::quiet_NaN());
    nl_gradients(&model_, x.data(), gradients_.data());
    std::copy_n(gradients_.data(), n, g.of({0}));
    for (std::size_t k = 0; k < rows.size(); ++k)
      std::copy_n(gradients_.data() + (rows[k] + 1) * n, n, g.of({k + 1}));
  }

  Problem problem;
  std::string contradiction;      // bounds or limits that cross
  std::vector<std::size_t> rows;  // number in the file of each constraint of the problem

 private:
  void declareVariables() {
    for (int i = 0; i < nl_variables(&model_); ++i) {
      double start, lower, upper;
      nl_variable(&model_, i, &start, &lower, &upper);
      const std::string name = std::string("variable ") + nl_variable_name(&model_, i);
      if (lower > upper) contradiction = name + " has crossed bounds";
      problem.variable(name, start, lower, upper);
    }
  }

  void declareConstraint(int i) {
    const Limits l = limitsOf(model_, i);
    const std::string name = std::string("constraint ") + nl_constraint_name(&model_, i);
    if (l.lower > l.upper) contradiction = name + " has crossed limits";
    const bool below = std::isfinite(l.lower), above = std::isfinite(l.upper);
    if (!below && !above) return;
    rows.push_back(static_cast<std::size_t>(i));
    if (below && above)
      problem.between(name, l.lower, l.upper);
    else if (below)
      problem.atLeast(name, l.lower);
    else
      problem.atMost(name, l.upper);
  }

  NlModel& model_;
  std::vector<double> constraints_, gradients_;
};

Options layerOptions(const NlOptions& o, const Stop& stop) {
  Options options;
  options.method = o.method == 1 ? Method::sqp : o.method == 2 ? Method::grg : Method::automatic;
  options.tolerance = o.tolerance;
  options.maxIterations = o.maxIter;
  options.printLevel = o.printLevel;
  options.moveStartInside = true;
  options.stop = stop;
  if (o.maxEval > 0) options.maxEvaluations = static_cast<std::int64_t>(std::min(o.maxEval, 1e15));
  if (o.time > 0) options.maxTime = std::chrono::duration<double>(o.time);
  if (!std::isnan(o.target)) options.target = o.target;
  return options;
}

bool allFinite(const std::vector<double>& values) {
  return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

int limitCode(Reason reason) {
  switch (reason) {
    case Reason::iterationLimit: return 400;
    case Reason::evaluationLimit: return 401;
    case Reason::timeLimit: return 402;
    case Reason::stopped: return 403;
    default: return 0;
  }
}

// Codes by the table that modeling languages go by.
int resultCode(const Result& r) {
  if (r.success) return 0;
  if (r.reason == Reason::unbounded) return 300;
  if (const int limit = limitCode(r.reason)) return limit;
  if (r.feasible) return 100;
  if (!allFinite(r.point.values)) return 501;
  if (r.reason == Reason::breakdown) return 500;
  return 200;
}

const char* inWords(int code) {
  switch (code) {
    case 0: return "solved";
    case 100: return "feasible point, not known to be optimal";
    case 200: return "no feasible point found";
    case 300: return "unbounded";
    case 400: return "iteration limit";
    case 401: return "evaluation limit";
    case 402: return "time limit";
    case 403: return "stopped";
    case 501: return "functions have no value at the start";
    default: return "the method broke down";
  }
}

std::string messageOf(const Result& r, int code, bool hasObjective) {
  char line[200];
  std::string message = inWords(code);
  if (hasObjective && !r.point.values.empty()) {
    std::snprintf(line, sizeof line, "; objective %.9g", r.objective());
    message += line;
  }
  std::snprintf(line, sizeof line, "\n%lld evaluations, %d iterations, by %s",
                static_cast<long long>(r.evaluations), r.iterations, name(r.method));
  message += line;
  if (code != 0 && !r.advice.empty()) message += "\n" + r.advice;
  return message;
}

// The layer's multipliers have the sign that modeling languages give to theirs: change of the
// objective by the limit.
void addMultipliers(const Result& r, const Translation& translation, Answer& answer) {
  if (!r.report) return;
  for (const ActiveLimit& limit : r.report->active) {
    const bool bound =
        limit.kind == ActiveLimit::Kind::lowerBound || limit.kind == ActiveLimit::Kind::upperBound;
    if (bound)
      answer.boundMultipliers[r.description->variable(limit.name)] = limit.multiplier;
    else
      answer.multipliers[translation.rows[r.description->function(limit.name) - 1]] =
          limit.multiplier;
  }
}

}  // namespace

Answer solve(NlModel& model, const NlOptions& options, const Stop& stop) {
  Answer answer;
  Translation translation(model);
  if (!translation.contradiction.empty()) {
    answer.code = 201;
    answer.message = "infeasible: " + translation.contradiction;
    return answer;
  }
  try {
    const Result r = translation.problem.solve(
        [&](const Point& x, Values& v) { translation.values(x, v); },
        [&](const Point& x, Gradients& g) { translation.gradients(x, g); },
        layerOptions(options, stop));
    answer.code = resultCode(r);
    answer.message = messageOf(r, answer.code, nl_has_objective(&model) != 0);
    answer.x = r.point.x;
    answer.multipliers.assign(static_cast<std::size_t>(nl_constraints(&model)), 0.0);
    answer.boundMultipliers.assign(answer.x.size(), 0.0);
    addMultipliers(r, translation, answer);
  } catch (const InvalidProblem& e) {
    answer.code = 520;
    answer.message = e.what();
  }
  return answer;
}

}  // namespace tarnix::ampl
