// Variables that take values of a catalogue only: branch and bound over the neighbors of
// continuous optima, with all others optimized again.
#pragma once

#include <functional>
#include <optional>
#include <tarnix/tarnix.hpp>
#include <vector>

#include "problem/problem.h"

namespace tarnix::cli {

bool hasCatalogue(const ProblemFile& problem);
// Whether every variable of a catalogue has one of its values.
bool inCatalogue(const ProblemFile& problem, const std::vector<double>& x);

// How the search went.
struct CatalogueSearch {
  tarnix::Result result;  // of the best design in the catalogue; of the continuous one without any
  bool found = false;     // a design in the catalogue, within the limits
  // Every other combination is excluded by a continuous optimum that is no better, or by the lack
  // of a feasible design: exact as far as these solves find what is best in their ranges.
  bool proved = false;
  double continuous = 0;  // objective without the catalogue
  double bound = 0;       // no combination can be better, as far as the same holds
  int solves = 0;
  bool budgetEnded = false;  // the limit of evaluations, or of solves
};

// Solve: solves the problem with other bounds from a start; it may throw what ends the search,
// which BudgetEnded does as planned.
struct BudgetEnded {};
using SolveBetween =
    std::function<tarnix::Result(const ProblemFile& problem, const std::vector<double>& start)>;
CatalogueSearch searchCatalogue(const ProblemFile& problem, const tarnix::Result& continuous,
                                const SolveBetween& solve);

}  // namespace tarnix::cli
