// long SECONDS: what takes longer than a test may. Each row of the table is one kind of load, a
// third of the seconds each; the program fails when a row is not as it should be.

#include <tarnix/session.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "problems.h"
#include "support/allocations.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Answer {
  int status = 0;
  std::vector<double> x, f;
  long calls = 0;
  bool operator==(const Answer& o) const {
    return status == o.status && calls == o.calls && same(x, o.x) && same(f, o.f);
  }
  static bool same(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
  }
};

// An analysis whose values are, with the given probability, replaced by what no analysis should
// say.
struct Analysis {
  const Problem* problem;
  double dirty = 0;
  std::mt19937 random{1};
  long calls = 0;

  void spoil(double* values, int count) {
    const double no = std::numeric_limits<double>::quiet_NaN();
    const double odd[] = {no, 1 / 0.0, -1 / 0.0, 1e308, -1e308, 5e-324, 0.0};
    for (int i = 0; i < count; ++i)
      if (std::uniform_real_distribution<>(0, 1)(random) < dirty) values[i] = odd[random() % 7];
  }
  static void call(void* user, double* x, double* f, double* eq, double* ineq) {
    auto& a = *static_cast<Analysis*>(user);
    ++a.calls;
    a.problem->evaluate(nullptr, x, f, eq, ineq);
    if (a.dirty == 0) return;
    a.spoil(f, 1);
    a.spoil(eq, a.problem->nEq);
    a.spoil(ineq, a.problem->nIneq);
  }
};

// For the thread, as long as it lives.
class Session {
 public:
  Session() : mine(tarnix_session_create()), before(tarnix_session_use(mine)) {
    tarnix_session_trace(
        mine, [](void*, const char*, size_t) {}, nullptr);  // refusals are many
  }
  ~Session() {
    tarnix_session_use(before);
    tarnix_session_destroy(mine);
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  Answer solve(Analysis& analysis, bool sqp) const;

 private:
  tarnix_session *mine, *before;
};

Answer Session::solve(Analysis& analysis, bool sqp) const {
  const Problem& p = *analysis.problem;
  Answer a;
  a.x.assign(p.start, p.start + p.n);
  a.f.resize(1 + p.nEq + p.nIneq);
  VRK_setDefaults();
  tarnix_session_settings(mine)->dblStorageCapacity = 2000000;
  tarnix_session_settings(mine)->intStorageCapacity = 100000;
  a.status = (sqp ? VRK_sqp : VRK_grg)(200, p.n, a.x.data(), p.lower, p.upper, p.nEq, p.nIneq,
                                       Analysis::call, &analysis, a.f.data());
  a.calls = analysis.calls;
  return a;
}

bool ended(bool sqp, int status) {
  return 1 <= status && status <= (sqp ? 9 : 12);
}

struct Row {
  long solves = 0, evaluations = 0, wrong = 0, longest = 0;
  void add(const Answer& a, bool right) {
    ++solves;
    evaluations += a.calls;
    longest = std::max(longest, a.calls);
    wrong += !right;
  }
};

const Problem* anyProblem(std::mt19937& random) {
  return wideProblemAt(static_cast<int>(random() % wideProblemCount()));
}

// Threads solve the collection again and again, in sessions that come and go: always the same bits.
Row soak(Clock::time_point until) {
  std::mutex guard;
  std::map<std::pair<const Problem*, bool>, Answer> first;
  Row row;
  const auto work = [&](unsigned seed) {
    std::mt19937 random(seed);
    while (Clock::now() < until) {
      const Session session;
      for (int i = 0; i < 20; ++i) {
        Analysis analysis{anyProblem(random)};
        const bool sqp = random() % 2;
        const Answer answer = session.solve(analysis, sqp);
        const std::lock_guard lock(guard);
        const auto [known, isNew] = first.try_emplace({analysis.problem, sqp}, answer);
        row.add(answer, isNew || known->second == answer);
      }
    }
  };
  std::vector<std::thread> threads;
  for (unsigned seed = 1; seed <= 4; ++seed) threads.emplace_back(work, seed);
  for (std::thread& thread : threads) thread.join();
  return row;
}

Row dirty(Clock::time_point until) {
  Row row;
  for (unsigned seed = 1; Clock::now() < until; ++seed) {
    std::mt19937 random(seed);
    Analysis analysis{anyProblem(random), std::pow(10.0, -static_cast<double>(random() % 4)),
                      std::mt19937(seed)};
    const bool sqp = random() % 2;
    const Session session;
    const Answer answer = session.solve(analysis, sqp);
    row.add(answer, ended(sqp, answer.status) && answer.calls < 1000000);
  }
  return row;
}

// Memory for no allocation of a solve, for one, for two, ...: it ends with the status for that, and
// the next one in the same session is as if nothing had been.
Row scarce(Clock::time_point until) {
  Row row;
  for (unsigned seed = 1; Clock::now() < until; ++seed) {
    std::mt19937 random(seed);
    const Problem* const problem = anyProblem(random);
    const bool sqp = random() % 2;
    Answer whole;
    {
      const Session session;
      Analysis analysis{problem};
      whole = session.solve(analysis, sqp);
    }
    for (long left = 0;; ++left) {
      const Session session;
      Analysis analysis{problem};
      const Answer answer = [&] {
        const support::ShortMemory memory(left);
        return session.solve(analysis, sqp);
      }();
      Analysis clean{problem};
      const bool enough = answer == whole;
      row.add(answer,
              (enough || answer.status == (sqp ? 7 : 11)) && session.solve(clean, sqp) == whole);
      if (enough) break;
    }
  }
  return row;
}

}  // namespace

int main(int count, char** words) {
  const double seconds = count > 1 ? std::atof(words[1]) : 60;
  const struct {
    const char* name;
    Row (*run)(Clock::time_point);
  } loads[] = {
      {"soak, 4 threads", soak}, {"dirty callbacks", dirty}, {"failing allocations", scarce}};
  std::printf("%-20s %9s %12s %9s %6s %11s\n", "load", "solves", "evaluations", "longest", "wrong",
              "bytes kept");
  bool good = true;
  for (const auto& load : loads) {
    const auto length = std::chrono::duration<double>(seconds / 3);
    const long before = static_cast<long>(support::allocations().bytes);
    const Row row = load.run(Clock::now() + std::chrono::duration_cast<Clock::duration>(length));
    const long kept = static_cast<long>(support::allocations().bytes) - before;
    std::printf("%-20s %9ld %12ld %9ld %6ld %11ld\n", load.name, row.solves, row.evaluations,
                row.longest, row.wrong, kept);
    good = good && row.solves > 0 && row.wrong == 0 && kept == 0;
  }
  return good ? 0 : 1;
}
