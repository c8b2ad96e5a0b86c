#pragma once
// Newton restoration of feasibility on the dependent variables, the inverse Jacobian refreshed by
// Broyden's rank-one updates (Abadie and Carpentier 1969; Broyden 1965).

#include "eval/evaluation.h"
#include "grg/prediction.h"

namespace tarnix::core {

struct Restoration {
  // Given.
  Objective objective;
  bool keepsInside;  // every variable that it moves stays in the box, and the point finite
  bool broyden;      // refresh both matrices after every evaluation
  int maxIter;
  ConstIndex rows;   // the constraints that are restored
  MatrixView Jinv;   // of the order of the rows
  MatrixView J;      // of order nDep
  int stepVariable;  // whose row moves the step instead, 0 for none
  ConstIndex independent;
  int nDep;              // rows behind it move the step
  ConstIndex variables;  // the variable of each row
  ConstVector dir;       // (n) direction, the tangent for dependent variables
  VectorView x;
  Box box;
  VectorView f;        // values at x
  StepPoint base;      // independent variables are counted from here
  StepPoint previous;  // with base: the secant of the dependent variables
  VectorView dx;       // (rows) work: Newton correction
  VectorView r;        // (rows) work: negated residuals
  // In and out.
  double step;
  // Decided.
  bool converged = false;
  bool allAtBound = false;
  int iteration = 1;  // the last one begun

  void run();

 private:
  bool satisfied() const;
  double correct(bool& atBound);
  void moveDependent(int i, bool& atBound);
  bool moveStep(int i, bool& atBound);
  void clip(int v, bool& atBound);
  bool finite() const;
  void evaluateHere();
  bool refreshMatrices();
};

}  // namespace tarnix::core
