// The whole problem collection with the default settings, by SQP and by the reduced gradient
// method, plain and refined: solved, or ended as the method's rules make it end. Such an ending is
// kept here with its reason.

#include <problems.h>

#include <cmath>
#include <map>
#include <set>
#include <string>

#include "grg/line_search.h"
#include "sqp/solve.h"

using namespace support;

namespace {

struct Ending {
  int32_t status;
  double objective;
  const char* reason;
  int iterations = 0, evaluations = 0;  // where they are known; 0: any
};

constexpr const char* absoluteTolerance =
    "the slope along d is within the absolute tolerance on a flat floor or narrow valley";
constexpr const char* smallConstraints =
    "the constraints are of the size of 0.04 and 0.01: the absolute tolerance is a part of that";
constexpr const char* unsignedSlope =
    "the merit slope takes equalities without their sign: steps are cut wrongly until the merit "
    "value no longer changes";
constexpr const char* stalledMerit =
    "the merit value changes by less than the tolerance, although a violation with a small weight "
    "remains";
constexpr const char* halvedWeights =
    "the linearized constraints do not meet within the box: the weights are halved in every "
    "reformulated iteration until only the objective counts";

constexpr const char* stationaryViolation =
    "the violation that is reduced has a stationary point where the other equality holds";
constexpr const char* stalledObjective = "the objective falls by less than the tolerance twice";

struct Method {
  const char* name;
  decltype(VRK_sqp)* solve;
  bool refined;
  int search;                  // evaluations of the search in an iteration, at most
  std::set<int32_t> feasible;  // endings at a point that satisfies the constraints
  std::set<int32_t> endings;   // of solved problems
  std::map<std::string, Ending> exceptions;
};

const Method sqp = {
    "Sqp",
    VRK_sqp,
    false,
    6,
    {1},
    {1, 9},
    {
        {"HS13", {1, 0.9848, "no multipliers exist at the minimiser: weights grow, steps shrink"}},
        {"HS26", {9, 8.8e-5, stalledMerit}},
        {"HS27", {1, 0.04198, absoluteTolerance}},
        {"HS38", {1, 0.01759, absoluteTolerance}},
        {"HS39", {9, -2.1824, unsignedSlope}},
        {"HS42", {9, 12.3042, unsignedSlope}},
        {"HS55", {1, 20.0 / 3.0, "another local minimiser, at the start's x(1) = 1"}},
        {"HS61", {9, -169.155, unsignedSlope}},
        {"HS63", {9, 400.0, halvedWeights}},
        {"HS72", {1, 710.912, smallConstraints, 13, 73}},
        {"HS80", {9, 0.05252, stalledMerit}},
        {"waechter_biegler", {9, -10.0, halvedWeights}},
        {"speed_reducer", {1, 2999.74, "the last step only restores a constraint, which raises f"}},
        {"sphere_quartic_100", {1, 1.9224, absoluteTolerance}},
        {"segments_50", {9, 41.959, stalledMerit}},
        {"segments_100", {9, 83.809, stalledMerit}},
    }};

constexpr const char* edgeOfTolerance =
    "the point lives on the tolerance of its constraints: every restored trial looks worse";

const std::map<std::string, Ending> bothGradientModes = {
    {"HS27", {1, 0.05267, absoluteTolerance}},
    {"HS28_parallel", {8, 13.0, "two rows that differ by less than zeroTol cannot both be active"}},
    {"HS38", {1, 0.00223, absoluteTolerance}},
    {"HS55", {1, 20.0 / 3.0, "another local minimiser, at the start's x(1) = 1"}},
    {"HS61", {4, -60.448, stationaryViolation}},
    {"HS72", {3, 2036.27, smallConstraints}},
    {"hilbert", {1, 5.0826, "constraints held to the tolerance move an ill-conditioned vertex"}},
    {"waechter_biegler", {4, -1.0, stationaryViolation}},
};

std::map<std::string, Ending> with(std::map<std::string, Ending> more) {
  more.insert(bothGradientModes.begin(), bothGradientModes.end());
  return more;
}

const Method grg = {
    "Grg",
    VRK_grg,
    false,
    tarnix::core::LineSearch::maxEvaluations,
    {1, 2, 3},
    {1, 2, 3},
    with({
        {"HS13", {3, 0.9173, "the constraint's gradient vanishes with its multiplier"}},
        {"HS15", {2, 360.07, "another local minimiser"}},
        {"HS23", {2, 2.00234, edgeOfTolerance}},
        {"HS43_doubled", {3, -41.286, edgeOfTolerance}},
        {"HS104", {3, 3.96294, edgeOfTolerance}},
        {"HS108", {3, -0.78306, edgeOfTolerance}},
        {"HS111", {1, -47.702, absoluteTolerance}},
        {"speed_reducer", {3, 3000.21, edgeOfTolerance}},
        {"sphere_quartic_50", {3, 1.92867, stalledObjective}},
        {"sphere_quartic_100", {3, 1.93184, stalledObjective}},
        {"three_bar_truss", {3, 264.222, edgeOfTolerance}},
    })};

const Method refinedGrg = {
    "RefinedGrg",
    VRK_grg,
    true,
    tarnix::core::LineSearch::maxEvaluations,
    {1, 2, 3},
    {1, 2, 3},
    with({
        {"HS13",
         {8, 0.9442, "the constraint's gradient vanishes with its multiplier: no such direction"}},
        {"HS15", {2, 360.38, "another local minimiser"}},
        {"sphere_quartic_50", {3, 1.92189, stalledObjective}},
        {"sphere_quartic_100", {3, 1.92228, stalledObjective}},
    })};

bool near(double expected, double value) {
  return std::fabs(value - expected) <= 1e-3 * std::fmax(1.0, std::fabs(expected));
}

class Collection : public Library, public testing::WithParamInterface<const Method*> {};
INSTANTIATE_TEST_SUITE_P(Methods, Collection, testing::Values(&sqp, &grg, &refinedGrg),
                         [](const auto& method) { return method.param->name; });

TEST_P(Collection, EveryProblemEndsAsExpected) {
  const Method& method = *GetParam();
  tarnix_session_refine(nullptr, method.refined);
  std::size_t excepted = 0;
  for (int i = 0; i < problemCount(); ++i) {
    const Problem& p = *problemAt(i);
    SCOPED_TRACE(p.name);
    VRK_setDefaults();
    Doubles x(p.n), f(1 + p.nEq + p.nIneq);
    std::copy_n(p.start, p.n, x.begin());
    const int32_t status =
        method.solve(200, p.n, x, p.lower, p.upper, p.nEq, p.nIneq, p.evaluate, nullptr, f);
    double objective = 0.0;
    const double violation = problemViolation(&p, x, &objective);
    EXPECT_NEAR(objective, f[0], 1e-9 * std::fmax(1.0, std::fabs(objective)));
    EXPECT_EQ(&method == &sqp ? VRK_get_nIter() : 0, VRK_settings.nGradEval);
    EXPECT_LE(VRK_get_nFunEval(), 2 + VRK_get_nIter() * (p.n + method.search));
    EXPECT_EQ(0, VRK_settings.dblStorageUsed);
    EXPECT_EQ(0, VRK_settings.intStorageUsed);
    if (method.feasible.contains(status)) {
      EXPECT_LE(violation, 1.5e-3);
    }

    const bool solved = near(p.fBest, objective) && violation <= 1.5e-3;
    if (const auto e = method.exceptions.find(p.name); e != method.exceptions.end()) {
      ++excepted;
      EXPECT_FALSE(solved) << "no longer an exception: " << e->second.reason;
      EXPECT_EQ(e->second.status, status) << e->second.reason;
      EXPECT_TRUE(near(e->second.objective, objective)) << objective << ": " << e->second.reason;
      if (e->second.iterations > 0) {
        EXPECT_EQ(e->second.iterations, VRK_get_nIter());
        EXPECT_EQ(e->second.evaluations, VRK_get_nFunEval());
      }
    } else {
      EXPECT_TRUE(solved) << "f " << objective << " for " << p.fBest << ", violation " << violation;
      EXPECT_TRUE(method.endings.contains(status)) << status;
    }
  }
  EXPECT_EQ(method.exceptions.size(), excepted);
}

}  // namespace
