#include <iostream>
#include <tarnix/tarnix.hpp>

int main() {  // the cheapest tubular column that carries 2500 kgf; lengths in cm
  tarnix::Problem column;
  const auto d = column.variable("diameter", 8, 2, 14), t = column.variable("wall", 0.5, 0.2, 0.8);
  const auto cost = column.minimize("cost"), stress = column.atMost("stress", 500, 500);
  const auto load = column.atLeast("buckling load", 2500, 2500);
  const tarnix::Result best = column.solve([&](const tarnix::Point& x, tarnix::Values& v) {
    v[cost] = 9.8 * x[d] * x[t] + 2 * x[d];
    v[stress] = 2500 / (3.14159265 * x[d] * x[t]);
    v[load] = 31.0063 * 0.85e6 * x[d] * x[t] * (x[d] * x[d] + x[t] * x[t]) / (8 * 250. * 250.);
  });
  std::cout << best.summary();
}
