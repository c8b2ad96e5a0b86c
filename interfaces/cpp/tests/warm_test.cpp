// The first step of a warm start, by hand: to where the limits are now.

#include <gtest/gtest.h>

#include <tarnix/cpp/detail/session.hpp>
#include <tarnix/cpp/detail/translation.hpp>
#include <tarnix/cpp/detail/warm_step.hpp>
#include <tarnix/tarnix.hpp>
#include <vector>

using namespace tarnix;

namespace {

// The old end is (1, 1) with x + y = 2 there; the derivatives by x and y are 1.
struct Row {
  const char* name;
  void (*limit)(Problem&);
  double multiplier;  // change of the objective per unit of the limit
  std::vector<double> end;
  bool maximized = false;
  double right = 2;  // upper bound of x, whose lower one is -2 as y's is
};

TEST(Warm, FirstStepFollowsTheLimits) {
  const Row rows[] = {
      {"an active limit rises", [](auto& p) { p.atMost("g", 3); }, -1, {1.5, 1.5}},
      {"the same, maximized", [](auto& p) { p.atMost("g", 3); }, 1, {1.5, 1.5}, true},
      {"one without a price rises", [](auto& p) { p.atMost("g", 3); }, 0, {1, 1}},
      {"with the price of a lower one", [](auto& p) { p.atMost("g", 3); }, 1, {1, 1}},
      {"a limit falls", [](auto& p) { p.atMost("g", 1); }, 0, {0.5, 0.5}},
      {"an active lower limit falls", [](auto& p) { p.atLeast("g", 1); }, 1, {0.5, 0.5}},
      {"a lower limit rises", [](auto& p) { p.atLeast("g", 3); }, 0, {1.5, 1.5}},
      {"the active side of a range", [](auto& p) { p.between("g", -9, 3); }, -1, {1.5, 1.5}},
      {"the other side of a range", [](auto& p) { p.between("g", -1, 9); }, 1, {-0.5, -0.5}},
      {"an equality", [](auto& p) { p.equal("g", 3); }, 0, {1.5, 1.5}},
      {"scales do not matter", [](auto& p) { p.equal("g", 3, 100); }, 0, {1.5, 1.5}},
      {"a bound is in the way", [](auto& p) { p.equal("g", 3); }, 0, {1.25, 1.75}, false, 1.25},
      {"a bound has moved over the end",
       [](auto& p) { p.equal("g", 2); },
       0,
       {0.5, 1.5},
       false,
       0.5},
      // Steps are measured in half ranges, 4 and 2: 16 parts to 4.
      {"a wide range moves more", [](auto& p) { p.equal("g", 3); }, 0, {1.8, 1.2}, false, 6},
      {"limits that contradict each other",
       [](auto& p) {
         p.equal("g", 3);
         p.atMost("h", 2);
       },
       0,
       {1, 1}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Problem p;
    p.variable("x", 0, -2, row.right);
    p.variable("fixed", 5, 5, 5);
    p.variable("y", 0, -2, 2);
    if (row.maximized)
      p.maximize("f");
    else
      p.minimize("f");
    row.limit(p);
    const detail::CoreProblem core(p.description());
    const detail::Session session;
    WarmStart warm{{1, 5, 1}, {7, 2}, {0, 0, 0, 1, 0, 1}, {0, row.multiplier}};
    if (p.description().functions.size() == 3) {
      warm.values.push_back(2);
      warm.jacobian.insert(warm.jacobian.end(), {1, 0, 1});
      warm.multipliers.push_back(0);
    }
    const std::vector<double> end = detail::warmStep(core, session, warm);
    ASSERT_EQ(end.size(), 2u);
    EXPECT_NEAR(end[0], row.end[0], 1e-9);
    EXPECT_NEAR(end[1], row.end[1], 1e-9);
    warm.jacobian.clear();  // not known: the old end, within the bounds
    EXPECT_EQ(detail::warmStep(core, session, warm), (std::vector{std::min(1.0, row.right), 1.0}));
  }
}

}  // namespace
