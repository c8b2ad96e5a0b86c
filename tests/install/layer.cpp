// min x + 2 y with x y >= 1 on [0.1, 10]^2: 2 sqrt 2, through the C++ layer.
#include <tarnix/tarnix.hpp>

#include <cmath>
#include <cstdio>

int main() {
  tarnix::Problem problem;
  const auto x = problem.variable("x", 1, 0.1, 10), y = problem.variable("y", 2, 0.1, 10);
  const auto sum = problem.minimize("sum"), product = problem.atLeast("product", 1);
  const tarnix::Result result = problem.solve([&](const tarnix::Point& at, tarnix::Values& values) {
    values[sum] = at[x] + 2 * at[y];
    values[product] = at[x] * at[y];
  });
  std::printf("x = %.5f y = %.5f, sum %.5f\n", result[x], result[y], result[sum]);
  return result.success && std::fabs(result[sum] - 2 * std::sqrt(2)) < 1e-3 ? 0 : 1;
}
