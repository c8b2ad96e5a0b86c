/* tarnix: constrained optimization of small design problems. Entry points for host programs.
 *
 *     minimize    f(x)                    n <= 100 variables
 *     subject to  h_i(x)  = 0             m1 equality constraints
 *                 g_i(x) <= 0             m2 inequality constraints
 *                 lower <= x <= upper
 *
 * A host calls VRK_setDefaults once, then any setters, a solve call (VRK_sqp or VRK_grg), then the
 * getters. Further solves may follow; settings and counters persist until they are changed.
 *
 * Units. The host sees physical values only. Inside, every variable is scaled so that its bounds
 * become -1 and 1; the perturbation of the differences is an absolute step in these units, and
 * so are the gradients, the Hessian and the multipliers of the trace. Bounds therefore have to be
 * finite, with lower < upper: equal bounds divide by zero. Choose bounds that enclose the design
 * sensibly, for they are the scale of the problem.
 *
 * Scale the functions. All tolerances are absolute. One convTol serves as the violation that is
 * accepted in every constraint and as the change of the objective that counts as none: an objective
 * of order 1e-4 looks converged at once, one of order 1e6 is pursued to nine digits. Tests on
 * pivots, curvatures and step lengths compare with zeroTol = 1e-7. Divide each function by a
 * typical magnitude, so that values, and changes across the box, are of order 1 to 1000, and
 * convTol is a violation or a gain not worth another evaluation. With an objective whose Hessian in
 * scaled variables exceeds about 1e7, the curvature 1/Hessian of a single bound row falls below
 * zeroTol: the subproblem then looks infeasible (status 4 of VRK_sqp, 8 of VRK_grg), although a
 * feasible point exists.
 *
 * Threads. All state of a solve is in a session, and nothing locks it: one solve at a time in each.
 * The calls below work on the session that the calling thread uses, the process-wide one unless it
 * has asked for another: session.h makes solves in threads and within callbacks independent of each
 * other. The callback runs on the caller's thread, inside the solve call; it must not start another
 * solve in the same session. VRK_set_stop may be called from another thread that uses the session
 * (tarnix_session_stop from any); any setter may be called from the callback and takes effect when
 * the setting is next read.
 *
 * Exceptions thrown by a C++ callback pass through the solve call to its caller: work storage and
 * memory are given back, x and f are left with some intermediate content. A callback may be left by
 * longjmp in a session that is then destroyed, in the process-wide one it may not.
 *
 * Errors. A solve that runs out of work storage or memory returns 7 (SQP) or 11 (GRG). The flag
 * and marks behind that may stay set, so that later solves return the same status at once:
 * call VRK_setDefaults, which clears them, before the next one. */
#ifndef TARNIX_TARNIX_H
#define TARNIX_TARNIX_H

#include <stdint.h>

/* Exported symbol of the shared library. */
#if defined(_WIN32) && defined(tarnix_EXPORTS) /* the library itself is being built */
#define VRK_API __declspec(dllexport)
#elif defined(_WIN32)
#define VRK_API __declspec(dllimport)
#elif defined(__GNUC__) || defined(__clang__)
#define VRK_API __attribute__((visibility("default")))
#else
#define VRK_API
#endif

#define VRK_VERSION_MAJOR 0
#define VRK_VERSION_MINOR 1
#define VRK_VERSION_PATCH 0
#define VRK_VERSION_STRING "0.1.0"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  VRK_MAX_VARIABLES = 100 /* largest n of a solve call */
};

/* Returned by either method: n exceeds VRK_MAX_VARIABLES. Nothing was stored, evaluated or
 * changed. */
enum { VRK_TOO_MANY_VARIABLES = 99 };

/* A constraint counts as satisfied when h is within convTol of 0, and g at most convTol; a point is
 * feasible when all are. A value that is not a number passes as satisfied: a host whose analysis
 * can fail looks at f, whatever the status. */

/* What VRK_sqp returns. */
enum {
  /* Feasible, and the slope of the objective along the search direction is at least -convTol: no
   * noticeable decrease is left. Use the design; a smaller tolerance may refine it. */
  VRK_SQP_CONVERGED = 1,
  /* Iteration limit reached: maxIter iterations were completed without convergence. Look at f;
   * restart from x with a higher limit, with fresh curvature. */
  VRK_SQP_ITERATION_LIMIT = 2,
  /* The quadratic subproblem has no solution, even without its constraint rows. Scale the
   * objective, or start elsewhere. */
  VRK_SQP_NO_QP_SOLUTION = 4,
  /* The Hessian approximation is not positive definite, even after a reset. Look for function
   * values that are not finite, the usual cause. */
  VRK_SQP_HESSIAN_NOT_POSITIVE_DEFINITE = 5,
  /* The solver of the subproblem broke down, or had too little work storage. Raise the storage
   * capacities, or scale the functions. */
  VRK_SQP_QP_FAILURE = 6,
  /* Work storage or memory is exhausted, now or in an earlier solve. Call VRK_setDefaults, then
   * raise the capacities, before the next solve. */
  VRK_SQP_STORAGE = 7,
  /* Stopped by VRK_set_stop; x is the last accepted point. Clear the request with VRK_set_stop(0)
   * before the next solve. */
  VRK_SQP_STOPPED = 8,
  /* The merit function (objective plus weighted constraint violations) stayed within convTol of
   * its two previous values. Often as good as converged, but the point may violate constraints:
   * look at f. */
  VRK_SQP_MERIT_NOT_CHANGING = 9
};

/* What VRK_grg returns. The values 7 and 9 are used inside it and are never returned. */
enum {
  /* Feasible, and the directional derivative of the objective is below convTol in size: no
   * noticeable decrease is left. Use the design; a smaller tolerance may refine it. */
  VRK_GRG_CONVERGED = 1,
  /* Feasible, and the line search reached its smallest step, 1e-4 in scaled variables. Use the
   * design, often as good as converged. If it is not good enough, tighten the bounds or restart
   * from x, with fresh curvature. */
  VRK_GRG_MINIMUM_STEP = 2,
  /* Feasible, and the objective has stalled: it changed by at most convTol in each of two
   * successive iterations. Use the design; a smaller tolerance, or a larger scale of the
   * objective, may improve it. */
  VRK_GRG_OBJECTIVE_NOT_CHANGING = 3,
  /* No feasible point was found: the constraint being repaired cannot be reduced any further
   * while the satisfied ones are kept, or its line search reached the smallest step. x may be a
   * local minimum of the violation. Start elsewhere, look for constraints that contradict each
   * other, or try VRK_sqp. */
  VRK_GRG_NO_FEASIBLE_POINT = 4,
  /* No feasible point was found: the constraint being repaired has stalled. It changed by at most
   * convTol in each of two successive iterations. As for 4. A constraint on too small a scale
   * also ends this way. */
  VRK_GRG_INFEASIBILITY_NOT_CHANGING = 5,
  /* Iteration limit reached: maxIter iterations were completed. Look at f: once feasible, x is a
   * design to use. Restart from x with a higher limit, with fresh curvature. */
  VRK_GRG_ITERATION_LIMIT = 6,
  /* The quadratic subproblem has no solution. At a feasible point the usual cause is constraints
   * that depend on each other, such as two equalities that are almost parallel. Remove a
   * constraint that follows from others. Otherwise scale the functions, or start elsewhere. */
  VRK_GRG_NO_QP_SOLUTION = 8,
  /* The solver of the subproblem broke down or had too little work storage, or function values
   * that are not finite left no direction. Look at the callback, raise the storage capacities, or
   * scale the functions. */
  VRK_GRG_QP_FAILURE = 10,
  /* Work storage or memory is exhausted, now or in an earlier solve. Call VRK_setDefaults, then
   * raise the capacities, before the next solve. */
  VRK_GRG_STORAGE = 11,
  /* Stopped by VRK_set_stop; x is the last accepted point. Clear the request with VRK_set_stop(0)
   * before the next solve. */
  VRK_GRG_STOPPED = 12
};

/* Analysis callback of the host: evaluates all functions at one design.
 *   user          in   the pointer given to the solve call
 *   x             in   (n) design, physical units; it may lie outside its bounds by the
 *                      difference step, see VRK_set_diffPert. The library continues with
 *                      what it then holds, so leave it unchanged.
 *   objective     out  the objective value
 *   equalities    out  (m1) values h, satisfied at 0
 *   inequalities  out  (m2) values g, satisfied when at most 0
 * Every value must be written at every call; one that is not keeps its previous content. Values
 * are not checked: NaN and infinities spoil the result, never memory. */
typedef void (*VRK_analysis)(void* user, double* x, double* objective, double* equalities,
                             double* inequalities);

/* Stores the default of every setting, and clears the counters, the error flag, the stop request
 * and the work storage. Returns 0. Call it before the first solve, for all settings are zero until
 * then, and after a solve that returned 7 (SQP) or 11 (GRG). */
VRK_API int32_t VRK_setDefaults(void);

/* The setters store their argument as given; they accept every value. */

/* Stop request: with the value 1 a solve ends at the top of its next iteration. Other values have
 * no effect. The request stays until another value, or VRK_setDefaults, clears it. It reaches the
 * session that the calling thread uses: the process-wide one from any thread that has not asked for
 * another, and also from a signal handler of such a thread. Default 0. */
VRK_API void VRK_set_stop(int32_t value);

/* Print level of the trace, written to the C library's stdout unless tarnix_session_trace names
 * another place: 0 nothing, 1 error and warning messages, iteration headers and, in VRK_grg, the
 * point of each iteration and the steps of its search; 2 also the notices and figures of each
 * iteration, 3 also vectors and matrices. The storage messages of the SQP front end and of the
 * subproblem's solver appear at every level. Default 0. */
VRK_API void VRK_set_print(int32_t level);

/* Difference scheme of the gradients: 1 forward (n evaluations per gradient), any other value
 * central (2n evaluations). Default 1. */
VRK_API void VRK_set_diffMeth(int32_t method);

/* Difference step, absolute and in scaled variables: the physical step of variable i is
 * pert * (upper[i] - lower[i]) / 2. The perturbed point is not clipped to the bounds, so the
 * callback is called up to one such step outside. Default 1e-4. */
VRK_API void VRK_set_diffPert(double pert);

/* Convergence tolerance of both methods, absolute, in units of the functions: largest violation of
 * a constraint that counts as satisfied, and smallest gain that counts. See Scale the functions.
 * Default 1e-3. */
VRK_API void VRK_set_convTol(double tol);

/* Number of the last iteration begun; a solve that begins none leaves it as it was. */
VRK_API int32_t VRK_get_nIter(void);

/* Number of evaluations (calls of the callback) since VRK_setDefaults, over all solves. */
VRK_API int32_t VRK_get_nFunEval(void);

/* The two solve calls take the same arguments.
 *   maxIter  in      iteration limit; below 1 the start is evaluated once and 2 (VRK_sqp) or 6
 *                    (VRK_grg) returned
 *   n        in      number of variables, at most VRK_MAX_VARIABLES
 *   x        in/out  (n) starting point, which may violate constraints; final point.
 *                    Physical units. Scaled in place during the solve.
 *   lower    in      (n) lower bounds, physical units
 *   upper    in      (n) upper bounds, physical units, lower < upper
 *   m1       in      number of equality constraints
 *   m2       in      number of inequality constraints
 *   cb       in      analysis callback; null makes every evaluation leave f as it is
 *   user     in      passed to the callback, may be null
 *   f        in/out  (1 + m1 + m2) function values: objective, equalities, inequalities. The
 *                    callback writes straight into it; on return the values at the final x,
 *                    or as passed in when nothing was evaluated.
 *
 * Work storage is a fixed pool of 40000 doubles and 5000 integers by default. What a solve takes is
 * given with each call, with nfun = 1 + m1 + m2. A host with more constraints raises the capacities
 * in VRK_settings after VRK_setDefaults, see routines.h. */

/* Sequential quadratic programming: each iteration minimizes a quadratic model of the Lagrangian
 * under the linearized constraints and the bounds, then searches along the step with the exact
 * penalty merit function  f + sum mu_i |h_i| + sum mu_i max(0, g_i). Points on the way may violate
 * constraints.
 * Sources: Han, J. Optim. Theory Appl. 22 (1977) 297-309; Powell, Lecture Notes in Mathematics
 * 630 (1978) 144-157.
 * Returns one of the VRK_SQP_ values or VRK_TOO_MANY_VARIABLES.
 *
 * An iteration takes n or 2n evaluations for the gradients and at most 6 for the line search.
 *
 * Work storage, with L = m1 + m2 + 2n:
 *     doubles   D = 1 + 3L + n nfun + (m1 + m2) + n^2 + 14n,
 *               and above them  max(1 + 2 nfun, 2n^2 + 5n + 2 m1 + m2)
 *     integers  I = 1 + L + nfun + n.
 * At n = 100 the defaults hold up to 70 inequalities, without equalities. Too small a pool is
 * rejected with status 7 before the first evaluation when D or I exceeds it; a pool that holds D
 * but not the rest ends the solve with 7 (gradients) or 6 (subproblem). */
VRK_API int32_t VRK_sqp(int32_t maxIter, int32_t n, double* x, const double* lower,
                        const double* upper, int32_t m1, int32_t m2, VRK_analysis cb, void* user,
                        double* f);

/* Generalized reduced gradients: while a constraint is violated, the worst one is reduced in place
 * of the objective and those that are satisfied stay so; from then on every point is feasible. The
 * direction solves a quadratic model under the linearized constraints and the bounds; along it the
 * constraints that bind are held by Newton's method on as many dependent variables.
 * Sources: Abadie & Carpentier in Fletcher (ed.), Optimization, Academic Press 1969, 37-47; Lasdon,
 * Waren, Jain & Ratner, ACM Trans. Math. Softw. 4 (1978) 34-50.
 * Returns one of the VRK_GRG_ values or VRK_TOO_MANY_VARIABLES.
 *
 * The start is evaluated once before the method begins, whatever then ends it. An iteration takes n
 * or 2n evaluations for the gradients, twice that when the Hessian is found not to be positive
 * definite, and at most 7601 for the line search: a guarantee; 5 to 15 are usual.
 *
 * A session can ask for the refined method, which solves more problems: tarnix_session_refine in
 * session.h.
 *
 * Work storage, with a = min(n, m2), k = m1 + a + 1 and r = min(n, m1 + a + 4), at most:
 *     doubles   D = 1 + n^2 + 8n + n nfun, and above them the larger of
 *               2n^2 + 7n + 1 + 3 m1 + 2 m2                (subproblem) and
 *               5n + 2 nfun + 2k^2 + 2r + 3                (line search)
 *     integers  I = m1 + m2 + a + nfun + n + max(n + 1, 3n + nfun + a + 6).
 * k counts the equalities that are satisfied and the inequalities that are active; fewer of these
 * take less. Too small a pool ends the solve where it is noticed: with status 10 when the
 * subproblem's solver lacks space, otherwise with 11. storage.hpp states the totals of both calls
 * as functions. */
VRK_API int32_t VRK_grg(int32_t maxIter, int32_t n, double* x, const double* lower,
                        const double* upper, int32_t m1, int32_t m2, VRK_analysis cb, void* user,
                        double* f);

#ifdef __cplusplus
}
#endif

#endif
