#include "sqp/sqp_iteration.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "state/settings.h"
#include "base/ordered_dot.h"
#include "base/parabola.h"
#include "eval/evaluation.h"
#include "eval/gradients.h"
#include "qp/curvature.h"
#include "qp/lagrangian.h"
#include "qp/qp_solver.h"
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
        n(problem.n),
        mi(problem.inequalities.size()),
        mc(problem.constraints()),
        x(p.x, n),
        d(a.d, n) {}

  SqpEnd run(int maxIter) {
    start();
    for (int k = 1; k <= maxIter; ++k) {
      settings->nIter = k;
      if (stopRequested()) return SqpEnd::stopped;
      if (!refreshModel()) return SqpEnd::storage;
      if (const auto end = solveSubproblem()) return *end;
      if (converged()) {
        evaluate(x, {p.f, p.nfun});
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
    evaluate(x, {p.f, p.nfun});
    if (tracing(3)) {
      trace::vector("Starting Variable Values", x);
      trace::vector("Starting Function Values", {p.f, p.nfun});
    }
    std::fill_n(a.weight, p.multipliers(), initialWeight);
    std::fill_n(a.lambda, p.multipliers(), 0.0);
    std::fill_n(a.codes, std::max(n, 0), boundBoth);
    std::fill_n(a.column, std::max(p.nfun, 0), 0);
    for (int i = 1; i <= mc; ++i) a.column[position(i) - 1] = i;
    a.column[p.objective - 1] = p.nfun;
    meritOlder = settings->bigValue;
    meritNewer = -settings->bigValue;
  }

  // Position in f of constraint i, inequalities first.
  int position(int i) const { return i <= mi ? p.inequalities(i) : p.equalities(i - mi); }
  double value(int i) const { return p.f[position(i) - 1]; }
  ConstVector gradient(int i) const {
    return {a.G + static_cast<std::ptrdiff_t>(i - 1) * n, n};
  }

  // ---- gradients and curvature ---------------------------------------------------------------
  bool refreshModel() {
    const bool reset = firstIteration || reformulated;
    firstIteration = reformulated = false;
    if (!reset) lagrangian(a.lagrangianOld);
    const MatrixView G{a.G, n, n, p.nfun};
    if (!gradientsInOneBlock({x, {p.f, p.nfun}}, ColumnSelection::list({a.column, p.nfun}), G))
      return false;
    std::ranges::copy(G.column(p.nfun), a.gObj);
    if (reset)
      resetCurvature();
    else
      updateCurvature();
    if (tracing(3)) {
      trace::matrix("Gradd: Ineqs First, Then Eqs, Then Obj", {a.G, n, n, p.nfun});
      trace::matrix("Hessian", {a.B, n, n, n});
    }
    return true;
  }

  void resetCurvature() { setScaledIdentity(initialCurvature({a.gObj, n}), {a.B, n, n, n}); }

  void lagrangian(double* gl) {
    const ActiveRows rows{p.inequalities, p.equalities, a.column, {a.active, nact}, a.activeLambda};
    lagrangianGradient(n, rows, a.gObj, a.G, gl);
  }

  void updateCurvature() {
    lagrangian(a.lagrangianNew);
    for (int i = 0; i < n; ++i) {
      a.dvdel[i] = p.x[i] - a.xSaved[i];
      a.gradel[i] = a.lagrangianNew[i] - a.lagrangianOld[i];
    }
    if (tracing(3)) {
      trace::vector("Dvdel", {a.dvdel, n});
      trace::vector("Gradel", {a.gradel, n});
    }
    dampedUpdate({a.dvdel, n}, {a.gradel, n}, {a.B, n, n, n}, {{a.w1, n}, {a.w2, n}, {a.w3, n}});
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
        trace::vector("Gobj", {a.gObj, n});
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
    if (tracing(2)) trace::vector("Search Direction", d);
    return std::nullopt;
  }

  // The general rows are left out of a reformulated subproblem.
  QpEnd solveModel() {
    for (int i = 1; i <= mc; ++i) a.rhs[i - 1] = -value(i);
    for (int i = 0; i < n; ++i) {
      a.dLower[i] = p.lower[i] - p.x[i];
      a.dUpper[i] = p.upper[i] - p.x[i];
    }
    const int rows = reformulated ? 0 : mc;
    const int inequalityRows = reformulated ? 0 : mi;
    return solveQp({n, rows, inequalityRows, {a.G, n, n, rows}, a.rhs, {a.B, n, n, n}, a.gObj,
                    a.codes, a.dLower, a.dUpper},
                   {a.d, a.activeLambda, a.active, nact});
  }

  // lambda by row. A reformulated subproblem numbers its bound rows from 1, not behind the
  // constraints, whose multipliers are 0 then.
  void scatterMultipliers() {
    std::fill_n(a.lambda, p.multipliers(), 0.0);
    const int shift = reformulated ? mc : 0;
    for (int k = 0; k < nact; ++k) a.lambda[a.active[k] + shift - 1] = a.activeLambda[k];
  }

  // ---- convergence ---------------------------------------------------------------------------
  bool converged() {
    const double tol = settings->convTol;
    derivative = orderedDot({a.gObj, n}, d);
    bool violated = false;
    for (int i = 1; i <= mc; ++i)
      if ((i <= mi ? value(i) : std::fabs(value(i))) > tol) violated = true;
    if (tracing(3))
      trace::message(Line("Dderiv= ")
                         .real(derivative, 13, 5)
                         .text("  Istopp=")
                         .integer(violated ? 1 : 0, 4));
    return !violated && derivative >= -tol;
  }

  void clipDirection() {
    const double limit = settings->maxStepNorm;
    const double norm = std::sqrt(orderedDot(d, d));
    if (!(norm > limit)) return;
    for (double& di : d) di = di * limit / norm;
    if (tracing(2)) trace::message("Clipping Search Vector");
  }

  // ---- merit function ------------------------------------------------------------------------
  void updateWeights() {
    for (int i = 0; i < mc; ++i) {
      const double size = std::fabs(a.lambda[i]);
      const double average = (a.weight[i] + size) * 0.5;
      a.weight[i] = size > average ? size : average;
    }
    merit = meritHere();
    // Kept: an equality adds its derivative whatever the sign of its value.
    slope = derivative;
    for (int i = 1; i <= mc; ++i)
      if (i > mi || value(i) > 0.0) slope += a.weight[i - 1] * orderedDot(gradient(i), d);
  }

  // f + sum w max(0, g) + sum w |h|. A value that is not a number makes the merit one.
  double meritHere() const {
    double phi = p.f[p.objective - 1];
    for (int i = 1; i <= mc; ++i) {
      const double v = value(i);
      phi += a.weight[i - 1] * (i > mi ? std::fabs(v) : v <= 0.0 ? 0.0 : v);
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
    std::copy_n(p.x, std::max(n, 0), a.xSaved);
    double alpha = 1.0;
    for (int trial = 1; trial <= maxTrials; ++trial) {
      moveTo(alpha);
      evaluate(x, {p.f, p.nfun});
      if (tracing(3)) {
        trace::vector("Variable Values", x);
        trace::vector("Function Values", {p.f, p.nfun});
      }
      const double trialMerit = meritHere();
      if (tracing(2))
        trace::message(
            Line("Step Length=").real(alpha, 14, 5).text("  Penalty=").real(trialMerit, 14, 5));
      if (trialMerit <= merit) return true;
      alpha = reducedStep(alpha, trialMerit);
    }
    return false;
  }

  // Within the bounds; a direction that is not a number leads to the lower one.
  void moveTo(double alpha) {
    for (int j = 0; j < n; ++j) {
      const double step = a.xSaved[j] + alpha * a.d[j];
      const double raised = step > p.lower[j] ? step : p.lower[j];
      p.x[j] = raised < p.upper[j] ? raised : p.upper[j];
    }
  }

  double reducedStep(double alpha, double trialMerit) {
    const double astar = parabolaStep(0.0, alpha, merit, trialMerit, slope, settings->zeroTol);
    if (tracing(3)) {
      trace::vector("xmu", {a.weight, mc});
      trace::message(Line("Pender= ").real(slope, 14, 5).text(" Astar= ").real(astar, 14, 5));
    }
    if (astar > growthLimit * alpha) return growthLimit * alpha;
    if (shrinkTrigger * alpha > astar) return shrinkFactor * alpha;
    return astar;
  }

  void leaveAtSavedPoint() {
    if (tracing(1)) trace::message("Warning: Line Search Failed");
    std::copy_n(a.xSaved, std::max(n, 0), p.x);
    evaluate(x, {p.f, p.nfun});
  }

  // Given.
  const SqpProblem& p;
  const SqpArrays& a;
  const int n;
  const int mi;          // inequalities
  const int mc;          // constraints
  const VectorView x;
  const VectorView d;    // search direction
  // Decided.
  int32_t nact = 0;            // active rows of the last subproblem
  bool firstIteration = true;
  bool reformulated = false;   // the last subproblem had no constraints: reset B next
  double derivative = 0.0;     // gObj . d before clipping
  double merit = 0.0;          // at the point of this iteration
  double slope = 0.0;          // of the merit function along d
  double meritOlder = 0.0;     // merit values of the two iterations before
  double meritNewer = 0.0;
};

}  // namespace

SqpEnd runSqp(int maxIter, const SqpProblem& problem, const SqpArrays& arrays) {
  return SqpIteration(problem, arrays).run(maxIter);
}

}  // namespace tarnix::core
