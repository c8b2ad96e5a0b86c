/* The public headers, from plain C11 with every warning an error: they declare each exported
   name, lay the settings block out as documented, and the calls work as written. */
#include <tarnix/routines.h>
#include <tarnix/session.h>
#include <tarnix/tarnix.h>

#include <assert.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#define AT(member, offset) \
  static_assert(offsetof(VRK_Settings, member) == (offset), #member " has moved")
AT(intStorageCapacity, 0);
AT(dblStorageCapacity, 4);
AT(intStorageUsed, 8);
AT(dblStorageUsed, 12);
AT(diffMethod, 16);
AT(nGradEval, 20);
AT(stopRequest, 24);
AT(nNewton1, 28);
AT(nNewton2, 32);
AT(grgParam1, 40);
AT(grgSearchParam1, 48);
AT(grgSearchParam2, 56);
AT(printLevel, 64);
AT(maxStepNorm, 72);
AT(errorFlag, 80);
AT(nFunEval, 84);
AT(nIter, 88);
AT(zeroTol, 96);
AT(bigValue, 104);
AT(convTolGrg, 112);
AT(convTol, 120);
AT(diffPert, 128);
static_assert(sizeof(VRK_Settings) == 136, "the settings block has another size");

typedef void (*Function)(void);
static const struct {
  const char* name;
  Function function;
} functions[] = {
#define X(name) {#name, (Function)name},
#include "exported_functions.inc"
#undef X
};

/* min (x1 - 1)^2 + (x2 - 2)^2 with x1 + x2 <= 2: the minimiser is (0.5, 1.5). */
static void analysis(void* user, double* x, double* objective, double* equalities,
                     double* inequalities) {
  (void)equalities;
  ++*(int*)user;
  *objective = (x[0] - 1) * (x[0] - 1) + (x[1] - 2) * (x[1] - 2);
  inequalities[0] = x[0] + x[1] - 2;
}

static int failures = 0;
static void expect(int holds, const char* what) {
  if (!holds) {
    printf("does not hold: %s\n", what);
    ++failures;
  }
}
#define EXPECT(condition) expect(condition, #condition)

/* Its gradients, and its values at all designs of a pass. */
static int32_t gradient(void* user, const double* x, int32_t n, int32_t nfun, double* G) {
  ++*(int*)user;
  if (n != 2 || nfun != 2) return 0;
  G[0] = 2 * (x[0] - 1), G[1] = 2 * (x[1] - 2); /* the constraint's column stays missing */
  return 1;
}
static void batch(void* user, int32_t count, const double* X, double* F) {
  int calls = 0;
  for (int32_t k = 0; k < count; ++k) {
    double x[2] = {X[2 * k], X[2 * k + 1]};
    analysis(&calls, x, &F[2 * k], NULL, &F[2 * k + 1]);
  }
  *(int*)user += calls;
}
static void trace(void* user, const char* text, size_t length) {
  (void)text;
  *(size_t*)user += length;
}

static void testSession(void);

int main(void) {
  for (size_t i = 0; i < sizeof functions / sizeof functions[0]; ++i)
    expect(functions[i].function != NULL, functions[i].name);
  EXPECT(strcmp(VRK_VERSION_STRING, TARNIX_VERSION) == 0);
  char version[32];
  snprintf(version, sizeof version, "%d.%d.%d", VRK_VERSION_MAJOR, VRK_VERSION_MINOR,
           VRK_VERSION_PATCH);
  EXPECT(strcmp(version, TARNIX_VERSION) == 0);

  const VRK_Settings zero = {0};
  EXPECT(memcmp(&VRK_settings, &zero, sizeof zero) == 0);
  EXPECT(VRK_setDefaults() == 0);
  EXPECT(VRK_settings.dblStorageCapacity == 40000 && VRK_settings.intStorageCapacity == 5000);

  double x[] = {0, 0}, lower[] = {-5, -5}, upper[] = {5, 5}, f[2];
  int calls = 0;
  EXPECT(VRK_sqp(50, 2, x, lower, upper, 0, 1, analysis, &calls, f) == VRK_SQP_CONVERGED);
  EXPECT(x[0] > 0.49 && x[0] < 0.51 && x[1] > 1.49 && x[1] < 1.51);
  EXPECT(VRK_get_nFunEval() == calls && VRK_get_nIter() > 0);
  testSession();
  return failures != 0;
}

static void testSession(void) {
  tarnix_session* mine = tarnix_session_create();
  EXPECT(mine != NULL);
  EXPECT(tarnix_session_use(mine) == NULL);
  VRK_Settings* settings = tarnix_session_settings(mine);
  EXPECT(settings != &VRK_settings && settings->convTol == 0.001);
  int calls = 0, asked = 0, together = 0;
  size_t traced = 0;
  tarnix_session_refine(mine, 1);
  tarnix_session_gradient(mine, gradient, &asked);
  tarnix_session_batch(mine, batch, &together);
  tarnix_session_trace(mine, trace, &traced);
  VRK_set_print(2);
  double x[] = {0, 0}, lower[] = {-5, -5}, upper[] = {5, 5}, f[2];
  EXPECT(VRK_sqp(50, 2, x, lower, upper, 0, 1, analysis, &calls, f) == VRK_SQP_CONVERGED);
  EXPECT(x[0] > 0.49 && x[0] < 0.51 && x[1] > 1.49 && x[1] < 1.51);
  EXPECT(asked == VRK_get_nIter() && together == 2 * asked && traced > 0);
  EXPECT(settings->nFunEval == calls + together);
  tarnix_session_stop(mine, 1);
  EXPECT(VRK_grg(50, 2, x, lower, upper, 0, 1, analysis, &calls, f) == VRK_GRG_STOPPED);
  EXPECT(tarnix_session_use(NULL) == mine);
  tarnix_session_destroy(mine);
}
