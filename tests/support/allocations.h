#pragma once
// The memory that operator new has handed out in this program and in the library, and a way to make
// it run short.

#include <cstddef>

namespace support {

struct Allocations {
  std::size_t bytes;  // in use
  long made;          // since the program began
};
Allocations allocations();

// While it lives, the calling thread gets this many more allocations of those that may fail
// (nothrow), and none after them.
class ShortMemory {
 public:
  explicit ShortMemory(long left);
  ~ShortMemory();
  ShortMemory(const ShortMemory&) = delete;
  ShortMemory& operator=(const ShortMemory&) = delete;
};

}  // namespace support
