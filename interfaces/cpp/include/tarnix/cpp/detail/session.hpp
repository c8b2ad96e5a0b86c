#pragma once
// The session of a solve: settings, counters and memory of the core that no other solve shares.

#include <tarnix/session.h>

#include <new>
#include <utility>

namespace tarnix::detail {

class Session {
 public:
  Session() : session_(spare().taken()) {
    if (session_ == nullptr) session_ = tarnix_session_create();
    if (session_ == nullptr) throw std::bad_alloc();
    tarnix_session_refine(session_, 1);
  }
  ~Session() {
    tarnix_session_batch(session_, nullptr, nullptr);
    tarnix_session_gradient(session_, nullptr, nullptr);
    tarnix_session_trace(session_, nullptr, nullptr);
    spare().put(session_);
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void batch(tarnix_batch function, void* user) const {
    tarnix_session_batch(session_, function, user);
  }
  void gradient(tarnix_gradient function, void* user) const {
    tarnix_session_gradient(session_, function, user);
  }
  void trace(tarnix_trace function, void* user) const {
    tarnix_session_trace(session_, function, user);
  }
  VRK_Settings& settings() const { return *tarnix_session_settings(session_); }

  /// The calling thread uses the session for a call of the core, and what it used before
  /// afterwards.
  class Use {
   public:
    explicit Use(const Session& session) : before_(tarnix_session_use(session.session_)) {}
    ~Use() { tarnix_session_use(before_); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

   private:
    tarnix_session* const before_;
  };

 private:
  /// A thread keeps one session for its next solve: the memory of a new one costs more than a small
  /// solve. Every stage stores the defaults first.
  class Spare {
   public:
    Spare() = default;
    ~Spare() { tarnix_session_destroy(session_); }
    Spare(const Spare&) = delete;
    Spare& operator=(const Spare&) = delete;
    tarnix_session* taken() { return std::exchange(session_, nullptr); }
    void put(tarnix_session* session) { tarnix_session_destroy(std::exchange(session_, session)); }

   private:
    tarnix_session* session_ = nullptr;
  };
  static Spare& spare() {
    static thread_local Spare ofThread;
    return ofThread;
  }

  tarnix_session* session_;
};

}  // namespace tarnix::detail
