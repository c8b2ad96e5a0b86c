// A solve inside a solve: the lightest pair of bars whose loaded joint sinks by 15 mm at most.
//
// The bars are flat enough to soften under their load, so that the joint's place is no formula: it
// is where the potential energy is least, an optimization of its own for every design that the
// outer one looks at. N, mm, kg.
#include <cmath>
#include <cstdio>
#include <tarnix/tarnix.hpp>

constexpr double E = 70000, density = 2.7e-6;  // aluminum
constexpr double span[] = {-1500, 1000};       // supports to the left and right of the joint
constexpr double pull = 4000, weight = 15000;  // the load, to the right and down

struct Bars {
  double area[2], height;  // cross sections, height of the joint above both supports

  double length(int k) const { return std::hypot(span[k], height); }
  double strain(int k, double u, double v) const {
    return std::hypot(u - span[k], height - v) / length(k) - 1;
  }
  double mass() const { return density * (area[0] * length(0) + area[1] * length(1)); }
};

// Displacement of the joint: u to the right, v down.
tarnix::Result equilibrium(const Bars& bars) {
  tarnix::Problem joint;
  const auto u = joint.variable("u", 0, -50, 50), v = joint.variable("v", 0, -50, 90);
  const auto energy = joint.minimize("energy", 1e5);
  tarnix::Options options;
  options.method = tarnix::Method::sqp;
  options.differences = tarnix::Differences::central;
  options.tolerance = 1e-12;  // the outer differences see what is left of the inner error
  options.report = false;
  return joint.solve(
      [&](const tarnix::Point& at, tarnix::Values& values) {
        values[energy] = -pull * at[u] - weight * at[v];
        for (int k = 0; k < 2; ++k)
          values[energy] +=
              0.5 * E * bars.area[k] * bars.length(k) * std::pow(bars.strain(k, at[u], at[v]), 2);
      },
      options);
}

int main() {
  tarnix::Problem frame;
  const auto a = frame.variable("left area", 400, 100, 1000);
  const auto b = frame.variable("right area", 400, 100, 1000);
  const auto h = frame.variable("height", 150, 100, 200);
  const auto mass = frame.minimize("mass");
  const auto sag = frame.atMost("sag", 15, 15), left = frame.between("left stress", -250, 250, 250);
  const auto right = frame.between("right stress", -250, 250, 250);
  const tarnix::Result best = frame.solve([&](const tarnix::Point& x, tarnix::Values& values) {
    const Bars bars{{x[a], x[b]}, x[h]};
    const tarnix::Result joint = equilibrium(bars);
    values[mass] = bars.mass();
    values[sag] = joint["v"];
    values[left] = E * bars.strain(0, joint["u"], joint["v"]);
    values[right] = E * bars.strain(1, joint["u"], joint["v"]);
  });
  std::printf("%s", best.summary().c_str());
  return best.success ? 0 : 1;
}
