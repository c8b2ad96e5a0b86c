// Whatever the callback does and whatever stands in the settings: a solve by either method ends
// within its number of evaluations, writes nothing outside its arrays, and gives the work storage
// back.

#include <problems.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <thread>

#include "grg/line_search.h"
#include "sqp/solve.h"

using namespace support;

namespace {

struct Method {
  const char* name;
  decltype(VRK_sqp)* solve;
  bool refined;
  std::vector<int32_t> endings;
  int32_t stopped;        // of these
  int gradients, search;  // gradients and evaluations of the search in an iteration, at most
  VRK_analysis endless;

  friend std::ostream& operator<<(std::ostream& out, const Method& m) { return out << m.name; }
};
class Robustness : public Library, public testing::WithParamInterface<Method> {
 protected:
  Robustness() { tarnix_session_refine(nullptr, GetParam().refined); }
};

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct Call {
  int n, m1, m2, number;
  double *x, *f, *h, *g;

  void sound() const {
    double sum = 0.0, squares = 0.0;
    for (int i = 0; i < n; ++i) sum += x[i], squares += (x[i] - 0.1 * i) * (x[i] - 0.1 * i);
    *f = squares;
    std::fill_n(h, m1, sum - 0.5);
    for (int i = 0; i < m2; ++i) g[i] = squares - 3.0 - i;
  }
  void all(double value) const {
    *f = value;
    std::fill_n(h, m1, value);
    std::fill_n(g, m2, value);
  }
};
using Spoil = void (*)(const Call&);

const struct {
  const char* name;
  Spoil spoil;
  bool leavesX = true;
} spoilers[] = {
    {"nothing spoilt", [](const Call& c) { c.sound(); }},
    {"nothing written", [](const Call&) {}},
    {"NaN", [](const Call& c) { c.all(nan); }},
    {"infinite", [](const Call& c) { c.all(infinity); }},
    {"1e308 of either sign", [](const Call& c) { c.all(c.number % 3 ? 1e308 : -1e308); }},
    {"steep", [](const Call& c) { c.sound(), *c.f *= 1e300; }},
    {"alternating", [](const Call& c) { c.all(c.number % 2 ? 1e6 : -1e6); }},
    {"alternately infinite", [](const Call& c) { c.all(c.number % 2 ? infinity : -infinity); }},
    {"NaN off the start", [](const Call& c) { c.number == 1 ? c.sound() : c.all(nan); }},
    {"NaN now and then", [](const Call& c) { c.number % 7 ? c.sound() : c.all(nan); }},
    {"NaN objective", [](const Call& c) { c.sound(), *c.f = nan; }},
    {"NaN constraints", [](const Call& c) { c.all(nan), *c.f = c.number; }},
    {"x moved", [](const Call& c) { c.sound(), std::fill_n(c.x, c.n, c.number % 3 - 1.0); }, false},
    {"x NaN", [](const Call& c) { c.sound(), std::fill_n(c.x, c.n, nan); }, false},
    {"x 1e308", [](const Call& c) { c.sound(), std::fill_n(c.x, c.n, 1e308); }, false},
};

struct Endless {
  std::atomic<int> calls = 0;
  int32_t iteration = 0;
  double value = 0.0;
};

// A merit value that is not a number is refused for ever.
void refused(void* user, double*, double* value, double*, double*) {
  ++static_cast<Endless*>(user)->calls;
  *value = nan;
}

// Each trial is better than all before it; the slope, at an iteration's first call, changes its
// sign.
void falling(void* user, double*, double* value, double*, double*) {
  auto& state = *static_cast<Endless*>(user);
  ++state.calls;
  const int32_t k = VRK_get_nIter();
  *value = k != state.iteration ? state.value + (k % 2 ? 1e-4 : -1e-4) : --state.value;
  state.iteration = k;
}

const Method methods[] = {
    {"Sqp", VRK_sqp, false, {1, 2, 4, 5, 6, 7, 8, 9}, 8, 1, 6, refused},
    {"Grg",
     VRK_grg,
     false,
     {1, 2, 3, 4, 5, 6, 8, 10, 11, 12},
     12,
     2,
     tarnix::core::LineSearch::maxEvaluations,
     falling},
    {"RefinedGrg",
     VRK_grg,
     true,
     {1, 2, 3, 4, 5, 6, 8, 10, 11, 12},
     12,
     2,
     tarnix::core::LineSearch::maxEvaluations,
     falling},
};
INSTANTIATE_TEST_SUITE_P(Methods, Robustness, testing::ValuesIn(methods),
                         testing::PrintToStringParamName());

void runSpoilt(const Method& method, int n, int m1, int m2, int32_t maxIter, Spoil spoil,
               double farthest) {
  Solve solve(Values(static_cast<std::size_t>(n), 0.25), m1, m2, nullptr);
  solve.host.fill = [&](double* x, double* f, double* h, double* g) {
    for (int i = 0; i < n; ++i) {
      // Of either method finite, since a NaN compares false.
      if (farthest < infinity) {
        EXPECT_LE(std::fabs(x[i]), farthest);
      }
    }
    spoil({n, m1, m2, static_cast<int>(solve.host.calls.size()), x, f, h, g});
  };
  const int32_t status = solve.run(maxIter, method.solve);
  EXPECT_EQ(1, std::count(method.endings.begin(), method.endings.end(), status)) << status;
  EXPECT_LE(VRK_get_nFunEval(),
            2 + std::max(maxIter, 0) * (method.gradients * 2 * n + method.search));
  EXPECT_EQ(0, VRK_settings.dblStorageUsed);
}

TEST_P(Robustness, BadCallbacks) {
  const auto silence = captured([&] {
    for (const auto& s : spoilers)
      for (const int n : {0, 1, 2, 30, 100})
        for (const int differences : {1, 2})
          for (const int m : {0, 2}) {
            SCOPED_TRACE(testing::Message()
                         << s.name << ", n " << n << ", differences " << differences);
            VRK_setDefaults();
            VRK_set_diffMeth(differences);
            runSpoilt(GetParam(), n, m / 2, m, 6, s.spoil, s.leavesX ? 1.001 : infinity);
            EXPECT_EQ(0, VRK_settings.intStorageUsed);
            EXPECT_EQ(0, VRK_settings.errorFlag);
          }
  });
  EXPECT_EQ("", silence);
}

// After an exception at any evaluation the marks stand as before, and a regular solve has its bits.
TEST_P(Robustness, ExceptionAtEachEvaluation) {
  int throwAt = 0, calls = 0;
  const auto run = [&](int at) {
    throwAt = at, calls = 0;
    Solve solve({0.9, -0.7}, 1, 2, [&](double* x, double* f, double* h, double* g) {
      if (++calls == throwAt) throw std::runtime_error("analysis");
      Call{2, 1, 2, calls, x, f, h, g}.sound();
    });
    EXPECT_EQ(1, solve.run(50, GetParam().solve));
    return solve.x.values();
  };
  const Values expected = run(0);
  const int evaluations = calls;
  EXPECT_LT(8, evaluations);
  VRK_settings.dblStorageUsed = 11, VRK_settings.intStorageUsed = 7;
  for (int k = 1; k <= evaluations; ++k) {
    EXPECT_THROW(run(k), std::runtime_error);
    EXPECT_EQ(11, VRK_settings.dblStorageUsed);
    EXPECT_EQ(7, VRK_settings.intStorageUsed);
    EXPECT_EQ(expected, run(0));
  }
}

// The public headers guarantee this bound on the evaluations of a search.
TEST(LineSearchBound, IsTheGuaranteedOne) {
  EXPECT_EQ(7601, tarnix::core::LineSearch::maxEvaluations);
}

TEST_P(Robustness, StopFromAnotherThread) {
  Endless state;
  std::thread other([&] {
    while (state.calls < 1000) std::this_thread::yield();
    VRK_set_stop(1);
  });
  Doubles x{0.5}, f(1), l{-1}, u{1};
  const Method& method = GetParam();
  EXPECT_EQ(method.stopped, method.solve(INT32_MAX, 1, x, l, u, 0, 0, method.endless, &state, f));
  state.calls = 1000;
  other.join();
  EXPECT_LT(15, VRK_get_nIter());
}

TEST_P(Robustness, RandomSettings) {
  std::mt19937 random(20240611);
  const auto below = [&](std::size_t limit) { return static_cast<int>(random() % limit); };
  const double odd[] = {0.0,   -0.0,  -1e-3, -1.0, nan,  infinity, -infinity, 1e-300,
                        1e300, 1e-12, 1e-3,  0.5,  10.0, -1e300,   5e-324,    1.0};
  for (int trial = 0; trial < 3000; ++trial) {
    SCOPED_TRACE(trial);
    VRK_setDefaults();
    for (double* setting :
         {&VRK_settings.convTol, &VRK_settings.diffPert, &VRK_settings.zeroTol,
          &VRK_settings.bigValue, &VRK_settings.maxStepNorm, &VRK_settings.convTolGrg,
          &VRK_settings.grgParam1, &VRK_settings.grgSearchParam1, &VRK_settings.grgSearchParam2})
      if (below(3) == 0) *setting = odd[below(std::size(odd))];
    VRK_settings.diffMethod = below(4) - 1;
    VRK_settings.printLevel = below(6) - 1;
    if (below(4) == 0) VRK_settings.dblStorageCapacity = below(2) ? INT32_MAX : below(700) - 50;
    if (below(8) == 0) VRK_settings.intStorageCapacity = below(60) - 10;
    const int n = below(6), m1 = below(4), m2 = below(4), maxIter = below(25) - 1;
    const Spoil spoil = spoilers[below(2) ? 0 : below(std::size(spoilers))].spoil;
    captured([&] { runSpoilt(GetParam(), n, m1, m2, maxIter, spoil, infinity); });
  }
}

// The collection from random starts, clean and with values that are not finite every now and then:
// no coordinate of an evaluation lies outside the box by more than the difference step, and all are
// finite.
TEST_P(Robustness, EvaluationsStayInTheBox) {
  struct Host {
    const Problem* p;
    bool dirty;
    std::mt19937 random;
    double farthest = 0.0;
    static void analysis(void* user, double* x, double* f, double* h, double* g) {
      auto& host = *static_cast<Host*>(user);
      const Problem& p = *host.p;
      for (int i = 0; i < p.n; ++i) {
        const double scaled =
            std::fabs(2.0 * x[i] - p.upper[i] - p.lower[i]) / (p.upper[i] - p.lower[i]);
        if (!(scaled <= host.farthest)) host.farthest = scaled;
      }
      p.evaluate(nullptr, x, f, h, g);
      if (!host.dirty || host.random() % 8 != 0) return;
      const double values[] = {nan, infinity, -infinity, 1e300};
      const double value = values[host.random() % 4];
      const auto at = static_cast<int>(host.random() % (1u + p.nEq + p.nIneq));
      (at == 0 ? f[0] : at <= p.nEq ? h[at - 1] : g[at - 1 - p.nEq]) = value;
    }
  };
  for (int k = 0; k < problemCount(); ++k) {
    const Problem& p = *problemAt(k);
    if (p.n > 20) continue;
    for (unsigned seed = 0; seed < 16; ++seed) {
      SCOPED_TRACE(testing::Message() << p.name << ", seed " << seed);
      VRK_setDefaults();
      Host host{&p, seed % 2 == 1, std::mt19937(seed)};
      Doubles x(p.n), f(1 + p.nEq + p.nIneq);
      for (int i = 0; i < p.n; ++i) {
        const double t = seed < 2 ? 0.0 : (host.random() + 0.5) / 4294967296.0;
        x[i] = seed < 2 ? p.start[i] : p.lower[i] + t * (p.upper[i] - p.lower[i]);
      }
      GetParam().solve(40, p.n, x, p.lower, p.upper, p.nEq, p.nIneq, Host::analysis, &host, f);
      EXPECT_LE(host.farthest, 1.0 + 1.001e-4);
    }
  }
}

}  // namespace
