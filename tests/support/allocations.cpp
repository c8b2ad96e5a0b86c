#include "support/allocations.h"

#include <malloc.h>  // malloc_usable_size, _msize

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

#ifdef _WIN32
std::size_t sizeOf(void* memory) {
  return _msize(memory);
}
#else
std::size_t sizeOf(void* memory) {
  return malloc_usable_size(memory);
}
#endif

std::atomic<std::size_t> bytes{0};
std::atomic<long> made{0};
constexpr long unlimited = -1;
thread_local long left = unlimited;

void* allocate(std::size_t size) {
  void* const memory = std::malloc(size);
  if (memory == nullptr) return nullptr;
  bytes += sizeOf(memory);
  ++made;
  return memory;
}

void* allocateOrThrow(std::size_t size) {
  if (void* const memory = allocate(size)) return memory;
  throw std::bad_alloc();
}

void* allocateWhileLeft(std::size_t size) {
  if (left == 0) return nullptr;
  if (left != unlimited) --left;
  return allocate(size);
}

void giveBack(void* memory) {
  if (memory != nullptr) bytes -= sizeOf(memory);
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
  return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
  return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocateWhileLeft(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocateWhileLeft(size);
}
void operator delete(void* memory) noexcept {
  giveBack(memory);
}
void operator delete[](void* memory) noexcept {
  giveBack(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  giveBack(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  giveBack(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  giveBack(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  giveBack(memory);
}

namespace support {

Allocations allocations() {
  return {bytes, made};
}

ShortMemory::ShortMemory(long count) {
  left = count;
}
ShortMemory::~ShortMemory() {
  left = unlimited;
}

}  // namespace support
