// A line chart as inline SVG.
#pragma once

#include <string>
#include <vector>

namespace tarnix::cli {

std::string escaped(const std::string& text);  // for HTML

struct Series {
  std::vector<double> x, y;  // values that are not finite leave a gap
  std::string style;         // CSS class: "dots", "line" or "marks"
  std::string name{};        // shown with a value when the pointer rests on it; empty: nothing is
};

// A vertical line, such as the beginning of an iteration.
struct Mark {
  double x;
  std::string text;
};

struct Chart {
  std::string title, xLabel, yLabel;
  int width = 720, height = 220;
  bool logarithmic = false;
  double xMax = 1;  // from 1 on
  double yMin = 0, yMax = 1;
  std::vector<double> levels;  // horizontal lines, such as bounds
  std::vector<Mark> marks;
  std::vector<Series> series;

  std::string svg() const;
};

// Widens the range of a chart to values, without a margin.
void include(double value, double& low, double& high);

}  // namespace tarnix::cli
