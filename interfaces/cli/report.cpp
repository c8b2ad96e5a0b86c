#include <cmath>
#include <limits>

#include "chart.h"
#include "commands.h"
#include "text_table.h"

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

double numberOf(const Json& value) {
  return value.is_number() ? value.get<double>() : std::numeric_limits<double>::quiet_NaN();
}

std::string row(const std::vector<std::string>& cells, bool bad = false) {
  std::string text = bad ? "<tr class=\"bad\">" : "<tr>";
  for (std::size_t i = 0; i < cells.size(); ++i)
    text += (i == 1 ? "<td class=\"number\">" : "<td>") + escaped(cells[i]) + "</td>";
  return text + "</tr>\n";
}

std::string change(const Json& entry, const std::string& objective) {
  if (!entry.contains("per_percent")) return "";
  const double value = numberOf(entry.at("per_percent"));
  return "1 % more: " + objective + (value > 0 ? " +" : " ") + rounded(value, 2);
}

class Page {
 public:
  Page(const Setup& setup, const History& history) : problem(setup.problem) {
    for (const Record& record : history.records()) add(setup, record);
    result = history.ended() ? history.end()
                             : resultOfBest(problem, best, "the solve has not come to its end");
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
  // Objective and limits are judged as the problem file states them now.
  void add(const Setup& setup, const Record& record) {
    number.push_back(static_cast<double>(number.size() + 1));
    x.push_back(record.x);
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<double> values = record.values;
    if (record.failed.empty() && setup.simulator)
      values = setup.model->values(record.x, record.results);
    const bool known = record.failed.empty() && values.size() == setup.model->size();
    failed.push_back(known ? nan : 1);
    objective.push_back(known ? values[0] : nan);
    violations.push_back(known ? violation(problem, values) : nan);
    bool inside = known;
    for (std::size_t i = 0; i < record.x.size(); ++i)
      inside = inside && problem.variables[i].lower <= record.x[i] &&
               record.x[i] <= problem.variables[i].upper;
    if (inside) noteBest({record.x, values, violations.back()});
    const bool feasible = best && best->violation <= problem.options.tolerance;
    bestObjective.push_back(feasible ? best->values[0] : nan);
  }

  void noteBest(const BestDesign& design) {
    if (std::isnan(design.violation)) return;
    if (!best || betterDesign(problem, design, *best)) best = design;
  }

  std::string head() const {
    const bool success = result.value("success", false), feasible = result.value("feasible", false);
    std::string html = std::string("<p class=\"") + (feasible ? "" : "bad") + "\"><b>" +
                       (success    ? "Solved"
                        : feasible ? "Within every limit, but not solved to the end"
                                   : "Not solved") +
                       "</b>: " + escaped(result.value("reason", std::string())) + "</p>\n";
    if (result.contains("method"))
      html += "<p>" +
              escaped(result.value("method", std::string()) + ": " +
                      result.value("meaning", std::string())) +
              "</p>\n";
    if (const std::string advice = result.value("advice", std::string()); !advice.empty())
      html += "<p>" + escaped(advice) + "</p>\n";
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
      const Variable& v = problem.variables[i];
      if (v.lower == v.upper) continue;
      Chart chart;
      chart.title = v.name + unitOf(v.unit);
      chart.width = 240;
      chart.height = 130;
      chart.xMax = static_cast<double>(number.size());
      chart.yMin = v.lower;
      chart.yMax = v.upper;
      chart.levels = {v.lower, v.upper};
      std::vector<double> values;
      for (const auto& design : x) values.push_back(design[i]);
      chart.series = {{number, values, "line"}};
      html += chart.svg();
    }
    return html;
  }

  static std::string unitOf(const std::string& unit) { return unit.empty() ? "" : " in " + unit; }

  std::string name() const { return problem.objective.name; }

  std::string active() const {
    std::string rows;
    if (!result.contains("variables")) return "";
    for (const Json& c : result.at("constraints"))
      if (c.value("active", false))
        rows += row({c.value("name", std::string()), rounded(numberOf(c.at("value"))),
                     c.value("unit", std::string()), limit(c), change(c, name())});
    for (const Json& v : result.at("variables"))
      if (const std::string at = v.value("at", std::string()); at == "lower" || at == "upper")
        rows += row({v.value("name", std::string()), rounded(numberOf(v.at("value"))),
                     v.value("unit", std::string()), at + " bound", change(v, name())});
    if (rows.empty()) rows = row({"none"});
    return "<h2>Active limits</h2>\n<table>" + rows + "</table>\n";
  }

  static std::string limit(const Json& c) {
    const auto at = [&](const char* key) { return rounded(numberOf(c.at(key))); };
    if (c.contains("min") && c.contains("max"))
      return c.at("min") == c.at("max") ? "= " + at("max") : at("min") + " .. " + at("max");
    return c.contains("max") ? "<= " + at("max") : ">= " + at("min");
  }

  std::string table() const {
    if (!result.contains("variables"))
      return "<p class=\"bad\">No design has been evaluated.</p>\n";
    const Json& goal = result.at("objective");
    std::string html = "<h2>Final design</h2>\n<table>\n" +
                       row({name(), rounded(numberOf(goal.at("value")), 10),
                            goal.value("unit", std::string()), goal.value("sense", std::string())});
    for (const Json& v : result.at("variables"))
      html += row({v.value("name", std::string()), rounded(numberOf(v.at("value")), 10),
                   v.value("unit", std::string()),
                   rounded(numberOf(v.at("lower"))) + " .. " + rounded(numberOf(v.at("upper")))});
    for (const Json& c : result.at("constraints")) {
      const double by = numberOf(c.at("violation"));
      const bool violated = !(by <= problem.options.tolerance);
      html +=
          row({c.value("name", std::string()), rounded(numberOf(c.at("value")), 10),
               c.value("unit", std::string()),
               limit(c) + (violated ? ", violated by " + rounded(by, 2) + " of its scale" : "")},
              violated);
    }
    return html + "</table>\n";
  }

  const Problem& problem;
  std::vector<double> number, objective, bestObjective, violations, failed;  // by evaluation
  std::vector<std::vector<double>> x;
  std::optional<BestDesign> best;
  Json result;
};

}  // namespace

std::string reportPage(const Setup& setup, const Places& places) {
  History history(places.history);
  history.read(setup.problem);
  return Page(setup, history).text();
}

}  // namespace tarnix::cli
