#include "api/driver.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <numeric>

#include "api/problem.h"
#include "api/settings.h"
#include "api/work_storage.h"
#include "eval/evaluation.h"
#include "grg/grg_iteration.h"
#include "sqp/front_end.h"

namespace tarnix {

namespace {

template <class T>
class Array {
 public:
  Array() = default;
  explicit Array(int64_t size) : cells_(new (std::nothrow) T[static_cast<std::size_t>(size)]) {}
  T* get() const { return cells_.get(); }
  explicit operator bool() const { return cells_ != nullptr; }

 private:
  std::unique_ptr<T[]> cells_;
};

// The second group's list of the solves without a first group. It is not released at their return:
// the next such solve takes it again and lets it grow.
struct KeptList {
  Array<int32_t> cells;
  int64_t size = 0;
};
KeptList keptList;

// Temporary arrays of one solve: the scaled bounds, and the positions in f of both groups.
class ScaledProblem {
 public:
  ScaledProblem(int32_t n, int32_t m1, int32_t m2)
      : lower_(n), upper_(n), complete_(lower_ && upper_) {
    if (lower_) std::fill_n(lower_.get(), n, -1.0);
    if (upper_) std::fill_n(upper_.get(), n, 1.0);
    if (tooMany(m1) || tooMany(m2)) return;
    if (m1 > 0) first_ = makeList(ownFirst_, m1, 2);
    if (m2 > 0) {
      if (m1 == 0 && keptList.size < m2) {
        keptList.cells = Array<int32_t>(m2);
        keptList.size = keptList.cells ? m2 : 0;
      }
      second_ = m1 == 0 ? fill(keptList.cells, m2, 2) : makeList(ownSecond_, m2, int64_t{m1} + 2);
    }
  }

  const double* lower() const { return lower_.get(); }
  const double* upper() const { return upper_.get(); }
  const int32_t* first() const { return first_; }
  const int32_t* second() const { return second_; }
  bool complete() const { return complete_; }

 private:
  // Every method claims more cells than it has functions: such a count is refused there before a
  // list is read, and none is made.
  static bool tooMany(int32_t count) { return count > DoubleStorage::limit; }

  const int32_t* makeList(Array<int32_t>& list, int32_t count, int64_t firstPosition) {
    list = Array<int32_t>(count);
    return fill(list, count, firstPosition);
  }
  const int32_t* fill(const Array<int32_t>& list, int32_t count, int64_t firstPosition) {
    if (list)
      std::iota(list.get(), list.get() + count, static_cast<int32_t>(firstPosition));
    else
      complete_ = false;
    return list.get();
  }

  Array<double> lower_, upper_;
  Array<int32_t> ownFirst_, ownSecond_;
  const int32_t* first_ = nullptr;
  const int32_t* second_ = nullptr;
  bool complete_;
};

constexpr int32_t objectivePosition = 1;

int32_t functionCount(int32_t m1, int32_t m2) {
  const int64_t count = int64_t{m1} + m2 + 1;
  return static_cast<int32_t>(std::min<int64_t>(count, std::numeric_limits<int32_t>::max()));
}

int32_t runSqpMethod(int32_t maxIter, const UserProblem& user, const ScaledProblem& scaled) {
  return solveSqp(maxIter, {.n = user.n,
                            .x = user.x,
                            .nfun = functionCount(user.m1, user.m2),
                            .f = user.f,
                            .objective = objectivePosition,
                            .inequalities = {scaled.second(), user.m2},
                            .equalities = {scaled.first(), user.m1},
                            .lower = scaled.lower(),
                            .upper = scaled.upper()});
}

// This method starts from the values at its point: they are evaluated here.
int32_t runGrgMethod(int32_t maxIter, const UserProblem& user, const ScaledProblem& scaled) {
  evaluate(user.n, user.x, user.f);
  int32_t status = 0;
  (void)solveGrg(maxIter,
                 {.n = user.n,
                  .x = user.x,
                  .box = {scaled.lower(), scaled.upper()},
                  .m = functionCount(user.m1, user.m2),
                  .f = user.f,
                  .objective = objectivePosition,
                  .equalities = {scaled.first(), user.m1},
                  .inequalities = {scaled.second(), user.m2}},
                 status);
  return status;
}

}  // namespace

int32_t solve(Method method, int32_t maxIter, UserProblem user) {
  if (user.n > VRK_MAX_VARIABLES) return VRK_TOO_MANY_VARIABLES;
  // A negative count stands for none.
  for (int32_t* count : {&user.n, &user.m1, &user.m2}) *count = std::max(*count, 0);
  problem.analysis = user.analysis;
  problem.user = user.user;
  problem.m1 = user.m1;
  std::copy_n(user.lower, user.n, problem.lowerBound);
  std::copy_n(user.upper, user.n, problem.upperBound);

  const ScaledProblem scaled(user.n, user.m1, user.m2);
  toScaled(user.n, user.x);
  int32_t status = 0;
  if (scaled.complete())
    status = method == Method::grg ? runGrgMethod(maxIter, user, scaled)
                                   : runSqpMethod(maxIter, user, scaled);
  else
    settings.errorFlag = logicalTrue;  // out of memory: nothing was evaluated
  constexpr int32_t grgError = VRK_GRG_STORAGE, sqpError = VRK_SQP_STORAGE;
  if (settings.errorFlag) status = method == Method::grg ? grgError : sqpError;
  unscaleResult(user.n, user.x);
  return status;
}

}  // namespace tarnix
