#include "grg/basis.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "state/settings.h"
#include "state/work_storage.h"
#include "trace/claim.h"

namespace tarnix::core {

namespace {

bool isPivot(double value) { return std::fabs(value) > settings->zeroTol; }

// Walks the rows and keeps the candidates behind the dependent variables in varList.
struct BasisChoice {
  const double* x;
  const Box box;
  const Gradients& gradients;
  const double* moveDir;
  Basis& basis;
  const BasisScratch work;

  bool run() {
    int r = 1;
    while (r <= basis.rows.count()) {
      const int32_t c = basis.rows(r);
      if (candidates() == 0 || basis.nDep >= basis.ld) {  // nothing left to hold it with
        dropRow(r);
        continue;
      }
      scoreCandidates(c);
      sortCandidates();
      switch (placeRow(c)) {
        case Placed::accepted: ++r; break;
        case Placed::junk: dropRow(r); break;
        case Placed::noStorage: return false;
      }
    }
    basis.fillJacobian(gradients);
    return true;
  }

 private:
  enum class Placed { accepted, junk, noStorage };

  int candidates() const { return basis.n - basis.nDep; }
  int32_t* firstCandidate() { return basis.variables + basis.nDep; }

  void scoreCandidates(int32_t c) {
    for (int p = 0; p < candidates(); ++p) {
      const int v = firstCandidate()[p];
      work.score[p] = dependentScore(v, gradients(v, c), x, box, moveDir);
    }
    if (tracing(3))
      trace::vector("F VECTOR (DISTANCE FROM BOUNDS)", {work.score, candidates()});
  }

  // Exchange pass by decreasing score. Equal scores are not exchanged with each other, though a
  // later exchange may reverse them.
  void sortCandidates() {
    int32_t* variable = firstCandidate();
    for (int p = 0; p < candidates(); ++p)
      for (int q = p + 1; q < candidates(); ++q)
        if (work.score[q] > work.score[p]) {
          std::swap(work.score[p], work.score[q]);
          std::swap(variable[p], variable[q]);
        }
    if (tracing(3)) trace::list("MDDV AFTER SORT", {variable, candidates()});
  }

  Placed placeRow(int32_t c) {
    const int k = basis.nDep;
    for (int failures = 0; failures < candidates(); ++failures) {
      const int32_t v = *firstCandidate();
      for (int i = 1; i <= k; ++i) work.u[i - 1] = gradients(v, basis.rows(i));
      for (int j = 1; j <= k; ++j) work.z[j - 1] = gradients(basis.dependent()(j), c);
      WorkFrame frame;
      if (!trace::claim(frame, 1 + 2 * cellCount(k))) return Placed::noStorage;
      double* w = frame.carve(k);
      double* y = frame.carve(k);
      if (borderInverse(k, gradients(v, c), work.z, work.u, basis.inverse, basis.ld, w, y)) {
        accept(v);
        return Placed::accepted;
      }
      if (tracing(2)) trace::message("SINGULAR MATRIX");
      std::rotate(firstCandidate(), firstCandidate() + 1, basis.variables + basis.n);
      if (tracing(3)) trace::list("MDDV AFTER SWAP", {firstCandidate(), candidates()});
    }
    return Placed::junk;
  }

  void accept(int32_t v) {
    ++basis.nDep;
    if (tracing(3)) trace::matrix("XJINV", basis.inverseBlock(basis.nDep));
    basis.independent.removeValue(v);
    if (tracing(3))
      trace::list("MIDV AFTER SUBTRACT", basis.independent.view());
  }

  void dropRow(int r) {
    if (tracing(2)) trace::message("JUNK FUNCTION");
    basis.rows.removeAt(r);
    if (tracing(3)) trace::list("MJINV AFTER DELETE", basis.rows.view());
  }
};

// The inverse after column j of the basis has been replaced.
void replaceColumn(MatrixView B, int j, const double* column, double* w) {
  const int k = B.rows();
  for (int i = 1; i <= k; ++i) {
    double sum = 0.0;
    for (int l = 1; l <= k; ++l) sum += B(i, l) * column[l - 1];
    w[i - 1] = sum;
  }
  for (int l = 1; l <= k; ++l) {
    const double scaled = B(j, l) / w[j - 1];
    for (int i = 1; i <= k; ++i)
      if (i != j) B(i, l) -= w[i - 1] * scaled;
    B(j, l) = scaled;
  }
}

// One step of an inversion in place: row p becomes row c, and its pivot is divided out.
void eliminate(MatrixView B, int c, int p) {
  const int k = B.rows();
  for (int j = 1; j <= k; ++j) std::swap(B(c, j), B(p, j));
  const double d = 1.0 / B(c, c);
  for (int j = 1; j <= k; ++j) {
    if (j == c) continue;
    const double t = B(c, j) * d;
    for (int i = 1; i <= k; ++i)
      if (i != c) B(i, j) -= B(i, c) * t;
    B(c, j) = t;
  }
  for (int i = 1; i <= k; ++i) B(i, c) = i == c ? d : (0.0 - d) * B(i, c);
}

}  // namespace

int Basis::positionOf(int v) const {
  return static_cast<int>(std::find(variables, variables + nDep, v) - variables) + 1;
}

void Basis::addDependent(int v, int c) {
  // The variables behind the dependent ones are the candidates: v changes places with the first.
  std::iter_swap(variables + nDep, std::find(variables + nDep, variables + n, v));
  ++nDep;
  rows.append(c);
  independent.removeValue(v);
}

void Basis::removeLastDependent() {
  rows.removeAt(rows.count());
  independent.append(variables[--nDep]);
}

void Basis::exchange(int position, int v) {
  const int32_t leaving = variables[position - 1];
  *std::find(variables + nDep, variables + n, v) = leaving;
  variables[position - 1] = v;
  independent.removeValue(v);
  independent.append(leaving);
}

void Basis::fillJacobian(const Gradients& gradients) {
  const MatrixView block = jacobianBlock(nDep);
  for (int j = 1; j <= nDep; ++j)
    for (int i = 1; i <= nDep; ++i) block(i, j) = gradients(dependent()(j), rows(i));
}

double dependentScore(int v, double sensitivity, const double* x, Box box, const double* moveDir) {
  constexpr double moving = 1e-5;
  constexpr double roomy = 0.2;
  constexpr double slope = 4.75;
  constexpr double offset = 0.95f;  // Kept: the single-precision value, widened
  const double upper = box.upperOf(v), lower = box.lowerOf(v);
  const double range = upper - lower;
  if (range == 0.0) return 0.0;  // a fixed variable can hold nothing
  const double up = upper - x[v - 1], down = x[v - 1] - lower;
  const double m = moveDir[v - 1];
  const double distance = m > moving ? up : m < -moving ? down : std::min(up, down);
  const double q = distance / range;
  const double weight = 1.0 - q > roomy ? q : q + (1.0 - q) * slope - offset;
  return std::fabs(sensitivity) * weight;
}

bool chooseBasis(ConstIndex rows1, ConstIndex rows2, const double* x, Box box,
                 const Gradients& gradients, const double* moveDir, Basis& basis,
                 BasisScratch scratch) {
  const int n = basis.n;
  basis.nDep = 0;
  basis.independent.clear();
  for (int32_t v = 1; v <= n; ++v) basis.independent.append(v);
  std::iota(basis.variables, basis.variables + std::max(n, 0), 1);
  basis.rows.clear();
  for (const ConstIndex& rows : {rows1, rows2})
    for (const int32_t c : rows) basis.rows.append(c);
  if (basis.rows.count() == 0) return true;
  return BasisChoice{x, box, gradients, moveDir, basis, scratch}.run();
}

bool borderInverse(int k, double corner, const double* z, const double* u, double* inverse, int ld,
                   double* w, double* y) {
  const MatrixView B{inverse, ld, k + 1, k + 1};
  double reduction = 0.0;
  for (int i = 1; i <= k; ++i) {
    double sum = 0.0;
    for (int j = 1; j <= k; ++j) sum += B(i, j) * u[j - 1];
    w[i - 1] = sum;
    reduction += z[i - 1] * sum;
  }
  const double delta = corner - reduction;
  if (!isPivot(delta)) return false;
  const double d = 1.0 / delta;
  for (int j = 1; j <= k; ++j) {
    double sum = 0.0;
    for (int i = 1; i <= k; ++i) sum += z[i - 1] * B(i, j);
    y[j - 1] = sum;
  }
  for (int j = 1; j <= k; ++j)
    for (int i = 1; i <= k; ++i) B(i, j) += w[i - 1] * y[j - 1] * d;
  for (int i = 1; i <= k; ++i) B(i, k + 1) = (0.0 - d) * w[i - 1];
  for (int j = 1; j <= k; ++j) B(k + 1, j) = (0.0 - d) * y[j - 1];
  B(k + 1, k + 1) = d;
  return true;
}

bool invertJacobian(int k, const double* jacobian, double* inverse, int ld, double* w) {
  const ConstMatrix J{jacobian, ld, k, k};
  const MatrixView B{inverse, ld, k, k};
  for (int j = 1; j <= k; ++j) std::copy_n(J.column(j).data(), k, B.column(j).data());
  for (int c = 1; c <= k; ++c) {
    const double* column = B.column(c).data();
    const auto larger = [](double a, double b) { return std::fabs(a) < std::fabs(b); };
    const int p = static_cast<int>(std::max_element(column + c - 1, column + k, larger) - column) + 1;
    if (!isPivot(B(p, c))) {
      if (tracing(1)) trace::message("ERROR IN GRGIJI, SINGULAR");
      return false;
    }
    w[c - 1] = p;
    eliminate(B, c, p);
  }
  // The row interchanges come back as column interchanges of the inverse, the last one first.
  for (int c = k; c >= 1; --c) {
    const int p = static_cast<int>(w[c - 1]);
    if (p != c) std::swap_ranges(B.column(c).data(), B.column(c).data() + k, B.column(p).data());
  }
  return true;
}

void correctDependents(const Basis& basis, const double* f, Box box, double* x) {
  const MatrixView B = basis.inverseBlock(basis.nDep);
  for (int i = 1; i <= basis.nDep; ++i) {
    const int v = basis.dependent()(i);
    double moved = x[v - 1];
    for (int j = 1; j <= basis.nDep; ++j) moved -= B(i, j) * f[basis.rows(j) - 1];
    x[v - 1] = box.clip(v, moved);
  }
}

double pivotOf(const Basis& basis, int position, int v, const Gradients& gradients) {
  const MatrixView B = basis.inverseBlock(basis.nDep);
  double pivot = 0.0;
  for (int l = 1; l <= basis.nDep; ++l) pivot += B(position, l) * gradients(v, basis.rows(l));
  return pivot;
}

int exchangePartner(const Basis& basis, int position, const double* x, Box box,
                    const Gradients& gradients) {
  int best = 0;
  double highest = -1.0;
  for (const int32_t v : basis.independent.view()) {
    const double pivot = pivotOf(basis, position, v, gradients);
    if (!isPivot(pivot)) continue;
    const double room = std::min(box.upperOf(v) - x[v - 1], x[v - 1] - box.lowerOf(v));
    const double score = std::fabs(pivot) * room;
    if (score > highest) {
      highest = score;
      best = v;
    }
  }
  return best;
}

void exchangeDependent(Basis& basis, int position, int entering, const Gradients& gradients,
                       double* column, double* w) {
  const int k = basis.nDep;
  for (int i = 1; i <= k; ++i) column[i - 1] = gradients(entering, basis.rows(i));
  replaceColumn(basis.inverseBlock(k), position, column, w);
  for (int i = 1; i <= k; ++i) basis.jacobianBlock(k)(i, position) = column[i - 1];
  basis.exchange(position, entering);
}

void updateJacobian(MatrixView jacobian, const double* s, const double* r) {
  const int k = jacobian.rows();
  double den = 0.0;
  for (int i = 0; i < k; ++i) den += s[i] * s[i];
  if (!(std::fabs(den) > settings->zeroTol)) return;
  for (int j = 1; j <= k; ++j)
    for (int i = 1; i <= k; ++i)
      jacobian(i, j) = jacobian(i, j) - r[i - 1] * s[j - 1] / den;
  if (tracing(3)) trace::matrix("UPDATED JACOBIAN", jacobian);
}

}  // namespace tarnix::core
