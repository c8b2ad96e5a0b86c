#include "qp/active_set.h"

#include <algorithm>
#include <cmath>

#include "state/settings.h"
#include "qp/kernels.h"
#include "trace/trace.h"

namespace tarnix::core {

namespace {

// a . v for the gradient a of the row; a bound row is a unit vector.
double rowDot(const QpRows& qp, const Row& row, const double* v) {
  switch (row.kind) {
    case Row::Kind::general:
      return row.sign * dot(qp.A.column(row.index).data(), v, qp.n);
    case Row::Kind::bound:
      return row.sign * v[row.index - 1];
    case Row::Kind::none:
      break;
  }
  return 0.0;
}

// w := gradient of the row; returns its first position that may be nonzero.
int loadGradient(const QpRows& qp, const Row& row, double* w) {
  if (row.kind == Row::Kind::general) {
    const double* a = qp.A.column(row.index).data();
    for (int i = 0; i < qp.n; ++i) w[i] = row.sign * a[i];
    return 1;
  }
  std::fill_n(w, qp.n, 0.0);
  if (row.kind == Row::Kind::none) return qp.n;
  w[row.index - 1] = row.sign;
  return row.index;
}

// v(k) = gradient of active row k . w
void activeDots(const QpRows& qp, const ActiveSet& active, const double* w, double* v) {
  for (int k = 1; k <= active.count(); ++k) v[k - 1] = rowDot(qp, qp.row(active.rows(k)), w);
}

// z := z - W coefficient over the active columns.
void subtractActive(const ActiveSet& active, const double* coefficient, double* z) {
  const int count = active.count();
  int k = 1;
  for (; k + 3 <= count; k += 4) {
    const double* const w = active.W.column(k).data();
    const int n = active.n;
    const double* const columns[4] = {w, w + n, w + 2 * n, w + 3 * n};
    subtractColumns4(z, columns, coefficient + (k - 1), n);
  }
  for (; k <= count; ++k) subtractColumn(z, active.W.column(k).data(), coefficient[k - 1], active.n);
}

// One-based position of the largest entry above the limit, the first of equals; 0 without one.
int firstLargest(const double* v, int n, double limit) {
  // First the value without a branch per entry, then its place. A NaN is above nothing.
  const auto larger = [](Pair a, Pair b) { return a > b ? a : b; };
  Pair m0 = {limit, limit}, m1 = m0;
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    m0 = larger(loadPair(v + i), m0);
    m1 = larger(loadPair(v + i + 2), m1);
  }
  m0 = larger(m1, m0);
  double best = m0[1] > m0[0] ? m0[1] : m0[0];
  for (; i < n; ++i) best = v[i] > best ? v[i] : best;
  if (!(best > limit)) return 0;
  const Pair wanted = {best, best};
  for (i = 0; i + 4 <= n; i += 4) {
    const auto found = (loadPair(v + i) == wanted) | (loadPair(v + i + 2) == wanted);
    if ((found[0] | found[1]) != 0) break;
  }
  while (v[i] != best) ++i;
  return i + 1;
}

}  // namespace

bool unconstrainedMinimizer(int n, ConstMatrix H, const double* g, PackedUpper P, double* d) {
  for (int k = 1; k <= n; ++k) std::copy_n(H.column(k).data(), k, P.column(k));
  if (!factorWhole(P, n)) return false;
  for (int i = 0; i < n; ++i) d[i] = -g[i];
  solveFactored(P, d, n);
  return true;
}

void residuals(const QpRows& qp, const double* d, double* res) {
  int r = 1;
  for (; r + 3 <= qp.m; r += 4) {
    const double* const a = qp.A.column(r).data();
    const std::ptrdiff_t ld = qp.A.ld();
    const double* const columns[4] = {a, a + ld, a + 2 * ld, a + 3 * ld};
    double sum[4];
    dot4(columns, d, qp.n, sum);
    const double* b = qp.b + (r - 1);
    storePair(res + r - 1, Pair{sum[0], sum[1]} - loadPair(b));
    storePair(res + r + 1, Pair{sum[2], sum[3]} - loadPair(b + 2));
  }
  for (; r <= qp.m; ++r) res[r - 1] = dot(qp.A.column(r).data(), d, qp.n) - qp.b[r - 1];

  double* out = res + std::max(qp.m, 0);
  if (qp.row.everyBound) {
    for (int j = 0; j < qp.n; ++j, out += 2) storePair(out, Pair{d[j] - qp.du[j], qp.dl[j] - d[j]});
  }
  for (int j = 0; j < qp.n && !qp.row.everyBound; ++j) {
    const int32_t code = qp.row.codes[j];
    if (code == boundBoth || code == boundUpper) *out++ = d[j] - qp.du[j];
    if (code == boundBoth || code == boundLower) *out++ = qp.dl[j] - d[j];
  }
  for (int e = qp.m1 + 1; e <= qp.m; ++e) *out++ = -res[e - 1];
}

double residual(const QpRows& qp, int r, const double* d) {
  const Row row = qp.row(r);
  if (row.kind == Row::Kind::general)
    return row.sign * (dot(qp.A.column(row.index).data(), d, qp.n) - qp.b[row.index - 1]);
  if (row.kind == Row::Kind::none) return 0.0;
  const int j = row.index - 1;
  return row.sign > 0.0 ? d[j] - qp.du[j] : qp.dl[j] - d[j];
}

int mostViolated(int m, int m1, int nb, const double* res, const IndexList& active) {
  const int mirrored = std::max(m - m1, 0);
  const int firstMirrored = m + nb + 1;
  const auto partner = [&](int r) {
    if (r >= firstMirrored) return r - nb - m + m1;
    return r > m1 && r <= m ? r + nb + m - m1 : 0;
  };
  const auto taken = [&](int r) {
    const int other = partner(r);
    return active.contains(r) || (other != 0 && active.contains(other));
  };
  const int count = m + nb + mirrored;
  int p = firstLargest(res, count, settings->zeroTol);
  if (p == 0 || !taken(p)) return p;
  // Rare, for an active row is violated by rounding only.
  p = 0;
  double best = settings->zeroTol;
  for (int r = 1; r <= count; ++r) {
    if (!(res[r - 1] > best) || taken(r)) continue;
    best = res[r - 1];
    p = r;
  }
  return p;
}

void directions(const QpRows& qp, int p, ConstPacked P, const ActiveSet& active, bool keepColumn,
                double* r, double* z) {
  const int nact = active.count();
  const Row row = qp.row(p);
  const bool full = active.full();
  double* w = full ? z : active.W.column(active.bordering()).data();
  if (full || !keepColumn) {
    const int first = loadGradient(qp, row, w);
    solveFactored(P, w, qp.n, first);
  }
  if (full) {
    // n independent rows leave no direction: z is 0, and only the multipliers can move.
    activeDots(qp, active, w, r);
    solveFactored(active.T, r, nact);
    negate(r, r, nact);
    std::fill_n(z, qp.n, 0.0);
  } else {
    borderFactor(qp, p, active);
    std::copy_n(active.T.column(active.bordering()), nact, r);
    solveUnitUpper(active.T, r, nact);
    negate(r, r, nact);
    negate(z, w, qp.n);
    subtractActive(active, r, z);
  }
}

double slope(const QpRows& qp, int p, const double* z) {
  return rowDot(qp, qp.row(p), z);
}

double curvature(const ActiveSet& active) {
  return active.full() ? 0.0 : active.T(active.bordering(), active.bordering());
}

StepLength stepLength(int nact, const double* multiplier, const double* r, double q,
                      double curvature, double s) {
  const double zeroTol = settings->zeroTol;
  double partial = settings->bigValue;
  int drop = 0;
  for (int k = 1; k <= nact; ++k) {
    if (!(r[k - 1] < -zeroTol)) continue;
    const double candidate = -multiplier[k - 1] / r[k - 1];
    if (candidate <= partial) {  // on equal lengths the later row is dropped
      partial = candidate;
      drop = k;
    }
  }
  const bool hasPartial = drop != 0;
  const bool hasFull = curvature > zeroTol && std::fabs(q) > zeroTol;
  // Either may be negative: a step along a curvature within zeroTol may pass row p's limit by far,
  // and the next one has to come back.
  const double full = hasFull ? -s / q : settings->bigValue;

  using Kind = StepLength::Kind;
  if (hasFull && (!hasPartial || full <= partial)) return {full, Kind::full, nact + 1};
  if (hasPartial) return {partial, hasFull ? Kind::partial : Kind::onlyPartial, drop};
  return {0.0, Kind::none, 0};
}

void takeStep(int n, double t, const double* z, double* d, int nact, const double* r,
              double* multiplier, double& up) {
  addMultiple(d, z, t, n);
  up = up + t;
  addMultiple(multiplier, r, t, nact);
}

void borderFactor(const QpRows& qp, int p, const ActiveSet& active) {
  const int k = active.bordering();
  const double* w = active.W.column(k).data();
  double* column = active.T.column(k);
  activeDots(qp, active, w, column);
  column[k - 1] = rowDot(qp, qp.row(p), w);
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
  active.multiplier[k - 1] = up;
  return true;
}

void dropRow(ActiveSet& active, int k) {
  const int count = active.count();
  // The column of the dropped row serves as work before the later ones move over it.
  deleteRow(active.T, count, k, active.W.column(k).data());
  const int last = std::min(count + 1, active.n);
  if (k < last)
    std::copy(active.W.column(k + 1).data(), active.W.column(last).data() + active.n, active.W.column(k).data());
  std::copy(active.multiplier + k, active.multiplier + count, active.multiplier + (k - 1));
  active.rows.removeAt(k);
}

}  // namespace tarnix::core
