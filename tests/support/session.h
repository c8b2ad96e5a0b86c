#pragma once
// Sessions that end with their scope, and solves of the collection with all that they did.

#include <problems.h>
#include <tarnix/session.h>

#include <cstdlib>
#include <functional>
#include <ostream>
#include <vector>

#include "support/support.h"

namespace support {

struct OwnSession {
  tarnix_session* handle = tarnix_session_create();
  OwnSession() = default;
  ~OwnSession() { tarnix_session_destroy(handle); }
  OwnSession(const OwnSession&) = delete;
  OwnSession& operator=(const OwnSession&) = delete;
  operator tarnix_session*() const { return handle; }
  VRK_Settings& settings() const { return *tarnix_session_settings(handle); }
};

// For the calling thread and scope.
struct Using {
  tarnix_session* const before;
  explicit Using(tarnix_session* session) : before(tarnix_session_use(session)) {}
  ~Using() { tarnix_session_use(before); }
  Using(const Using&) = delete;
  Using& operator=(const Using&) = delete;
};

using Method = decltype(VRK_sqp)*;

// What a solve did: every bit that a host can see of it.
struct Record {
  int32_t status = 0, iterations = 0, evaluations = 0, gradients = 0, mark = 0, indexMark = 0;
  uint64_t points = 14695981039346656037u;  // hash of all designs in their order
  std::vector<uint64_t> result;             // of x and f
  friend bool operator==(const Record&, const Record&) = default;

  friend void PrintTo(const Record& r, std::ostream* out) {
    *out << "status " << r.status << ", " << r.iterations << " iterations, " << r.evaluations
         << " evaluations, " << r.gradients << " gradients, marks " << r.mark << ' ' << r.indexMark
         << ", points " << std::hex << r.points << std::dec;
  }

  void point(const double* x, int n) {
    for (int i = 0; i < n; ++i) points = (points ^ bits(x[i])) * 1099511628211u;
  }
};

// A solve of a problem of the collection in the session in use.
struct CollectionSolve {
  const Problem& problem;
  Method method;
  Record record{};
  std::function<void()> meanwhile{};  // in every call of the analysis
  int32_t maxIter = 100;
  std::vector<double> x{}, f{};  // here and not in run(): a callback may be left by a jump

  static void analysis(void* user, double* x, double* f, double* equalities, double* inequalities) {
    auto& self = *static_cast<CollectionSolve*>(user);
    self.record.point(x, self.problem.n);
    if (self.meanwhile) self.meanwhile();
    self.problem.evaluate(nullptr, x, f, equalities, inequalities);
  }
  static void batch(void* user, int32_t count, const double* X, double* F) {
    auto& self = *static_cast<CollectionSolve*>(user);
    const Problem& p = self.problem;
    for (int32_t k = 0; k < count; ++k) {
      double* f = F + k * (1 + p.nEq + p.nIneq);
      double x[VRK_MAX_VARIABLES];
      std::copy_n(X + k * p.n, p.n, x);
      analysis(user, x, f, f + 1, f + 1 + p.nEq);
    }
  }

  const Record& run() {
    const Problem& p = problem;
    x.assign(p.start, p.start + p.n);
    f.assign(std::size_t(1 + p.nEq + p.nIneq), 0.0);
    record.status =
        method(maxIter, p.n, x.data(), p.lower, p.upper, p.nEq, p.nIneq, analysis, this, f.data());
    const VRK_Settings& s = *tarnix_session_settings(inUse());
    record.iterations = s.nIter, record.evaluations = s.nFunEval, record.gradients = s.nGradEval;
    record.mark = s.dblStorageUsed, record.indexMark = s.intStorageUsed;
    for (const double value : x) record.result.push_back(bits(value));
    for (const double value : f) record.result.push_back(bits(value));
    return record;
  }
  static tarnix_session* inUse() {
    tarnix_session* const session = tarnix_session_use(nullptr);
    tarnix_session_use(session);
    return session;
  }
};

// With the defaults, in the session in use.
inline Record solved(const Problem& problem, Method method) {
  VRK_setDefaults();
  return CollectionSolve{problem, method}.run();
}

inline const Problem& named(const char* name) {
  const Problem* const problem = problemByName(name);
  if (problem == nullptr) std::abort();
  return *problem;
}

// Not constant, and compared with: a function of a DLL has two addresses in a program, its own and
// that of a jump to it, and where a constant is folded it is not always the same one.
inline Method methods[] = {VRK_sqp, VRK_grg};
inline bool isSqp(Method method) {
  return method == methods[0];
}

}  // namespace support
