// What a result says: the summary whole, what each ending advises, the texts of all statuses.

#include <gtest/gtest.h>

#include <tarnix/tarnix.h>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <tarnix/tarnix.hpp>

using namespace tarnix;

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

TEST(Words, SummaryShowsEveryKindOfLine) {
  Problem p;
  p.variable("inside", 1, 0, 2);
  p.variable("low", 1, 0, 2);
  p.variable("high", 1, 0, 2);
  p.variable("fixed", 3, 3, 3);
  p.variable("from 1 on", 2, 1, infinite);
  p.variable("up to 5", 2, -infinite, 5);
  p.variable("a free variable", 2, -infinite, infinite);
  p.maximize("profit");
  p.atMost("most", 10);
  p.atLeast("least", 1);
  p.between("range", -1, 1);
  p.equal("balance", 4);
  Result r;
  r.description = std::make_shared<Description>(p.description());
  r.success = r.feasible = true;
  r.method = Method::grg;
  r.meaning = "as it should be";
  r.advice = "Nothing to do.";
  r.evaluations = 57, r.iterations = 8;
  r.point = {{0.5, 0, 2, 3, 1, 4, -7}, {12.25, 10, 1.5, 0, 4}, 0, 57};
  r.searchLower = {0, 0, 0, 3, 1, -20, -30}, r.searchUpper = {2, 2, 2, 3, 40, 5, 30};
  Stage first, second;
  first.settings.method = Method::sqp;
  first.end.values = {11}, first.end.violation = 0.123, first.evaluations = 20;
  first.meaning = "stopped early";
  second.settings.method = Method::grg, second.settings.stage = 2;
  second.end.values = {12.25}, second.evaluations = 37, second.further = true;
  second.meaning = "as it should be";
  r.stages = {first, second};
  using Kind = ActiveLimit::Kind;
  r.report.emplace();
  r.report->active = {{"most", Kind::upperLimit, 10, 2, 0.25},
                      {"least", Kind::lowerLimit, 1, 0, 0},
                      {"balance", Kind::equality, 4, -3, -0.12}};
  r.minima.emplace();
  r.minima->starts = 9, r.minima->unsuccessful = 2, r.minima->unseen = 1.2;
  r.minima->found.resize(2);
  r.minima->found[0].point.values = {12.25}, r.minima->found[0].times = 1;
  r.minima->found[1].point.values = {9}, r.minima->found[1].times = 6;
  EXPECT_EQ(r.summary(), R"(success: finished; GRG: as it should be
Nothing to do.
57 evaluations, 8 iterations
  1 SQP            11            violation 0.12, 20 evaluations: stopped early
  2 GRG            12.25         violation 0, 37 evaluations: further start, as it should be
maximized
  profit           12.25
variables
  inside           0.5           in 0 .. 2
  low              0             in 0 .. 2, at its lower bound
  high             2             in 0 .. 2, at its upper bound
  fixed            3             fixed
  from 1 on        1             >= 1, searched in 1 .. 40, at its lower bound
  up to 5          4             <= 5, searched in -20 .. 5
  a free variable  -7            free, searched in -30 .. 30
constraints
  most             10            <= 10, 1 % more: profit +0.25
  least            1.5           >= 1
  range            0             in -1 .. 1
  balance          4             = 4, 1 % more: profit -0.12
minima of 9 starts
  12.25         1 time
  9             6 times
  2 without success
  expected to be unseen still: 1.2
)");
  r.success = false, r.stages.resize(1), r.minima.reset();
  EXPECT_EQ(r.summary().substr(0, 31), "feasible, no success: finished;");
  EXPECT_EQ(r.summary().find("violation"), std::string::npos);  // a single stage has no table
  r.feasible = false;
  EXPECT_EQ(r.summary().substr(0, 21), "no success: finished;");
}

TEST(Words, EveryStatusHasAReasonAndAMeaning) {
  const struct {
    Method method;
    std::int32_t status;
    Reason reason;
  } rows[] = {
      {Method::sqp, VRK_SQP_CONVERGED, Reason::finished},
      {Method::sqp, VRK_SQP_MERIT_NOT_CHANGING, Reason::finished},
      {Method::sqp, VRK_SQP_ITERATION_LIMIT, Reason::iterationLimit},
      {Method::sqp, VRK_SQP_STOPPED, Reason::stopped},
      {Method::sqp, VRK_SQP_STORAGE, Reason::breakdown},
      {Method::grg, VRK_GRG_CONVERGED, Reason::finished},
      {Method::grg, VRK_GRG_MINIMUM_STEP, Reason::finished},
      {Method::grg, VRK_GRG_OBJECTIVE_NOT_CHANGING, Reason::finished},
      {Method::grg, VRK_GRG_NO_FEASIBLE_POINT, Reason::noFeasiblePoint},
      {Method::grg, VRK_GRG_INFEASIBILITY_NOT_CHANGING, Reason::noFeasiblePoint},
      {Method::grg, VRK_GRG_ITERATION_LIMIT, Reason::iterationLimit},
      {Method::grg, VRK_GRG_STOPPED, Reason::stopped},
      {Method::grg, VRK_GRG_STORAGE, Reason::breakdown},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << name(row.method) << ' ' << row.status);
    EXPECT_EQ(reasonOf(row.method, row.status), row.reason);
    EXPECT_EQ(meaning(row.method, row.status).find("unknown"), std::string::npos);
  }
  EXPECT_EQ(to_string(Method::sqp, VRK_SQP_STOPPED), "a stop was requested");
  EXPECT_EQ(to_string(Method::sqp, 3), "unknown status 3");
}

template <class Enum>
std::string namesUpTo(Enum last) {
  std::string names;
  for (int k = 0; k <= static_cast<int>(last); ++k)
    names += (k == 0 ? "" : ", ") + to_string(static_cast<Enum>(k));
  return names;
}

TEST(Words, EnumsHaveTexts) {
  EXPECT_EQ(namesUpTo(Reason::unbounded),
            "finished, no feasible point, breakdown, iteration limit, evaluation limit, "
            "time limit, target reached, stopped, unbounded");
  EXPECT_EQ(namesUpTo(ActiveLimit::Kind::upperBound),
            "equality, lower limit, upper limit, lower bound, upper bound");
  EXPECT_EQ(to_string(Method::sqp) + to_string(Method::grg) + to_string(Method::automatic),
            "SQPGRGautomatic");
  EXPECT_EQ(to_string(Differences::forward) + to_string(Differences::central), "forwardcentral");
  EXPECT_EQ(to_string(Relation::atMost) + to_string(Relation::atLeast) +
                to_string(Relation::between) + to_string(Relation::equal),
            "at mostat leastbetweenequal");
}

// One variable in [0, 1]; the second value is a constraint of at most 0.
struct Ending {
  const char* name;
  Method method;
  Reason reason;
  const char* advice;      // part of it
  const char* notAdvised;  // nowhere in it, where given
  void (*evaluate)(double x, Values& v);
};

TEST(Words, AdviceFollowsFromTheEnding) {
  const Ending endings[] = {
      {"the constraint cannot be met", Method::grg, Reason::noFeasiblePoint,
       "the constraints may contradict each other", "scale the objective",
       [](double x, Values& v) { v[0] = x, v[1] = 1 + x; }},
      {"the objective is large", Method::grg, Reason::noFeasiblePoint,
       "scale the objective: give 5e+06 as its typical magnitude", nullptr,
       [](double, Values& v) { v[0] = 5e6, v[1] = 1; }},
      {"the objective is small", Method::grg, Reason::noFeasiblePoint,
       "scale the objective: give 3e-06 as", nullptr,
       [](double, Values& v) { v[0] = 3e-6, v[1] = 1; }},
      {"of the order of 1", Method::grg, Reason::noFeasiblePoint,
       "To try: the SQP method, or the automatic one; central differences; scales that bring",
       "scale the objective", [](double, Values& v) { v[0] = 0.5, v[1] = 1; }},
      {"the method breaks down", Method::grg, Reason::breakdown,
       "The method broke down: ", "iterations was reached",
       [](double x, Values& v) { v[0] = x > 0.6 ? std::sqrt(-x) : x, v[1] = -1; }},
  };
  for (const Ending& ending : endings) {
    SCOPED_TRACE(ending.name);
    Problem p;
    p.variable("x", 0.75, 0, 1);
    p.minimize("f");
    p.atMost("g", 0);
    Options options;
    options.method = ending.method;
    const Result r = p.solve([&](const Point& x, Values& v) { ending.evaluate(x[0], v); }, options);
    EXPECT_FALSE(r.success);
    EXPECT_EQ(r.reason, ending.reason) << r.summary();
    EXPECT_NE(r.advice.find(ending.advice), std::string::npos) << r.advice;
    if (ending.notAdvised != nullptr) {
      EXPECT_EQ(r.advice.find(ending.notAdvised), std::string::npos) << r.advice;
    }
  }
}

TEST(Words, TheWorstConstraintIsThatOfTheLargestViolationRelativeToScale) {
  Problem p;
  p.variable("x", 1, 1, 1);
  p.minimize("f");
  p.atMost("small scale", 0, 0.1);  // 3 by 0.1, more than 20 by 1
  p.equal("balance", 20);
  p.atLeast("least", 5);
  double excess = 3;
  const auto analysis = [&](const Point&, Values& v) {
    v[0] = 0, v[1] = excess, v[2] = 0, v[3] = 1;
  };
  const auto advised = [&](const char* text) {
    const std::string advice = p.solve(analysis).advice;
    EXPECT_NE(advice.find(text), std::string::npos) << advice;
  };
  advised("violated most is 'small scale' = 3, above 0.");
  excess = 1;
  advised("violated most is 'balance' = 0 instead of 20.");
}

}  // namespace
