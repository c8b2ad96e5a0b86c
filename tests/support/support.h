#pragma once
// What the tests share: arguments by reference, guarded arrays, captured trace, a recording host.

#include <gtest/gtest.h>
#include <tarnix/session.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace support {

// A value as the pointer that a routine takes, alive to the end of the full expression:
// SQPFUN(by(2), x, f).
template <class T>
struct ByReference {
  T value;
  operator const T*() const { return &value; }
};
inline ByReference<int32_t> by(int32_t value) {
  return {value};
}
inline ByReference<double> by(double value) {
  return {value};
}

inline uint64_t bits(double value) {
  return std::bit_cast<uint64_t>(value);
}
#define EXPECT_BITS(expected, actual) \
  EXPECT_EQ(support::bits(expected), support::bits(actual)) << (expected) << " and " << (actual)

// An array between two zones that nobody may write, checked at the end. Its own cells begin as the
// same sentinel, so that one that was never written shows; in doubles it is a NaN, which also
// spoils every result that it is read for.
template <class T>
class Guarded {
 public:
  explicit Guarded(int size) : cells_(static_cast<std::size_t>(size + 2 * zone), sentinel()) {}
  Guarded(std::initializer_list<T> values) : Guarded(static_cast<int>(values.size())) {
    std::copy(values.begin(), values.end(), begin());
  }
  ~Guarded() {
    for (int i = 1; i <= zone; ++i) {
      EXPECT_TRUE(untouched(-i)) << "stray write " << i << " before the array";
      EXPECT_TRUE(untouched(size() - 1 + i)) << "stray write " << i << " behind the array";
    }
  }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;

  int size() const { return static_cast<int>(cells_.size()) - 2 * zone; }
  T* begin() { return cells_.data() + zone; }
  T* end() { return begin() + size(); }
  operator T*() { return begin(); }
  T& operator[](int i) { return begin()[i]; }
  std::vector<T> values() { return {begin(), end()}; }
  bool untouched(int i) const {
    const T cell = cells_[static_cast<std::size_t>(i + zone)];
    if constexpr (std::is_same_v<T, double>) return bits(cell) == bits(sentinel());
    return cell == sentinel();
  }
  bool untouched() const {
    for (int i = 0; i < size(); ++i)
      if (!untouched(i)) return false;
    return true;
  }

  static T sentinel() {
    if constexpr (std::is_same_v<T, double>) return std::bit_cast<double>(0x7ff8dead0000beefULL);
    return static_cast<T>(-0x5eadbeef);
  }

 private:
  static constexpr int zone = 16;
  std::vector<T> cells_;
};
using Doubles = Guarded<double>;
using Ints = Guarded<int32_t>;

// On Windows programs side by side may choose the same name, of which one gets the file.
inline std::FILE* temporaryFile() {
  for (int attempt = 0; attempt < 100; ++attempt)
    if (std::FILE* file = std::tmpfile()) return file;
  throw std::runtime_error("no temporary file");
}

// What the C stream stdout receives while the action runs, an exception out of it included.
template <class Action>
std::string captured(Action action) {
  struct Redirection {
    std::FILE* file = temporaryFile();
    int before = dup(STDOUT_FILENO);
    Redirection() {
      std::fflush(stdout);
      dup2(fileno(file), STDOUT_FILENO);
    }
    void end() {
      std::fflush(stdout);
      if (before >= 0) dup2(before, STDOUT_FILENO), close(before);
      before = -1;
    }
    ~Redirection() { end(), std::fclose(file); }
  } redirection;
  action();
  redirection.end();
  std::rewind(redirection.file);
  std::string text;
  for (int c; (c = std::fgetc(redirection.file)) != EOF;) text += static_cast<char>(c);
  return text;
}

// An analysis that notes every call and fills the values by any function, or leaves them.
struct Recorder {
  struct Call {
    std::vector<double> x;
    double *at, *objective, *equalities, *inequalities;
  };
  int n = 0;
  std::function<void(double* x, double* objective, double* equalities, double* inequalities)> fill;
  std::vector<Call> calls;

  static void analysis(void* user, double* x, double* objective, double* equalities,
                       double* inequalities) {
    auto& self = *static_cast<Recorder*>(user);
    self.calls.push_back({{x, x + self.n}, x, objective, equalities, inequalities});
    if (self.fill) self.fill(x, objective, equalities, inequalities);
  }

  // Records this callback and the bounds with the library, for the routines below the solve calls.
  void install(std::vector<double> lower, std::vector<double> upper, int m1 = 0, int m2 = 0) {
    n = static_cast<int>(lower.size());
    std::vector<double> x = lower, f(static_cast<std::size_t>(1 + m1 + m2));
    VRK_sqp(0, n, x.data(), lower.data(), upper.data(), m1, m2, analysis, this, f.data());
    calls.clear();
    VRK_settings.nFunEval = 0;
  }
};

// Defaults and the plain method before every test.
class Library : public ::testing::Test {
 protected:
  Library() {
    VRK_setDefaults();
    tarnix_session_refine(nullptr, 0);
  }
};

}  // namespace support
