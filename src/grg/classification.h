#pragma once
// Sorts the constraints at a point into violated, active and inactive ones, and picks the temporary
// objective of the feasibility phase.

#include "base/index_list.h"
#include "eval/objective.h"

namespace tarnix::core {

struct Classification {
  IndexList kept;       // inequalities that are not violated, in index order
  IndexList active;     // |g| <= convTol, the first activeRoom of them
  IndexList satisfied;  // equalities with |h| <= convTol
  int activeRoom;
  int activeTotal = 0;
  double worstInequality = 0.0;  // largest violation, 0 when there is none
  double worstEquality = 0.0;
  int worstInequalityIndex = 0;  // the first of equals
  int worstEqualityIndex = 0;

  bool feasible() const { return !(worstInequality > 0.0 || worstEquality > 0.0); }
};

void classify(ConstIndex inequalities, ConstIndex equalities, ConstVector f, Classification& out);

// The inactive inequalities cut to the fraction grgParam1, when that is at most 0.99 and there are
// more than 25 inequalities.
void screen(int inequalities, ConstVector f, Classification& lists);

// The worst constraint as the temporary objective, its value negated as its mode asks; an equality
// wins a tie.
Objective chooseTarget(const Classification& lists, VectorView f);
// An equality that overshot is minimized from its other side. True when it did.
bool flipIfOvershot(Objective& target, VectorView f);

}  // namespace tarnix::core
