// Solves of small problems whose values come from the input, not numbers and settings of all sizes
// included: a solve ends by itself with a known status and gives its storage back.

#include <tarnix/routines.h>
#include <tarnix/session.h>
#include <tarnix/tarnix.h>

#include <cmath>

#include "input.h"

namespace {

// f and the constraints are quadratic in x; now and then one of them is a number of the input.
struct Analysis {
  int n, m1, m2;
  std::vector<double> coefficients, surprises;
  unsigned calls = 0;

  double value(const double* x, int function) {
    const double* c = &coefficients[function * (2 * n + 1)];
    double sum = c[0];
    for (int i = 0; i < n; ++i) sum += c[1 + i] * x[i] + c[1 + n + i] * x[i] * x[i];
    const size_t turn = (calls * 7 + function) % (surprises.size() * 8 + 1);
    return turn < surprises.size() ? surprises[turn] : sum;
  }
};

void analyze(void* user, double* x, double* f, double* h, double* g) {
  auto& a = *static_cast<Analysis*>(user);
  ++a.calls;
  *f = a.value(x, 0);
  for (int j = 0; j < a.m1; ++j) h[j] = a.value(x, 1 + j);
  for (int j = 0; j < a.m2; ++j) g[j] = a.value(x, 1 + a.m1 + j);
}

bool known(bool sqp, int status) {
  for (const int s : {1, 2, 4, 5, 6, 7, 8, 9})
    if (sqp && status == s) return true;
  for (const int s : {1, 2, 3, 4, 5, 6, 8, 10, 11, 12})
    if (!sqp && status == s) return true;
  return false;
}

void discard(void*, const char*, size_t) {}

void settings(fuzz::Input& input) {
  VRK_setDefaults();
  VRK_set_print(input.integer(0, 3));
  VRK_set_diffMeth(input.integer(1, 2));
  if (input.integer(0, 3) == 0) VRK_set_convTol(input.real());
  if (input.integer(0, 3) == 0) VRK_set_diffPert(input.real());
  if (input.integer(0, 7) == 0) VRK_settings.dblStorageCapacity = input.integer(0, 255) * 16;
  tarnix_session_refine(nullptr, input.integer(0, 1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
  fuzz::Input input(bytes, length);
  tarnix_session_trace(nullptr, discard, nullptr);
  settings(input);
  const bool sqp = input.integer(0, 1) == 0;
  Analysis a{input.integer(1, 5), input.integer(0, 2), input.integer(0, 4), {}, {}};
  std::vector<double> x(a.n), lower(a.n), upper(a.n), f(1 + a.m1 + a.m2);
  for (int i = 0; i < a.n; ++i) {
    lower[i] = input.moderate();
    upper[i] = lower[i] + 0.01 + std::fabs(input.moderate());
    x[i] = lower[i] + (upper[i] - lower[i]) * input.integer(0, 16) / 16;
  }
  a.coefficients = input.reals((1 + a.m1 + a.m2) * (2 * a.n + 1));
  a.surprises = input.reals(input.integer(0, 3));
  const int status = (sqp ? VRK_sqp : VRK_grg)(30, a.n, x.data(), lower.data(), upper.data(), a.m1,
                                               a.m2, analyze, &a, f.data());
  fuzz::require(known(sqp, status), "a known status");
  fuzz::require(status == 7 || status == 11 ||
                    (VRK_settings.dblStorageUsed == 0 && VRK_settings.intStorageUsed == 0),
                "storage is given back");
  fuzz::require(static_cast<unsigned>(VRK_get_nFunEval()) == a.calls, "evaluations are counted");
  return 0;
}
