// Derivatives from the host: those that it knows; the others are found by differences.
#include <cstdio>
#include <tarnix/tarnix.hpp>

int main() {
  tarnix::Problem column;
  const auto d = column.variable("diameter", 8, 2, 14), t = column.variable("wall", 0.5, 0.2, 0.8);
  const auto cost = column.minimize("cost"), stress = column.atMost("stress", 500, 500);
  const auto load = column.atLeast("buckling load", 2500, 2500);
  const auto analysis = [&](const tarnix::Point& x, tarnix::Values& v) {
    v[cost] = 9.8 * x[d] * x[t] + 2 * x[d];
    v[stress] = 2500 / (3.14159265 * x[d] * x[t]);
    v[load] = 31.0063 * 0.85e6 * x[d] * x[t] * (x[d] * x[d] + x[t] * x[t]) / (8 * 250. * 250.);
  };
  const double buckling = 31.0063 * 0.85e6 / (8 * 250. * 250.);
  const auto slopes = [&](const tarnix::Point& x, tarnix::Gradients& g) {
    g(cost, d) = 9.8 * x[t] + 2;
    g(cost, t) = 9.8 * x[d];
    g(stress, d) = -2500 / (3.14159265 * x[d] * x[d] * x[t]);
    g(stress, t) = -2500 / (3.14159265 * x[d] * x[t] * x[t]);
    g(load, d) = buckling * x[t] * (3 * x[d] * x[d] + x[t] * x[t]);
    g(load, t) = buckling * x[d] * (x[d] * x[d] + 3 * x[t] * x[t]);
  };
  tarnix::Options options;
  options.effort = 0;  // no further starts: one search, by differences and with gradients
  const tarnix::Result plain = column.solve(analysis, options);
  options.checkGradients = true;  // compares them with central differences at the start
  const tarnix::Result given = column.solve(analysis, slopes, options);
  std::printf("by differences: cost %.4f, %ld evaluations\n", plain.objective(),
              static_cast<long>(plain.evaluations));
  std::printf("with gradients: cost %.4f, %ld evaluations, 4 of them for the check\n",
              given.objective(), static_cast<long>(given.evaluations));
  return given.success && plain.success ? 0 : 1;
}
