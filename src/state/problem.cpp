#include "state/problem.h"

#include <algorithm>
#include <limits>

#include "base/pair.h"
#include "state/session.h"

namespace tarnix::core {

namespace {

// x(i) := change(x(i), l(i), u(i)) at every evaluation, two at a time where there are many: a pair
// whose halves have just been stored one by one is slow to load.
template <class Change>
void changeEach(VectorView x, Change change) {
  const double* l = session().problem.lowerBound;
  const double* u = session().problem.upperBound;
  double* xi = x.data();
  const int n = x.size();
  int i = 0;
  if (n >= 8)
    for (; i + 2 <= n; i += 2)
      storePair(xi + i, change(loadPair(xi + i), loadPair(l + i), loadPair(u + i), Pair{0.5, 0.5}));
  for (; i < n; ++i) xi[i] = change(xi[i], l[i], u[i], 0.5);
}

}  // namespace

void toPhysical(VectorView x) {
  changeEach(x, [](auto v, auto l, auto u, auto half) { return ((u - l) * v + (u + l)) * half; });
}

void toScaled(VectorView x) {
  changeEach(
      x, [](auto v, auto l, auto u, auto half) { return (v - (u + l) * half) / ((u - l) * half); });
}

void unscaleResult(VectorView x) {
  const double* l = session().problem.lowerBound;
  const double* u = session().problem.upperBound;
  double* xi = x.data();
  for (int i = 0; i < x.size(); ++i) xi[i] = (u[i] - l[i]) * 0.5 * xi[i] + (u[i] + l[i]) * 0.5;
}

double halfRange(int i) {
  const Problem& problem = session().problem;
  return (problem.upperBound[i - 1] - problem.lowerBound[i - 1]) * 0.5;
}

void callAnalysis(VectorView x, VectorView f) {
  const Problem& problem = session().problem;
  if (problem.analysis == nullptr) return;
  const SessionKept kept;
  double* values = f.data();
  problem.analysis(problem.user, x.data(), values, values + 1,
                   values + 1 + std::max(problem.m1, 0));
}

void callBatch(ConstMatrix X, MatrixView F) {
  const SessionKept kept;
  const Hooks& hooks = session().hooks;
  hooks.batch(hooks.batchUser, X.columns(), X.data(), F.data());
}

bool callGradient(ConstVector x, MatrixView gradients) {
  const Hooks& hooks = session().hooks;
  for (int j = 1; j <= gradients.columns(); ++j)
    std::ranges::fill(gradients.column(j), std::numeric_limits<double>::quiet_NaN());
  const SessionKept kept;
  return hooks.gradient(hooks.gradientUser, x.data(), x.size(), gradients.columns(),
                        gradients.data()) != 0;
}

}  // namespace tarnix::core
