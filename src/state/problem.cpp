#include "state/problem.h"

#include <algorithm>

#include "state/session.h"

namespace tarnix::core {

void toPhysical(int n, double* x) {
  const double* l = session().problem.lowerBound;
  const double* u = session().problem.upperBound;
  for (int i = 0; i < n; ++i) x[i] = ((u[i] - l[i]) * x[i] + (u[i] + l[i])) * 0.5;
}

void toScaled(int n, double* x) {
  const double* l = session().problem.lowerBound;
  const double* u = session().problem.upperBound;
  for (int i = 0; i < n; ++i) x[i] = (x[i] - (u[i] + l[i]) * 0.5) / ((u[i] - l[i]) * 0.5);
}

void unscaleResult(int n, double* x) {
  const double* l = session().problem.lowerBound;
  const double* u = session().problem.upperBound;
  for (int i = 0; i < n; ++i) x[i] = (u[i] - l[i]) * 0.5 * x[i] + (u[i] + l[i]) * 0.5;
}

void callAnalysis(double* x, double* f) {
  const Problem& problem = session().problem;
  if (problem.analysis == nullptr) return;
  const int32_t m1 = std::max(problem.m1, 0);
  const SessionKept kept;
  problem.analysis(problem.user, x, f, f + 1, f + 1 + static_cast<std::ptrdiff_t>(m1));
}

}  // namespace tarnix::core
