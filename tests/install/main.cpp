// min (x1 - 3)^2 + x2^2 with x1 x2 = 2 on [0.1, 10]^2, from C++.
#include <tarnix/routines.h>
#include <tarnix/tarnix.h>

#include <cmath>
#include <cstdio>

int main() {
  const auto analysis = [](void*, double* x, double* objective, double* equalities, double*) {
    *objective = (x[0] - 3) * (x[0] - 3) + x[1] * x[1];
    *equalities = x[0] * x[1] - 2;
  };
  double x[] = {1, 1}, f[2];
  const double lower[] = {0.1, 0.1}, upper[] = {10, 10};
  VRK_setDefaults();
  VRK_set_convTol(1e-6);
  const int status = VRK_sqp(100, 2, x, lower, upper, 1, 0, analysis, nullptr, f);
  std::printf("status %d, x = %.5f %.5f, defect %.1e\n", status, x[0], x[1], f[1]);
  // On the curve x2 = 2 / x1 the objective is stationary where x1^4 - 3 x1^3 = 4.
  const double stationary = std::pow(x[0], 4) - 3 * std::pow(x[0], 3) - 4;
  return status == VRK_SQP_CONVERGED && std::fabs(f[1]) < 1e-5 && std::fabs(stationary) < 0.05 ? 0
                                                                                               : 1;
}
