#pragma once
// What becomes of a trial step: it is kept as it is, or cut back at the first inequality that
// it violates or the first bound that a dependent variable reaches, and feasibility is restored
// there.

#include <string_view>

#include "grg/prediction.h"
#include "grg/search_problem.h"
#include "state/work_storage.h"

namespace tarnix::core {

// A point at which the search has been, with the function values there.
struct Sample {
  double step;
  VectorView x;  // (n)
  VectorView f;  // (m)

  StepPoint point() const { return {x, step}; }
};

// A trial step as it arrives.
struct TrialStep {
  ConstVector referenceValues;  // at the latest accepted trial below the step
  double referenceStep;         // its step
  StepPoint reference;          // that point
  StepPoint base;               // the point at step 0
  VectorView dx, r;             // (n) work of the restoration
  double step;
  Blocking blocking;  // of the prediction behind it
};

struct Saturation {
  Saturation(SearchProblem& problem, const TrialStep& trial)
      : p(problem), given(trial), step(trial.step), blocking(trial.blocking) {}

  SearchProblem& p;
  const TrialStep& given;
  // Decided.
  double step;             // the step taken
  Blocking blocking;       // of the last prediction
  bool terminate = false;  // end the search, the trial does not count
  bool second = false;     // end the search after this trial

  static constexpr int maxPasses = 4;
  static constexpr int maxHalvings = 5;
  static constexpr int restorationLimit = 7;

  void run();

 private:
  struct Crossing {
    int32_t index = 0;
    double step = 0.0;
  };

  bool claimWork();
  bool findCrossing(Crossing& first);
  bool interpolate(int c, Crossing& first);
  void takeUp(const Crossing& crossing);
  void fail(std::string_view reason);
  bool holdWithNewDependent(int c, bool& singular);
  bool holdWithStepLength(int c, bool& singular);
  bool impliedByHeldRows(int c, double length);
  bool augment(int c, double corner);
  int bestIndependent(int c) const;
  void exchangeAtBound();
  void restoreOrShorten();
  bool feasible() const;

  void moveTo(double length);
  bool evaluateAt(double length);
  bool evaluateFinite();
  bool restore(int rows, int nDep);
  bool rebuildMatrices();

  PrivateFrame<double> frame_{session().privateDoubles};
  VectorView artificial_{};  // (n) the made-up point behind a prediction
  VectorView u_{};           // (n) new column of the basis
  VectorView z_{};           // (n) new row
  VectorView w_{};           // (n) work of the inverse
  bool restored_ = false;    // in this pass
  int halvings_ = 0;
  bool recovered_ = false;  // a better basis has been tried
};

}  // namespace tarnix::core
