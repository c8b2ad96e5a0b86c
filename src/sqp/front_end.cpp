#include "sqp/front_end.h"

#include <tarnix/storage.hpp>

#include <algorithm>
#include <limits>

#include "state/settings.h"
#include "state/work_storage.h"
#include "trace/trace.h"

namespace tarnix::core {

namespace {

// Printed at every level and without errorFlag: the status alone reports it.
int32_t refuse(std::string_view text, int64_t needed) {
  // Kept: of a total of ten digits the last one falls outside.
  constexpr int printed = 49;
  trace::message(Line(text).integer(needed, 9).padded(printed).substr(0, printed));
  return static_cast<int32_t>(SqpEnd::storage);
}

}  // namespace

int32_t solveSqp(int maxIter, const SqpProblem& p) {
  const int64_t constraints = cellCount(p.inequalities.size()) + cellCount(p.equalities.size());
  // A count beyond 32 bits arrives cut to their range: the requirement is that of the lists.
  const int64_t nfun = std::max(cellCount(p.f.size()), 1 + constraints);
  const storage::Need need = storage::sqpFrontEnd(cellCount(p.n()), nfun, constraints);

  WorkFrame doubles;
  if (!doubles.reserve(need.doubles)) {
    const int32_t status = refuse("SQP: Double precision storage exceeded, ", doubles.needed());
    // Kept: the integer mark is left at the double requirement until the defaults are stored.
    settings->intStorageUsed = static_cast<int32_t>(
        std::min<int64_t>(doubles.needed(), std::numeric_limits<int32_t>::max()));
    return status;
  }
  IndexFrame indices;
  if (!indices.reserve(need.integers))
    return refuse("SQP: Integer storage exceeded, ", indices.needed());

  const int multipliers = p.multipliers(), vars = p.n(), functions = p.f.size();
  // Carved in the order in which they are named.
  const SqpArrays arrays{.lambda = doubles.vector(multipliers),
                         .weight = doubles.vector(multipliers),
                         .activeLambda = doubles.vector(multipliers),
                         .G = doubles.matrix(vars, functions),
                         .rhs = doubles.vector(p.constraints()),
                         .B = doubles.matrix(vars, vars),
                         .gObj = doubles.vector(vars),
                         .d = doubles.vector(vars),
                         .xSaved = doubles.vector(vars),
                         .dLower = doubles.vector(vars),
                         .dUpper = doubles.vector(vars),
                         .lagrangianOld = doubles.vector(vars),
                         .lagrangianNew = doubles.vector(vars),
                         .s = doubles.vector(vars),
                         .y = doubles.vector(vars),
                         .w1 = doubles.vector(vars),
                         .w2 = doubles.vector(vars),
                         .w3 = doubles.vector(vars),
                         .active = indices.vector(multipliers),
                         .column = indices.vector(functions),
                         .codes = indices.vector(vars)};
  return static_cast<int32_t>(runSqp(maxIter, p, arrays));
}

}  // namespace tarnix::core
