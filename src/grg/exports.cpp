#include <tarnix/routines.h>

#include <algorithm>

#include "base/parabola.h"
#include "grg/classification.h"
#include "grg/direction.h"
#include "grg/front_end.h"
#include "grg/interpolation.h"
#include "grg/line_search.h"
#include "grg/restoration.h"
#include "grg/search_storage.h"
#include "trace/claim.h"

using namespace tarnix::core;

namespace {

// The length of an array that these lists index, as far as they show.
int highestOf(ConstIndex list1, ConstIndex list2 = {}) {
  int32_t highest = 0;
  for (const ConstIndex& list : {list1, list2})
    for (const int32_t c : list) highest = std::max(highest, c);
  return highest;
}

Box boxOf(const double* lower, const double* upper, int n) {
  return {{lower, n}, {upper, n}};
}

// A matrix of gradients with as many columns as the map names.
Gradients gradientsOf(const double* G, int n, ConstIndex columnOf) {
  int32_t columns = 0;
  for (const int32_t c : columnOf) columns = std::max(columns, c);
  return {{G, n, n, columns}, columnOf};
}

GrgProblem problemOf(const int32_t* n, double* x, const double* xLower, const double* xUpper,
                     const int32_t* m, double* f, const int32_t* objIndex, const int32_t* nEq,
                     const int32_t* eqList, const int32_t* nIneq, const int32_t* ineqList) {
  const int nv = countOf(n);
  return {.x = {x, nv},
          .box = boxOf(xLower, xUpper, nv),
          .f = {f, countOf(m)},
          .objective = *objIndex,
          .equalities = {eqList, countOf(nEq)},
          .inequalities = {ineqList, countOf(nIneq)}};
}

// Kept: an error leaves the status as it was; errorFlag tells.
void storeStatus(GrgEnd end, int32_t* status) {
  if (end != GrgEnd::error) *status = static_cast<int32_t>(end);
}

}  // namespace

extern "C" {

// ---- iteration ---------------------------------------------------------------------------------

void GRSALG(const int32_t* maxIter, const int32_t* n, double* x, const double* xLower,
            const double* xUpper, const int32_t* m, double* f, const int32_t* objIndex,
            const int32_t* nEq, const int32_t* eqList, const int32_t* nIneq,
            const int32_t* ineqList, int32_t* status) {
  storeStatus(solveGrg(*maxIter, problemOf(n, x, xLower, xUpper, m, f, objIndex, nEq, eqList, nIneq,
                                           ineqList)),
              status);
}

void GRGALG(const int32_t* maxIter, const int32_t* n, double* x, const double* xLower,
            const double* xUpper, const int32_t* m, double* f, const int32_t* objIndex,
            const int32_t* nEq, const int32_t* eqList, const int32_t* nIneq,
            const int32_t* ineqList, int32_t* status, double* GRADOB, double* GRADLO, double* GRADL,
            double* XLAG, double* HESSIAN, double* xOld, double* s, double* y, double* direction,
            int32_t* keepList, int32_t* activeList, int32_t* eqSatList, int32_t* LISDF,
            int32_t* IACT) {
  if (*maxIter < 1) {
    *status = VRK_GRG_ITERATION_LIMIT;
    return;
  }
  const GrgProblem problem =
      problemOf(n, x, xLower, xUpper, m, f, objIndex, nEq, eqList, nIneq, ineqList);
  const int nv = problem.x.size(), inequalities = problem.inequalities.size();
  const GrgArrays arrays{.gObj = {GRADOB, nv},
                         .lagrangianOld = {GRADLO, nv},
                         .lagrangian = {GRADL, nv},
                         .multiplier = {XLAG, nv},
                         .hessian = {HESSIAN, nv, nv, nv},
                         .xOld = {xOld, nv},
                         .s = {s, nv},
                         .y = {y, nv},
                         .d = {direction, nv},
                         .kept = {keepList, inequalities},
                         .active = {activeList, std::min(nv, inequalities)},
                         .satisfied = {eqSatList, problem.equalities.size()},
                         .columns = {LISDF, problem.f.size()},
                         .activeRows = {IACT, nv}};
  storeStatus(runGrg(*maxIter, problem, arrays), status);
}

void GRSQP(const int32_t* n, const int32_t* nKeep, const int32_t* keepList, const int32_t* nEqSat,
           const int32_t* eqSatList, const double* f, const double* x, const double* xUpper,
           const double* xLower, const double* G, const double* HESSIAN, double* d,
           const double* GRADOB, double* XLAG, int32_t* IACT, int32_t* nact, int32_t* status) {
  const int nv = countOf(n);
  const ConstIndex kept{keepList, countOf(nKeep)}, satisfied{eqSatList, countOf(nEqSat)};
  const DirectionEnd end =
      findDirection({.x = {x, nv},
                     .box = boxOf(xLower, xUpper, nv),
                     .f = {f, highestOf(kept, satisfied)},
                     .kept = kept,
                     .satisfied = satisfied,
                     .G = {G, nv, nv, kept.size() + satisfied.size()},
                     .hessian = {HESSIAN, nv, nv, nv},
                     .gObj = {GRADOB, nv}},
                    {.d = {d, nv}, .multiplier = {XLAG, nv}, .rows = {IACT, nv}, .count = *nact});
  if (end != DirectionEnd::solved && end != DirectionEnd::storage)
    *status = static_cast<int32_t>(end);
}

// ---- classification and prediction -------------------------------------------------------------

void GRGCON(const int32_t* nIneq, const int32_t* ineqList, const int32_t* nEq,
            const int32_t* eqList, double* f, int32_t* nKeep, int32_t* keepList, int32_t* nActive,
            int32_t* activeList, int32_t* nEqSat, int32_t* eqSatList, int32_t* tempObj,
            int32_t* feasMode) {
  const ConstIndex inequalities{ineqList, *nIneq}, equalities{eqList, *nEq};
  const VectorView values{f, std::max(highestOf(inequalities, equalities), *tempObj)};
  Classification lists{{keepList, *nKeep}, {activeList, *nActive}, {eqSatList, *nEqSat}, *nIneq};
  classify(inequalities, equalities, values, lists);
  Objective target{*tempObj, *feasMode};
  // Unlike the iteration, a negated value is not undone before another target is chosen, and the
  // target keeps its number when all constraints are satisfied.
  if (lists.feasible()) {
    target.applyMode(values);
    target.mode = optimizing;
  } else if (target.index != 0 && !target.reached(values)) {
    flipIfOvershot(target, values);
  } else {
    target = chooseTarget(lists, values);
  }
  *tempObj = target.index;
  *feasMode = target.mode;
  screen(*nIneq, values, lists);
}

void GRGIDV(const int32_t* nIndep, const int32_t* indepList, const double* upper,
            const double* lower, const double* alpha, const double* d, double* xOut,
            const double* xBase, const double* tBase, int32_t* allAtBound) {
  const ConstIndex variables{indepList, *nIndep};
  const int n = highestOf(variables);
  if (moveIndependent(variables, boxOf(lower, upper, n), *alpha, {d, n}, {xOut, n},
                      {{xBase, n}, *tBase}))
    *allAtBound = logicalTrue;
}

void GRGDDV(const int32_t* nDep, const int32_t* depList, const double* upper, const double* lower,
            const double* alpha, const double* dxdt, double* xOut, const double* xBase,
            const double* xPrev, const double* tBase, const double* tPrev, int32_t* blockIndex,
            double* blockStep) {
  const ConstIndex variables{depList, *nDep};
  const int n = highestOf(variables);
  const Blocking first = predictDependent(variables, boxOf(lower, upper, n), *alpha, {dxdt, n},
                                          {xOut, n}, {{xBase, n}, *tBase}, {{xPrev, n}, *tPrev});
  *blockIndex = first.variable;
  *blockStep = first.step;
}

// ---- basis -------------------------------------------------------------------------------------

void GRGINJ(const int32_t* nRows1, const int32_t* rowList1, const int32_t* nRows2,
            const int32_t* rowList2, const int32_t* n, const double* x, const double* lower,
            const double* upper, const double* G, const int32_t* colMap, const double* moveDir,
            int32_t* nIndep, int32_t* indepList, int32_t* nDep, int32_t* varList,
            const int32_t* ldInv, int32_t* nRows, int32_t* rowList, double* XJINV, double* JAC,
            double* u, double* z, double* score) {
  const ConstIndex rows1{rowList1, *nRows1}, rows2{rowList2, *nRows2};
  const int nv = *n, ld = *ldInv;
  Basis basis{.independent = {indepList, *nIndep},
              .nDep = *nDep,
              .variables = {varList, nv},
              .rows = {rowList, *nRows},
              .Jinv = {XJINV, ld, ld, ld},
              .J = {JAC, ld, ld, ld}};
  (void)chooseBasis(rows1, rows2, {x, nv}, boxOf(lower, upper, nv),
                    gradientsOf(G, nv, {colMap, highestOf(rows1, rows2)}), {moveDir, nv}, basis,
                    {{u, nv}, {z, nv}, {score, nv}});
}

void GRSINJ(const int32_t* nRows1, const int32_t* rowList1, const int32_t* nRows2,
            const int32_t* rowList2, const int32_t* n, const double* x, const double* lower,
            const double* upper, const double* G, const int32_t* colMap, const double* moveDir,
            int32_t* nIndep, int32_t* indepList, int32_t* nDep, int32_t* varList,
            const int32_t* ldInv, int32_t* nRows, int32_t* rowList, double* XJINV, double* JAC) {
  WorkFrame frame;
  if (!trace::claim(frame, 3 * cellCount(*n) + 1)) return;
  double* u = frame.carve(*n);
  double* z = frame.carve(*n);
  double* score = frame.carve(*n);
  GRGINJ(nRows1, rowList1, nRows2, rowList2, n, x, lower, upper, G, colMap, moveDir, nIndep,
         indepList, nDep, varList, ldInv, nRows, rowList, XJINV, JAC, u, z, score);
}

void GRGJIA(const int32_t* ld, const int32_t* k, const double* a, const double* z, const double* u,
            double* XJINV, int32_t* singular, double* w, double* y) {
  *singular = logicalFalse;
  *singular = toLogical(
      !borderInverse(*k, *a, {z, *k}, {u, *k}, {XJINV, *ld, *k + 1, *k + 1}, {w, *k}, {y, *k}));
}

void GRSJIA(const int32_t* ld, const int32_t* k, const double* a, const double* z, const double* u,
            double* XJINV, int32_t* singular) {
  *singular = logicalTrue;  // what a refused claim leaves
  WorkFrame frame;
  if (!trace::claim(frame, 2 * cellCount(*k) + 1)) return;
  double* w = frame.carve(*k);
  double* y = frame.carve(*k);
  GRGJIA(ld, k, a, z, u, XJINV, singular, w, y);
}

void GRGJUP(const int32_t* ld, const int32_t* k, double* JAC, const double* s, const double* r) {
  updateJacobian({JAC, *ld, *k, *k}, {s, *k}, {r, *k});
}

void GRGINV(const int32_t* ld, const int32_t* k, const double* JAC, double* XJINV,
            int32_t* singular, double* w, double* /*y*/) {
  *singular = logicalFalse;
  *singular = toLogical(!invertJacobian({JAC, *ld, *k, *k}, {XJINV, *ld, *k, *k}, {w, *k}));
}

void GRSINV(const int32_t* ld, const int32_t* k, const double* JAC, double* XJINV,
            int32_t* singular) {
  *singular = logicalTrue;
  WorkFrame frame;
  if (!trace::claim(frame, 2 * cellCount(*k) + 1)) return;
  double* w = frame.carve(*k);
  double* y = frame.carve(*k);
  GRGINV(ld, k, JAC, XJINV, singular, w, y);
}

// ---- restoration -------------------------------------------------------------------------------

void GRGNR(const int32_t* mode, const int32_t* broyden, const int32_t* maxIter, const int32_t* n,
           const int32_t* nRows, const int32_t* rowList, double* JINV, double* JAC,
           const int32_t* stepVar, const int32_t* nIndep, const int32_t* indepList,
           const int32_t* nDep, const int32_t* depList, const double* dir, const int32_t* nVar,
           double* x, const double* lower, const double* upper, const int32_t* nFun, double* f,
           const int32_t* k, const double* xBase, const double* xPrev, const double* tBase,
           const double* tPrev, double* alpha, int32_t* allAtBound, int32_t* converged,
           int32_t* iter, double* dx, double* r) {
  *converged = logicalFalse;
  const int rows = *nRows, nv = *nVar;
  Restoration newton{.objective = {*k, *mode},
                     .keepsInside = false,
                     .broyden = *broyden != 0,
                     .maxIter = *maxIter,
                     .rows = {rowList, rows},
                     .Jinv = {JINV, *n, rows, rows},
                     .J = {JAC, *n, *nDep, *nDep},
                     .stepVariable = *stepVar,
                     .independent = {indepList, *nIndep},
                     .nDep = *nDep,
                     .variables = {depList, rows},
                     .dir = {dir, nv},
                     .x = {x, nv},
                     .box = boxOf(lower, upper, nv),
                     .f = {f, *nFun},
                     .base = {{xBase, nv}, *tBase},
                     .previous = {{xPrev, nv}, *tPrev},
                     .dx = {dx, rows},
                     .r = {r, rows},
                     .step = *alpha};
  newton.run();
  *alpha = newton.step;
  if (newton.allAtBound) *allAtBound = logicalTrue;
  *converged = toLogical(newton.converged);
  *iter = newton.iteration;
}

void GRSNR(const int32_t* mode, const int32_t* broyden, const int32_t* maxIter, const int32_t* n,
           const int32_t* nRows, const int32_t* rowList, double* JINV, double* JAC,
           const int32_t* stepVar, const int32_t* nIndep, const int32_t* indepList,
           const int32_t* nDep, const int32_t* depList, const double* dir, const int32_t* nVar,
           double* x, const double* lower, const double* upper, const int32_t* nFun, double* f,
           const int32_t* k, const double* xBase, const double* xPrev, const double* tBase,
           const double* tPrev, double* alpha, int32_t* allAtBound, int32_t* converged,
           int32_t* iter) {
  *converged = logicalFalse;
  WorkFrame frame;
  if (!trace::claim(frame, 2 * cellCount(*nRows) + 1)) return;
  double* dx = frame.carve(*nRows);
  double* r = frame.carve(*nRows);
  GRGNR(mode, broyden, maxIter, n, nRows, rowList, JINV, JAC, stepVar, nIndep, indepList, nDep,
        depList, dir, nVar, x, lower, upper, nFun, f, k, xBase, xPrev, tBase, tPrev, alpha,
        allAtBound, converged, iter, dx, r);
}

// ---- saturation --------------------------------------------------------------------------------

void GRGSAT(const int32_t* feasMode, const int32_t* k, const int32_t* n, const int32_t* m,
            double* x, double* f, const double* xLower, const double* xUpper, const double* s0,
            double* s1, const double* f0, const double* xBase, const double* tBase,
            const double* xPrev, const double* tPrev, const double* dir, const int32_t* nKeep,
            const int32_t* keepList, int32_t* LTRAK, int32_t* nTrak, int32_t* MTRAK,
            const int32_t* nEqSat, const int32_t* eqSatList, int32_t* blockIndex, double* blockStep,
            int32_t* nIndep, int32_t* MIDV, int32_t* nDep, int32_t* MDDV, int32_t* nRows,
            int32_t* rowList, const int32_t* ld, double* XJAC, double* XJINV, const double* G,
            const int32_t* colMap, int32_t* terminate, int32_t* second, double* dx, double* r) {
  const int nv = *n, mf = *m, order = *ld;
  const ConstIndex columnOf{colMap, mf};
  SearchProblem problem{.objective = {*k, *feasMode},
                        .x = {x, nv},
                        .f = {f, mf},
                        .box = boxOf(xLower, xUpper, nv),
                        .gradients = gradientsOf(G, nv, columnOf),
                        .kept = {keepList, *nKeep},
                        .satisfied = {eqSatList, *nEqSat},
                        .tracked = {LTRAK, mf},
                        .binding = {MTRAK, *nTrak},
                        .basis = {.independent = {MIDV, *nIndep},
                                  .nDep = *nDep,
                                  .variables = {MDDV, nv},
                                  .rows = {rowList, *nRows},
                                  .Jinv = {XJINV, order, order, order},
                                  .J = {XJAC, order, order, order}},
                        .dir = {dir, nv}};
  const TrialStep trial{.referenceValues = {f0, mf},
                        .referenceStep = *s0,
                        .reference = {{xPrev, nv}, *tPrev},
                        .base = {{xBase, nv}, *tBase},
                        .dx = {dx, nv},
                        .r = {r, nv},
                        .step = *s1,
                        .blocking = {*blockIndex, *blockStep}};
  Saturation saturation(problem, trial);
  saturation.run();
  *s1 = saturation.step;
  *blockIndex = saturation.blocking.variable;
  *blockStep = saturation.blocking.step;
  *terminate = toLogical(saturation.terminate);
  *second = toLogical(saturation.second);
}

void GRSSAT(const int32_t* feasMode, const int32_t* k, const int32_t* n, const int32_t* m,
            double* x, double* f, const double* xLower, const double* xUpper, const double* s0,
            double* s1, const double* f0, const double* xBase, const double* tBase,
            const double* xPrev, const double* tPrev, const double* dir, const int32_t* nKeep,
            const int32_t* keepList, int32_t* LTRAK, int32_t* nTrak, int32_t* MTRAK,
            const int32_t* nEqSat, const int32_t* eqSatList, int32_t* blockIndex, double* blockStep,
            int32_t* nIndep, int32_t* MIDV, int32_t* nDep, int32_t* MDDV, int32_t* nRows,
            int32_t* rowList, const int32_t* ld, double* XJAC, double* XJINV, const double* G,
            const int32_t* colMap, int32_t* terminate, int32_t* second) {
  *terminate = logicalTrue;  // what a refused claim leaves
  *second = logicalFalse;
  WorkFrame frame;
  if (!trace::claim(frame, 2 * cellCount(*n) + 1)) return;
  double* dx = frame.carve(*n);
  double* r = frame.carve(*n);
  GRGSAT(feasMode, k, n, m, x, f, xLower, xUpper, s0, s1, f0, xBase, tBase, xPrev, tPrev, dir,
         nKeep, keepList, LTRAK, nTrak, MTRAK, nEqSat, eqSatList, blockIndex, blockStep, nIndep,
         MIDV, nDep, MDDV, nRows, rowList, ld, XJAC, XJINV, G, colMap, terminate, second, dx, r);
}

// ---- line search -------------------------------------------------------------------------------

void GRGSTE(const int32_t* feasMode, int32_t* hessReset, const double* carried,
            const int32_t* /*nIneq*/, const int32_t* /*ineqList*/, const int32_t* nKeep,
            const int32_t* keepList, const int32_t* nEqSat, const int32_t* eqSatList,
            const int32_t* nActive, const int32_t* activeList, const int32_t* objIndex,
            const int32_t* n, double* x, const double* xUpper, const double* xLower,
            const int32_t* m, double* f, const int32_t* LISDF, const double* G,
            const double* GRADOB, const double* d, int32_t* status, int32_t* LTRAK, int32_t* MTRAK,
            int32_t* MIDV, int32_t* MDDV, int32_t* rowList, const int32_t* ld, double* XJAC,
            double* XJINV, double* BSTDV, double* BSTDF, double* xPrev, double* fPrev) {
  int32_t nBinding = 0, nIndependent = 0, nDependent = 0, nRows = 0;
  const int nv = *n, mf = *m, order = *ld;
  const IndexVector tracked{LTRAK, mf};
  std::ranges::fill(tracked, 0);
  SearchProblem problem{.objective = {*objIndex, *feasMode},
                        .x = {x, nv},
                        .f = {f, mf},
                        .box = boxOf(xLower, xUpper, nv),
                        .gradients = gradientsOf(G, nv, {LISDF, mf}),
                        .kept = {keepList, *nKeep},
                        .satisfied = {eqSatList, *nEqSat},
                        .tracked = tracked,
                        .binding = {MTRAK, nBinding},
                        .basis = {.independent = {MIDV, nIndependent},
                                  .nDep = nDependent,
                                  .variables = {MDDV, nv},
                                  .rows = {rowList, nRows},
                                  .Jinv = {XJINV, order, order, order},
                                  .J = {XJAC, order, order, order}},
                        .dir = {d, nv}};
  LineSearch line(problem, {activeList, *nActive}, {d, nv}, {GRADOB, nv}, *carried,
                  {.bestX = {BSTDV, nv},
                   .previousX = {xPrev, nv},
                   .bestF = {BSTDF, mf},
                   .previousF = {fPrev, mf}});
  const SearchEnd end = line.run();
  if (line.resetCurvature()) *hessReset = logicalTrue;
  if (end == SearchEnd::minimumStep)
    *status = *feasMode == optimizing ? VRK_GRG_MINIMUM_STEP : VRK_GRG_NO_FEASIBLE_POINT;
  if (end == SearchEnd::flatParabola) *status = 7;
}

void GRSSTE(const int32_t* feasMode, int32_t* hessReset, const double* carried,
            const int32_t* nIneq, const int32_t* ineqList, const int32_t* nKeep,
            const int32_t* keepList, const int32_t* nEqSat, const int32_t* eqSatList,
            const int32_t* nActive, const int32_t* activeList, const int32_t* objIndex,
            const int32_t* n, double* x, const double* xUpper, const double* xLower,
            const int32_t* m, double* f, const int32_t* LISDF, const double* G,
            const double* GRADOB, const double* d, int32_t* status) {
  SearchStorage storage;
  if (!storage.claim(countOf(n), countOf(m), countOf(nEqSat), countOf(nActive))) return;
  const int32_t ld = storage.J.rows();
  GRGSTE(feasMode, hessReset, carried, nIneq, ineqList, nKeep, keepList, nEqSat, eqSatList, nActive,
         activeList, objIndex, n, x, xUpper, xLower, m, f, LISDF, G, GRADOB, d, status,
         storage.tracked.data(), storage.binding.data(), storage.independent.data(),
         storage.dependent.data(), storage.rows.data(), &ld, storage.J.data(), storage.Jinv.data(),
         storage.work.bestX.data(), storage.work.bestF.data(), storage.work.previousX.data(),
         storage.work.previousF.data());
}

void GRGPR2(const double* a1, const double* a2, const double* f1, const double* f2,
            const double* g1, double* astar) {
  *astar = parabolaStep(*a1, *a2, *f1, *f2, *g1, settings->zeroTol);
}

void GRGPR3(const double* s1, const double* f1, const double* s2, const double* f2,
            const double* s3, const double* f3, double* vertex, int32_t* fail) {
  *fail = toLogical(!parabolaVertex({{{*s1, *f1}, {*s2, *f2}, {*s3, *f3}}}, *vertex));
}

void GRGS34(const int32_t* parab, double* s, double* f) {
  std::array<StepValue, 4> from;
  for (int i = 0; i < 4; ++i) from[i] = {s[i], f[i]};
  std::array<StepValue, 3> to;
  chooseThree(*parab != 0, from, to);
  for (int i = 0; i < 3; ++i) {
    s[i] = to[i].s;
    f[i] = to[i].f;
  }
}

void GRGINT(const double* s0, const double* g0, const double* s1, const double* g1, double* cross,
            int32_t* ierr) {
  // The error numbers are those of the messages: 1 outside the interval, 2 flat.
  *ierr = static_cast<int32_t>(crossingStep(*s0, *g0, *s1, *g1, *cross));
}

void GRGTRK(const int32_t* nActive, const int32_t* activeList, const int32_t* n, const double* G,
            const int32_t* colMap, const double* d, int32_t* nTrak, int32_t* MTRAK, int32_t* LTRAK,
            int32_t* hessReset) {
  IndexList binding{MTRAK, *nTrak};
  binding.clear();
  const ConstIndex active{activeList, *nActive};
  const int m = highestOf(active);
  if (trackBinding(active, gradientsOf(G, *n, {colMap, m}), {d, *n}, binding, {LTRAK, m}))
    *hessReset = logicalTrue;
}

void GRGSTP(const int32_t* n, const double* x, const double* xUpper, const double* xLower,
            const double* d, int32_t* index, double* step) {
  const Blocking first = firstBound({x, *n}, boxOf(xLower, xUpper, *n), {d, *n});
  *index = first.variable;
  *step = first.step;
}

}  // extern "C"
