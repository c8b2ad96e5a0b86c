// The same bits everywhere: the collection at the default settings, every point that is evaluated
// and every result in one hash. It holds for all compilers, optimization levels and machines with
// IEEE doubles; a mathematical library may differ in last bits, so that only problems take part
// whose functions are + - * / and square roots.

#include <gtest/gtest.h>
#include <problems.h>
#include <tarnix/tarnix.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace {

// They call exp, log, pow, sin or cos.
const std::set<std::string> transcendental = {"HS5",
                                              "HS7",
                                              "HS34",
                                              "HS55",
                                              "HS66",
                                              "HS74",
                                              "HS77",
                                              "HS80",
                                              "HS104",
                                              "HS110",
                                              "HS111",
                                              "bulkhead",
                                              "gas_pipeline",
                                              "pyramid",
                                              "hanging_chain_10",
                                              "hanging_chain_50",
                                              "chained_rosenbrock_10",
                                              "chained_rosenbrock_50"};

// Fowler, Noll and Vo's hash, 64 bits, over the bytes of the values from the lowest on.
struct Hash {
  std::uint64_t state = 14695981039346656037u;
  void add(std::uint64_t bits) {
    for (int shift = 0; shift < 64; shift += 8)
      state = (state ^ (bits >> shift & 255)) * 1099511628211u;
  }
  void add(double value) {
    std::uint64_t bits = 0x7ff8000000000000u;  // one for every kind of NaN
    if (!std::isnan(value)) std::memcpy(&bits, &value, sizeof bits);
    add(bits);
  }
};

struct Watched {
  const Problem* problem;
  Hash hash;
};

void evaluate(void* user, double* x, double* f, double* eq, double* ineq) {
  auto* watched = static_cast<Watched*>(user);
  for (int i = 0; i < watched->problem->n; ++i) watched->hash.add(x[i]);
  watched->problem->evaluate(nullptr, x, f, eq, ineq);
}

std::uint64_t hashOfSolve(const Problem& p, decltype(VRK_sqp)* solve) {
  Watched watched{&p, {}};
  std::vector<double> x(p.start, p.start + p.n), f(std::size_t(1 + p.nEq + p.nIneq));
  VRK_setDefaults();
  const int status =
      solve(100, p.n, x.data(), p.lower, p.upper, p.nEq, p.nIneq, evaluate, &watched, f.data());
  for (const double value : x) watched.hash.add(value);
  for (const double value : f) watched.hash.add(value);
  watched.hash.add(static_cast<std::uint64_t>(status));
  return watched.hash.state;
}

void expectHash(decltype(VRK_sqp)* solve, std::uint64_t expected) {
  Hash all;
  std::string each;
  for (int i = 0; i < problemCount(); ++i) {
    const Problem& p = *problemAt(i);
    if (transcendental.count(p.name)) continue;
    const std::uint64_t hash = hashOfSolve(p, solve);
    all.add(hash);
    char line[80];
    std::snprintf(line, sizeof line, "%-24s %016llx\n", p.name,
                  static_cast<unsigned long long>(hash));
    each += line;
  }
  EXPECT_EQ(all.state, expected) << std::hex << "now 0x" << all.state
                                 << "; to be compared with where it holds:\n"
                                 << each;
}

TEST(Bits, OfSqpAreTheSameEverywhere) {
  expectHash(VRK_sqp, 0x7d7e98c889b35368u);
}

TEST(Bits, OfGrgAreTheSameEverywhere) {
  expectHash(VRK_grg, 0x5ba8ea1f65958692u);
}

}  // namespace
