#pragma once
// What becomes of a trial step: it stands as it is, or it is cut back at the first inequality that it
// violates or the first bound that a dependent variable reaches, and feasibility is restored there.

#include <string_view>

#include "state/work_storage.h"
#include "eval/evaluation.h"
#include "grg/basis.h"
#include "grg/prediction.h"

namespace tarnix::core {

// The problem along one search direction.
struct SearchProblem {
  Objective objective;      // feasibility mode and index of the function that is minimised
  int n;
  double* x;               // (n)
  int m;
  double* f;               // (m)
  Box box;
  Gradients gradients;
  ConstIndex kept;         // non-violated inequalities
  ConstIndex satisfied;    // equalities
  int32_t* tracked;        // LTRAK: 1 for each inequality that is held
  IndexList binding;       // MTRAK: those inequalities
  Basis basis;
  const double* dir;       // (n) direction, the tangent for dependent variables

  bool isTracked(int c) const { return tracked[c - 1] == 1; }
  // Constraint c is held from here on; an equality target needs no place in the list.
  void hold(int c) {
    tracked[c - 1] = 1;
    if (c != objective.index) binding.append(c);
  }
};

// Function values at a step at which the search has been.
struct StepValues {
  double step;
  const double* f;  // (m)
};

struct Saturation {
  Saturation(SearchProblem& problem, StepValues from, StepPoint fromPoint, StepPoint start,
             double* dxWork, double* rWork, double length, Blocking prediction)
      : p(problem),
        reference(from),
        referencePoint(fromPoint),
        base(start),
        dx(dxWork),
        r(rWork),
        step(length),
        blocking(prediction) {}

  // Given.
  SearchProblem& p;
  const StepValues reference;     // the latest accepted trial below the step
  const StepPoint referencePoint; // likewise
  const StepPoint base;           // the point at step 0
  double* dx;               // (n) work of the restoration
  double* r;                // (n)
  // In and out.
  double step;              // length of the trial, then of the step taken
  Blocking blocking;        // of the prediction behind the trial
  // Decided.
  bool terminate = false;   // end the search, the trial does not count
  bool second = false;      // end the search after this trial
  int restorationIterations = -1;  // of the last restoration, -1 when there was none

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
  bool augment(int c, double corner, const char* unknown);
  int bestIndependent(int c) const;
  void exchangeAtBound();
  void restoreOrShorten();
  bool feasible() const;

  void moveTo(double length);
  void evaluateHere();
  bool restore(int rows, int nDep);
  bool rebuildMatrices();

  WorkFrame frame_;
  double* artificial_ = nullptr;  // (n) the made-up point behind a prediction
  double* u_ = nullptr;           // (n) new column of the basis
  double* z_ = nullptr;           // (n) new row
  double* w_ = nullptr;           // (n) work of the inverse
  double* y_ = nullptr;           // (n)
  bool restored_ = false;         // in this pass
  int halvings_ = 0;
};

}  // namespace tarnix::core
