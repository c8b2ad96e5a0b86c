#include "sqp/iteration.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "base/ordered_dot.h"
#include "base/parabola.h"
#include "eval/evaluation.h"
#include "eval/gradients.h"
#include "qp/curvature.h"
#include "qp/lagrangian.h"
#include "qp/qp_solver.h"
#include "state/settings.h"
#include "trace/trace.h"

namespace tarnix::core {

namespace {

// The single-precision 0.01 and 0.1, widened.
constexpr double initialWeight = 0.01f;
constexpr double shrinkTrigger = 0.1f;
constexpr double shrinkFactor = 0.1;  // Kept: the reduction takes the double, its test the single
constexpr double growthLimit = 0.9;
constexpr int maxTrials = 5;

class SqpIteration {
 public:
  SqpIteration(const SqpProblem& problem, const SqpArrays& arrays)
      : p(problem),
        a(arrays),
        n(problem.n()),
        mi(problem.inequalities.size()),
        mc(problem.constraints()) {}

  SqpEnd run(int maxIter) {
    start();
    for (int k = 1; k <= maxIter; ++k) {
      settings->nIter = k;
      if (stopRequested()) return SqpEnd::stopped;
      if (!refreshModel()) return SqpEnd::storage;
      if (const auto end = solveSubproblem()) return *end;
      if (converged()) {
        evaluate(p.x, p.f);
        return SqpEnd::converged;
      }
      clipDirection();
      updateWeights();
      if (meritStalled()) return SqpEnd::meritNotChanging;
      if (!searchLine()) leaveAtSavedPoint();
    }
    return SqpEnd::iterationLimit;
  }

 private:
  // ---- start -------------------------------------------------------------------------------
  void start() {
    evaluate(p.x, p.f);
    if (tracing(3)) {
      trace::vector("Starting Variable Values", p.x);
      trace::vector("Starting Function Values", p.f);
    }
    std::ranges::fill(a.weight, initialWeight);
    std::ranges::fill(a.lambda, 0.0);
    std::ranges::fill(a.codes, boundBoth);
    std::ranges::fill(a.column, 0);
    for (int i = 1; i <= mc; ++i) a.column(position(i)) = i;
    a.column(p.objective) = a.G.columns();
    meritOlder = settings->bigValue;
    meritNewer = -settings->bigValue;
  }

  // Position in f of constraint i, inequalities first.
  int position(int i) const { return i <= mi ? p.inequalities(i) : p.equalities(i - mi); }
  double value(int i) const { return p.f(position(i)); }

  // ---- gradients and curvature ---------------------------------------------------------------
  bool refreshModel() {
    const bool reset = firstIteration || reformulated;
    firstIteration = reformulated = false;
    if (!reset) lagrangian(a.lagrangianOld);
    if (tracing(3)) trace::message(Line("Difference Step= ").real(settings->diffPert, 13, 5));
    if (!gradientsInOneBlock({p.x, p.f}, ColumnSelection::list(a.column), a.G)) return false;
    std::ranges::copy(a.G.column(a.G.columns()), a.gObj.begin());
    if (reset)
      resetCurvature();
    else
      updateCurvature();
    if (tracing(3)) {
      trace::matrix("Gradd: Ineqs First, Then Eqs, Then Obj", a.G);
      trace::matrix("Hessian", a.B);
    }
    return true;
  }

  void resetCurvature() { setScaledIdentity(initialCurvature(a.gObj), a.B); }

  void lagrangian(VectorView gl) {
    lagrangianGradient({.map1 = p.inequalities,
                        .map2 = p.equalities,
                        .column = a.column,
                        .rows = a.active.head(nact),
                        .multiplier = a.activeLambda},
                       a.gObj, a.G, gl);
  }

  void updateCurvature() {
    lagrangian(a.lagrangianNew);
    for (int i = 1; i <= n; ++i) {
      a.s(i) = p.x(i) - a.xSaved(i);
      a.y(i) = a.lagrangianNew(i) - a.lagrangianOld(i);
    }
    if (tracing(3)) {
      trace::vector("Dvdel", a.s);
      trace::vector("Gradel", a.y);
    }
    dampedUpdate(a.s, a.y, a.B, {.u = a.w1, .r = a.w2, .v = a.w3});
  }

  // ---- quadratic subproblem ------------------------------------------------------------------
  // Empty when there is a direction.
  std::optional<SqpEnd> solveSubproblem() {
    QpEnd end = solveModel();
    if (end == QpEnd::noSolution) {
      // Only the bounds remain: d descends the objective, and the merit function sees to the rest.
      reformulated = true;
      if (tracing(2)) {
        trace::message("No solution to QP problem, Reformulating");
        trace::vector("Gobj", a.gObj);
      }
      end = solveModel();
    }
    if (end == QpEnd::notPositiveDefinite) {
      resetCurvature();
      if (tracing(2)) trace::message("Hessian not pos. def. Reinitializing");
      end = solveModel();
    }
    switch (end) {
      case QpEnd::noSolution: return SqpEnd::noQpSolution;
      case QpEnd::notPositiveDefinite: return SqpEnd::hessianNotPositiveDefinite;
      case QpEnd::failure: return SqpEnd::qpFailure;
      case QpEnd::solved: break;
    }
    scatterMultipliers();
    if (tracing(2)) trace::vector("Search Direction", a.d);
    if (tracing(3)) trace::vector("Lambda: Ineqs First, Then Eqs, Then Bounds", a.lambda);
    return std::nullopt;
  }

  // A reformulated subproblem omits the general rows.
  QpEnd solveModel() {
    for (int i = 1; i <= mc; ++i) a.rhs(i) = -value(i);
    for (int i = 1; i <= n; ++i) {
      a.dLower(i) = p.lower(i) - p.x(i);
      a.dUpper(i) = p.upper(i) - p.x(i);
    }
    const int rows = reformulated ? 0 : mc;
    return solveQp({.A = a.G.block(n, rows),
                    .b = a.rhs.head(rows),
                    .m1 = reformulated ? 0 : mi,
                    .H = a.B,
                    .g = a.gObj,
                    .codes = a.codes,
                    .dl = a.dLower,
                    .du = a.dUpper},
                   {.d = a.d, .multiplier = a.activeLambda, .rows = {a.active, nact}});
  }

  // lambda by row. A reformulated subproblem numbers its bound rows from 1, not behind the
  // constraints, whose multipliers are 0 then.
  void scatterMultipliers() {
    std::ranges::fill(a.lambda, 0.0);
    const int shift = reformulated ? mc : 0;
    for (int k = 1; k <= nact; ++k) a.lambda(a.active(k) + shift) = a.activeLambda(k);
  }

  // ---- convergence ---------------------------------------------------------------------------
  bool converged() {
    const double tol = settings->convTol;
    derivative = orderedDot(a.gObj, a.d);
    bool violated = false;
    for (int i = 1; i <= mc; ++i)
      if ((i <= mi ? value(i) : std::fabs(value(i))) > tol) violated = true;
    if (tracing(3))
      trace::message(
          Line("Dderiv= ").real(derivative, 13, 5).text("  Istopp=").integer(violated ? 1 : 0, 4));
    return !violated && derivative >= -tol;
  }

  void clipDirection() {
    const double limit = settings->maxStepNorm;
    const double norm = std::sqrt(orderedDot(a.d, a.d));
    if (!(norm > limit)) return;
    for (double& di : a.d) di = di * limit / norm;
    if (tracing(2)) trace::message("Clipping Search Vector");
  }

  // ---- merit function ------------------------------------------------------------------------
  void updateWeights() {
    for (int i = 1; i <= mc; ++i) {
      const double size = std::fabs(a.lambda(i));
      const double average = (a.weight(i) + size) * 0.5;
      a.weight(i) = size > average ? size : average;
    }
    merit = meritHere();
    // Kept: an equality adds its derivative whatever the sign of its value.
    slope = derivative;
    for (int i = 1; i <= mc; ++i)
      if (i > mi || value(i) > 0.0) slope += a.weight(i) * orderedDot(a.G.column(i), a.d);
  }

  // f + sum w max(0, g) + sum w |h|. A value that is not a number makes the merit one.
  double meritHere() const {
    double phi = p.f(p.objective);
    for (int i = 1; i <= mc; ++i) {
      const double v = value(i);
      phi += a.weight(i) * (i > mi ? std::fabs(v) : v <= 0.0 ? 0.0 : v);
    }
    return phi;
  }

  bool meritStalled() {
    const double tol = settings->convTol;
    if (tol > std::fabs(meritOlder - merit) && tol > std::fabs(meritNewer - merit)) {
      if (tracing(3)) trace::message("TERMINATE: PENALTY NOT CHANGING");
      return true;
    }
    meritOlder = meritNewer;
    meritNewer = merit;
    if (tracing(2)) trace::message(Line("Initial Penalty=").real(merit, 14, 5));
    return false;
  }

  // ---- line search ---------------------------------------------------------------------------
  // True when a trial was accepted; plain decrease is enough.
  bool searchLine() {
    // A bitwise copy: evaluations change the last bits of x.
    std::ranges::copy(p.x, a.xSaved.begin());
    double step = 1.0;
    for (int trial = 1; trial <= maxTrials; ++trial) {
      moveTo(step);
      evaluate(p.x, p.f);
      if (tracing(3)) {
        trace::vector("Variable Values", p.x);
        trace::vector("Function Values", p.f);
      }
      const double trialMerit = meritHere();
      if (tracing(2))
        trace::message(
            Line("Step Length=").real(step, 14, 5).text("  Penalty=").real(trialMerit, 14, 5));
      if (trialMerit <= merit) return true;
      step = reducedStep(step, trialMerit);
    }
    return false;
  }

  // Within the bounds; a direction that is not a number leads to the lower one.
  void moveTo(double step) {
    for (int j = 1; j <= n; ++j) {
      const double moved = a.xSaved(j) + step * a.d(j);
      const double raised = moved > p.lower(j) ? moved : p.lower(j);
      p.x(j) = raised < p.upper(j) ? raised : p.upper(j);
    }
  }

  double reducedStep(double step, double trialMerit) {
    const double vertex = parabolaStep(0.0, step, merit, trialMerit, slope, settings->zeroTol);
    if (tracing(3)) {
      trace::vector("xmu", a.weight.head(mc));
      trace::message(Line("Pender= ").real(slope, 14, 5).text(" Astar= ").real(vertex, 14, 5));
    }
    if (vertex > growthLimit * step) return growthLimit * step;
    if (shrinkTrigger * step > vertex) return shrinkFactor * step;
    return vertex;
  }

  void leaveAtSavedPoint() {
    if (tracing(1)) trace::message("Warning: Line Search Failed");
    std::ranges::copy(a.xSaved, p.x.begin());
    evaluate(p.x, p.f);
  }

  // Given.
  const SqpProblem& p;
  const SqpArrays& a;
  const int n;
  const int mi;  // inequalities
  const int mc;  // constraints
  // Decided.
  int32_t nact = 0;  // active rows of the last subproblem
  bool firstIteration = true;
  bool reformulated = false;  // the last subproblem had no constraints: reset B next
  double derivative = 0.0;    // gObj . d before clipping
  double merit = 0.0;         // at the point of this iteration
  double slope = 0.0;         // of the merit function along d
  double meritOlder = 0.0;    // merit values of the two iterations before
  double meritNewer = 0.0;
};

}  // namespace

SqpEnd runSqp(int maxIter, const SqpProblem& problem, const SqpArrays& arrays) {
  return SqpIteration(problem, arrays).run(maxIter);
}

}  // namespace tarnix::core
