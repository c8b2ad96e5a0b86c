/* min x1 + 2 x2 with 1 - x1 x2 <= 0 on [0.1, 10]^2: x = (sqrt 2, sqrt 2 / 2), from C. */
#include <tarnix/tarnix.h>

#include <math.h>
#include <stdio.h>

static void analysis(void* user, double* x, double* objective, double* equalities,
                     double* inequalities) {
  (void)user, (void)equalities;
  *objective = x[0] + 2 * x[1];
  *inequalities = 1 - x[0] * x[1];
}

int main(void) {
  double x[] = {1, 2}, f[2];
  const double lower[] = {0.1, 0.1}, upper[] = {10, 10};
  VRK_setDefaults();
  VRK_set_convTol(1e-6);
  const int status = VRK_sqp(100, 2, x, lower, upper, 0, 1, analysis, NULL, f);
  printf("status %d, x = %.5f %.5f, objective %.5f\n", status, x[0], x[1], f[0]);
  return status == VRK_SQP_CONVERGED && fabs(f[0] - 2 * sqrt(2)) < 1e-4 ? 0 : 1;
}
