#include "grg/restoration.h"

#include <tarnix/storage.hpp>

#include <algorithm>
#include <cmath>

#include "grg/basis.h"
#include "qp/curvature.h"
#include "trace/claim.h"

namespace tarnix::core {

void Restoration::run() {
  double previousNorm = settings->bigValue;
  session().restorationIterations = 0;
  for (iteration = 1; iteration <= maxIter; ++iteration) {
    if (satisfied()) {
      converged = true;
      // Kept: level 2 alone prints the point.
      if (settings->printLevel == 2) {
        trace::vector("DV RETURN NR", x);
        trace::vector("DF RETURN NR", f);
      }
      if (tracing(1))
        trace::message(Line("NR ITERATIONS= ").integer(session().restorationIterations, 4));
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
    if (growing || atBound || (keepsInside && !finite())) return;
    previousNorm = norm;
    evaluateHere();
    if (broyden && !refreshMatrices()) return;
  }
}

bool Restoration::satisfied() const {
  for (const int32_t c : rows)
    if (!(std::fabs(f(c)) <= settings->convTol)) return false;
  return true;
}

// Applies each row's correction as soon as it is known; returns the 1-norm of them all.
double Restoration::correct(bool& atBound) {
  double norm = 0.0;
  for (int i = 1; i <= rows.size(); ++i) {
    double correction = 0.0;
    for (int j = 1; j <= rows.size(); ++j) correction -= Jinv(i, j) * f(rows(j));
    dx(i) = correction;
    if (tracing(3))
      trace::message(Line("I= ").integer(i, 4).text(" DELDV(I)=").real(correction, 14, 5));
    norm += std::fabs(correction);
    if (i <= nDep && variables(i) != stepVariable)
      moveDependent(i, atBound);
    else if (!moveStep(i, atBound))
      return norm;
  }
  return norm;
}

// Kept: a value on the upper bound is accepted, one on the lower bound counts as at bound.
void Restoration::moveDependent(int i, bool& atBound) {
  const int v = variables(i);
  const double moved = x(v) + dx(i);
  if (moved > box.upper(v)) {
    x(v) = box.upper(v);
    atBound = true;
  } else if (moved <= box.lower(v)) {
    x(v) = box.lower(v);
    atBound = true;
  } else {
    x(v) = moved;
  }
}

// The correction moves the step, and with it every variable. False when all independent variables
// were projected on a bound.
bool Restoration::moveStep(int i, bool& atBound) {
  step = step + dx(i);
  if (moveIndependent(independent, box, step, dir, x, base)) {
    allAtBound = true;
    return false;
  }
  if (stepVariable != 0) return true;
  const double width = base.step - previous.step;
  const bool secant = std::fabs(width) > settings->zeroTol;
  for (const int32_t v : variables.head(nDep)) {
    const double slope = secant ? (base.x(v) - previous.x(v)) / width : dir(v);
    x(v) += slope * dx(i);
    if (keepsInside) clip(v, atBound);
  }
  clip(variables(i), atBound);
  return true;
}

void Restoration::clip(int v, bool& atBound) {
  const double clipped = box.clip(v, x(v));
  if (clipped != x(v)) atBound = true;
  x(v) = clipped;
}

bool Restoration::finite() const {
  return std::ranges::all_of(x, [](double xi) { return std::isfinite(xi); });
}

void Restoration::evaluateHere() {
  ++settings->nNewton2;
  ++session().restorationIterations;
  evaluate(x, f, objective);
  if (tracing(3)) {
    trace::vector("DV AFTER NR", x);
    trace::vector("DF AFTER NR", f);
  }
}

bool Restoration::refreshMatrices() {
  const int k = rows.size();
  for (int i = 1; i <= k; ++i) r(i) = 0.0 - f(rows(i));
  WorkFrame frame;
  if (!trace::claim(frame, storage::grgRestoration(k))) return false;
  const VectorView w = frame.vector(k);
  const VectorView v = frame.vector(k);
  updateInverse(Jinv, r.head(k), dx.head(k), w, v);
  if (settings->errorFlag) return false;
  updateJacobian(J, dx, r);
  return true;
}

}  // namespace tarnix::core
