#pragma once
// Points that fill a box evenly, however many are taken.

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

namespace tarnix::detail {

/// The Halton sequence with random permutations of its digits, the leading zeros' too, which takes
/// away the stripes of the plain one in many dimensions (Owen, A randomized Halton algorithm in R,
/// arXiv:1706.02808). The same seed gives the same points everywhere.
class QuasiRandom {
 public:
  QuasiRandom(std::size_t dimensions, std::uint64_t seed) : state_(seed) {
    for (int candidate = 2; axes_.size() < dimensions; ++candidate)
      if (isPrime(candidate)) addAxis(candidate);
  }

  /// Point k, its coordinates in 0 .. 1, without 1.
  std::vector<double> point(std::uint64_t k) const {
    std::vector<double> coordinates;
    for (const Axis& axis : axes_) {
      double coordinate = 0, unit = 1;
      std::uint64_t rest = k;
      const auto base = static_cast<std::uint64_t>(axis.base);
      for (std::size_t digit = 0; digit < axis.digits.size(); digit += base, rest /= base) {
        unit /= axis.base;
        coordinate += unit * axis.digits[digit + rest % base];
      }
      coordinates.push_back(coordinate);
    }
    return coordinates;
  }

 private:
  struct Axis {
    int base;
    std::vector<int> digits;  // one permutation of 0 .. base - 1 per place
  };

  bool isPrime(int candidate) const {
    for (const Axis& axis : axes_)
      if (candidate % axis.base == 0) return false;
    return true;
  }

  void addAxis(int base) {
    constexpr double finest = 1e-12;  // smaller places make no difference
    Axis axis{base, {}};
    double worth = 1;
    while (worth > finest) {
      std::vector<int> place(static_cast<std::size_t>(base));
      std::iota(place.begin(), place.end(), 0);
      for (std::size_t i = place.size(); i > 1; --i)
        std::swap(place[i - 1], place[static_cast<std::size_t>(random() % i)]);
      axis.digits.insert(axis.digits.end(), place.begin(), place.end());
      worth /= base;
    }
    axes_.push_back(std::move(axis));
  }

  /// Splitmix64 (Steele, Lea and Flood, Fast splittable pseudorandom number generators, 2014).
  std::uint64_t random() {
    std::uint64_t z = (state_ += 0x9e3779b97f4a7c15u);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
  }

  std::uint64_t state_;
  std::vector<Axis> axes_;
};

}  // namespace tarnix::detail
