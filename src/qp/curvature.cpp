#include "qp/curvature.h"

#include <cmath>

#include "base/ordered_dot.h"
#include "state/settings.h"
#include "trace/trace.h"

namespace tarnix::core {

namespace {

// Single-precision values widened to double; the exact bits decide which updates are made.
constexpr double negligible = 1e-6f;
constexpr double dampingTrigger = 0.2f;
constexpr double dampingFactor = 0.8f;

}  // namespace

bool dampedUpdate(ConstVector s, ConstVector y, MatrixView H, const UpdateWork& work) {
  const int n = s.size();
  const auto [u, r, v] = work;
  for (int j = 1; j <= n; ++j) v(j) = orderedDot(H.column(j), s);
  const double sHs = orderedDot(v, s);
  const double sy = orderedDot(s, y);
  if (std::fabs(sHs) < negligible) return false;
  // The secant condition holds already.
  if (std::fabs(sHs - sy) < negligible) return false;
  const double theta = sy < dampingTrigger * sHs ? dampingFactor * sHs / (sHs - sy) : 1.0;

  for (int i = 1; i <= n; ++i) u(i) = 0.0;
  for (int j = 1; j <= n; ++j)
    for (int i = 1; i <= n; ++i) u(i) += H(i, j) * s(j);
  for (int i = 1; i <= n; ++i) r(i) = theta * y(i) + (1.0 - theta) * u(i);
  const double sr = orderedDot(s, r);
  if (!(std::fabs(sr) >= negligible)) return false;

  for (int j = 1; j <= n; ++j)
    for (int i = 1; i <= n; ++i) H(i, j) = H(i, j) - u(i) * v(j) / sHs + r(i) * r(j) / sr;
  return true;
}

double initialCurvature(ConstVector g) {
  constexpr double smallest = 0.001;
  double sum = 0.0;
  for (const double value : g) sum += std::fabs(value);
  const double mean = sum / g.size();
  return mean > smallest ? mean : smallest;  // a mean that is not a number gives the smallest
}

void setScaledIdentity(double diagonal, MatrixView H) {
  for (int j = 1; j <= H.columns(); ++j)
    for (int i = 1; i <= H.rows(); ++i) H(i, j) = i == j ? diagonal : 0.0;
}

void updateInverse(MatrixView B, ConstVector a, ConstVector b, VectorView u, VectorView w) {
  const int m = B.rows();
  for (int i = 1; i <= m; ++i) {
    double sum = 0.0;
    for (int j = 1; j <= m; ++j) sum += B(i, j) * a(j);
    u(i) = -sum;
  }
  for (int j = 1; j <= m; ++j) w(j) = orderedDot(B.column(j), b);
  double delta = 0.0;
  for (int i = 1; i <= m; ++i) delta += b(i) * (u(i) + b(i));
  if (!(std::fabs(delta) > settings->zeroTol)) return;
  for (int j = 1; j <= m; ++j)
    for (int i = 1; i <= m; ++i) B(i, j) = B(i, j) - u(i) * w(j) / delta;
  if (tracing(3)) trace::matrix("UPDATED INVERSE JACOBIAN", B);
}

}  // namespace tarnix::core
