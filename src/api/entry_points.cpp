#include <tarnix/routines.h>
#include <tarnix/tarnix.h>

#include "api/driver.h"
#include "state/problem.h"
#include "state/settings.h"

using namespace tarnix::core;

extern "C" {

int32_t VRK_setDefaults(void) {
  storeDefaults();
  return 0;
}

void VRK_set_stop(int32_t value) { requestStop(session(), value); }

void VRK_set_print(int32_t level) { settings->printLevel = level; }
void VRK_set_diffMeth(int32_t method) { settings->diffMethod = method; }
void VRK_set_diffPert(double pert) { settings->diffPert = pert; }

// Kept: one setter for the tolerances of both methods.
void VRK_set_convTol(double tol) {
  settings->convTolGrg = tol;
  settings->convTol = tol;
}

int32_t VRK_get_nIter(void) { return settings->nIter; }
int32_t VRK_get_nFunEval(void) { return settings->nFunEval; }

int32_t VRK_grg(int32_t maxIter, int32_t n, double* x, const double* lower, const double* upper,
                int32_t m1, int32_t m2, VRK_analysis cb, void* user, double* f) {
  return solve(Method::grg, maxIter, {n, x, lower, upper, m1, m2, cb, user, f});
}

int32_t VRK_sqp(int32_t maxIter, int32_t n, double* x, const double* lower, const double* upper,
                int32_t m1, int32_t m2, VRK_analysis cb, void* user, double* f) {
  return solve(Method::sqp, maxIter, {n, x, lower, upper, m1, m2, cb, user, f});
}

void ANAFUN(double* x, double* F) { callAnalysis(x, F); }

}  // extern "C"
