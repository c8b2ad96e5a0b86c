#include "grg/search_basis.h"

#include <algorithm>
#include <cmath>

#include "base/ordered_dot.h"
#include "trace/trace.h"

namespace tarnix::core {

bool trackBinding(ConstIndex active, const Gradients& gradients, ConstVector d, IndexList& binding,
                  IndexVector tracked) {
  constexpr double oneDegree = -0.017452406;  // minus its sine: what points inside by more leaves
  constexpr double outside = 0.01;
  bool reset = false;
  for (const int32_t c : active) {
    if (!gradients.has(c)) continue;
    const ConstVector a = gradients.of(c);
    const double along = orderedDot(a, d);
    const double length = std::sqrt(orderedDot(a, a));
    const double cosine = length >= settings->zeroTol ? along / length : along;
    if (!(cosine >= oneDegree)) continue;
    binding.append(c);
    tracked(c) = 1;
    if (!(cosine >= outside)) continue;
    reset = true;
    if (!tracing(2)) continue;
    trace::message("SEARCH DIRECTION OUTSIDE TANGENT");
    trace::message(Line(" BINDING DF# ").integer(c, 4).text("  DOTP=").real(cosine, 14, 5));
  }
  return reset;
}

bool chooseSearchBasis(SearchProblem& p, ConstVector d, BasisScratch scratch) {
  if (!chooseBasis(p.satisfied, p.binding.view(), p.x, p.box, p.gradients, d, p.basis, scratch))
    return false;
  // A row that was dropped is not held: the saturation looks at it again.
  for (int k = p.binding.count(); k >= 1; --k) {
    if (p.basis.rows.contains(p.binding(k))) continue;
    p.tracked(p.binding(k)) = 0;
    p.binding.removeAt(k);
  }
  return true;
}

void formTangent(const SearchProblem& p, ConstVector d, VectorView tangent, VectorView work) {
  const Basis& basis = p.basis;
  const int k = basis.nDep;
  std::ranges::copy(d, tangent.begin());
  for (int i = 1; i <= k; ++i) {
    double sum = 0.0;
    for (const int32_t v : basis.independent) sum += p.gradients(v, basis.rows(i)) * d(v);
    work(i) = sum;
  }
  for (int i = 1; i <= k; ++i) {
    double sum = 0.0;
    for (int j = 1; j <= k; ++j) sum -= basis.Jinv(i, j) * work(j);
    tangent(basis.variables(i)) = sum;
  }
}

void traceBasis(const SearchProblem& p) {
  trace::list("MTRAK", p.binding.view());
  trace::list("LTRAK", p.tracked);
  trace::list("MIDV", p.basis.independent.view());
  trace::list("MDDV", p.basis.dependent());
  trace::matrix("XJINV", p.basis.inverseBlock(p.basis.nDep));
  trace::matrix("XJAC", p.basis.jacobianBlock(p.basis.nDep));
}

}  // namespace tarnix::core
