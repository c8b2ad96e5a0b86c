#include "eval/gradients.h"

#include <tarnix/storage.hpp>

#include <algorithm>
#include <cmath>

#include "trace/claim.h"

namespace tarnix::core {

namespace {

class GradientPass {
 public:
  GradientPass(const DifferencePoint& point, const ColumnSelection& selection,
               const MatrixView& gradients, const DifferenceScratch& arrays)
      : at(point), columns(selection), G(gradients), scratch(arrays) {}

  void run() {
    std::ranges::copy(at.f, scratch.saved.begin());
    askHost();
    if (session().hooks.batch == nullptr || !batched()) oneByOne();
    std::ranges::copy(scratch.saved, at.f.begin());
  }

 private:
  int n() const { return at.x.size(); }

  void askHost() {
    if (session().hooks.gradient == nullptr) return;
    const int m = at.f.size();
    double* x = memory.claim(n());
    double* gradients = memory.claim(int64_t{n()} * m);
    if (x == nullptr || gradients == nullptr) return;  // differences need no memory
    std::ranges::copy(at.x, x);
    toPhysical({x, n()});
    const MatrixView all{gradients, n(), n(), m};
    if (callGradient({x, n()}, all)) given = all;
  }

  bool isGiven(int i, int j) const { return !std::isnan(given(i, j)); }

  // Some derivative by variable i is still to be found.
  bool needed(int i) const {
    if (given.columns() == 0) return true;
    for (int j = 1; j <= at.f.size(); ++j)
      if (columns.column(j) != 0 && !isGiven(i, j)) return true;
    return false;
  }

  double scaledGiven(int i, int j) const {
    const double g = given(i, j) * halfRange(i);
    return at.objective.mode == negatedEquality && at.objective.index == j ? 0.0 - g : g;
  }

  void store(int i, ConstVector forward, ConstVector backward, double width) const {
    if (given.columns() > 0) return storeBeside(i, forward, backward, width);
    // Copies stay in registers.
    const ColumnSelection selection = columns;
    const MatrixView target = G;
    const int m = at.f.size();
    for (int j = 1; j <= m; ++j)
      if (const int c = selection.column(j); c != 0)
        target(i, c) = (forward(j) - backward(j)) / width;
  }

  void storeBeside(int i, ConstVector forward, ConstVector backward, double width) const {
    for (int j = 1; j <= at.f.size(); ++j)
      if (const int c = columns.column(j); c != 0)
        G(i, c) = isGiven(i, j) ? scaledGiven(i, j) : (forward(j) - backward(j)) / width;
  }

  void oneByOne() {
    for (int i = 1; i <= n(); ++i) {
      const double h = settings->diffPert;
      double& xi = at.x(i);
      if (!needed(i)) {
        store(i, at.f, at.f, h);
      } else if (forwardOnly) {
        xi = xi + h;
        evaluate(at.x, at.f, at.objective);
        store(i, at.f, scratch.saved, h);
        xi = xi - h;
      } else {
        xi = xi + h;
        evaluate(at.x, scratch.spare, at.objective);
        xi = (xi - h) - h;
        evaluate(at.x, at.f, at.objective);
        store(i, scratch.spare, at.f, h + h);
        xi = xi + h;
      }
    }
  }

  // The points are those of single calls, to the bit: x goes to physical units and back for each of
  // them. False, with nothing done, when there is no memory for them.
  bool batched() {
    const double h = settings->diffPert;
    int variables = 0;
    for (int i = 1; i <= n(); ++i) variables += needed(i);
    const int count = forwardOnly ? variables : 2 * variables, m = at.f.size();
    double* points = memory.claim(int64_t{n()} * count);
    double* values = memory.claim(int64_t{m} * count);
    if (points == nullptr || values == nullptr) return false;
    const MatrixView X{points, n(), n(), count}, F{values, m, m, count};

    int k = 0;
    const auto notePoint = [&] {
      toPhysical(at.x);
      std::ranges::copy(at.x, X.column(++k).begin());
      std::ranges::copy(scratch.saved, F.column(k).begin());
      toScaled(at.x);
    };
    for (int i = 1; i <= n(); ++i) {
      if (!needed(i)) continue;
      double& xi = at.x(i);
      xi = xi + h;
      notePoint();
      if (forwardOnly) {
        xi = xi - h;
        continue;
      }
      xi = (xi - h) - h;
      notePoint();
      xi = xi + h;
    }
    settings->nFunEval += count;
    if (count > 0) callBatch(X, F);
    for (k = 1; k <= count; ++k) at.objective.applyMode(F.column(k));

    k = 0;
    for (int i = 1; i <= n(); ++i) {
      if (!needed(i)) {
        store(i, at.f, at.f, h);
        continue;
      }
      const ConstVector first = F.column(++k);
      if (forwardOnly)
        store(i, first, scratch.saved, h);
      else
        store(i, first, F.column(++k), h + h);
    }
    return true;
  }

  // Given.
  const DifferencePoint& at;
  const ColumnSelection& columns;
  const MatrixView& G;
  const DifferenceScratch& scratch;
  const bool forwardOnly = settings->diffMethod == 1;
  // Work.
  PrivateFrame<double> memory{session().privateDoubles};
  // Decided.
  ConstMatrix given;  // (n, m) the host's derivatives, empty when it has none here
};

double gradientScale(ConstVector gObj) {
  double sum = 0.0;
  for (const double g : gObj) sum += std::fabs(g);
  const double mean = sum / gObj.size();
  return mean > 1.0 ? mean : 1.0;  // a mean that is not a number (n = 0) gives 1 as well
}

}  // namespace

int ColumnSelection::columns() const {
  int highest = 0;
  for (int j = 1; j <= entries_.size(); ++j) highest = std::max(highest, column(j));
  return highest;
}

void differenceGradients(const DifferencePoint& at, const ColumnSelection& columns,
                         const MatrixView& G, const DifferenceScratch& scratch) {
  GradientPass(at, columns, G, scratch).run();
}

bool gradientsInOneBlock(const DifferencePoint& at, const ColumnSelection& columns,
                         const MatrixView& G) {
  const int m = at.f.size();
  WorkFrame frame;
  if (!frame.reserve(storage::sqpGradients(cellCount(m)))) {
    if (settings->printLevel > 0)
      trace::message(
          Line("Error:  Double precision b storage exceeded").integer(frame.needed(), 10));
    settings->errorFlag = logicalTrue;
    return false;
  }
  ++settings->nGradEval;
  const VectorView saved = frame.vector(m);
  const VectorView spare = frame.vector(m);
  differenceGradients(at, columns, G, {saved, spare});
  return true;
}

bool gradientsInTwoBlocks(const DifferencePoint& at, const ColumnSelection& columns,
                          const MatrixView& G) {
  const int m = at.f.size();
  const int64_t block = storage::grgGradientBlock(cellCount(m));
  WorkFrame first, second;
  if (!trace::claim(first, block) || !trace::claim(second, block)) return false;
  differenceGradients(at, columns, G, {first.vector(m), second.vector(m)});
  return true;
}

bool listedGradients(const DifferencePoint& at, ConstIndex list1, ConstIndex list2, IndexVector map,
                     MatrixView G, VectorView gObj, double& gScale) {
  std::ranges::fill(map, 0);
  int column = 0;
  for (const ConstIndex& list : {list1, list2})
    for (const int32_t c : list) map(c) = ++column;
  map(at.objective.index) = column + 1;
  const bool evaluated = gradientsInTwoBlocks(at, ColumnSelection::map(map), G);
  std::ranges::copy(G.column(map(at.objective.index)), gObj.begin());
  gScale = gradientScale(gObj);
  return evaluated;
}

}  // namespace tarnix::core
