#include <tarnix/session.h>

#include <new>

#include "api/driver.h"
#include "state/problem.h"
#include "state/settings.h"

using namespace tarnix::core;

namespace {

// A session is the core's own behind the name that hosts know; null stands for the process-wide
// one.
Session& sessionOf(tarnix_session* host) {
  return host == nullptr ? processWideSession() : *reinterpret_cast<Session*>(host);
}
tarnix_session* nameOf(Session& own) {
  return &own == &processWideSession() ? nullptr : reinterpret_cast<tarnix_session*>(&own);
}

}  // namespace

extern "C" {

int32_t VRK_setDefaults(void) {
  storeDefaults();
  return 0;
}

void VRK_set_stop(int32_t value) {
  requestStop(session(), value);
}

void VRK_set_print(int32_t level) {
  settings->printLevel = level;
}
void VRK_set_diffMeth(int32_t method) {
  settings->diffMethod = method;
}
void VRK_set_diffPert(double pert) {
  settings->diffPert = pert;
}

// Kept: one setter for the tolerances of both methods.
void VRK_set_convTol(double tol) {
  settings->convTolGrg = tol;
  settings->convTol = tol;
}

int32_t VRK_get_nIter(void) {
  return settings->nIter;
}
int32_t VRK_get_nFunEval(void) {
  return settings->nFunEval;
}

int32_t VRK_grg(int32_t maxIter, int32_t n, double* x, const double* lower, const double* upper,
                int32_t m1, int32_t m2, VRK_analysis cb, void* user, double* f) {
  return solve(Method::grg, maxIter, {n, x, lower, upper, m1, m2, cb, user, f});
}

int32_t VRK_sqp(int32_t maxIter, int32_t n, double* x, const double* lower, const double* upper,
                int32_t m1, int32_t m2, VRK_analysis cb, void* user, double* f) {
  return solve(Method::sqp, maxIter, {n, x, lower, upper, m1, m2, cb, user, f});
}

void ANAFUN(double* x, double* F) {
  callAnalysis({x, 0}, {F, 0});
}

// ---- sessions ----------------------------------------------------------------------------------

tarnix_session* tarnix_session_create(void) {
  auto* const made = new (std::nothrow) Session;
  if (made == nullptr) return nullptr;
  const SessionKept kept;
  useSession(*made);
  storeDefaults();
  return nameOf(*made);
}

void tarnix_session_destroy(tarnix_session* session) {
  if (session == nullptr) return;
  Session& own = sessionOf(session);
  if (inUse.session == &own) useSession(processWideSession());
  delete &own;
}

tarnix_session* tarnix_session_use(tarnix_session* session) {
  Session& before = *inUse.session;
  useSession(sessionOf(session));
  return nameOf(before);
}

VRK_Settings* tarnix_session_settings(tarnix_session* session) {
  return sessionOf(session).settings;
}

void tarnix_session_stop(tarnix_session* session, int32_t value) {
  requestStop(sessionOf(session), value);
}

void tarnix_session_refine(tarnix_session* session, int32_t on) {
  sessionOf(session).refined = on != 0;
}

void tarnix_session_batch(tarnix_session* session, tarnix_batch function, void* user) {
  Hooks& hooks = sessionOf(session).hooks;
  hooks.batch = function;
  hooks.batchUser = user;
}

void tarnix_session_gradient(tarnix_session* session, tarnix_gradient function, void* user) {
  Hooks& hooks = sessionOf(session).hooks;
  hooks.gradient = function;
  hooks.gradientUser = user;
}

void tarnix_session_trace(tarnix_session* session, tarnix_trace function, void* user) {
  Hooks& hooks = sessionOf(session).hooks;
  hooks.trace = function;
  hooks.traceUser = user;
}

}  // extern "C"
