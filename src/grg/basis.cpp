#include "grg/basis.h"

#include <tarnix/storage.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

#include "trace/claim.h"

namespace tarnix::core {

namespace {

bool isPivot(double value) {
  return std::fabs(value) > settings->zeroTol;
}

// Walks the rows and keeps the candidates behind the dependent variables in the list of variables.
struct BasisChoice {
  const ConstVector x;
  const Box box;
  const Gradients& gradients;
  const ConstVector moveDir;
  Basis& basis;
  const BasisScratch work;

  bool run() {
    int r = 1;
    while (r <= basis.rows.count()) {
      const int32_t c = basis.rows(r);
      if (basis.candidates().size() == 0 || basis.nDep >= basis.room()) {
        dropRow(r);  // nothing left to hold it with
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

  void scoreCandidates(int32_t c) {
    const ConstIndex candidates = basis.candidates();
    for (int p = 1; p <= candidates.size(); ++p)
      work.score(p) = dependentScore(candidates(p), gradients(candidates(p), c), x, box, moveDir);
    if (tracing(3))
      trace::vector("F VECTOR (DISTANCE FROM BOUNDS)", work.score.head(candidates.size()));
  }

  // Exchange pass by decreasing score. Equal scores are not exchanged with each other, though a
  // later exchange may reverse them.
  void sortCandidates() {
    const IndexVector candidates = basis.candidates();
    for (int p = 1; p <= candidates.size(); ++p)
      for (int q = p + 1; q <= candidates.size(); ++q)
        if (work.score(q) > work.score(p)) {
          std::swap(work.score(p), work.score(q));
          std::swap(candidates(p), candidates(q));
        }
    if (tracing(3)) trace::list("MDDV AFTER SORT", candidates);
  }

  Placed placeRow(int32_t c) {
    const int k = basis.nDep;
    const IndexVector candidates = basis.candidates();
    for (int failures = 0; failures < candidates.size(); ++failures) {
      const int32_t v = candidates(1);
      for (int i = 1; i <= k; ++i) work.u(i) = gradients(v, basis.rows(i));
      for (int j = 1; j <= k; ++j) work.z(j) = gradients(basis.variables(j), c);
      WorkFrame frame;
      if (!trace::claim(frame, storage::grgBorder(k))) return Placed::noStorage;
      const VectorView w = frame.vector(k);
      const VectorView y = frame.vector(k);
      if (borderInverse(k, gradients(v, c), work.z, work.u, basis.Jinv, w, y)) {
        accept(v);
        return Placed::accepted;
      }
      if (tracing(2)) trace::message("SINGULAR MATRIX");
      std::rotate(candidates.begin(), candidates.begin() + 1, candidates.end());
      if (tracing(3)) trace::list("MDDV AFTER SWAP", candidates);
    }
    return Placed::junk;
  }

  void accept(int32_t v) {
    ++basis.nDep;
    if (tracing(3)) trace::matrix("XJINV", basis.inverseBlock(basis.nDep));
    basis.independent.removeValue(v);
    if (tracing(3)) trace::list("MIDV AFTER SUBTRACT", basis.independent.view());
  }

  void dropRow(int r) {
    if (tracing(2)) trace::message("JUNK FUNCTION");
    basis.rows.removeAt(r);
    if (tracing(3)) trace::list("MJINV AFTER DELETE", basis.rows.view());
  }
};

// The inverse after column j of the basis has been replaced.
void replaceColumn(MatrixView Jinv, int j, ConstVector column, VectorView w) {
  const int k = Jinv.rows();
  for (int i = 1; i <= k; ++i) {
    double sum = 0.0;
    for (int l = 1; l <= k; ++l) sum += Jinv(i, l) * column(l);
    w(i) = sum;
  }
  for (int l = 1; l <= k; ++l) {
    const double scaled = Jinv(j, l) / w(j);
    for (int i = 1; i <= k; ++i)
      if (i != j) Jinv(i, l) -= w(i) * scaled;
    Jinv(j, l) = scaled;
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
  const ConstIndex list = dependent();
  return static_cast<int>(std::ranges::find(list, v) - list.begin()) + 1;
}

void Basis::addDependent(int v, int c) {
  // v changes places with the first candidate.
  const IndexVector others = candidates();
  std::iter_swap(others.begin(), std::ranges::find(others, v));
  ++nDep;
  rows.append(c);
  independent.removeValue(v);
}

void Basis::removeLastDependent() {
  rows.removeAt(rows.count());
  independent.append(variables(nDep--));
}

void Basis::exchange(int position, int v) {
  const int32_t leaving = variables(position);
  *std::ranges::find(candidates(), v) = leaving;
  variables(position) = v;
  independent.removeValue(v);
  independent.append(leaving);
}

void Basis::fillJacobian(const Gradients& gradients) {
  for (int j = 1; j <= nDep; ++j)
    for (int i = 1; i <= nDep; ++i) J(i, j) = gradients(variables(j), rows(i));
}

double dependentScore(int v, double sensitivity, ConstVector x, const Box& box,
                      ConstVector moveDir) {
  constexpr double moving = 1e-5;
  constexpr double roomy = 0.2;
  constexpr double slope = 4.75;
  constexpr double offset = 0.95f;  // Kept: the single-precision value, widened
  const double range = box.upper(v) - box.lower(v);
  if (range == 0.0) return 0.0;  // a fixed variable can hold nothing
  const double up = box.upper(v) - x(v), down = x(v) - box.lower(v);
  const double m = moveDir(v);
  const double distance = m > moving ? up : m < -moving ? down : std::min(up, down);
  const double q = distance / range;
  const double weight = 1.0 - q > roomy ? q : q + (1.0 - q) * slope - offset;
  return std::fabs(sensitivity) * weight;
}

bool chooseBasis(ConstIndex rows1, ConstIndex rows2, ConstVector x, const Box& box,
                 const Gradients& gradients, ConstVector moveDir, Basis& basis,
                 BasisScratch scratch) {
  basis.nDep = 0;
  basis.independent.clear();
  for (int32_t v = 1; v <= basis.n(); ++v) {
    basis.independent.append(v);
    basis.variables(v) = v;
  }
  basis.rows.clear();
  for (const ConstIndex& rows : {rows1, rows2})
    for (const int32_t c : rows) basis.rows.append(c);
  if (basis.rows.count() == 0) return true;
  return BasisChoice{x, box, gradients, moveDir, basis, scratch}.run();
}

bool borderInverse(int k, double corner, ConstVector z, ConstVector u, MatrixView Jinv,
                   VectorView w, VectorView y) {
  double reduction = 0.0;
  for (int i = 1; i <= k; ++i) {
    double sum = 0.0;
    for (int j = 1; j <= k; ++j) sum += Jinv(i, j) * u(j);
    w(i) = sum;
    reduction += z(i) * sum;
  }
  const double delta = corner - reduction;
  if (!isPivot(delta)) return false;
  const double d = 1.0 / delta;
  for (int j = 1; j <= k; ++j) {
    double sum = 0.0;
    for (int i = 1; i <= k; ++i) sum += z(i) * Jinv(i, j);
    y(j) = sum;
  }
  for (int j = 1; j <= k; ++j)
    for (int i = 1; i <= k; ++i) Jinv(i, j) += w(i) * y(j) * d;
  for (int i = 1; i <= k; ++i) Jinv(i, k + 1) = (0.0 - d) * w(i);
  for (int j = 1; j <= k; ++j) Jinv(k + 1, j) = (0.0 - d) * y(j);
  Jinv(k + 1, k + 1) = d;
  return true;
}

bool invertJacobian(ConstMatrix J, MatrixView Jinv, VectorView w) {
  const int k = J.rows();
  for (int j = 1; j <= k; ++j) std::ranges::copy(J.column(j), Jinv.column(j).begin());
  for (int c = 1; c <= k; ++c) {
    const VectorView below = Jinv.column(c).part(c, k - c + 1);
    const auto larger = [](double a, double b) { return std::fabs(a) < std::fabs(b); };
    const int p = c + static_cast<int>(std::ranges::max_element(below, larger) - below.begin());
    if (!isPivot(Jinv(p, c))) {
      if (tracing(1)) trace::message("ERROR IN GRGIJI, SINGULAR");
      return false;
    }
    w(c) = p;
    eliminate(Jinv, c, p);
  }
  // The row interchanges come back as column interchanges of the inverse, the last one first.
  for (int c = k; c >= 1; --c) {
    const int p = static_cast<int>(w(c));
    if (p != c) std::ranges::swap_ranges(Jinv.column(c), Jinv.column(p));
  }
  return true;
}

void correctDependents(const Basis& basis, ConstVector f, const Box& box, VectorView x) {
  for (int i = 1; i <= basis.nDep; ++i) {
    const int v = basis.variables(i);
    double moved = x(v);
    for (int j = 1; j <= basis.nDep; ++j) moved -= basis.Jinv(i, j) * f(basis.rows(j));
    x(v) = box.clip(v, moved);
  }
}

double pivotOf(const Basis& basis, int position, int v, const Gradients& gradients) {
  double pivot = 0.0;
  for (int l = 1; l <= basis.nDep; ++l)
    pivot += basis.Jinv(position, l) * gradients(v, basis.rows(l));
  return pivot;
}

int exchangePartner(const Basis& basis, int position, ConstVector x, const Box& box,
                    const Gradients& gradients) {
  int best = 0;
  double highest = -1.0;
  for (const int32_t v : basis.independent) {
    const double pivot = pivotOf(basis, position, v, gradients);
    if (!isPivot(pivot)) continue;
    const double score = std::fabs(pivot) * box.room(v, x(v));
    if (score > highest) {
      highest = score;
      best = v;
    }
  }
  return best;
}

void exchangeDependent(Basis& basis, int position, int entering, const Gradients& gradients,
                       VectorView column, VectorView w) {
  const int k = basis.nDep;
  for (int i = 1; i <= k; ++i) column(i) = gradients(entering, basis.rows(i));
  replaceColumn(basis.inverseBlock(k), position, column, w);
  for (int i = 1; i <= k; ++i) basis.J(i, position) = column(i);
  basis.exchange(position, entering);
}

bool improveBasis(Basis& basis, ConstVector x, const Box& box, const Gradients& gradients,
                  VectorView column, VectorView w) {
  constexpr double worthwhile = 5.0;
  constexpr double leastRoom = 0.01;
  const int k = basis.nDep;
  const auto room = [&](int v) {
    const double up = box.upper(v) - x(v), down = x(v) - box.lower(v);
    return std::min(up, down) / (up + down);
  };
  for (int exchanges = 0; exchanges < 2 * k; ++exchanges) {
    double highest = worthwhile;
    int position = 0, entering = 0;
    for (const int32_t v : basis.independent)
      for (int i = 1; i <= k; ++i) {
        const double gain = std::fabs(pivotOf(basis, i, v, gradients)) * room(v) /
                            (room(basis.variables(i)) + leastRoom);
        if (!(gain > highest)) continue;
        highest = gain;
        position = i;
        entering = v;
      }
    if (position == 0) return exchanges > 0;
    exchangeDependent(basis, position, entering, gradients, column, w);
  }
  return k > 0;
}

void updateJacobian(MatrixView J, ConstVector s, ConstVector r) {
  const int k = J.rows();
  double den = 0.0;
  for (int i = 1; i <= k; ++i) den += s(i) * s(i);
  if (!(std::fabs(den) > settings->zeroTol)) return;
  for (int j = 1; j <= k; ++j)
    for (int i = 1; i <= k; ++i) J(i, j) = J(i, j) - r(i) * s(j) / den;
  if (tracing(3)) trace::matrix("UPDATED JACOBIAN", J);
}

}  // namespace tarnix::core
