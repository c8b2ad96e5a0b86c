#include "grg/line_search.h"

#include <tarnix/storage.hpp>

#include <algorithm>
#include <cmath>

#include "base/ordered_dot.h"
#include "base/parabola.h"
#include "grg/refinements.h"
#include "trace/claim.h"

namespace tarnix::core {

namespace {

constexpr double fittedLimit = 0.5;  // a step that a fitted parabola must stay below
constexpr int maxFits = 3;

// An extrapolated crossing or bound is passed by a little, so that the trial meets it.
double enlarged(double step, double share, double most) {
  return step + std::min(share * step, most);
}

}  // namespace

SearchEnd LineSearch::run() {
  reset_ = trackBinding(active, p.gradients, d, p.binding, p.tracked);
  if (!prepare()) return SearchEnd::storage;
  start();
  if (refined && !tooShort() && refineEntry()) return leaveAtBest(SearchEnd::bestPoint);
  for (trial_ = 1; trial_ <= maxTrials; ++trial_) {
    if (tracing(1)) {
      trace::message("");
      trace::message(Line("STEP LENGTH ").real(step_, 12, 4));
    }
    if (tooShort()) {
      if (tracing(2)) trace::message("TERMINATE: MINIMUM STEPLENGTH");
      return leaveAtBest(SearchEnd::minimumStep);
    }
    if (!tryPoint()) break;
    if (!saturate()) {
      if (tracing(2) && !settings->errorFlag) trace::message("TERMINATE: GRGSAT");
      break;
    }
    recordTrial();
    if (lastTrial_ || finished()) break;
    const Next next = nextStep();
    if (next == Next::flat) return leaveAtBest(SearchEnd::flatParabola);
    if (next == Next::stop) break;
  }
  return leaveAtBest(settings->errorFlag ? SearchEnd::storage : SearchEnd::bestPoint);
}

// ---- preparation -------------------------------------------------------------------------------

// The point at step 0 and the tangent have room of their own.
bool LineSearch::prepare() {
  const int n = p.n(), m = p.f.size();
  if (!trace::claim(frame_, storage::grgBasis(n))) return false;
  for (VectorView* v : {&scratch_.u, &scratch_.z, &scratch_.score}) *v = frame_.vector(n);
  if (!chooseSearchBasis(p, d, scratch_)) return false;
  if (!baseFrame_.reserve(2 * int64_t{n} + m)) return false;
  tangent_ = baseFrame_.vector(n);
  base_.x = baseFrame_.vector(n);
  base_.f = baseFrame_.vector(m);
  if (refined) improveBasis(p.basis, p.x, p.box, p.gradients, scratch_.u, scratch_.z);
  formTangent(p, d, tangent_, scratch_.u);
  p.dir = tangent_;
  if (tracing(2)) traceBasis(p);
  return true;
}

void LineSearch::start() {
  for (const VectorView& x : {base_.x, work.bestX, work.previousX})
    std::ranges::copy(p.x, x.begin());
  for (const VectorView& f : {base_.f, work.bestF, work.previousF})
    std::ranges::copy(p.f, f.begin());
  base_.step = 0.0;
  previous_ = {0.0, work.previousX, work.previousF};
  bestStep_ = 0.0;
  bestObjective_ = p.minimized();
  pairs_[0] = {0.0, bestObjective_};
  pairCount_ = 1;
  slope_ = orderedDot(gObj, d);
  step_ = std::min(settings->grgSearchParam1, carried);
}

// True when the whole step has been taken: the search is over.
bool LineSearch::refineEntry() {
  if (slope_ > 0.0 && takeWholeStep(p, d, carried, base_.x, base_.f)) {
    start();
    return true;
  }
  if (restoreEntry(p, base_.x, base_.f)) start();
  return false;
}

// ---- one trial ---------------------------------------------------------------------------------

// False where the trial point is not finite: nothing is evaluated there.
bool LineSearch::tryPoint() {
  const StepPoint from = base_.point();
  moveIndependent(p.basis.independent.view(), p.box, step_, p.dir, p.x, from);
  blocking_ = predictFrom(from, p.basis.dependent(), p.box, step_, p.dir, p.x, scratch_.score);
  if (!p.evaluateHere()) return false;
  if (tracing(2)) {
    trace::vector("DV AFTER STEP", p.x);
    trace::vector("DF AFTER STEP", p.f);
  }
  return true;
}

// The latest accepted trial below the step, else the point at step 0.
Sample LineSearch::reference() const {
  if (previous_.step < step_) return previous_;
  if (bestStep_ < step_) return {bestStep_, work.bestX, work.bestF};
  return base_;
}

bool LineSearch::saturate() {
  const Sample from = reference();
  const TrialStep trial{.referenceValues = from.f,
                        .referenceStep = from.step,
                        .reference = from.point(),
                        .base = base_.point(),
                        .dx = scratch_.u,
                        .r = scratch_.z,
                        .step = step_,
                        .blocking = blocking_};
  Saturation saturation(p, trial);
  saturation.run();
  step_ = saturation.step;
  lastTrial_ = saturation.second;
  return !saturation.terminate && !settings->errorFlag;
}

void LineSearch::recordTrial() {
  // A step cut back to 0 is the base point again, not a new pair.
  if (step_ > 0.0 && std::isfinite(p.minimized())) insertPair({step_, p.minimized()});
  improved_ = p.minimized() < bestObjective_;
  risen_ = risen_ || !improved_;
  if (!improved_) return;
  bestObjective_ = p.minimized();
  bestStep_ = step_;
  std::ranges::copy(p.x, work.bestX.begin());
  std::ranges::copy(p.f, work.bestF.begin());
}

// Pairs stay in increasing order of step; a repeated step replaces its pair.
void LineSearch::insertPair(StepValue pair) {
  int at = 0;
  while (at < pairCount_ && pairs_[at].s < pair.s) ++at;
  if (at < pairCount_ && pairs_[at].s == pair.s) {
    pairs_[at] = pair;
    return;
  }
  std::copy_backward(pairs_.begin() + at, pairs_.begin() + pairCount_,
                     pairs_.begin() + pairCount_ + 1);
  pairs_[at] = pair;
  if (++pairCount_ < 4) return;
  std::array<StepValue, 3> kept;
  chooseThree(risen_ || !(p.minimized() < bestObjective_), pairs_, kept);
  std::copy(kept.begin(), kept.end(), pairs_.begin());
  pairCount_ = 3;
}

bool LineSearch::finished() const {
  constexpr double longStep = 2.0;
  constexpr int manyTrials = 5;
  if (fits_ > 0 && step_ >= fittedLimit) {
    if (tracing(2)) trace::message("TERMINATE PARAB=1 STPLEN>.5");
    return true;
  }
  if (fits_ == 0 &&
      std::fabs(bestObjective_ - base_.f(p.objective.index)) <= settings->convTolGrg / 5.0 &&
      (step_ > longStep || trial_ > manyTrials)) {
    if (tracing(2)) trace::message("TERMINATE OBJ NOT CHANGING");
    return true;
  }
  switch (p.objective.mode) {
    case violatedInequality: return p.minimized() <= settings->convTol;
    case positiveEquality:
    case negatedEquality: return std::fabs(p.minimized()) <= settings->convTol;
    default: return false;
  }
}

// ---- the next step ----------------------------------------------------------------------------

LineSearch::Next LineSearch::nextStep() {
  if (improved_ && !risen_) return growStep();
  if (improved_) {
    if (++fits_ > maxFits) return Next::stop;
    if (tracing(1)) trace::message("FITTING PARABOLA");
    return fitParabola();
  }
  if (fits_ == 0 && step_ <= bestStep_) return Next::stop;
  if (pairCount_ < 3 && std::isfinite(p.minimized())) return fitParabola();
  if (++fits_ >= maxFits) {  // a later fit with a step from fittedLimit on has ended in finished()
    if (tracing(2)) trace::message("TERMINATE= PARAB WORSE");
    return Next::stop;
  }
  if (tracing(1)) trace::message("FITTING PARABOLA WORSE");
  return fitParabola();
}

LineSearch::Next LineSearch::growStep() {
  const double next = capAtBound(capAtCrossings(growthLimit()));
  if (!(next > step_)) return Next::stop;
  keepTrial();
  step_ = next;
  return Next::goOn;
}

double LineSearch::growthLimit() const {
  constexpr int quickRestoration = 2;
  const double s = step_;
  if (p.binding.count() == 0 && p.satisfied.size() == 0) return std::min(3.0 * s, s + 0.4);
  return std::min(2.0 * s, s + (session().restorationIterations > quickRestoration ? 0.15 : 0.25));
}

// Where the inequalities that are not held reach zero, linearly through the last two points; an
// equality target likewise. Only what lies ahead counts.
double LineSearch::capAtCrossings(double limit) const {
  const double width = step_ - previous_.step;
  const auto cap = [&](int c) {
    const double rate = (p.f(c) - previous_.f(c)) / width;
    const double at = step_ - p.f(c) / rate;
    if (at > step_) limit = std::min(limit, enlarged(at, 0.1, 0.05));
  };
  for (const int32_t c : p.kept)
    if (!p.isTracked(c)) cap(c);
  if (p.objective.isEquality()) cap(p.objective.index);
  return limit;
}

double LineSearch::capAtBound(double limit) const {
  const Blocking first = firstBound(p.basis.dependent(), base_.x, p.box, p.dir);
  return first.variable == 0 ? limit : std::min(limit, enlarged(first.step, 0.02, 0.01));
}

// Half way back to the best point, where no parabola can be fitted.
LineSearch::Next LineSearch::bisect() {
  step_ = 0.5 * (bestStep_ + step_);
  return Next::goOn;
}

LineSearch::Next LineSearch::fitParabola() {
  if (!std::isfinite(p.minimized())) return bisect();
  keepTrial();
  if (pairCount_ < 3) {
    // The first trial was worse already: the parabola through both points and the slope at entry.
    const double vertex =
        parabolaStep(0.0, pairs_[1].s, pairs_[0].f, pairs_[1].f, slope_, settings->zeroTol);
    step_ = std::clamp(vertex, 0.1 * pairs_[1].s, 0.5 * pairs_[1].s);
    return Next::goOn;
  }
  constexpr double margin = 0.05;
  double vertex = 0.0;
  if (!parabolaVertex({pairs_[0], pairs_[1], pairs_[2]}, vertex)) return Next::flat;
  const double room = margin * (pairs_[2].s - pairs_[0].s);
  step_ = std::clamp(vertex, pairs_[0].s + room, pairs_[2].s - room);
  return Next::goOn;
}

// The latest accepted trial.
void LineSearch::keepTrial() {
  previous_.step = step_;
  std::ranges::copy(p.x, previous_.x.begin());
  std::ranges::copy(p.f, previous_.f.begin());
}

SearchEnd LineSearch::leaveAtBest(SearchEnd end) {
  std::ranges::copy(work.bestX, p.x.begin());
  std::ranges::copy(work.bestF, p.f.begin());
  if (tracing(2) && end != SearchEnd::storage) {
    trace::vector("BSTDV", p.x);
    trace::vector("BSTDF", p.f);
  }
  return end;
}

}  // namespace tarnix::core
