#include <tarnix/routines.h>

#include <algorithm>

#include "state/settings.h"
#include "state/work_storage.h"
#include "base/parabola.h"
#include "grg/classification.h"
#include "grg/grg_iteration.h"
#include "grg/interpolation.h"
#include "grg/line_search.h"
#include "grg/restoration.h"
#include "grg/saturation.h"
#include "trace/claim.h"

using namespace tarnix::core;

namespace {

bool claimDoubles(WorkFrame& frame, int64_t cells) {
  return trace::claim(frame, cells);
}

// The length of f, as far as the lists tell.
int highestOf(ConstIndex list1, ConstIndex list2) {
  int32_t highest = 0;
  for (const ConstIndex& list : {list1, list2})
    for (const int32_t c : list) highest = std::max(highest, c);
  return highest;
}

}  // namespace

extern "C" {

// ---- iteration ---------------------------------------------------------------------------------

void GRSALG(const int32_t* maxIter, const int32_t* n, double* x, const double* xLower,
            const double* xUpper, const int32_t* m, double* f, const int32_t* objIndex,
            const int32_t* nEq, const int32_t* eqList, const int32_t* nIneq,
            const int32_t* ineqList, int32_t* status) {
  const GrgProblem problem{countOf(n), x, {xLower, xUpper}, countOf(m), f, *objIndex,
                           {eqList, countOf(nEq)}, {ineqList, countOf(nIneq)}};
  // Kept: an error leaves the status as it was; errorFlag tells.
  (void)solveGrg(*maxIter, problem, *status);
}

void GRGALG(const int32_t* maxIter, const int32_t* n, double* x, const double* xLower,
            const double* xUpper, const int32_t* m, double* f, const int32_t* objIndex,
            const int32_t* nEq, const int32_t* eqList, const int32_t* nIneq,
            const int32_t* ineqList, int32_t* status, double* GRADOB, double* GRADLO,
            double* GRADL, double* XLAG, double* HESSIAN, double* xOld, double* s, double* y,
            double* direction, int32_t* keepList, int32_t* activeList, int32_t* eqSatList,
            int32_t* LISDF, int32_t* IACT) {
  if (*maxIter < 1) {
    *status = VRK_GRG_ITERATION_LIMIT;
    return;
  }
  const GrgProblem problem{countOf(n), x, {xLower, xUpper}, countOf(m), f, *objIndex,
                           {eqList, countOf(nEq)}, {ineqList, countOf(nIneq)}};
  const GrgArrays arrays{.gObj = GRADOB,
                         .lagrangianOld = GRADLO,
                         .lagrangian = GRADL,
                         .multiplier = XLAG,
                         .hessian = HESSIAN,
                         .xOld = xOld,
                         .s = s,
                         .y = y,
                         .d = direction,
                         .kept = keepList,
                         .active = activeList,
                         .satisfied = eqSatList,
                         .columns = LISDF,
                         .activeRows = IACT};
  const int32_t end = runGrg(*maxIter, problem, arrays);
  if (end != 0) *status = end;  // 0: errorFlag has ended it
}

void GRSQP(const int32_t* n, const int32_t* nKeep, const int32_t* keepList, const int32_t* nEqSat,
           const int32_t* eqSatList, const double* f, const double* x, const double* xUpper,
           const double* xLower, const double* G, const double* HESSIAN, double* d,
           const double* GRADOB, double* XLAG, int32_t* IACT, int32_t* nact, int32_t* status) {
  const DirectionEnd end =
      findDirection({countOf(n), x, {xLower, xUpper}, f, {keepList, countOf(nKeep)},
                     {eqSatList, countOf(nEqSat)}, G, HESSIAN, GRADOB},
                    d, XLAG, IACT, *nact);
  if (end != DirectionEnd::solved && end != DirectionEnd::storage)
    *status = static_cast<int32_t>(end);
}

// ---- classification and prediction -------------------------------------------------------------

void GRGCON(const int32_t* nIneq, const int32_t* ineqList, const int32_t* nEq,
            const int32_t* eqList, double* f, int32_t* nKeep, int32_t* keepList, int32_t* nActive,
            int32_t* activeList, int32_t* nEqSat, int32_t* eqSatList, int32_t* tempObj,
            int32_t* feasMode) {
  Classification lists{{keepList, *nKeep}, {activeList, *nActive}, {eqSatList, *nEqSat}, *nIneq};
  classify({ineqList, *nIneq}, {eqList, *nEq}, f, lists);
  Objective target{*tempObj, *feasMode};
  const VectorView values{f, highestOf({ineqList, *nIneq}, {eqList, *nEq})};
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
  screen(*nIneq, f, lists);
}

void GRGIDV(const int32_t* nIndep, const int32_t* indepList, const double* upper,
            const double* lower, const double* alpha, const double* d, double* xOut,
            const double* xBase, const double* tBase, int32_t* allAtBound) {
  if (moveIndependent({indepList, *nIndep}, {lower, upper}, *alpha, d, xOut, {xBase, *tBase}))
    *allAtBound = logicalTrue;
}

void GRGDDV(const int32_t* nDep, const int32_t* depList, const double* upper, const double* lower,
            const double* alpha, const double* dxdt, double* xOut, const double* xBase,
            const double* xPrev, const double* tBase, const double* tPrev, int32_t* blockIndex,
            double* blockStep) {
  const Blocking first = predictDependent({depList, *nDep}, {lower, upper}, *alpha, dxdt, xOut,
                                          {xBase, *tBase}, {xPrev, *tPrev});
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
  Basis basis{*n, {indepList, *nIndep}, *nDep, varList, {rowList, *nRows}, *ldInv, XJINV, JAC};
  (void)chooseBasis({rowList1, *nRows1}, {rowList2, *nRows2}, x, {lower, upper}, {*n, G, colMap},
                    moveDir, basis, {u, z, score});
}

void GRSINJ(const int32_t* nRows1, const int32_t* rowList1, const int32_t* nRows2,
            const int32_t* rowList2, const int32_t* n, const double* x, const double* lower,
            const double* upper, const double* G, const int32_t* colMap, const double* moveDir,
            int32_t* nIndep, int32_t* indepList, int32_t* nDep, int32_t* varList,
            const int32_t* ldInv, int32_t* nRows, int32_t* rowList, double* XJINV, double* JAC) {
  WorkFrame frame;
  if (!claimDoubles(frame, 3 * cellCount(*n) + 1)) return;
  double* u = frame.carve(*n);
  double* z = frame.carve(*n);
  double* score = frame.carve(*n);
  GRGINJ(nRows1, rowList1, nRows2, rowList2, n, x, lower, upper, G, colMap, moveDir, nIndep,
         indepList, nDep, varList, ldInv, nRows, rowList, XJINV, JAC, u, z, score);
}

void GRGJIA(const int32_t* ld, const int32_t* k, const double* a, const double* z,
            const double* u, double* XJINV, int32_t* singular, double* w, double* y) {
  *singular = logicalFalse;
  *singular = toLogical(!borderInverse(*k, *a, z, u, XJINV, *ld, w, y));
}

void GRSJIA(const int32_t* ld, const int32_t* k, const double* a, const double* z,
            const double* u, double* XJINV, int32_t* singular) {
  *singular = logicalTrue;  // what a refused claim leaves
  WorkFrame frame;
  if (!claimDoubles(frame, 2 * cellCount(*k) + 1)) return;
  double* w = frame.carve(*k);
  double* y = frame.carve(*k);
  GRGJIA(ld, k, a, z, u, XJINV, singular, w, y);
}

void GRGJUP(const int32_t* ld, const int32_t* k, double* JAC, const double* s, const double* r) {
  updateJacobian({JAC, *ld, *k, *k}, s, r);
}

void GRGINV(const int32_t* ld, const int32_t* k, const double* JAC, double* XJINV,
            int32_t* singular, double* w, double* /*y*/) {
  *singular = logicalFalse;
  *singular = toLogical(!invertJacobian(*k, JAC, XJINV, *ld, w));
}

void GRSINV(const int32_t* ld, const int32_t* k, const double* JAC, double* XJINV,
            int32_t* singular) {
  *singular = logicalTrue;
  WorkFrame frame;
  if (!claimDoubles(frame, 2 * cellCount(*k) + 1)) return;
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
  Restoration newton{.objective = {*k, *mode},
                     .broyden = *broyden != 0,
                     .maxIter = *maxIter,
                     .rows = {rowList, *nRows},
                     .ld = *n,
                     .inverse = JINV,
                     .jacobian = JAC,
                     .stepVariable = *stepVar,
                     .independent = {indepList, *nIndep},
                     .nDep = *nDep,
                     .variables = depList,
                     .dir = dir,
                     .n = *nVar,
                     .x = x,
                     .box = {lower, upper},
                     .m = *nFun,
                     .f = f,
                     .base = {xBase, *tBase},
                     .previous = {xPrev, *tPrev},
                     .dx = dx,
                     .r = r,
                     .alpha = *alpha};
  newton.run();
  *alpha = newton.alpha;
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
  if (!claimDoubles(frame, 2 * cellCount(*nRows) + 1)) return;
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
            const int32_t* nEqSat, const int32_t* eqSatList, int32_t* blockIndex,
            double* blockStep, int32_t* nIndep, int32_t* MIDV, int32_t* nDep, int32_t* MDDV,
            int32_t* nRows, int32_t* rowList, const int32_t* ld, double* XJAC, double* XJINV,
            const double* G, const int32_t* colMap, int32_t* terminate, int32_t* second,
            double* dx, double* r) {
  SearchProblem problem{.objective = {*k, *feasMode},
                        .n = *n,
                        .x = x,
                        .m = *m,
                        .f = f,
                        .box = {xLower, xUpper},
                        .gradients = {*n, G, colMap},
                        .kept = {keepList, *nKeep},
                        .satisfied = {eqSatList, *nEqSat},
                        .tracked = LTRAK,
                        .binding = {MTRAK, *nTrak},
                        .basis = {*n, {MIDV, *nIndep}, *nDep, MDDV, {rowList, *nRows}, *ld, XJINV,
                                  XJAC},
                        .dir = dir};
  Saturation saturation(problem, {*s0, f0}, {xPrev, *tPrev}, {xBase, *tBase}, dx, r, *s1,
                        {*blockIndex, *blockStep});
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
            const int32_t* nEqSat, const int32_t* eqSatList, int32_t* blockIndex,
            double* blockStep, int32_t* nIndep, int32_t* MIDV, int32_t* nDep, int32_t* MDDV,
            int32_t* nRows, int32_t* rowList, const int32_t* ld, double* XJAC, double* XJINV,
            const double* G, const int32_t* colMap, int32_t* terminate, int32_t* second) {
  *terminate = logicalTrue;  // what a refused claim leaves
  *second = logicalFalse;
  WorkFrame frame;
  if (!claimDoubles(frame, 2 * cellCount(*n) + 1)) return;
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
            const double* GRADOB, const double* d, int32_t* status, int32_t* LTRAK,
            int32_t* MTRAK, int32_t* MIDV, int32_t* MDDV, int32_t* rowList, const int32_t* ld,
            double* XJAC, double* XJINV, double* BSTDV, double* BSTDF, double* xPrev,
            double* fPrev) {
  int32_t nBinding = 0, nIndependent = 0, nDependent = 0, nRows = 0;
  std::fill_n(LTRAK, std::max(*m, 0), 0);
  SearchProblem problem{.objective = {*objIndex, *feasMode},
                        .n = *n,
                        .x = x,
                        .m = *m,
                        .f = f,
                        .box = {xLower, xUpper},
                        .gradients = {*n, G, LISDF},
                        .kept = {keepList, *nKeep},
                        .satisfied = {eqSatList, *nEqSat},
                        .tracked = LTRAK,
                        .binding = {MTRAK, nBinding},
                        .basis = {*n, {MIDV, nIndependent}, nDependent, MDDV, {rowList, nRows},
                                  *ld, XJINV, XJAC},
                        .dir = d};
  int restorationIterations = 0;
  LineSearch line(problem, {activeList, *nActive}, d, GRADOB, *carried,
                  {BSTDV, BSTDF, xPrev, fPrev}, restorationIterations);
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
  if (!storage.claim(*n, *m, *nEqSat, *nActive)) return;
  GRGSTE(feasMode, hessReset, carried, nIneq, ineqList, nKeep, keepList, nEqSat, eqSatList,
         nActive, activeList, objIndex, n, x, xUpper, xLower, m, f, LISDF, G, GRADOB, d, status,
         storage.tracked, storage.binding, storage.independent, storage.dependent, storage.rows,
         &storage.ld, storage.jacobian, storage.inverse, storage.work.bestX, storage.work.bestF,
         storage.work.previousX, storage.work.previousF);
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
            const int32_t* colMap, const double* d, int32_t* nTrak, int32_t* MTRAK,
            int32_t* LTRAK, int32_t* hessReset) {
  IndexList binding{MTRAK, *nTrak};
  binding.clear();
  if (trackBinding({activeList, *nActive}, *n, {*n, G, colMap}, d, binding, LTRAK))
    *hessReset = logicalTrue;
}

void GRGSTP(const int32_t* n, const double* x, const double* xUpper, const double* xLower,
            const double* d, int32_t* index, double* step) {
  const Blocking first = firstBound(*n, x, {xLower, xUpper}, d);
  *index = first.variable;
  *step = first.step;
}

}  // extern "C"
