// The stated totals of the work storage, against the core: what they hold is solved, one cell less
// is refused.

#include <problems.h>
#include <tarnix/storage.hpp>

#include <cmath>

#include "support/support.h"

namespace {

using namespace support;
using tarnix::storage::Need;

class StorageTotals : public Library {};

struct Outcome {
  int32_t status;
  std::vector<double> x, f;
  bool operator==(const Outcome&) const = default;
};

Outcome solve(const Problem& p, decltype(VRK_sqp)* method, Need capacity) {
  VRK_setDefaults();
  VRK_settings.dblStorageCapacity = static_cast<int32_t>(capacity.doubles);
  VRK_settings.intStorageCapacity = static_cast<int32_t>(capacity.integers);
  std::vector<double> x(p.start, p.start + p.n), f(static_cast<std::size_t>(1 + p.nEq + p.nIneq));
  const int32_t status =
      method(30, p.n, x.data(), p.lower, p.upper, p.nEq, p.nIneq, p.evaluate, nullptr, f.data());
  return {status, x, f};
}

TEST_F(StorageTotals, HoldTheWholeCollection) {
  constexpr Need ample{VRK_DBL_STORAGE_LIMIT, VRK_INT_STORAGE_LIMIT};
  for (const bool refined : {false, true}) {
    tarnix_session_refine(nullptr, refined);
    for (int i = 0; i < problemCount(); ++i) {
      const Problem& p = *problemAt(i);
      SCOPED_TRACE(p.name);
      const Need sqp = tarnix::storage::sqp(p.n, p.nEq, p.nIneq);
      const Need grg = tarnix::storage::grg(p.n, p.nEq, p.nIneq);
      EXPECT_EQ(solve(p, VRK_sqp, ample), solve(p, VRK_sqp, sqp));
      EXPECT_EQ(solve(p, VRK_grg, ample), solve(p, VRK_grg, grg));
      // The subproblem of the first iteration has every row already.
      const int32_t doubles = solve(p, VRK_sqp, {sqp.doubles - 1, sqp.integers}).status;
      if (doubles != VRK_SQP_QP_FAILURE) {
        EXPECT_EQ(VRK_SQP_STORAGE, doubles);
      }
      EXPECT_EQ(VRK_SQP_STORAGE, solve(p, VRK_sqp, {sqp.doubles, sqp.integers - 1}).status);
    }
  }
}

// All but one of the constraints far from active: 3 m2 + 14 integers fill the default 5000 exactly
// at 1662 of them.
TEST_F(StorageTotals, IntegersOfOneVariable) {
  for (const int m2 : {1662, 1663}) {
    VRK_setDefaults();
    double x = 0.25;
    const double lower = -1.0, upper = 1.0;
    std::vector<double> f(static_cast<std::size_t>(1 + m2));
    int count = m2;
    const int32_t status = VRK_grg(
        30, 1, &x, &lower, &upper, 0, m2,
        [](void* user, double* at, double* objective, double*, double* g) {
          *objective = -*at;
          std::fill_n(g, *static_cast<int*>(user), -1.0);
          g[0] = *at - 0.5;
        },
        &count, f.data());
    EXPECT_EQ(m2 == 1662, status != VRK_GRG_STORAGE) << status;
    EXPECT_EQ(m2 == 1662, tarnix::storage::grg(1, 0, m2).integers <= 5000);
    if (m2 == 1662) {
      EXPECT_NEAR(0.5, x, 2e-3);
    }
  }
}

// The largest total of a subproblem without constraints is claimed in the first iteration.
TEST_F(StorageTotals, OneCellShortOfTheReducedGradientMethod) {
  for (int i = 0; i < problemCount(); ++i) {
    const Problem& p = *problemAt(i);
    if (p.nEq + p.nIneq > 0) continue;
    SCOPED_TRACE(p.name);
    const Need need = tarnix::storage::grg(p.n, 0, 0);
    EXPECT_EQ(VRK_GRG_QP_FAILURE, solve(p, VRK_grg, {need.doubles - 1, need.integers}).status);
    EXPECT_EQ(VRK_GRG_STORAGE, solve(p, VRK_grg, {need.doubles, need.integers - 1}).status);
  }
}

}  // namespace
