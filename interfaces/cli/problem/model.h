// The expressions of a problem, compiled: quantities in an order that respects their use of one
// another, then objective and constraints.
#pragma once

#include <muParser.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "problem/problem.h"

namespace tarnix::cli {

class Model {
 public:
  // Adds to issues what cannot be compiled.
  Model(const ProblemFile& problem, Issues& issues);

  // Warns of variables, quantities and results that neither an expression names nor a template,
  // whose names are given; and of an objective that is constant.
  void warnUnused(const std::vector<std::string>& filledIn, Issues& issues) const;

  // Number of values of a design: objective, then constraints.
  std::size_t size() const { return outputs.size(); }

  // Values at a design; results are those of the command, if there is one. A value that is not a
  // number is stored as one fixed NaN.
  std::vector<double> values(std::span<const double> x, std::span<const double> results);

  // What is known of a design before the command has run: variables, then the quantities that do
  // not use its results. In the order of inputNames.
  std::vector<double> inputs(std::span<const double> x);
  const std::vector<std::string>& inputNames() const { return inputLabels; }

 private:
  struct Formula {
    std::unique_ptr<mu::Parser> parser;
    double* target = nullptr;  // of a quantity
    bool usesResults = false;
    double value() const;
  };

  bool compile(const Expression& expression, Formula& formula, std::vector<std::size_t>& uses,
               Issues& issues);
  void orderQuantities(const std::vector<std::vector<std::size_t>>& uses, Issues& issues);
  bool varies(const Formula& formula) const;
  void load(std::span<const double> x);

  const ProblemFile& problem;
  std::size_t quantitiesBegin, resultsBegin;  // in slots; variables are first
  std::vector<std::string> names;
  std::vector<double> slots;
  std::vector<bool> used;           // by an expression, as slots
  std::vector<Formula> quantities;  // as in the problem
  std::vector<std::size_t> order;   // in which they are evaluated
  std::vector<Formula> outputs;
  std::vector<std::string> inputLabels;
};

}  // namespace tarnix::cli
