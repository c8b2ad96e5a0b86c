#include "output/chart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "base/numbers.h"

namespace tarnix::cli {

namespace {

constexpr int left = 76, right = 12, top = 24, bottom = 38;

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
      case '&': result += "&amp;"; break;
      case '<': result += "&lt;"; break;
      case '>': result += "&gt;"; break;
      case '"': result += "&quot;"; break;
      default: result += c;
    }
  }
  return result;
}

void include(double value, double& low, double& high) {
  if (!std::isfinite(value)) return;
  low = std::min(low, value);
  high = std::max(high, value);
}

namespace {

// At most about this many points of a series are drawn: of every stretch the first, the lowest and
// the highest.
constexpr std::size_t mostStretches = 700;

Series thinned(const Series& all) {
  if (all.x.size() <= 3 * mostStretches) return all;
  Series few{{}, {}, all.style, all.name};
  const std::size_t stretch = all.x.size() / mostStretches + 1;
  for (std::size_t begin = 0; begin < all.x.size(); begin += stretch) {
    const std::size_t end = std::min(begin + stretch, all.x.size());
    std::size_t low = begin, high = begin;
    for (std::size_t i = begin; i < end; ++i) {
      if (!std::isfinite(all.y[i])) continue;
      if (!(all.y[low] <= all.y[i])) low = i;
      if (!(all.y[high] >= all.y[i])) high = i;
    }
    std::vector<std::size_t> kept{begin, low, high};
    std::sort(kept.begin(), kept.end());
    kept.erase(std::unique(kept.begin(), kept.end()), kept.end());
    for (const std::size_t i : kept) few.x.push_back(all.x[i]), few.y.push_back(all.y[i]);
  }
  return few;
}

class Drawing {
 public:
  explicit Drawing(const Chart& chart) : c(chart), last(std::max(chart.xMax, 2.0)) {
    low = c.logarithmic ? std::log10(c.yMin) : c.yMin;
    high = c.logarithmic ? std::log10(c.yMax) : c.yMax;
    if (!(low < high)) widen(low == 0 ? 1 : std::abs(low) * 0.1);  // all the same
    widen((high - low) * 0.04);
  }

  std::string text() {
    s = "<svg viewBox=\"0 0 " + std::to_string(c.width) + " " + std::to_string(c.height) +
        "\" role=\"img\" aria-label=\"" + escaped(c.title) + "\">\n<text class=\"title\" x=\"" +
        std::to_string(left) + "\" y=\"15\">" + escaped(c.title) + "</text>\n";
    drawLabels();
    drawMarks();
    drawGrid();
    drawTicks();
    for (const double level : c.levels)
      s += "<path class=\"level\" d=\"M" + std::to_string(left) + " " + place(vertical(level)) +
           "H" + std::to_string(c.width - right) + "\"/>\n";
    for (const Series& one : c.series) {
      const Series few = thinned(one);
      draw(few);
      drawHovers(few);
    }
    return s + "</svg>\n";
  }

 private:
  void widen(double room) { low -= room, high += room; }
  double horizontal(double x) const {
    return left + (x - 1) / (last - 1) * (c.width - left - right);
  }
  double vertical(double y) const {
    const double v = c.logarithmic ? std::log10(std::max(y, c.yMin)) : y;
    return c.height - bottom - (v - low) / (high - low) * (c.height - top - bottom);
  }

  void drawLabels() {
    const int across = (left + c.width - right) / 2, down = (top + c.height - bottom) / 2;
    s += "<text class=\"tick\" text-anchor=\"middle\" x=\"" + std::to_string(across) + "\" y=\"" +
         std::to_string(c.height - 5) + "\">" + escaped(c.xLabel) + "</text>\n" +
         "<text class=\"tick\" text-anchor=\"middle\" transform=\"translate(12 " +
         std::to_string(down) + ") rotate(-90)\">" + escaped(c.yLabel) + "</text>\n";
  }
  // Thinned to what can be distinguished.
  void drawMarks() {
    double before = -1e9;
    for (const Mark& mark : c.marks) {
      const double x = horizontal(std::min(mark.x, last));
      if (x - before < 3) continue;
      before = x;
      s += "<path class=\"iteration\" d=\"M" + place(x) + " " + std::to_string(top) + "V" +
           std::to_string(c.height - bottom) + "\"><title>" + escaped(mark.text) +
           "</title></path>\n";
    }
  }
  // Invisible, but for the text that appears when the pointer rests there.
  void drawHovers(const Series& one) {
    if (one.name.empty()) return;
    constexpr std::size_t most = 400;
    const std::size_t step = one.x.size() / most + 1;
    for (std::size_t i = 0; i < one.x.size(); i += step) {
      if (!std::isfinite(one.y[i])) continue;
      s += "<circle class=\"hover\" cx=\"" + place(horizontal(one.x[i])) + "\" cy=\"" +
           place(std::clamp(vertical(one.y[i]), double{top}, double(c.height - bottom))) +
           "\" r=\"4\"><title>" + rounded(one.x[i]) + ": " + escaped(one.name) + " " +
           rounded(one.y[i]) + "</title></circle>\n";
    }
  }

  void drawLine(double y, const std::string& label) {
    const std::string at = place(vertical(y));
    s += "<path class=\"grid\" d=\"M" + std::to_string(left) + " " + at + "H" +
         std::to_string(c.width - right) + "\"/><text class=\"tick\" text-anchor=\"end\" x=\"" +
         std::to_string(left - 6) + "\" y=\"" + place(vertical(y) + 4) + "\">" + label +
         "</text>\n";
  }
  void drawGrid() {
    if (c.logarithmic) {
      const int step = std::max(1, static_cast<int>((high - low) / 5));
      for (int power = static_cast<int>(std::ceil(low)); power <= high; power += step)
        drawLine(std::pow(10.0, power), rounded(std::pow(10.0, power), 4));
      return;
    }
    const double step = niceStep(high - low, c.height > 150 ? 5 : 2);
    const double first = std::ceil(low / step);
    for (int k = 0; (first + k) * step <= high; ++k)
      drawLine((first + k) * step, rounded((first + k) * step, 4));
  }
  void drawTicks() {
    const double step = std::max(1.0, niceStep(last - 1, c.width > 400 ? 8 : 3));
    for (int k = 1; k * step <= last; ++k)
      s += "<text class=\"tick\" text-anchor=\"middle\" x=\"" + place(horizontal(k * step)) +
           "\" y=\"" + std::to_string(c.height - 22) + "\">" + rounded(k * step) + "</text>\n";
  }
  void draw(const Series& one) {
    const bool dots = one.style != "line";
    bool pen = false;
    s += "<path class=\"" + one.style + "\" d=\"";
    for (std::size_t i = 0; i < one.x.size(); ++i) {
      if (!std::isfinite(one.y[i])) {
        pen = false;
        continue;
      }
      const double y = std::clamp(vertical(one.y[i]), double{top}, double(c.height - bottom));
      s += (pen && !dots ? "L" : "M") + place(horizontal(one.x[i])) + " " + place(y);
      if (dots) s += "h0";  // a round cap makes a dot of it
      pen = true;
    }
    s += "\"/>\n";
  }

  const Chart& c;
  const double last;
  double low, high;
  std::string s;
};

}  // namespace

std::string Chart::svg() const {
  return Drawing(*this).text();
}

}  // namespace tarnix::cli
