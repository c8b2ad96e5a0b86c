#include "run/prediction.h"

#include <tarnix/session.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarnix::cli {

namespace {

// A search may return to the point before it, and a stage to the best one so far.
constexpr std::size_t recentPoints = 200;

// While the core runs the thread uses the session of the solve, else the process-wide one.
tarnix_session* sessionInUse() {
  tarnix_session* const used = tarnix_session_use(nullptr);
  tarnix_session_use(used);
  return used;
}
const VRK_Settings& settingsInUse() { return *tarnix_session_settings(sessionInUse()); }

}  // namespace

PassPrediction::PassPrediction(const ProblemFile& problem)
    : keepInside(problem.options.insideBounds), differenceStep(problem.options.differenceStep) {
  for (std::size_t i = 0; i < problem.variables.size(); ++i) {
    const VariableEntry& v = problem.variables[i];
    fixedValues.push_back(v.start);
    if (v.lower == v.upper) continue;
    free.push_back(i);
    lower.push_back(v.lower);
    upper.push_back(v.upper);
  }
}

// ---- the core's arithmetic ---------------------------------------------------------------------

double PassPrediction::toPhysical(std::size_t i, double scaled) const {
  return ((upper[i] - lower[i]) * scaled + (upper[i] + lower[i])) * 0.5;
}

double PassPrediction::toScaled(std::size_t i, double physical) const {
  return (physical - (upper[i] + lower[i]) * 0.5) / ((upper[i] - lower[i]) * 0.5);
}

bool PassPrediction::near(std::size_t i, double a, double b) const {
  return std::abs(a - b) <=
         1e-13 * (upper[i] - lower[i]) + 8 * std::numeric_limits<double>::epsilon() *
                                             std::max(std::abs(lower[i]), std::abs(upper[i]));
}

// What is on a bound up to rounding is put there before a design is asked for.
double PassPrediction::clipped(std::size_t i, double physical) const {
  if (near(i, physical, lower[i])) return lower[i];
  if (near(i, physical, upper[i])) return upper[i];
  return physical;
}

// The core's scaled vector after an evaluation. On a bound the clipping has hidden its last bits;
// it is taken to be what scaling back and forth leaves of -1 or 1.
PassPrediction::Vector PassPrediction::scaledOf(const Vector& physical) const {
  Vector scaled;
  for (std::size_t i = 0; i < physical.size(); ++i) {
    double s = toScaled(i, physical[i]);
    if (physical[i] == lower[i] || physical[i] == upper[i]) {
      s = physical[i] == lower[i] ? -1.0 : 1.0;
      for (int round = 0; round < 8; ++round) s = toScaled(i, toPhysical(i, s));
    }
    scaled.push_back(s);
  }
  return scaled;
}

// ---- designs and core points -------------------------------------------------------------------

PassPrediction::Vector PassPrediction::freeOf(std::span<const double> design) const {
  Vector x;
  for (const std::size_t i : free) x.push_back(design[i]);
  return x;
}

std::vector<double> PassPrediction::whole(const Vector& physical) const {
  std::vector<double> design = fixedValues;
  for (std::size_t i = 0; i < free.size(); ++i) design[free[i]] = physical[i];
  return design;
}

std::vector<double> PassPrediction::firstAsked(std::span<const double> start) const {
  Vector x = freeOf(start);
  for (std::size_t i = 0; i < x.size(); ++i) x[i] = clipped(i, toPhysical(i, toScaled(i, x[i])));
  return whole(x);
}

bool PassPrediction::close(std::span<const double> a, std::span<const double> b) const {
  for (std::size_t i = 0; i < free.size(); ++i)
    if (!near(i, a[free[i]], b[free[i]])) return false;
  return true;
}

// ---- passes ------------------------------------------------------------------------------------

Designs PassPrediction::after(std::span<const double> design, bool foreseen) {
  const Vector x = freeOf(design);
  if (x.empty()) return {};
  const double step = settingsInUse().diffPert * half(0);
  const bool outsideCore = sessionInUse() == nullptr;
  if (foreseen) return {};

  Designs predicted;
  for (std::size_t k = 0; k < recent.size() && predicted.empty(); ++k) {
    const Vector& base = recent[(oldest + recent.size() - 1 - k) % recent.size()];
    bool only = true;
    for (std::size_t i = 1; i < x.size() && only; ++i) only = near(i, x[i], base[i]);
    if (!only) continue;
    if (outsideCore) {
      const Designs pass = reportPass(base);
      if (whole(x) == pass[0]) predicted.assign(pass.begin() + 1, pass.end());
    }
    const bool forward = near(0, x[0], base[0] + step);
    // Where the step would leave the box, the point on the inner side is asked for.
    const bool inner = keepInside && base[0] + step > upper[0] && near(0, x[0], base[0] - step);
    if (predicted.empty() && (forward || inner)) predicted = corePass(x, base);
  }
  if (!predicted.empty()) return predicted;  // a step of a pass, and no base of another
  if (recent.size() < recentPoints) {
    recent.push_back(x);
  } else {
    recent[oldest] = x;
    oldest = (oldest + 1) % recentPoints;
  }
  return {};
}

Designs PassPrediction::corePass(const Vector& first, const Vector& base) const {
  const double h = settingsInUse().diffPert;
  const bool central = settingsInUse().diffMethod != 1;
  const std::size_t n = first.size();
  Designs points{whole(first)};
  Vector s = scaledOf(first);
  const bool inner = first[0] < base[0];  // asked for in place of the step beyond the upper bound
  if (inner) s[0] = scaledOf(base)[0] + h;
  for (std::size_t i = 0; i < n; ++i) {
    const auto evaluate = [&] {
      Vector physical(n);
      for (std::size_t k = 0; k < n; ++k) physical[k] = toPhysical(k, s[k]);
      addAsked(physical, i, points);
      for (std::size_t k = 0; k < n; ++k) s[k] = toScaled(k, physical[k]);
    };
    if (i > 0) s[i] = s[i] + h;
    if (i > 0 || inner) evaluate();  // else the first point itself, and s follows it already
    if (central) {
      s[i] = (s[i] - h) - h;
      evaluate();
      s[i] = s[i] + h;
    } else {
      s[i] = s[i] - h;
    }
  }
  points.erase(points.begin());
  return points;
}

// Adds the designs that the answer to a core point asks for.
void PassPrediction::addAsked(const Vector& asked, std::size_t stepped, Designs& points) const {
  Vector x = asked;
  for (std::size_t i = 0; i < x.size(); ++i) x[i] = clipped(i, x[i]);
  const auto add = [&](double value) {
    x[stepped] = value;
    const std::vector<double> design = whole(x);
    const std::size_t begin = points.size() - std::min<std::size_t>(points.size(), 2);
    for (std::size_t k = begin; keepInside && k < points.size(); ++k)
      if (close(points[k], design)) return;  // remembered, not asked for again
    points.push_back(design);
  };
  const bool above = x[stepped] > upper[stepped], below = x[stepped] < lower[stepped];
  if (!keepInside || (!above && !below)) return add(x[stepped]);
  const double size = half(stepped) * settingsInUse().diffPert, step = above ? size : -size;
  const double base =
      clipped(stepped, std::min(std::max(x[stepped] - step, lower[stepped]), upper[stepped]));
  add(base - step);
  if (settingsInUse().diffMethod != 1) add(base - 2 * step);
}

Designs PassPrediction::reportPass(const Vector& base) const {
  Designs points;
  for (std::size_t i = 0; i < base.size(); ++i) {
    const double step = differenceStep * half(i);
    Vector x = base;
    x[i] = base[i] + step <= upper[i] ? base[i] + step : base[i] - step;
    points.push_back(whole(x));
  }
  return points;
}

}  // namespace tarnix::cli
