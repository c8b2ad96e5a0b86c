// Charts are read back: what is drawn has to lie where the ticks say, the ticks outside of it, and
// everything within the picture.
#include "output/chart.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <regex>

#include "output/sweep_chart.h"
#include "support.h"
#include "svg_reader.h"

namespace tarnix::cli {
namespace {

// Position as a linear function of the value, by two pairs that lie apart.
struct Scale {
  double a = NAN, b = NAN;
  Scale(double v0, double p0, double v1, double p1) : a((p1 - p0) / (v1 - v0)), b(p0 - a * v0) {}
  double operator()(double v) const { return a * v + b; }
};

// Ticks in rising steps that cover the range, each at its value.
void expectTicks(const std::vector<Element>& ticks, const std::string& coordinate,
                 const Scale& scale, double low, double high) {
  ASSERT_GE(ticks.size(), 2u);
  EXPECT_LE(ticks.size(), 12u);
  const auto valueOf = [&](std::size_t k) { return std::atof(ticks[k].text.c_str()); };
  const double step = valueOf(1) - valueOf(0);
  EXPECT_GT(step, 0);
  const double mantissa = step / std::pow(10.0, std::floor(std::log10(step * 1.0001)));
  EXPECT_TRUE(std::abs(mantissa - 1) < 1e-6 || std::abs(mantissa - 2) < 1e-6 ||
              std::abs(mantissa - 5) < 1e-6)
      << "steps of " << step;
  for (std::size_t k = 0; k < ticks.size(); ++k) {
    EXPECT_NEAR(valueOf(k), valueOf(0) + static_cast<double>(k) * step, 1e-6 * step);
    EXPECT_NEAR(ticks[k].number(coordinate), scale(valueOf(k)), 0.3) << ticks[k].text;
  }
  EXPECT_LT(valueOf(0), low + step);
  EXPECT_GT(valueOf(ticks.size() - 1), high - step);
}

void expectWithin(const std::vector<Element>& all, double width, double height) {
  for (const Element& e : only(all, "text", " x=")) {
    EXPECT_GE(e.number("x"), 0) << e.text;
    EXPECT_LE(e.number("x"), width) << e.text;
    EXPECT_GE(e.number("y"), 8) << e.text;
    EXPECT_LE(e.number("y"), height) << e.text;
  }
}

TEST(Chart, DrawsWhatTheTicksSay) {
  Chart chart;
  chart.title = "a < b", chart.xLabel = "across", chart.yLabel = "up";
  chart.xMax = 41, chart.yMin = -3, chart.yMax = 8, chart.levels = {2.5};
  chart.marks = {{1, "first"}, {1.1, "too near"}, {21, "second"}};
  chart.series = {{{1, 11, 21, 31, 41}, {-3, 0, NAN, 8, 4}, "line", "value"}};
  const std::string svg = chart.svg();
  const std::vector<Element> all = elements(svg);
  expectWithin(all, 720, 220);
  EXPECT_NE(svg.find("aria-label=\"a &lt; b\""), std::string::npos);
  const auto at = points(svg, "line");
  ASSERT_EQ(at.size(), 4u);
  const Scale across(1, at[0].first, 41, at[3].first), up(-3, at[0].second, 8, at[2].second);
  EXPECT_NEAR(at[1].first, across(11), 0.11);
  EXPECT_NEAR(at[1].second, up(0), 0.11);
  EXPECT_NEAR(at[3].second, up(4), 0.11);
  std::vector<Element> below;
  for (const Element& e : only(all, "text", "\"middle\" x="))
    if (e.text != "across") below.push_back(e);
  expectTicks(below, "x", across, 1, 41);
  const Scale baseline(-3, at[0].second + 4, 8,
                       at[2].second + 4);  // a text's is 4 below its middle
  const std::vector<Element> beside = only(all, "text", "\"end\"");
  expectTicks(beside, "y", baseline, -3, 8);
  for (const Element& e : below) EXPECT_GT(e.number("y"), up(-3) + 10);
  for (const Element& e : beside) EXPECT_LT(e.number("x"), across(1));
  std::smatch level;
  ASSERT_TRUE(std::regex_search(svg, level, std::regex("\"level\" d=\"M76 ([0-9.]+)H708")));
  EXPECT_NEAR(std::stod(level[1]), up(2.5), 0.11);
  const std::vector<Element> marks = only(all, "path", "iteration");
  ASSERT_EQ(marks.size(), 2u);
  EXPECT_EQ(marks[1].text, "second");
  const std::vector<Element> hovers = only(all, "circle", "hover");
  ASSERT_EQ(hovers.size(), 4u);
  EXPECT_EQ(hovers[2].text, "31: value 8");
  EXPECT_NEAR(hovers[2].number("cy"), up(8), 0.11);
}

TEST(Chart, LogarithmsAndConstants) {
  Chart chart;
  chart.logarithmic = true, chart.xMax = 3, chart.yMin = 1e-4, chart.yMax = 100;
  chart.series = {{{1, 2, 3}, {100, 0.1, 0}, "dots"}};  // 0 is drawn at the lowest value
  std::string svg = chart.svg();
  auto at = points(svg, "dots");
  ASSERT_EQ(at.size(), 3u);
  const Scale up(2, at[0].second, -1, at[1].second);
  EXPECT_NEAR(at[2].second, up(-4), 0.2);
  std::vector<std::string> heads;
  for (const Element& e : only(elements(svg), "text", "\"end\"")) {
    heads.push_back(e.text);
    EXPECT_NEAR(e.number("y") - 4, up(std::log10(std::stod(e.text))), 0.2);
  }
  EXPECT_EQ(heads, (std::vector<std::string>{"0.0001", "0.001", "0.01", "0.1", "1", "10", "100"}));
  for (const double same : {0.0, -5.0, 1e-30}) {
    SCOPED_TRACE(same);
    Chart flat;
    flat.yMin = flat.yMax = same;
    flat.series = {{{1, 2}, {same, same}, "line"}};
    svg = flat.svg();
    at = points(svg, "line");
    ASSERT_EQ(at.size(), 2u);
    EXPECT_NEAR(at[0].second, 24 + (220 - 24 - 38) / 2.0, 0.1);  // in the middle
    EXPECT_EQ(svg.find("nan"), std::string::npos);
  }
}

TEST(Chart, ThinnedSeriesKeepTheirExtremes) {
  Chart chart;
  Series series{{}, {}, "line"};
  for (int i = 0; i < 10000; ++i) series.x.push_back(i + 1), series.y.push_back(0.5);
  series.y[4321] = 1, series.y[4323] = 0, series.y[0] = NAN;
  chart.xMax = 10000, chart.series = {series};
  const auto at = points(chart.svg(), "line");
  EXPECT_LT(at.size(), 2200u);
  EXPECT_GT(at.size(), 600u);
  double low = 0, high = 1e9, lowX = 0, highX = 0;
  for (const auto& [x, y] : at) {
    if (y > low) low = y, lowX = x;
    if (y < high) high = y, highX = x;
  }
  const Scale across(2, at.front().first, 10000, at.back().first);
  EXPECT_NEAR(highX, across(4322), 1);
  EXPECT_NEAR(lowX, across(4324), 1);
  EXPECT_NEAR((low + high) / 2, at.back().second, 0.11);
}

const char* const plain = R"([variables]
x = { start = 3, lower = 0, upper = 10, unit = "mm" }
y = { value = 1 }
[objective]
minimize = "x"
name = "cost"
unit = "kg"
[constraints]
c = { value = "x", min = 4, unit = "kN" }
)";

SweepPoint pointAt(std::vector<double> at, double value, bool success = true) {
  SweepPoint point{std::move(at), Outcome{}};
  point.outcome->success = success, point.outcome->feasible = std::isfinite(value);
  if (std::isfinite(value))
    point.outcome->objective = ObjectiveOutcome{"cost", "minimize", value, {}};
  point.outcome->variables.resize(2);
  point.outcome->variables[0].name = "x", point.outcome->variables[0].value = 10 - value;
  point.outcome->variables[1].name = "y", point.outcome->variables[1].value = 1;
  return point;
}

TEST(SweepChart, ACurveLiesWhereItsTicksSay) {
  const Scratch scratch;
  Issues issues("");
  const ProblemFile problem = problemOf(scratch, plain, issues);
  const Axis axis{"c.min", {1, 2, 3, 4, 5, 6}};
  const std::vector<SweepPoint> points = {pointAt({1}, 2),          pointAt({2}, 2.5),
                                          pointAt({3}, NAN, false), pointAt({4}, 5.5, false),
                                          SweepPoint{{5}, {}},      pointAt({6}, 9)};
  const std::string svg = sweepChart(problem, {axis}, points);
  std::smatch size;
  ASSERT_TRUE(std::regex_search(svg, size, std::regex("viewBox=\"0 0 ([0-9.]+) ([0-9.]+)\"")));
  expectWithin(elements(svg), std::stod(size[1]), std::stod(size[2]));
  // A panel for the objective, one for the variable that is free.
  std::vector<std::size_t> panels;
  const std::string head = "<text class=\"name\" text-anchor=\"start\"";
  for (std::size_t i = svg.find(head); i != svg.npos; i = svg.find(head, i + 1))
    panels.push_back(i);
  ASSERT_EQ(panels.size(), 2u);
  panels.push_back(svg.size());
  for (std::size_t k = 0; k < 2; ++k) {
    SCOPED_TRACE(k);
    const auto all = elements(svg.substr(panels[k], panels[k + 1] - panels[k]));
    EXPECT_EQ(all[0].text, k == 0 ? "cost [kg]" : "x [mm]");
    const auto circles = only(all, "circle", ""), crosses = only(all, "path", "cross");
    ASSERT_EQ(circles.size(), 3u);
    ASSERT_EQ(crosses.size(), 3u);
    EXPECT_EQ(circles[1].text, k == 0 ? "2: 2.5" : "2: 7.5");
    EXPECT_EQ(crosses[0].text, "3: no design, not solved");
    EXPECT_EQ(crosses[1].text, k == 0 ? "4: 5.5, not solved" : "4: 4.5, not solved");
    const double first = k == 0 ? 2 : 8, last = k == 0 ? 9 : 1;
    const Scale across(1, circles[0].number("cx"), 6, circles[2].number("cx"));
    const Scale up(first, circles[0].number("cy"), last, circles[2].number("cy"));
    const Scale baseline(first, up(first) + 4, last, up(last) + 4);
    EXPECT_LT(up(9), up(1));
    EXPECT_NEAR(circles[1].number("cx"), across(2), 0.11);
    const auto below = only(all, "text", "\"tick\" text-anchor=\"middle\"");
    const auto beside = only(all, "text", "\"tick\" text-anchor=\"end\"");
    expectTicks(below, "x", across, 1, 6);
    expectTicks(beside, "y", baseline, 1, 9);
    for (const Element& e : below) EXPECT_GT(e.number("y"), up(std::min(first, last)) + 10);
    for (const Element& e : beside) EXPECT_LT(e.number("x"), across(1));
    EXPECT_LT(all[0].number("y"), up(std::max(first, last)));
  }
  EXPECT_NE(svg.find(">c.min [kN]<"), std::string::npos);
  // The line leaves a gap where there is no design, or none that solves.
  EXPECT_TRUE(
      std::regex_search(svg, std::regex("class=\"curve\" d=\"M[-0-9. ]+L[-0-9. ]+M[-0-9. ]+\"")));
}

TEST(SweepChart, AMapHasItsLabelsBesideIt) {
  const Scratch scratch;
  Issues issues("");
  const ProblemFile problem = problemOf(scratch, plain, issues);
  const std::vector<Axis> axes{{"c.min", {1, 2}}, {"x.upper", {10, 20, 30}}};
  const std::vector<SweepPoint> points = {pointAt({1, 10}, 1),        pointAt({1, 20}, 2),
                                          pointAt({1, 30}, NAN),      pointAt({2, 10}, 3),
                                          pointAt({2, 20}, 4, false), pointAt({2, 30}, 5)};
  const std::string svg = sweepChart(problem, axes, points);
  const auto all = elements(svg), rects = only(all, "rect", "");
  ASSERT_EQ(rects.size(), 6u);
  EXPECT_EQ(rects[0].text, "1, 10: 1");
  EXPECT_EQ(rects[2].text, "1, 30: none");
  EXPECT_EQ(rects[4].text, "2, 20: 4 ?");
  EXPECT_TRUE(rects[0].has("fill:#e8f1fa"));
  EXPECT_TRUE(rects[3].has("fill:#7ca0c3"));  // half way
  EXPECT_TRUE(rects[5].has("fill:#104e8b"));
  EXPECT_NE(svg.find("cost [kg], from 1 (light) to 5 (dark)"), std::string::npos);
  const auto middle = [&](std::size_t k, const char* at, const char* size) {
    return rects[k].number(at) + rects[k].number(size) / 2;
  };
  const auto cells = only(all, "text", "\"cell\"");
  ASSERT_EQ(cells.size(), 6u);
  EXPECT_TRUE(cells[5].has("fill:#fff"));
  EXPECT_TRUE(cells[0].has("fill:#1c2530"));
  for (std::size_t k = 0; k < 6; ++k) {
    EXPECT_NEAR(cells[k].number("x"), middle(k, "x", "width"), 1);
    EXPECT_NEAR(cells[k].number("y") - 4, middle(k, "y", "height"), 1);
  }
  const auto rows = only(all, "text", "text-anchor=\"end\"");
  const auto columns = only(all, "text", "\"tick\" text-anchor=\"middle\"");
  ASSERT_EQ(rows.size(), 2u);
  ASSERT_EQ(columns.size(), 3u);
  for (std::size_t r = 0; r < 2; ++r) {  // upwards
    EXPECT_EQ(rows[r].text, r == 0 ? "2" : "1");
    EXPECT_NEAR(rows[r].number("y") - 4, middle(r == 0 ? 3 : 0, "y", "height"), 1);
    EXPECT_LT(rows[r].number("x"), rects[0].number("x"));
  }
  const double foot = rects[0].number("y") + rects[0].number("height");
  for (std::size_t c = 0; c < 3; ++c) {
    EXPECT_EQ(columns[c].text, std::to_string(10 * (c + 1)));
    EXPECT_NEAR(columns[c].number("x"), middle(c, "x", "width"), 1);
    EXPECT_GT(columns[c].number("y"), foot + 10);
  }
  std::smatch size;
  ASSERT_TRUE(std::regex_search(svg, size, std::regex("viewBox=\"0 0 ([0-9.]+) ([0-9.]+)\"")));
  expectWithin(all, std::stod(size[1]), std::stod(size[2]));
}

}  // namespace
}  // namespace tarnix::cli
