#pragma once
// The memory that operator new has handed out in this program and in the library, and a way to make
// it run short. A DLL of Windows keeps to an operator new of its own.

#include <cstddef>

namespace support {

#ifdef _WIN32
inline constexpr bool allocationsOfLibrary = false;
#else
inline constexpr bool allocationsOfLibrary = true;
#endif

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
