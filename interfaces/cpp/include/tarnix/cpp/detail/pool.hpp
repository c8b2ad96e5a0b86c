#pragma once
// Threads that work through numbered tasks.

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "../callable.hpp"

namespace tarnix::detail {

class Pool {
 public:
  /// The thread that calls run() is one of them.
  explicit Pool(int threads) {
    for (int t = 1; t < threads; ++t) helpers_.emplace_back([this] { help(); });
  }
  ~Pool() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      leaving_ = true;
    }
    wake_.notify_all();
    for (std::thread& helper : helpers_) helper.join();
  }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  using MayBegin = FunctionRef<bool(std::size_t)>;
  using Task = FunctionRef<void(std::size_t)>;

  /// Tasks 0 .. count - 1, begun in this order, one question mayBegin before each; a no ends it.
  /// Returns when all that were begun have ended. After an exception none is begun, and that of the
  /// smallest number is thrown here: every smaller one has been begun, so it is the one that tasks
  /// one after the other would meet.
  void run(std::size_t count, MayBegin mayBegin, Task task) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      next_ = 0;
      count_ = failed_ = count;
      mayBegin_ = mayBegin;
      task_ = task;
      error_ = nullptr;
      open_ = true;
    }
    wake_.notify_all();
    std::unique_lock<std::mutex> lock(mutex_);
    work(lock);
    idle_.wait(lock, [this] { return busy_ == 0; });
    if (error_) std::rethrow_exception(error_);
  }

 private:
  void help() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      wake_.wait(lock, [this] { return open_ || leaving_; });
      if (leaving_) return;
      ++busy_;
      work(lock);
      if (--busy_ == 0) idle_.notify_all();
    }
  }

  void work(std::unique_lock<std::mutex>& lock) {
    while (open_) {
      open_ = next_ < count_ && !error_ && mayBegin_(next_);
      if (!open_) return;
      const std::size_t k = next_++;
      lock.unlock();
      std::exception_ptr thrown;
      try {
        task_(k);
      } catch (...) {
        thrown = std::current_exception();
      }
      lock.lock();
      if (thrown && k < failed_) failed_ = k, error_ = thrown;
    }
  }

  std::vector<std::thread> helpers_;
  std::mutex mutex_;
  std::condition_variable wake_, idle_;
  // Of the run, guarded by the mutex.
  bool open_ = false, leaving_ = false;
  int busy_ = 0;
  std::size_t next_ = 0, count_ = 0, failed_ = 0;
  MayBegin mayBegin_;
  Task task_;
  std::exception_ptr error_;
};

}  // namespace tarnix::detail
