/* tarnix: what the statuses of VRK_sqp and VRK_grg mean, as one table.
 *
 * Each row is X(status, name, word, meaning, when, remedy):
 *   status   the value that the solve call returns
 *   name     its constant in tarnix.h
 *   word     at most 11 characters, for tables
 *   meaning  a clause without a period, for messages
 *   when     sentences: what has happened
 *   remedy   sentences: what to do
 *
 * The comments in tarnix.h, tarnix(3) and the page of statuses in docs are written from this table
 * by scripts/statuses.py --write; a test compares them. A host makes a table of its own by
 * defining X. */
#ifndef TARNIX_STATUSES_H
#define TARNIX_STATUSES_H

/* clang-format off */

#define TARNIX_SQP_STATUSES(X) \
  X(1, VRK_SQP_CONVERGED, "converged", \
    "constraints hold and no noticeable decrease is left", \
    "Feasible, and the slope of the objective along the search direction is at least -convTol: " \
    "no noticeable decrease is left.", \
    "Use the design; a smaller tolerance may refine it.") \
  X(2, VRK_SQP_ITERATION_LIMIT, "iter limit", \
    "the iteration limit was reached", \
    "Iteration limit reached: maxIter iterations were completed without convergence.", \
    "Look at f; restart from x with a higher limit, with fresh curvature.") \
  X(4, VRK_SQP_NO_QP_SOLUTION, "no QP point", \
    "the quadratic subproblem has no solution", \
    "The quadratic subproblem has no solution, even without its constraint rows.", \
    "Scale the objective, or start elsewhere.") \
  X(5, VRK_SQP_HESSIAN_NOT_POSITIVE_DEFINITE, "not pos.def", \
    "the curvature matrix is not positive definite", \
    "The Hessian approximation is not positive definite, even after a reset.", \
    "Look for function values that are not finite, the usual cause.") \
  X(6, VRK_SQP_QP_FAILURE, "QP failed", \
    "the solver of the subproblem broke down", \
    "The solver of the subproblem broke down, or had too little work storage.", \
    "Raise the storage capacities, or scale the functions.") \
  X(7, VRK_SQP_STORAGE, "storage", \
    "work storage or memory is exhausted", \
    "Work storage or memory is exhausted, now or in an earlier solve.", \
    "Call VRK_setDefaults, then raise the capacities, before the next solve.") \
  X(8, VRK_SQP_STOPPED, "stopped", \
    "a stop was requested", \
    "Stopped by VRK_set_stop; x is the last accepted point.", \
    "Clear the request with VRK_set_stop(0) before the next solve.") \
  X(9, VRK_SQP_MERIT_NOT_CHANGING, "no change", \
    "objective and weighted violations have stalled", \
    "The merit function (objective plus weighted constraint violations) stayed within convTol of " \
    "its two previous values.", \
    "Often as good as converged, but the point may violate constraints: look at f.")

#define TARNIX_GRG_STATUSES(X) \
  X(1, VRK_GRG_CONVERGED, "converged", \
    "constraints hold and no noticeable decrease is left", \
    "Feasible, and the directional derivative of the objective is below convTol in size: no " \
    "noticeable decrease is left.", \
    "Use the design; a smaller tolerance may refine it.") \
  X(2, VRK_GRG_MINIMUM_STEP, "min step", \
    "the line search reached its smallest step", \
    "Feasible, and the line search reached its smallest step, 1e-4 in scaled variables.", \
    "Use the design, often as good as converged. If it is not good enough, tighten the bounds or " \
    "restart from x, with fresh curvature.") \
  X(3, VRK_GRG_OBJECTIVE_NOT_CHANGING, "no change", \
    "the objective has stalled", \
    "Feasible, and the objective has stalled: it changed by at most convTol in each of two " \
    "successive iterations.", \
    "Use the design; a smaller tolerance, or a larger scale of the objective, may improve it.") \
  X(4, VRK_GRG_NO_FEASIBLE_POINT, "infeasible", \
    "the constraint being repaired cannot be reduced any further", \
    "No feasible point was found: the constraint being repaired cannot be reduced any further " \
    "while the satisfied ones are kept, or its line search reached the smallest step. x may be a " \
    "local minimum of the violation.", \
    "Start elsewhere, look for constraints that contradict each other, or try VRK_sqp.") \
  X(5, VRK_GRG_INFEASIBILITY_NOT_CHANGING, "inf. stuck", \
    "the violation of a constraint has stalled", \
    "No feasible point was found: the constraint being repaired has stalled. It changed by at " \
    "most convTol in each of two successive iterations.", \
    "As for 4. A constraint on too small a scale also ends this way.") \
  X(6, VRK_GRG_ITERATION_LIMIT, "iter limit", \
    "the iteration limit was reached", \
    "Iteration limit reached: maxIter iterations were completed.", \
    "Look at f: once feasible, x is a design to use. Restart from x with a higher limit, with " \
    "fresh curvature.") \
  X(8, VRK_GRG_NO_QP_SOLUTION, "no QP point", \
    "the quadratic subproblem has no solution", \
    "The quadratic subproblem has no solution. At a feasible point the usual cause is " \
    "constraints that depend on each other, such as two equalities that are almost parallel.", \
    "Remove a constraint that follows from others. Otherwise scale the functions, or start " \
    "elsewhere.") \
  X(10, VRK_GRG_QP_FAILURE, "QP failed", \
    "the solver of the subproblem broke down", \
    "The solver of the subproblem broke down or had too little work storage, or function values " \
    "that are not finite left no direction.", \
    "Look at the callback, raise the storage capacities, or scale the functions.") \
  X(11, VRK_GRG_STORAGE, "storage", \
    "work storage or memory is exhausted", \
    "Work storage or memory is exhausted, now or in an earlier solve.", \
    "Call VRK_setDefaults, then raise the capacities, before the next solve.") \
  X(12, VRK_GRG_STOPPED, "stopped", \
    "a stop was requested", \
    "Stopped by VRK_set_stop; x is the last accepted point.", \
    "Clear the request with VRK_set_stop(0) before the next solve.")

/* Of either method. */
#define TARNIX_COMMON_STATUSES(X) \
  X(99, VRK_TOO_MANY_VARIABLES, "too many x", \
    "there are more than 100 variables", \
    "n exceeds VRK_MAX_VARIABLES; nothing was stored, evaluated or changed.", \
    "Fix variables that matter little, or solve in parts.")

/* clang-format on */

#endif
