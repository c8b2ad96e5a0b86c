#pragma once
// Whole solves from many starts, and what they tell together.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "../options.hpp"
#include "../problem.hpp"
#include "../result.hpp"
#include "evaluator.hpp"
#include "pool.hpp"
#include "quasi_random.hpp"
#include "search_box.hpp"
#include "solver.hpp"
#include "translation.hpp"

namespace tarnix::detail {

/// The first start is the declared one, the others are quasi-random points of the box. Every solve
/// has its share of the evaluations and knows nothing of the others, so that the number of threads
/// changes nothing.
class MultiStart {
 public:
  MultiStart(std::shared_ptr<const Description> description, const Host& host,
             const Options& options)
      : description_(std::move(description)),
        d_(*description_),
        host_(host),
        o_(options),
        count_(static_cast<std::size_t>(
            o_.maxEvaluations ? std::min<std::int64_t>(o_.starts, *o_.maxEvaluations) : o_.starts)),
        halts_(count_),
        results_(count_) {
    findStarts();
  }

  Result run() {
    const int side = static_cast<int>(
        std::min(count_, static_cast<std::size_t>(o_.threads)));  // solves side by side
    Pool(side).run(
        count_, [this](std::size_t k) { return mayBegin(k); },
        [this, side](std::size_t k) { solveFrom(k, o_.threads / side); });
    return merged();
  }

 private:
  void findStarts() {
    CoreProblem core(d_);
    std::vector<double> first = o_.start;
    if (first.empty())
      for (const auto& v : d_.variables) first.push_back(v.start);
    const SearchBox box(d_, core, first);  // gives the sides that are missing
    lower_ = core.lower, upper_ = core.upper;
    const QuasiRandom points(core.free.size(), o_.seed);
    starts_.push_back(first);
    for (std::size_t k = 1; k < count_; ++k) {
      std::vector<double> x = core.all;
      const std::vector<double> at = points.point(k - 1);
      for (std::size_t i = 0; i < at.size(); ++i)
        x[core.free[i]] = std::min(lower_[i] + at[i] * (upper_[i] - lower_[i]), upper_[i]);
      starts_.push_back(std::move(x));
    }
    free_ = core.free;
  }

  double secondsLeft() const {
    if (!o_.maxTime) return std::numeric_limits<double>::infinity();
    return (*o_.maxTime - (std::chrono::steady_clock::now() - began_)).count();
  }

  bool mayBegin(std::size_t k) const {
    return k == 0 ||
           !(halts_[k].requested() || (o_.stop && o_.stop->requested()) || secondsLeft() <= 0);
  }

  void haltFrom(std::size_t first) const {
    for (std::size_t k = first; k < count_; ++k) halts_[k].request();
  }

  Options optionsOf(std::size_t k, int threads) const {
    Options options = o_;
    options.starts = 1;
    options.effort = 0;  // the other starts are further ones
    options.start = starts_[k];
    options.threads = threads;
    options.checkGradients = o_.checkGradients && k == 0;
    if (o_.maxTime) options.maxTime = std::chrono::duration<double>(std::max(secondsLeft(), 1e-9));
    if (o_.maxEvaluations) {
      const auto all = *o_.maxEvaluations, solves = static_cast<std::int64_t>(count_);
      options.maxEvaluations = all / solves + (static_cast<std::int64_t>(k) < all % solves);
    }
    const int number = static_cast<int>(k) + 1;
    if (o_.onIteration)
      options.onIteration = [this, number](Progress& progress) {
        const std::lock_guard<std::mutex> lock(telling_);
        progress.start = number;
        o_.onIteration(progress);
        if (progress.stopRequested) haltFrom(0);
      };
    if (o_.onStage)
      options.onStage = [this, number](const StageStart& stage) {
        const std::lock_guard<std::mutex> lock(telling_);
        StageStart numbered = stage;
        numbered.start = number;
        o_.onStage(numbered);
      };
    if (o_.trace)
      options.trace = [this](std::string_view text) {
        const std::lock_guard<std::mutex> lock(telling_);
        o_.trace(text);
      };
    return options;
  }

  void solveFrom(std::size_t k, int threads) {
    try {
      const Options options = optionsOf(k, threads);
      results_[k] =
          Solver(description_, {host_.analysis, host_.gradient, halts_[k]}, options).run();
    } catch (...) {
      haltFrom(0);
      throw;
    }
    // The solve ends with the first start that reaches the target, in their order.
    if (results_[k]->reason == Reason::targetReached) haltFrom(k + 1);
  }

  // ---- all together ----------------------------------------------------------------------------
  Result merged() {
    std::vector<std::size_t> order;
    std::optional<Reason> cause;
    std::int64_t evaluations = 0;
    int iterations = 0;
    for (std::size_t k = 0; k < count_ && results_[k]; ++k) {
      Result& r = *results_[k];
      renumber(r, evaluations, static_cast<int>(k) + 1);
      evaluations += r.evaluations;
      iterations += r.iterations;
      order.push_back(k);
      if (r.reason == Reason::stopped || r.reason == Reason::timeLimit) cause = r.reason;
      if (r.reason == Reason::targetReached) break;
    }
    for (std::size_t k = order.size(); k < count_; ++k)  // halted, and not counted otherwise
      if (results_[k]) evaluations += results_[k]->evaluations;
    if (order.size() < count_ && !cause && results_[order.back()]->reason != Reason::targetReached)
      cause = secondsLeft() <= 0 ? Reason::timeLimit : Reason::stopped;
    std::stable_sort(order.begin(), order.end(),
                     [this](std::size_t a, std::size_t b) { return before(a, b); });
    Minima minima = minimaOf(order);
    std::optional<Design> best;
    for (const std::size_t k : order)
      if (const auto& one = results_[k]->best; one && (!best || objective(*one) < objective(*best)))
        best = one;
    Result result = std::move(*results_[order.front()]);
    result.best = std::move(best);
    result.minima = std::move(minima);
    result.evaluations = evaluations;
    result.iterations = iterations;
    if (cause) result.reason = *cause;
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - began_).count();
    return result;
  }

  /// As if the starts had been one after the other.
  static void renumber(Result& r, std::int64_t before, int start) {
    const auto shift = [before](Design& design) {
      if (design.evaluation > 0) design.evaluation += before;
    };
    shift(r.point);
    if (r.best) shift(*r.best);
    for (Stage& stage : r.stages) {
      shift(stage.end);
      stage.settings.start = start;
    }
  }

  double objective(const Design& design) const {
    return (d_.maximized ? -1 : 1) * design.values[0];
  }

  /// Success first, then what is feasible, then the objective, or the violation.
  bool before(std::size_t i, std::size_t k) const {
    const Result &a = *results_[i], &b = *results_[k];
    if (a.success != b.success) return a.success;
    if (a.feasible != b.feasible) return a.feasible;
    if (a.feasible) return objective(a.point) < objective(b.point);
    return a.point.violation < b.point.violation ||
           (std::isnan(b.point.violation) && !std::isnan(a.point.violation));
  }

  Minima minimaOf(const std::vector<std::size_t>& order) const {
    Minima all;
    all.starts = static_cast<int>(order.size());
    int successes = 0;
    for (const std::size_t k : order) {
      const Result& r = *results_[k];
      if (!r.success) continue;
      ++successes;
      const auto known =
          std::find_if(all.found.begin(), all.found.end(),
                       [&](const Minimum& minimum) { return same(minimum.point, r.point); });
      if (known == all.found.end())
        all.found.push_back({r.point, 1, static_cast<int>(k) + 1});
      else
        ++known->times, known->start = std::min(known->start, static_cast<int>(k) + 1);
    }
    all.unsuccessful = all.starts - successes;
    const double w = static_cast<double>(all.found.size());
    if (successes > w + 2) all.unseen = w * (w + 1) / (successes - w - 2);
    return all;
  }

  bool same(const Design& a, const Design& b) const {
    constexpr double close = 0.01;  // of the range of each variable
    for (std::size_t i = 0; i < free_.size(); ++i)
      if (!(std::abs(a.x[free_[i]] - b.x[free_[i]]) <= close * (upper_[i] - lower_[i])))
        return false;
    return true;
  }

  // Given.
  const std::shared_ptr<const Description> description_;
  const Description& d_;
  const Host& host_;
  const Options& o_;
  const std::size_t count_;  // of the starts
  const std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
  std::vector<std::size_t> free_;      // positions of the variables that are not fixed
  std::vector<double> lower_, upper_;  // of these
  std::vector<std::vector<double>> starts_;
  // Found.
  std::vector<Stop> halts_;  // one per start
  std::vector<std::optional<Result>> results_;
  mutable std::mutex telling_;
};

}  // namespace tarnix::detail
