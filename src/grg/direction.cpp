#include "grg/direction.h"

#include <tarnix/storage.hpp>

#include "qp/qp_solver.h"
#include "trace/claim.h"

namespace tarnix::core {

DirectionEnd findDirection(const Subproblem& qp, const Direction& result) {
  const int n = qp.x.size(), kept = qp.kept.size(), count = kept + qp.satisfied.size();
  const storage::Need need = storage::grgDirection(n, count);
  WorkFrame doubles;
  if (!trace::claim(doubles, need.doubles)) return DirectionEnd::storage;
  IndexFrame indices;
  if (!trace::claim(indices, need.integers)) return DirectionEnd::storage;
  const VectorView b = doubles.vector(count);
  const VectorView du = doubles.vector(n);
  const VectorView dl = doubles.vector(n);
  const IndexVector codes = indices.vector(n);
  for (int i = 1; i <= kept; ++i) b(i) = -qp.f(qp.kept(i));
  for (int i = kept + 1; i <= count; ++i) b(i) = -qp.f(qp.satisfied(i - kept));
  for (int i = 1; i <= n; ++i) {
    du(i) = qp.box.upper(i) - qp.x(i);
    dl(i) = qp.box.lower(i) - qp.x(i);
    codes(i) = boundBoth;
  }
  IndexList rows{result.rows, result.count};
  rows.clear();
  switch (solveQp({.A = qp.G.block(n, count),
                   .b = b,
                   .m1 = kept,
                   .H = qp.hessian,
                   .g = qp.gObj,
                   .codes = codes,
                   .dl = dl,
                   .du = du},
                  {.d = result.d, .multiplier = result.multiplier, .rows = rows})) {
    case QpEnd::noSolution: return DirectionEnd::noSolution;
    case QpEnd::notPositiveDefinite: return DirectionEnd::notPositiveDefinite;
    case QpEnd::failure: return DirectionEnd::failure;
    case QpEnd::solved: break;
  }
  return DirectionEnd::solved;
}

}  // namespace tarnix::core
