// Many starts: a function with several minima, whole solves side by side in threads.
#include <cstdio>
#include <tarnix/tarnix.hpp>

int main() {
  tarnix::Problem problem;
  const auto x = problem.variable("x", 0, -4, 4), y = problem.variable("y", 0, -4, 4);
  const auto height = problem.minimize("height", 100), disc = problem.atMost("disc", 30, 30);
  tarnix::Options options;
  options.starts = 40;
  options.threads = 2;
  const tarnix::Result best = problem.solve(
      [&](const tarnix::Point& p, tarnix::Values& v) {  // four minima, of which one is the lowest
        const double a = p[x] * p[x] + p[y] - 11, b = p[x] + p[y] * p[y] - 7;
        v[height] = a * a + b * b + 2 * p[x] + p[y];
        v[disc] = p[x] * p[x] + p[y] * p[y];
      },
      options);
  for (const tarnix::Minimum& minimum : best.minima->found)
    std::printf("height %8.4f at %7.4f %7.4f, %d starts\n", minimum.point.values[0],
                minimum.point.x[0], minimum.point.x[1], minimum.times);
  if (best.minima->unseen) std::printf("expected unseen: %.2g\n", *best.minima->unseen);
  return best.success ? 0 : 1;
}
