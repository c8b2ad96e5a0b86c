#include "api/problem.h"

#include <algorithm>

namespace tarnix {

Problem problem;

void toPhysical(int n, double* x) {
  const double* l = problem.lowerBound;
  const double* u = problem.upperBound;
  for (int i = 0; i < n; ++i) x[i] = ((u[i] - l[i]) * x[i] + (u[i] + l[i])) * 0.5;
}

void toScaled(int n, double* x) {
  const double* l = problem.lowerBound;
  const double* u = problem.upperBound;
  for (int i = 0; i < n; ++i) x[i] = (x[i] - (u[i] + l[i]) * 0.5) / ((u[i] - l[i]) * 0.5);
}

void unscaleResult(int n, double* x) {
  const double* l = problem.lowerBound;
  const double* u = problem.upperBound;
  for (int i = 0; i < n; ++i) x[i] = (u[i] - l[i]) * 0.5 * x[i] + (u[i] + l[i]) * 0.5;
}

void callAnalysis(double* x, double* f) {
  if (problem.analysis == nullptr) return;
  const int32_t m1 = std::max(problem.m1, 0);
  problem.analysis(problem.user, x, f, f + 1, f + 1 + static_cast<std::ptrdiff_t>(m1));
}

}  // namespace tarnix
