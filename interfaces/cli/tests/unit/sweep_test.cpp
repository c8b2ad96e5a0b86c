#include "run/sweep.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "support.h"

namespace tarnix::cli {
namespace {

TEST(Sweep, Axes) {
  struct Case {
    const char* over;
    const char* name;
    std::vector<double> values;
  };
  const Case cases[] = {
      {"a.max=1,2.5,-3e2", "a.max", {1, 2.5, -300}},
      {"a.max=1:4:4", "a.max", {1, 2, 3, 4}},
      {"x=4:1:4", "x", {4, 3, 2, 1}},
      {"x = 1, 2 ,3", "x", {1, 2, 3}},
      {"a.max=7:9:1", "a.max", {7}},
      {"a.max=0.1:0.3:3", "a.max", {0.1, 0.1 + 0.5 * (0.3 - 0.1), 0.3}},  // the end to the last bit
      {"b.min=1:100:3:log", "b.min", {1, 10, 100}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.over);
    const Axis axis = axisOf(c.over);
    EXPECT_EQ(axis.name, c.name);
    EXPECT_EQ(axis.values, c.values);
  }
  for (const char* wrong : {"a.max", "=1,2", "a=", "a=1,x", "a=1:2", "a=1:2:0", "a=1:2:2.5",
                            "a=1:2:3:ln", "a=0:2:3:log", "a=1:2:99999", "a=1:nan:3", "a=1 2"})
    EXPECT_THROW(axisOf(wrong), Failure) << wrong;
}

const char* const circle = R"([variables]
x = { start = 3, lower = 0, upper = 10 }
y = { start = 1, lower = 0, upper = 10 }
[quantities]
p = 1
[objective]
minimize = "x + p * y"
[constraints]
c = { value = "x * y", min = 4 }
)";

// x + p y with x y = c is least at x = sqrt(c p), where it is 2 sqrt(c p).
TEST(Sweep, EveryPointOfAMapHasItsOptimum) {
  const Scratch scratch;
  const std::filesystem::path file = scratch.write("p.toml", circle), output;
  const std::vector<Axis> axes{axisOf("c.min=1:16:4"), axisOf("p=0.5,1,2")};
  std::vector<SweepResult> results;
  for (const int jobs : {1, 4}) {
    std::vector<std::vector<double>> order;
    const StudyOptions options{jobs, false, false, ProgressStyle::none};
    results.push_back(sweep(file, output, {}, axes, options,
                            [&](const SweepPoint& point) { order.push_back(point.at); }));
    ASSERT_EQ(order.size(), 12u);
    EXPECT_EQ(order[0], (std::vector<double>{6, 1}));  // the middle
    // A point is told after the neighbor towards the middle, whose end it starts from.
    std::map<std::vector<double>, std::size_t> when;
    for (std::size_t k = 0; k < order.size(); ++k) when[order[k]] = k;
    const std::pair<double, double> along[] = {{6, 1}, {6, 11}, {11, 16}};
    for (const auto& [near, far] : along) EXPECT_LT((when[{near, 1}]), (when[{far, 1}]));
    for (const double c : axes[0].values)
      for (const double p : {0.5, 2.0}) EXPECT_LT((when[{c, 1}]), (when[{c, p}]));
  }
  for (std::size_t k = 0; k < 12; ++k) {
    const SweepPoint& point = results[0].points[k];
    EXPECT_EQ(point.at, (std::vector<double>{axes[0].values[k / 3], axes[1].values[k % 3]}));
    ASSERT_TRUE(point.outcome);
    ASSERT_TRUE(point.outcome->objective);
    EXPECT_TRUE(point.outcome->success) << point.outcome->reason;
    const double best = 2 * std::sqrt(point.at[0] * point.at[1]);
    EXPECT_NEAR(point.outcome->objective->value, best, 1e-3 * best);
    // The same bits for any number of jobs.
    EXPECT_EQ(point.outcome->objective->value, results[1].points[k].outcome->objective->value);
  }
}

TEST(Sweep, APointWithoutADesignSpoilsNoOther) {
  const Scratch scratch;
  const std::filesystem::path file = scratch.write("p.toml", circle), output;
  // In the middle the limit cannot hold; the points on both sides start from the file's design.
  const SweepResult result =
      sweep(file, output, {}, {axisOf("c.min=4,400,9")}, {1, false, false, ProgressStyle::none},
            [](const SweepPoint&) {});
  ASSERT_EQ(result.points.size(), 3u);
  EXPECT_NEAR(result.points[0].outcome->objective->value, 4, 1e-3);
  EXPECT_FALSE(result.points[1].outcome->feasible);
  EXPECT_FALSE(result.points[1].outcome->success);
  EXPECT_NEAR(result.points[2].outcome->objective->value, 6, 1e-3);
}

}  // namespace
}  // namespace tarnix::cli
