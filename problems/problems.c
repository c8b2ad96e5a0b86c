#include "problems.h"

#include <math.h>
#include <stddef.h>
#include <string.h>

#include "family.h"

const double allZero[100] = {0};
const double allOne[100] = {HUNDRED(1)};
const double allTen[100] = {HUNDRED(10)};
const double allMinusTen[100] = {HUNDRED(-10)};

static const ProblemFamily* const families[] = {
    &hockSchittkowskiFamily,     &designFamily,       &scalableFamily, &degenerateFamily,
    &hockSchittkowskiMoreFamily, &schittkowskiFamily, &classicsFamily, &largerFamily};
enum { coreFamilies = 4, allFamilies = sizeof families / sizeof families[0] };

static int countOf(int familyCount) {
  int count = 0;
  for (int k = 0; k < familyCount; ++k) count += families[k]->count;
  return count;
}

int problemCount(void) {
  return countOf(coreFamilies);
}

int wideProblemCount(void) {
  return countOf(allFamilies);
}

const Problem* problemAt(int i) {
  return i < problemCount() ? wideProblemAt(i) : NULL;
}

const Problem* wideProblemAt(int i) {
  if (i < 0) return NULL;
  for (int k = 0; k < allFamilies; ++k) {
    if (i < families[k]->count) return &families[k]->problems[i];
    i -= families[k]->count;
  }
  return NULL;
}

const Problem* problemByName(const char* name) {
  const int count = wideProblemCount();
  for (int i = 0; i < count; ++i)
    if (strcmp(wideProblemAt(i)->name, name) == 0) return wideProblemAt(i);
  return NULL;
}

/* A NaN on either side wins. */
static double larger(double a, double b) {
  return a >= b || isnan(a) ? a : b;
}

double problemViolation(const Problem* problem, const double* x, double* f) {
  enum { mostVariables = 100, mostConstraints = 300 };
  double copy[mostVariables], eq[mostConstraints], ineq[mostConstraints], objective;
  memcpy(copy, x, (size_t)problem->n * sizeof *x);
  problem->evaluate(NULL, copy, &objective, eq, ineq);
  if (f) *f = objective;
  double worst = 0;
  for (int i = 0; i < problem->nEq; ++i) worst = larger(worst, fabs(eq[i]));
  for (int i = 0; i < problem->nIneq; ++i) worst = larger(worst, ineq[i]);
  for (int i = 0; i < problem->n; ++i)
    worst = larger(worst, larger(problem->lower[i] - x[i], x[i] - problem->upper[i]));
  return worst;
}
