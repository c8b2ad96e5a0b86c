#pragma once
// What a fuzzed input is made of, and what ends a run: a property that does not hold.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace fuzz {

inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

// Numbers from the input; zeros when it is used up.
class Input {
 public:
  Input(const uint8_t* bytes, size_t length) : next(bytes), left(length) {}

  int integer(int low, int high) { return low + take<uint8_t>() % (high - low + 1); }
  // Mostly numbers of moderate size with few digits, which make ties; else any bits at all.
  double real() {
    const int kind = integer(0, 15);
    if (kind == 0) return take<double>();
    if (kind == 1) return take<float>();
    return take<int8_t>() / (kind < 8 ? 8.0 : 0.01);
  }
  double moderate() { return take<int16_t>() / 1024.0; }
  std::vector<double> reals(int count) {
    std::vector<double> values(count);
    for (double& v : values) v = real();
    return values;
  }

 private:
  template <class T>
  T take() {
    T value{};
    const size_t size = sizeof(T) < left ? sizeof(T) : left;
    std::memcpy(&value, next, size);
    next += size;
    left -= size;
    return value;
  }
  const uint8_t* next;
  size_t left;
};

}  // namespace fuzz
