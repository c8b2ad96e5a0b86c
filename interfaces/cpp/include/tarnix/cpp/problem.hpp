#pragma once
// The description of a problem: variables, objective and constraints, all by name; and the views
// through which a callable reads a design and returns its values.

#include <cstddef>
#include <limits>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "callable.hpp"

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
  explicit InvalidProblem(std::vector<Issue> issues);
  InvalidProblem(const InvalidProblem&);
  ~InvalidProblem() override;
  const std::vector<Issue>& issues() const { return issues_; }

 private:
  std::vector<Issue> issues_;
};

/// How a constraint's value is limited.
enum class Relation { atMost, atLeast, between, equal };

/// What is known about the names and limits of a problem; results keep a copy.
struct Description {
  struct VariableData {
    std::string name;
    double start, lower, upper;  // bounds are infinite where there is none
  };
  struct FunctionData {
    std::string name;
    Relation relation;    // of constraints
    double lower, upper;  // limits, infinite where there is none
    double scale;         // typical magnitude; tolerances are relative to it
  };

  std::vector<VariableData> variables;
  std::vector<FunctionData> functions;  // the objective first
  bool hasObjective = false;
  bool maximized = false;
  std::map<std::string, std::size_t, std::less<>> variableIndex, functionIndex;

  Description();
  Description(const Description&);
  Description& operator=(const Description&) = delete;
  ~Description();
  /// Position of that name; throws std::out_of_range when there is none.
  std::size_t variable(std::string_view name) const;
  std::size_t function(std::string_view name) const;
};

namespace detail {

[[noreturn]] void refuseIndex(std::size_t index, std::size_t size, const char* kind);

inline void checkIndex(std::size_t index, std::size_t size, const char* kind) {
  if (index >= size) refuseIndex(index, size, kind);
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
/// as differences from their limits. What is not filled counts as not finite.
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

/// Designs to be evaluated, in any order or at the same time: those of a gradient pass, or a single
/// one. Every one that is begun is evaluated, and all its values are filled, before the callable
/// returns; values of different designs may be filled by different threads.
class Batch {
 public:
  Batch(std::size_t size, const double* points, double* values, const Description& description,
        detail::FunctionRef<bool()> mayGoOn)
      : size_(size),
        end_(size),
        points_(points),
        values_(values),
        description_(&description),
        mayGoOn_(mayGoOn) {}

  std::size_t size() const { return size_; }
  Point point(std::size_t k) const {
    detail::checkIndex(k, size_, "design");
    return {points_ + k * description_->variables.size(), *description_};
  }
  Values values(std::size_t k) const {
    detail::checkIndex(k, size_, "design");
    return {values_ + k * description_->functions.size(), *description_};
  }

  /// Whether time and stop allow design k to be begun. A callable that takes long asks before it
  /// begins one, in rising order of k, one thread at a time. When the answer is no, the designs
  /// from k on are not evaluated, and the solve ends once the callable returns.
  bool mayBegin(std::size_t k) {
    if (k < end_ && !mayGoOn_()) end_ = k;
    return k < end_;
  }
  /// The designs before this one are evaluated.
  std::size_t end() const { return end_; }

 private:
  std::size_t size_, end_;
  const double* points_;
  double* values_;
  const Description* description_;
  detail::FunctionRef<bool()> mayGoOn_;
};

/// Derivatives at a design, to be filled: of the values as the callable gives them, by the
/// variables in their units. What is not set, or not finite, is found by differences; what is set
/// for a fixed variable is not used.
class Gradients {
 public:
  Gradients(double* derivatives, const Description& description)
      : derivatives_(derivatives), description_(&description) {}

  double& operator()(Function f, Variable v) { return at(f.index, v.index); }
  double& operator()(std::size_t f, std::size_t v) { return at(f, v); }
  double& operator()(std::string_view f, std::string_view v) {
    return at(description_->function(f), description_->variable(v));
  }
  /// All derivatives of a function, in the order in which the variables were declared.
  double* of(Function f) {
    detail::checkIndex(f.index, description_->functions.size(), "function");
    return derivatives_ + f.index * description_->variables.size();
  }

 private:
  double& at(std::size_t f, std::size_t v) {
    detail::checkIndex(v, description_->variables.size(), "variable");
    return of({f})[v];
  }
  double* derivatives_;
  const Description* description_;
};

/// A problem, described by names. Faults are found by check() and solve(), not by the declarations.
///
/// The scale of a function is its typical magnitude: tolerances are relative to it.
class Problem {
 public:
  Problem();
  Problem(const Problem&);
  Problem(Problem&&) noexcept;
  Problem& operator=(const Problem&);
  Problem& operator=(Problem&&) noexcept;
  ~Problem();

  /// A variable with its start and bounds, each of which may be missing or infinite. Equal bounds
  /// fix it: the methods never see it then.
  Variable variable(std::string name, double start, double lower = -unlimited,
                    double upper = unlimited);
  /// Variables prefix[0], prefix[1], ... Throws InvalidProblem when the sizes disagree.
  std::vector<Variable> variables(const std::string& prefix, const std::vector<double>& starts,
                                  const std::vector<double>& lower,
                                  const std::vector<double>& upper);

  Function minimize(std::string name, double scale = 1);
  Function maximize(std::string name, double scale = 1);

  Function atMost(std::string name, double limit, double scale = 1);
  Function atLeast(std::string name, double limit, double scale = 1);
  /// Equal limits make an equality.
  Function between(std::string name, double lower, double upper, double scale = 1);
  Function equal(std::string name, double value, double scale = 1);

  const Description& description() const { return *d_; }

  /// Every fault for which solve() would throw, in order of declaration; empty for a valid problem.
  std::vector<Issue> check(const Options& options) const;
  std::vector<Issue> check() const;

  /// Solves the problem. Throws InvalidProblem before anything is evaluated, and whatever the
  /// callables throw. Solves are independent: they run side by side in threads, and a callable may
  /// start one. Problem and options are read only, and several solves may share them.
  Result solve(Analysis analysis, const Options& options) const;
  Result solve(Analysis analysis) const;
  Result solve(Analysis analysis, Gradient gradient, const Options& options) const;
  Result solve(Analysis analysis, Gradient gradient) const;

 private:
  static constexpr double unlimited = std::numeric_limits<double>::infinity();

  Function objective(std::string& name, bool maximized, double scale);
  Function constraint(std::string name, Relation relation, double lower, double upper,
                      double scale);
  Description& edit();

  std::shared_ptr<Description> d_;
};

}  // namespace tarnix
