#pragma once
// A problem of the collection as the C++ layer describes it.

#include <string>
#include <tarnix/tarnix.hpp>

#include "problems.h"

inline tarnix::Problem describe(const ::Problem& p) {
  tarnix::Problem problem;
  for (int i = 0; i < p.n; ++i)
    problem.variable("x" + std::to_string(i), p.start[i], p.lower[i], p.upper[i]);
  problem.minimize("f");
  for (int i = 0; i < p.nEq; ++i) problem.equal("h" + std::to_string(i), 0);
  for (int i = 0; i < p.nIneq; ++i) problem.atMost("g" + std::to_string(i), 0);
  return problem;
}
