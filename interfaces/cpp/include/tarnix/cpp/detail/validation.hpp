#pragma once
// Everything that is wrong with a problem or its options, found before anything runs.

#include <tarnix/routines.h>
#include <tarnix/storage.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "../options.hpp"
#include "../problem.hpp"
#include "evaluator.hpp"
#include "text.hpp"

namespace tarnix::detail {

// ---- work storage ------------------------------------------------------------------------------

inline bool fits(Method method, std::int64_t n, std::int64_t m1, std::int64_t m2) {
  if (method == Method::automatic)
    return fits(Method::sqp, n, m1, m2) && fits(Method::grg, n, m1, m2);
  const storage::Need need =
      method == Method::sqp ? storage::sqp(n, m1, m2) : storage::grg(n, m1, m2);
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
      if (std::isnan(v.lower) || std::isnan(v.upper))
        add(v.name, who + " has a bound that is not a number");
      else if (v.lower > v.upper)
        add(v.name,
            who + " has crossed bounds: lower " + number(v.lower) + ", upper " + number(v.upper));
      else if (std::isinf(v.lower) && v.lower == v.upper)
        add(v.name, who + " is fixed at infinity");
      else if (std::isfinite(v.lower) && std::isfinite(v.upper) &&
               !std::isfinite(v.upper - v.lower))
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
        add(f.name,
            who + " has crossed limits: lower " + number(f.lower) + ", upper " + number(f.upper));
    }
  }

  void checkNames() {
    std::unordered_set<std::string_view> seen;
    const auto check = [&](const char* kind, const std::string& name) {
      if (name.empty())
        add(name, std::string("a ") + kind + " has no name");
      else if (!seen.insert(name).second)
        add(name, "the name '" + name + "' is used twice");
    };
    for (const auto& v : d_.variables) check("variable", v.name);
    for (std::size_t j = d_.hasObjective ? 0 : 1; j < d_.functions.size(); ++j)
      check(j == 0 ? "objective" : "constraint", d_.functions[j].name);
  }

  void checkOptions() {
    const auto check = [&](const char* option, bool valid, const char* demand) {
      if (!valid) add(option, std::string("option '") + option + "' has to be " + demand);
    };
    check("tolerance", std::isfinite(o_.tolerance) && o_.tolerance > 0, "finite and positive");
    check("differenceStep", o_.differenceStep >= 0 && o_.differenceStep <= 0.5, "in 0 .. 0.5");
    check("accuracy", o_.accuracy >= 0 && o_.accuracy < 1, "in 0 .. 1");
    check("effort", std::isfinite(o_.effort) && o_.effort >= 0, "finite and not negative");
    const std::size_t nv = d_.variables.size(), nf = d_.functions.size();
    check("warm", !o_.warm || fitsWarm(*o_.warm, nv, nf), "of a problem of the same size, finite");
    check("maxIterations", o_.maxIterations >= 1, "at least 1");
    check("threads", o_.threads >= 1, "at least 1");
    check("starts", o_.starts >= 1, "at least 1");
    check("maxEvaluations", !o_.maxEvaluations || *o_.maxEvaluations >= 1, "at least 1");
    check("maxTime", !o_.maxTime || o_.maxTime->count() > 0, "positive");
    check("target", !o_.target || std::isfinite(*o_.target), "finite");
  }

  static bool fitsWarm(const WarmStart& w, std::size_t nv, std::size_t nf) {
    const auto finite = [](const std::vector<double>& all) {
      return std::all_of(all.begin(), all.end(), [](double v) { return std::isfinite(v); });
    };
    return w.x.size() == nv && w.values.size() == nf && w.multipliers.size() == nf &&
           (w.jacobian.empty() || w.jacobian.size() == nv * nf) && finite(w.x) && w.noise >= 0;
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
                             "storage: with " +
                             std::to_string(n) + " free variables ";
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

}  // namespace tarnix::detail
