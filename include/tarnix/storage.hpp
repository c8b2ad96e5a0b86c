#pragma once
// What a solve claims from the work storage, in cells: the one statement of it, for the core, for
// hosts that set capacities, and for tests. Totals have 64 bits; a product is cut to 2^61, beyond
// every capacity.

#include <algorithm>
#include <cstdint>

namespace tarnix::storage {

using Count = std::int64_t;

/// Of two counts of 32 bits.
constexpr Count product(Count a, Count b) {
  return std::min(a * b, Count{1} << 61);
}

struct Need {
  Count doubles, integers;
};

// ---- shared ------------------------------------------------------------------------------------

/// The subproblem's solver: bounds counts the bound rows, rows the general ones, equalities those
/// of them that are equalities.
constexpr Count subproblem(Count n, Count bounds, Count rows, Count equalities) {
  return 2 * n + bounds + rows + equalities + product(n, n + 1) + product(n, n);
}

// ---- VRK_sqp -----------------------------------------------------------------------------------

/// The front end, for the whole solve; constraints are m1 + m2.
constexpr Need sqpFrontEnd(Count n, Count nfun, Count constraints) {
  const Count multipliers = constraints + 2 * n;
  return {1 + 3 * multipliers + product(n, nfun) + constraints + product(n, n) + 14 * n,
          1 + multipliers + nfun + n};
}
/// A gradient pass over nfun functions.
constexpr Count sqpGradients(Count nfun) {
  return 1 + 2 * nfun;
}

/// A whole solve with m1 equalities and m2 inequalities, at most.
constexpr Need sqp(Count n, Count m1, Count m2) {
  Need need = sqpFrontEnd(n, 1 + m1 + m2, m1 + m2);
  need.doubles += std::max(sqpGradients(1 + m1 + m2), subproblem(n, 2 * n, m1 + m2, m1));
  return need;
}

// ---- VRK_grg -----------------------------------------------------------------------------------

/// The front end, for the whole solve.
constexpr Need grgFrontEnd(Count n, Count nfun, Count equalities, Count inequalities) {
  return {product(n, n) + 8 * n + 1,
          inequalities + std::min(n, inequalities) + equalities + nfun + n};
}
/// The gradient matrix of an iteration.
constexpr Count grgGradientMatrix(Count n, Count functions) {
  return product(n, functions);
}
/// A gradient pass: each of two blocks.
constexpr Count grgGradientBlock(Count nfun) {
  return nfun + 1;
}
/// An update of the curvature.
constexpr Count grgUpdate(Count n) {
  return 3 * n + 1;
}
/// The direction, and above it the subproblem's solver.
constexpr Need grgDirection(Count n, Count rows) {
  return {rows + 2 * n + 1, n + 1};
}
/// A search with so many equalities satisfied and inequalities active.
constexpr Need grgSearch(Count n, Count nfun, Count satisfied, Count active) {
  const Count k = std::min(satisfied + active + 1, Count{1} << 31);
  return {2 * n + 2 * nfun + 2 * product(k, k) + 1, 3 * n + nfun + active + 6};
}
/// Within it: the choice of the basis; its inverse bordered by a row; a restoration's update.
constexpr Count grgBasis(Count n) {
  return 3 * n + 1;
}
constexpr Count grgBorder(Count order) {
  return 2 * order + 1;
}
constexpr Count grgRestoration(Count rows) {
  return 2 * rows + 1;
}

/// Constraints that one search takes up at most, beyond those that are held when it begins.
constexpr Count grgTakenUp = 4;

/// A whole solve with m1 equalities and m2 inequalities, at most.
constexpr Need grg(Count n, Count m1, Count m2) {
  const Count nfun = 1 + m1 + m2, active = std::min(n, m2);
  const Count held = std::min(n, m1 + active + grgTakenUp);
  Need need = grgFrontEnd(n, nfun, m1, m2);
  const Need direction = grgDirection(n, m1 + m2), search = grgSearch(n, nfun, m1, active);
  need.doubles +=
      grgGradientMatrix(n, nfun) +
      std::max({2 * grgGradientBlock(nfun), grgUpdate(n),
                direction.doubles + subproblem(n, 2 * n, m1 + m2, m1),
                search.doubles + grgBasis(n) + std::max(grgBorder(held), grgRestoration(held))});
  need.integers += std::max(direction.integers, search.integers);
  return need;
}

}  // namespace tarnix::storage
