// Every promise of the header on sessions: what is independent, what a thread uses, whose memory it
// is, and the ways out of a callback.

#include <pthread.h>

#include <atomic>
#include <csetjmp>
#include <csignal>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>

#include "support/allocations.h"
#include "support/session.h"

using namespace support;

namespace {

class Session : public Library {};

bool same(const VRK_Settings& a, const VRK_Settings& b) {
  const auto members = [](const VRK_Settings& s) {
    return std::tie(s.intStorageCapacity, s.dblStorageCapacity, s.intStorageUsed, s.dblStorageUsed,
                    s.diffMethod, s.nGradEval, s.stopRequest, s.nNewton1, s.nNewton2, s.grgParam1,
                    s.grgSearchParam1, s.grgSearchParam2, s.printLevel, s.maxStepNorm, s.errorFlag,
                    s.nFunEval, s.nIter, s.zeroTol, s.bigValue, s.convTolGrg, s.convTol,
                    s.diffPert);
  };
  return members(a) == members(b);
}

// Problems of the collection: all but the largest, which take minutes under a sanitizer.
std::vector<const Problem*> collection() {
  std::vector<const Problem*> problems;
  for (int i = 0; i < problemCount(); ++i)
    if (problemAt(i)->n <= 20) problems.push_back(problemAt(i));
  return problems;
}

// By both methods in the session in use.
std::vector<Record> solveAll() {
  std::vector<Record> records;
  for (const Problem* problem : collection())
    for (const Method method : methods) records.push_back(solved(*problem, method));
  return records;
}

// ---- one session at a time ----------------------------------------------------------------------

TEST_F(Session, BeginsWithTheDefaultsAndLeavesAllElse) {
  const VRK_Settings defaults = VRK_settings;
  VRK_set_convTol(0.5), VRK_set_stop(3), VRK_settings.dblStorageUsed = 7;
  const VRK_Settings before = VRK_settings;
  OwnSession own;
  ASSERT_NE(nullptr, own.handle);
  EXPECT_TRUE(same(defaults, own.settings()));
  EXPECT_TRUE(same(before, VRK_settings));
  EXPECT_EQ(nullptr, CollectionSolve::inUse());
}

TEST_F(Session, NullIsTheProcessWideOne) {
  EXPECT_EQ(&VRK_settings, tarnix_session_settings(nullptr));
  OwnSession own;
  const Using use(own);
  tarnix_session_destroy(nullptr);
  EXPECT_EQ(own.handle, CollectionSolve::inUse());
  tarnix_session_stop(nullptr, 1);
  EXPECT_EQ(1, VRK_settings.stopRequest);
  EXPECT_EQ(0, own.settings().stopRequest);
  // Its hooks, set while another session is in use.
  int traced = 0, passes = 0, asked = 0;
  tarnix_session_trace(
      nullptr, [](void* n, const char*, size_t) { ++*static_cast<int*>(n); }, &traced);
  tarnix_session_batch(
      nullptr, [](void* n, int32_t, const double*, double*) { ++*static_cast<int*>(n); }, &passes);
  tarnix_session_gradient(
      nullptr,
      [](void* n, const double*, int32_t, int32_t, double*) { return 0 * ++*static_cast<int*>(n); },
      &asked);
  const auto solve = [] {
    VRK_setDefaults();
    VRK_set_print(1);
    CollectionSolve{named("HS35"), VRK_sqp, {}, {}, 1}.run();
    PRTMES("text", by(4));
  };
  EXPECT_EQ("text\n", captured(solve));
  EXPECT_EQ(0, traced + passes + asked);
  const Using processWide(nullptr);
  EXPECT_EQ("", captured(solve));
  EXPECT_EQ(2, traced);
  EXPECT_EQ(1, passes);
  EXPECT_EQ(1, asked);
  tarnix_session_trace(nullptr, nullptr, nullptr);
  tarnix_session_batch(nullptr, nullptr, nullptr);
  tarnix_session_gradient(nullptr, nullptr, nullptr);
}

TEST_F(Session, UseReturnsTheFormerOne) {
  const OwnSession a, b;
  EXPECT_EQ(nullptr, tarnix_session_use(a));
  EXPECT_EQ(a.handle, tarnix_session_use(b));
  EXPECT_EQ(b.handle, tarnix_session_use(b));
  EXPECT_EQ(b.handle, tarnix_session_use(nullptr));
  EXPECT_EQ(nullptr, tarnix_session_use(nullptr));
}

TEST_F(Session, EveryCallWorksOnTheOneInUse) {
  const VRK_Settings before = VRK_settings;
  OwnSession own;
  {
    const Using use(own);
    VRK_set_stop(2), VRK_set_print(-1), VRK_set_diffMeth(5), VRK_set_diffPert(0.25);
    VRK_set_convTol(0.125);
    const VRK_Settings& s = own.settings();
    EXPECT_EQ(2, s.stopRequest);
    EXPECT_EQ(-1, s.printLevel);
    EXPECT_EQ(5, s.diffMethod);
    EXPECT_EQ(0.25, s.diffPert);
    EXPECT_EQ(0.125, s.convTol);
    EXPECT_EQ(0.125, s.convTolGrg);
    own.settings().nIter = 11, own.settings().nFunEval = 12;
    EXPECT_EQ(11, VRK_get_nIter());
    EXPECT_EQ(12, VRK_get_nFunEval());
    // A claim is refused by this session's capacity, and noted in its settings.
    own.settings().dblStorageCapacity = 3;
    double H[1] = {1}, s1[1] = {1}, y1[1] = {2};
    int32_t updated = 0;
    GRSHES(by(1), s1, y1, H, &updated);
    EXPECT_EQ(-1, own.settings().errorFlag);
    EXPECT_EQ(1.0, H[0]);
    VRK_setDefaults();
    EXPECT_TRUE(same(before, own.settings()));
  }
  EXPECT_TRUE(same(before, VRK_settings));
}

TEST_F(Session, EachStoresAProblemOfItsOwn) {
  Recorder outer, inner;
  outer.install({-4}, {4});
  OwnSession own;
  double x = 0.5, f = 0.0;
  {
    const Using use(own);
    inner.n = 1;
    double start[] = {0}, l[] = {-1}, u[] = {3}, value[1];
    VRK_sqp(0, 1, start, l, u, 0, 0, Recorder::analysis, &inner, value);
    inner.calls.clear();
    SQPFUN(by(1), &x, &f);
  }
  ASSERT_EQ(1u, inner.calls.size());
  EXPECT_EQ(2.0, inner.calls[0].x[0]);
  EXPECT_TRUE(outer.calls.empty());
  SQPFUN(by(1), &x, &f);
  ASSERT_EQ(1u, outer.calls.size());
  EXPECT_EQ(2.0, outer.calls[0].x[0]);  // 0.5 of [-4, 4], which is 0.5 of [-1, 3] as well
  EXPECT_EQ(1u, inner.calls.size());
}

TEST_F(Session, ThreadsBeginWithTheProcessWideOneAndChooseForThemselves) {
  const OwnSession a, b;
  const Using use(a);
  std::thread([&] {
    EXPECT_EQ(nullptr, tarnix_session_use(b));
    VRK_set_diffPert(0.5);
  }).join();
  EXPECT_EQ(0.5, b.settings().diffPert);
  EXPECT_EQ(a.handle, CollectionSolve::inUse());
}

TEST_F(Session, DestroyedWhileInUseGivesWayToTheProcessWideOne) {
  tarnix_session* const doomed = tarnix_session_create();
  const OwnSession other;
  tarnix_session_use(doomed);
  tarnix_session_destroy(doomed);
  EXPECT_EQ(nullptr, CollectionSolve::inUse());
  VRK_set_diffPert(0.5);
  EXPECT_EQ(0.5, VRK_settings.diffPert);

  tarnix_session* const unused = tarnix_session_create();
  const Using use(other);
  tarnix_session_destroy(unused);
  EXPECT_EQ(other.handle, CollectionSolve::inUse());
}

TEST_F(Session, DefaultsLeaveTheHooks) {
  OwnSession own;
  const Using use(own);
  const Problem& p = named("HS35");
  CollectionSolve solve{p, VRK_grg};
  int asked = 0;
  std::string text;
  tarnix_session_batch(own, CollectionSolve::batch, &solve);
  tarnix_session_gradient(
      own,
      [](void* n, const double*, int32_t, int32_t, double*) { return 0 * ++*static_cast<int*>(n); },
      &asked);
  tarnix_session_trace(
      own, [](void* to, const char* s, size_t n) { static_cast<std::string*>(to)->append(s, n); },
      &text);
  VRK_setDefaults();
  VRK_set_print(1);
  EXPECT_EQ("", captured([&] { solve.run(); }));
  EXPECT_EQ(solve.record.iterations, asked);
  EXPECT_FALSE(text.empty());
}

TEST_F(Session, RefineConcernsReducedGradientsAndOutlivesTheDefaults) {
  OwnSession own;
  const Using use(own);
  const std::vector<Record> plain = solveAll();
  {
    const Using processWide(nullptr);
    tarnix_session_refine(own, 1);
    EXPECT_EQ(plain, solveAll());  // in another session
  }
  const std::vector<Record> refined = solveAll();  // the defaults are stored before every solve
  int differ = 0;
  for (std::size_t i = 0; i < plain.size(); ++i) {
    if (i % 2 == 0) {  // SQP
      EXPECT_EQ(plain[i], refined[i]) << i;
    }
    differ += plain[i] != refined[i];
  }
  EXPECT_GT(differ, 0);
  tarnix_session_refine(own, 0);
  EXPECT_EQ(plain, solveAll());
}

// ---- the same bits everywhere -------------------------------------------------------------------

TEST_F(Session, SameBitsInEverySessionThreadAndNested) {
  const std::vector<Record> alone = solveAll();
  const std::vector<const Problem*> problems = collection();
  std::vector<Record> reversed(alone.size()), nested;
  {
    const OwnSession session;
    const Using use(session);
    for (std::size_t i = alone.size(); i-- > 0;)  // after larger and smaller ones
      reversed[i] = solved(*problems[i / 2], methods[i % 2]);
  }
  EXPECT_EQ(alone, reversed);

  // Every problem within the first call of the analysis of another one.
  const OwnSession outer, inner;
  for (std::size_t i = 0; i < alone.size(); ++i) {
    const std::size_t other = alone.size() - 1 - i;
    const Using use(outer);
    VRK_setDefaults();
    CollectionSolve solve{*problems[other / 2], methods[other % 2]};
    solve.meanwhile = [&] {
      if (nested.size() > i) return;
      tarnix_session_use(inner);
      nested.push_back(solved(*problems[i / 2], methods[i % 2]));
    };
    EXPECT_EQ(alone[other], solve.run());
    EXPECT_EQ(outer.handle, CollectionSolve::inUse());
  }
  EXPECT_EQ(alone, nested);

  std::vector<std::vector<Record>> beside(3);
  std::vector<std::thread> threads;
  for (auto& records : beside)
    threads.emplace_back([&records] {
      const OwnSession session;
      const Using use(session);
      records = solveAll();
    });
  for (auto& thread : threads) thread.join();
  for (const auto& records : beside) EXPECT_EQ(alone, records);
}

// The host's functions of a solve may use and leave in use what they like.
TEST_F(Session, SolveGoesOnInItsOwnSession) {
  const Problem& p = named("HS43");
  const OwnSession own, other;
  for (const Method method : methods) {
    const Record alone = solved(p, method);
    struct Host {
      CollectionSolve solve;
      tarnix_session* other;
      void disturb() const {
        tarnix_session_use(other);
        solved(named("HS35"), VRK_grg);
        VRK_set_stop(1), VRK_set_print(9), VRK_set_diffPert(0.5);
      }
    } host{{p, method}, other};
    host.solve.meanwhile = [&] { host.disturb(); };
    tarnix_session_batch(
        own,
        [](void* user, int32_t count, const double* X, double* F) {
          CollectionSolve::batch(&static_cast<Host*>(user)->solve, count, X, F);
        },
        &host);
    tarnix_session_gradient(
        own,
        [](void* user, const double*, int32_t, int32_t, double*) {
          static_cast<Host*>(user)->disturb();
          return 0;
        },
        &host);
    tarnix_session_trace(
        own, [](void* user, const char*, size_t) { static_cast<Host*>(user)->disturb(); }, &host);
    const Using use(own);
    VRK_setDefaults();
    VRK_set_print(3);
    EXPECT_EQ(alone, host.solve.run());
    EXPECT_EQ(own.handle, CollectionSolve::inUse());
    EXPECT_EQ(3, own.settings().printLevel);
  }
}

// min sum c(i) (x(i) - t(i))^2 with one linear constraint, all from the seed.
struct Small {
  std::vector<double> c, t, a, x, f;
  uint64_t points = 1;
  explicit Small(unsigned seed) {
    std::mt19937 engine(seed);
    const auto real = [&] { return engine() / 4294967296.0; };
    const auto n = 1 + engine() % 4;
    for (auto* v : {&c, &t, &a, &x})
      for (unsigned i = 0; i < n; ++i) v->push_back(v == &c ? 0.5 + real() : 2 * real() - 1);
    f.resize(2);
  }
  static void analysis(void* user, double* x, double* f, double*, double* g) {
    auto& self = *static_cast<Small*>(user);
    *f = 0.0, *g = -0.25;
    for (std::size_t i = 0; i < self.c.size(); ++i) {
      *f += self.c[i] * (x[i] - self.t[i]) * (x[i] - self.t[i]);
      *g += self.a[i] * x[i];
      self.points = (self.points ^ bits(x[i])) * 1099511628211u;
    }
  }
  uint64_t solve(Method method) {
    const std::vector<double> l(c.size(), -1.0), u(c.size(), 1.0);
    VRK_setDefaults();
    const int32_t status =
        method(30, int32_t(c.size()), x.data(), l.data(), u.data(), 0, 1, analysis, this, f.data());
    return points + uint64_t(status) + uint64_t(VRK_get_nFunEval()) * 31 + bits(f[0]);
  }
};

TEST_F(Session, TenThousandSolvesInEightThreads) {
  constexpr unsigned count = 10000, threadCount = 8;
  std::vector<uint64_t> alone(count), beside(count);
  for (unsigned i = 0; i < count; ++i) alone[i] = Small(i).solve(methods[i % 2]);
  std::vector<std::thread> threads;
  std::atomic<unsigned> next{0};
  for (unsigned k = 0; k < threadCount; ++k)
    threads.emplace_back([&, k] {
      auto session = std::make_unique<OwnSession>();
      tarnix_session_use(*session);
      for (unsigned i; (i = next++) < count;) {
        beside[i] = Small(i).solve(methods[i % 2]);
        if (i % 16 != k) continue;  // now and then a new one
        session = std::make_unique<OwnSession>();
        tarnix_session_use(*session);
      }
      tarnix_session_use(nullptr);
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(alone, beside);
}

// ---- memory -------------------------------------------------------------------------------------

TEST_F(Session, MemoryFollowsTheLargestSolveAndIsReturned) {
  if (!allocationsOfLibrary) GTEST_SKIP() << "the library's memory is not seen from outside";
  const Problem &small = named("HS35"), &large = named("sphere_quartic_100");
  VRK_setDefaults();
  for (const Method method : methods) {
    const auto before = allocations().bytes;
    const auto bytes = [&] { return allocations().bytes - before; };
    tarnix_session* const session = tarnix_session_create();
    tarnix_session_use(session);
    const auto solve = [&](const Problem& p) {
      std::vector<double> x(p.start, p.start + p.n), f(std::size_t(1 + p.nEq + p.nIneq));
      const auto made = allocations().made;
      method(3, p.n, x.data(), p.lower, p.upper, p.nEq, p.nIneq, p.evaluate, nullptr, f.data());
      return allocations().made - made;
    };
    const auto empty = bytes();
    EXPECT_LT(empty, 16384u);
    solve(small);
    const auto afterSmall = bytes();
    EXPECT_LT(afterSmall, empty + 16384);
    solve(large);
    const auto afterLarge = bytes();
    EXPECT_GT(afterLarge, afterSmall + 100 * 100 * sizeof(double));
    EXPECT_LT(afterLarge, empty + 8 * (VRK_settings.dblStorageCapacity + 5000) * 2u);
    for (int repeat = 0; repeat < 3; ++repeat) solve(small), solve(large);
    EXPECT_EQ(afterLarge, bytes());
    tarnix_session_destroy(session);
    EXPECT_EQ(0u, bytes());
  }
}

// Within a callback a routine claims far more than the solve: what that works in stays in place.
TEST_F(Session, ClaimsDoNotMove) {
  constexpr int32_t n = 90;
  std::vector<double> H(n * n), g(n, 1.0), dl(n, -0.5), du(n, 2.0), d(n), lambda(n);
  std::vector<int32_t> codes(n, 1), active(n);
  for (int i = 0; i < n; ++i) H[std::size_t(i * (n + 1))] = 1.0 + i;
  const auto claimMuch = [&] {
    int32_t count, flags[3];
    QPSOLV(by(n), by(0), by(0), nullptr, by(n), nullptr, H.data(), by(n), g.data(), codes.data(),
           dl.data(), du.data(), d.data(), lambda.data(), active.data(), &count, &flags[0],
           &flags[1], &flags[2]);
    EXPECT_EQ(0, flags[0] | flags[1] | flags[2]);
    EXPECT_EQ(1, count);
    EXPECT_EQ(-0.5, d[0]);
    EXPECT_DOUBLE_EQ(-1.0 / n, d[n - 1]);
  };
  for (const Method method : methods) {
    const Record alone = solved(named("HS100"), method);
    for (const long call : {1, 2, 9, 20}) {
      OwnSession own;
      const Using use(own);
      CollectionSolve solve{named("HS100"), method};
      long calls = 0;
      solve.meanwhile = [&] {
        if (++calls >= call) claimMuch();
      };
      EXPECT_EQ(alone, solve.run());
    }
  }
}

TEST_F(Session, WithoutMemoryIsNull) {
  if (!allocationsOfLibrary) GTEST_SKIP() << "the library's memory is not seen from outside";
  OwnSession own;
  const Using use(own);
  const auto before = allocations().bytes;
  {
    const ShortMemory none(0);
    EXPECT_EQ(nullptr, tarnix_session_create());
  }
  EXPECT_EQ(before, allocations().bytes);
  EXPECT_EQ(own.handle, CollectionSolve::inUse());
}

TEST_F(Session, OutOfMemoryWithinASolve) {
  if (!allocationsOfLibrary) GTEST_SKIP() << "the library's memory is not seen from outside";
  const Problem& large = named("segments_50");
  for (const Method method : methods) {
    // The second one's subproblems take blocks of their own.
    for (const Problem* p : {&named("HS43"), &large}) {
      const Record alone = solved(*p, method);
      const int32_t refused = isSqp(method) ? int{VRK_SQP_STORAGE} : int{VRK_GRG_STORAGE};
      long allowed = 0;
      for (bool enough = false; !enough; ++allowed) {
        ASSERT_LT(allowed, 50);
        OwnSession own;
        const Using use(own);
        CollectionSolve short_{*p, method};
        captured([&] {
          const ShortMemory memory(allowed);
          short_.run();
        });
        enough = short_.record.status != refused;
        if (enough) {
          EXPECT_EQ(alone, short_.record);
        }
        EXPECT_EQ(0, own.settings().dblStorageUsed);
        EXPECT_EQ(alone, solved(*p, method)) << "after the defaults, allowed " << allowed;
      }
      EXPECT_GT(allowed, 4);
    }
    // What serves a batch is not needed: its points are then evaluated one by one.
    OwnSession own;
    const Using use(own);
    const Record plain = solved(large, method);  // all that a solve takes by itself is there now
    const tarnix_batch batch = [](void*, int32_t, const double*, double*) { FAIL(); };
    tarnix_session_batch(own, batch, nullptr);
    const ShortMemory none(0);
    EXPECT_EQ(plain, solved(large, method));
  }
}

// A subproblem's own failure flag does not tell memory from a storage that is too small.
TEST_F(Session, OutOfMemoryWithinASubproblem) {
  if (!allocationsOfLibrary) GTEST_SKIP() << "the library's memory is not seen from outside";
  const auto solveQp = [] {
    Doubles d(1), multipliers(1);
    Ints rows(1);
    int32_t count = 0, noSolution = 0, notPosDef = 0, failure = 0;
    QPSOLV(by(1), by(0), by(0), nullptr, by(1), nullptr, Doubles{2}, by(1), Doubles{-6}, Ints{0},
           Doubles{0}, Doubles{0}, d, multipliers, rows, &count, &noSolution, &notPosDef, &failure);
    return failure != 0;
  };
  for (const bool withoutMemory : {true, false}) {
    OwnSession own;
    const Using use(own);
    bool failed = false;
    captured([&] {
      const ShortMemory memory(withoutMemory ? 0 : 1000);
      failed = solveQp();
    });
    EXPECT_EQ(withoutMemory, failed);
    EXPECT_EQ(withoutMemory, own.settings().errorFlag != 0);
  }
}

// ---- ways out of a callback ---------------------------------------------------------------------

volatile std::sig_atomic_t handled = 0;
tarnix_session* toStop = nullptr;

TEST_F(Session, StopFromAThreadAndFromASignalHandler) {
  const auto fromThread = [](tarnix_session* session) {
    std::thread(tarnix_session_stop, session, 1).join();
  };
  const auto fromHandler = [](tarnix_session* session) {
    toStop = session;
    const auto before = std::signal(SIGTERM, [](int) {
      tarnix_session_stop(toStop, 1);
      handled = handled + 1;
    });
    std::raise(SIGTERM);
    std::signal(SIGTERM, before);
  };
  const OwnSession own, other;
  for (const Method method : methods)
    for (const auto& stop : {std::function(fromThread), std::function(fromHandler)}) {
      const Using use(own);
      VRK_setDefaults();
      CollectionSolve solve{named("HS43"), method};
      int calls = 0;
      solve.meanwhile = [&] {
        if (++calls == 10) stop(own);
      };
      EXPECT_EQ(isSqp(method) ? int{VRK_SQP_STOPPED} : int{VRK_GRG_STOPPED}, solve.run().status);
      EXPECT_EQ(1, own.settings().stopRequest);
      EXPECT_EQ(0, VRK_settings.stopRequest);
      EXPECT_EQ(0, other.settings().stopRequest);
    }
  EXPECT_EQ(2, handled);
}

TEST_F(Session, StopDuringASolveOfAnotherThread) {
  OwnSession own;
  std::atomic<bool> running{false};
  int32_t status = 0;
  std::thread solver([&] {
    const Using use(own);
    CollectionSolve solve{named("HS43"), VRK_sqp, {}, {}, 1 << 30};
    VRK_set_convTol(0.0);  // never at its goal
    solve.meanwhile = [&] { running = true; };
    do status = solve.run().status;
    while (status != VRK_SQP_STOPPED);
  });
  while (!running) std::this_thread::yield();
  tarnix_session_stop(own, 1);
  solver.join();
  EXPECT_EQ(VRK_SQP_STOPPED, status);
}

// Where a host leaves a solve: in the analysis, a batch, the gradients, or the trace.
struct LeavingHost {
  CollectionSolve solve;
  std::function<void()> leave;
  int calls = 0, last = 0, place = 0;  // leaves in call number last of that place

  void count(int at) {
    if (at == place && ++calls == last) leave();
  }
  void offer(tarnix_session* session) {
    solve.meanwhile = [this] { count(0); };
    const tarnix_batch batch = [](void* user, int32_t many, const double* X, double* F) {
      auto& self = *static_cast<LeavingHost*>(user);
      self.count(1);
      CollectionSolve::batch(&self.solve, many, X, F);
    };
    const tarnix_gradient gradient = [](void* user, const double*, int32_t, int32_t, double*) {
      static_cast<LeavingHost*>(user)->count(2);
      return int32_t{0};
    };
    const tarnix_trace trace = [](void* user, const char*, size_t) {
      static_cast<LeavingHost*>(user)->count(3);
    };
    tarnix_session_batch(session, place == 1 ? batch : nullptr, this);
    tarnix_session_gradient(session, gradient, this);
    tarnix_session_trace(session, trace, this);
    VRK_set_print(3);
  }
};
constexpr int places[][4] = {{1, 2, 7, 30}, {1, 2, 3, 4}, {1, 2, 3, 4}, {1, 5, 40, 90}};

TEST_F(Session, ExceptionsPassThrough) {
  const Problem& p = named("HS43");
  for (const Method method : methods) {
    const Record alone = solved(p, method);
    for (int place = 0; place < 4; ++place)
      for (const int last : places[place]) {
        OwnSession own;
        const Using use(own);
        LeavingHost host{{p, method}, [] { throw std::runtime_error("left"); }, 0, last, place};
        host.offer(own);
        EXPECT_THROW(host.solve.run(), std::runtime_error) << place << ' ' << last;
        EXPECT_EQ(0, own.settings().dblStorageUsed);
        EXPECT_EQ(0, own.settings().intStorageUsed);
        EXPECT_EQ(own.handle, CollectionSolve::inUse());
        host.place = -1;
        tarnix_session_batch(own, nullptr, nullptr);
        EXPECT_EQ(alone, solved(p, method));
      }
  }
}

std::jmp_buf way;
// In a function of its own: nothing of its frame lives on over the jump.
[[gnu::noinline]] bool leftByJump(LeavingHost& host) {
  if (setjmp(way) != 0) return true;
  host.solve.run();
  return false;
}

TEST_F(Session, LeftByLongjmpAndDestroyed) {
  const Problem& p = named("HS43");
  const OwnSession other;
  for (const Method method : methods) {
    const Record alone = solved(p, method);
    for (int place = 0; place < 4; ++place)
      for (const int last : places[place]) {
        SCOPED_TRACE(std::to_string(place) + ' ' + std::to_string(last));
        LeavingHost host{{p, method}, [] { std::longjmp(way, 1); }, 0, last, place};
        const auto before = allocations().bytes;
        tarnix_session* const doomed = tarnix_session_create();
        tarnix_session_use(doomed);
        host.offer(doomed);
        EXPECT_TRUE(leftByJump(host));
        EXPECT_EQ(doomed, CollectionSolve::inUse());
        tarnix_session_destroy(doomed);
        for (auto* v : {&host.solve.x, &host.solve.f}) std::vector<double>().swap(*v);
        EXPECT_EQ(before, allocations().bytes);
        EXPECT_EQ(alone, solved(p, method)) << "in the process-wide session";
        const Using use(other);
        EXPECT_EQ(alone, solved(p, method));
      }
  }
}

// A solve within a callback is left; the one around it continues.
TEST_F(Session, NestedSolveLeftByLongjmp) {
  for (const Method method : methods) {
    const Record alone = solved(named("HS43"), method);
    CollectionSolve outer{named("HS43"), method};
    int calls = 0;
    outer.meanwhile = [&] {
      if (++calls % 5 != 0) return;
      LeavingHost host{{named("HS100"), method}, [] { std::longjmp(way, 1); }, 0, calls, 0};
      tarnix_session* const inner = tarnix_session_create();
      tarnix_session_use(inner);
      host.offer(inner);
      EXPECT_TRUE(leftByJump(host));
      tarnix_session_destroy(inner);
    };
    VRK_setDefaults();
    EXPECT_EQ(alone, outer.run());
  }
}

TEST_F(Session, ThreadEndedInACallback) {
  for (const Method method : methods) {
    const Record alone = solved(named("HS43"), method);
    tarnix_session* const doomed = tarnix_session_create();
    struct Arguments {
      tarnix_session* session;
      Method method;
    } arguments{doomed, method};
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(
                     &thread, nullptr,
                     [](void* given) -> void* {
                       const auto& a = *static_cast<Arguments*>(given);
                       tarnix_session_use(a.session);
                       double x[2] = {0, 0}, l[2] = {-1, -1}, u[2] = {1, 1}, f[1];
                       a.method(
                           9, 2, x, l, u, 0, 0,
                           [](void*, double*, double*, double*, double*) { pthread_exit(nullptr); },
                           nullptr, f);
                       return given;
                     },
                     &arguments));
    void* result = &arguments;
    pthread_join(thread, &result);
    EXPECT_EQ(nullptr, result);
    tarnix_session_destroy(doomed);
    EXPECT_EQ(alone, solved(named("HS43"), method));
  }
}

// ---- trace --------------------------------------------------------------------------------------

TEST_F(Session, TraceGoesToItsSinkInsteadOfStdout) {
  OwnSession own;
  const Using use(own);
  std::string text;
  const tarnix_trace sink = [](void* to, const char* s, size_t n) {
    static_cast<std::string*>(to)->append(s, n);
  };
  for (const int level : {0, 1, 2, 3})
    for (const Method method : methods) {
      const auto solve = [&] {
        VRK_setDefaults();
        VRK_set_print(level);
        CollectionSolve{named("HS43"), method}.run();
        const double v[] = {1, 2};
        PRTVD(by(2), v, "title", 5);
      };
      tarnix_session_trace(own, nullptr, nullptr);
      const std::string printed = captured(solve);
      EXPECT_GT(printed.size(), level < 2 ? 20u : 300u);
      text.clear();
      tarnix_session_trace(own, sink, &text);
      EXPECT_EQ("", captured(solve));
      EXPECT_EQ(printed, text);
    }
}

}  // namespace
