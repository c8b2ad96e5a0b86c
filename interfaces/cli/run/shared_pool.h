// Several solves, each in a thread of its own, share the runs of one pool. Histories, processes and
// signals are the affair of the thread that serves them.
#pragma once

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

#include "run/evaluations.h"

namespace tarnix::cli {

class SharedPool {
 public:
  // Jobs: runs side by side, over all stores.
  explicit SharedPool(int jobs) : most(jobs) {}

  struct Answer {
    std::vector<double> values, results;
    std::string failed;  // why a run gave none of them
  };
  // For the threads of the solves: waits for the designs of a store. Throws Abandoned when
  // everything ends.
  std::vector<Answer> ask(Evaluations& store, const Evaluations::Designs& designs);
  struct Abandoned {};

  // Has something done by the thread that serves.
  void tell(std::function<void()> what);

  using Work = std::function<void()>;
  // Runs the works side by side, so many threads at most, in their order, and serves them until all
  // have come to their end. Throws what ends the program, and what a work has thrown; all works
  // have ended by then.
  void serve(std::vector<Work> works, std::size_t mostThreads = 64);
  // For a work: has another one run, before those that wait.
  void add(Work work);

  std::function<void()> onTick;  // now and then while runs are waited for

 private:
  struct Request {
    Evaluations* store;
    const Evaluations::Designs* designs;
    std::vector<Answer> answers;
    bool done = false;
  };

  void startThreads();
  void runWork(const Work& work);
  void serveAll();
  bool advanceRequests();
  bool hearNews();
  void noteError(std::exception_ptr cause);
  void wake() const;

  const int most;
  std::size_t mostThreads = 0;
  std::list<std::thread> threads;  // of the thread that serves
  std::mutex mutex;
  std::condition_variable answered;
  // Guarded by the mutex.
  std::list<Request*> waiting;
  std::vector<std::function<void()>> news;
  std::deque<Work> works;  // that wait for a thread
  std::size_t active = 0;  // works that have one
  bool ending = false;
  std::exception_ptr error;
};

}  // namespace tarnix::cli
