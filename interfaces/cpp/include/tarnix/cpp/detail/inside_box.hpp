#pragma once
// Evaluations inside the box only: how a point that the core asks for is answered from such.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "../options.hpp"
#include "translation.hpp"

namespace tarnix::detail {

/// A difference that leaves the box by its step in one variable is answered by the straight line
/// (forward) or the parabola (central) through points on the inner side. Their quotient is then the
/// one-sided formula of the same order. Any other point is answered at the nearest one in the box.
///
/// What is measured follows from the points alone, so that a whole pass is planned before its first
/// evaluation: ask() for every point, settle() with the values of all, then answer() for each.
class InsideBox {
 public:
  explicit InsideBox(const CoreProblem& core) : c_(core) {}

  void beginStage(const StageStart& stage) {
    stage_ = &stage;
    samples_.clear();
    base_ = inner_ = none;
  }

  /// Appends the points that are to be measured for this one, if any.
  void ask(const double* asked, std::vector<double>& measured) {
    toMeasure_ = &measured;
    std::vector<double> x(asked, asked + n());
    c_.clip(x.data());
    if (c_.differing(asked, x.data()) == 1) {
      std::size_t i = 0;
      while (std::abs(asked[i] - x[i]) <= c_.roundOff[i]) ++i;
      const double size = c_.half(i) * stage_->differenceStep;
      if (std::abs(asked[i] - x[i]) <= size * (1 + 1e-6))
        return stepOver(asked, x, i, asked[i] > c_.upper[i] ? size : -size);
    }
    answers_.push_back({1, {Term{at(x), 1.0}}});
  }

  /// Core values of the points that were asked for, in their order.
  void settle(const double* values) {
    const std::size_t m = c_.rows.size();
    for (Sample& sample : samples_)
      if (sample.f.empty()) {
        sample.f.assign(values, values + m);
        values += m;
      }
  }

  void answer(std::size_t k, double* f) const {
    const Answer& a = answers_[k];
    for (std::size_t r = 0; r < c_.rows.size(); ++r) {
      f[r] = a.terms[0].factor * samples_[a.terms[0].sample].f[r];
      for (std::size_t t = 1; t < a.count; ++t)
        f[r] += a.terms[t].factor * samples_[a.terms[t].sample].f[r];
    }
  }

  /// After the last answer: of all samples the base and the inner point of the differences stay.
  void forget() {
    answers_.clear();
    std::vector<Sample> kept;
    for (std::size_t* known : {&base_, &inner_})
      if (*known != none) {
        kept.push_back(samples_[*known]);
        *known = kept.size() - 1;
      }
    samples_ = std::move(kept);
  }

 private:
  static constexpr std::size_t none = static_cast<std::size_t>(-1);
  struct Sample {
    std::vector<double> x, f;  // f is empty until it is measured
  };
  struct Term {
    std::size_t sample;
    double factor;
  };
  struct Answer {
    std::size_t count;
    std::array<Term, 3> terms;
  };

  std::size_t n() const { return c_.free.size(); }

  /// The sample at a point in the box: to be measured, unless it is the base or the inner point.
  std::size_t at(const std::vector<double>& x) {
    for (const std::size_t known : {inner_, base_})
      if (known != none && c_.differing(samples_[known].x.data(), x.data()) == 0) return known;
    samples_.push_back({x, {}});
    toMeasure_->insert(toMeasure_->end(), x.begin(), x.end());
    // A step in one variable belongs to the differences around the base.
    const bool step = base_ != none && c_.differing(samples_[base_].x.data(), x.data()) == 1;
    return (step ? inner_ : base_) = samples_.size() - 1;
  }

  void stepOver(const double* asked, std::vector<double>& base, std::size_t i, double step) {
    base[i] = asked[i] - step;
    c_.clip(base.data());
    const double x0 = base[i];
    const auto inwards = [&](double distance) {
      std::vector<double> x = base;
      x[i] = x0 - distance;
      return at(x);
    };
    const std::size_t f0 = inwards(0), f1 = inwards(step);
    if (stage_->differences == Differences::forward) {
      answers_.push_back({2, {Term{f0, 2.0}, Term{f1, -1.0}}});
      return;
    }
    const std::size_t first = inner_;
    const std::size_t f2 = inwards(2 * step);
    inner_ = first;  // the core asks for it next
    answers_.push_back({3, {Term{f0, 3.0}, Term{f1, -3.0}, Term{f2, 1.0}}});
  }

  // Given.
  const CoreProblem& c_;
  const StageStart* stage_ = nullptr;
  // Of the round.
  std::vector<Sample> samples_;
  std::vector<Answer> answers_;
  std::vector<double>* toMeasure_ = nullptr;
  // Positions in samples_.
  std::size_t base_ = none, inner_ = none;
};

}  // namespace tarnix::detail
