#pragma once
// Two doubles side by side: a vector of the compiler where it has them, two numbers elsewhere. A
// lane's arithmetic is the scalar one, so that both kinds have the same bits.

#include <cstring>

namespace tarnix::core {

#if (defined(__GNUC__) || defined(__clang__)) && !defined(TARNIX_PLAIN_PAIRS)

// 16 bytes: what every 64-bit target has.
using Pair = double __attribute__((vector_size(16)));

// In each lane the larger one; b where a is a NaN.
inline Pair larger(Pair a, Pair b) {
  return a > b ? a : b;
}
inline bool anyEqual(Pair a, Pair b, Pair wanted) {
  const auto found = (a == wanted) | (b == wanted);
  return (found[0] | found[1]) != 0;
}

#else

struct Pair {
  double lanes[2];

  double operator[](int lane) const { return lanes[lane]; }
  Pair operator-() const { return {-lanes[0], -lanes[1]}; }
  friend Pair operator+(Pair a, Pair b) { return {a[0] + b[0], a[1] + b[1]}; }
  friend Pair operator-(Pair a, Pair b) { return {a[0] - b[0], a[1] - b[1]}; }
  friend Pair operator*(Pair a, Pair b) { return {a[0] * b[0], a[1] * b[1]}; }
  friend Pair operator/(Pair a, Pair b) { return {a[0] / b[0], a[1] / b[1]}; }
  Pair& operator+=(Pair other) { return *this = *this + other; }
  Pair& operator-=(Pair other) { return *this = *this - other; }
};

inline Pair larger(Pair a, Pair b) {
  return {a[0] > b[0] ? a[0] : b[0], a[1] > b[1] ? a[1] : b[1]};
}
inline bool anyEqual(Pair a, Pair b, Pair wanted) {
  return a[0] == wanted[0] || a[1] == wanted[1] || b[0] == wanted[0] || b[1] == wanted[1];
}

#endif

inline Pair loadPair(const double* p) {
  Pair v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
inline void storePair(double* p, Pair v) {
  std::memcpy(p, &v, sizeof v);
}

}  // namespace tarnix::core
