#include "output/chart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "base/numbers.h"

namespace tarnix::cli {

namespace {

constexpr int left = 64, right = 12, top = 24, bottom = 24;

std::string place(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", value);
  return text;
}

// 1, 2 or 5 times a power of ten, so that about count steps cover the range.
double niceStep(double range, int count) {
  const double rough = range / count;
  const double power = std::pow(10.0, std::floor(std::log10(rough)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (factor * power >= rough) return factor * power;
  return 10 * power;
}

}  // namespace

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

void include(double value, double& low, double& high) {
  if (!std::isfinite(value)) return;
  low = std::min(low, value);
  high = std::max(high, value);
}

std::string Chart::svg() const {
  double low = logarithmic ? std::log10(yMin) : yMin;
  double high = logarithmic ? std::log10(yMax) : yMax;
  if (!(low < high)) {  // all the same
    const double room = low == 0 ? 1 : std::abs(low) * 0.1;
    low -= room;
    high += room;
  }
  const double room = (high - low) * 0.04;
  low -= room;
  high += room;
  const double last = std::max(xMax, 2.0);
  const auto horizontal = [&](double x) {
    return left + (x - 1) / (last - 1) * (width - left - right);
  };
  const auto vertical = [&](double y) {
    const double v = logarithmic ? std::log10(std::max(y, yMin)) : y;
    return height - bottom - (v - low) / (high - low) * (height - top - bottom);
  };

  std::string s = "<svg viewBox=\"0 0 " + std::to_string(width) + " " + std::to_string(height) +
                  "\" role=\"img\" aria-label=\"" + escaped(title) +
                  "\">\n<text class=\"title\" x=\"" + std::to_string(left) + "\" y=\"15\">" +
                  escaped(title) + "</text>\n";
  const auto grid = [&](double y, const std::string& label) {
    const std::string at = place(vertical(y));
    s += "<path class=\"grid\" d=\"M" + std::to_string(left) + " " + at + "H" +
         std::to_string(width - right) + "\"/><text class=\"tick\" text-anchor=\"end\" x=\"" +
         std::to_string(left - 6) + "\" y=\"" + place(vertical(y) + 4) + "\">" + label +
         "</text>\n";
  };
  if (logarithmic) {
    const int step = std::max(1, static_cast<int>((high - low) / 5));
    for (int power = static_cast<int>(std::ceil(low)); power <= high; power += step)
      grid(std::pow(10.0, power), rounded(std::pow(10.0, power), 2));
  } else {
    const double step = niceStep(high - low, height > 150 ? 5 : 2);
    for (double y = std::ceil(low / step) * step; y <= high; y += step)
      grid(y, rounded(std::abs(y) < step / 2 ? 0 : y, 4));
  }
  const double xStep = std::max(1.0, niceStep(last - 1, width > 400 ? 8 : 3));
  for (double x = xStep; x <= last; x += xStep)
    s += "<text class=\"tick\" text-anchor=\"middle\" x=\"" + place(horizontal(x)) + "\" y=\"" +
         std::to_string(height - 8) + "\">" + rounded(x) + "</text>\n";
  for (const double level : levels)
    s += "<path class=\"level\" d=\"M" + std::to_string(left) + " " + place(vertical(level)) + "H" +
         std::to_string(width - right) + "\"/>\n";
  for (const Series& one : series) {
    std::string path;
    const bool dots = one.style != "line";
    bool pen = false;
    for (std::size_t i = 0; i < one.x.size(); ++i) {
      if (!std::isfinite(one.y[i])) {
        pen = false;
        continue;
      }
      const double y = std::clamp(vertical(one.y[i]), double{top}, double(height - bottom));
      path += (pen && !dots ? "L" : "M") + place(horizontal(one.x[i])) + " " + place(y);
      if (dots) path += "h0";  // a round cap makes a dot of it
      pen = true;
    }
    s += "<path class=\"" + one.style + "\" d=\"" + path + "\"/>\n";
  }
  return s + "</svg>\n";
}

}  // namespace tarnix::cli
