#include "qp/active_set.h"

#include <algorithm>
#include <cmath>

#include "api/settings.h"
#include "qp/kernels.h"
#include "trace/trace.h"

namespace tarnix {

namespace {

// a . v for the gradient a of the row; a bound row is a unit vector.
double rowDot(const QpRows& qp, const Row& row, const double* v) {
  switch (row.kind) {
    case Row::Kind::general: return row.sign * dot(qp.A.column(row.index), v, qp.n);
    case Row::Kind::bound: return row.sign * v[row.index - 1];
    case Row::Kind::none: break;
  }
  return 0.0;
}

// w := gradient of the row; returns its first position that may be nonzero.
int loadGradient(const QpRows& qp, const Row& row, double* w) {
  if (row.kind == Row::Kind::general) {
    const double* a = qp.A.column(row.index);
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
    const double* column[4];
    for (int c = 0; c < 4; ++c) column[c] = active.W.column(k + c);
    subtractColumns4(z, column, coefficient + (k - 1), active.n);
  }
  for (; k <= count; ++k) subtractColumn(z, active.W.column(k), coefficient[k - 1], active.n);
}

}  // namespace

bool unconstrainedMinimizer(int n, ConstMatrix H, const double* g, PackedUpper P, double* d) {
  for (int k = 1; k <= n; ++k) std::copy_n(H.column(k), k, P.column(k));
  if (!factorColumns(P, n, 1)) return false;
  for (int i = 0; i < n; ++i) d[i] = -g[i];
  solveFactored(P, d, n);
  return true;
}

void residuals(const QpRows& qp, const double* d, double* res) {
  int r = 1;
  for (; r + 3 <= qp.m; r += 4) {
    const double* column[4];
    double sum[4];
    for (int c = 0; c < 4; ++c) column[c] = qp.A.column(r + c);
    dot4(column, d, qp.n, sum);
    for (int c = 0; c < 4; ++c) res[r + c - 1] = sum[c] - qp.b[r + c - 1];
  }
  for (; r <= qp.m; ++r) res[r - 1] = dot(qp.A.column(r), d, qp.n) - qp.b[r - 1];

  double* out = res + std::max(qp.m, 0);
  for (int j = 0; j < qp.n; ++j) {
    const int32_t code = qp.row.codes[j];
    if (code == boundBoth || code == boundUpper) *out++ = d[j] - qp.du[j];
    if (code == boundBoth || code == boundLower) *out++ = qp.dl[j] - d[j];
  }
  for (int e = qp.m1 + 1; e <= qp.m; ++e) *out++ = -res[e - 1];
}

double residual(const QpRows& qp, int r, const double* d) {
  const Row row = qp.row(r);
  if (row.kind == Row::Kind::general)
    return row.sign * (dot(qp.A.column(row.index), d, qp.n) - qp.b[row.index - 1]);
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
  int p = 0;
  double best = settings.zeroTol;
  for (int r = 1; r <= m + nb + mirrored; ++r) {
    if (!(res[r - 1] > best)) continue;
    if (active.contains(r) || active.contains(partner(r))) continue;
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
  double* w = full ? z : active.W.column(active.bordering());
  if (full || !keepColumn) {
    const int first = loadGradient(qp, row, w);
    solveFactored(P, w, qp.n, first);
  }
  if (full) {
    // n independent rows leave no direction: z is 0, and only the multipliers can move.
    activeDots(qp, active, w, r);
    solveFactored(active.T, r, nact);
    std::fill_n(z, qp.n, 0.0);
  } else {
    borderFactor(qp, p, active);
    std::copy_n(active.T.column(active.bordering()), nact, r);
    solveUnitUpper(active.T, r, nact);
    std::copy_n(w, qp.n, z);
    subtractActive(active, r, z);
    for (int i = 0; i < qp.n; ++i) z[i] = -z[i];
  }
  // d moves against z = H^-1 n_p - W r, and with it the active multipliers against r.
  for (int k = 0; k < nact; ++k) r[k] = -r[k];
}

double slope(const QpRows& qp, int p, const double* z) { return rowDot(qp, qp.row(p), z); }

double curvature(const ActiveSet& active) {
  return active.full() ? 0.0 : active.T(active.bordering(), active.bordering());
}

StepLength stepLength(int nact, const double* multiplier, const double* r, double q,
                      double curvature, double s) {
  const double zeroTol = settings.zeroTol;
  double partial = settings.bigValue;
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
  partial = partial < 0.0 ? 0.0 : partial;
  double full = hasFull ? -s / q : settings.bigValue;
  full = full < 0.0 ? 0.0 : full;

  using Kind = StepLength::Kind;
  if (hasFull && (!hasPartial || full <= partial)) return {full, Kind::full, nact + 1};
  if (hasPartial) return {partial, hasFull ? Kind::partial : Kind::onlyPartial, drop};
  return {0.0, Kind::none, 0};
}

void takeStep(int n, double t, const double* z, double* d, int nact, const double* r,
              double* multiplier, double& up) {
  for (int i = 0; i < n; ++i) d[i] = d[i] + t * z[i];
  up = up + t;
  for (int k = 0; k < nact; ++k) multiplier[k] = multiplier[k] + t * r[k];
}

void borderFactor(const QpRows& qp, int p, const ActiveSet& active) {
  const int k = active.bordering();
  const double* w = active.W.column(k);
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
  if (!(active.T(k, k) >= settings.zeroTol)) {
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
  deleteRow(active.T, count, k, active.W.column(k));
  const int last = std::min(count + 1, active.n);
  if (k < last)
    std::copy(active.W.column(k + 1), active.W.column(last) + active.n, active.W.column(k));
  std::copy(active.multiplier + k, active.multiplier + count, active.multiplier + (k - 1));
  active.rows.removeAt(k);
}

}  // namespace tarnix
