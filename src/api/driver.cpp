#include "api/driver.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "eval/evaluation.h"
#include "grg/front_end.h"
#include "sqp/front_end.h"
#include "state/problem.h"
#include "state/settings.h"
#include "state/work_storage.h"

namespace tarnix::core {

namespace {

// Temporary arrays of one solve: the scaled bounds, and the positions in f of both groups.
class ScaledProblem {
 public:
  ScaledProblem(int32_t n, int32_t m1, int32_t m2)
      : lower_(doubles_.claim(n)), upper_(doubles_.claim(n)) {
    complete_ = lower_ != nullptr && upper_ != nullptr;
    if (lower_ != nullptr) std::fill_n(lower_, n, -1.0);
    if (upper_ != nullptr) std::fill_n(upper_, n, 1.0);
    if (tooMany(m1) || tooMany(m2)) return;
    if (m1 > 0) first_ = fill(indices_.claim(m1), m1, 2);
    if (m2 > 0) second_ = fill(m1 == 0 ? keptCells(m2) : indices_.claim(m2), m2, int64_t{m1} + 2);
  }

  const double* lower() const { return lower_; }
  const double* upper() const { return upper_; }
  const int32_t* first() const { return first_; }
  const int32_t* second() const { return second_; }
  bool complete() const { return complete_; }

 private:
  // Every method claims more cells than it has functions: such a count is refused there before a
  // list is read, and none is made.
  static bool tooMany(int32_t count) { return count > DoubleStorage::limit; }

  static int32_t* keptCells(int32_t count) {
    session().keptList.giveBack({});
    return session().keptList.claim(count);
  }
  const int32_t* fill(int32_t* list, int32_t count, int64_t firstPosition) {
    if (list != nullptr)
      std::iota(list, list + count, static_cast<int32_t>(firstPosition));
    else
      complete_ = false;
    return list;
  }

  PrivateFrame<double> doubles_{session().privateDoubles};
  PrivateFrame<int32_t> indices_{session().privateIndices};
  double *lower_, *upper_;
  const int32_t* first_ = nullptr;
  const int32_t* second_ = nullptr;
  bool complete_ = false;
};

constexpr int32_t objectivePosition = 1;

int32_t functionCount(int32_t m1, int32_t m2) {
  const int64_t count = int64_t{m1} + m2 + 1;
  return static_cast<int32_t>(std::min<int64_t>(count, std::numeric_limits<int32_t>::max()));
}

int32_t runSqpMethod(int32_t maxIter, const UserProblem& user, const ScaledProblem& scaled) {
  return solveSqp(maxIter, {.x = {user.x, user.n},
                            .f = {user.f, functionCount(user.m1, user.m2)},
                            .objective = objectivePosition,
                            .inequalities = {scaled.second(), user.m2},
                            .equalities = {scaled.first(), user.m1},
                            .lower = {scaled.lower(), user.n},
                            .upper = {scaled.upper(), user.n}});
}

// This method starts from the values at its point: they are evaluated here.
int32_t runGrgMethod(int32_t maxIter, const UserProblem& user, const ScaledProblem& scaled) {
  evaluate({user.x, user.n}, {user.f, functionCount(user.m1, user.m2)});
  const VectorView x{user.x, user.n};
  return static_cast<int32_t>(
      solveGrg(maxIter, {.x = x,
                         .box = {{scaled.lower(), user.n}, {scaled.upper(), user.n}},
                         .f = {user.f, functionCount(user.m1, user.m2)},
                         .objective = objectivePosition,
                         .equalities = {scaled.first(), user.m1},
                         .inequalities = {scaled.second(), user.m2}}));
}

}  // namespace

int32_t solve(Method method, int32_t maxIter, UserProblem user) {
  if (user.n > VRK_MAX_VARIABLES) return VRK_TOO_MANY_VARIABLES;
  // A negative count stands for none.
  for (int32_t* count : {&user.n, &user.m1, &user.m2}) *count = std::max(*count, 0);
  Problem& problem = session().problem;
  problem.analysis = user.analysis;
  problem.user = user.user;
  problem.m1 = user.m1;
  std::copy_n(user.lower, user.n, problem.lowerBound);
  std::copy_n(user.upper, user.n, problem.upperBound);

  const ScaledProblem scaled(user.n, user.m1, user.m2);
  toScaled({user.x, user.n});
  int32_t status = 0;
  if (scaled.complete())
    status = method == Method::grg ? runGrgMethod(maxIter, user, scaled)
                                   : runSqpMethod(maxIter, user, scaled);
  else
    settings->errorFlag = logicalTrue;  // out of memory: nothing was evaluated
  constexpr int32_t grgError = VRK_GRG_STORAGE, sqpError = VRK_SQP_STORAGE;
  if (settings->errorFlag) status = method == Method::grg ? grgError : sqpError;
  unscaleResult({user.x, user.n});
  return status;
}

}  // namespace tarnix::core
