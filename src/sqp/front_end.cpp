#include "sqp/front_end.h"

#include <algorithm>
#include <limits>

#include "state/settings.h"
#include "state/work_storage.h"
#include "trace/trace.h"

namespace tarnix::core {

namespace {

// Printed at every level and without errorFlag: the status alone reports it.
int32_t refuse(std::string_view text, int64_t needed) {
  constexpr int printed = 49;
  trace::message(Line(text).integer(needed, 9).padded(printed));
  return static_cast<int32_t>(SqpEnd::storage);
}

}  // namespace

int32_t solveSqp(int maxIter, const SqpProblem& p) {
  const int64_t n = cellCount(p.n);
  const int64_t mc = cellCount(p.inequalities.size()) + cellCount(p.equalities.size());
  // A count beyond 32 bits arrives cut to their range: the requirement is that of the lists.
  const int64_t nfun = std::max(cellCount(p.nfun), 1 + mc);
  const int64_t L = mc + 2 * n;
  constexpr int vectors = 14;

  WorkFrame doubles;
  if (!doubles.reserve(1 + 3 * L + cellProduct(n, nfun) + mc + cellProduct(n, n) + vectors * n)) {
    const int32_t status = refuse("SQP: Double precision storage exceeded, ", doubles.needed());
    // Kept: the integer mark is left at the double requirement until the defaults are stored.
    settings->intStorageUsed = static_cast<int32_t>(
        std::min<int64_t>(doubles.needed(), std::numeric_limits<int32_t>::max()));
    return status;
  }
  IndexFrame indices;
  if (!indices.reserve(1 + L + nfun + n))
    return refuse("SQP: Integer storage exceeded, ", indices.needed());

  SqpArrays a{};
  for (double** stretch : {&a.lambda, &a.weight, &a.activeLambda}) *stretch = doubles.carve(L);
  a.G = doubles.carve(n * nfun);
  a.rhs = doubles.carve(mc);
  a.B = doubles.carve(n * n);
  for (double** stretch : {&a.gObj, &a.d, &a.xSaved, &a.dLower, &a.dUpper, &a.lagrangianOld,
                           &a.lagrangianNew, &a.dvdel, &a.gradel, &a.w1, &a.w2, &a.w3})
    *stretch = doubles.carve(n);
  a.active = indices.carve(L);
  a.column = indices.carve(nfun);
  a.codes = indices.carve(n);
  return static_cast<int32_t>(runSqp(maxIter, p, a));
}

}  // namespace tarnix::core
