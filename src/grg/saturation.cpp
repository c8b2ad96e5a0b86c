#include "grg/saturation.h"

#include <tarnix/storage.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

#include "grg/interpolation.h"
#include "grg/restoration.h"
#include "state/settings.h"
#include "trace/claim.h"

namespace tarnix::core {

// Every pass leaves, ends the search, or has restored the point once; the next pass then looks
// again for what the restoration has violated.
void Saturation::run() {
  if (!claimWork()) return;
  for (int pass = 1; pass <= maxPasses; ++pass) {
    restored_ = false;
    Crossing crossing;
    if (!findCrossing(crossing)) {
      terminate = true;
      return;
    }
    const bool bounded = blocking.variable != 0 && blocking.step <= step;
    if (crossing.index != 0 && !(bounded && blocking.step <= crossing.step))
      takeUp(crossing);
    else if (bounded)
      exchangeAtBound();
    if (terminate || step <= 0.0) return;
    if (feasible()) return;
    if (!restored_) restoreOrShorten();
    if (terminate) return;
  }
  if (tracing(1)) trace::message("FEASIBILITY FAILED IN GRGSAT");
  terminate = true;
}

bool Saturation::claimWork() {
  terminate = !frame_.reserve(4 * int64_t{p.n()});
  if (terminate) return false;
  for (VectorView* v : {&artificial_, &u_, &z_, &w_}) *v = frame_.vector(p.n());
  return true;
}

// ---- crossing test -----------------------------------------------------------------------------

bool Saturation::interpolate(int c, Crossing& first) {
  double at = 0.0;
  if (crossingStep(given.referenceStep, given.referenceValues(c), step, p.f(c), at) !=
      CrossingEnd::found)
    return false;
  if (first.index == 0 || at < first.step) first = {c, at};
  return true;
}

// The first inequality that the step has violated; an equality target that changed its sign is the
// first candidate. False when one of them cannot be interpolated.
bool Saturation::findCrossing(Crossing& first) {
  const int32_t target = p.objective.index;
  if (p.objective.isEquality() && !p.isTracked(target) &&
      given.referenceValues(target) * p.f(target) < 0.0 && !interpolate(target, first))
    return false;
  for (const int32_t c : p.kept) {
    if (p.isTracked(c) || !(p.f(c) > settings->convTol)) continue;
    if (!interpolate(c, first)) return false;
  }
  return true;
}

// ---- a new constraint --------------------------------------------------------------------------

void Saturation::takeUp(const Crossing& crossing) {
  constexpr double leastBackOff = 0.001;
  const int32_t c = crossing.index;
  if (tracing(1)) trace::message(Line("NEW CONSTRAINT ").integer(c, 3));
  // Never less than the back-off, so that the constraint ends slightly inside its limit.
  const double cut = std::max(0.0, step - std::max(step - crossing.step, leastBackOff));
  const double uncut = step;
  const bool endedBefore = second;
  second = true;
  if (!evaluateAt(cut)) return;
  if (tracing(2)) {
    trace::vector("DV AT BIND STEP", p.x);
    trace::vector("DF AT BIND STEP", p.f);
  }
  if (cut <= 0.0) return;
  bool singular = true;
  if (holdWithNewDependent(c, singular)) return;
  if (settings->errorFlag) return void(terminate = true);
  if (!evaluateAt(cut)) return;
  bool singularAgain = true;
  if (holdWithStepLength(c, singularAgain)) return;
  if (settings->errorFlag) return void(terminate = true);
  const bool noPivot = singular && singularAgain;
  if (session().refined && noPivot && impliedByHeldRows(c, uncut)) {
    second = endedBefore;
    return;
  }
  if (terminate) return;  // its restoration has said so
  fail(noPivot ? "SINGULAR JACOBIAN DURING AUGMENT" : "CONVERGE FAIL, GRGNR, NEW CONSTRAINT");
}

// Ends the search. Exhausted storage has had its message, and nothing else is to be said. The final
// test follows a failed restoration too.
void Saturation::fail(std::string_view reason) {
  terminate = true;
  if (settings->errorFlag || !tracing(1)) return;
  trace::message(reason);
  if (!feasible()) trace::message("FEASIBILITY FAILED IN GRGSAT");
}

int Saturation::bestIndependent(int c) const {
  int best = 0;
  double highest = 0.0;
  for (const int32_t v : p.basis.independent) {
    const double score = dependentScore(v, p.gradients(v, c), p.x, p.box, p.dir);
    if (score > highest) {
      highest = score;
      best = v;
    }
  }
  return best;
}

// Borders the inverse by u_ and the row of constraint c on the dependent variables.
bool Saturation::augment(int c, double corner) {
  const int k = p.basis.nDep;
  WorkFrame frame;
  if (!trace::claim(frame, storage::grgBorder(k))) return false;
  const VectorView w = frame.vector(k);
  const VectorView y = frame.vector(k);
  for (int j = 1; j <= k; ++j) z_(j) = p.gradients(p.basis.variables(j), c);
  if (tracing(3)) {
    trace::vector("AROW", z_.head(k));
    trace::vector("ACOL", u_.head(k));
    trace::message(Line("ACORN ").real(corner, 14, 5));
  }
  if (corner < 0.0 && tracing(2)) trace::message("ACORN NEGATIVE");
  if (!borderInverse(k, corner, z_, u_, p.basis.Jinv, w, y)) return false;
  if (tracing(3)) trace::matrix("JACOBIAN INVERSE", p.basis.inverseBlock(k + 1));
  return true;
}

// First try: another variable becomes dependent.
bool Saturation::holdWithNewDependent(int c, bool& singular) {
  Basis& basis = p.basis;
  const int k = basis.nDep;
  const int v = bestIndependent(c);
  if (v == 0 || k >= basis.room()) return false;
  for (int i = 1; i <= k; ++i) u_(i) = p.gradients(v, basis.rows(i));
  if (!augment(c, p.gradients(v, c))) return false;
  singular = false;

  basis.addDependent(v, c);
  for (int j = 1; j <= k + 1; ++j) {
    basis.J(k + 1, j) = p.gradients(basis.variables(j), c);
    basis.J(j, k + 1) = p.gradients(v, basis.rows(j));
  }
  if (restore(k + 1, k + 1)) {
    p.hold(c);
    return true;
  }
  basis.removeLastDependent();
  (void)rebuildMatrices();
  return false;
}

// Second try: the step length becomes the unknown of the new row. All variables move with it along
// dir, which leaves the rows that are held where they are to first order.
bool Saturation::holdWithStepLength(int c, bool& singular) {
  Basis& basis = p.basis;
  const int k = basis.nDep;
  if (k >= basis.room() || k >= p.n()) return false;
  const auto alongDirection = [&](int row) {
    double sum = 0.0;
    for (int v = 1; v <= p.n(); ++v) sum += p.gradients(v, row) * p.dir(v);
    return sum;
  };
  for (int i = 1; i <= k; ++i) u_(i) = alongDirection(basis.rows(i));
  if (!augment(c, alongDirection(c))) return false;
  singular = false;

  basis.rows.append(c);
  const bool held = restore(k + 1, k) && step >= 0.0;
  basis.rows.removeAt(k + 1);
  if (!rebuildMatrices() || !held) return false;
  p.hold(c);
  return true;
}

// Constraint c may follow from the rows that are held: then the step can stand once these have been
// restored, and c needs no place of its own.
bool Saturation::impliedByHeldRows(int c, double length) {
  if (p.basis.nDep == 0 || !evaluateAt(length)) return false;
  restoreOrShorten();
  if (terminate) return false;
  if (p.f(c) > settings->convTol) {
    // c may be on a larger scale than the rows: what is within tolerance for them is not for it.
    correctDependents(p.basis, p.f, p.box, p.x);
    if (!evaluateFinite()) return false;
  }
  if (!feasible()) return false;
  p.tracked(c) = 1;
  return true;
}

// ---- a dependent variable at its bound --------------------------------------------------------

void Saturation::exchangeAtBound() {
  Basis& basis = p.basis;
  const int leaving = blocking.variable;
  const double limit = blocking.step;
  if (!(std::fabs(step - limit) > settings->zeroTol)) {
    if (tracing(1)) trace::message("STPDEL ERROR IN GRGSAT, BND");
    blocking = {};
    return;
  }
  const double bound = p.x(leaving);  // the prediction has put it there
  const int position = basis.positionOf(leaving);
  const int entering = exchangePartner(basis, position, p.x, p.box, p.gradients);
  if (entering == 0) {
    if (tracing(1)) trace::message("ERROR IN GRGIJI, SINGULAR");
    terminate = true;
    return;
  }
  exchangeDependent(basis, position, entering, p.gradients, u_, w_);
  const int k = basis.nDep;
  if (tracing(3)) {
    trace::matrix("XJAC AFTER BND UPDATE", basis.jacobianBlock(k));
    trace::matrix("XJINV AFTER BND UPDATE", basis.inverseBlock(k));
  }
  second = true;
  moveTo(std::max(0.0, limit));
  if (step > 0.0) p.x(leaving) = bound;
  if (!evaluateFinite() || step <= 0.0) return;
  if (!restore(k, k)) fail("CONVERGE FAIL, GRGNR");
}

// ---- the step as it is ------------------------------------------------------------------------

bool Saturation::feasible() const {
  const double tol = settings->convTol;
  for (const int32_t c : p.binding)
    if (!(p.f(c) <= tol)) return false;
  for (const int32_t c : p.satisfied)
    if (!(std::fabs(p.f(c)) <= tol)) return false;
  // An inequality that is not held may be violated by a restoration.
  for (const int32_t c : p.kept)
    if (!(p.f(c) <= tol)) return false;
  // An equality target is approached from its positive side.
  return !p.objective.isEquality() || p.f(p.objective.index) >= -tol;
}

// Restores the rows that are held. Where that fails, first with a better basis from the same step;
// then, or where no row can mend the point, the step is halved towards the reference.
void Saturation::restoreOrShorten() {
  for (;;) {
    const bool converged = restore(p.basis.nDep, p.basis.nDep);
    if (converged && (session().restorationIterations > 0 || feasible())) return;
    if (settings->errorFlag || !rebuildMatrices()) break;
    if (!converged && !std::exchange(recovered_, true) &&
        improveBasis(p.basis, p.x, p.box, p.gradients, u_, w_)) {
      if (!evaluateAt(step)) return;
      continue;
    }
    if (halvings_ == maxHalvings) break;
    ++halvings_;
    if (!evaluateAt(0.5 * (given.referenceStep + step))) return;
  }
  fail("CONVERGE FAIL, GRGNR");
}

// ---- shared steps -----------------------------------------------------------------------------

// Independent variables on the direction from the base, dependent ones predicted from the
// reference.
void Saturation::moveTo(double length) {
  step = length;
  moveIndependent(p.basis.independent.view(), p.box, step, p.dir, p.x, given.base);
  const StepPoint from = given.reference.step <= step ? given.reference : given.base;
  blocking = predictFrom(from, p.basis.dependent(), p.box, step, p.dir, p.x, artificial_);
}

bool Saturation::evaluateAt(double length) {
  moveTo(length);
  return evaluateFinite();
}

// A point that is not finite ends the search without an evaluation.
bool Saturation::evaluateFinite() {
  if (!p.evaluateHere()) terminate = true;
  return !terminate;
}

// The first rows of the basis by Newton; rows behind nDep move the step length.
bool Saturation::restore(int rows, int nDep) {
  restored_ = true;
  const Basis& basis = p.basis;
  Restoration newton{
      .objective = p.objective,
      .keepsInside = true,
      .broyden = true,
      .maxIter = restorationLimit,
      .rows = basis.rows.view().head(rows),
      .Jinv = basis.inverseBlock(rows),
      .J = basis.jacobianBlock(nDep),
      .stepVariable = 0,
      .independent = basis.independent.view(),
      .nDep = nDep,
      .variables = basis.variables,
      .dir = p.dir,
      .x = p.x,
      .box = p.box,
      .f = p.f,
      .base = given.base,
      .previous = given.base,  // dependent variables move on the tangent with the step
      .dx = given.dx,
      .r = given.r,
      .step = step};
  newton.run();
  step = newton.step;
  return newton.converged;
}

// Jacobian and inverse of the basis from the gradients again, after a restoration has spoilt them.
bool Saturation::rebuildMatrices() {
  p.basis.fillJacobian(p.gradients);
  const int k = p.basis.nDep;
  return invertJacobian(p.basis.jacobianBlock(k), p.basis.inverseBlock(k), w_);
}

}  // namespace tarnix::core
