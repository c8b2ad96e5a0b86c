#include "eval/gradients.h"

#include <algorithm>
#include <cmath>

#include "state/settings.h"
#include "state/work_storage.h"
#include "trace/trace.h"

namespace tarnix::core {

namespace {

void storeQuotients(const DifferencePoint& at, ColumnSelection columns, int ld, double* G, int i,
                    const double* forward, const double* backward, double width) {
  for (int j = 1; j <= at.m; ++j) {
    const int c = columns.column(j);
    if (c == 0) continue;
    G[static_cast<std::ptrdiff_t>(c - 1) * ld + (i - 1)] =
        (forward[j - 1] - backward[j - 1]) / width;
  }
}

void forwardDifferences(const DifferencePoint& at, ColumnSelection columns, int ld, double* G,
                        const double* saved) {
  for (int i = 1; i <= at.n; ++i) {
    const double h = settings->diffPert;
    double& xi = at.x[i - 1];
    xi = xi + h;
    evaluate(at.n, at.x, at.f, at.negation);
    storeQuotients(at, columns, ld, G, i, at.f, saved, h);
    xi = xi - h;
  }
}

void centralDifferences(const DifferencePoint& at, ColumnSelection columns, int ld, double* G,
                        double* forward) {
  for (int i = 1; i <= at.n; ++i) {
    const double h = settings->diffPert;
    double& xi = at.x[i - 1];
    xi = xi + h;
    evaluate(at.n, at.x, forward, at.negation);
    xi = (xi - h) - h;
    evaluate(at.n, at.x, at.f, at.negation);
    storeQuotients(at, columns, ld, G, i, forward, at.f, h + h);
    xi = xi + h;
  }
}

double gradientScale(ConstVector gObj) {
  double sum = 0.0;
  for (const double g : gObj) sum += std::fabs(g);
  const double mean = sum / gObj.size();
  return mean > 1.0 ? mean : 1.0;  // a mean that is not a number (n = 0) gives 1 as well
}

}  // namespace

void differenceGradients(const DifferencePoint& at, ColumnSelection columns, int ld, double* G,
                         DifferenceScratch scratch) {
  std::copy_n(at.f, std::max(at.m, 0), scratch.saved);
  if (settings->diffMethod == 1)
    forwardDifferences(at, columns, ld, G, scratch.saved);
  else
    centralDifferences(at, columns, ld, G, scratch.spare);
  std::copy_n(scratch.saved, std::max(at.m, 0), at.f);
}

bool gradientsInOneBlock(const DifferencePoint& at, ColumnSelection columns, int ld, double* G) {
  WorkFrame frame;
  if (!frame.reserve(1 + 2 * cellCount(at.m))) {
    if (settings->printLevel > 0)
      trace::message(
          Line("Error:  Double precision b storage exceeded").integer(frame.needed(), 10));
    settings->errorFlag = logicalTrue;
    return false;
  }
  ++settings->nGradEval;
  double* saved = frame.carve(at.m);
  double* spare = frame.carve(at.m);
  differenceGradients(at, columns, ld, G, {saved, spare});
  return true;
}

bool gradientsInTwoBlocks(const DifferencePoint& at, ColumnSelection columns, double* G) {
  const int64_t block = cellCount(at.m) + 1;
  WorkFrame first;
  if (!first.reserve(block)) return trace::doubleStorageExceeded(first.needed()), false;
  WorkFrame second;
  if (!second.reserve(block)) return trace::doubleStorageExceeded(second.needed()), false;
  differenceGradients(at, columns, at.n, G, {first.carve(at.m), second.carve(at.m)});
  return true;
}

bool listedGradients(const DifferencePoint& at, ConstIndex list1, ConstIndex list2, int32_t* map,
                     double* G, double* gObj, double& gScale) {
  const int k = at.negation.k;
  const int m1 = std::max(list1.size(), 0), m2 = std::max(list2.size(), 0);
  std::fill_n(map, std::max(at.m, 0), 0);
  for (int i = 1; i <= m1; ++i) map[list1(i) - 1] = i;
  for (int i = 1; i <= m2; ++i) map[list2(i) - 1] = m1 + i;
  map[k - 1] = m1 + m2 + 1;
  const bool evaluated = gradientsInTwoBlocks(at, ColumnSelection::map(map), G);
  copyGradient(G, at.n, map[k - 1], gObj);
  gScale = gradientScale({gObj, at.n});
  return evaluated;
}

void copyGradient(const double* G, int n, int column, double* out) {
  std::copy_n(G + static_cast<std::ptrdiff_t>(column - 1) * n, std::max(n, 0), out);
}

}  // namespace tarnix::core
