#pragma once
// The one routine behind the solve calls: scales the problem into [-1, 1], runs a method over it
// and brings the result back.

#include <tarnix/tarnix.h>

namespace tarnix::core {

enum class Method { grg, sqp };

struct UserProblem {
  int32_t n;
  double* x;            // (n) physical: start, then result
  const double* lower;  // (n)
  const double* upper;  // (n)
  int32_t m1;           // equalities
  int32_t m2;           // inequalities
  VRK_analysis analysis;
  void* user;
  double* f;  // (1 + m1 + m2)
};

int32_t solve(Method method, int32_t maxIter, UserProblem user);

}  // namespace tarnix::core
