// The whole problem collection with the default settings: solved, or ended as the method's rules
// make it end. Such an ending is kept here with its reason.

#include <problems.h>

#include <cmath>
#include <map>

#include "sqp/solve.h"

using namespace support;

namespace {

struct Ending {
  int32_t status;
  double objective;
  const char* reason;
};

constexpr const char* absoluteTolerance =
    "the slope along d is within the absolute tolerance on a flat floor or narrow valley";
constexpr const char* unsignedSlope =
    "the merit slope takes equalities without their sign: steps are cut wrongly until the merit "
    "value no longer changes";
constexpr const char* stalledMerit =
    "the merit value changes by less than the tolerance, although a violation with a small weight "
    "remains";
constexpr const char* halvedWeights =
    "the linearized constraints do not meet within the box: the weights are halved in every "
    "reformulated iteration until only the objective counts";

const std::map<std::string, Ending> exceptions = {
    {"HS13", {1, 0.9848, "no multipliers exist at the minimiser: weights grow, steps shrink"}},
    {"HS26", {9, 8.8e-5, stalledMerit}},
    {"HS27", {1, 0.04198, absoluteTolerance}},
    {"HS38", {1, 0.01759, absoluteTolerance}},
    {"HS39", {9, -2.1824, unsignedSlope}},
    {"HS42", {9, 12.3042, unsignedSlope}},
    {"HS55", {1, 20.0 / 3.0, "another local minimiser, at the start's x(1) = 1"}},
    {"HS61", {9, -169.155, unsignedSlope}},
    {"HS63", {9, 400.0, halvedWeights}},
    {"HS80", {9, 0.05252, stalledMerit}},
    {"waechter_biegler", {9, -10.0, halvedWeights}},
    {"speed_reducer", {1, 2999.74, "the last step only restores a constraint, which raises f"}},
    {"sphere_quartic_100", {1, 1.9224, absoluteTolerance}},
    {"segments_50", {9, 41.959, stalledMerit}},
    {"segments_100", {9, 83.809, stalledMerit}},
};

bool near(double expected, double value) {
  return std::fabs(value - expected) <= 1e-3 * std::fmax(1.0, std::fabs(expected));
}

class SqpCollection : public Library {};

TEST_F(SqpCollection, EveryProblemEndsAsExpected) {
  std::size_t excepted = 0;
  for (int i = 0; i < problemCount(); ++i) {
    const Problem& p = *problemAt(i);
    SCOPED_TRACE(p.name);
    VRK_setDefaults();
    Doubles x(p.n), f(1 + p.nEq + p.nIneq);
    std::copy_n(p.start, p.n, x.begin());
    const int32_t status =
        VRK_sqp(200, p.n, x, p.lower, p.upper, p.nEq, p.nIneq, p.evaluate, nullptr, f);
    double objective = 0.0;
    const double violation = problemViolation(&p, x, &objective);
    EXPECT_NEAR(objective, f[0], 1e-9 * std::fmax(1.0, std::fabs(objective)));
    EXPECT_EQ(VRK_get_nIter(), VRK_settings.nGradEval);
    EXPECT_LE(VRK_get_nFunEval(), 2 + VRK_get_nIter() * (p.n + 6));
    EXPECT_EQ(0, VRK_settings.dblStorageUsed);
    EXPECT_EQ(0, VRK_settings.intStorageUsed);

    const bool solved = near(p.fBest, objective) && violation <= 1.5e-3;
    if (const auto e = exceptions.find(p.name); e != exceptions.end()) {
      ++excepted;
      EXPECT_FALSE(solved) << "no longer an exception: " << e->second.reason;
      EXPECT_EQ(e->second.status, status) << e->second.reason;
      EXPECT_TRUE(near(e->second.objective, objective)) << objective << ": " << e->second.reason;
      EXPECT_TRUE(status == 9 || violation <= 1.5e-3) << violation;
    } else {
      EXPECT_TRUE(solved) << "f " << objective << " for " << p.fBest << ", violation " << violation;
      EXPECT_TRUE(status == 1 || status == 9) << status;
    }
  }
  EXPECT_EQ(exceptions.size(), excepted);
}

}  // namespace
