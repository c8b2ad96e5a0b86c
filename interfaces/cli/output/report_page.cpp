#include "output/report_page.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <ostream>
#include <utility>

#include "base/numbers.h"
#include "output/chart.h"
#include "output/outcome.h"
#include "run/fingerprint.h"

namespace tarnix::cli {

namespace {

const char* const style = R"css(
:root { color-scheme: light dark; --ink: #1c2530; --soft: #6b7785; --line: #d9dfe6; --page: #fff;
  --main: #1668b8; --dots: #8fb3d9; --bad: #c0392b; }
@media (prefers-color-scheme: dark) { :root { --ink: #e4e9ee; --soft: #95a1ad; --line: #36404a;
  --page: #161b21; --main: #63aef0; --dots: #41688f; --bad: #f0776a; } }
body { font: 15px/1.45 system-ui, sans-serif; color: var(--ink); background: var(--page);
  max-width: 860px; margin: 2em auto; padding: 0 1em; overflow-wrap: anywhere; }
section + section { border-top: 2px solid var(--line); margin-top: 3em; }
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
td.number { text-align: right; font-variant-numeric: tabular-nums; overflow-wrap: normal; }
th.number { text-align: right; } .wide { overflow-x: auto; }
.wide td, .wide th, td.key { white-space: nowrap; }
pre { white-space: pre-wrap; margin: .2em 0; font-size: .85em; }
.iteration { stroke: var(--line); stroke-dasharray: 2 3; }
.hover { fill: transparent; } .hover:hover { fill: var(--main); }
@media print { :root { --ink: #000; --soft: #555; --line: #ccc; --page: #fff; --main: #1668b8;
    --dots: #8fb3d9; --bad: #b03020; }
  body { max-width: none; margin: 0; font-size: 11px; } h2 { break-after: avoid; }
  svg, tr, pre { break-inside: avoid; } section + section { break-before: page; border: 0; } }
)css";

// Cells of a table's row; numbers from the second column on, the last one is text.
std::string row(const std::vector<std::string>& cells, bool bad = false) {
  std::string text = bad ? "<tr class=\"bad\">" : "<tr>";
  for (std::size_t i = 0; i < cells.size(); ++i)
    text += (i > 0 && i + 1 < cells.size() ? "<td class=\"number\">" : "<td>") + escaped(cells[i]) +
            "</td>";
  return text + "</tr>\n";
}

std::string headRow(const std::vector<std::string>& cells) {
  std::string text = "<tr>";
  for (std::size_t i = 0; i < cells.size(); ++i)
    text += (i > 0 && i + 1 < cells.size() ? "<th class=\"number\">" : "<th>") + escaped(cells[i]) +
            "</th>";
  return text + "</tr>\n";
}

std::string titleOf(const ProblemFile& problem) {
  return problem.title.empty() ? problem.file.filename().string() : problem.title;
}

std::string withUnit(const std::string& name, const std::string& unit) {
  return unit.empty() ? name : name + " [" + unit + "]";
}

std::string changeText(double from, double to) {
  if (from == to) return "0 %";
  if (!(std::isfinite(from) && std::isfinite(to)) || from == 0) return "";
  char text[32];
  std::snprintf(text, sizeof text, "%+.3g %%", (to - from) / std::abs(from) * 100);
  return text;
}

// What a solve's history says, in the shape of its charts and tables.
class SolveSection {
 public:
  explicit SolveSection(const ReportedSolve& solve)
      : problem(solve.setup->problem), history(solve.history) {
    constraintValues.resize(problem.constraints.size());
    for (const Record& record : history.records()) add(record, *solve.setup->model);
    outcome = history.end() ? *history.end()
                            : outcomeAt(problem, best, "the solve has not come to its end");
    for (const IterationMark& mark : history.iterations())
      marks.push_back({static_cast<double>(mark.behind) + 0.5,
                       mark.method + " " + std::to_string(mark.number)});
  }

  void write(std::ostream& page) const {
    page << "<section>\n<h1>" << escaped(titleOf(problem)) << "</h1>\n" << head();
    page << "<h2>Design</h2>\n" << design() << active() << minima() << catalogue();
    page << "<h2>Course</h2>\n";
    course(page);
    if (!problem.constraints.empty()) {
      page << "<h2>Constraints</h2>\n<div class=\"small\">\n";
      for (std::size_t j = 0; j < problem.constraints.size(); ++j) page << constraintChart(j);
      page << "</div>\n";
    }
    page << "<h2>Variables</h2>\n<div class=\"small\">\n";
    for (std::size_t i = 0; i < problem.variables.size(); ++i) page << variableChart(i);
    page << "</div>\n" << provenance() << "</section>\n";
  }

  const ProblemFile& problem;
  Outcome outcome;

 private:
  void add(const Record& record, Model& model) {
    number.push_back(static_cast<double>(number.size() + 1));
    x.push_back(record.x);
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const Judged judged = judge(problem, model, record);
    failed.push_back(judged.measured ? nan : 1);
    if (!judged.measured) ++reasons[reasonOf(record.failed)];
    objective.push_back(judged.measured ? judged.values[0] : nan);
    for (std::size_t j = 0; j < constraintValues.size(); ++j)
      constraintValues[j].push_back(judged.measured ? judged.values[j + 1] : nan);
    if (judged.measured && first.empty()) first = judged.values;
    violations.push_back(judged.violation);
    keepBest(problem, record, judged, best);
    const bool feasible = best && best->violation <= problem.options.tolerance;
    bestObjective.push_back(feasible ? best->values[0] : nan);
    seconds += record.seconds;
  }

  // Without the run's number and place, so that equal ones are counted together.
  static std::string reasonOf(const std::string& failed) {
    std::string reason = failed.substr(0, failed.find('\n'));
    if (reason.starts_with("run ")) reason.erase(0, std::min(reason.find(": ") + 2, reason.size()));
    return reason.substr(0, reason.find("; see "));
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
    for (const auto& [reason, count] : reasons)
      html += "<p class=\"bad\">" + std::to_string(count) + (count == 1 ? " design" : " designs") +
              " could not be evaluated: " + escaped(reason) + "</p>\n";
    if (outcome.verification)
      html += std::string("<p") + (outcome.verification->agrees ? ">" : " class=\"bad\">") +
              "The final design, run once more, alone: " +
              (outcome.verification->same ? "the same to the last bit"
                                          : escaped(outcome.verification->text)) +
              "</p>\n";
    return html + "<p class=\"soft\">" + std::to_string(number.size()) +
           " evaluations in the history of " + escaped(problem.file.filename().string()) + "</p>\n";
  }

  Chart chartOf(const std::string& title, const std::string& label) const {
    Chart chart;
    chart.title = title;
    chart.xLabel = "evaluation";
    chart.yLabel = label;
    chart.xMax = static_cast<double>(number.size());
    chart.marks = marks;
    return chart;
  }

  void course(std::ostream& page) const {
    const ObjectiveEntry& goal = problem.objective;
    Chart chart = chartOf(goal.name + ": every evaluation, and the best within the limits so far",
                          withUnit(goal.name, goal.unit));
    chart.yMin = std::numeric_limits<double>::infinity();
    chart.yMax = -chart.yMin;
    for (const double value : objective) include(value, chart.yMin, chart.yMax);
    if (chart.yMin > chart.yMax) chart.yMin = 0, chart.yMax = 1;
    std::vector<double> failures = failed;
    for (double& mark : failures) mark *= chart.yMin;
    chart.series = {{number, objective, "dots", goal.name},
                    {number, bestObjective, "line"},
                    {number, failures, "marks"}};
    page << chart.svg();
    if (problem.constraints.empty()) return;

    chart =
        chartOf("largest violation, in units of the limits; the tolerance is dashed", "violation");
    chart.logarithmic = true;
    chart.yMin = problem.options.tolerance / 100;  // all below is drawn there
    chart.yMax = 10 * problem.options.tolerance;
    for (const double value : violations) include(value, chart.yMin, chart.yMax);
    chart.yMin = problem.options.tolerance / 100;
    chart.levels = {problem.options.tolerance};
    for (double& mark : failures)
      if (std::isfinite(mark)) mark = chart.yMax;
    chart.series = {{number, violations, "dots", "violation"}, {number, failures, "marks"}};
    page << chart.svg();
    page
        << "<p class=\"soft\">Dotted lines: iterations. Red: runs that failed. A value shows where "
           "the pointer rests.</p>\n";
  }

  std::string constraintChart(std::size_t j) const {
    const ConstraintEntry& c = problem.constraints[j];
    Chart chart = chartOf(c.name + " " + limitText(c.min, c.max), c.unit);
    chart.width = 260, chart.height = 150;
    chart.yMin = std::numeric_limits<double>::infinity();
    chart.yMax = -chart.yMin;
    for (const auto& limit : {c.min, c.max})
      if (limit) chart.levels.push_back(*limit), include(*limit, chart.yMin, chart.yMax);
    for (const double value : constraintValues[j]) include(value, chart.yMin, chart.yMax);
    chart.series = {{number, constraintValues[j], "line", c.name}};
    return chart.svg();
  }

  std::string variableChart(std::size_t i) const {
    const VariableEntry& v = problem.variables[i];
    if (v.lower == v.upper) return "";
    Chart chart = chartOf(v.name, v.unit);
    chart.width = 260, chart.height = 150;
    std::vector<double> values;
    for (const auto& one : x) values.push_back(one[i]);
    rangeOf(v, values, chart);
    chart.series = {{number, values, "line", v.name}};
    return chart.svg();
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

  std::string active() const {
    if (!outcome.objective) return "";
    const auto change = [&](const std::optional<double>& perPercent) {
      const std::string text = perPercentText(perPercent, outcome.objective->name);
      return text.empty() ? text : text.substr(2);
    };
    const auto joined = [](const std::string& a, const std::string& b) {
      return b.empty() ? a : a + "; " + b;
    };
    std::string rows;
    for (const ConstraintOutcome& c : outcome.constraints)
      if (c.active)
        rows += row({c.name, rounded(c.value) + " " + c.unit,
                     joined(limitText(c.min, c.max), change(c.perPercent))});
    for (const VariableOutcome& v : outcome.variables)
      if (v.at == "lower" || v.at == "upper")
        rows += row({v.name, rounded(v.value) + " " + v.unit,
                     joined(v.at + " bound", change(v.perPercent))});
    if (rows.empty()) rows = row({"none"});
    return "<h2>Active limits</h2>\n<table>" + rows + "</table>\n";
  }

  // Start against final.
  std::string design() const {
    if (!outcome.objective) return "<p class=\"bad\">" + noDesignText(outcome) + "</p>\n";
    const ObjectiveOutcome& goal = *outcome.objective;
    const auto line = [&](const std::string& name, double from, double to, const std::string& rest,
                          bool bad) {
      return row(
          {name, std::isnan(from) ? "" : rounded(from), rounded(to, 8), changeText(from, to), rest},
          bad);
    };
    const auto before = [&](std::size_t j) { return j < first.size() ? first[j] : std::nan(""); };
    std::string html =
        "<div class=\"wide\"><table>\n" + headRow({"", "start", "final", "change", ""}) +
        line(withUnit(goal.name, goal.unit), before(0), goal.value, goal.sense, false);
    for (std::size_t i = 0; i < outcome.variables.size(); ++i) {
      const VariableOutcome& v = outcome.variables[i];
      html += line(withUnit(v.name, v.unit), x.empty() ? std::nan("") : x[0][i], v.value,
                   v.at == "fixed" ? "fixed" : "in " + limitText(v.lower, v.upper), false);
    }
    for (std::size_t j = 0; j < outcome.constraints.size(); ++j) {
      const ConstraintOutcome& c = outcome.constraints[j];
      const bool violated = !(c.violation <= problem.options.tolerance);
      const std::string by =
          violated ? ", violated by " + rounded(c.violation, 2) + " of its scale" : "";
      html += line(withUnit(c.name, c.unit), before(j + 1), c.value, limitText(c.min, c.max) + by,
                   violated);
    }
    return html + "</table></div>\n";
  }

  // What several starts found, the best first.
  std::string minima() const {
    if (!outcome.minima || !outcome.objective) return "";
    const MinimaOutcome& m = *outcome.minima;
    std::vector<std::string> head{outcome.objective->name, "times", "first start"};
    for (const VariableOutcome& v : outcome.variables) head.push_back(withUnit(v.name, v.unit));
    head.emplace_back();
    std::string html = "<h2>Minima</h2>\n<p>" + counted(m.starts, "start") + ", " +
                       std::to_string(m.unsuccessful) + " without success; " +
                       (m.unseen ? "expected to be unseen still: " + rounded(*m.unseen, 2)
                                 : "too few to say how many minima are unseen") +
                       "</p>\n<div class=\"wide\"><table>\n" + headRow(head);
    for (const MinimumOutcome& one : m.found) {
      std::vector<std::string> cells{rounded(one.objective, 8), std::to_string(one.times),
                                     std::to_string(one.start)};
      for (const double value : one.x) cells.push_back(rounded(value));
      cells.emplace_back();
      html += row(cells);
    }
    return html + "</table></div>\n";
  }

  // Each variable with a catalogue, the value that was chosen, and its neighbors.
  std::string catalogue() const {
    if (!outcome.catalogue || !outcome.objective) return "";
    const CatalogueOutcome& c = *outcome.catalogue;
    const std::string& name = outcome.objective->name;
    std::string html =
        "<h2>Catalogue</h2>\n<p>" +
        escaped(c.proved
                    ? "No other combination is better, as far as the continuous solves are right"
                    : "The best found; none can be better than " + name + " " + rounded(c.bound)) +
        ". " + counted(c.solves, "solve") + "; without the catalogue " +
        escaped(name + " " + rounded(c.continuous)) + ".</p>\n<div class=\"wide\"><table>\n" +
        headRow({"", "next below", "chosen", "next above", "values"});
    for (std::size_t i = 0; i < problem.variables.size(); ++i) {
      const VariableEntry& v = problem.variables[i];
      const auto& values = v.catalogue;
      if (values.empty() || i >= outcome.variables.size()) continue;
      const double chosen = outcome.variables[i].value;
      const auto place = std::lower_bound(values.begin(), values.end(), chosen);
      const bool listed = place != values.end() && *place == chosen;
      const auto above = listed ? place + 1 : place;
      html += row({withUnit(v.name, v.unit), place == values.begin() ? "" : rounded(*(place - 1)),
                   rounded(chosen), above == values.end() ? "" : rounded(*above),
                   std::to_string(values.size())});
    }
    return html + "</table></div>\n";
  }

  // What it takes to repeat this.
  std::string provenance() const {
    std::string rows;
    const auto add = [&](const std::string& key, const std::string& value) {
      rows += "<tr><td class=\"key\">" + escaped(key) + "</td><td><pre>" + escaped(value) +
              "</pre></td></tr>\n";
    };
    std::string starts, set;
    for (const Beginning& b : history.beginnings())
      starts += b.date + "  " + b.host + "  tarnix " + b.version + "\n  " + b.command + "\n";
    add("started", starts);
    if (!history.beginnings().empty())
      for (const std::string& change : history.beginnings().back().set) set += change + "\n";
    if (!set.empty()) add("changed by --set", set);
    const OptionsTable& o = problem.options;
    add("options", "method " + o.method + ", tolerance " + rounded(o.tolerance) + ", " +
                       (o.centralDifferences ? "central" : "forward") + " differences" +
                       (o.differenceStep > 0 ? " of " + rounded(o.differenceStep) + " half ranges"
                                             : ", step by the noise of the values"));
    if (outcome.noise && outcome.differenceStep)
      add("noise", rounded(*outcome.noise, 1) + " of the values; difference step " +
                       rounded(*outcome.differenceStep, 1) + " half ranges");
    std::string hashes;
    for (const auto& [part, hash] : fingerprint(problem))
      hashes.append(hash).append("  ").append(part).append("\n");
    add("contents", hashes);
    std::string runs = std::to_string(number.size()) + " designs";
    if (problem.command)
      runs += ", " + std::to_string(history.finishedRuns()) + " runs of " + rounded(seconds, 4) +
              " s altogether";
    for (const auto& [reason, count] : reasons)
      runs += "\n" + std::to_string(count) + " failed: " + reason;
    add("evaluations", runs);
    return "<h2>To repeat this</h2>\n<table>" + rows + "</table>\n";
  }

  const History& history;
  std::vector<double> number, objective, bestObjective, violations, failed;  // by evaluation
  std::vector<std::vector<double>> x, constraintValues;  // by evaluation; by constraint
  std::vector<double> first;                             // values of the first measured design
  std::vector<Mark> marks;
  std::optional<BestDesign> best;
  std::map<std::string, long> reasons;  // of failures
  double seconds = 0;                   // of all runs
};

// Final values of several solves, a column each.
std::string comparison(const std::vector<SolveSection>& sections) {
  std::vector<std::string> names, heads{""};
  std::vector<std::map<std::string, std::string>> columns;
  for (const SolveSection& section : sections) {
    heads.push_back(titleOf(section.problem) + ", " + section.problem.file.filename().string());
    auto& column = columns.emplace_back();
    const auto add = [&](const std::string& name, const std::string& text) {
      if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
      column[name] = text;
    };
    const Outcome& o = section.outcome;
    add("result", o.success ? "solved" : o.feasible ? "within every limit" : "not solved");
    if (!o.objective) continue;
    add(withUnit(o.objective->name, o.objective->unit), rounded(o.objective->value, 8));
    for (const VariableOutcome& v : o.variables) add(withUnit(v.name, v.unit), rounded(v.value));
    for (const ConstraintOutcome& c : o.constraints)
      add(withUnit(c.name, c.unit), rounded(c.value) + (c.active ? " (active)" : ""));
    add("evaluations", std::to_string(o.evaluations.value_or(0)));
  }
  heads.emplace_back("");
  std::string rows = headRow(heads);
  for (const std::string& name : names) {
    std::vector<std::string> cells{name};
    for (auto& column : columns) cells.push_back(column[name]);
    cells.emplace_back("");
    rows += row(cells);
  }
  return "<section><h1>Comparison</h1>\n<div class=\"wide\"><table>" + rows +
         "</table></div></section>\n";
}

}  // namespace

void writeReport(const std::vector<ReportedSolve>& solves, std::ostream& page) {
  std::vector<SolveSection> sections;
  sections.reserve(solves.size());
  for (const ReportedSolve& solve : solves) sections.emplace_back(solve);
  page << "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n<meta "
          "name=\"viewport\" content=\"width=device-width\">\n<title>"
       << escaped(solves.size() > 1 ? "Comparison" : titleOf(solves[0].setup->problem))
       << "</title>\n<style>" << style << "</style></head><body>\n";
  if (solves.size() > 1) page << comparison(sections);
  for (const SolveSection& section : sections) section.write(page);
  page << "</body></html>\n";
}

}  // namespace tarnix::cli
