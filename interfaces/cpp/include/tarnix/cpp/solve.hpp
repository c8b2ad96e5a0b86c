#pragma once
// Validation, the stages of a solve, and the judgement of its end.

#include <tarnix/routines.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "evaluator.hpp"
#include "options.hpp"
#include "problem.hpp"
#include "report.hpp"
#include "result.hpp"
#include "text.hpp"

namespace tarnix::detail {

// ---- work storage ------------------------------------------------------------------------------

struct StorageNeed {
  std::int64_t doubles, integers;
};

/// At most what a solve takes. GRG's basis has one row per binding constraint.
inline StorageNeed storageNeed(Method method, std::int64_t n, std::int64_t m1, std::int64_t m2) {
  const std::int64_t M = m1 + m2, nfun = 1 + M;
  const std::int64_t subproblem = 2 * n * n + 5 * n + 2 * m1 + m2;
  if (method == Method::sqp) {
    const std::int64_t L = M + 2 * n;
    return {1 + 3 * L + n * nfun + M + n * n + 14 * n + std::max(1 + 2 * nfun, subproblem),
            1 + L + nfun + n};
  }
  const std::int64_t active = std::min(n, m2), rows = m1 + active + 1, room = rows + 3;
  const std::int64_t search = 12 * n + 3 * nfun + 2 * rows * rows + 2 * room * room + 2 * room + 4;
  const std::int64_t fixed = n * n + 8 * n + 1 + n * nfun + 1;
  return {fixed + std::max({2 * nfun + 2, subproblem + M + 2 * n + 1, search}),
          2 * M + active + nfun + n + 4 * n + nfun + active + 6 + room};
}

inline bool fits(Method method, std::int64_t n, std::int64_t m1, std::int64_t m2) {
  if (method == Method::automatic)
    return fits(Method::sqp, n, m1, m2) && fits(Method::grg, n, m1, m2);
  const StorageNeed need = storageNeed(method, n, m1, m2);
  return need.doubles <= VRK_DBL_STORAGE_LIMIT && need.integers <= VRK_INT_STORAGE_LIMIT;
}

/// Largest count for which test(count) holds, test(0) being true.
template <class Test>
std::int64_t largest(Test test) {
  std::int64_t yes = 0, no = VRK_DBL_STORAGE_LIMIT;
  while (no - yes > 1) {
    const std::int64_t middle = yes + (no - yes) / 2;
    (test(middle) ? yes : no) = middle;
  }
  return yes;
}

// ---- validation --------------------------------------------------------------------------------

class Validation {
 public:
  Validation(const Description& description, const Options& options)
      : d_(description), o_(options) {}

  std::vector<Issue> run() {
    checkVariables();
    checkFunctions();
    checkNames();
    checkOptions();
    if (issues_.empty()) checkStorage();
    return std::move(issues_);
  }

 private:
  void add(const std::string& name, const std::string& message) {
    issues_.push_back({name, message});
  }

  void checkVariables() {
    std::size_t free = 0;
    const bool replaced = !o_.start.empty();
    if (replaced && o_.start.size() != d_.variables.size())
      add("start", "option 'start' has " + std::to_string(o_.start.size()) +
                       " values, the problem has " + std::to_string(d_.variables.size()) +
                       " variables");
    for (std::size_t i = 0; i < d_.variables.size(); ++i) {
      const auto& v = d_.variables[i];
      const std::string who = "variable '" + v.name + "'";
      const double start = replaced && i < o_.start.size() ? o_.start[i] : v.start;
      if (!std::isfinite(v.lower) || !std::isfinite(v.upper))
        add(v.name, who + " needs a finite " + (std::isfinite(v.lower) ? "upper" : "lower") +
                        " bound");
      else if (v.lower > v.upper)
        add(v.name, who + " has crossed bounds: lower " + number(v.lower) + ", upper " +
                        number(v.upper));
      else if (!std::isfinite(v.upper - v.lower))
        add(v.name, who + " has bounds that are too far apart");
      if (!std::isfinite(start))
        add(v.name, who + " has a start that is not finite");
      else if (!o_.moveStartInside && (start < v.lower || start > v.upper))
        add(v.name, who + " starts at " + number(start) + ", outside its bounds " +
                        number(v.lower) + " .. " + number(v.upper));
      if (v.lower != v.upper) ++free;
    }
    if (d_.variables.empty()) add("", "the problem has no variables");
    if (free > VRK_MAX_VARIABLES)
      add("", "the problem has " + std::to_string(free) + " free variables, at most " +
                  std::to_string(VRK_MAX_VARIABLES) + " are possible");
  }

  void checkFunctions() {
    if (!d_.hasObjective) add("", "the problem has no objective: call minimize or maximize");
    for (std::size_t j = 0; j < d_.functions.size(); ++j) {
      const auto& f = d_.functions[j];
      const std::string who = (j == 0 ? "objective '" : "constraint '") + f.name + "'";
      if (!(f.scale > 0) || !std::isfinite(f.scale))
        add(f.name, who + " needs a finite positive scale, not " + number(f.scale));
      if (j == 0) continue;
      const bool needsLower = f.relation != Relation::atMost;
      const bool needsUpper = f.relation != Relation::atLeast;
      if ((needsLower && !std::isfinite(f.lower)) || (needsUpper && !std::isfinite(f.upper)))
        add(f.name, who + " needs finite limits");
      else if (f.lower > f.upper)
        add(f.name, who + " has crossed limits: lower " + number(f.lower) + ", upper " +
                        number(f.upper));
    }
  }

  void checkNames() {
    std::set<std::string> seen;
    const auto check = [&](const char* kind, const std::string& name) {
      if (name.empty()) add(name, std::string("a ") + kind + " has no name");
      else if (!seen.insert(name).second) add(name, "the name '" + name + "' is used twice");
    };
    for (const auto& v : d_.variables) check("variable", v.name);
    for (std::size_t j = d_.hasObjective ? 0 : 1; j < d_.functions.size(); ++j)
      check(j == 0 ? "objective" : "constraint", d_.functions[j].name);
  }

  void checkOptions() {
    const auto check = [&](const char* option, bool sound, const char* demand) {
      if (!sound) add(option, std::string("option '") + option + "' has to be " + demand);
    };
    check("tolerance", std::isfinite(o_.tolerance) && o_.tolerance > 0, "finite and positive");
    check("differenceStep", o_.differenceStep > 0 && o_.differenceStep <= 0.5, "in 0 .. 0.5");
    check("maxIterations", o_.maxIterations >= 1, "at least 1");
    check("maxEvaluations", !o_.maxEvaluations || *o_.maxEvaluations >= 1, "at least 1");
    check("maxTime", !o_.maxTime || o_.maxTime->count() > 0, "positive");
    check("target", !o_.target || std::isfinite(*o_.target), "finite");
  }

  void checkStorage() {
    const CoreProblem core(d_);
    const std::int64_t n = core.n(), m1 = core.equalities, m2 = core.inequalities;
    if (fits(o_.method, n, m1, m2)) return;
    const auto fit = [&](std::int64_t equalities, std::int64_t inequalities) {
      return fits(o_.method, n, equalities, inequalities);
    };
    const std::string have = std::to_string(m1) + " equalities and " + std::to_string(m2) +
                             " inequalities (a range counts as two) are too many for the work "
                             "storage: with " + std::to_string(n) + " free variables ";
    if (fit(m1, 0))
      add("", have + "and these equalities, " +
                  std::to_string(largest([&](std::int64_t k) { return fit(m1, k); })) +
                  " inequalities fit");
    else
      add("", have + std::to_string(largest([&](std::int64_t k) { return fit(k, 0); })) +
                  " equalities fit");
  }

  const Description& d_;
  const Options& o_;
  std::vector<Issue> issues_;
};

// ---- one solve at a time -----------------------------------------------------------------------

inline std::mutex libraryMutex;
inline thread_local bool solvingHere = false;

/// Takes the library for this thread, and leaves settings, counters and marks as they were found.
class LibraryGuard {
 public:
  LibraryGuard() {
    if (solvingHere) throw NestedSolve();
    lock_ = std::unique_lock<std::mutex>(libraryMutex);
    saved_ = VRK_settings;
    solvingHere = true;
  }
  ~LibraryGuard() {
    VRK_settings = saved_;
    solvingHere = false;
  }
  LibraryGuard(const LibraryGuard&) = delete;
  LibraryGuard& operator=(const LibraryGuard&) = delete;

 private:
  std::unique_lock<std::mutex> lock_;
  VRK_Settings saved_;
};

// ---- stages ------------------------------------------------------------------------------------

class Solver {
 public:
  Solver(const Description& description, const Analysis& analysis, const Options& options)
      : description_(std::make_shared<const Description>(description)),
        d_(*description_),
        o_(options),
        core_(d_),
        evaluator_(d_, core_, analysis, options) {}

  Result run() {
    result_.description = description_;
    if (core_.n() == 0)
      judgeFixed();
    else if (o_.method == Method::automatic)
      runAutomatic();
    else
      runStage({1, o_.method, o_.differences, o_.differenceStep, o_.tolerance, start()});
    return conclude();
  }

 private:
  std::vector<double> start() const {
    std::vector<double> x = o_.start;
    if (x.empty())
      for (const auto& v : d_.variables) x.push_back(v.start);
    for (std::size_t i = 0; i < x.size(); ++i)
      x[i] = std::min(std::max(x[i], d_.variables[i].lower), d_.variables[i].upper);
    return x;
  }

  std::vector<double> coreOf(const std::vector<double>& x) const {
    std::vector<double> free;
    for (const std::size_t i : core_.free) free.push_back(x[i]);
    return free;
  }

  static void prepareCore(const StageStart& s, int printLevel) {
    VRK_setDefaults();
    VRK_settings.dblStorageCapacity = VRK_DBL_STORAGE_LIMIT;
    VRK_settings.intStorageCapacity = VRK_INT_STORAGE_LIMIT;
    VRK_set_print(printLevel);
    VRK_set_diffMeth(s.differences == Differences::forward ? 1 : 2);
    VRK_set_diffPert(s.differenceStep);
    VRK_set_convTol(s.tolerance);
  }

  /// True when the method came to an end, false when a limit or a stop ended everything.
  bool runStage(StageStart settings) {
    result_.stages.push_back({});
    Stage& stage = result_.stages.back();
    stage.settings = std::move(settings);
    if (o_.onStage) o_.onStage(stage.settings);
    prepareCore(stage.settings, o_.printLevel);
    evaluator_.beginStage(stage.settings);
    const std::int64_t before = evaluator_.evaluations();
    std::vector<double> x = coreOf(stage.settings.x);
    std::vector<double> f(core_.rows.size());
    const auto call = stage.settings.method == Method::grg ? VRK_grg : VRK_sqp;
    bool goOn = true;
    try {
      stage.status = call(o_.maxIterations, core_.n(), x.data(), core_.lower.data(),
                          core_.upper.data(), core_.equalities, core_.inequalities,
                          Evaluator::callback, &evaluator_, f.data());
      stage.reason = reasonOf(stage.settings.method, stage.status);
      stage.meaning = meaning(stage.settings.method, stage.status);
      evaluator_.endStage();
      evaluator_.clip(x.data());
      stage.end = evaluator_.isLast(x) ? evaluator_.last() : evaluator_.measureAt(x);
      goOn = stage.reason != Reason::stopped;
    } catch (const EndSolve& end) {
      stage.reason = end.reason;
      stage.status = 0;
      stage.meaning = std::string("ended by the layer: ") + name(end.reason);
      stage.end = bestSoFar(stage.settings.x);
      goOn = false;
    }
    stage.iterations = VRK_settings.nIter;
    evaluator_.addIterations(stage.iterations);
    result_.iterations += stage.iterations;
    stage.evaluations = evaluator_.evaluations() - before;
    return goOn;
  }

  Design bestSoFar(const std::vector<double>& from) const {
    if (evaluator_.best()) return *evaluator_.best();
    if (evaluator_.evaluations() > 0) return evaluator_.last();
    constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
    return {from, std::vector<double>(d_.functions.size(), unknown), unknown, 0};
  }

  bool proper(const Stage& stage) const {
    return evaluator_.feasible(stage.end) && (stage.reason == Reason::finished ||
                                              stage.reason == Reason::targetReached);
  }

  /// Feasible before infeasible, then the objective; among infeasible ones the violation.
  bool better(const Design& a, const Design& b) const {
    const bool fa = evaluator_.feasible(a), fb = evaluator_.feasible(b);
    if (fa != fb) return fa;
    if (fa) return evaluator_.coreObjective(a) < evaluator_.coreObjective(b);
    return a.violation < b.violation || std::isnan(b.violation);
  }

  void runAutomatic() {
    StageStart next{1, Method::sqp, o_.differences, o_.differenceStep, o_.tolerance, start()};
    constexpr int most = 4;
    while (runStage(next)) {
      const Stage& stage = result_.stages.back();
      if (proper(stage) || next.stage == most) return;
      next.method = next.method == Method::sqp ? Method::grg : Method::sqp;
      next.differences = Differences::central;
      ++next.stage;
      next.x = bestSoFar(next.x).x;
    }
  }

  /// Every variable is fixed: the one point is the answer.
  void judgeFixed() {
    result_.stages.push_back({});
    Stage& stage = result_.stages.back();
    stage.settings.x = start();
    stage.settings.method = o_.method == Method::grg ? Method::grg : Method::sqp;
    evaluator_.beginStage(stage.settings);
    try {
      stage.end = evaluator_.measureAt({});
    } catch (const EndSolve& end) {
      stage.reason = end.reason;
      stage.end = bestSoFar(stage.settings.x);
    }
    stage.meaning = "every variable is fixed";
    stage.evaluations = evaluator_.evaluations();
  }

  // ---- judgement -------------------------------------------------------------------------------
  Result conclude() {
    const Stage* chosen = &result_.stages.front();
    for (const Stage& stage : result_.stages)
      if (better(stage.end, chosen->end)) chosen = &stage;
    result_.point = chosen->end;
    result_.method = chosen->settings.method;
    result_.status = chosen->status;
    result_.meaning = chosen->meaning;
    result_.reason = result_.stages.back().reason;
    if (proper(*chosen)) result_.reason = chosen->reason;
    result_.feasible = evaluator_.feasible(result_.point);
    result_.success = proper(*chosen);
    if (evaluator_.best() && evaluator_.feasible(*evaluator_.best()))
      result_.best = evaluator_.best();
    if (o_.report && std::isfinite(result_.point.violation) && core_.n() > 0) makeReport();
    result_.advice = advice();
    result_.evaluations = evaluator_.evaluations();
    result_.seconds = evaluator_.seconds();
    return std::move(result_);
  }

  void makeReport() {
    if (result_.reason != Reason::finished && result_.reason != Reason::noFeasiblePoint &&
        result_.reason != Reason::breakdown && result_.reason != Reason::iterationLimit)
      return;
    try {
      result_.report = ReportPass(d_, core_, o_, evaluator_).at(result_.point);
    } catch (const EndSolve&) {
      // The limits leave no evaluations for it.
    }
  }

  std::string advice() const {
    std::string text;
    if (const auto& first = evaluator_.firstNotFinite())
      text += "'" + first->name + "' was not finite, or not set, in evaluation " +
              std::to_string(first->evaluation) + " for the first time (in " +
              std::to_string(evaluator_.notFiniteCount()) + " of " +
              std::to_string(evaluator_.evaluations()) + " evaluations). ";
    const std::string worst = worstConstraint(d_, result_.point);
    if (result_.success) return text + "The point satisfies everything within the tolerance.";
    if (!result_.feasible && !worst.empty())
      text += "The constraint violated most is " + worst + ". ";
    text += "Ended because: " + std::string(name(result_.reason)) + ".";
    return text;
  }

  const std::shared_ptr<const Description> description_;
  const Description& d_;
  const Options& o_;
  const CoreProblem core_;
  Evaluator evaluator_;
  Result result_;
};

}  // namespace tarnix::detail

namespace tarnix {

inline std::vector<Issue> Problem::check(const Options& options) const {
  return detail::Validation(d_, options).run();
}
inline std::vector<Issue> Problem::check() const { return check(Options{}); }

inline Result Problem::solve(const Analysis& analysis, const Options& options) const {
  std::vector<Issue> issues = check(options);
  if (!analysis) issues.push_back({"", "the callable that evaluates the problem is null"});
  if (!issues.empty()) throw InvalidProblem(std::move(issues));
  const detail::LibraryGuard guard;
  return detail::Solver(d_, analysis, options).run();
}
inline Result Problem::solve(const Analysis& analysis) const { return solve(analysis, Options{}); }

}  // namespace tarnix
