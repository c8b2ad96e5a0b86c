#include <tarnix/routines.h>

#include "base/parabola.h"
#include "sqp/front_end.h"
#include "state/settings.h"

using namespace tarnix::core;

extern "C" {

void SQPALG(const int32_t* maxIter, const int32_t* n, double* x, const int32_t* nfun, double* F,
            const int32_t* iobj, const int32_t* mi, const int32_t* ineqList, const int32_t* me,
            const int32_t* eqList, int32_t* count, double* lambda, double* mu, double* XLAG,
            double* gradients, double* rhs, double* B, double* gObj, double* d, double* xSaved,
            double* dLower, double* dUpper, double* lagrangianOld, double* lagrangianNew,
            double* dvdel, double* gradel, double* w1, double* w2, double* w3, double* /*spare1*/,
            double* /*spare2*/, int32_t* IACT, int32_t* columnMap, int32_t* codes,
            const double* xLower, const double* xUpper, int32_t* status) {
  const int nv = countOf(n), functions = countOf(nfun);
  const SqpProblem problem{.x = {x, nv},
                           .f = {F, functions},
                           .objective = *iobj,
                           .inequalities = {ineqList, countOf(mi)},
                           .equalities = {eqList, countOf(me)},
                           .lower = {xLower, nv},
                           .upper = {xUpper, nv}};
  const int rows = problem.multipliers();
  const SqpArrays arrays{.lambda = {lambda, rows},
                         .weight = {mu, rows},
                         .activeLambda = {XLAG, rows},
                         .G = {gradients, nv, nv, functions},
                         .rhs = {rhs, problem.constraints()},
                         .B = {B, nv, nv, nv},
                         .gObj = {gObj, nv},
                         .d = {d, nv},
                         .xSaved = {xSaved, nv},
                         .dLower = {dLower, nv},
                         .dUpper = {dUpper, nv},
                         .lagrangianOld = {lagrangianOld, nv},
                         .lagrangianNew = {lagrangianNew, nv},
                         .s = {dvdel, nv},
                         .y = {gradel, nv},
                         .w1 = {w1, nv},
                         .w2 = {w2, nv},
                         .w3 = {w3, nv},
                         .active = {IACT, rows},
                         .column = {columnMap, functions},
                         .codes = {codes, nv}};
  *count = rows;
  *status = static_cast<int32_t>(runSqp(*maxIter, problem, arrays));
}

void SQPPR2(const double* a1, const double* a2, const double* f1, const double* f2,
            const double* g1, double* astar) {
  *astar = parabolaStep(*a1, *a2, *f1, *f2, *g1, settings->zeroTol);
}

void SQSALG(const int32_t* maxIter, const int32_t* n, double* x, const double* xLower,
            const double* xUpper, const int32_t* nfun, double* F, const int32_t* iobj,
            const int32_t* m1, const int32_t* list1, const int32_t* m2, const int32_t* list2,
            int32_t* status) {
  // The second group goes ahead of the first: inequalities first inside the iteration.
  const int nv = countOf(n);
  *status = solveSqp(*maxIter, {.x = {x, nv},
                                .f = {F, countOf(nfun)},
                                .objective = *iobj,
                                .inequalities = {list2, countOf(m2)},
                                .equalities = {list1, countOf(m1)},
                                .lower = {xLower, nv},
                                .upper = {xUpper, nv}});
}

}  // extern "C"
