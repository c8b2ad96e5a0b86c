// What a host may offer as well: designs of a gradient pass at once, and gradients. Solves
// and the exported routines give the same bits with the first, and with the second evaluate only
// where something is missing.

#include <cmath>
#include <limits>
#include <set>
#include <stdexcept>

#include "support/session.h"

using namespace support;

namespace {

using Values = std::vector<double>;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

class Hooks : public Library {
 protected:
  OwnSession own;
  const Using use{own};
};

// ---- many designs at once -----------------------------------------------------------------------

TEST_F(Hooks, SolvesWithBatchesDoWhatTheyDoWithSingleCalls) {
  struct Host {
    CollectionSolve solve;
    std::set<int32_t> counts{};
    int passes = 0, evaluated = 0;
  };
  for (int i = 0; i < problemCount(); ++i)
    for (const Method method : methods)
      for (const int scheme : {1, 2}) {
        const Problem& p = *problemAt(i);
        if (p.n > 20 && scheme == 2) continue;
        SCOPED_TRACE(p.name);
        tarnix_session_batch(own, nullptr, nullptr);
        const auto prepare = [&] { VRK_setDefaults(), VRK_set_diffMeth(scheme); };
        prepare();
        const Record single = CollectionSolve{p, method}.run();
        Host host{{p, method}};
        tarnix_session_batch(
            own,
            [](void* user, int32_t count, const double* X, double* F) {
              auto& self = *static_cast<Host*>(user);
              self.counts.insert(count), ++self.passes, self.evaluated += count;
              CollectionSolve::batch(&self.solve, count, X, F);
            },
            &host);
        prepare();
        EXPECT_EQ(single, host.solve.run());
        EXPECT_LE(single.iterations > 0, host.passes > 0);
        EXPECT_EQ((std::set<int32_t>{scheme * p.n}), host.counts);
        EXPECT_LT(host.evaluated, single.evaluations);
      }
}

// f = x1^2 + 2 x2, h = x1 x2, g = x2^2 - 4 x1 on [-1, 3] x [0, 8], at the scaled (1/2, -1/4), which
// is (2, 3). Physical gradients: (4, 2), (3, 2), (-4, 6).
struct Pass {
  static constexpr int32_t n = 2, m = 3;
  Doubles x{0.5, -0.25}, f{10, 6, 1}, G = Doubles(6), gObj = Doubles(2), saved = Doubles(3),
                                      work = Doubles(3);
  Ints map{0, 0, 0};
  double scale = 0.0;
};
struct Routine {
  const char* name;
  void (*run)(Pass&, int32_t mode);
  std::vector<int> column;  // of the functions in G, from 0
  bool negates;
} const routines[] = {
    {"GDSGRA",
     [](Pass& p, int32_t mode) {
       GDSGRA(&mode, by(2), &p.n, p.x, &p.m, p.f, Ints{1, 2, 3}, p.G);
     },
     {0, 1, 2},
     true},
    {"GDBGRA",
     [](Pass& p, int32_t mode) {
       GDBGRA(&mode, by(2), &p.n, p.x, &p.m, p.f, Ints{3, 2, 1}, p.G, p.saved, p.work);
     },
     {2, 1, 0},
     true},
    {"GRGGRA",
     [](Pass& p, int32_t mode) {
       GRGGRA(&mode, by(1), Ints{1}, by(1), Ints{3}, by(2), &p.n, p.x, &p.m, p.f, p.map, p.G,
              p.gObj, &p.scale);
     },
     {0, 2, 1},
     true},
    {"SQPGRA",
     [](Pass& p, int32_t) {
       SQPGRA(&p.n, &p.m, p.x, p.f, Ints{-1, 0, 0}, p.gObj, p.G);
     },
     {0, 1, 2},
     false},
    {"DDSGRA",
     [](Pass& p, int32_t) {
       DDSGRA(&p.n, p.x, &p.m, p.f, nullptr, Ints{2, 3, 1}, &p.n, p.G);
     },
     {1, 2, 0},
     false},
    {"DDBGRA",
     [](Pass& p, int32_t) {
       DDBGRA(&p.n, p.x, &p.m, p.f, nullptr, Ints{1, 2, 3}, &p.n, p.G, p.saved, p.work);
     },
     {0, 1, 2},
     false},
};

void functions(double* x, double* f, double* h, double* g) {
  *f = x[0] * x[0] + 2 * x[1], *h = x[0] * x[1], *g = x[1] * x[1] - 4 * x[0];
}
const double given[3][2] = {{4, 2}, {3, 2}, {-4, 6}};
const double half[2] = {2, 4};

class HookedRoutines : public Hooks {
 protected:
  HookedRoutines() {
    host.n = 2;
    double x[] = {0, 1}, lower[] = {-1, 0}, upper[] = {3, 8}, f[3];
    VRK_sqp(0, 2, x, lower, upper, 1, 1, Recorder::analysis, &host, f);
    host.fill = functions;
    VRK_set_diffPert(0x1p-10);
    forget();
  }
  void forget() { host.calls.clear(), own.settings().nFunEval = own.settings().nGradEval = 0; }
  Recorder host;
};

TEST_F(HookedRoutines, BatchGivesTheBitsOfSingleCalls) {
  struct Batches {
    Recorder& host;
    int calls = 0, designs = 0;
  } batches{host};
  const tarnix_batch batch = [](void* user, int32_t count, const double* X, double* F) {
    auto& self = *static_cast<Batches*>(user);
    ++self.calls, self.designs += count;
    for (int32_t k = count; k-- > 0;) {  // in any order
      double x[2] = {X[2 * k], X[2 * k + 1]};
      functions(x, F + 3 * k, F + 3 * k + 1, F + 3 * k + 2);
      self.host.calls.push_back({{x[0], x[1]}, nullptr, nullptr, nullptr, nullptr});
    }
  };
  for (const Routine& r : routines)
    for (const int scheme : {1, 2})
      for (const int32_t mode : {0, 3}) {
        SCOPED_TRACE(r.name);
        VRK_set_diffMeth(scheme);
        Pass single, batched;
        tarnix_session_batch(own, nullptr, nullptr);
        forget();
        r.run(single, mode);
        auto points = host.calls;
        const VRK_Settings counters = own.settings();
        batches.calls = batches.designs = 0;
        tarnix_session_batch(own, batch, &batches);
        forget();
        r.run(batched, mode);
        EXPECT_EQ(1, batches.calls);
        EXPECT_EQ(scheme * 2, batches.designs);
        ASSERT_EQ(points.size(), host.calls.size());
        for (std::size_t k = 0; k < points.size(); ++k)
          for (int i = 0; i < 2; ++i)
            EXPECT_BITS(points[k].x[std::size_t(i)],
                        host.calls[points.size() - 1 - k].x[std::size_t(i)]);
        EXPECT_EQ(counters.nFunEval, own.settings().nFunEval);
        EXPECT_EQ(counters.nGradEval, own.settings().nGradEval);
        for (int i = 0; i < 6; ++i) EXPECT_BITS(single.G[i], batched.G[i]) << i;
        for (int i = 0; i < 2; ++i) EXPECT_BITS(single.x[i], batched.x[i]);
        EXPECT_EQ(single.f.values(), batched.f.values());
        EXPECT_EQ(single.scale, batched.scale);
      }
}

TEST_F(HookedRoutines, ExceptionOutOfABatchLeavesTheMarks) {
  tarnix_session_batch(
      own, [](void*, int32_t, const double*, double*) { throw std::runtime_error("batch"); },
      nullptr);
  for (const Routine& r : routines) {
    Pass pass;
    EXPECT_THROW(r.run(pass, 0), std::runtime_error) << r.name;
    EXPECT_EQ((Values{10, 6, 1}), pass.f.values());
    EXPECT_EQ(0, own.settings().dblStorageUsed);
    EXPECT_EQ(own.handle, CollectionSolve::inUse());
  }
}

TEST_F(HookedRoutines, PassWithoutVariablesAsksNobody) {
  tarnix_session_batch(
      own, [](void*, int32_t, const double*, double*) { ADD_FAILURE(); }, nullptr);
  for (const int scheme : {1, 2}) {
    VRK_set_diffMeth(scheme);
    Doubles f{10, 6, 1};
    DDSGRA(by(0), nullptr, by(3), f, nullptr, Ints{1, 2, 3}, by(1), nullptr);
    EXPECT_EQ(0, own.settings().nFunEval);
    EXPECT_TRUE(host.calls.empty());
  }
}

// ---- gradients from the host --------------------------------------------------------------------

struct Gradients {
  Values entries = Values(6, nan);  // (n, nfun) that it gives
  int32_t answer = 1;
  int calls = 0;

  static int32_t give(void* user, const double* x, int32_t n, int32_t nfun, double* G) {
    auto& self = *static_cast<Gradients*>(user);
    ++self.calls;
    EXPECT_EQ(2, n);
    EXPECT_EQ(3, nfun);
    EXPECT_EQ(2.0, x[0]);
    EXPECT_EQ(3.0, x[1]);
    for (int k = 0; k < 6; ++k) {
      EXPECT_TRUE(std::isnan(G[k]));
      G[k] = self.entries[std::size_t(k)];
    }
    return self.answer;
  }
};

TEST_F(HookedRoutines, GradientsReplaceDifferencesWhereTheyAreGiven) {
  // 1 for each entry (variable, function) that the host gives; the variables that stay to be
  // evaluated.
  const struct {
    const char* name;
    int give[6];
    std::vector<int> evaluated;
    int32_t answer = 1;
  } cases[] = {
      {"all", {1, 1, 1, 1, 1, 1}, {}},
      {"nothing", {0, 0, 0, 0, 0, 0}, {0, 1}},
      {"a column is missing", {1, 1, 0, 0, 1, 1}, {0, 1}},
      {"one variable", {1, 0, 1, 0, 1, 0}, {1}},
      {"one entry is missing", {1, 1, 0, 1, 1, 1}, {0}},
      {"it has none here", {1, 1, 1, 1, 1, 1}, {0, 1}, 0},
  };
  for (const Routine& r : routines)
    for (const auto& c : cases)
      for (const bool atOnce : {false, true})
        for (const int scheme : {1, 2})
          for (const int32_t mode : {0, 3}) {
            SCOPED_TRACE(std::string(r.name) + ", " + c.name);
            VRK_set_diffMeth(scheme);
            tarnix_session_gradient(own, nullptr, nullptr);
            tarnix_session_batch(own, nullptr, nullptr);
            Pass plain, pass;
            r.run(plain, mode);
            // Values that no difference gives, to tell them apart.
            Gradients gradients;
            gradients.answer = c.answer;
            for (int k = 0; k < 6; ++k)
              if (c.give[k] != 0) gradients.entries[std::size_t(k)] = given[k / 2][k % 2] + 64.0;
            tarnix_session_gradient(own, Gradients::give, &gradients);
            const tarnix_batch batch = [](void* user, int32_t count, const double* X, double* F) {
              for (int32_t k = 0; k < count; ++k) {
                double x[2] = {X[2 * k], X[2 * k + 1]};
                Recorder::analysis(user, x, F + 3 * k, F + 3 * k + 1, F + 3 * k + 2);
              }
            };
            if (atOnce) tarnix_session_batch(own, batch, &host);
            forget();
            r.run(pass, mode);
            EXPECT_EQ(1, gradients.calls);
            EXPECT_EQ(scheme * c.evaluated.size(), host.calls.size());
            EXPECT_EQ(int(host.calls.size()), own.settings().nFunEval);
            for (std::size_t k = 0; k < host.calls.size(); ++k)
              for (int i = 0; i < 2; ++i)
                EXPECT_EQ(i == c.evaluated[k / std::size_t(scheme)],
                          host.calls[k].x[std::size_t(i)] != 2.0 + i);
            for (int k = 0; k < 6; ++k) {
              const int i = k % 2, j = k / 2;
              const int at = r.column[std::size_t(j)] * 2 + i;
              const double sign = r.negates && mode == 3 && j == 1 ? -1.0 : 1.0;
              if (c.answer != 0 && c.give[k] != 0)
                EXPECT_EQ(sign * (given[j][i] + 64.0) * half[i], pass.G[at]);
              else
                EXPECT_BITS(plain.G[at], pass.G[at]);
            }
            for (int i = 0; i < 2; ++i) EXPECT_BITS(plain.x[i], pass.x[i]);
            EXPECT_EQ((Values{10, 6, 1}), pass.f.values());
          }
}

// Only functions that get a column count as missing.
TEST_F(HookedRoutines, FunctionsWithoutAColumnNeedNoGradient) {
  Gradients gradients;
  gradients.entries = {4, 2, nan, nan, -4, 6};
  tarnix_session_gradient(own, Gradients::give, &gradients);
  Pass pass;
  DDSGRA(&pass.n, pass.x, &pass.m, pass.f, nullptr, Ints{1, 0, 2}, &pass.n, pass.G);
  EXPECT_TRUE(host.calls.empty());
  EXPECT_EQ((Values{8, 8, -8, 24}), (Values{pass.G[0], pass.G[1], pass.G[2], pass.G[3]}));
}

// min (x1 - 3)^2 + x2^2 + x1 x2 with x1^2 + x2^2 <= 4 and x1 - x2 = 1 by exact gradients: no
// evaluation but those of the search, and every point of a gradient has been analyzed before.
TEST_F(Hooks, SolvesWithGradientsEvaluateOnlyInTheSearch) {
  struct Host {
    std::vector<Values> analyzed{}, differentiated{};
    static void analysis(void* user, double* x, double* f, double* h, double* g) {
      if (user != nullptr) static_cast<Host*>(user)->analyzed.push_back({x[0], x[1]});
      *f = (x[0] - 3) * (x[0] - 3) + x[1] * x[1] + x[0] * x[1];
      *h = x[0] - x[1] - 1;
      *g = x[0] * x[0] + x[1] * x[1] - 4;
    }
    static int32_t gradient(void* user, const double* x, int32_t, int32_t, double* G) {
      static_cast<Host*>(user)->differentiated.push_back({x[0], x[1]});
      const double exact[6] = {2 * (x[0] - 3) + x[1], 2 * x[1] + x[0], 1, -1, 2 * x[0], 2 * x[1]};
      std::copy_n(exact, 6, G);
      return 1;
    }
  };
  const double lower[] = {-2.7, -3.1}, upper[] = {4.3, 2.9};
  for (const Method method : methods) {
    const auto solve = [&](Host* host) {
      VRK_setDefaults();
      VRK_set_convTol(1e-8);
      double x[] = {0.3, 0.4}, f[3];
      const int32_t status = method(60, 2, x, lower, upper, 1, 1, Host::analysis, host, f);
      if (status != 9) {
        EXPECT_LE(status, isSqp(method) ? 1 : 3);
      }
      EXPECT_NEAR(1.5, x[0], 1e-3);  // the least of 3 x1^2 - 9 x1 + 10
    };
    tarnix_session_gradient(own, nullptr, nullptr);
    solve(nullptr);
    const int withDifferences = VRK_get_nFunEval();
    Host host;
    tarnix_session_gradient(own, Host::gradient, &host);
    solve(&host);
    EXPECT_EQ(int(host.analyzed.size()), VRK_get_nFunEval());
    EXPECT_LT(VRK_get_nFunEval(), withDifferences);
    EXPECT_EQ(VRK_get_nIter(), int(host.differentiated.size()));
    for (const Values& x : host.differentiated) {
      double nearest = INFINITY;
      for (const Values& y : host.analyzed)
        nearest = std::min(nearest, std::fabs(x[0] - y[0]) + std::fabs(x[1] - y[1]));
      EXPECT_LE(nearest, 0) << method;
    }
  }
}

}  // namespace
