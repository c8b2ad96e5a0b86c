#include "run/shared_pool.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace tarnix::cli {

// The serving thread waits for the ends of children; this looks like one.
void SharedPool::wake() const {
  kill(getpid(), SIGCHLD);
}

std::vector<SharedPool::Answer> SharedPool::ask(Evaluations& store,
                                                const Evaluations::Designs& designs) {
  Request request{&store, &designs, {}};
  std::unique_lock<std::mutex> lock(mutex);
  if (ending) throw Abandoned{};
  waiting.push_back(&request);
  wake();
  answered.wait(lock, [&] { return request.done || ending; });
  if (request.done) return std::move(request.answers);
  waiting.remove(&request);
  throw Abandoned{};
}

void SharedPool::tell(std::function<void()> what) {
  const std::lock_guard<std::mutex> lock(mutex);
  news.push_back(std::move(what));
  wake();
}

void SharedPool::noteError(std::exception_ptr cause) {
  const std::lock_guard<std::mutex> lock(mutex);
  if (!error) error = std::move(cause);
}

void SharedPool::add(Work work) {
  const std::lock_guard<std::mutex> lock(mutex);
  works.push_front(std::move(work));
}

void SharedPool::runWork(const Work& work) {
  try {
    work();
  } catch (const Abandoned&) {
    // The cause is known.
  } catch (...) {
    noteError(std::current_exception());
  }
  const std::lock_guard<std::mutex> lock(mutex);
  --active;
  wake();
}

// A thread takes one work: a thousand points are not solved side by side.
void SharedPool::startThreads() {
  const std::lock_guard<std::mutex> lock(mutex);
  for (; !works.empty() && active < mostThreads && !error; works.pop_front(), ++active)
    threads.emplace_back([this, work = std::move(works.front())] { runWork(work); });
}

void SharedPool::serve(std::vector<Work> given, std::size_t threadLimit) {
  works.assign(std::make_move_iterator(given.begin()), std::make_move_iterator(given.end()));
  mostThreads = threadLimit;
  ending = false;
  error = nullptr;
  try {
    serveAll();
    hearNews();
  } catch (...) {
    noteError(std::current_exception());
  }
  {
    const std::lock_guard<std::mutex> lock(mutex);
    ending = true;  // by this thread alone, which reads the requests outside the lock
    answered.notify_all();
  }
  for (std::thread& thread : threads) thread.join();
  threads.clear();
  if (error) std::rethrow_exception(error);
}

void SharedPool::serveAll() {
  for (;;) {
    checkSignals();
    startThreads();
    {
      const std::lock_guard<std::mutex> lock(mutex);
      if ((active == 0 && works.empty()) || error) return;
    }
    if (hearNews() || advanceRequests()) continue;
    if (onTick) onTick();
    waitForChild(Clock::now() + std::chrono::milliseconds(50));
  }
}

bool SharedPool::hearNews() {
  std::vector<std::function<void()>> heard;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    heard.swap(news);
  }
  for (const auto& what : heard) what();
  return !heard.empty();
}

// True when one was answered: its solve may ask for more at once.
bool SharedPool::advanceRequests() {
  std::vector<Request*> open;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    open.assign(waiting.begin(), waiting.end());
  }
  std::set<Evaluations*> stores;
  for (const Request* request : open) stores.insert(request->store);
  bool any = false;
  for (Request* request : open) {
    Evaluations& store = *request->store;
    int others = 0;
    for (const Evaluations* other : stores)
      if (other != &store) others += other->running();
    if (!store.advance(*request->designs, most - others, others > 0)) {
      if (store.running() + others == 0) store.keepLimits();
      continue;
    }
    for (const auto& x : *request->designs)
      request->answers.push_back({store.answer(x), store.resultsAt(x), store.failureAt(x)});
    const std::lock_guard<std::mutex> lock(mutex);
    request->done = any = true;
    waiting.remove(request);
    answered.notify_all();
  }
  return any;
}

}  // namespace tarnix::cli
