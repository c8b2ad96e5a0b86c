/* What the Fortran tests compare with: the same calls from C. */
#include <problems.h>
#include <stddef.h>
#include <string.h>
#include <tarnix/session.h>

/* A solve in a session of its own, at the settings that tarnix_solve has. */
int32_t reference_solve(int32_t index, int32_t grg, double* x, double* f, int32_t* counters) {
  const Problem* p = wideProblemAt(index);
  tarnix_session* session = tarnix_session_create();
  tarnix_session* before = tarnix_session_use(session);
  tarnix_session_settings(session)->dblStorageCapacity = VRK_DBL_STORAGE_LIMIT;
  tarnix_session_settings(session)->intStorageCapacity = VRK_INT_STORAGE_LIMIT;
  tarnix_session_refine(session, 1);
  memcpy(x, p->start, (size_t)p->n * sizeof(double));
  const int32_t status = (grg ? VRK_grg : VRK_sqp)(200, p->n, x, p->lower, p->upper, p->nEq,
                                                   p->nIneq, p->evaluate, NULL, f);
  counters[0] = VRK_get_nIter();
  counters[1] = VRK_get_nFunEval();
  tarnix_session_use(before);
  tarnix_session_destroy(session);
  return status;
}

/* A problem's parts, for a language that does not know its struct. */
void problem_parts(int32_t index, int32_t* sizes, const double** start, const double** lower,
                   const double** upper, VRK_analysis* evaluate) {
  const Problem* p = wideProblemAt(index);
  sizes[0] = p->n, sizes[1] = p->nEq, sizes[2] = p->nIneq;
  *start = p->start, *lower = p->lower, *upper = p->upper, *evaluate = p->evaluate;
}

/* Every member of the settings has the number of its place, so that a shift shows. */
void number_settings(VRK_Settings* s) {
  const VRK_Settings numbered = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11,
                                 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22};
  *s = numbered;
}
