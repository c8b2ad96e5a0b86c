#include "run/designs.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

#ifdef TARNIX_HAS_SOBOL
#include <boost/random/sobol.hpp>
#endif

namespace tarnix::cli {

namespace {

using Points = std::vector<std::vector<double>>;  // in the unit box

std::vector<std::size_t> freeVariables(const ProblemFile& problem) {
  std::vector<std::size_t> free;
  for (std::size_t i = 0; i < problem.variables.size(); ++i)
    if (problem.variables[i].lower < problem.variables[i].upper) free.push_back(i);
  return free;
}

std::vector<double> startOf(const ProblemFile& problem) {
  std::vector<double> x;
  for (const VariableEntry& v : problem.variables) x.push_back(v.start);
  return x;
}

// The ends are met to the last bit.
double between(const VariableEntry& v, double share) {
  return share >= 1 ? v.upper : std::min(v.lower + share * (v.upper - v.lower), v.upper);
}

Points oneAtATime(const ProblemFile& problem, int levels) {
  Points designs{startOf(problem)};
  for (const std::size_t i : freeVariables(problem))
    for (int k = 0; k < levels; ++k) {
      std::vector<double> x = designs[0];
      x[i] = between(problem.variables[i], levels == 1 ? 1.0 : double(k) / (levels - 1));
      if (x != designs[0]) designs.push_back(std::move(x));
    }
  return designs;
}

Points corners(const ProblemFile& problem) {
  const auto free = freeVariables(problem);
  constexpr std::size_t most = 16;
  if (free.size() > most)
    throw Failure(exitBadProblem, "2^" + std::to_string(free.size()) +
                                      " corners are too many; latin or sobol points fill a box "
                                      "of that many variables");
  Points designs{startOf(problem)};
  for (std::size_t corner = 0; corner < std::size_t{1} << free.size(); ++corner) {
    std::vector<double> x = designs[0];
    for (std::size_t k = 0; k < free.size(); ++k) {
      const VariableEntry& v = problem.variables[free[k]];
      x[free[k]] = corner >> k & 1 ? v.upper : v.lower;
    }
    designs.push_back(std::move(x));
  }
  return designs;
}

// Bits of the generator are the same everywhere; the library's distributions are not.
double unit(std::mt19937_64& random) {
  return static_cast<double>(random() >> 11) * 0x1p-53;
}

double leastDistance(const Points& points) {
  double least = std::numeric_limits<double>::infinity();
  for (std::size_t a = 0; a < points.size(); ++a)
    for (std::size_t b = 0; b < a; ++b) {
      double square = 0;
      for (std::size_t i = 0; i < points[a].size(); ++i)
        square += (points[a][i] - points[b][i]) * (points[a][i] - points[b][i]);
      least = std::min(least, square);
    }
  return least;
}

// Of several hypercubes the one whose closest points are the furthest apart.
Points latin(std::size_t dimensions, int count, std::uint64_t seed) {
  std::mt19937_64 random(seed);
  const auto size = static_cast<std::size_t>(count);
  Points best;
  double furthest = -1;
  const int tries = count <= 300 ? 20 : 1;
  for (int t = 0; t < tries; ++t) {
    Points points(size, std::vector<double>(dimensions));
    std::vector<std::size_t> order(size);
    for (std::size_t i = 0; i < dimensions; ++i) {
      std::iota(order.begin(), order.end(), std::size_t{0});
      for (std::size_t k = size; k > 1; --k)
        std::swap(order[k - 1], order[static_cast<std::size_t>(random() % k)]);
      for (std::size_t k = 0; k < size; ++k)
        points[k][i] = (static_cast<double>(order[k]) + unit(random)) / count;
    }
    const double least = tries > 1 ? leastDistance(points) : 0;
    if (least > furthest) furthest = least, best = std::move(points);
  }
  return best;
}

#ifdef TARNIX_HAS_SOBOL
// With a digital shift by the seed: every point in its own cell still, none at the corner.
Points sobol(std::size_t dimensions, int count, std::uint64_t seed) {
  std::mt19937_64 random(seed);
  std::vector<std::uint64_t> shift(dimensions);
  for (std::uint64_t& s : shift) s = random();
  boost::random::sobol engine(dimensions);
  Points points(static_cast<std::size_t>(count), std::vector<double>(dimensions));
  // The engine leaves out the first point of the sequence, the origin.
  for (std::size_t k = 0; k < points.size(); ++k)
    for (std::size_t i = 0; i < dimensions; ++i)
      points[k][i] = static_cast<double>(((k == 0 ? 0 : engine()) ^ shift[i]) >> 11) * 0x1p-53;
  return points;
}
#endif

}  // namespace

const std::vector<std::string>& planKinds() {
  static const std::vector<std::string> kinds{"one-at-a-time", "corners", "latin",
#ifdef TARNIX_HAS_SOBOL
                                              "sobol"
#endif
  };
  return kinds;
}

std::vector<std::vector<double>> designsOf(const Plan& plan, const ProblemFile& problem) {
  if (plan.kind == "corners") return corners(problem);
  if (plan.kind == "one-at-a-time") return oneAtATime(problem, plan.count > 0 ? plan.count : 2);
  const auto free = freeVariables(problem);
  if (free.empty()) return {startOf(problem)};
  const int count = plan.count > 0 ? plan.count : 10 * static_cast<int>(std::max(free.size(), 1ul));
  Points points;
#ifdef TARNIX_HAS_SOBOL
  if (plan.kind == "sobol") points = sobol(free.size(), count, plan.seed);
#endif
  if (plan.kind == "latin") points = latin(free.size(), count, plan.seed);
  Points designs;
  for (const auto& point : points) {
    std::vector<double> x = startOf(problem);
    for (std::size_t k = 0; k < free.size(); ++k)
      x[free[k]] = between(problem.variables[free[k]], point[k]);
    designs.push_back(std::move(x));
  }
  return designs;
}

}  // namespace tarnix::cli
