#include "grg/iteration.h"

#include <tarnix/storage.hpp>

#include <algorithm>
#include <cmath>
#include <optional>

#include "base/ordered_dot.h"
#include "eval/gradients.h"
#include "grg/classification.h"
#include "grg/direction.h"
#include "grg/line_search.h"
#include "grg/search_storage.h"
#include "qp/curvature.h"
#include "qp/lagrangian.h"
#include "trace/claim.h"

namespace tarnix::core {

namespace {

class GrgIteration {
 public:
  GrgIteration(const GrgProblem& problem, const GrgArrays& arrays)
      : p(problem), a(arrays), n(problem.x.size()) {}

  // Whatever ends the solve, the caller's f is what the analysis gave.
  GrgEnd run(int maxIter) {
    const GrgEnd end = iterate(maxIter);
    target.applyMode(p.f);
    return end;
  }

 private:
  // A step that ends the solve says how.
  using End = std::optional<GrgEnd>;

  GrgEnd iterate(int maxIter) {
    session().restorationIterations = 0;
    if (!claimActive()) return GrgEnd::error;
    for (int k = 1; k <= maxIter; ++k) {
      settings->nIter = k;
      if (stopRequested()) return GrgEnd::stopped;
      if (tracing(1)) traceStart(k);
      chooseObjective();
      if (const End end = direct()) return *end;
      if (const End end = testDirection()) return *end;
      if (const End end = search()) return *end;
      if (const End end = testProgress()) return *end;
    }
    return GrgEnd::iterationLimit;
  }

  void traceStart(int k) const {
    trace::message("");
    trace::message(Line("BEGINNING ITERATION ").integer(k, 4));
    trace::vector("DV", p.x);
    trace::vector("DF", p.f);
    trace::message(Line("NO. ANALYSIS CALLS ").integer(settings->nFunEval, 4));
  }

  bool claimActive() {
    if (!activeFrame.reserve(2 * int64_t{n})) return false;
    activeFunctions = activeFrame.vector(n);
    activePlaces = activeFrame.vector(n);
    return true;
  }

  // ---- classification and feasibility phase --------------------------------------------------
  void chooseObjective() {
    lists = {{a.kept, nKept}, {a.active, nActive}, {a.satisfied, nSatisfied}, a.active.size()};
    classify(p.inequalities, p.equalities, p.f, lists);
    previousTarget = target.index;
    const bool changed = lists.feasible() ? leaveFeasibilityPhase() : pursueFeasibility();
    screen(p.inequalities.size(), p.f, lists);
    if (changed) {
      // Another function is minimized: neither its curvature nor its last values are known.
      hessReset = true;
      forgetValues();
    }
    objective = target.index != 0 ? target : Objective{p.objective, optimizing};
    if (target.index == 0 || !tracing(1)) return;
    trace::message("SEARCHING FOR FEASIBLE STARTING POINT");
    trace::message(Line("TEMPORARY OBJECTIVE IS FUNCTION ").integer(target.index, 3));
    if (tracing(3)) trace::list("MGRGIN FOR INFEASIBLE", lists.kept.view());
  }

  bool leaveFeasibilityPhase() {
    target.applyMode(p.f);
    const bool found = target.index != 0;
    target = {};
    if (found && tracing(1))
      trace::message("FEASIBLE POINT FOUND, BEGINNING OPTIMIZATION OF PROBLEM");
    return found;
  }

  bool pursueFeasibility() {
    if (target.index != 0 && !target.reached(p.f)) return flipIfOvershot(target, p.f);
    target.applyMode(p.f);
    target = chooseTarget(lists, p.f);
    return target.index != previousTarget;
  }

  void forgetValues() {
    fPrev1 = settings->bigValue;
    fPrev2 = -settings->bigValue;
  }

  // ---- gradients, curvature and direction ------------------------------------------------------
  End direct() {
    for (bool again = false;; again = true) {
      if (!refreshModel()) return GrgEnd::error;
      const DirectionEnd end = findDirection(
          {p.x, p.box, p.f, lists.kept.view(), lists.satisfied.view(), G, a.hessian, a.gObj},
          {a.d, a.multiplier, a.activeRows, nact});
      if (end == DirectionEnd::storage) return GrgEnd::error;
      noteActiveRows();
      if (tracing(3)) {
        trace::list("IACT", a.activeRows.head(nact));
        trace::vector("XLAG", a.multiplier.head(nact));
      }
      if (end == DirectionEnd::solved) return std::nullopt;
      if (end == DirectionEnd::noSolution) return GrgEnd::noQpSolution;
      // A fresh diagonal is at least 1: a second time, only values that are not numbers do that.
      if (end == DirectionEnd::failure || again) return GrgEnd::qpFailure;
      hessReset = true;
      if (tracing(1)) trace::message("HESSIAN NOT POS. DEFINITE");
    }
  }

  // The lists that number the active rows change before the Lagrangian gradients are formed: a
  // general row is noted as its function, and takes its place among the active rows as its number.
  void noteActiveRows() {
    const int general = nKept + nSatisfied;
    for (int k = 1; k <= nact; ++k) {
      const int row = a.activeRows(k);
      activeFunctions(k) = row <= nKept     ? lists.kept(row)
                           : row <= general ? lists.satisfied(row - nKept)
                                            : 0;
      activePlaces(k) = row <= general ? k : nact + row - general;
    }
  }

  bool refreshModel() {
    const bool reset = hessReset;
    if (reset) {
      if (tracing(2)) trace::message("HESSIAN INITIALIZED");
      hessReset = false;
    } else {
      dropMissingMultipliers();
      lagrangianInto(a.lagrangianOld);
    }
    double scale = 1.0;
    if (!computeGradients(scale)) return false;
    if (reset)
      setScaledIdentity(scale, a.hessian);
    else if (!updateCurvature())
      return false;
    if (tracing(2)) {
      trace::list("LISDF", a.columns.head(p.f.size()));
      trace::matrix("GRADD", G);
      trace::vector("GRADOB", a.gObj);
    }
    if (tracing(3)) trace::matrix("HESSIAN", a.hessian);
    return true;
  }

  void lagrangianInto(VectorView gl) {
    lagrangianGradient({activeFunctions.head(nact),
                        {},
                        a.columns,
                        activePlaces.head(nact),
                        a.multiplier.head(nact)},
                       a.gObj, G, gl);
  }

  // An active row whose function gets no gradient now cannot enter the difference of the two.
  void dropMissingMultipliers() {
    for (int k = 1; k <= nact; ++k) {
      const int32_t c = activeFunctions(k);
      if (c == 0 || c == objective.index) continue;
      if (lists.kept.contains(c) || lists.satisfied.contains(c)) continue;
      a.multiplier(k) = 0.0;
      if (tracing(3)) trace::message(Line("GRADIENT NOT AVAILABLE, FUNCTION ").integer(c, 6));
    }
  }

  // The matrix of the last iteration stays readable until this claim.
  bool computeGradients(double& scale) {
    const int columns = nKept + 1 + nSatisfied;
    const int64_t cells = storage::grgGradientMatrix(n, columns);
    if (!trace::claim(gradientFrame, cells)) return false;
    G = {gradientFrame.carve(cells), n, n, columns};
    if (!listedGradients({p.x, p.f, objective}, lists.kept.view(), lists.satisfied.view(),
                         a.columns.head(p.f.size()), G, a.gObj, scale))
      return false;
    if (settings->errorFlag) return false;
    // Screening may list a function twice: only its later column has been written.
    for (int i = 1; i <= nKept; ++i)
      if (const int column = a.columns(lists.kept(i)); column != i)
        std::ranges::copy(G.column(column), G.column(i).begin());
    return true;
  }

  bool updateCurvature() {
    lagrangianInto(a.lagrangian);
    for (int i = 1; i <= n; ++i) {
      a.s(i) = p.x(i) - a.xOld(i);
      a.y(i) = a.lagrangian(i) - a.lagrangianOld(i);
    }
    WorkFrame frame;
    if (!trace::claim(frame, storage::grgUpdate(n))) return false;
    const VectorView w1 = frame.vector(n);
    const VectorView w2 = frame.vector(n);
    const VectorView w3 = frame.vector(n);
    const bool updated = dampedUpdate(a.s, a.y, a.hessian, {w1, w2, w3});
    if (!updated) hessReset = true;  // from the next iteration on
    if (tracing(2)) trace::message(updated ? "HESSIAN UPDATED" : "HESSIAN NOT UPDATED");
    if (tracing(3)) {
      trace::vector("GRADLO", a.lagrangianOld);
      trace::vector("GRADL", a.lagrangian);
    }
    return true;
  }

  // ---- convergence -----------------------------------------------------------------------------
  End testDirection() {
    const double derivative = orderedDot(a.gObj, a.d);
    length = std::sqrt(orderedDot(a.d, a.d));
    if (tracing(2))
      trace::message(Line("DIRECT DERIV ")
                         .real(derivative, 14, 5)
                         .text("   ")
                         .text(" LENGTH SEARCH VEC ")
                         .real(length, 14, 5));
    // A direction without length leads nowhere.
    if (std::fabs(derivative) < settings->convTolGrg || length == 0.0)
      return optimizingNow() ? GrgEnd::converged : GrgEnd::noFeasiblePoint;
    if (!std::isfinite(length) || !std::isfinite(derivative)) return GrgEnd::qpFailure;
    std::ranges::copy(p.x, a.xOld.begin());
    for (double& di : a.d) di = di / length;
    if (tracing(2)) trace::vector("SEARCH DIRECTION", a.d);
    return std::nullopt;
  }

  bool optimizingNow() const { return target.mode == optimizing; }

  End testProgress() {
    const double tol = settings->convTolGrg;
    const double fNew = p.f(objective.index);
    if (std::fabs(fNew - fPrev1) <= tol && std::fabs(fPrev1 - fPrev2) <= tol) {
      if (optimizingNow()) return GrgEnd::objectiveStalled;
      if (target.index == previousTarget) return GrgEnd::infeasibilityStalled;
    }
    fPrev2 = fPrev1;
    fPrev1 = fNew;
    return std::nullopt;
  }

  // ---- line search -----------------------------------------------------------------------------
  End search() {
    SearchStorage arrays;
    if (!arrays.claim(n, p.f.size(), nSatisfied, nActive)) return GrgEnd::error;
    int32_t nBinding = 0, nIndependent = 0, nDependent = 0, nRows = 0;
    std::ranges::fill(arrays.tracked, 0);
    SearchProblem along{.objective = objective,
                        .x = p.x,
                        .f = p.f,
                        .box = p.box,
                        .gradients = {G, a.columns},
                        .kept = lists.kept.view(),
                        .satisfied = lists.satisfied.view(),
                        .tracked = arrays.tracked,
                        .binding = {arrays.binding, nBinding},
                        .basis = {.independent = {arrays.independent, nIndependent},
                                  .nDep = nDependent,
                                  .variables = arrays.dependent,
                                  .rows = {arrays.rows, nRows},
                                  .Jinv = arrays.Jinv,
                                  .J = arrays.J},
                        .dir = a.d};
    LineSearch line(along, lists.active.view(), a.d, a.gObj, length, arrays.work);
    const SearchEnd end = line.run();
    if (line.resetCurvature()) hessReset = true;
    if (settings->errorFlag) return GrgEnd::error;
    if (end != SearchEnd::minimumStep) return std::nullopt;
    return optimizingNow() ? GrgEnd::minimumStep : GrgEnd::noFeasiblePoint;
  }

  // Given.
  const GrgProblem& p;
  const GrgArrays& a;
  const int n;
  // Decided in each iteration.
  int32_t nKept = 0, nActive = 0, nSatisfied = 0;
  Classification lists{{a.kept, nKept}, {a.active, nActive}, {a.satisfied, nSatisfied}, 0};
  Objective target;  // temporary objective, none while optimizing
  int32_t previousTarget = 0;
  Objective objective;  // what is minimized now
  MatrixView G;         // gradients of kept, satisfied, objective
  int32_t nact = 0;     // active rows of the subproblem
  double length = 0.0;  // of its direction
  // Carried from one iteration to the next.
  bool hessReset = true;
  double fPrev1 = settings->bigValue, fPrev2 = -settings->bigValue;
  IndexVector activeFunctions;  // (n) of the active rows, 0 for bounds
  IndexVector activePlaces;     // (n) the rows numbered by that list
  PrivateFrame<int32_t> activeFrame{session().privateIndices};
  WorkFrame gradientFrame;
};

}  // namespace

GrgEnd runGrg(int maxIter, const GrgProblem& problem, const GrgArrays& arrays) {
  return GrgIteration(problem, arrays).run(maxIter);
}

}  // namespace tarnix::core
