#pragma once
// The description of a problem: variables, objective and constraints, all by name; and the views
// through which a callable reads a design and returns its values.

#include <cstddef>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnix {

struct Options;
struct Result;

/// Handle of a variable: position in the order of declaration.
struct Variable {
  std::size_t index;
};

/// Handle of a function: 0 is the objective, constraints follow in the order of declaration.
struct Function {
  std::size_t index;
};

/// One fault of a problem or of options.
struct Issue {
  std::string name;     ///< what it is about: a variable, a constraint, an option
  std::string message;  ///< whole sentence, with the name
};

/// Thrown before anything is evaluated; what() holds the messages of all issues.
class InvalidProblem : public std::invalid_argument {
 public:
  explicit InvalidProblem(std::vector<Issue> issues)
      : std::invalid_argument(joined(issues)), issues_(std::move(issues)) {}
  const std::vector<Issue>& issues() const { return issues_; }

 private:
  static std::string joined(const std::vector<Issue>& issues) {
    std::string text;
    for (const Issue& issue : issues) text += (text.empty() ? "" : "\n") + issue.message;
    return text;
  }
  std::vector<Issue> issues_;
};

/// How a constraint's value is limited.
enum class Relation { atMost, atLeast, between, equal };

/// What is known about the names and limits of a problem; results keep a copy.
struct Description {
  struct VariableData {
    std::string name;
    double start, lower, upper;
  };
  struct FunctionData {
    std::string name;
    Relation relation;    // of constraints
    double lower, upper;  // limits, infinite where there is none
    double scale;         // typical magnitude; tolerances are relative to it
  };

  std::vector<VariableData> variables;
  std::vector<FunctionData> functions{{"", Relation::atMost, 0, 0, 1}};  // the objective first
  bool hasObjective = false;
  bool maximized = false;
  std::map<std::string, std::size_t, std::less<>> variableIndex, functionIndex;

  static std::size_t find(const std::map<std::string, std::size_t, std::less<>>& index,
                          const char* kind, std::string_view name) {
    const auto found = index.find(name);
    if (found == index.end())
      throw std::out_of_range(std::string("no ") + kind + " is called '" + std::string(name) + "'");
    return found->second;
  }
  std::size_t variable(std::string_view name) const {
    return find(variableIndex, "variable", name);
  }
  std::size_t function(std::string_view name) const {
    return find(functionIndex, "objective or constraint", name);
  }
};

namespace detail {

inline void checkIndex(std::size_t index, std::size_t size, const char* kind) {
  if (index >= size)
    throw std::out_of_range(std::string(kind) + " number " + std::to_string(index) +
                            " does not exist, there are " + std::to_string(size));
}

}  // namespace detail

/// A design in physical units, read by handle, position or name. Fixed variables are included.
class Point {
 public:
  Point(const double* values, const Description& description)
      : values_(values), description_(&description) {}

  double operator[](Variable v) const { return at(v.index); }
  double operator[](std::size_t index) const { return at(index); }
  double operator[](std::string_view name) const { return values_[description_->variable(name)]; }
  std::size_t size() const { return description_->variables.size(); }
  const double* data() const { return values_; }
  const double* begin() const { return values_; }
  const double* end() const { return values_ + size(); }

 private:
  double at(std::size_t index) const {
    detail::checkIndex(index, size(), "variable");
    return values_[index];
  }
  const double* values_;
  const Description* description_;
};

/// The values of a design, to be filled: objective and constraints as the host measures them, not
/// as differences from their limits. What is left out counts as not finite.
class Values {
 public:
  Values(double* values, const Description& description)
      : values_(values), description_(&description) {}

  double& operator[](Function f) { return at(f.index); }
  double& operator[](std::size_t index) { return at(index); }
  double& operator[](std::string_view name) { return values_[description_->function(name)]; }
  std::size_t size() const { return description_->functions.size(); }
  double* data() { return values_; }
  double* begin() { return values_; }
  double* end() { return values_ + size(); }

 private:
  double& at(std::size_t index) {
    detail::checkIndex(index, size(), "function");
    return values_[index];
  }
  double* values_;
  const Description* description_;
};

/// Evaluates one design: reads the point, fills every value. It is called on the thread of the
/// solve, once per evaluation, and may throw: the exception reaches the caller of solve() as it is.
using Analysis = std::function<void(const Point&, Values&)>;

/// A problem, described by names. Faults are found by check() and solve(), not by the declarations.
///
/// The scale of a function is its typical magnitude: tolerances are relative to it.
class Problem {
 public:
  /// A variable with its start and bounds. Equal bounds fix it: the methods never see it then.
  Variable variable(std::string name, double start, double lower = missing,
                    double upper = missing) {
    Description& d = edit();
    const std::size_t index = d.variables.size();
    d.variableIndex.emplace(name, index);
    d.variables.push_back({std::move(name), start, lower, upper});
    return {index};
  }
  /// Variables prefix[0], prefix[1], ... Throws InvalidProblem when the sizes disagree.
  std::vector<Variable> variables(const std::string& prefix, const std::vector<double>& starts,
                                  const std::vector<double>& lower,
                                  const std::vector<double>& upper) {
    if (lower.size() != starts.size() || upper.size() != starts.size())
      throw InvalidProblem({{prefix, "variables '" + prefix + "': " +
                                         std::to_string(starts.size()) + " starts, " +
                                         std::to_string(lower.size()) + " lower and " +
                                         std::to_string(upper.size()) + " upper bounds"}});
    std::vector<Variable> handles;
    for (std::size_t i = 0; i < starts.size(); ++i)
      handles.push_back(
          variable(prefix + "[" + std::to_string(i) + "]", starts[i], lower[i], upper[i]));
    return handles;
  }

  Function minimize(std::string name, double scale = 1) { return objective(name, false, scale); }
  Function maximize(std::string name, double scale = 1) { return objective(name, true, scale); }

  Function atMost(std::string name, double limit, double scale = 1) {
    return constraint(std::move(name), Relation::atMost, -infinite, limit, scale);
  }
  Function atLeast(std::string name, double limit, double scale = 1) {
    return constraint(std::move(name), Relation::atLeast, limit, infinite, scale);
  }
  /// Equal limits make an equality.
  Function between(std::string name, double lower, double upper, double scale = 1) {
    return constraint(std::move(name), lower == upper ? Relation::equal : Relation::between, lower,
                      upper, scale);
  }
  Function equal(std::string name, double value, double scale = 1) {
    return constraint(std::move(name), Relation::equal, value, value, scale);
  }

  const Description& description() const { return *d_; }

  /// Every fault that solve() would refuse, in order of declaration; empty for a sound problem.
  std::vector<Issue> check(const Options& options) const;
  std::vector<Issue> check() const;

  /// Solves the problem. Throws InvalidProblem before anything is evaluated, and whatever the
  /// callables throw. Solves are independent: they run side by side in threads, and a callable may
  /// start one. Problem and options are read only, and several solves may share them.
  Result solve(const Analysis& analysis, const Options& options) const;
  Result solve(const Analysis& analysis) const;

 private:
  static constexpr double missing = std::numeric_limits<double>::quiet_NaN();
  static constexpr double infinite = std::numeric_limits<double>::infinity();

  Function objective(std::string& name, bool maximized, double scale) {
    Description& d = edit();
    if (d.hasObjective) d.functionIndex.erase(d.functions[0].name);
    d.functionIndex.emplace(name, 0);
    d.functions[0] = {std::move(name), Relation::atMost, -infinite, infinite, scale};
    d.hasObjective = true;
    d.maximized = maximized;
    return {0};
  }
  Function constraint(std::string name, Relation relation, double lower, double upper,
                      double scale) {
    Description& d = edit();
    const std::size_t index = d.functions.size();
    d.functionIndex.emplace(name, index);
    d.functions.push_back({std::move(name), relation, lower, upper, scale});
    return {index};
  }
  /// Results share the description: it is copied when one of them still needs the present one.
  Description& edit() {
    if (d_.use_count() > 1) d_ = std::make_shared<Description>(*d_);
    return *d_;
  }

  std::shared_ptr<Description> d_ = std::make_shared<Description>();
};

}  // namespace tarnix
