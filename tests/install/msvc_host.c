/* min x1 + 2 x2 with 1 - x1 x2 <= 0 on [0.1, 10]^2 as a host of the other compilers of Windows:
 * their calling conventions and import of data, without any C library. Ends with 0 when all is
 * well. */
#include <stddef.h>
#include <tarnix/routines.h>
#include <tarnix/session.h>

int _fltused = 0; /* what their linker requires where floating point is used */

static void analysis(void* user, double* x, double* objective, double* equalities,
                     double* inequalities) {
  (void)equalities;
  ++*(int*)user;
  *objective = x[0] + 2 * x[1];
  *inequalities = 1 - x[0] * x[1];
}

int start(void) {
  double x[] = {1, 2}, f[2];
  const double lower[] = {0.1, 0.1}, upper[] = {10, 10};
  int calls = 0;
  VRK_setDefaults();
  VRK_settings.convTol = 1e-6;
  tarnix_session_refine(NULL, 1);
  const int status = VRK_sqp(100, 2, x, lower, upper, 0, 1, analysis, &calls, f);
  if (status != VRK_SQP_CONVERGED) return status;
  if (calls != VRK_settings.nFunEval) return 101;
  const double root8 = 2.8284271247461903;
  return f[0] > root8 - 1e-4 && f[0] < root8 + 1e-4 ? 0 : 102;
}
