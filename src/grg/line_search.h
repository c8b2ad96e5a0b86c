#pragma once
// The search along a direction: a sequence of trial steps that grows, is capped at extrapolated
// crossings and bounds, and ends with parabola fits around the best point.

#include <array>

#include "grg/interpolation.h"
#include "grg/saturation.h"
#include "grg/search_basis.h"

namespace tarnix::core {

enum class SearchEnd { bestPoint, minimumStep, flatParabola, storage };

struct SearchWork {
  VectorView bestX, previousX;  // (n)
  VectorView bestF, previousF;  // (m)
};

class LineSearch {
 public:
  // Evaluations that one search can take: two for the entry; each trial is evaluated, and its
  // saturation moves the point at most three times in a pass, tries one better basis and halves the
  // step at most maxHalvings times, each with one restoration, and corrects it at most once in a
  // pass.
  static constexpr int maxTrials = 51;
  static constexpr int maxEvaluations =
      2 + maxTrials * (1 + Saturation::maxPasses +
                       (3 * Saturation::maxPasses + 1 + Saturation::maxHalvings) *
                           (1 + Saturation::restorationLimit));

  // direction has unit length; active are the inequalities that the binding test looks at.
  LineSearch(SearchProblem& problem, ConstIndex activeInequalities, ConstVector direction,
             ConstVector gradient, double carriedStep, const SearchWork& arrays)
      : p(problem),
        active(activeInequalities),
        d(direction),
        gObj(gradient),
        carried(carriedStep),
        work(arrays) {}

  SearchEnd run();
  bool resetCurvature() const { return reset_; }

 private:
  enum class Next { goOn, stop, flat };

  bool prepare();
  void start();
  bool refineEntry();
  bool tooShort() const { return step_ < settings->grgSearchParam2; }
  bool tryPoint();
  bool saturate();
  Sample reference() const;
  void recordTrial();
  void insertPair(StepValue pair);
  bool finished() const;
  Next nextStep();
  Next growStep();
  Next fitParabola();
  Next bisect();
  double growthLimit() const;
  double capAtCrossings(double limit) const;
  double capAtBound(double limit) const;
  void keepTrial();
  SearchEnd leaveAtBest(SearchEnd end);

  // Given.
  SearchProblem& p;
  const ConstIndex active;
  const ConstVector d;
  const ConstVector gObj;
  const double carried;
  const SearchWork work;
  const bool refined = session().refined;
  // Work.
  WorkFrame frame_;
  PrivateFrame<double> baseFrame_{session().privateDoubles};
  BasisScratch scratch_{};  // (n) each: for the basis, then for prediction and restoration
  VectorView tangent_;      // (n) direction, the tangent for dependent variables
  Sample base_{};           // the point at step 0
  Sample previous_{};       // the latest accepted trial
  // Decided.
  bool reset_ = false;
  double step_ = 0.0;
  int trial_ = 0;
  Blocking blocking_;
  bool lastTrial_ = false;  // the saturation ends the search after this trial
  double slope_ = 0.0;      // of the objective along the direction, at entry
  double bestStep_ = 0.0;
  double bestObjective_ = 0.0;
  bool improved_ = false;  // this trial was the best
  bool risen_ = false;     // some trial was not: parabolas from there on
  std::array<StepValue, 4> pairs_{};
  int pairCount_ = 0;
  int fits_ = 0;
};

}  // namespace tarnix::core
