/* The problem collection: published constrained minimization problems with known minimisers.
 *
 *     minimize f(x)  subject to  eq(x) = 0,  ineq(x) <= 0,  lower <= x <= upper
 *
 * Every function may be called a little outside the box, as finite differences do. */
#ifndef TARNIX_PROBLEMS_H
#define TARNIX_PROBLEMS_H

#ifdef __cplusplus
extern "C" {
#endif

enum ProblemFlag {
  PROBLEM_DESIGN = 1,            /* sizing of a real structure, machine or plant */
  PROBLEM_SCALABLE = 2,          /* member of a family that exists for several n */
  PROBLEM_INFEASIBLE_START = 4,  /* the start violates a constraint */
  PROBLEM_ACTIVE_BOUNDS = 8,     /* a variable is at its bound in the minimiser */
  PROBLEM_REDUNDANT = 16,        /* a constraint follows from the others */
  PROBLEM_NEARLY_DEPENDENT = 32, /* constraint gradients are almost dependent */
  PROBLEM_DEGENERATE = 64,       /* active gradients are dependent at the minimiser */
  PROBLEM_OTHER_MINIMA = 128     /* a solve may end at another stationary point */
};

typedef struct Problem {
  const char* name;
  const char* source;                         /* where it was published, and what was changed */
  int n, nEq, nIneq;                          /* variables, equality and inequality constraints */
  const double *start, *lower, *upper, *best; /* (n) each; the start lies in the box */
  double fBest;                               /* objective at best */
  unsigned flags;                             /* of enum ProblemFlag */
  /* Fills f, eq[nEq] and ineq[nIneq]; does not look at user, does not change x. */
  void (*evaluate)(void* user, double* x, double* f, double* eq, double* ineq);
} Problem;

/* The core set: tests state how each of its solves ends. */
int problemCount(void);
const Problem* problemAt(int i); /* 0 <= i < problemCount(), else null */

/* The whole collection, which begins with the core set: for comparisons of methods. */
int wideProblemCount(void);
const Problem* wideProblemAt(int i); /* 0 <= i < wideProblemCount(), else null */

const Problem* problemByName(const char* name); /* of the whole; null when there is none */

/* Largest of |eq|, ineq and the distances of x beyond its bounds; 0 for a feasible x, NaN when a
 * value is not a number. When f is given, the objective at x is stored there. */
double problemViolation(const Problem* problem, const double* x, double* f);

#ifdef __cplusplus
}
#endif
#endif
