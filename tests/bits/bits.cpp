// The same bits everywhere: the whole collection at the default settings by each method, every
// point that is evaluated and every result in one hash a method. They hold for all compilers,
// optimization levels and machines with IEEE doubles, given the same values of the functions: the
// problems of this program take exp, sin and the like from portable_math.h, as C libraries differ
// in last bits. With --list it prints the hash of every solve, to be compared with where the stored
// ones hold.

#include <problems.h>
#include <tarnix/session.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

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

struct Method {
  const char* name;
  decltype(&VRK_sqp) solve;
  int refined;
  std::uint64_t expected;
};

std::uint64_t hashOfSolve(const Problem& p, const Method& method) {
  Watched watched{&p, {}};
  std::vector<double> x(p.start, p.start + p.n), f(std::size_t(1 + p.nEq + p.nIneq));
  VRK_setDefaults();
  tarnix_session_refine(nullptr, method.refined);
  const int status = method.solve(100, p.n, x.data(), p.lower, p.upper, p.nEq, p.nIneq, evaluate,
                                  &watched, f.data());
  for (const double value : x) watched.hash.add(value);
  for (const double value : f) watched.hash.add(value);
  watched.hash.add(static_cast<std::uint64_t>(status));
  return watched.hash.state;
}

}  // namespace

int main(int argc, char** argv) {
  const bool list = argc > 1 && std::strcmp(argv[1], "--list") == 0;
  const Method methods[] = {{"sqp", VRK_sqp, 0, 0x3406cd87274df8ccu},
                            {"grg", VRK_grg, 0, 0xf0235e46bd53a2cfu},
                            {"refined_grg", VRK_grg, 1, 0xb12484247a5da41eu}};
  bool same = true;
  for (const Method& method : methods) {
    Hash all;
    for (int i = 0; i < wideProblemCount(); ++i) {
      const std::uint64_t hash = hashOfSolve(*wideProblemAt(i), method);
      all.add(hash);
      if (list)
        std::printf("%s %s %016llx\n", method.name, wideProblemAt(i)->name,
                    static_cast<unsigned long long>(hash));
    }
    if (list) continue;
    same = same && all.state == method.expected;
    std::printf("%-12s %016llx %s\n", method.name, static_cast<unsigned long long>(all.state),
                all.state == method.expected ? "as stored" : "DIFFERS from what is stored");
  }
  return same ? 0 : 1;
}
