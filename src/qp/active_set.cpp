#include "qp/active_set.h"

#include <algorithm>
#include <cmath>

#include "qp/kernels.h"
#include "state/settings.h"
#include "trace/trace.h"

namespace tarnix::core {

namespace {

// a . v for the gradient a of the row; a bound row is a unit vector.
double rowDot(const QpRows& qp, const Row& row, ConstVector v) {
  switch (row.kind) {
    case Row::Kind::general: return row.sign * dot(qp.A.column(row.index), v);
    case Row::Kind::bound: return row.sign * v(row.index);
    case Row::Kind::none: break;
  }
  return 0.0;
}

// w := gradient of the row; returns its first position that may be nonzero.
int loadGradient(const QpRows& qp, const Row& row, VectorView w) {
  if (row.kind == Row::Kind::general) {
    const ConstVector a = qp.A.column(row.index);
    for (int i = 1; i <= w.size(); ++i) w(i) = row.sign * a(i);
    return 1;
  }
  std::ranges::fill(w, 0.0);
  if (row.kind == Row::Kind::none) return w.size();
  w(row.index) = row.sign;
  return row.index;
}

// v(k) = gradient of active row k . w
void activeDots(const QpRows& qp, const ActiveSet& active, ConstVector w, VectorView v) {
  for (int k = 1; k <= active.count(); ++k) v(k) = rowDot(qp, qp.row(active.rows(k)), w);
}

Columns4 fourColumns(ConstMatrix A, int first) {
  return {A.column(first), A.column(first + 1), A.column(first + 2), A.column(first + 3)};
}

// z := z - W coefficient over the active columns.
void subtractActive(const ActiveSet& active, ConstVector coefficient, VectorView z) {
  const int count = active.count();
  int k = 1;
  for (; k + 3 <= count; k += 4)
    subtractColumns4(z, fourColumns(active.W, k), coefficient.part(k, 4));
  for (; k <= count; ++k) subtractColumn(z, active.W.column(k), coefficient(k));
}

}  // namespace

bool unconstrainedMinimizer(ConstMatrix H, ConstVector g, PackedUpper P, VectorView d) {
  const int n = P.order();
  for (int k = 1; k <= n; ++k) std::ranges::copy(H.column(k).head(k), P.column(k).begin());
  if (!factorWhole(P)) return false;
  for (int i = 1; i <= n; ++i) d(i) = -g(i);
  solveFactored(P, d);
  return true;
}

void residuals(const QpRows& qp, ConstVector d, VectorView res) {
  const int n = qp.n(), m = std::max(qp.m(), 0);
  int r = 1;
  for (; r + 3 <= m; r += 4) {
    const auto sum = dot4(fourColumns(qp.A, r), d);
    storePair(&res(r), Pair{sum[0], sum[1]} - loadPair(&qp.b(r)));
    storePair(&res(r + 2), Pair{sum[2], sum[3]} - loadPair(&qp.b(r + 2)));
  }
  for (; r <= m; ++r) res(r) = dot(qp.A.column(r), d) - qp.b(r);

  r = m;
  if (qp.row.everyBound) {
    for (int j = 1; j <= n; ++j, r += 2)
      storePair(&res(r + 1), Pair{d(j) - qp.du(j), qp.dl(j) - d(j)});
  }
  for (int j = 1; j <= n && !qp.row.everyBound; ++j) {
    const int32_t code = qp.row.codes(j);
    if (code == boundBoth || code == boundUpper) res(++r) = d(j) - qp.du(j);
    if (code == boundBoth || code == boundLower) res(++r) = qp.dl(j) - d(j);
  }
  for (int e = qp.m1 + 1; e <= m; ++e) res(++r) = -res(e);
}

double residual(const QpRows& qp, int r, ConstVector d) {
  const Row row = qp.row(r);
  if (row.kind == Row::Kind::general)
    return row.sign * (dot(qp.A.column(row.index), d) - qp.b(row.index));
  const int j = row.index;
  return row.sign > 0.0 ? d(j) - qp.du(j) : qp.dl(j) - d(j);
}

int mostViolated(int m, int m1, int nb, ConstVector res, const IndexList& active) {
  const int firstMirrored = m + nb + 1;
  const auto partner = [&](int r) {
    if (r >= firstMirrored) return r - nb - m + m1;
    return r > m1 && r <= m ? r + nb + m - m1 : 0;
  };
  const auto taken = [&](int r) {
    const int other = partner(r);
    return active.contains(r) || (other != 0 && active.contains(other));
  };
  int p = firstLargest(res, settings->zeroTol);
  if (p == 0 || !taken(p)) return p;
  // Rare, for an active row is violated by rounding only.
  p = 0;
  double best = settings->zeroTol;
  for (int r = 1; r <= res.size(); ++r) {
    if (!(res(r) > best) || taken(r)) continue;
    best = res(r);
    p = r;
  }
  return p;
}

void directions(const QpRows& qp, int p, ConstPacked P, const ActiveSet& active, bool keepColumn,
                VectorView r, VectorView z) {
  const Row row = qp.row(p);
  const bool full = active.full();
  const VectorView w = full ? z : active.W.column(active.bordering());
  const VectorView change = r.head(active.count());
  if (full || !keepColumn) {
    const int first = loadGradient(qp, row, w);
    solveFactored(P, w, first);
  }
  if (full) {
    // n independent rows leave no direction: z is 0, and only the multipliers can move.
    activeDots(qp, active, w, change);
    solveFactored(active.T, change);
    negate(change, change);
    std::ranges::fill(z, 0.0);
  } else {
    borderFactor(qp, p, active);
    std::ranges::copy(active.T.column(active.bordering()).head(active.count()), change.begin());
    solveUnitUpper(active.T, change);
    negate(change, change);
    negate(z, w);
    subtractActive(active, change, z);
  }
}

double slope(const QpRows& qp, int p, ConstVector z) {
  return rowDot(qp, qp.row(p), z);
}

double curvature(const ActiveSet& active) {
  return active.full() ? 0.0 : active.T(active.bordering(), active.bordering());
}

DualStep dualStep(ConstVector multiplier, ConstVector r, double q, double curvature,
                  double violation) {
  const double zeroTol = settings->zeroTol;
  double partial = settings->bigValue;
  int drop = 0;
  for (int k = 1; k <= r.size(); ++k) {
    if (!(r(k) < -zeroTol)) continue;
    const double candidate = -multiplier(k) / r(k);
    if (candidate <= partial) {  // of equal steps the later row is dropped
      partial = candidate;
      drop = k;
    }
  }
  const bool hasPartial = drop != 0;
  const bool hasFull = curvature > zeroTol && std::fabs(q) > zeroTol;
  // Either may be negative: a step along a curvature within zeroTol may pass row p's limit by far,
  // and the next one has to come back.
  const double full = hasFull ? -violation / q : settings->bigValue;

  using Kind = DualStep::Kind;
  if (hasFull && (!hasPartial || full <= partial)) return {full, Kind::full, r.size() + 1};
  if (hasPartial) return {partial, hasFull ? Kind::partial : Kind::onlyPartial, drop};
  return {0.0, Kind::none, 0};
}

void takeStep(double step, ConstVector z, VectorView d, ConstVector r, VectorView multiplier,
              double& up) {
  addMultiple(d, z, step);
  up = up + step;
  addMultiple(multiplier, r, step);
}

void borderFactor(const QpRows& qp, int p, const ActiveSet& active) {
  const int k = active.bordering();
  const ConstVector w = active.W.column(k);
  const VectorView column = active.T.column(k);
  activeDots(qp, active, w, column);
  column(k) = rowDot(qp, qp.row(p), w);
  reduceColumn(active.T, k);
}

bool addRow(ActiveSet& active, int p, double up) {
  if (active.full()) {
    if (tracing(1)) trace::message("ERROR: TOO MANY ACTIVE CONSTRAINTS, SHOULD NOT HAPPEN");
    return false;
  }
  const int k = active.bordering();
  if (!(active.T(k, k) >= settings->zeroTol)) {
    if (tracing(1))
      trace::message("ERROR: NONPOSITIVE GRADGT*BINV*GRADV MATRIX, SHOULD NOT HAPPEN");
    return false;
  }
  active.rows.append(p);
  active.multiplier(k) = up;
  return true;
}

void dropRow(ActiveSet& active, int k) {
  const int count = active.count();
  // The column of the dropped row serves as work before the later ones move over it.
  deleteRow(active.T, count, k, active.W.column(k));
  const int last = std::min(count + 1, active.W.columns());
  if (k < last)
    std::copy(active.W.column(k + 1).begin(), active.W.column(last).end(),
              active.W.column(k).begin());
  std::ranges::copy(active.multiplier.part(k + 1, count - k), &active.multiplier(k));
  active.rows.removeAt(k);
}

}  // namespace tarnix::core
