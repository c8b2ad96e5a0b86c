#include "grg/grg_iteration.h"

#include <algorithm>
#include <cmath>

#include "state/settings.h"
#include "state/work_storage.h"
#include "base/ordered_dot.h"
#include "eval/gradients.h"
#include "grg/classification.h"
#include "grg/line_search.h"
#include "qp/curvature.h"
#include "qp/lagrangian.h"
#include "qp/qp_solver.h"
#include "trace/claim.h"

namespace tarnix::core {

namespace {

// Digits of the status that the iteration writes.
enum Status : int32_t {
  unfinished = 0,
  converged = 1,
  minimumStep = 2,
  objectiveStalled = 3,
  noFeasiblePoint = 4,
  infeasibilityStalled = 5,
  iterationLimit = 6,
  noSolution = 8,
  failure = 10,
  stopped = 12
};

bool claim(WorkFrame& frame, int64_t cells) {
  return trace::claim(frame, cells);
}

bool claim(IndexFrame& frame, int64_t cells) {
  return trace::claim(frame, cells);
}

class GrgIteration {
 public:
  GrgIteration(const GrgProblem& problem, const GrgArrays& arrays)
      : p(problem),
        a(arrays),
        n(problem.n),
        lists{{arrays.kept, nKept},
              {arrays.active, nActive},
              {arrays.satisfied, nSatisfied},
              std::min(problem.n, problem.inequalities.size())} {}

  // Whatever ends the solve, the caller's f is what the analysis gave.
  int32_t run(int maxIter) {
    const int32_t status = iterate(maxIter);
    target.applyMode({p.f, p.m});
    return status;
  }

 private:
  int32_t iterate(int maxIter) {
    for (int k = 1; k <= maxIter; ++k) {
      settings->nIter = k;
      if (stopRequested()) return stopped;
      if (tracing(1)) traceStart(k);
      chooseObjective();
      if (k == 1 && !claimLists()) return unfinished;
      if (const int32_t end = direct()) return end;
      if (settings->errorFlag) return unfinished;
      if (const int32_t end = testDirection()) return end;
      if (const int32_t end = search()) return end;
      if (settings->errorFlag) return unfinished;
      if (const int32_t end = testProgress()) return end;
    }
    return iterationLimit;
  }

  void traceStart(int k) const {
    trace::message("");
    trace::message(Line("BEGINNING ITERATION ").integer(k, 4));
    trace::vector("DV", {p.x, n});
    trace::vector("DF", {p.f, p.m});
    trace::message(Line("NO. ANALYSIS CALLS ").integer(settings->nFunEval, 4));
  }

  // The lists of the last subproblem: its active rows are numbered by them when the Lagrangian
  // gradients of the next iteration are formed.
  bool claimLists() {
    const int64_t inequalities = cellCount(p.inequalities.size());
    if (!claim(listFrame, inequalities + cellCount(p.equalities.size()))) return false;
    qpKept = listFrame.carve(inequalities);
    qpSatisfied = listFrame.carve(p.equalities.size());
    return true;
  }

  // ---- classification and feasibility phase --------------------------------------------------
  void chooseObjective() {
    lists = {{a.kept, nKept}, {a.active, nActive}, {a.satisfied, nSatisfied}, lists.activeRoom};
    classify(p.inequalities, p.equalities, p.f, lists);
    previousTarget = target.index;
    bool changed = false;
    if (lists.feasible())
      changed = leaveFeasibilityPhase();
    else
      changed = pursueFeasibility();
    screen(p.inequalities.size(), p.f, lists);
    if (changed) {
      // Another function is minimised: neither its curvature nor its last values are known.
      hessReset = true;
      forgetValues();
    }
    objective = target.index != 0 ? target.index : p.objective;
    if (target.index == 0 || !tracing(1)) return;
    trace::message("SEARCHING FOR FEASIBLE STARTING POINT");
    trace::message(Line("TEMPORARY OBJECTIVE IS FUNCTION ").integer(target.index, 3));
    if (tracing(3)) trace::list("MGRGIN FOR INFEASIBLE", lists.kept.view());
  }

  bool leaveFeasibilityPhase() {
    target.applyMode({p.f, p.m});
    const bool found = target.index != 0;
    target = {};
    if (found && tracing(1))
      trace::message("FEASIBLE POINT FOUND, BEGINNING OPTIMIZATION OF PROBLEM");
    return found;
  }

  bool pursueFeasibility() {
    if (target.index != 0 && !target.reached({p.f, p.m})) return flipIfOvershot(target, {p.f, p.m});
    target.applyMode({p.f, p.m});
    target = chooseTarget(lists, {p.f, p.m});
    return target.index != previousTarget;
  }

  void forgetValues() {
    fPrev1 = settings->bigValue;
    fPrev2 = -settings->bigValue;
  }

  // ---- gradients, curvature and direction ------------------------------------------------------
  // 0 when there is a direction (or errorFlag is set).
  int32_t direct() {
    for (bool again = false;; again = true) {
      if (!refreshModel()) return unfinished;
      const DirectionEnd end =
          findDirection({n, p.x, p.box, p.f, lists.kept.view(), lists.satisfied.view(), G,
                         a.hessian, a.gObj},
                        a.d, a.multiplier, a.activeRows, nact);
      if (end == DirectionEnd::storage) return unfinished;
      keepSubproblemLists();
      if (tracing(3)) {
        trace::list("IACT", {a.activeRows, nact});
        trace::vector("XLAG", {a.multiplier, nact});
      }
      if (end == DirectionEnd::solved) return unfinished;
      if (end != DirectionEnd::notPositiveDefinite) return static_cast<int32_t>(end);
      if (again) return failure;  // a fresh diagonal is at least 1: only values that are not numbers
      hessReset = true;
      if (tracing(1)) trace::message("HESSIAN NOT POS. DEFINITE");
    }
  }

  void keepSubproblemLists() {
    std::copy(lists.kept.begin(), lists.kept.end(), qpKept);
    std::copy(lists.satisfied.begin(), lists.satisfied.end(), qpSatisfied);
    nQpKept = nKept;
    nQpSatisfied = nSatisfied;
  }

  bool refreshModel() {
    const bool reset = hessReset;
    if (reset) {
      if (tracing(2)) trace::message("HESSIAN INITIALIZED");
      hessReset = false;
    } else {
      dropMissingMultipliers();
      lagrangianGradient(activeRows(), {a.gObj, n}, {G, n, n, nQpKept + nQpSatisfied + 1},
                         {a.lagrangianOld, n});
    }
    double scale = 1.0;
    if (!computeGradients(scale)) return false;
    if (reset)
      setScaledIdentity(scale, {a.hessian, n, n, n});
    else if (!updateCurvature())
      return false;
    if (tracing(2)) {
      trace::list("LISDF", {a.columns, p.m});
      trace::matrix("GRADD", {G, n, n, gradientCount()});
      trace::vector("GRADOB", {a.gObj, n});
    }
    if (tracing(3)) trace::matrix("HESSIAN", {a.hessian, n, n, n});
    return true;
  }

  ActiveRows activeRows() const {
    return {{qpKept, nQpKept},
            {qpSatisfied, nQpSatisfied},
            {a.columns, p.m},
            {a.activeRows, nact},
            {a.multiplier, nact}};
  }

  // An active row whose function gets no gradient now cannot enter the difference of the two.
  void dropMissingMultipliers() {
    for (int k = 0; k < nact; ++k) {
      const int row = a.activeRows[k];
      if (row > nQpKept + nQpSatisfied) continue;
      const int32_t c = row <= nQpKept ? qpKept[row - 1] : qpSatisfied[row - nQpKept - 1];
      if (c == objective || lists.kept.contains(c) || lists.satisfied.contains(c)) continue;
      a.multiplier[k] = 0.0;
      if (tracing(3))
        trace::message(Line("GRADIENT NOT AVAILABLE, FUNCTION ").integer(c, 6));
    }
  }

  int gradientCount() const { return nKept + 1 + nSatisfied; }

  // The matrix of the last iteration stays readable until this claim.
  bool computeGradients(double& scale) {
    if (!claim(gradientFrame, static_cast<int64_t>(n) * gradientCount() + 1)) return false;
    G = gradientFrame.carve(static_cast<int64_t>(n) * gradientCount());
    if (!listedGradients({{p.x, n}, {p.f, p.m}, {objective, target.mode}}, lists.kept.view(),
                         lists.satisfied.view(), {a.columns, p.m}, {G, n, n, gradientCount()},
                         {a.gObj, n}, scale))
      return false;
    if (settings->errorFlag) return false;
    // Screening may list a function twice: only its later column has been written.
    for (int i = 1; i <= nKept; ++i)
      if (const int column = a.columns[lists.kept(i) - 1]; column != i)
        std::ranges::copy(MatrixView{G, n, n, gradientCount()}.column(column),
                          G + static_cast<std::ptrdiff_t>(i - 1) * n);
    return true;
  }

  bool updateCurvature() {
    lagrangianGradient(activeRows(), {a.gObj, n}, {G, n, n, gradientCount()}, {a.lagrangian, n});
    for (int i = 0; i < n; ++i) {
      a.s[i] = p.x[i] - a.xOld[i];
      a.y[i] = a.lagrangian[i] - a.lagrangianOld[i];
    }
    WorkFrame frame;
    if (!claim(frame, 3 * cellCount(n) + 1)) return false;
    const VectorView w1 = frame.vector(n);
    const VectorView w2 = frame.vector(n);
    const VectorView w3 = frame.vector(n);
    const bool updated = dampedUpdate({a.s, n}, {a.y, n}, {a.hessian, n, n, n}, {w1, w2, w3});
    if (!updated) hessReset = true;  // from the next iteration on
    if (tracing(2)) trace::message(updated ? "HESSIAN UPDATED" : "HESSIAN NOT UPDATED");
    if (tracing(3)) {
      trace::vector("GRADLO", {a.lagrangianOld, n});
      trace::vector("GRADL", {a.lagrangian, n});
    }
    return true;
  }

  // ---- convergence -----------------------------------------------------------------------------
  int32_t testDirection() {
    const ConstVector d{a.d, n};
    const double derivative = orderedDot({a.gObj, n}, d);
    length = std::sqrt(orderedDot(d, d));
    if (tracing(2))
      trace::message(Line("DIRECT DERIV ")
                         .real(derivative, 14, 5)
                         .text("   ")
                         .text(" LENGTH SEARCH VEC ")
                         .real(length, 14, 5));
    // A direction without length leads nowhere.
    if (std::fabs(derivative) < settings->convTolGrg || length == 0.0)
      return optimizingNow() ? converged : noFeasiblePoint;
    if (!std::isfinite(length) || !std::isfinite(derivative)) return failure;
    std::copy_n(p.x, std::max(n, 0), a.xOld);
    for (int i = 0; i < n; ++i) a.d[i] = a.d[i] / length;
    if (tracing(2)) trace::vector("SEARCH DIRECTION", {a.d, n});
    return unfinished;
  }

  bool optimizingNow() const { return target.mode == optimizing; }

  int32_t testProgress() {
    const double tol = settings->convTolGrg;
    const double fNew = p.f[objective - 1];
    if (std::fabs(fNew - fPrev1) <= tol && std::fabs(fPrev1 - fPrev2) <= tol) {
      if (optimizingNow()) return objectiveStalled;
      if (target.index == previousTarget) return infeasibilityStalled;
    }
    fPrev2 = fPrev1;
    fPrev1 = fNew;
    return unfinished;
  }

  // ---- line search -----------------------------------------------------------------------------
  int32_t search() {
    SearchStorage storage;
    if (!storage.claim(n, p.m, nSatisfied, nActive)) return unfinished;
    int32_t nBinding = 0, nIndependent = 0, nDependent = 0, nRows = 0;
    std::fill_n(storage.tracked, p.m, 0);
    SearchProblem along{.objective = {objective, target.mode},
                        .n = n,
                        .x = p.x,
                        .m = p.m,
                        .f = p.f,
                        .box = p.box,
                        .gradients = {n, G, a.columns},
                        .kept = lists.kept.view(),
                        .satisfied = lists.satisfied.view(),
                        .tracked = storage.tracked,
                        .binding = {storage.binding, nBinding},
                        .basis = {.n = n,
                                  .independent = {storage.independent, nIndependent},
                                  .nDep = nDependent,
                                  .variables = storage.dependent,
                                  .rows = {storage.rows, nRows},
                                  .ld = storage.ld,
                                  .inverse = storage.inverse,
                                  .jacobian = storage.jacobian},
                        .dir = a.d};
    LineSearch line(along, lists.active.view(), a.d, a.gObj, length, storage.work,
                    restorationIterations);
    const SearchEnd end = line.run();
    if (line.resetCurvature()) hessReset = true;
    if (end != SearchEnd::minimumStep) return unfinished;
    return optimizingNow() ? minimumStep : noFeasiblePoint;
  }

  // Given.
  const GrgProblem& p;
  const GrgArrays& a;
  const int n;
  // Decided in each iteration.
  int32_t nKept = 0, nActive = 0, nSatisfied = 0;
  Classification lists;
  Objective target;                // temporary objective, none while optimising
  int32_t previousTarget = 0;
  int32_t objective = 0;         // position in f of what is minimised now
  double* G = nullptr;           // gradients of kept, satisfied, objective
  int32_t nact = 0;              // active rows of the subproblem
  double length = 0.0;           // of its direction
  // Carried from one iteration to the next.
  bool hessReset = true;
  int restorationIterations = 0;  // of the last restoration
  double fPrev1 = settings->bigValue, fPrev2 = -settings->bigValue;
  int32_t *qpKept = nullptr, *qpSatisfied = nullptr;
  int32_t nQpKept = 0, nQpSatisfied = 0;
  IndexFrame listFrame;
  WorkFrame gradientFrame;
};

}  // namespace

int32_t runGrg(int maxIter, const GrgProblem& problem, const GrgArrays& arrays) {
  return GrgIteration(problem, arrays).run(maxIter);
}

bool solveGrg(int maxIter, const GrgProblem& p, int32_t& status) {
  const int64_t n = cellCount(p.n);
  const int64_t inequalities = cellCount(p.inequalities.size());
  const int64_t equalities = cellCount(p.equalities.size());
  // A count beyond 32 bits arrives cut to their range: the requirement is that of the lists.
  const int64_t m = std::max(cellCount(p.m), 1 + inequalities + equalities);
  const int64_t active = std::min(n, inequalities);
  WorkFrame doubles;
  if (!claim(doubles, cellProduct(n, n) + 8 * n + 1)) return false;
  IndexFrame indices;
  if (!claim(indices, inequalities + active + equalities + m + n)) return false;

  GrgArrays a{};
  for (double** stretch : {&a.gObj, &a.lagrangianOld, &a.lagrangian, &a.multiplier})
    *stretch = doubles.carve(n);
  a.hessian = doubles.carve(n * n);
  for (double** stretch : {&a.xOld, &a.s, &a.y, &a.d}) *stretch = doubles.carve(n);
  a.kept = indices.carve(inequalities);
  a.active = indices.carve(active);
  a.satisfied = indices.carve(equalities);
  a.columns = indices.carve(m);
  a.activeRows = indices.carve(n);
  const int32_t end = runGrg(maxIter, p, a);
  if (end == unfinished) return false;
  status = end;
  return true;
}

DirectionEnd findDirection(const Subproblem& qp, double* d, double* multiplier,
                           int32_t* activeRows, int32_t& nact) {
  const int n = qp.n;
  const int kept = qp.kept.size();
  const int count = kept + qp.satisfied.size();
  WorkFrame doubles;
  if (!claim(doubles, int64_t{count} + 2 * cellCount(n) + 1)) return DirectionEnd::storage;
  IndexFrame indices;
  if (!claim(indices, cellCount(n) + 1)) return DirectionEnd::storage;
  double* b = doubles.carve(count);
  double* du = doubles.carve(n);
  double* dl = doubles.carve(n);
  int32_t* codes = indices.carve(n);
  for (int i = 1; i <= count; ++i)
    b[i - 1] = -qp.f[(i <= kept ? qp.kept(i) : qp.satisfied(i - kept)) - 1];
  for (int i = 0; i < n; ++i) {
    du[i] = qp.box.upper[i] - qp.x[i];
    dl[i] = qp.box.lower[i] - qp.x[i];
    codes[i] = boundBoth;
  }
  nact = 0;
  switch (solveQp({.A = {qp.G, n, n, count},
                   .b = {b, count},
                   .m1 = kept,
                   .H = {qp.hessian, n, n, n},
                   .g = {qp.gObj, n},
                   .codes = {codes, n},
                   .dl = {dl, n},
                   .du = {du, n}},
                  {.d = {d, n}, .multiplier = {multiplier, n}, .rows = {activeRows, nact}})) {
    case QpEnd::noSolution: return DirectionEnd::noSolution;
    case QpEnd::notPositiveDefinite: return DirectionEnd::notPositiveDefinite;
    case QpEnd::failure: return DirectionEnd::failure;
    case QpEnd::solved: break;
  }
  return DirectionEnd::solved;
}

}  // namespace tarnix::core
