#pragma once
// What the public headers declare of problems and results.

#include "../problem.hpp"

#include "../options.hpp"
#include "../result.hpp"
#include "inline.hpp"
#include "multistart.hpp"
#include "solver.hpp"
#include "validation.hpp"

namespace tarnix {

namespace detail {

TARNIX_INLINE void refuseIndex(std::size_t index, std::size_t size, const char* kind) {
  throw std::out_of_range(std::string(kind) + " number " + std::to_string(index) +
                          " does not exist, there are " + std::to_string(size));
}

inline std::string joined(const std::vector<Issue>& issues) {
  std::string text;
  for (const Issue& issue : issues) text += (text.empty() ? "" : "\n") + issue.message;
  return text;
}

inline std::size_t find(const std::map<std::string, std::size_t, std::less<>>& index,
                        const char* kind, std::string_view name) {
  const auto found = index.find(name);
  if (found == index.end())
    throw std::out_of_range(std::string("no ") + kind + " is called '" + std::string(name) + "'");
  return found->second;
}

constexpr double infinite = std::numeric_limits<double>::infinity();

}  // namespace detail

// ---- description -------------------------------------------------------------------------------

TARNIX_INLINE InvalidProblem::InvalidProblem(std::vector<Issue> issues)
    : std::invalid_argument(detail::joined(issues)), issues_(std::move(issues)) {}
TARNIX_INLINE InvalidProblem::InvalidProblem(const InvalidProblem&) = default;
TARNIX_INLINE InvalidProblem::~InvalidProblem() = default;

TARNIX_INLINE Description::Description() : functions{{"", Relation::atMost, 0, 0, 1}} {}
TARNIX_INLINE Description::Description(const Description&) = default;
TARNIX_INLINE Description::~Description() = default;

TARNIX_INLINE std::size_t Description::variable(std::string_view name) const {
  return detail::find(variableIndex, "variable", name);
}
TARNIX_INLINE std::size_t Description::function(std::string_view name) const {
  return detail::find(functionIndex, "objective or constraint", name);
}

// ---- problem -----------------------------------------------------------------------------------

TARNIX_INLINE Problem::Problem() : d_(std::make_shared<Description>()) {}
TARNIX_INLINE Problem::Problem(const Problem&) = default;
TARNIX_INLINE Problem::Problem(Problem&&) noexcept = default;
TARNIX_INLINE Problem& Problem::operator=(const Problem&) = default;
TARNIX_INLINE Problem& Problem::operator=(Problem&&) noexcept = default;
TARNIX_INLINE Problem::~Problem() = default;

/// Results and copies share the description: it is copied when one of them still needs the present
/// one.
TARNIX_INLINE Description& Problem::edit() {
  if (d_.use_count() > 1) d_ = std::make_shared<Description>(*d_);
  return *d_;
}

TARNIX_INLINE Variable Problem::variable(std::string name, double start, double lower,
                                         double upper) {
  Description& d = edit();
  const std::size_t index = d.variables.size();
  d.variableIndex.emplace(name, index);
  d.variables.push_back({std::move(name), start, lower, upper});
  return {index};
}

TARNIX_INLINE std::vector<Variable> Problem::variables(const std::string& prefix,
                                                       const std::vector<double>& starts,
                                                       const std::vector<double>& lower,
                                                       const std::vector<double>& upper) {
  if (lower.size() != starts.size() || upper.size() != starts.size())
    throw InvalidProblem({{prefix, "variables '" + prefix + "': " + std::to_string(starts.size()) +
                                       " starts, " + std::to_string(lower.size()) + " lower and " +
                                       std::to_string(upper.size()) + " upper bounds"}});
  std::vector<Variable> handles;
  for (std::size_t i = 0; i < starts.size(); ++i)
    handles.push_back(
        variable(prefix + "[" + std::to_string(i) + "]", starts[i], lower[i], upper[i]));
  return handles;
}

TARNIX_INLINE Function Problem::objective(std::string& name, bool maximized, double scale) {
  Description& d = edit();
  if (d.hasObjective) d.functionIndex.erase(d.functions[0].name);
  d.functionIndex.emplace(name, 0);
  d.functions[0] = {std::move(name), Relation::atMost, -detail::infinite, detail::infinite, scale};
  d.hasObjective = true;
  d.maximized = maximized;
  return {0};
}
TARNIX_INLINE Function Problem::minimize(std::string name, double scale) {
  return objective(name, false, scale);
}
TARNIX_INLINE Function Problem::maximize(std::string name, double scale) {
  return objective(name, true, scale);
}

TARNIX_INLINE Function Problem::constraint(std::string name, Relation relation, double lower,
                                           double upper, double scale) {
  Description& d = edit();
  const std::size_t index = d.functions.size();
  d.functionIndex.emplace(name, index);
  d.functions.push_back({std::move(name), relation, lower, upper, scale});
  return {index};
}
TARNIX_INLINE Function Problem::atMost(std::string name, double limit, double scale) {
  return constraint(std::move(name), Relation::atMost, -detail::infinite, limit, scale);
}
TARNIX_INLINE Function Problem::atLeast(std::string name, double limit, double scale) {
  return constraint(std::move(name), Relation::atLeast, limit, detail::infinite, scale);
}
TARNIX_INLINE Function Problem::between(std::string name, double lower, double upper,
                                        double scale) {
  return constraint(std::move(name), lower == upper ? Relation::equal : Relation::between, lower,
                    upper, scale);
}
TARNIX_INLINE Function Problem::equal(std::string name, double value, double scale) {
  return constraint(std::move(name), Relation::equal, value, value, scale);
}

TARNIX_INLINE std::vector<Issue> Problem::check(const Options& options) const {
  return detail::Validation(*d_, options).run();
}
TARNIX_INLINE std::vector<Issue> Problem::check() const {
  return check(Options{});
}

TARNIX_INLINE Result Problem::solve(Analysis analysis, Gradient gradient,
                                    const Options& options) const {
  std::vector<Issue> issues = check(options);
  if (!analysis) issues.push_back({"", "the callable that evaluates the problem is null"});
  if (!issues.empty()) throw InvalidProblem(std::move(issues));
  const detail::Host host{analysis, gradient};
  if (options.starts > 1) return detail::MultiStart(d_, host, options).run();
  return detail::Solver(d_, host, options).run();
}
TARNIX_INLINE Result Problem::solve(Analysis analysis, Gradient gradient) const {
  return solve(analysis, gradient, Options{});
}
TARNIX_INLINE Result Problem::solve(Analysis analysis, const Options& options) const {
  return solve(analysis, nullptr, options);
}
TARNIX_INLINE Result Problem::solve(Analysis analysis) const {
  return solve(analysis, nullptr, Options{});
}

// ---- result ------------------------------------------------------------------------------------

TARNIX_INLINE Result::Result() = default;
TARNIX_INLINE Result::Result(const Result&) = default;
TARNIX_INLINE Result::Result(Result&&) noexcept = default;
TARNIX_INLINE Result& Result::operator=(const Result&) = default;
TARNIX_INLINE Result& Result::operator=(Result&&) noexcept = default;
TARNIX_INLINE Result::~Result() = default;

TARNIX_INLINE double Result::operator[](Variable v) const {
  return point.x.at(v.index);
}
TARNIX_INLINE double Result::operator[](Function f) const {
  return point.values.at(f.index);
}
TARNIX_INLINE WarmStart Result::warm() const {
  WarmStart w;
  w.x = point.x;
  w.values = point.values;
  w.noise = noise;
  w.multipliers.assign(w.values.size(), 0.0);
  if (!report) return w;
  w.jacobian = report->jacobian;
  for (const ActiveLimit& a : report->active)
    if (const auto f = description->functionIndex.find(a.name);
        f != description->functionIndex.end())
      w.multipliers[f->second] += a.multiplier;
  return w;
}

TARNIX_INLINE double Result::operator[](std::string_view name) const {
  const auto found = description->variableIndex.find(name);
  if (found != description->variableIndex.end()) return point.x[found->second];
  return point.values[description->function(name)];
}

}  // namespace tarnix
