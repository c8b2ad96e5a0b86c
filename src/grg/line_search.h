#pragma once
// The search along a direction: which constraints it keeps binding, the basis for them, and a
// sequence of trial steps that grows, is capped at extrapolated crossings and bounds, and ends with
// parabola fits around the best point.

#include <array>

#include "grg/interpolation.h"
#include "grg/saturation.h"

namespace tarnix::core {

enum class SearchEnd { bestPoint, minimumStep, flatParabola, storage };

// Active inequalities that the direction does not leave are appended to binding and flagged. True
// when one of them lies so far beyond its tangent plane that the curvature must be reset.
bool trackBinding(ConstIndex active, int n, const Gradients& gradients, const double* d,
                  IndexList& binding, int32_t* tracked);

struct SearchWork {
  double* bestX;     // (n)
  double* bestF;     // (m)
  double* previousX; // (n)
  double* previousF; // (m)
};

// The arrays of one search, claimed from the work storage. False, with the message printed and
// errorFlag set, when it is too small.
struct SearchStorage {
  [[nodiscard]] bool claim(int n, int m, int satisfied, int active);

  SearchWork work{};
  int32_t* tracked = nullptr;
  int32_t* binding = nullptr;
  int32_t* independent = nullptr;
  int32_t* dependent = nullptr;
  int32_t* rows = nullptr;
  int32_t ld = 0;             // of the two matrices
  double* jacobian = nullptr;
  double* inverse = nullptr;

 private:
  WorkFrame doubles_;
  IndexFrame lists_, rowList_;
};

// A point at which the search has been, with the function values there.
struct Sample {
  double step;
  double* x;   // (n)
  double* f;   // (m)
};

class LineSearch {
 public:
  // Evaluations that one search can take: two for the entry; each trial is evaluated, and its
  // saturation moves the point at most three times in a pass and halves the step at most maxHalvings
  // times, each with one restoration, and corrects it at most once in a pass.
  static constexpr int maxTrials = 51;
  static constexpr int maxEvaluations =
      2 + maxTrials * (1 + Saturation::maxPasses +
                       (3 * Saturation::maxPasses + Saturation::maxHalvings) *
                           (1 + Saturation::restorationLimit));

  // direction has unit length; active are the inequalities that the binding test looks at.
  LineSearch(SearchProblem& problem, ConstIndex activeInequalities, const double* direction,
             const double* gradient, double carriedStep, const SearchWork& arrays,
             int& lastRestorationIterations)
      : p(problem),
        active(activeInequalities),
        d(direction),
        gObj(gradient),
        carried(carriedStep),
        work(arrays),
        restorationIterations(lastRestorationIterations) {}

  SearchEnd run();
  bool resetCurvature() const { return reset_; }

 private:
  enum class Next { goOn, stop, flat };

  bool claimWork();
  bool prepareBasis();
  void formTangent();
  void improveBasis();
  void freeBlockedBasis();
  void start();
  void restoreEntry();
  bool takeCorrection();
  bool tooShort() const { return step_ < settings->grgSearchParam2; }
  void tryPoint();
  bool saturate();
  double violation() const;
  void evaluateHere();
  void returnToEntry();
  Sample reference();
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

  double objective() const { return p.f[p.objective.index - 1]; }

  // Given.
  SearchProblem& p;
  const ConstIndex active;
  const double* d;
  const double* gObj;
  const double carried;
  const SearchWork work;
  int& restorationIterations;  // of the last restoration, that of an earlier search to begin with
  // Work.
  WorkFrame frame_;
  WorkFrame baseFrame_;
  double* scratch_[3] = {};   // (n) each: basis scratch, then tangent and restoration
  double* tangent_ = nullptr; // (n) direction, the tangent for dependent variables
  Sample base_{};             // the point at step 0
  Sample previous_{};         // the latest accepted trial
  // Decided.
  bool reset_ = false;
  double step_ = 0.0;
  int trial_ = 0;
  Blocking blocking_;
  bool lastTrial_ = false;    // the saturation ends the search after this trial
  double slope_ = 0.0;        // of the objective along the direction, at entry
  double bestStep_ = 0.0;
  double bestObjective_ = 0.0;
  bool improved_ = false;     // this trial was the best
  bool risen_ = false;        // some trial was not: parabolas from there on
  std::array<StepValue, 4> pairs_{};
  int pairCount_ = 0;
  int fits_ = 0;
};

}  // namespace tarnix::core
