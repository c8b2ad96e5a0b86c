// One judge for all solvers: looks at the point alone, by the problem's own formulas.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "compare.h"

namespace compare {
namespace {

using Rows = std::vector<std::vector<double>>;

double dot(const std::vector<double>& a, const std::vector<double>& b) {
  return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

// Gradients of all functions in scaled variables by central differences.
Rows gradients(Values& values, const std::vector<double>& z) {
  const double step = 1e-6;
  std::vector<double> moved = z;
  Rows rows(values.atScaled(z.data()).size(), std::vector<double>(z.size()));
  for (std::size_t j = 0; j < z.size(); ++j) {
    moved[j] = z[j] + step;
    const std::vector<double> right = values.atScaled(moved.data());
    moved[j] = z[j] - step;
    const std::vector<double> left = values.atScaled(moved.data());
    moved[j] = z[j];
    for (std::size_t i = 0; i < rows.size(); ++i) rows[i][j] = (right[i] - left[i]) / (2 * step);
  }
  return rows;
}

// An active constraint or bound: its gradient, its function (0 for a bound), its multiplier.
struct Active {
  std::vector<double> gradient;
  std::size_t function = 0;
  double multiplier = 0;
};

// Multipliers that leave least of g, those of the first `free` of either sign, by descent in one
// after the other. Returns what they leave.
std::vector<double> fitMultipliers(std::vector<double> g, std::vector<Active>& active,
                                   std::size_t free) {
  const double noChange = 1e-12 * std::max(1.0, std::sqrt(dot(g, g)));
  double change = active.empty() ? 0 : 1;
  for (int sweep = 0; sweep < 20000 && change > noChange; ++sweep) {
    change = 0;
    for (std::size_t k = 0; k < active.size(); ++k) {
      Active& a = active[k];
      const double square = dot(a.gradient, a.gradient);
      if (square == 0) continue;
      double next = a.multiplier - dot(a.gradient, g) / square;
      if (k >= free) next = std::max(next, 0.0);
      const double by = next - a.multiplier;
      for (std::size_t j = 0; j < g.size(); ++j) g[j] += by * a.gradient[j];
      change = std::max(change, std::abs(by) * std::sqrt(square));
      a.multiplier = next;
    }
  }
  return g;
}

// Second derivatives of the Lagrangian, by differences.
Rows curvature(Values& values, const std::vector<double>& z, const std::vector<Active>& active) {
  const double step = 3e-6;
  const auto lagrangian = [&](const std::vector<double>& at) {
    const std::vector<double>& all = values.atScaled(at.data());
    double sum = all[0];
    for (const Active& a : active)
      if (a.function > 0) sum += a.multiplier * all[a.function];
    return sum;
  };
  const std::size_t n = z.size();
  const double here = lagrangian(z);
  std::vector<double> moved = z, right(n), left(n);
  for (std::size_t i = 0; i < n; ++i) {
    moved[i] = z[i] + step;
    right[i] = lagrangian(moved);
    moved[i] = z[i] - step;
    left[i] = lagrangian(moved);
    moved[i] = z[i];
  }
  Rows h(n, std::vector<double>(n));
  for (std::size_t i = 0; i < n; ++i) {
    h[i][i] = (right[i] - 2 * here + left[i]) / (step * step);
    for (std::size_t j = 0; j < i; ++j) {
      moved[i] = z[i] + step, moved[j] = z[j] + step;
      const double both = lagrangian(moved);
      moved[i] = z[i] - step, moved[j] = z[j] - step;
      const double neither = lagrangian(moved);
      moved[i] = z[i], moved[j] = z[j];
      h[i][j] = h[j][i] =
          (both + neither - right[i] - right[j] - left[i] - left[j] + 2 * here) / (2 * step * step);
    }
  }
  return h;
}

// h := P h P, r := P r, where P takes away what lies along the gradients that hold the point.
void project(Rows& h, std::vector<double>& r, const std::vector<Active>& active, std::size_t free) {
  Rows basis;
  for (std::size_t k = 0; k < active.size(); ++k) {
    std::vector<double> a = active[k].gradient;
    const double length = std::sqrt(dot(a, a));
    if (k >= free && !(active[k].multiplier > 0)) continue;
    for (int twice = 0; twice < 2; ++twice)
      for (const auto& q : basis) {
        const double along = dot(q, a);
        for (std::size_t j = 0; j < a.size(); ++j) a[j] -= along * q[j];
      }
    const double rest = std::sqrt(dot(a, a));
    if (!(rest > 1e-8 * length)) continue;
    for (double& v : a) v /= rest;
    basis.push_back(a);
  }
  const auto takeAway = [&basis](std::vector<double>& v) {
    for (const auto& q : basis) {
      const double along = dot(q, v);
      for (std::size_t j = 0; j < v.size(); ++j) v[j] -= along * q[j];
    }
  };
  const auto transpose = [&h] {
    for (std::size_t i = 0; i < h.size(); ++i)
      for (std::size_t j = 0; j < i; ++j) std::swap(h[i][j], h[j][i]);
  };
  takeAway(r);
  for (auto& row : h) takeAway(row);
  transpose();
  for (auto& row : h) takeAway(row);
}

// Makes h diagonal by Jacobi's rotations, and turns r along.
void diagonalize(Rows& h, std::vector<double>& r) {
  const std::size_t n = h.size();
  for (int sweep = 0; sweep < 30; ++sweep) {
    double off = 0, all = 0;
    for (std::size_t i = 0; i < n; ++i)
      for (std::size_t j = 0; j < n; ++j) (i == j ? all : off) += h[i][j] * h[i][j];
    if (off <= 1e-24 * all) return;
    for (std::size_t p = 0; p < n; ++p)
      for (std::size_t q = p + 1; q < n; ++q) {
        if (h[p][q] == 0) continue;
        const double theta = (h[q][q] - h[p][p]) / (2 * h[p][q]);
        const double t = (theta < 0 ? -1 : 1) / (std::abs(theta) + std::hypot(1.0, theta));
        const double c = 1 / std::hypot(1.0, t), s = t * c;
        const auto turn = [c, s](double& a, double& b) {
          const double before = a;
          a = c * before - s * b;
          b = s * before + c * b;
        };
        for (std::size_t k = 0; k < n; ++k) turn(h[k][p], h[k][q]);
        for (std::size_t k = 0; k < n; ++k) turn(h[p][k], h[q][k]);
        turn(r[p], r[q]);
      }
  }
}

// Constraints and bounds that are reached within a small step.
std::vector<Active> activeAt(const Problem& p, const std::vector<double>& z,
                             const std::vector<double>& values, const Rows& rows) {
  const double near = 1e-4;
  std::vector<Active> active;
  for (std::size_t i = 1; i < rows.size(); ++i)
    if (i <= std::size_t(p.nEq) ||
        values[i] > -near * std::max(1.0, std::sqrt(dot(rows[i], rows[i]))))
      active.push_back({rows[i], i, 0});
  for (std::size_t j = 0; j < z.size(); ++j)
    if (std::abs(z[j]) > 1 - near) {
      active.push_back({std::vector<double>(z.size()), 0, 0});
      active.back().gradient[j] = z[j] > 0 ? 1 : -1;
    }
  return active;
}

}  // namespace

double furtherFall(const Problem& p, const std::vector<double>& x, double tolerance) {
  const double never = std::numeric_limits<double>::infinity(), radius = 0.1;
  Setup exact;
  exact.maxEvaluations = std::numeric_limits<long>::max();
  exact.maxSeconds = never;
  Values values(p, exact);
  const std::vector<double> z = values.scaled(x), here = values.atScaled(z.data());
  if (!(problemViolation(&p, x.data(), nullptr) <= tolerance)) return never;
  const Rows rows = gradients(values, z);
  std::vector<Active> active = activeAt(p, z, here, rows);
  const auto free = static_cast<std::size_t>(p.nEq);
  std::vector<double> slope = fitMultipliers(rows[0], active, free);
  Rows h = curvature(values, z, active);
  project(h, slope, active, free);
  diagonalize(h, slope);
  double fall = 0;
  for (std::size_t i = 0; i < slope.size(); ++i) {
    const double c = std::abs(slope[i]), bend = h[i][i];
    fall += bend * radius > c ? c * c / (2 * bend) : c * radius - bend * radius * radius / 2;
  }
  return std::isfinite(fall) ? fall / std::max(1.0, std::abs(here[0])) : never;
}

Verdict judge(const Problem& p, const Claim& claim, double looseTolerance) {
  const double tight = 1e-6, noFall = 1e-4;
  Verdict v;
  v.violation = problemViolation(&p, claim.x.data(), &v.f);
  const double scale = std::max(1.0, std::abs(p.fBest)), off = std::abs(v.f - p.fBest);
  v.loose = off <= looseTolerance * scale && v.violation <= looseTolerance;
  v.tight = off <= tight * scale && v.violation <= tight;
  v.better = v.f < p.fBest - tight * scale && v.violation <= 1e-10;
  // Below the best known: what the violation that is allowed was worth.
  const bool below = v.f < p.fBest && v.violation <= looseTolerance;
  if (claim.success && !v.loose && !below) {
    v.fall = furtherFall(p, claim.x, looseTolerance);
    v.wrong = !(v.fall <= noFall);
  }
  return v;
}

}  // namespace compare
