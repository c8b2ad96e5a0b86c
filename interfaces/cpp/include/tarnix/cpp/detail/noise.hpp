#pragma once
// How exact the values of the host are, from a few points close to each other.
//
// Moré and Wild: Estimating computational noise. SIAM J. Sci. Comput. 33 (2011) 1292-1314. On a
// short line the differences of high order of a smooth function vanish, and those of the noise
// stay.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "evaluator.hpp"
#include "tuning.hpp"

namespace tarnix::detail {

class NoiseProbe {
 public:
  NoiseProbe(const Description& description, const CoreProblem& core, Evaluator& evaluator)
      : d_(description), c_(core), evaluator_(evaluator) {}

  /// Largest noise of a function near a core point, relative to the size of its values or to its
  /// scale, whichever is larger; 0 where it is lost in rounding. The evaluations are in the box,
  /// the first one at the point itself. May throw EndSolve.
  double at(const std::vector<double>& x) {
    x_ = x;
    std::vector<bool> open(d_.functions.size(), true);
    double most = 0;
    for (spacing_ = tuning::noiseSpacing; spacing_ <= tuning::widestNoiseSpacing;
         spacing_ *= tuning::noiseSpacingGrowth) {
      values_.clear();
      measureTo(3);
      if (estimate(open) > tuning::cleanNoise) measureTo(tuning::noisePoints);
      most = std::max(most, estimate(open));
      if (!keepFlat(open)) break;
    }
    return most > tuning::cleanNoise ? most : 0;
  }

 private:
  /// A column of host values for each of the first points of the line.
  void measureTo(std::size_t count) {
    const std::size_t n = c_.free.size(), nf = d_.functions.size();
    const std::size_t known = values_.size() / nf;
    std::vector<double> points;
    for (std::size_t k = known; k < count; ++k) {
      std::vector<double> point = x_;
      for (std::size_t i = 0; i < n; ++i) {
        // Towards the middle, so that the line stays in the box.
        const double middle = c_.lower[i] + c_.half(i);
        const double by = spacing_ * static_cast<double>(k) * c_.half(i);
        point[i] += x_[i] > middle ? -by : by;
      }
      points.insert(points.end(), point.begin(), point.end());
    }
    if (points.empty()) return;
    evaluator_.measureAt(points);
    for (std::size_t k = known; k < count; ++k) {
      const std::vector<double> values = evaluator_.measuredAt(k - known).values;
      values_.insert(values_.end(), values.begin(), values.end());
    }
  }

  std::size_t points() const { return values_.size() / d_.functions.size(); }
  double value(std::size_t k, std::size_t j) const { return values_[k * d_.functions.size() + j]; }

  bool flat(std::size_t j) const {
    for (std::size_t k = 1; k < points(); ++k)
      if (value(k, j) != value(0, j)) return false;
    return true;
  }

  /// Functions with one value on all of the line stay open, for the steps between digits may be
  /// larger than it. True when there is any.
  bool keepFlat(std::vector<bool>& open) const {
    bool any = false;
    for (std::size_t j = 0; j < open.size(); ++j) {
      open[j] = open[j] && flat(j);
      any = any || open[j];
    }
    return any;
  }

  double estimate(const std::vector<bool>& open) const {
    double most = 0;
    for (std::size_t j = 0; j < open.size(); ++j) {
      if (!open[j] || flat(j)) continue;
      const double noise = ofFunction(j) / std::max(d_.functions[j].scale, std::abs(value(0, j)));
      if (std::isfinite(noise)) most = std::max(most, noise);
    }
    return most;
  }

  /// The root of gamma_k times the mean square of the differences of order k estimates the noise;
  /// what is smooth adds to low orders most.
  double ofFunction(std::size_t j) const {
    std::vector<double> difference;
    for (std::size_t k = 0; k < points(); ++k) difference.push_back(value(k, j));
    double gamma = 1, least = 0, slope = 0;
    for (int order = 1; order <= tuning::noiseOrder && difference.size() > 1; ++order) {
      double square = 0;
      for (std::size_t k = 0; k + 1 < difference.size(); ++k) {
        difference[k] = difference[k + 1] - difference[k];
        square += difference[k] * difference[k];
      }
      difference.pop_back();
      if (order == 1) slope = std::sqrt(square / static_cast<double>(difference.size()));
      gamma *= order / (2.0 * (2.0 * order - 1));
      const double noise = std::sqrt(gamma * square / static_cast<double>(difference.size()));
      if (order == 2 || (order > 2 && noise < least)) least = noise;
    }
    if (spacing_ == tuning::noiseSpacing) return least;
    // On a line that is not short the differences of a smooth function are small beside its slope.
    // It was flat on a shorter one, though: it moves by steps, no smaller than what it did not show
    // there.
    if (least < tuning::noiseShare * slope) least = 0;
    return std::max(least, slope / tuning::noiseSpacingGrowth);
  }

  const Description& d_;
  const CoreProblem& c_;
  Evaluator& evaluator_;
  std::vector<double> x_;
  double spacing_ = 0;
  std::vector<double> values_;  // (functions, points)
};

}  // namespace tarnix::detail
