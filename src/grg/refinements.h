#pragma once
// What a refined search does beyond the plain method. Each of them was added because it makes more
// problems end at a minimum.

#include "grg/search_problem.h"

namespace tarnix::core {

// A point that lives on the tolerance of its constraints looks better than it is: where the
// direction leads uphill, it is there to mend that. The whole step, to the end of the unscaled
// direction, is taken when it more than halves the violation. False: x and f are as before.
bool takeWholeStep(SearchProblem& p, ConstVector d, double length, ConstVector entryX,
                   ConstVector entryF);

// For the same reason every restored trial would lose to such a point: one Newton correction puts
// it back on the rows that are held before the search starts. False: x and f are as before.
bool restoreEntry(SearchProblem& p, ConstVector entryX, ConstVector entryF);

}  // namespace tarnix::core
