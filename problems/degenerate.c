/* Problems whose constraints are awkward: repeated, almost dependent, meeting in a corner, without
 * an interior, or without a constraint qualification. */
#include <math.h>

#include "family.h"

/* Problem 13: the curve touches the axis in the minimiser, where no multipliers exist. */
static EVALUATION(hs13) {
  *f = sq(x[0] - 2) + sq(x[1]);
  ineq[0] = x[1] - cube(1 - x[0]);
}

/* Problem 14 with its equality written as two inequalities: the feasible set has no interior. */
static EVALUATION(hs14Split) {
  hs14(user, x, f, ineq + 1, ineq);
  ineq[2] = -ineq[1];
}

/* Problem 22 with a third constraint through the minimiser, almost parallel to the first. */
static EVALUATION(hs22Parallel) {
  hs22(user, x, f, eq, ineq);
  ineq[2] = x[0] - 1 + 1.00001 * (x[1] - 1);
}

/* Problem 28 with a second equality through the minimiser, almost parallel to the first. */
static EVALUATION(hs28Parallel) {
  hs28(user, x, f, eq, ineq);
  eq[1] = 1.0001 * (x[0] - 0.5) + 2 * (x[1] + 0.5) + 3 * (x[2] - 0.5);
}

/* Problem 43 with every constraint twice, the second time at another scale. */
static EVALUATION(hs43Doubled) {
  hs43(user, x, f, eq, ineq);
  for (int i = 0; i < 3; ++i) ineq[3 + i] = 2.5 * ineq[i];
}

/* Problem 48 with the difference of its equalities as a third one. */
static EVALUATION(hs48Repeated) {
  hs48(user, x, f, eq, ineq);
  eq[2] = eq[0] - eq[1];
}

/* Eight bowls meet in the apex of a pyramid: many more constraints than variables are active. */
static EVALUATION(pyramid) {
  const double eighthTurn = 0.78539816339744831;
  *f = -x[2] + 0.25 * (sq(x[0]) + sq(x[1]));
  for (int k = 0; k < 8; ++k)
    ineq[k] = x[2] - 1 + x[0] * cos(k * eighthTurn) + x[1] * sin(k * eighthTurn) +
              0.5 * (sq(x[0]) + sq(x[1]));
}

/* Linear programme with Hilbert's matrix H of order 4: min 1'H x, H x >= H 1. */
static EVALUATION(hilbert) {
  *f = 0;
  for (int i = 0; i < 4; ++i) {
    ineq[i] = 0;
    for (int j = 0; j < 4; ++j) {
      *f += x[j] / (i + j + 1);
      ineq[i] += (1 - x[j]) / (i + j + 1);
    }
  }
}

/* Unit steps near the circle increase both the objective and the violation. */
static EVALUATION(maratos) {
  *f = -x[0] + 10 * (sq(x[0]) + sq(x[1]) - 1);
  eq[0] = sq(x[0]) + sq(x[1]) - 1;
}

/* At the start the first equality holds, the second does not, and steps towards the second are
 * soon stopped by the bounds. */
static EVALUATION(waechterBiegler) {
  *f = x[0];
  eq[0] = sq(x[0]) - x[1] - 1;
  eq[1] = x[0] - x[2] - 0.5;
}

#define BOOK "Hock & Schittkowski 1981, problem "

/* clang-format off */
static const Problem table[] = {
    {.name = "HS13", .source = BOOK "13; start moved into the box",
     .n = 2, .nEq = 0, .nIneq = 1, .evaluate = hs13,
     .flags = PROBLEM_DEGENERATE | PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(0, 2), .lower = allZero, .upper = allTen,
     .best = VALUES(1, 0), .fBest = 1},
    {.name = "HS14_split", .source = BOOK "14 with its equality as two inequalities",
     .n = 2, .nEq = 0, .nIneq = 3, .evaluate = hs14Split,
     .flags = PROBLEM_DEGENERATE | PROBLEM_INFEASIBLE_START,
     .start = VALUES(2, 2), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0.8228756555322954, 0.9114378277661477), .fBest = 1.393464980689302},
    {.name = "HS22_parallel", .source = BOOK "22 with an almost parallel constraint",
     .n = 2, .nEq = 0, .nIneq = 3, .evaluate = hs22Parallel,
     .flags = PROBLEM_NEARLY_DEPENDENT | PROBLEM_DEGENERATE | PROBLEM_INFEASIBLE_START,
     .start = VALUES(2, 2), .lower = allMinusTen, .upper = allTen,
     .best = allOne, .fBest = 1},
    {.name = "HS28_parallel", .source = BOOK "28 with an almost parallel equality",
     .n = 3, .nEq = 2, .nIneq = 0, .evaluate = hs28Parallel,
     .flags = PROBLEM_NEARLY_DEPENDENT | PROBLEM_INFEASIBLE_START,
     .start = VALUES(-4, 1, 1), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0.5, -0.5, 0.5), .fBest = 0},
    {.name = "HS43_doubled", .source = BOOK "43 with every constraint twice",
     .n = 4, .nEq = 0, .nIneq = 6, .evaluate = hs43Doubled,
     .flags = PROBLEM_REDUNDANT | PROBLEM_DEGENERATE,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0, 1, 2, -1), .fBest = -44},
    {.name = "HS48_repeated", .source = BOOK "48 with a dependent equality",
     .n = 5, .nEq = 3, .nIneq = 0, .evaluate = hs48Repeated,
     .flags = PROBLEM_REDUNDANT | PROBLEM_DEGENERATE,
     .start = VALUES(3, 5, -3, 2, -2), .lower = allMinusTen, .upper = allTen,
     .best = allOne, .fBest = 0},
    {.name = "pyramid", .source = "made for this collection; minimiser by symmetry",
     .n = 3, .nEq = 0, .nIneq = 8, .evaluate = pyramid,
     .flags = PROBLEM_DEGENERATE | PROBLEM_INFEASIBLE_START,
     .start = VALUES(3, -2, -4), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0, 0, 1), .fBest = -1},
    {.name = "hilbert", .source = "classic ill-conditioned linear programme; multipliers 1",
     .n = 4, .nEq = 0, .nIneq = 4, .evaluate = hilbert,
     .flags = PROBLEM_NEARLY_DEPENDENT | PROBLEM_INFEASIBLE_START,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = allOne, .fBest = 5.076190476190478},
    {.name = "maratos", .source = "Powell 1986, after Maratos 1978; box added",
     .n = 2, .nEq = 1, .nIneq = 0, .evaluate = maratos,
     .start = VALUES(0.8, 0.6), .lower = VALUES(-2, -2), .upper = VALUES(2, 2),
     .best = VALUES(1, 0), .fBest = -1},
    {.name = "waechter_biegler", .source = "Waechter & Biegler 2000; box added",
     .n = 3, .nEq = 2, .nIneq = 0, .evaluate = waechterBiegler,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(-2, 3, 1), .lower = VALUES(-10, 0, 0), .upper = allTen,
     .best = VALUES(1, 0, 0.5), .fBest = 1},
};
/* clang-format on */

const ProblemFamily degenerateFamily = FAMILY(table);
