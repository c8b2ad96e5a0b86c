#pragma once
// A search direction on guarded arrays: every variable in [-1, 1], where scaling is exact,
// gradients by central differences over 2^-10, exact for quadratic functions.

#include "grg/grg_test.h"

namespace support {

// The message lines of a trace, without titles, numbers, empty lines and step lengths.
inline std::string messages(const std::string& trace) {
  std::string kept;
  for (std::size_t at = 0, end; (end = trace.find('\n', at)) != trace.npos; at = end + 1) {
    const std::string line = trace.substr(at, end - at + 1);
    if (std::isupper(line[0]) && !line.starts_with("STEP LENGTH")) kept += line;
  }
  return kept;
}

struct Reals : Doubles {
  explicit Reals(int size) : Doubles(size) {}
};
struct Indices : Ints {
  explicit Indices(int size) : Ints(size) {}
};

// Functions in the order objective, equalities, inequalities. All constraints but the target of
// the feasibility phase, function 2, are satisfied at the start, the origin.
struct Along {
  using Fill = void (*)(const double* x, double* f);
  const int32_t n, m, mode, target = mode ? 2 : 1, ld = 6;
  int32_t nKept = 0, nSatisfied = 0, nActive = 0, hessReset = 0, status = 0;
  double carried = 9.0, scale;
  const Fill fill;
  Recorder host;
  Reals x{n}, d{n}, lower{n}, upper{n}, f{m}, G{n * m}, gObj{n}, jacobian{36}, inverse{36},
      bestX{n}, bestF{m}, xPrev{n}, fPrev{m};
  Indices kept{m}, satisfied{m}, active{m}, columns{m}, tracked{m}, binding{m + 4}, independent{n},
      dependent{n}, rows{6};

  Along(const Values& direction, int m1, int m2, Fill fill_, int32_t mode_ = 0)
      : n(static_cast<int32_t>(direction.size())), m(1 + m1 + m2), mode(mode_), fill(fill_) {
    host.fill = [fill_](double* at, double* values, double*, double*) { fill_(at, values); };
    host.install(Values(n, -1.0), Values(n, 1.0), m1, m2);
    std::copy(direction.begin(), direction.end(), d.begin());
    for (int i = 0; i < n; ++i) x[i] = 0.0, lower[i] = -1.0, upper[i] = 1.0;
    GRGFUN(&mode, &target, &n, x, f);
    for (int32_t c = 2; c <= m; ++c) {
      if (mode && c == target) continue;
      (c <= 1 + m1 ? satisfied[nSatisfied++] : kept[nKept++]) = c;
      if (c > 1 + m1 && std::fabs(f[c - 1]) <= VRK_settings.convTol) active[nActive++] = c;
    }
    VRK_set_diffPert(1.0 / 1024.0), VRK_set_diffMeth(2);
    GRGGRA(&mode, &nKept, kept, &nSatisfied, satisfied, &target, &n, x, &m, f, columns, G, gObj,
           &scale);
    host.calls.clear();
  }
  Values callbackValues() {
    Values values(m);
    fill(x, values.data());
    if (mode == 3) values[1] = 0.0 - values[1];
    return values;
  }

  void search(bool ownArrays) {
    const auto call = [&](auto routine, auto... work) {
      routine(&mode, &hessReset, &carried, by(0), nullptr, &nKept, kept, &nSatisfied, satisfied,
              &nActive, active, &target, &n, x, upper, lower, &m, f, columns, G, gObj, d, &status,
              work...);
    };
    if (!ownArrays) return call(GRSSTE);
    call(GRGSTE, tracked.begin(), binding.begin(), independent.begin(), dependent.begin(),
         rows.begin(), &ld, jacobian.begin(), inverse.begin(), bestX.begin(), bestF.begin(),
         xPrev.begin(), fPrev.begin());
  }

  double step = 0.0, blockStep = 0.0;
  int32_t blockIndex = 0, nBinding = 0, nIndependent, nDependent, nRows, terminate = 7, second = 7;

  // The basis of the equalities, the values at s0, the trial at s1, and what becomes of it.
  // Dependent variables are predicted along d from the start.
  void saturate(double s0, double s1, bool ownArrays) {
    Reals base(n), made(n), w1(n), w2(n), w3(n);
    for (int i = 0; i < n; ++i) base[i] = x[i], made[i] = x[i] - d[i];
    std::fill(tracked.begin(), tracked.end(), 0);
    GRGINJ(&nSatisfied, satisfied, by(0), binding, &n, x, lower, upper, G, columns, d,
           &nIndependent, independent, &nDependent, dependent, &ld, &nRows, rows, inverse, jacobian,
           w1, w2, w3);
    for (const double s : {s0, s1}) {
      std::copy_n(x.begin(), n, xPrev.begin()), std::copy_n(f.begin(), m, fPrev.begin());
      GRGIDV(&nIndependent, independent, upper, lower, &s, d, x, base, by(0.0), &terminate);
      GRGDDV(&nDependent, dependent, upper, lower, &s, d, x, base, made, by(0.0), by(-1.0),
             &blockIndex, &blockStep);
      GRGFUN(&mode, &target, &n, x, f);
    }
    host.calls.clear();
    step = s1;
    const auto call = [&](auto routine, auto... work) {
      routine(&mode, &target, &n, &m, x, f, lower, upper, &s0, &step, fPrev, base, by(0.0), xPrev,
              &s0, d, &nKept, kept, tracked, &nBinding, binding, &nSatisfied, satisfied,
              &blockIndex, &blockStep, &nIndependent, independent, &nDependent, dependent, &nRows,
              rows, &ld, jacobian, inverse, G, columns, &terminate, &second, work...);
    };
    ownArrays ? call(GRGSAT, w1.begin(), w2.begin()) : call(GRSSAT);
  }
};

}  // namespace support
