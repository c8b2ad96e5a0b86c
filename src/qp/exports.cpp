#include <tarnix/routines.h>

#include <algorithm>
#include <limits>

#include "qp/active_set.h"
#include "qp/curvature.h"
#include "qp/lagrangian.h"
#include "qp/packed_factor.h"
#include "qp/qp_solver.h"
#include "state/settings.h"
#include "state/work_storage.h"
#include "trace/claim.h"

using namespace tarnix::core;

namespace {

// The length of an array that the caller does not give.
constexpr int untold = std::numeric_limits<int>::max();

QpRows rowsOf(int n, int m, int m1, int nb, const double* A, int lda, const double* b,
              const int32_t* codes, const double* dl, const double* du) {
  return {.A = {A, lda, n, m},
          .b = {b, m},
          .m1 = m1,
          .dl = {dl, n},
          .du = {du, n},
          .row = solverRows(m, m1, nb, {codes, n})};
}

// The steps only read an active set that the caller holds as constants.
ActiveSet activeSet(int n, const int32_t* IACT, const int32_t* nact, double* XLAG, double* W,
                    double* T) {
  return {.rows = {const_cast<int32_t*>(IACT), const_cast<int32_t&>(*nact)},
          .multiplier = {XLAG, n},
          .T = {T, n},
          .W = {W, n, n, n}};
}

}  // namespace

extern "C" {

void QLAG(const int32_t* n, const int32_t* m1, const int32_t* map1, const int32_t* m2,
          const int32_t* map2, const int32_t* colidx, const int32_t* act, const int32_t* nact,
          double* mult, const double* g, const double* J, double* gl, int32_t* ierr) {
  *ierr = lagrangianGradient({.map1 = {map1, *m1},
                              .map2 = {map2, *m2},
                              .column = {colidx, untold},
                              .rows = {act, *nact},
                              .multiplier = {mult, *nact}},
                             {g, *n}, {J, *n, *n, untold}, {gl, *n});
}

void QHESS(const int32_t* n, const double* s, const double* y, double* H, int32_t* updated,
           double* w1, double* w2, double* w3) {
  *updated = toLogical(dampedUpdate({s, *n}, {y, *n}, {H, *n, *n, *n},
                                    {.u = {w1, *n}, .r = {w2, *n}, .v = {w3, *n}}));
}

void GRSHES(const int32_t* n, const double* s, const double* y, double* H, int32_t* updated) {
  WorkFrame frame;
  if (!trace::claim(frame, 1 + 3 * cellCount(*n))) return;
  const VectorView u = frame.vector(*n);
  const VectorView r = frame.vector(*n);
  const VectorView v = frame.vector(*n);
  *updated = toLogical(dampedUpdate({s, *n}, {y, *n}, {H, *n, *n, *n}, {u, r, v}));
}

void SQPHIN(const int32_t* n, const double* g, double* H) {
  setScaledIdentity(initialCurvature({g, *n}), {H, *n, *n, *n});
}

void GRGHIN(const int32_t* n, const double* d, double* H) {
  setScaledIdentity(*d, {H, *n, *n, *n});
}

void GRGBUP(const int32_t* ld, const int32_t* m, double* B, const double* a, const double* b,
            double* u, double* w) {
  updateInverse({B, *ld, *m, *m}, {a, *m}, {b, *m}, {u, *m}, {w, *m});
}

void GRSBUP(const int32_t* ld, const int32_t* m, double* B, const double* a, const double* b) {
  WorkFrame frame;
  if (!trace::claim(frame, 1 + 2 * cellCount(*m))) return;
  const VectorView u = frame.vector(*m);
  const VectorView w = frame.vector(*m);
  updateInverse({B, *ld, *m, *m}, {a, *m}, {b, *m}, u, w);
}

void QPSOLV(const int32_t* n, const int32_t* m, const int32_t* m1, const double* A,
            const int32_t* lda, const double* b, const double* H, const int32_t* ldh,
            const double* g, const int32_t* codes, const double* dl, const double* du, double* d,
            double* XLAG, int32_t* IACT, int32_t* nact, int32_t* noSolution, int32_t* notPosDef,
            int32_t* failure) {
  *noSolution = *notPosDef = *failure = logicalFalse;
  const int nv = countOf(n), rows = countOf(m);
  const QpProblem problem{.A = {A, *lda, nv, rows},
                          .b = {b, rows},
                          .m1 = countOf(m1),
                          .H = {H, *ldh, nv, nv},
                          .g = {g, nv},
                          .codes = {codes, nv},
                          .dl = {dl, nv},
                          .du = {du, nv}};
  switch (solveQp(problem, {.d = {d, nv}, .multiplier = {XLAG, nv}, .rows = {IACT, *nact}})) {
    case QpEnd::solved: break;
    case QpEnd::noSolution: *noSolution = logicalTrue; break;
    case QpEnd::notPositiveDefinite: *notPosDef = logicalTrue; break;
    case QpEnd::failure: *failure = logicalTrue; break;
  }
}

void QPSINI(const int32_t* n, const double* H, const int32_t* ldh, const double* g, double* P,
            double* d, int32_t* notPosDef) {
  *notPosDef = toLogical(!unconstrainedMinimizer({H, *ldh, *n, *n}, {g, *n}, {P, *n}, {d, *n}));
}

void QPSCON(const int32_t* n, const int32_t* m, const int32_t* m1, const double* A,
            const int32_t* lda, const double* b, const int32_t* codes, const int32_t* nb,
            const double* dl, const double* du, const double* d, double* res) {
  const QpRows qp = rowsOf(countOf(n), countOf(m), countOf(m1), *nb, A, *lda, b, codes, dl, du);
  residuals(qp, {d, qp.n()}, {res, qp.count()});
}

void QPSVIO(const int32_t* m, const int32_t* m1, const int32_t* nb, const double* res,
            const int32_t* nact, const int32_t* IACT, int32_t* p) {
  const int rows = countOf(m), inequalities = countOf(m1);
  const int count = rows + *nb + std::max(rows - inequalities, 0);
  *p = mostViolated(rows, inequalities, *nb, {res, count},
                    activeSet(0, IACT, nact, nullptr, nullptr, nullptr).rows);
}

void QPSDIR(const int32_t* p, const int32_t* n, const int32_t* m, const int32_t* m1,
            const int32_t* nb, const double* A, const int32_t* lda, const int32_t* codes,
            const double* P, double* W, const int32_t* nact, const int32_t* IACT, double* T,
            double* r, double* z) {
  directions(rowsOf(*n, *m, *m1, *nb, A, *lda, nullptr, codes, nullptr, nullptr), *p, {P, *n},
             activeSet(*n, IACT, nact, nullptr, W, T), false, {r, *n}, {z, *n});
}

void QPSLEN(const int32_t* /*n*/, const int32_t* nact, const double* XLAG, const double* r,
            const double* q, const double* curvature, const double* s, double* t, int32_t* kind,
            int32_t* k) {
  const DualStep next = dualStep({XLAG, *nact}, {r, *nact}, *q, *curvature, *s);
  *t = next.step;
  *kind = static_cast<int32_t>(next.kind);
  *k = next.index;
}

void QPSSTP(const int32_t* n, const double* t, const double* z, double* d, const int32_t* nact,
            const double* r, double* XLAG, double* up) {
  takeStep(*t, {z, *n}, {d, *n}, {r, *nact}, {XLAG, *nact}, *up);
}

void QPSDOA(int32_t* nact, const int32_t* n, const int32_t* m, const int32_t* m1, const int32_t* nb,
            const int32_t* codes, const double* A, const int32_t* lda, double* W, double* T,
            int32_t* IACT, double* XLAG, const int32_t* p, const double* up, const int32_t* k,
            int32_t* failure) {
  *failure = logicalFalse;
  ActiveSet active = activeSet(*n, IACT, nact, XLAG, W, T);
  if (*k <= *nact) return dropRow(active, *k);
  if (!active.full())
    borderFactor(rowsOf(*n, *m, *m1, *nb, A, *lda, nullptr, codes, nullptr, nullptr), *p, active);
  *failure = toLogical(!addRow(active, *p, *up));
}

void QPSTRI(double* P, const int32_t* n, const int32_t* k0, int32_t* fail) {
  *fail = toLogical(!factorColumns({P, *n}, *k0));
}

void QPSSOL(const double* P, double* x, const int32_t* n) {
  solveFactored({P, *n}, {x, *n});
}

void QPSGRA(const int32_t* r, const int32_t* i, double* val, const int32_t* n, const int32_t* meq,
            const int32_t* off, const int32_t* nb, const double* A, const int32_t* lda,
            const int32_t* btype) {
  const Row row = RowNumbering{.general = *meq,
                               .bounds = *nb,
                               .offset = *off,
                               .codes = {btype, *n},
                               .everyBound = false}(*r);
  if (row.kind == Row::Kind::general)
    *val = row.sign * ConstMatrix{A, *lda, untold, untold}(*i, row.index);
  else
    *val = row.kind == Row::Kind::bound && row.index == *i ? row.sign : 0.0;
}

}  // extern "C"
