#include "qp/qp_solver.h"

#include <tarnix/storage.hpp>

#include "state/settings.h"
#include "state/work_storage.h"
#include "trace/trace.h"

namespace tarnix::core {

namespace {

class DualActiveSet {
 public:
  DualActiveSet(const QpProblem& problem, const QpResult& result, int nb, WorkFrame& frame)
      : qp{problem.A,  problem.b,  problem.m1,
           problem.dl, problem.du, solverRows(problem.A.columns(), problem.m1, nb, problem.codes)},
        d(result.d),
        res(frame.vector(qp.count())),
        z(frame.vector(qp.n())),
        r(frame.vector(qp.n())),
        P(frame.packed(qp.n())),
        active{.rows = result.rows,
               .multiplier = result.multiplier,
               .T = frame.packed(qp.n()),
               .W = frame.matrix(qp.n(), qp.n())} {}

  QpEnd run(const QpProblem& problem) {
    if (!unconstrainedMinimizer(problem.H, problem.g, P, d)) return QpEnd::notPositiveDefinite;
    active.rows.clear();
    QpEnd end = QpEnd::solved;
    for (;;) {
      residuals(qp, d, res);
      const int p = mostViolated(qp.m(), qp.m1, qp.row.bounds, res, active.rows);
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
    double violation = res(p);
    double multiplier = 0.0;
    bool keepColumn = false;
    for (;;) {
      // Rounding can make the method cycle; no problem needs a fraction of this many steps.
      if (++steps > stepLimit()) return QpEnd::noSolution;
      directions(qp, p, P, active, keepColumn, r, z);
      const VectorView multipliers = active.multiplier.head(active.count());
      const ConstVector change = r.head(active.count());
      const DualStep next =
          dualStep(multipliers, change, slope(qp, p, z), curvature(active), violation);
      if (next.kind == DualStep::Kind::none) return QpEnd::noSolution;
      takeStep(next.step, z, d, change, multipliers, multiplier);
      if (next.kind == DualStep::Kind::full)
        return addRow(active, p, multiplier) ? QpEnd::solved : QpEnd::failure;
      keepColumn = !active.full();
      dropRow(active, next.index);
      violation = residual(qp, p, d);
    }
  }

  int64_t stepLimit() const { return 50 * (static_cast<int64_t>(qp.n()) + qp.count()) + 100; }

  // A mirrored row leaves as its equality, with the sign of that side.
  void reportEqualities() {
    for (int k = 1; k <= active.count(); ++k) {
      const int row = active.rows(k);
      if (row < qp.firstMirrored()) continue;
      active.rows.replaceAt(k, qp.equalityOf(row));
      active.multiplier(k) = -active.multiplier(k);
    }
  }

  const QpRows qp;
  const VectorView d;
  // Work, in the order in which it is carved.
  const VectorView res;  // residuals of all rows
  const VectorView z;    // change of d per unit multiplier of the row being added
  const VectorView r;    // change of the active multipliers, likewise
  const PackedUpper P;   // U'DU factor of H
  ActiveSet active;
  int64_t steps = 0;
};

}  // namespace

QpEnd solveQp(const QpProblem& problem, const QpResult& result) {
  const int nb = countBoundRows(problem.codes);
  const int64_t n = cellCount(problem.A.rows());
  const int64_t m = cellCount(problem.A.columns());
  const int64_t equalities = cellCount(m - cellCount(problem.m1));
  WorkFrame frame;
  if (!frame.reserve(storage::subproblem(n, nb, m, equalities))) {
    // Printed at every level, and errorFlag stays: the failure flag reports it.
    trace::message(Line("ERROR: DOUBLE PRECISION STORAGE EXCEEDED, ").integer(frame.needed(), 10));
    return QpEnd::failure;
  }
  return DualActiveSet(problem, result, nb, frame).run(problem);
}

}  // namespace tarnix::core
