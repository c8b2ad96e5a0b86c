#include <cmath>
#include <limits>

#include "output/report_page.h"

#include "base/numbers.h"
#include "output/chart.h"
#include "output/outcome.h"

namespace tarnix::cli {

namespace {

const char* const style = R"css(
:root { color-scheme: light dark; --ink: #1c2530; --soft: #6b7785; --line: #d9dfe6; --page: #fff;
  --main: #1668b8; --dots: #8fb3d9; --bad: #c0392b; }
@media (prefers-color-scheme: dark) { :root { --ink: #e4e9ee; --soft: #95a1ad; --line: #36404a;
  --page: #161b21; --main: #63aef0; --dots: #41688f; --bad: #f0776a; } }
body { font: 15px/1.45 system-ui, sans-serif; color: var(--ink); background: var(--page);
  max-width: 760px; margin: 2em auto; padding: 0 1em; }
h1 { font-size: 1.5em; margin-bottom: .1em; } h2 { font-size: 1.1em; margin: 1.8em 0 .4em; }
p { margin: .3em 0; } .soft { color: var(--soft); } .bad { color: var(--bad); }
svg { width: 100%; height: auto; display: block; margin: .6em 0; }
.small { display: grid; grid-template-columns: repeat(auto-fill, minmax(230px, 1fr)); gap: 0 1em; }
text { fill: var(--ink); font: 11px system-ui, sans-serif; } text.title { font-size: 12px; }
text.tick { fill: var(--soft); } path { fill: none; } .grid { stroke: var(--line); }
.level { stroke: var(--soft); stroke-dasharray: 4 3; }
.line { stroke: var(--main); stroke-width: 1.8; stroke-linejoin: round; }
.dots { stroke: var(--dots); stroke-width: 3.5; stroke-linecap: round; }
.marks { stroke: var(--bad); stroke-width: 5; stroke-linecap: round; }
table { border-collapse: collapse; width: 100%; } th { text-align: left; font-weight: 600; }
td, th { padding: .2em .8em .2em 0; border-bottom: 1px solid var(--line); }
td.number { text-align: right; font-variant-numeric: tabular-nums; }
)css";

std::string row(const std::vector<std::string>& cells, bool bad = false) {
  std::string text = bad ? "<tr class=\"bad\">" : "<tr>";
  for (std::size_t i = 0; i < cells.size(); ++i)
    text += (i == 1 ? "<td class=\"number\">" : "<td>") + escaped(cells[i]) + "</td>";
  return text + "</tr>\n";
}

class Page {
 public:
  Page(const Setup& setup, const History& history) : problem(setup.problem) {
    for (const Record& record : history.records()) add(record, *setup.model);
    outcome = history.end() ? *history.end()
                            : outcomeAt(problem, best, "the solve has not come to its end");
  }

  std::string text() const {
    const std::string title =
        problem.title.empty() ? problem.file.filename().string() : problem.title;
    std::string html =
        "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n<meta "
        "name=\"viewport\" content=\"width=device-width\">\n<title>" +
        escaped(title) + "</title>\n<style>" + style + "</style></head><body>\n<h1>" +
        escaped(title) + "</h1>\n";
    html += head() + "<h2>Course</h2>\n" + course() +
            "<h2>Variables</h2>\n<div class=\"small\">\n" + variables() + "</div>\n" + active() +
            table();
    return html + "</body></html>\n";
  }

 private:
  void add(const Record& record, Model& model) {
    number.push_back(static_cast<double>(number.size() + 1));
    x.push_back(record.x);
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const Judged judged = judge(problem, model, record);
    failed.push_back(judged.measured ? nan : 1);
    if (!judged.measured) ++failedDesigns, lastFailure = record.failed;
    objective.push_back(judged.measured ? judged.values[0] : nan);
    violations.push_back(judged.violation);
    keepBest(problem, record, judged, best);
    const bool feasible = best && best->violation <= problem.options.tolerance;
    bestObjective.push_back(feasible ? best->values[0] : nan);
  }

  std::string head() const {
    std::string html = std::string("<p class=\"") + (outcome.feasible ? "" : "bad") + "\"><b>" +
                       (outcome.success    ? "Solved"
                        : outcome.feasible ? "Within every limit, but not solved to the end"
                                           : "Not solved") +
                       "</b>: " + escaped(outcome.reason) + "</p>\n";
    if (!outcome.method.empty())
      html += "<p>" + escaped(outcome.method + ": " + outcome.meaning) + "</p>\n";
    if (!outcome.advice.empty()) html += "<p>" + escaped(outcome.advice) + "</p>\n";
    if (failedDesigns > 0)
      html += "<p class=\"bad\">" + std::to_string(failedDesigns) +
              (failedDesigns == 1 ? " design" : " designs") +
              " could not be evaluated; the last: " + escaped(lastFailure) + "</p>\n";
    if (outcome.verification)
      html += std::string("<p") + (outcome.verification->agrees ? ">" : " class=\"bad\">") +
              "The final design, run once more, alone: " +
              (outcome.verification->same ? "the same to the last bit"
                                          : escaped(outcome.verification->text)) +
              "</p>\n";
    return html + "<p class=\"soft\">" + std::to_string(number.size()) +
           " evaluations in the history of " + escaped(problem.file.filename().string()) + "</p>\n";
  }

  std::string course() const {
    Chart chart;
    chart.title = problem.objective.name + unitOf(problem.objective.unit) +
                  " of every evaluation, and of the best design within the limits so far";
    chart.xMax = static_cast<double>(number.size());
    chart.yMin = std::numeric_limits<double>::infinity();
    chart.yMax = -chart.yMin;
    for (const double value : objective) include(value, chart.yMin, chart.yMax);
    if (chart.yMin > chart.yMax) chart.yMin = 0, chart.yMax = 1;
    std::vector<double> failures = failed;
    for (double& mark : failures) mark *= chart.yMin;
    chart.series = {{number, objective, "dots"}, {number, bestObjective, "line"}};
    chart.series.push_back({number, failures, "marks"});
    std::string html = chart.svg();
    if (problem.constraints.empty()) return html;

    chart.title = "largest violation, in units of the limits; the tolerance is dashed";
    chart.logarithmic = true;
    chart.yMin = problem.options.tolerance / 100;  // all below is drawn there
    chart.yMax = 10 * problem.options.tolerance;
    for (const double value : violations) include(value, chart.yMin, chart.yMax);
    chart.yMin = problem.options.tolerance / 100;
    chart.levels = {problem.options.tolerance};
    for (double& mark : failures)
      if (std::isfinite(mark)) mark = chart.yMax;
    chart.series = {{number, violations, "dots"}, {number, failures, "marks"}};
    return html + chart.svg();
  }

  std::string variables() const {
    std::string html;
    for (std::size_t i = 0; i < problem.variables.size(); ++i) {
      const VariableEntry& v = problem.variables[i];
      if (v.lower == v.upper) continue;
      Chart chart;
      chart.title = v.name + unitOf(v.unit);
      chart.width = 240;
      chart.height = 130;
      chart.xMax = static_cast<double>(number.size());
      std::vector<double> values;
      for (const auto& design : x) values.push_back(design[i]);
      rangeOf(v, values, chart);
      chart.series = {{number, values, "line"}};
      html += chart.svg();
    }
    return html;
  }

  // The bounds; where one is missing, as far as the values reach.
  static void rangeOf(const VariableEntry& v, const std::vector<double>& values, Chart& chart) {
    for (const double bound : {v.lower, v.upper})
      if (std::isfinite(bound)) chart.levels.push_back(bound);
    chart.yMin = v.lower;
    chart.yMax = v.upper;
    if (chart.levels.size() == 2) return;
    chart.yMin = std::numeric_limits<double>::infinity();
    chart.yMax = -chart.yMin;
    for (const double value : chart.levels) include(value, chart.yMin, chart.yMax);
    for (const double value : values) include(value, chart.yMin, chart.yMax);
    if (chart.yMin > chart.yMax) chart.yMin = 0, chart.yMax = 1;
  }

  static std::string unitOf(const std::string& unit) { return unit.empty() ? "" : " in " + unit; }

  std::string active() const {
    if (!outcome.objective) return "";
    const auto change = [&](const std::optional<double>& perPercent) {
      const std::string text = perPercentText(perPercent, outcome.objective->name);
      return text.empty() ? text : text.substr(2);
    };
    std::string rows;
    for (const ConstraintOutcome& c : outcome.constraints)
      if (c.active)
        rows +=
            row({c.name, rounded(c.value), c.unit, limitText(c.min, c.max), change(c.perPercent)});
    for (const VariableOutcome& v : outcome.variables)
      if (v.at == "lower" || v.at == "upper")
        rows += row({v.name, rounded(v.value), v.unit, v.at + " bound", change(v.perPercent)});
    if (rows.empty()) rows = row({"none"});
    return "<h2>Active limits</h2>\n<table>" + rows + "</table>\n";
  }

  std::string table() const {
    if (!outcome.objective) return "<p class=\"bad\">No design has been evaluated.</p>\n";
    const ObjectiveOutcome& goal = *outcome.objective;
    std::string html = "<h2>Final design</h2>\n<table>\n" +
                       row({goal.name, rounded(goal.value, 10), goal.unit, goal.sense});
    for (const VariableOutcome& v : outcome.variables)
      html +=
          row({v.name, rounded(v.value, 10), v.unit, rounded(v.lower) + " .. " + rounded(v.upper)});
    for (const ConstraintOutcome& c : outcome.constraints) {
      const bool violated = !(c.violation <= problem.options.tolerance);
      const std::string by =
          violated ? ", violated by " + rounded(c.violation, 2) + " of its scale" : "";
      html += row({c.name, rounded(c.value, 10), c.unit, limitText(c.min, c.max) + by}, violated);
    }
    return html + "</table>\n";
  }

  const ProblemFile& problem;
  std::vector<double> number, objective, bestObjective, violations, failed;  // by evaluation
  std::vector<std::vector<double>> x;
  std::optional<BestDesign> best;
  Outcome outcome;
  long failedDesigns = 0;
  std::string lastFailure;
};

}  // namespace

std::string reportPage(const Setup& setup, const History& history) {
  return Page(setup, history).text();
}

}  // namespace tarnix::cli
