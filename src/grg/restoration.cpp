#include "grg/restoration.h"

#include <cmath>

#include "state/settings.h"
#include "state/work_storage.h"
#include "grg/basis.h"
#include "qp/curvature.h"
#include "trace/claim.h"

namespace tarnix::core {

void Restoration::run() {
  double previousNorm = settings->bigValue;
  for (iteration = 1; iteration <= maxIter; ++iteration) {
    if (satisfied()) {
      converged = true;
      // Kept: level 2 alone prints the point.
      if (settings->printLevel == 2) {
        trace::vector("DV RETURN NR", {x, n});
        trace::vector("DF RETURN NR", {f, m});
      }
      if (tracing(1)) trace::message(Line("NR ITERATIONS= ").integer(evaluations, 4));
      return;
    }
    if (iteration == 1) ++settings->nNewton1;
    bool atBound = false;
    const double norm = correct(atBound);
    if (allAtBound) return;
    // A correction that is not a number does not shrink either.
    const bool growing = !(norm <= previousNorm);
    if (growing && tracing(2)) trace::message("NR RESIDUALS GROWING");
    if (atBound && tracing(2)) trace::message("DEPENDENT VAR AT BOUND");
    if (growing || atBound) return;
    previousNorm = norm;
    evaluateHere();
    if (broyden && !refreshMatrices()) return;
  }
}

bool Restoration::satisfied() const {
  for (const int32_t c : rows)
    if (!(std::fabs(f[c - 1]) <= settings->convTol)) return false;
  return true;
}

// Applies each row's correction as soon as it is known; returns the 1-norm of them all.
double Restoration::correct(bool& atBound) {
  const ConstMatrix B{inverse, ld, rows.size(), rows.size()};
  double norm = 0.0;
  for (int i = 1; i <= rows.size(); ++i) {
    double correction = 0.0;
    for (int j = 1; j <= rows.size(); ++j) correction -= B(i, j) * f[rows(j) - 1];
    dx[i - 1] = correction;
    if (tracing(3))
      trace::message(Line("I= ").integer(i, 4).text(" DELDV(I)=").real(correction, 14, 5));
    norm += std::fabs(correction);
    if (i <= nDep && variables[i - 1] != stepVariable)
      moveDependent(i, atBound);
    else if (!moveStep(i, atBound))
      return norm;
  }
  return norm;
}

// Kept: a value on the upper bound is accepted, one on the lower bound counts as at bound.
void Restoration::moveDependent(int i, bool& atBound) {
  const int v = variables[i - 1];
  double& xv = x[v - 1];
  const double moved = xv + dx[i - 1];
  if (moved > box.upperOf(v)) {
    xv = box.upperOf(v);
    atBound = true;
  } else if (moved <= box.lowerOf(v)) {
    xv = box.lowerOf(v);
    atBound = true;
  } else {
    xv = moved;
  }
}

// The correction moves the step length, and with it every variable. False when all independent
// variables were projected on a bound.
bool Restoration::moveStep(int i, bool& atBound) {
  alpha = alpha + dx[i - 1];
  if (moveIndependent(independent, box, alpha, dir, x, base)) {
    allAtBound = true;
    return false;
  }
  if (stepVariable != 0) return true;
  const double width = base.step - previous.step;
  const bool secant = std::fabs(width) > settings->zeroTol;
  for (int l = 1; l <= nDep; ++l) {
    const int v = variables[l - 1];
    const double slope =
        secant ? (base.x[v - 1] - previous.x[v - 1]) / width : dir[v - 1];
    x[v - 1] += slope * dx[i - 1];
  }
  const int v = variables[i - 1];
  const double clipped = box.clip(v, x[v - 1]);
  if (clipped != x[v - 1]) atBound = true;
  x[v - 1] = clipped;
  return true;
}

void Restoration::evaluateHere() {
  ++settings->nNewton2;
  ++evaluations;
  evaluate({x, n}, {f, m}, objective);
  if (tracing(3)) {
    trace::vector("DV AFTER NR", {x, n});
    trace::vector("DF AFTER NR", {f, m});
  }
}

bool Restoration::refreshMatrices() {
  const int k = rows.size();
  for (int i = 1; i <= k; ++i) r[i - 1] = 0.0 - f[rows(i) - 1];
  WorkFrame frame;
  if (!trace::claim(frame, 1 + 2 * cellCount(k))) return false;
  const VectorView w = frame.vector(k);
  const VectorView v = frame.vector(k);
  updateInverse({inverse, ld, k, k}, {r, k}, {dx, k}, w, v);
  if (settings->errorFlag) return false;
  updateJacobian({jacobian, ld, nDep, nDep}, dx, r);
  return true;
}

}  // namespace tarnix::core
