// Problems with answers known by hand; what is refused; what a result says.

#include <gtest/gtest.h>

#include <tarnix/routines.h>
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <tarnix/tarnix.hpp>
#include <vector>

using namespace tarnix;

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// ---- refusals ----------------------------------------------------------------------------------

struct Refusal {
  const char* message;  // part of the one message
  void (*spoil)(Problem&, Options&);
};

TEST(Validation, NamesWhatIsWrongBeforeAnythingRuns) {
  const Refusal refusals[] = {
      {"variable 'w' has a bound that is not a number",
       [](auto& p, auto&) { p.variable("w", 1, nan, 2); }},
      {"variable 'w' is fixed at infinity",
       [](auto& p, auto& o) { p.variable("w", 1, infinite, infinite), o.moveStartInside = true; }},
      {"variable 'w' has crossed bounds: lower 2, upper 1",
       [](auto& p, auto& o) { p.variable("w", 1, 2, 1), o.moveStartInside = true; }},
      {"variable 'w' has bounds that are too far apart",
       [](auto& p, auto&) { p.variable("w", 1, -1.5e308, 1.5e308); }},
      {"variable 'w' has a start that is not finite",
       [](auto& p, auto&) { p.variable("w", nan, 0, 1); }},
      {"variable 'w' starts at 3, outside its bounds 0 .. 1",
       [](auto& p, auto&) { p.variable("w", 3, 0, 1); }},
      {"101 free variables, at most 100",
       [](auto& p, auto&) {
         p.variables("v", std::vector<double>(100, 0.5), std::vector<double>(100, 0),
                     std::vector<double>(100, 1));
       }},
      {"the name 'x' is used twice", [](auto& p, auto&) { p.atMost("x", 1); }},
      {"a constraint has no name", [](auto& p, auto&) { p.atMost("", 1); }},
      {"constraint 'g' needs finite limits", [](auto& p, auto&) { p.atLeast("g", -infinite); }},
      {"constraint 'g' needs finite limits", [](auto& p, auto&) { p.between("g", 0, infinite); }},
      {"constraint 'g' has crossed limits: lower 2", [](auto& p, auto&) { p.between("g", 2, 1); }},
      {"constraint 'g' needs a finite positive scale", [](auto& p, auto&) { p.equal("g", 1, 0); }},
      {"option 'start' has 2 values, the problem has 1 variables",
       [](auto&, auto& o) {
         o.start = {0.5, 0.5};
       }},
      {"option 'tolerance' has to be", [](auto&, auto& o) { o.tolerance = 0; }},
      {"option 'differenceStep' has to be", [](auto&, auto& o) { o.differenceStep = nan; }},
      {"option 'accuracy' has to be", [](auto&, auto& o) { o.accuracy = 1; }},
      {"option 'effort' has to be", [](auto&, auto& o) { o.effort = infinite; }},
      {"option 'starts' has to be", [](auto&, auto& o) { o.starts = 0; }},
      {"option 'warm' has to be",
       [](auto&, auto& o) {
         o.warm = WarmStart{{1, 2}, {0}, {}, {0}};  // of two variables
       }},
      {"option 'warm' has to be",
       [](auto&, auto& o) {
         o.warm = WarmStart{{nan}, {0}, {}, {0}};
       }},
      {"option 'warm' has to be",
       [](auto&, auto& o) {
         o.warm = WarmStart{{1}, {}, {}, {0}};
       }},
      {"option 'warm' has to be",
       [](auto&, auto& o) {
         o.warm = WarmStart{{1}, {0}, {}, {}};
       }},
      {"option 'warm' has to be",
       [](auto&, auto& o) {
         o.warm = WarmStart{{1}, {0}, {1, 2}, {0}};  // derivatives of two functions
       }},
      {"option 'warm' has to be",
       [](auto&, auto& o) {
         o.warm = WarmStart{{1}, {0}, {}, {0}, -1};
       }},
      {"objective 'f' needs a finite positive scale, not -2",
       [](auto& p, auto&) { p.minimize("f", -2); }},
      {"option 'maxIterations' has to be", [](auto&, auto& o) { o.maxIterations = 0; }},
      {"option 'threads' has to be", [](auto&, auto& o) { o.threads = 0; }},
      {"option 'maxEvaluations' has to be", [](auto&, auto& o) { o.maxEvaluations = 0; }},
      {"option 'maxTime' has to be", [](auto&, auto& o) { o.maxTime = std::chrono::seconds(-1); }},
      {"option 'target' has to be", [](auto&, auto& o) { o.target = nan; }},
  };
  for (const Refusal& refusal : refusals) {
    SCOPED_TRACE(refusal.message);
    Problem p;
    Options options;
    p.variable("x", 0.5, 0, 1);
    p.minimize("f");
    refusal.spoil(p, options);
    int calls = 0;
    try {
      p.solve([&](const Point&, Values&) { ++calls; }, options);
      ADD_FAILURE() << "accepted";
    } catch (const InvalidProblem& e) {
      ASSERT_EQ(e.issues().size(), 1u) << e.what();
      EXPECT_NE(e.issues()[0].message.find(refusal.message), std::string::npos) << e.what();
    }
    EXPECT_EQ(calls, 0);
  }
}

TEST(Validation, AcceptsWhatIsJustAllowed) {
  Problem p;
  p.variable("at its lower bound", 0, 0, 1);
  p.variable("at its upper bound", 1, 0, 1);
  p.variable("fixed", 3, 3, 3);
  p.variables("v", std::vector<double>(98, 0.5), std::vector<double>(98, 0),
              std::vector<double>(98, 1));  // with the first two as many as there may be
  p.minimize("f", std::numeric_limits<double>::denorm_min());
  p.between("point", 2, 2);
  Options o;
  o.differenceStep = 0.5;
  o.accuracy = 0, o.effort = 0;
  o.maxIterations = o.threads = o.starts = 1;
  o.maxEvaluations = 1;
  o.maxTime = std::chrono::nanoseconds(1);
  WarmStart warm;
  warm.x.assign(101, 0), warm.values.assign(2, nan), warm.multipliers.assign(2, 0);
  warm.jacobian.assign(202, nan);
  o.warm = warm;
  for (const Issue& issue : p.check(o)) ADD_FAILURE() << issue.message;
}

TEST(Validation, ReportsAllIssuesAndDisagreeingSizesAndNullCallables) {
  Problem p;
  EXPECT_THROW(p.variables("v", {1, 2}, {0}, {3, 3}), InvalidProblem);
  p.variable("a", nan);
  p.variable("b", 1, 2, 0);
  const std::vector<Issue> issues = p.check();
  ASSERT_EQ(issues.size(), 4u);  // b starts outside as well; no objective
  EXPECT_EQ(issues[0].name, "a");
  EXPECT_EQ(issues[1].name, "b");
  Problem sound;
  sound.variable("x", 2, 0, 1);
  sound.minimize("f");
  Options options;
  options.moveStartInside = true;
  EXPECT_TRUE(sound.check(options).empty());
  EXPECT_THROW(sound.solve(Analysis(nullptr), options), InvalidProblem);
}

Problem withInequalities(std::int64_t count) {
  Problem p;
  p.variable("x", 0.5, 0, 1);
  p.variable("y", 0.5, 0, 1);
  p.minimize("f");
  for (std::int64_t i = 0; i < count; ++i) p.atMost("g" + std::to_string(i), 0.1);
  return p;
}

// Whether the core runs out of work storage, at its full size.
bool coreRefuses(Method method, std::int64_t inequalities) {
  double x[] = {0.5, 0.5};
  const double lower[] = {0, 0}, upper[] = {1, 1};
  std::vector<double> f(static_cast<std::size_t>(1 + inequalities));
  VRK_setDefaults();
  VRK_settings.dblStorageCapacity = VRK_DBL_STORAGE_LIMIT;
  VRK_settings.intStorageCapacity = VRK_INT_STORAGE_LIMIT;
  const auto solve = method == Method::sqp ? VRK_sqp : VRK_grg;
  std::int64_t count = inequalities;
  const std::int32_t status = solve(
      3, 2, x, lower, upper, 0, static_cast<std::int32_t>(inequalities),
      [](void* m2, double* at, double* objective, double*, double* values) {
        *objective = at[0] - 0.5 * at[1];
        std::fill_n(values, *static_cast<std::int64_t*>(m2), -at[0] - at[1]);
        values[0] = values[1] = 1 - at[0] - at[1];  // active, as many as a search holds
      },
      &count, f.data());
  const std::int32_t ofSqp = VRK_SQP_STORAGE, ofGrg = VRK_GRG_STORAGE;
  return status == (method == Method::sqp ? ofSqp : ofGrg);
}

TEST(Validation, StatesTheNumberOfConstraintsThatFit) {
  Options options;
  options.maxIterations = 2;
  for (const Method method : {Method::sqp, Method::grg}) {
    options.method = method;
    const std::vector<Issue> issues = withInequalities(60000).check(options);
    ASSERT_EQ(issues.size(), 1u);
    const std::string marker = "these equalities, ";
    const std::size_t at = issues[0].message.find(marker);
    ASSERT_NE(at, std::string::npos) << issues[0].message;
    const long count = std::stol(issues[0].message.substr(at + marker.size()));
    EXPECT_EQ(withInequalities(count + 1).check(options).size(), 1u);
    const Result r = withInequalities(count).solve(
        [](const Point& x, Values& v) {
          for (double& value : v) value = x[0] - 0.5 * x[1];
        },
        options);
    EXPECT_NE(r.reason, Reason::breakdown) << r.meaning;
    EXPECT_GT(r.iterations, 0);
    // The core holds what the layer accepts, and not one more.
    EXPECT_FALSE(coreRefuses(method, count));
    EXPECT_TRUE(coreRefuses(method, count + 1));
    // Where not even the equalities fit, their number is stated.
    Problem equalities = withInequalities(0);
    for (int i = 0; i < 60000; ++i) equalities.equal("h" + std::to_string(i), 0);
    const std::vector<Issue> tooMany = equalities.check(options);
    ASSERT_EQ(tooMany.size(), 1u);
    EXPECT_NE(tooMany[0].message.find(" equalities fit"), std::string::npos) << tooMany[0].message;
  }
}

// ---- callables ---------------------------------------------------------------------------------

void parabola(const Point& x, Values& v) {
  v[0] = (x[0] - 0.25) * (x[0] - 0.25);
}

TEST(Callables, OfAnyKindAreReferredTo) {
  Problem p;
  p.variable("x", 1, 0, 1);
  p.minimize("f");
  const std::vector<double> expected = p.solve(parabola).point.x;
  EXPECT_EQ(p.solve(&parabola).point.x, expected);
  const std::function<void(const Point&, Values&)> function = parabola, none;
  EXPECT_EQ(p.solve(function).point.x, expected);
  EXPECT_THROW(p.solve(none), InvalidProblem);
  const auto moveOnly = [own = std::make_unique<double>(0.25)](const Point& x, Values& v) {
    v[0] = (x[0] - *own) * (x[0] - *own);
  };
  EXPECT_EQ(p.solve(moveOnly).point.x, expected);
  struct Counting {
    int calls = 0;
    void operator()(const Point& x, Values& v) { ++calls, parabola(x, v); }
  } counting;
  EXPECT_EQ(p.solve(counting).evaluations, counting.calls);
}

// ---- values ------------------------------------------------------------------------------------

TEST(Values, CopiesOfAProblemAreIndependentAndResultsKeepTheirs) {
  Problem p;
  p.variable("x", 1, 0, 1);
  p.minimize("f");
  const Problem before = p;
  Problem moved = std::move(p);
  const Result r = before.solve(parabola);
  moved.atMost("g", 0.1);
  EXPECT_EQ(before.description().functions.size(), 1u);
  ASSERT_EQ(moved.description().functions.size(), 2u);
  EXPECT_EQ(moved.description().function("g"), 1u);
  p = moved;
  p.variable("y", 0, 0, 1);
  EXPECT_EQ(moved.description().variables.size(), 1u);
  EXPECT_EQ(r.description->functions.size(), 1u);
  Result copy;
  copy = r;
  EXPECT_EQ(copy.summary(), r.summary());
  Result last;
  last = std::move(copy);
  EXPECT_EQ(last["f"], r.objective());
}

TEST(Values, NamesAndPositionsThatDoNotExistAreNamed) {
  Problem p;
  p.variable("x", 1, 0, 1);
  p.minimize("f");
  p.atMost("g", 1);
  const struct {
    const char* message;
    std::function<void(const Point&, Values&)> wrong;
  } rows[] = {
      {"variable number 1 does not exist, there are 1",
       [](const Point& x, Values&) { (void)x[1]; }},
      {"no variable is called 'g'", [](const Point& x, Values&) { (void)x["g"]; }},
      {"function number 2 does not exist, there are 2", [](const Point&, Values& v) { v[2] = 0; }},
      {"no objective or constraint is called 'x'", [](const Point&, Values& v) { v["x"] = 0; }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.message);
    try {
      p.solve(row.wrong);
      ADD_FAILURE() << "accepted";
    } catch (const std::out_of_range& e) {
      EXPECT_STREQ(e.what(), row.message);
    }
  }
  const auto analysis = [](const Point& x, Values& v) { std::fill(v.begin(), v.end(), *x.data()); };
  const Result r = p.solve(analysis, [](const Point&, Gradients& g) { g(0, 0) = g("g", "x") = 1; });
  EXPECT_EQ(r["g"], r["x"]);
  EXPECT_THROW((void)r["h"], std::out_of_range);
}

// ---- shapes with answers by hand ---------------------------------------------------------------

TEST(Solve, MaximisesWithRangesAndFixedVariables) {
  // x y z with z = 3 and x + y in 1 .. L, L = 4: x = y = L/2, and the slope in L is z L/2 = 6.
  Problem p;
  const Variable x = p.variable("x", 1, 0, 5), z = p.variable("z", 3, 3, 3),
                 y = p.variable("y", 3, 0, 5);
  const Function volume = p.maximize("volume", 10), sum = p.between("sum", 1, 4);
  const auto analysis = [&](const Point& at, Values& v) {
    EXPECT_EQ(at[z], 3);
    v[volume] = at[x] * at["y"] * at[z];
    v["sum"] = at[x] + at[y];
  };
  for (const Method method : {Method::sqp, Method::grg, Method::automatic}) {
    Options options;
    options.method = method;
    options.differences = Differences::central;
    options.tolerance = 1e-7;
    const Result r = p.solve(analysis, options);
    ASSERT_TRUE(r.success) << r.summary();
    EXPECT_NEAR(r[x], 2, 1e-3);
    EXPECT_NEAR(r["y"], 2, 1e-3);
    EXPECT_EQ(r[z], 3);
    EXPECT_NEAR(r[volume], 12, 1e-5);
    EXPECT_NEAR(r[sum], 4, 1e-6);
    ASSERT_TRUE(r.best);
    ASSERT_TRUE(r.report);
    EXPECT_GE(r.best->values[0], 12 - 1e-5);
    ASSERT_EQ(r.report->active.size(), 1u);
    const ActiveLimit& limit = r.report->active[0];
    EXPECT_EQ(limit.name, "sum");
    EXPECT_EQ(limit.kind, ActiveLimit::Kind::upperLimit);
    EXPECT_NEAR(limit.multiplier, 6, 1e-2);
    EXPECT_NEAR(limit.perPercent, 6 * 0.04, 1e-3);
    EXPECT_NEAR(r.report->gradient[x.index], 6, 1e-2);
    EXPECT_NEAR(r.report->sensitivity[x.index], 6 * 0.05, 1e-3);
    EXPECT_EQ(r.report->gradient[z.index], 0);
    EXPECT_LT(r.report->optimality, 1e-2);
  }
}

TEST(Solve, MultipliersOfBoundsAndEqualities) {
  // (x - 3)^2 + (y + 1)^2 + u^2 + 4 v^2 with u + v = 5: x at its upper bound 2 (slope -2), y at its
  // lower bound 0 (slope 2), u = 4, v = 1 and the slope in the 5 is 2 u = 8. w >= 1 is inactive.
  Problem p;
  p.variables("x", {1, 1, 1, 1}, {0, 0, -10, -10}, {2, 5, 10, 10});
  p.minimize("f");
  p.equal("total", 5);
  p.atLeast("w", 1);
  const Result r = p.solve([](const Point& x, Values& v) {
    v[0] = std::pow(x[0] - 3, 2) + std::pow(x[1] + 1, 2) + x[2] * x[2] + 4 * x[3] * x[3];
    v[1] = x[2] + x[3];
    v[2] = x[2];
  });
  ASSERT_TRUE(r.success) << r.summary();
  EXPECT_EQ(r["x[0]"], 2);
  EXPECT_EQ(r["x[1]"], 0);
  EXPECT_NEAR(r["x[2]"], 4, 5e-3);
  ASSERT_TRUE(r.report);
  const struct {
    const char* name;
    ActiveLimit::Kind kind;
    double multiplier;
  } expected[] = {{"total", ActiveLimit::Kind::equality, 8},
                  {"x[0]", ActiveLimit::Kind::upperBound, -2},
                  {"x[1]", ActiveLimit::Kind::lowerBound, 2}};
  ASSERT_EQ(r.report->active.size(), std::size(expected));
  for (std::size_t k = 0; k < std::size(expected); ++k) {
    EXPECT_EQ(r.report->active[k].name, expected[k].name);
    EXPECT_EQ(r.report->active[k].kind, expected[k].kind);
    EXPECT_NEAR(r.report->active[k].multiplier, expected[k].multiplier, 2e-2);
  }
}

TEST(Solve, WhatIsAlmostAtItsLimitIsReported) {
  // (x - 0.5)^2 + y^2, y below a limit, at the minimum: listed within ten tolerances, 1e-5 each.
  for (const auto& [limit, listed] : {std::pair(5e-5, 1u), {2e-4, 0u}}) {
    Problem p;
    p.variable("x", 0.5, 0, 1);
    p.variable("y", 0, -1, 1);
    p.minimize("f");
    p.atMost("g", limit);
    p.atMost("constant", 0);  // at its limit, but without a slope nothing is gained there
    Options options;
    options.method = Method::sqp;
    const Result r = p.solve(
        [](const Point& x, Values& v) {
          v[0] = std::pow(x[0] - 0.5, 2) + x[1] * x[1];
          v[1] = x[1];
          v[2] = 0;
        },
        options);
    ASSERT_TRUE(r.report) << r.summary();
    EXPECT_NEAR(r["y"], 0, 1e-5);
    ASSERT_EQ(r.report->active.size(), listed);
    if (listed == 1) {
      EXPECT_NEAR(r.report->active[0].multiplier, 0, 1e-3);
    }
  }
}

TEST(Solve, AllVariablesFixed) {
  Problem p;
  p.variable("x", 2, 2, 2);
  p.minimize("f");
  p.atMost("g", 3);
  const auto analysis = [](const Point& x, Values& v) { v[0] = x[0], v[1] = 2 * x[0]; };
  const Result r = p.solve(analysis);
  EXPECT_FALSE(r.feasible);
  EXPECT_FALSE(r.success);
  EXPECT_EQ(r.evaluations, 1);
  EXPECT_EQ(r.point.violation, 1);
  EXPECT_NE(r.advice.find("'g' = 4, above 3"), std::string::npos) << r.advice;
}

// ---- the truth ---------------------------------------------------------------------------------

TEST(Truth, ContradictionIsNoSuccessAndNamesTheConstraint) {
  Problem p;
  p.variable("x", 0.5, 0, 1);
  p.minimize("f");
  p.atLeast("reach", 3, 2);
  for (const Method method : {Method::sqp, Method::grg, Method::automatic}) {
    Options options;
    options.method = method;
    const Result r = p.solve([](const Point& x, Values& v) { v[0] = x[0], v[1] = x[0]; }, options);
    EXPECT_FALSE(r.success);
    EXPECT_FALSE(r.feasible);
    EXPECT_FALSE(r.best);
    EXPECT_DOUBLE_EQ(r.point.violation, (3 - r["x"]) / 2);  // the scale is 2
    EXPECT_NE(r.advice.find("'reach' = "), std::string::npos) << r.advice;
    EXPECT_NE(r.advice.find(", below 3."), std::string::npos) << r.advice;
    if (method == Method::sqp) continue;  // it goes on with the objective alone
    EXPECT_EQ(r["x"], 1);
    EXPECT_GT(r.meaning.size(), 10u);
  }
}

TEST(Truth, ValuesThatAreNotFiniteAreNamedWithTheirFirstEvaluation) {
  Problem p;
  p.variable("x", 0.5, 0, 1);
  p.minimize("f");
  p.atMost("root", 5);
  p.atMost("never set", 5);
  for (const bool forgotten : {false, true}) {
    int calls = 0;
    const Result r = p.solve([&](const Point& x, Values& v) {
      ++calls;
      v[0] = -x[0];
      v[1] = calls >= 3 ? std::sqrt(-1 - x[0]) : x[0];
      if (!forgotten) v[2] = 0;
    });
    EXPECT_FALSE(r.success);
    const char* expected = forgotten ? "'never set' was not finite, or not set, in evaluation 1 "
                                     : "'root' was not finite, or not set, in evaluation 3 ";
    EXPECT_NE(r.advice.find(expected), std::string::npos) << r.advice;
    EXPECT_EQ(r.best.has_value(), !forgotten);
    EXPECT_EQ(r.evaluations, calls);
  }
}

}  // namespace
