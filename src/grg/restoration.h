#pragma once
// Newton restoration of feasibility on the dependent variables, the inverse Jacobian refreshed by
// Broyden's rank-one updates (Abadie and Carpentier 1969; Broyden 1965).

#include "eval/evaluation.h"
#include "grg/prediction.h"

namespace tarnix::core {

struct Restoration {
  // Given.
  Objective objective;
  bool broyden;              // refresh both matrices after every evaluation
  int maxIter;
  ConstIndex rows;           // the constraints that are restored
  int ld;
  double* inverse;           // of order rows.size()
  double* jacobian;          // of order nDep
  int stepVariable;          // whose row moves the step length instead, 0 for none
  ConstIndex independent;
  int nDep;                  // rows behind it move the step length
  const int32_t* variables;  // the variable of each row
  const double* dir;         // (n) direction, the tangent for dependent variables
  int n;
  double* x;                 // (n)
  Box box;
  int m;
  double* f;                 // (m) values at x
  StepPoint base;            // independent variables are counted from here
  StepPoint previous;        // with base: the secant of the dependent variables
  double* dx;                // (rows) work: Newton correction
  double* r;                 // (rows) work: negated residuals
  // In and out.
  double alpha;              // step length
  // Decided.
  bool converged = false;
  bool allAtBound = false;
  int iteration = 1;         // the last one begun
  int evaluations = 0;

  void run();

 private:
  bool satisfied() const;
  double correct(bool& atBound);
  void moveDependent(int i, bool& atBound);
  bool moveStep(int i, bool& atBound);
  void evaluateHere();
  bool refreshMatrices();
};

}  // namespace tarnix::core
