#include "grg/line_search.h"

#include <algorithm>
#include <cmath>

#include "state/settings.h"
#include "base/ordered_dot.h"
#include "base/parabola.h"
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

bool trackBinding(ConstIndex active, int n, const Gradients& gradients, const double* d,
                  IndexList& binding, int32_t* tracked) {
  constexpr double oneDegree = -0.017452406;  // minus its sine: what points inside by more leaves
  constexpr double outside = 0.01;
  bool reset = false;
  for (const int32_t c : active) {
    if (!gradients.has(c)) continue;
    const double* a = gradients.of(c);
    const double along = orderedDot({a, n}, {d, n});
    const double length = std::sqrt(orderedDot({a, n}, {a, n}));
    const double cosine = length >= settings->zeroTol ? along / length : along;
    if (!(cosine >= oneDegree)) continue;
    binding.append(c);
    tracked[c - 1] = 1;
    if (!(cosine >= outside)) continue;
    reset = true;
    if (!tracing(2)) continue;
    trace::message("SEARCH DIRECTION OUTSIDE TANGENT");
    trace::message(
        Line(" BINDING DF# ").integer(c, 4).text("  DOTP=").real(cosine, 14, 5));
  }
  return reset;
}

bool SearchStorage::claim(int n, int m, int satisfied, int active) {
  // The basis has room for one constraint more than can be binding now, and for as many as the
  // saturation of one trial can take up; the row list may exceed n where many constraints meet.
  const int64_t k = cellCount(satisfied) + cellCount(active) + 1;
  const int64_t room = k + Saturation::maxPasses - 1;
  const int64_t variables = cellCount(n), functions = cellCount(m);
  const int64_t vectors = 2 * variables + 2 * functions + 1;
  // First what the method is known to need, then with the room.
  for (const int64_t order : {k, room})
    if (!trace::claim(doubles_, vectors + 2 * order * order)) return false;
  if (!trace::claim(lists_, 3 * variables + functions + cellCount(active) + 6)) return false;
  if (!trace::claim(rowList_, room)) return false;
  for (double** stretch : {&work.bestX, &work.previousX}) *stretch = doubles_.carve(variables);
  for (double** stretch : {&work.bestF, &work.previousF}) *stretch = doubles_.carve(functions);
  tracked = lists_.carve(functions);
  binding = lists_.carve(cellCount(active) + Saturation::maxPasses);
  independent = lists_.carve(variables);
  dependent = lists_.carve(variables);
  ld = static_cast<int32_t>(room);
  jacobian = doubles_.carve(room * room);
  inverse = doubles_.carve(room * room);
  rows = rowList_.carve(room);
  return true;
}

SearchEnd LineSearch::run() {
  reset_ = trackBinding(active, p.n, p.gradients, d, p.binding, p.tracked);
  if (!claimWork() || !prepareBasis()) return SearchEnd::storage;
  start();
  for (trial_ = 1; trial_ <= maxTrials; ++trial_) {
    if (tracing(1)) {
      trace::message("");
      trace::message(Line("STEP LENGTH ").real(step_, 12, 4));
    }
    if (tooShort()) {
      if (tracing(2)) trace::message("TERMINATE: MINIMUM STEPLENGTH");
      return leaveAtBest(SearchEnd::minimumStep);
    }
    if (trial_ == 1) {
      if (takeCorrection()) break;
      restoreEntry();
    }
    tryPoint();
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

bool LineSearch::claimWork() {
  if (!trace::claim(frame_, 3 * cellCount(p.n) + 1)) {
    return false;
  }
  for (double*& stretch : scratch_) stretch = frame_.carve(p.n);
  return true;
}

// The point at step 0 and the tangent have room of their own.
bool LineSearch::prepareBasis() {
  if (!chooseBasis(p.satisfied, p.binding.view(), p.x, p.box, p.gradients, d, p.basis,
                   {scratch_[0], scratch_[1], scratch_[2]}))
    return false;
  // A row that was dropped is not held: the saturation looks at it again.
  for (int k = p.binding.count(); k >= 1; --k) {
    if (p.basis.rows.contains(p.binding(k))) continue;
    p.tracked[p.binding(k) - 1] = 0;
    p.binding.removeAt(k);
  }
  if (!trace::claim(baseFrame_, 2 * cellCount(p.n) + cellCount(p.m))) {
    return false;
  }
  tangent_ = baseFrame_.carve(p.n);
  base_.x = baseFrame_.carve(p.n);
  base_.f = baseFrame_.carve(p.m);
  improveBasis();
  formTangent();
  freeBlockedBasis();
  if (tracing(2)) {
    trace::list("MTRAK", p.binding.view());
    trace::list("LTRAK", {p.tracked, p.m});
    trace::list("MIDV", p.basis.independent.view());
    trace::list("MDDV", p.basis.dependent());
    trace::matrix("XJINV", p.basis.inverseBlock(p.basis.nDep));
    trace::matrix("XJAC", p.basis.jacobianBlock(p.basis.nDep));
  }
  return true;
}

// The first variable that works for a row may leave the basis almost singular, and its restoration
// helpless. Exchanges by the largest pivot, weighted by the room that the variables have, mend that.
void LineSearch::improveBasis() {
  constexpr double worthwhile = 5.0;
  constexpr double leastRoom = 0.01;
  Basis& basis = p.basis;
  const int k = basis.nDep;
  const auto room = [&](int v) {
    const double up = p.box.upperOf(v) - p.x[v - 1], down = p.x[v - 1] - p.box.lowerOf(v);
    return std::min(up, down) / (up + down);
  };
  for (int exchanges = 0; exchanges < 2 * k; ++exchanges) {
    double highest = worthwhile;
    int position = 0, entering = 0;
    for (const int32_t v : basis.independent.view())
      for (int i = 1; i <= k; ++i) {
        const double gain = std::fabs(pivotOf(basis, i, v, p.gradients)) * room(v) /
                            (room(basis.dependent()(i)) + leastRoom);
        if (!(gain > highest)) continue;
        highest = gain;
        position = i;
        entering = v;
      }
    if (position == 0) break;
    exchangeDependent(basis, position, entering, p.gradients, scratch_[0], scratch_[1]);
  }
}

// A dependent variable that the tangent drives out of the box at once would stop the search before
// its first trial: it changes places with an independent one.
void LineSearch::freeBlockedBasis() {
  for (int exchanges = 0; exchanges < p.basis.nDep; ++exchanges) {
    const Blocking first = firstBound(p.basis.dependent(), p.x, p.box, p.dir);
    if (first.variable == 0 || !(first.step < settings->grgSearchParam2)) return;
    const int position = p.basis.positionOf(first.variable);
    const int entering = exchangePartner(p.basis, position, p.x, p.box, p.gradients);
    if (entering == 0) return;
    exchangeDependent(p.basis, position, entering, p.gradients, scratch_[0], scratch_[1]);
    formTangent();
  }
}

// Dependent variables move so that the rows they hold stay: B t = -N d.
void LineSearch::formTangent() {
  const Basis& basis = p.basis;
  const int k = basis.nDep;
  std::copy_n(d, p.n, tangent_);
  double* change = scratch_[0];
  for (int i = 1; i <= k; ++i) {
    double sum = 0.0;
    for (const int32_t v : basis.independent.view()) sum += p.gradients(v, basis.rows(i)) * d[v - 1];
    change[i - 1] = sum;
  }
  const MatrixView B = basis.inverseBlock(k);
  for (int i = 1; i <= k; ++i) {
    double sum = 0.0;
    for (int j = 1; j <= k; ++j) sum -= B(i, j) * change[j - 1];
    tangent_[basis.dependent()(i) - 1] = sum;
  }
  p.dir = tangent_;
}

// Largest violation of what was satisfied at entry; bigValue where a value is not a number.
double LineSearch::violation() const {
  double worst = std::isfinite(objective()) ? 0.0 : settings->bigValue;
  const auto consider = [&](double value) {
    if (!(value <= worst)) worst = std::isnan(value) ? settings->bigValue : value;
  };
  for (const int32_t c : p.kept) consider(p.f[c - 1]);
  for (const int32_t c : p.satisfied) consider(std::fabs(p.f[c - 1]));
  return worst;
}

void LineSearch::evaluateHere() { evaluate({p.x, p.n}, {p.f, p.m}, p.objective); }

void LineSearch::returnToEntry() {
  std::copy_n(base_.x, p.n, p.x);
  std::copy_n(base_.f, p.m, p.f);
}

// A point that lives on the tolerance of its constraints looks better than it is: where the
// direction leads uphill, it is there to mend that. Its whole length is taken when it does.
bool LineSearch::takeCorrection() {
  if (!(slope_ > 0.0)) return false;
  const double before = violation();
  for (int v = 1; v <= p.n; ++v) p.x[v - 1] = p.box.clip(v, p.x[v - 1] + carried * d[v - 1]);
  evaluateHere();
  const double after = violation();
  if (after < 0.5 * before && after <= settings->convTol) {
    start();
    return true;
  }
  returnToEntry();
  return false;
}

// For the same reason every restored trial would lose to such a point: one Newton correction puts it
// back on the rows that are held before the search starts.
void LineSearch::restoreEntry() {
  constexpr double negligible = 0.1;  // of convTol
  const Basis& basis = p.basis;
  const auto residual = [&] {
    double worst = 0.0;
    for (const int32_t c : basis.rows.view()) worst = std::max(worst, std::fabs(p.f[c - 1]));
    return worst;
  };
  const double before = residual();
  if (!(before > negligible * settings->convTol)) return;
  correctDependents(basis, p.f, p.box, p.x);
  evaluateHere();
  if (residual() < before && violation() <= settings->convTol)
    start();
  else
    returnToEntry();
}

void LineSearch::start() {
  std::copy_n(p.x, p.n, base_.x);
  std::copy_n(p.f, p.m, base_.f);
  std::copy_n(p.x, p.n, work.bestX);
  std::copy_n(p.f, p.m, work.bestF);
  base_.step = 0.0;
  previous_ = {0.0, work.previousX, work.previousF};
  std::copy_n(p.x, p.n, previous_.x);
  std::copy_n(p.f, p.m, previous_.f);
  bestStep_ = 0.0;
  bestObjective_ = objective();
  pairs_[0] = {0.0, bestObjective_};
  pairCount_ = 1;
  slope_ = orderedDot({gObj, p.n}, {d, p.n});
  step_ = std::min(settings->grgSearchParam1, carried);
}

// ---- one trial ---------------------------------------------------------------------------------

void LineSearch::tryPoint() {
  const StepPoint from{base_.x, 0.0};
  moveIndependent(p.basis.independent.view(), p.box, step_, p.dir, p.x, from);
  blocking_ =
      predictFrom(from, p.basis.dependent(), p.box, step_, p.dir, p.x, scratch_[2]);
  evaluateHere();
  if (tracing(2)) {
    trace::vector("DV AFTER STEP", {p.x, p.n});
    trace::vector("DF AFTER STEP", {p.f, p.m});
  }
}

// The latest accepted trial below the step, else the point at step 0.
Sample LineSearch::reference() {
  if (previous_.step < step_) return previous_;
  if (bestStep_ < step_) return {bestStep_, work.bestX, work.bestF};
  return base_;
}

bool LineSearch::saturate() {
  const Sample from = reference();
  Saturation saturation(p, {from.step, from.f}, {from.x, from.step}, {base_.x, 0.0}, scratch_[0],
                        scratch_[1], step_, blocking_);
  saturation.run();
  step_ = saturation.step;
  if (saturation.restorationIterations >= 0)
    restorationIterations = saturation.restorationIterations;
  lastTrial_ = saturation.second;
  return !saturation.terminate && !settings->errorFlag;
}

void LineSearch::recordTrial() {
  // A step cut back to 0 is the base point again, not a new pair.
  if (step_ > 0.0 && std::isfinite(objective())) insertPair({step_, objective()});
  improved_ = objective() < bestObjective_;
  risen_ = risen_ || !improved_;
  if (!improved_) return;
  bestObjective_ = objective();
  bestStep_ = step_;
  std::copy_n(p.x, p.n, work.bestX);
  std::copy_n(p.f, p.m, work.bestF);
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
  chooseThree(risen_ || !(objective() < bestObjective_), pairs_, kept);
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
  if (fits_ == 0 && std::fabs(bestObjective_ - base_.f[p.objective.index - 1]) <= settings->convTolGrg / 5.0 &&
      (step_ > longStep || trial_ > manyTrials)) {
    if (tracing(2)) trace::message("TERMINATE OBJ NOT CHANGING");
    return true;
  }
  switch (p.objective.mode) {
    case violatedInequality: return objective() <= settings->convTol;
    case positiveEquality:
    case negatedEquality: return std::fabs(objective()) <= settings->convTol;
    default: return false;
  }
}

// ---- the next step -------------------------------------------------------------------------------

LineSearch::Next LineSearch::nextStep() {
  if (improved_ && !risen_) return growStep();
  if (improved_) {
    if (++fits_ > maxFits) return Next::stop;
    if (tracing(1)) trace::message("FITTING PARABOLA");
    return fitParabola();
  }
  if (fits_ == 0 && step_ <= bestStep_) return Next::stop;
  if (pairCount_ < 3 && std::isfinite(objective())) return fitParabola();
  ++fits_;
  if ((fits_ >= 2 && step_ >= fittedLimit) || fits_ >= maxFits) {
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
  return std::min(2.0 * s, s + (restorationIterations > quickRestoration ? 0.15 : 0.25));
}

// Where the inequalities that are not held reach zero, linearly through the last two points; an
// equality target likewise. Only what lies ahead counts.
double LineSearch::capAtCrossings(double limit) const {
  const double width = step_ - previous_.step;
  const auto cap = [&](int c) {
    const double rate = (p.f[c - 1] - previous_.f[c - 1]) / width;
    const double at = step_ - p.f[c - 1] / rate;
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
  if (!std::isfinite(objective())) return bisect();
  keepTrial();
  if (pairCount_ < 3) {
    // The first trial was worse already: the parabola through both points and the slope at entry.
    const double vertex = parabolaStep(0.0, pairs_[1].s, pairs_[0].f, pairs_[1].f, slope_,
                                       settings->zeroTol);
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
  std::copy_n(p.x, p.n, previous_.x);
  std::copy_n(p.f, p.m, previous_.f);
}

SearchEnd LineSearch::leaveAtBest(SearchEnd end) {
  std::copy_n(work.bestX, p.n, p.x);
  std::copy_n(work.bestF, p.m, p.f);
  if (tracing(2) && end != SearchEnd::storage) {
    trace::vector("BSTDV", {p.x, p.n});
    trace::vector("BSTDF", {p.f, p.m});
  }
  return end;
}

}  // namespace tarnix::core
