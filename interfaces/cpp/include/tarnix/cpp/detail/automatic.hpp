#pragma once
// The automatic method: which stages follow each other.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include "curvature.hpp"
#include "elastic.hpp"
#include "further_starts.hpp"
#include "noise.hpp"
#include "stages.hpp"

namespace tarnix::detail {

class Automatic {
 public:
  /// With the layer's own solve for problems that arise within.
  Automatic(Stages& stages, Elastic::Solve solve)
      : s_(stages),
        o_(stages.options()),
        c_(stages.core()),
        e_(stages.evaluator()),
        solve_(solve) {}

  void run() {
    e_.remember();
    if (o_.warm) {
      looked_ = true;
      s_.setNoise(o_.warm->noise);
      if (!local(s_.warmStart(), false) || s_.proper(s_.last())) return;
    } else if (!local(s_.start(), false)) {
      return;
    }
    known_.push_back(s_.last().end);
    if (e_.best()) known_.back() = *e_.best();
    if (!leaveSaddles()) return;
    if (o_.effort > 0 && !explore()) return;
    if (!e_.best() || e_.feasible(*e_.best()) || c_.rows.size() < 2) return;
    blame();
  }

  /// Where no start has led to a feasible design.
  const std::optional<Conflict>& conflict() const { return conflict_; }

 private:
  double n1() const { return static_cast<double>(c_.free.size() + 1); }

  // ---- noise -----------------------------------------------------------------------------------
  /// Chooses the step of the differences. Where it is not known how exact the values are, a few
  /// evaluations tell, unless there are few altogether or the host gives derivatives.
  void lookAtNoise() {
    if (std::exchange(looked_, true)) return;
    if (o_.accuracy > 0)
      s_.setNoise(o_.accuracy);
    else if (!(o_.differenceStep > 0) && !allGiven() &&
             !(o_.maxEvaluations &&
               static_cast<double>(*o_.maxEvaluations) < tuning::smallBudget * n1()))
      s_.setNoise(NoiseProbe(s_.description(), c_, e_).at(s_.coreOf(s_.start())));
  }

  bool allGiven() {
    const std::vector<double> x = s_.coreOf(s_.start());
    std::vector<double> G(c_.free.size() * c_.rows.size());
    return e_.gradientAt(x.data(), G.data()) &&
           std::all_of(G.begin(), G.end(), [](double g) { return std::isfinite(g); });
  }

  // ---- one start -------------------------------------------------------------------------------
  /// SQP, and where its end is no sound one once more in a small box around it, which grows and
  /// follows as long as the ends lie on its sides; then by turns GRG and SQP from the best point
  /// with central differences and falling tolerances. GRG comes at once, with the same differences,
  /// where SQP does not get to a feasible point. Ends with a sound end, and with two stages in a
  /// row that gained nothing. False when a limit or a stop ended everything.
  bool local(const std::vector<double>& start, bool further) {
    // The steps of an invented box are as arbitrary as the box: central differences bear more.
    const Differences first = s_.box().invented() ? Differences::central : o_.differences;
    StageStart next{1, Method::sqp, first, s_.step(), o_.tolerance * tuning::toleranceShare, start};
    std::optional<Design> reached;
    int idle = 0, rescaled = 0;
    Stages::Plan plan;
    plan.judged = true;
    plan.further = further;
    if (!further) plan.prepare = [this] { lookAtNoise(); };
    for (int stages = 1;;) {
      plan.scaled = next.method == Method::sqp;
      plan.watch = plan.scaled ? progress() : nullptr;
      if (!s_.run(next, plan)) return false;
      plan.prepare = nullptr;
      next.differenceStep = s_.step();
      const Stage& stage = s_.last();
      if (s_.proper(stage) && (stages > 1 || s_.clean(stage))) return true;
      const bool rescale = stage.meaning == otherScale && e_.feasible(stage.end);
      if (rescale && ++rescaled < tuning::mostRescaled) {
        next.x = stage.end.x;
        continue;
      }
      const bool gained = !reached || s_.gain(stage.end, *reached);
      idle = gained ? 0 : idle + 1;
      if (idle == 2) judgeIdle();
      if (stages == tuning::mostStages || idle == 2) return true;
      if (!reached || s_.better(stage.end, *reached)) reached = stage.end;
      if (gained && s_.onNarrowSide(stage, plan.radius)) {
        plan.radius = std::min(1.0, plan.radius * tuning::radiusGrowth);
        next.x = stage.end.x;
        continue;
      }
      const bool again =
          stages == 1 && !stage.brokenOff &&
          (stage.reason == Reason::finished || stage.reason == Reason::iterationLimit);
      if (!again) {
        next.method = next.method == Method::sqp ? Method::grg : Method::sqp;
        if (!stage.brokenOff) next.differences = Differences::central;
      }
      next.tolerance /= tuning::toleranceFall;
      plan.radius = again && s_.noise() == 0 ? tuning::narrowRadius : 1;
      next.x = again ? stage.end.x : s_.bestSoFar(next.x).x;
      ++stages;
    }
  }

  static constexpr const char* otherScale = "the functions are much smaller than at the start";

  /// Breaks a stage off that is infeasible, and whose least violation is many iterations old; and
  /// one whose functions have become so small that their scales and the curvature that the method
  /// has learned say little about the place that it has reached.
  Evaluator::Watch progress() const {
    constexpr double unknown = std::numeric_limits<double>::infinity();
    return [this, age = 0, least = unknown, first = std::optional<std::pair<double, double>>()](
               const Design& at) mutable -> const char* {
      const double objective = std::abs(e_.coreObjective(at));
      if (!first) first = {objective, at.violation};
      const auto hasFallen = [](double from, double to, double large) {
        return from > large && to < tuning::scaleFall * from;
      };
      if (hasFallen(first->first, objective, tuning::largeObjective)) return otherScale;
      if (e_.feasible(at)) {
        age = 0;
        return nullptr;
      }
      if (hasFallen(first->second, at.violation, tuning::largeViolation)) return otherScale;
      age = at.violation < least ? 0 : age + 1;
      least = std::min(least, at.violation);
      return age > tuning::oldViolation ? "the violation does not fall any more" : nullptr;
    };
  }

  /// Two stages have gained nothing, and yet there is a slope: next to nothing where the objective
  /// bends as much as that. For few variables.
  void judgeIdle() {
    Stage& stage = s_.last();
    if (stage.stationary || stage.reason != Reason::finished || s_.noise() > 0 ||
        !e_.feasible(stage.end) || c_.n() > tuning::mostBent)
      return;
    try {
      const double size = std::max(1.0, std::abs(e_.coreObjective(stage.end)));
      stage.stationary = fallAt(stage.end) <= e_.tolerance() * size;
    } catch (const EndSolve&) {
      // The limits leave it open.
    }
  }

  /// At most that of the Lagrangian in all directions, whatever holds the point.
  double fallAt(const Design& end) {
    const std::vector<double> x = s_.coreOf(end.x), slopes = s_.centralSlopes(end);
    std::vector<std::size_t> free;
    std::vector<double> step, slope;
    for (std::size_t i = 0; i < x.size(); ++i) {
      if (x[i] == c_.lower[i] || x[i] == c_.upper[i]) continue;
      const double by = tuning::bendStep * c_.half(i);
      free.push_back(i);
      step.push_back(x[i] + 2 * by <= c_.upper[i] ? by : -by);
      slope.push_back(slopes[i] * step.back() / c_.half(i));
    }
    // The square of an equality bends what it holds in place, and nothing else.
    const auto augmented = [this](const std::vector<double>& point) {
      const std::vector<double> f = e_.measureAt(point);
      double sum = s_.lagrangian(e_.last());
      for (std::size_t r = 1; r <= static_cast<std::size_t>(c_.equalities); ++r) sum += f[r] * f[r];
      return sum;
    };
    return newtonFall(secondDerivatives(x, free, step, augmented), slope);
  }

  // ---- saddle points ---------------------------------------------------------------------------
  /// A stationary point need not be a minimum. Where a variable is held by nothing and has not
  /// moved from the start, its slope may be zero by symmetry alone: a step along it tells. False
  /// when a limit or a stop ended everything.
  bool leaveSaddles() {
    for (int k = 0; k < tuning::mostSaddles && s_.noise() == 0 && s_.proper(s_.last()); ++k) {
      const Design end = s_.last().end;
      StageStart next{1, Method::sqp, o_.differences, s_.step(), o_.tolerance, {}};
      try {
        next.x = downFrom(end);
      } catch (const EndSolve& early) {
        s_.addEnded(next, early);
        return false;
      }
      if (next.x.empty()) return true;
      if (!local(next.x, true)) return false;
      if (!s_.gain(s_.last().end, end)) return true;
      known_.insert(known_.begin(), s_.last().end);
    }
    return true;
  }

  /// A design at which the Lagrangian is lower; empty when none is found.
  std::vector<double> downFrom(const Design& end) {
    s_.reportOn(end);
    const double here = s_.lagrangian(end), size = std::max(1.0, std::abs(e_.coreObjective(end)));
    const std::vector<double> x = s_.coreOf(end.x), start = s_.coreOf(s_.start());
    std::vector<double> lowest;
    double least = here - tuning::saddleFall * size;
    for (std::size_t i = 0; i < x.size(); ++i) {
      if (std::abs(x[i] - start[i]) > tuning::unmoved * c_.half(i) ||
          std::abs(s_.slopes()[i]) > tuning::smallSlope * size)
        continue;
      std::vector<double> moved = x;
      const double step = tuning::saddleStep * c_.half(i);
      moved[i] += x[i] + step <= c_.upper[i] ? step : -step;
      e_.measureAt(moved);
      const Design there = e_.last();
      if (!std::isfinite(there.violation) || !(s_.lagrangian(there) < least)) continue;
      least = s_.lagrangian(there);
      lowest = s_.hostOf(moved);
    }
    return lowest;
  }

  // ---- no feasible design ----------------------------------------------------------------------
  void blame() {
    auto most = static_cast<std::int64_t>(tuning::elasticBudget * n1());
    if (o_.maxEvaluations) most = std::min(most, (*o_.maxEvaluations - e_.evaluations()) / 2);
    try {
      conflict_ = Elastic(s_, solve_, most).find(*e_.best());
    } catch (const EndSolve& end) {
      return s_.addEnded({1, Method::sqp, o_.differences, s_.step(), o_.tolerance, s_.start()},
                         end);
    }
    if (!conflict_ || !conflict_->constraints.empty()) return;
    const std::vector<double> feasible = conflict_->point.x;
    conflict_.reset();
    local(feasible, true);
  }

  // ---- further starts --------------------------------------------------------------------------
  /// Largest difference of two designs, in half ranges.
  double distance(const Design& a, const Design& b) const {
    double most = 0;
    for (std::size_t i = 0; i < c_.free.size(); ++i)
      most = std::max(most, std::abs(a.x[c_.free[i]] - b.x[c_.free[i]]) / c_.half(i));
    return most;
  }

  /// What the further starts may take, in evaluations since the beginning.
  struct Effort {
    double atOnce = 0;      // without another end
    double altogether = 0;  // once there is one
    int returns = 1;        // to known ends, that are enough
    int lastReturns = 1;    // the same once there is another end
  };

  /// A few points tell whether the best end need be the best of all; a solve that was hard by
  /// itself is worth as much again. False when a stop or a limit ended everything.
  bool explore() {
    const auto spent = static_cast<double>(e_.evaluations());
    double rest = std::numeric_limits<double>::infinity();
    if (o_.maxEvaluations) rest = (static_cast<double>(*o_.maxEvaluations) - spent) / 2;
    Effort effort;
    std::vector<Design> starts;
    try {
      const double few = tuning::fewestScreened + tuning::screenedShare * n1();
      const double cheap = std::min(leftOfCheap(spent), tuning::cheapEvaluations);
      starts = screened(std::min(std::max(few, tuning::cheapScreened * cheap), rest));
      effort = effortAfter(spent, rest, starts);
    } catch (const EndSolve& end) {
      s_.addEnded(quickFrom(s_.start()), end);
      return false;
    }
    end_ = std::floor(effort.atOnce);
    for (const Design& start : starts) {
      if (end_ - static_cast<double>(e_.evaluations()) < 2 * n1()) return true;
      const std::optional<End> end = runFrom(start);
      if (!end) return false;
      if (*end == End::known && --effort.returns <= 0) return true;
      if (*end == End::better || *end == End::other) {
        end_ = std::floor(effort.altogether);
        effort.returns = std::min(effort.returns, effort.lastReturns);
      }
    }
    return true;
  }

  /// What a cheap solve may take in addition; below 0 for others.
  double leftOfCheap(double spent) const {
    return o_.effort * tuning::cheapShare * (tuning::cheapEvaluations - spent);
  }

  /// Whether the points raise doubt decides for a cheap solve and for one of average cost; a hard
  /// one is worth as much again as it took beyond the cheap ones.
  Effort effortAfter(double spent, double rest, const std::vector<Design>& samples) {
    const bool doubt = mayBeBeaten(samples);
    const double cheap = leftOfCheap(spent) - n1();
    const double hard =
        o_.effort * tuning::hardShare * std::max(0.0, spent - tuning::cheapEvaluations);
    const double share = o_.effort * n1();
    double few = doubt ? tuning::doubtEffort * share : 0;
    Effort effort;
    if (hard > 0) {
      basin_ = tuning::hardBasin;
      effort.returns = effort.lastReturns = tuning::mostReturns;
    } else if (cheap > n1()) {
      few = doubt ? cheap : std::min(cheap, tuning::sureEffort * share);
      effort.returns = tuning::mostReturns;
    }
    effort.atOnce = spent + std::min(rest, std::max(few, hard));
    effort.altogether = spent + std::min(rest, std::max(tuning::wideEffort * share, hard));
    return effort;
  }

  /// Where the Lagrangian is nowhere below that of a minimum no feasible design is better. Without
  /// constraints it says nothing.
  bool mayBeBeaten(const std::vector<Design>& samples) {
    const Design best = known_.front();
    if (!e_.feasible(best) || c_.rows.size() == 1) return true;
    s_.reportOn(best);
    const double size = std::max(1.0, std::abs(e_.coreObjective(best)));
    const double least = s_.lagrangian(best) - tuning::dualityGap * size;
    return std::any_of(samples.begin(), samples.end(),
                       [&](const Design& d) { return s_.lagrangian(d) < least; });
  }

  StageStart quickFrom(const std::vector<double>& x) const {
    return {1, Method::sqp, o_.differences, s_.step(), o_.tolerance * tuning::toleranceShare, x};
  }

  enum class End { better, other, known, none };

  /// Empty when a stop or a limit ended everything.
  std::optional<End> runFrom(const Design& start) {
    const auto watch = [this](const Design& at) { return whyEnd(at); };
    if (!s_.run(quickFrom(start.x), {true, true, true, 1, watch, {}})) return std::nullopt;
    const Design reached = s_.last().end;
    if (s_.gain(reached, known_.front())) {
      if (!s_.proper(s_.last()) && !local(reached.x, true)) return std::nullopt;
      known_.insert(known_.begin(), e_.best() ? *e_.best() : reached);
      return End::better;
    }
    if (isKnown(reached)) return End::known;
    if (s_.last().brokenOff) return End::none;
    known_.push_back(reached);
    return End::other;
  }

  bool isKnown(const Design& at) const {
    return std::any_of(known_.begin(), known_.end(), [&](const Design& k) {
      return distance(at, k) < basin_ && !s_.gain(at, k);
    });
  }

  /// Why a solve from a further start goes no further; null: it does.
  const char* whyEnd(const Design& at) const {
    if (isKnown(at)) return "ran into a known end";
    if (static_cast<double>(e_.evaluations()) >= end_ && !s_.gain(at, known_.front()))
      return "the effort for further starts was used up";
    return nullptr;
  }

  /// The best ones of some points spread over the box come first.
  std::vector<Design> screened(double most) {
    if (most < 1) return {};
    const auto count = static_cast<std::size_t>(most);
    e_.measureAt(furtherStarts(c_, s_.coreOf(s_.start()), count));
    std::vector<Design> designs;
    for (std::size_t k = 0; k < count; ++k)
      if (Design d = e_.measuredAt(k); std::isfinite(d.violation)) designs.push_back(std::move(d));
    std::vector<double> objective, violation;
    for (const Design& d : designs) {
      objective.push_back(e_.coreObjective(d));
      violation.push_back(d.violation);
    }
    std::vector<int> merit(designs.size());  // sum of both ranks
    for (std::size_t i = 0; i < designs.size(); ++i)
      for (std::size_t j = 0; j < designs.size(); ++j)
        merit[i] += (objective[j] < objective[i]) + (violation[j] < violation[i]);
    std::vector<std::size_t> order(designs.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return merit[a] < merit[b]; });
    std::vector<Design> sorted;
    sorted.reserve(order.size());
    for (const std::size_t i : order) sorted.push_back(designs[i]);
    return sorted;
  }

  Stages& s_;
  const Options& o_;
  const CoreProblem& c_;
  Evaluator& e_;
  const Elastic::Solve solve_;
  std::optional<Conflict> conflict_;
  bool looked_ = false;               // at the noise
  std::vector<Design> known_;         // ends of local solves, the best one first
  double basin_ = tuning::sameBasin;  // half ranges within which an end is a known one
  double end_ = 0;  // of the evaluations for further starts; no effort is too large
};

}  // namespace tarnix::detail
