// Any quadratic program, numbers that are none included: the solver ends, its rows are rows, the
// work storage is given back; with moderate numbers an answer without a flag is feasible.

#include <tarnix/routines.h>
#include <tarnix/tarnix.h>

#include <cmath>

#include "input.h"

namespace {

struct Program {
  int32_t n, m, m1;
  std::vector<double> A, b, H, g, dl, du;
  std::vector<int32_t> codes;
};

// A diagonal that dominates when the numbers are moderate: then the program is strictly convex.
Program read(fuzz::Input& input, bool moderate) {
  Program q;
  q.n = input.integer(1, 6), q.m = input.integer(0, 8), q.m1 = input.integer(0, q.m);
  const auto value = [&] { return moderate ? input.moderate() : input.real(); };
  const auto values = [&](int count) {
    std::vector<double> list(count);
    for (double& v : list) v = value();
    return list;
  };
  q.A = values(q.n * q.m), q.b = values(q.m), q.g = values(q.n);
  q.H = values(q.n * q.n);
  q.dl = values(q.n), q.du = values(q.n), q.codes.resize(q.n);
  for (int i = 0; i < q.n; ++i) {
    q.codes[i] = input.integer(0, 3);
    if (moderate) {
      double sum = 1;
      for (int j = 0; j < q.n; ++j)
        sum += std::fabs(q.H[i * q.n + j]) + std::fabs(q.H[j * q.n + i]);
      q.H[i * q.n + i] = sum;
      q.dl[i] = -std::fabs(q.dl[i]), q.du[i] = std::fabs(q.du[i]);
    }
  }
  return q;
}

void requireFeasible(const Program& q, const std::vector<double>& d) {
  double scale = 1;
  for (const double x : d) scale = std::fmax(scale, std::fabs(x));
  for (const double x : q.A) scale = std::fmax(scale, std::fabs(x));
  const double tolerance = 1e-5 * scale * scale;
  for (int r = 0; r < q.m; ++r) {
    double left = -q.b[r];
    for (int i = 0; i < q.n; ++i) left += q.A[r * q.n + i] * d[i];
    fuzz::require(r < q.m1 ? left <= tolerance : std::fabs(left) <= tolerance, "a row of the QP");
  }
  for (int i = 0; i < q.n; ++i) {
    const int code = q.codes[i];
    if (code == 1 || code == 2) fuzz::require(d[i] >= q.dl[i] - tolerance, "a lower limit");
    if (code == 1 || code == 3) fuzz::require(d[i] <= q.du[i] + tolerance, "an upper limit");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
  fuzz::Input input(bytes, length);
  const bool moderate = input.integer(0, 1) == 1;
  const Program q = read(input, moderate);
  VRK_setDefaults();
  std::vector<double> d(q.n), multipliers(q.n);
  std::vector<int32_t> rows(q.n);
  int32_t active = 0, noSolution = 0, notPosDef = 0, failure = 0;
  QPSOLV(&q.n, &q.m, &q.m1, q.A.data(), &q.n, q.b.data(), q.H.data(), &q.n, q.g.data(),
         q.codes.data(), q.dl.data(), q.du.data(), d.data(), multipliers.data(), rows.data(),
         &active, &noSolution, &notPosDef, &failure);
  fuzz::require(VRK_settings.dblStorageUsed == 0 && VRK_settings.intStorageUsed == 0,
                "storage is given back");
  if (noSolution || notPosDef || failure) return 0;
  fuzz::require(0 <= active && active <= q.n, "count of active rows");
  for (int k = 0; k < active; ++k)
    fuzz::require(1 <= rows[k] && rows[k] <= q.m + 2 * q.n, "number of an active row");
  // Rows dependent within zeroTol get dual steps alone, of any length: known, and not promised.
  bool dependent = false;
  for (int k = 0; k < active; ++k) dependent = dependent || !(std::fabs(multipliers[k]) < 1e7);
  if (moderate && !dependent) requireFeasible(q, d);
  return 0;
}
