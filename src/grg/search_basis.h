#pragma once
// What a search prepares before its first trial: the constraints that its direction keeps binding,
// the basis for them, and the tangent along which the dependent variables move.

#include "grg/search_problem.h"

namespace tarnix::core {

// Active inequalities that the direction does not leave are appended to binding and flagged. True
// when one of them lies so far beyond its tangent plane that the curvature must be reset.
bool trackBinding(ConstIndex active, const Gradients& gradients, ConstVector d, IndexList& binding,
                  IndexVector tracked);

// The basis for the satisfied equalities and the binding inequalities; a row that gets no dependent
// variable is not held any more. False when the work storage is exceeded.
[[nodiscard]] bool chooseSearchBasis(SearchProblem& p, ConstVector d, BasisScratch scratch);

// Dependent variables move so that the rows they hold stay: J t = -N d. tangent (n) is d in the
// independent variables; work (n).
void formTangent(const SearchProblem& p, ConstVector d, VectorView tangent, VectorView work);

void traceBasis(const SearchProblem& p);

}  // namespace tarnix::core
