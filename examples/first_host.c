/* The lightest tubular column that carries 2500 kgf without yielding or buckling. */
#include <stdio.h>
#include <tarnix/tarnix.h>

static void column(void* user, double* x, double* cost, double* eq, double* ineq) {
  const double pi = 3.14159265358979, d = x[0], t = x[1]; /* mean diameter, thickness in cm */
  (void)user, (void)eq;
  *cost = 9.8 * d * t + 2 * d;
  ineq[0] = 2500 / (pi * d * t * 500) - 1; /* stress / limit - 1 <= 0 */
  ineq[1] = 8 * 2500 * 250.0 * 250.0 / (pi * pi * pi * 0.85e6 * d * t * (d * d + t * t)) - 1;
}

int main(void) {
  const double lower[2] = {2, 0.2}, upper[2] = {14, 0.8};
  double x[2] = {8, 0.5}, f[3]; /* start; objective and two constraints */
  VRK_setDefaults();
  const int status = VRK_sqp(50, 2, x, lower, upper, 0, 2, column, NULL, f);
  printf("status %d (%d is converged)\n", status, VRK_SQP_CONVERGED);
  printf("cost %.4f  constraints %.1e %.1e\n", f[0], f[1], f[2]);
  printf("diameter %.4f cm  thickness %.4f cm\n", x[0], x[1]);
  return status != VRK_SQP_CONVERGED;
}
