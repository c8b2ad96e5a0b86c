#pragma once
// The quadratic subproblem of an iteration.

#include "grg/box.h"

namespace tarnix::core {

enum class DirectionEnd : int32_t {
  solved = 0,
  noSolution = 8,
  notPositiveDefinite = 9,
  failure = 10,
  storage = 11  // errorFlag is set
};

struct Subproblem {
  ConstVector x;
  Box box;
  ConstVector f;
  ConstIndex kept, satisfied;
  ConstMatrix G;  // gradients of both, in this order
  ConstMatrix hessian;
  ConstVector gObj;
};

struct Direction {
  VectorView d;           // (n)
  VectorView multiplier;  // (n) of the active rows
  IndexVector rows;       // (n) active rows
  int32_t& count;
};

[[nodiscard]] DirectionEnd findDirection(const Subproblem& qp, const Direction& result);

}  // namespace tarnix::core
