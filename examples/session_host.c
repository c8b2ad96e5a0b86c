/* The tubular column of first_host.c in a session of its own, with what a host may offer besides
 * its analysis: all designs of a gradient pass in one call, and the derivatives that it knows. */
#include <stdio.h>
#include <tarnix/session.h>

static void column(void* user, double* x, double* cost, double* eq, double* ineq) {
  const double pi = 3.14159265358979, d = x[0], t = x[1];
  (void)user, (void)eq;
  *cost = 9.8 * d * t + 2 * d;
  ineq[0] = 2500 / (pi * d * t * 500) - 1;
  ineq[1] = 8 * 2500 * 250.0 * 250.0 / (pi * pi * pi * 0.85e6 * d * t * (d * d + t * t)) - 1;
}

/* Designs and values are columns. The loop may be a parallel one: each design is independent. */
static void designs(void* user, int32_t count, const double* X, double* F) {
  *(int*)user += count;
  for (int k = 0; k < count; ++k) {
    double x[2] = {X[2 * k], X[2 * k + 1]}, *f = F + 3 * k;
    column(NULL, x, f, NULL, f + 1);
  }
}

/* Derivatives of the cost and of the stress; those of the buckling stay NaN, and differences fill
 * them in. */
static int32_t slopes(void* user, const double* x, int32_t n, int32_t nfun, double* G) {
  const double pi = 3.14159265358979, d = x[0], t = x[1];
  (void)user, (void)nfun;
  G[0] = 9.8 * t + 2, G[1] = 9.8 * d;
  G[n] = -2500 / (pi * d * d * t * 500), G[n + 1] = -2500 / (pi * d * t * t * 500);
  return 1;
}

int main(void) {
  const double lower[2] = {2, 0.2}, upper[2] = {14, 0.8};
  double x[2] = {8, 0.5}, f[3];
  int together = 0;
  tarnix_session* mine = tarnix_session_create();
  tarnix_session* before = tarnix_session_use(mine);
  tarnix_session_batch(mine, designs, &together);
  tarnix_session_gradient(mine, slopes, NULL);
  const int status = VRK_sqp(50, 2, x, lower, upper, 0, 2, column, NULL, f);
  printf("status %d, cost %.4f, %d evaluations, %d of them in passes\n", status, f[0],
         VRK_get_nFunEval(), together);
  tarnix_session_use(before);
  tarnix_session_destroy(mine);
  return status != VRK_SQP_CONVERGED;
}
