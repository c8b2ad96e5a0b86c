#pragma once
// What the last evaluations gave, so that no point is evaluated again while it is remembered.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "translation.hpp"

namespace tarnix::detail {

class Memory {
 public:
  struct Sample {
    std::vector<double> x;       // core point
    std::vector<double> values;  // the host's
    std::int64_t number = 0;     // of the evaluation
    double key = 0;
  };

  /// Holds two passes of central differences, and some trial points.
  explicit Memory(const CoreProblem& core) : c_(core), capacity_(4 * core.free.size() + 24) {
    double weight = 1;
    for (std::size_t i = 0; i < core.free.size(); ++i) {
      weight = 0.7 * weight + 0.1;
      weight_.push_back(weight / core.half(i));
      sameKey_ += 2 * weight_[i] * core.roundOff[i];
    }
  }

  /// The sample at a core point, up to rounding; null when there is none.
  const Sample* find(const double* x) const {
    const double key = keyOf(x);
    for (std::size_t k = samples_.size(); k-- > 0;)
      if (std::abs(samples_[k].key - key) <= sameKey_ && c_.differing(samples_[k].x.data(), x) == 0)
        return &samples_[k];
    return nullptr;
  }

  void add(const double* x, const double* values, std::size_t count, std::int64_t number) {
    if (samples_.size() < capacity_) samples_.emplace_back();
    Sample& sample = samples_[next_];
    next_ = (next_ + 1) % capacity_;
    sample.x.assign(x, x + weight_.size());
    sample.values.assign(values, values + count);
    sample.number = number;
    sample.key = keyOf(x);
  }

 private:
  /// Points that are the same have keys that are nearly so; most others differ in them.
  double keyOf(const double* x) const {
    double key = 0;
    for (std::size_t i = 0; i < weight_.size(); ++i) key += weight_[i] * (x[i] - c_.lower[i]);
    return key;
  }

  const CoreProblem& c_;
  const std::size_t capacity_;
  std::vector<double> weight_;
  double sameKey_ = 0;
  std::vector<Sample> samples_;  // a ring, once it is full
  std::size_t next_ = 0;
};

}  // namespace tarnix::detail
