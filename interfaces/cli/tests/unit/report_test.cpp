#include <gtest/gtest.h>

#include <sstream>

#include "output/outcome.h"
#include "output/report_page.h"
#include "support.h"
#include "svg_reader.h"

namespace tarnix::cli {
namespace {

const char* const frame = R"([variables]
x = { start = 2, lower = 0, upper = 4, unit = "mm" }
y = { start = 7, lower = 0, upper = 8 }
[command]
run = ["echo", "{{x}}", "{{y}}"]
[results]
f = { key = "f" }
g = { key = "g" }
[objective]
minimize = "f"
name = "cost"
unit = "kg"
[constraints]
c = { value = "g", max = 4, unit = "N" }
[options]
tolerance = 1e-4
)";

// Five designs: infeasible by three quarters of the limit, the best, two failures, one worse.
ReportedSolve solveOf(const Scratch& scratch) {
  const auto file = scratch.write("p.toml", frame);
  auto setup = std::make_unique<Setup>(file, Overrides{}, false);
  History written(scratch.path() / "p.history.jsonl");
  written.create(setup->problem);
  written.noteBeginning({"1.2", "today", "here", "tarnix solve p.toml", {"x=2"}});
  for (long run = 1; run <= 6; ++run) written.noteStart(run);  // the last does not end
  written.append({1, {2, 7}, {2, 7}, {2, 7}, "", 1.5});
  written.noteIteration("SQP", 1);
  written.append({2, {1, 4}, {1, 4}, {1, 4}, "", 1.5});
  written.append({3, {1, 3}, {}, {}, "run 000003: status <7>; see p.runs/000003", 1});
  written.append({4, {1, 2}, {}, {}, "run 000004: status <7>\nand more", 1});
  written.append({5, {1.5, 2}, {1.5, 2}, {1.5, 2}, "", 1.5});
  History history(written.path());
  history.read(setup->problem);
  return {std::move(setup), std::move(history)};
}

std::string pageOf(int solves) {
  const Scratch scratch;
  std::vector<ReportedSolve> all;
  for (int k = 0; k < solves; ++k) {
    std::filesystem::remove(scratch.path() / "p.history.jsonl");
    all.push_back(solveOf(scratch));
  }
  std::ostringstream page;
  writeReport(all, page);
  return page.str();
}

TEST(Report, SaysWhatTheHistoryHolds) {
  const std::string page = pageOf(1);
  const auto row = [](const std::string& name, const std::string& numbers,
                      const std::string& last) {
    std::string text = "<tr><td>" + name + "</td>", number;
    for (std::istringstream cells(numbers); std::getline(cells, number, ',');)
      text += "<td class=\"number\">" + number + "</td>";
    return text + "<td>" + last + "</td></tr>\n";
  };
  for (const std::string& shown : {
           std::string("<title>p.toml</title>"),
           std::string("<b>Within every limit, but not solved to the end</b>: the solve has not"),
           std::string("2 designs could not be evaluated: status &lt;7&gt;</p>"),
           std::string("5 evaluations in the history of p.toml"),
           row("cost [kg]", "2,1,-50 %", "minimize"),
           row("x [mm]", "2,1,-50 %", "in 0 .. 4"),
           row("y", "7,4,-42.9 %", "in 0 .. 8"),
           row("c [N]", "7,4,-42.9 %", "&lt;= 4"),
           "<h2>Active limits</h2>\n<table>" + row("c", "4 N", "&lt;= 4") + "</table>",
           std::string("<pre>today  here  tarnix 1.2\n  tarnix solve p.toml\n</pre>"),
           std::string("<pre>x=2\n</pre>"),
           std::string("tolerance 0.0001, forward differences, step by the noise of the values"),
           std::string(
               "<pre>5 designs, 5 runs of 6.5 s altogether\n2 failed: status &lt;7&gt;</pre>"),
       })
    EXPECT_NE(page.find(shown), page.npos) << shown;
  EXPECT_EQ(page.find("Comparison"), page.npos);
}

TEST(Report, ChartsHoldEveryDesign) {
  const std::string page = pageOf(1);
  std::vector<std::string> charts;
  for (std::size_t at = page.find("<svg"); at != page.npos; at = page.find("<svg", at + 1))
    charts.push_back(page.substr(at, page.find("</svg>", at) - at));
  ASSERT_EQ(charts.size(), 5u);  // cost, violation, one constraint, two variables
  const auto places = [](const std::string& chart, const std::string& style, double coordinate) {
    std::vector<std::pair<double, double>> all = points(chart, style);
    EXPECT_FALSE(all.empty()) << style;
    for (auto& [x, y] : all) y = std::abs(y - coordinate) < 0.2;
    return all;
  };
  const auto designs = points(charts[0], "dots"), best = points(charts[0], "line");
  ASSERT_EQ(designs.size(), 3u);  // 2, 1, and 1.5 last
  ASSERT_EQ(best.size(), 4u);     // from the second on
  for (const auto& [x, y] : best) EXPECT_EQ(y, designs[1].second);
  EXPECT_NEAR(designs[2].second, (designs[0].second + designs[1].second) / 2, 0.2);
  const double each = (designs[2].first - designs[0].first) / 4;
  EXPECT_NEAR(best[0].first, designs[0].first + each, 0.2);
  const auto failures = places(charts[0], "marks", designs[1].second);  // at the foot
  ASSERT_EQ(failures.size(), 2u);
  for (int k = 0; k < 2; ++k) {
    EXPECT_NEAR(failures[k].first, designs[0].first + (k + 2) * each, 0.2);
    EXPECT_TRUE(failures[k].second);
  }
  const auto iterations = only(elements(charts[0]), "path", "iteration");
  ASSERT_EQ(iterations.size(), 1u);
  EXPECT_EQ(iterations[0].text, "SQP 1");
  // Violations from a hundredth of the tolerance to the largest; what fails is at the top.
  std::vector<std::string> powers;
  for (const Element& e : only(elements(charts[1]), "text", "\"end\"")) powers.push_back(e.text);
  EXPECT_EQ(powers,
            (std::vector<std::string>{"1e-06", "1e-05", "0.0001", "0.001", "0.01", "0.1", "1"}));
  const auto violations = points(charts[1], "dots");
  ASSERT_EQ(violations.size(), 3u);
  EXPECT_EQ(violations[1].second, violations[2].second);
  for (const auto& [x, top] : places(charts[1], "marks", violations[0].second)) EXPECT_TRUE(top);
  EXPECT_EQ(points(charts[2], "line").size(), 3u);  // the constraint where it was measured
  EXPECT_EQ(points(charts[3], "line").size(), 5u);
  EXPECT_NE(charts[2].find("c &lt;= 4"), std::string::npos);
}

TEST(Report, SeveralSolvesSideBySide) {
  const std::string page = pageOf(2);
  for (const char* shown :
       {"<title>Comparison</title>",
        "<td>result</td><td class=\"number\">within every limit</td><td class=\"number\">within",
        "<td>x [mm]</td><td class=\"number\">1</td><td class=\"number\">1</td><td></td>",
        "<td>c [N]</td><td class=\"number\">4 (active)</td><td class=\"number\">4 (active)</td>"})
    EXPECT_NE(page.find(shown), page.npos) << shown;
}

}  // namespace
}  // namespace tarnix::cli
