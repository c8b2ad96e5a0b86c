// Preloaded into the program: allocation number TARNIX_FAIL_AT fails, and all behind it when
// TARNIX_FAIL_ALL is set; in the process that was started, not in its guard. Without a number they
// are counted, and the count is written to the file TARNIX_COUNT_TO.
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> count{0};
const pid_t self = getpid();
const long failAt = std::getenv("TARNIX_FAIL_AT") ? std::atol(std::getenv("TARNIX_FAIL_AT")) : 0;
const bool all = std::getenv("TARNIX_FAIL_ALL") != nullptr;

struct Report {
  ~Report() {
    const char* const name = std::getenv("TARNIX_COUNT_TO");
    if (!name || getpid() != self) return;
    if (FILE* file = std::fopen(name, "w")) {
      std::fprintf(file, "%ld\n", count.load());
      std::fclose(file);
    }
  }
} report;

void* allocate(std::size_t size) {
  const long number = ++count;
  const bool fails = failAt > 0 && (all ? number >= failAt : number == failAt);
  if (fails && getpid() == self) return nullptr;
  return std::malloc(size ? size : 1);
}

}  // namespace

void* operator new(std::size_t size) {
  if (void* memory = allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}
