#pragma once
// All state of a solve in one object. Each thread uses one session at a time; the process-wide one
// is what a host gets that asks for none. Only the thread that uses a session touches it, but for
// the stop request.

#include "state/arena.h"
#include "state/problem.h"

namespace tarnix::core {

// One of the two work storages. The process-wide session has a fixed array, with claims at their
// marks; the others have blocks, so that their memory follows their largest solve.
template <class T>
struct Storage {
  T* fixed = nullptr;
  Arena<T> blocks{true};
};

struct Session {
  // With settings and storages of its own.
  constexpr Session() : settings(&ownSettings), privateDoubles(true), privateIndices(true) {}
  // The process-wide one.
  constexpr Session(VRK_Settings* block, double* fixedDoubles, int32_t* fixedIndices)
      : settings(block),
        doubles{fixedDoubles},
        indices{fixedIndices},
        privateDoubles(false),
        privateIndices(false) {}

  VRK_Settings ownSettings{};
  VRK_Settings* const settings;
  Storage<double> doubles;
  Storage<int32_t> indices;
  // Arrays outside the two storages, which have no mark and no capacity.
  Arena<double> privateDoubles;
  Arena<int32_t> privateIndices;
  Problem problem{};
  Hooks hooks{};
  // The second group's list of the solves without a first group. It is not released at their
  // return: the next such solve takes it again and lets it grow.
  Arena<int32_t> keptList{true};
  int32_t restorationIterations = 0;  // of the last Newton restoration
  bool refined = false;               // the reduced gradient method with its refinements
};

struct SessionInUse {
  Session* session;
  VRK_Settings* settings;  // the session's, one step nearer
};

// A plain access relative to the thread: no call of the run time, even where the library is loaded
// at run time.
[[gnu::tls_model("initial-exec")]] extern constinit thread_local SessionInUse inUse;

inline Session& session() {
  return *inUse.session;
}

Session& processWideSession();
// For the calling thread.
void useSession(Session& session);

// What a host's function does with the thread's session ends with it, an exception included.
class SessionKept {
 public:
  SessionKept() : kept_(inUse) {}
  ~SessionKept() { inUse = kept_; }
  SessionKept(const SessionKept&) = delete;
  SessionKept& operator=(const SessionKept&) = delete;

 private:
  const SessionInUse kept_;
};

}  // namespace tarnix::core
