/* What the families of the collection share. Not for users of the collection. */
#ifndef TARNIX_PROBLEM_FAMILY_H
#define TARNIX_PROBLEM_FAMILY_H

#include "problems.h"

/* The head of an evaluation; most problems leave one of its arguments alone. */
#define UNUSED __attribute__((unused))
#define EVALUATION(name)                                                              \
  void name(UNUSED void* user, UNUSED double* x, UNUSED double* f, UNUSED double* eq, \
            UNUSED double* ineq)

/* A list of numbers in a table row, and a number repeated. */
#define VALUES(...) ((const double[]){__VA_ARGS__})
#define FIVE(v) v, v, v, v, v
#define TEN(v) FIVE(v), FIVE(v)
#define FIFTY(v) TEN(v), TEN(v), TEN(v), TEN(v), TEN(v)
#define HUNDRED(v) FIFTY(v), FIFTY(v)

typedef struct ProblemFamily {
  const Problem* problems;
  int count;
} ProblemFamily;
#define FAMILY(table) \
  { table, (int)(sizeof(table) / sizeof((table)[0])) }

extern const ProblemFamily hockSchittkowskiFamily, designFamily, scalableFamily, degenerateFamily;
extern const ProblemFamily hockSchittkowskiMoreFamily, schittkowskiFamily, classicsFamily,
    largerFamily;

/* 100 equal values each. */
extern const double allZero[100], allOne[100], allTen[100], allMinusTen[100];

static inline double sq(double a) {
  return a * a;
}
static inline double cube(double a) {
  return a * a * a;
}

/* Problems that other families vary. */
EVALUATION(hs14);
EVALUATION(hs22);
EVALUATION(hs28);
EVALUATION(hs43);
EVALUATION(hs48);

#endif
