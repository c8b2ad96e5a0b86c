#include "output/sweep_chart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "base/numbers.h"
#include "output/chart.h"

namespace tarnix::cli {

namespace {

const char* const style = R"css(<style>
:root { --ink: #1c2530; --soft: #6b7785; --line: #d9dfe6; --page: #fff; --main: #1668b8;
  --bad: #c0392b; --low: #e8f1fa; --high: #1668b8; }
@media (prefers-color-scheme: dark) { :root { --ink: #e4e9ee; --soft: #95a1ad; --line: #36404a;
  --page: #161b21; --main: #63aef0; --bad: #f0776a; } }
svg { background: var(--page); } text { fill: var(--ink); font: 11px system-ui, sans-serif; }
text.head { font-size: 15px; font-weight: 600; } text.name { font-size: 12px; }
text.tick { fill: var(--soft); } path, rect { fill: none; } .grid { stroke: var(--line); }
.curve { stroke: var(--main); stroke-width: 1.8; stroke-linejoin: round; }
circle { fill: var(--main); } .cross { stroke: var(--bad); stroke-width: 1.8; }
text.bad { fill: var(--bad); } text.cell { text-anchor: middle; }
</style>
)css";

std::string place(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", value);
  return text;
}

std::string label(const std::string& text, double x, double y, const std::string& kind,
                  const std::string& anchor = "start", const std::string& more = "") {
  return "<text class=\"" + kind + "\" text-anchor=\"" + anchor + "\" x=\"" + place(x) + "\" y=\"" +
         place(y) + "\"" + more + ">" + escaped(text) + "</text>\n";
}

std::string withUnit(const std::string& name, const std::string& unit) {
  return unit.empty() ? name : name + " [" + unit + "]";
}

// Of what an axis changes, where it is a limit or a bound of something that has a unit.
std::string axisLabel(const ProblemFile& problem, const std::string& name) {
  const std::string owner = name.substr(0, name.rfind('.'));
  for (const ConstraintEntry& c : problem.constraints)
    if (c.name == owner) return withUnit(name, c.unit);
  for (const VariableEntry& v : problem.variables)
    if (v.name == owner) return withUnit(name, v.unit);
  return name;
}

struct Range {
  double low = std::numeric_limits<double>::infinity(), high = -low;
  void include(double value) { cli::include(value, low, high); }
  bool empty() const { return !(low <= high); }
  Range widened() const {
    if (empty()) return {0, 1};
    const double room = low < high ? 0.06 * (high - low) : std::max(0.1 * std::abs(low), 1e-12);
    return {low - room, high + room};
  }
};

std::vector<double> ticks(const Range& range, int count) {
  const double rough = (range.high - range.low) / count;
  const double power = std::pow(10.0, std::floor(std::log10(rough)));
  double step = 10 * power;
  for (const double factor : {5.0, 2.0, 1.0})
    if (factor * power >= rough) step = factor * power;
  std::vector<double> at;
  // By number: to a large value a step may add nothing.
  const double first = std::ceil(range.low / step);
  for (int k = 0; k <= 2 * count && (first + k) * step <= range.high; ++k)
    at.push_back((first + k) * step);
  return at;
}

// One panel: a value over the axis. Points without success are crosses; the line leaves a gap.
class Panel {
 public:
  Panel(double left, double top, double width, double height)
      : x0(left), y0(top), w(width), h(height) {}

  std::string draw(const std::string& name, const std::string& axis, const std::vector<double>& x,
                   const std::vector<double>& y, const std::vector<bool>& solved) {
    for (const double value : x) across.include(value);
    for (const double value : y) up.include(value);
    across = across.widened(), up = up.widened();
    s = label(name, x0, y0 - 8, "name");
    for (const double t : ticks(up, h > 200 ? 6 : 4))
      s += "<path class=\"grid\" d=\"M" + place(x0) + " " + place(vertical(t)) + "h" + place(w) +
           "\"/>" + label(rounded(t, 4), x0 - 6, vertical(t) + 4, "tick", "end");
    for (const double t : ticks(across, w > 400 ? 8 : 4))
      s += label(rounded(t, 4), horizontal(t), y0 + h + 15, "tick", "middle");
    if (!axis.empty()) s += label(axis, x0 + w / 2, y0 + h + 34, "name", "middle");
    drawCurve(x, y, solved);
    return s;
  }

 private:
  double horizontal(double x) const {
    return x0 + (x - across.low) / (across.high - across.low) * w;
  }
  double vertical(double y) const { return y0 + h - (y - up.low) / (up.high - up.low) * h; }

  void drawCurve(const std::vector<double>& x, const std::vector<double>& y,
                 const std::vector<bool>& solved) {
    std::string curve, marks;
    bool pen = false;
    for (std::size_t k = 0; k < x.size(); ++k) {
      const std::string hover = "<title>" + rounded(x[k]) + ": " +
                                (std::isfinite(y[k]) ? rounded(y[k]) : "no design") +
                                (solved[k] ? "" : ", not solved") + "</title>";
      const double wide = horizontal(x[k]);
      if (solved[k] && std::isfinite(y[k])) {
        curve += (pen ? "L" : "M") + place(wide) + " " + place(vertical(y[k]));
        marks += "<circle cx=\"" + place(wide) + "\" cy=\"" + place(vertical(y[k])) +
                 "\" r=\"3\">" + hover + "</circle>\n";
      } else {
        const double at = std::isfinite(y[k]) ? vertical(y[k]) : y0 + h - 6;
        marks += "<path class=\"cross\" d=\"M" + place(wide - 4) + " " + place(at - 4) +
                 "l8 8m0 -8l-8 8\">" + hover + "</path>\n";
      }
      pen = solved[k] && std::isfinite(y[k]);
    }
    s += "<path class=\"curve\" d=\"" + curve + "\"/>\n" + marks;
  }

  double x0, y0, w, h;
  Range across, up;
  std::string s;
};

double objectiveOf(const SweepPoint& point) {
  if (!point.outcome || !point.outcome->objective || !point.outcome->feasible) return NAN;
  return point.outcome->objective->value;
}

bool isSolved(const SweepPoint& point) {
  return point.outcome && point.outcome->success;
}

std::string svg(double width, double height, const std::string& title, const std::string& content) {
  return "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + place(width) + " " +
         place(height) + "\" width=\"" + place(width) + "\" height=\"" + place(height) +
         "\" role=\"img\" aria-label=\"" + escaped(title) + "\">\n" + style +
         label(title, 16, 24, "head") + content + "</svg>\n";
}

std::string titleOf(const ProblemFile& problem) {
  return problem.title.empty() ? problem.file.filename().string() : problem.title;
}

std::string curveChart(const ProblemFile& problem, const Axis& axis,
                       const std::vector<SweepPoint>& points) {
  constexpr double width = 760, left = 70, tall = 260, small = 120, column = 230;
  std::vector<double> x, y;
  std::vector<bool> solved;
  for (const SweepPoint& point : points) {
    x.push_back(point.at[0]);
    y.push_back(objectiveOf(point));
    solved.push_back(isSolved(point));
  }
  const ObjectiveEntry& goal = problem.objective;
  std::string content =
      Panel(left, 64, width - left - 20, tall)
          .draw(withUnit(goal.name, goal.unit), axisLabel(problem, axis.name), x, y, solved);
  double top = 64 + tall + 76;
  int shown = 0;
  for (std::size_t i = 0; i < problem.variables.size(); ++i) {
    const VariableEntry& v = problem.variables[i];
    if (v.lower == v.upper) continue;
    std::vector<double> values;
    values.reserve(points.size());
    for (const SweepPoint& point : points)
      values.push_back(std::isfinite(objectiveOf(point)) ? point.outcome->variables[i].value : NAN);
    const int place = shown++ % 3;
    if (shown > 1 && place == 0) top += small + 60;
    content += Panel(left + place * column, top, column - 60, small)
                   .draw(withUnit(v.name, v.unit), "", x, values, solved);
  }
  return svg(width, top + small + 36, titleOf(problem), content);
}

// Low values light, high ones dark; the text in a cell takes the color that stands out.
std::string cellColor(double share) {
  const double low[3] = {232, 241, 250}, high[3] = {16, 78, 139};
  char text[32];
  int rgb[3];
  for (int k = 0; k < 3; ++k)
    rgb[k] = static_cast<int>(std::lround(low[k] + share * (high[k] - low[k])));
  std::snprintf(text, sizeof text, "#%02x%02x%02x", static_cast<unsigned>(rgb[0]),
                static_cast<unsigned>(rgb[1]), static_cast<unsigned>(rgb[2]));
  return text;
}

std::string mapChart(const ProblemFile& problem, const std::vector<Axis>& axes,
                     const std::vector<SweepPoint>& points) {
  const std::size_t rows = axes[0].values.size(), columns = axes[1].values.size();
  constexpr double left = 84, top = 76, width = 760;
  const double cell = (width - left - 24) / static_cast<double>(columns),
               tall = std::clamp(460.0 / static_cast<double>(rows), 12.0, 46.0);
  Range range;
  for (const SweepPoint& point : points) range.include(objectiveOf(point));
  std::string s = label(withUnit(problem.objective.name, problem.objective.unit) +
                            (range.empty() ? ""
                                           : ", from " + rounded(range.low, 4) + " (light) to " +
                                                 rounded(range.high, 4) + " (dark)"),
                        left, top - 28, "name");
  s += label(axisLabel(problem, axes[0].name), 16, top - 8, "tick");
  for (std::size_t k = 0; k < points.size(); ++k) {
    const std::size_t row = rows - 1 - k / columns, column = k % columns;  // upwards
    const double x = left + static_cast<double>(column) * cell,
                 y = top + static_cast<double>(row) * tall, value = objectiveOf(points[k]);
    const bool drawn = std::isfinite(value), solved = isSolved(points[k]);
    const double share =
        drawn && range.high > range.low ? (value - range.low) / (range.high - range.low) : 0.0;
    const std::string text = drawn ? rounded(value, 4) + (solved ? "" : " ?") : "none";
    s += "<rect x=\"" + place(x) + "\" y=\"" + place(y) + "\" width=\"" + place(cell - 1) +
         "\" height=\"" + place(tall - 1) +
         "\" style=\"fill:" + (drawn ? cellColor(share) : "var(--line)") + "\"><title>" +
         rounded(points[k].at[0]) + ", " + rounded(points[k].at[1]) + ": " + text +
         "</title></rect>\n";
    if (cell < 46 || tall < 14) continue;
    s += label(
        text, x + cell / 2, y + tall / 2 + 4, "cell", "middle",
        drawn ? std::string(" style=\"fill:") + (share > 0.5 ? "#fff" : "#1c2530") + "\"" : "");
  }
  for (std::size_t r = 0; r < rows; ++r)
    s += label(rounded(axes[0].values[rows - 1 - r], 4), left - 6,
               top + (static_cast<double>(r) + 0.5) * tall + 4, "tick", "end");
  const double foot = top + static_cast<double>(rows) * tall;
  const std::size_t every = std::max<std::size_t>(1, columns * 46 / 640);
  for (std::size_t c = 0; c < columns; c += every)
    s += label(rounded(axes[1].values[c], 4), left + (static_cast<double>(c) + 0.5) * cell,
               foot + 16, "tick", "middle");
  s += label(axisLabel(problem, axes[1].name), left + (width - left - 24) / 2, foot + 36, "name",
             "middle");
  return svg(width, foot + 52, titleOf(problem), s);
}

}  // namespace

std::string sweepChart(const ProblemFile& problem, const std::vector<Axis>& axes,
                       const std::vector<SweepPoint>& points) {
  return axes.size() == 1 ? curveChart(problem, axes[0], points) : mapChart(problem, axes, points);
}

}  // namespace tarnix::cli
