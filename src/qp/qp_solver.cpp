#include "qp/qp_solver.h"

#include "state/settings.h"
#include "state/work_storage.h"
#include "trace/trace.h"

namespace tarnix::core {

namespace {

class DualActiveSet {
 public:
  DualActiveSet(const QpProblem& problem, const QpResult& result, int nb, WorkFrame& frame)
      : qp{problem.n,  problem.m,
           problem.m1, problem.A,
           problem.b,  problem.dl,
           problem.du, solverRows(problem.n, problem.m, problem.m1, nb, problem.codes)},
        d(result.d),
        res(frame.carve(qp.count())),
        z(frame.carve(qp.n)),
        r(frame.carve(qp.n)),
        P(frame.carve(packedSize(qp.n)), qp.n),
        active{qp.n,
               {result.rows, result.count},
               result.multiplier,
               {nullptr, qp.n, qp.n, qp.n},
               {frame.carve(packedSize(qp.n)), qp.n}} {
    active.W = {frame.carve(static_cast<int64_t>(qp.n) * qp.n), qp.n, qp.n, qp.n};
  }

  QpEnd run(const QpProblem& problem) {
    if (!unconstrainedMinimizer(qp.n, problem.H, problem.g, P, d))
      return QpEnd::notPositiveDefinite;
    active.rows.clear();
    QpEnd end = QpEnd::solved;
    for (;;) {
      residuals(qp, d, res);
      const int p = mostViolated(qp.m, qp.m1, qp.row.bounds, res, active.rows);
      if (p == 0) break;
      end = add(p);
      if (end == QpEnd::failure) return end;
      if (end != QpEnd::solved) break;
    }
    reportEqualities();
    return end;
  }

 private:
  // Moves until row p is active, dropping the rows that block the way.
  QpEnd add(int p) {
    double s = res[p - 1];
    double multiplier = 0.0;
    bool keepColumn = false;
    for (;;) {
      // Rounding can make the method cycle; no problem needs a fraction of this many steps.
      if (++steps > stepLimit()) return QpEnd::noSolution;
      directions(qp, p, P, active, keepColumn, r, z);
      const StepLength step =
          stepLength(active.count(), active.multiplier, r, slope(qp, p, z), curvature(active), s);
      if (step.kind == StepLength::Kind::none) return QpEnd::noSolution;
      takeStep(qp.n, step.t, z, d, active.count(), r, active.multiplier, multiplier);
      if (step.kind == StepLength::Kind::full)
        return addRow(active, p, multiplier) ? QpEnd::solved : QpEnd::failure;
      keepColumn = !active.full();
      dropRow(active, step.index);
      s = residual(qp, p, d);
    }
  }

  int64_t stepLimit() const { return 50 * (static_cast<int64_t>(qp.n) + qp.count()) + 100; }

  // A mirrored row leaves as its equality, with the sign of that side.
  void reportEqualities() {
    for (int k = 1; k <= active.count(); ++k) {
      const int row = active.rows(k);
      if (row < qp.firstMirrored()) continue;
      active.rows.replaceAt(k, qp.equalityOf(row));
      active.multiplier[k - 1] = -active.multiplier[k - 1];
    }
  }

  QpRows qp;
  double* d;
  // Work, in the order in which it is carved.
  double* res;    // residuals of all rows
  double* z;      // change of d per unit multiplier of the row being added
  double* r;      // change of the active multipliers, likewise
  PackedUpper P;  // U'DU factor of H
  ActiveSet active;
  int64_t steps = 0;
};

}  // namespace

QpEnd solveQp(const QpProblem& problem, const QpResult& result) {
  const int nb = countBoundRows(problem.n, problem.codes);
  const int64_t n = cellCount(problem.n);
  const int64_t m = cellCount(problem.m);
  const int64_t equalities = cellCount(m - cellCount(problem.m1));
  WorkFrame frame;
  if (!frame.reserve(2 * n + nb + m + equalities + cellProduct(n, n + 1) + cellProduct(n, n))) {
    // Printed at every level, and errorFlag stays: the failure flag reports it.
    trace::message(Line("ERROR: DOUBLE PRECISION STORAGE EXCEEDED, ").integer(frame.needed(), 10));
    return QpEnd::failure;
  }
  return DualActiveSet(problem, result, nb, frame).run(problem);
}

}  // namespace tarnix::core
