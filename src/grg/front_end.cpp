#include "grg/front_end.h"

#include <tarnix/storage.hpp>

#include <algorithm>

#include "trace/claim.h"

namespace tarnix::core {

GrgEnd solveGrg(int maxIter, const GrgProblem& p) {
  const int n = p.x.size();
  const int64_t inequalities = cellCount(p.inequalities.size());
  const int64_t equalities = cellCount(p.equalities.size());
  // A count beyond 32 bits arrives cut to their range: the requirement is that of the lists.
  const int64_t m = std::max(cellCount(p.f.size()), 1 + inequalities + equalities);
  const storage::Need need = storage::grgFrontEnd(n, m, equalities, inequalities);
  WorkFrame doubles;
  if (!trace::claim(doubles, need.doubles)) return GrgEnd::error;
  IndexFrame indices;
  if (!trace::claim(indices, need.integers)) return GrgEnd::error;

  GrgArrays a;
  for (VectorView* v : {&a.gObj, &a.lagrangianOld, &a.lagrangian, &a.multiplier})
    *v = doubles.vector(n);
  a.hessian = {doubles.carve(int64_t{n} * n), n, n, n};
  for (VectorView* v : {&a.xOld, &a.s, &a.y, &a.d}) *v = doubles.vector(n);
  a.kept = indices.vector(p.inequalities.size());
  a.active = indices.vector(std::min(n, p.inequalities.size()));
  a.satisfied = indices.vector(p.equalities.size());
  a.columns = indices.vector(static_cast<int>(m));
  a.activeRows = indices.vector(n);
  return runGrg(maxIter, p, a);
}

}  // namespace tarnix::core
