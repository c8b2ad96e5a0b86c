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
  return failures != 0;
}
