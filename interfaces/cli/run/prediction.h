// Foresees the difference points of a gradient pass.
//
// The core works on variables scaled to [-1, 1]. A pass steps one of them after the other by h, and
// at every evaluation maps the whole vector to physical values and back, in place. So from the
// first point of a pass all the others follow, to the last bit, by the same operations in the same
// order. The multipliers at the end of a solve take a pass of their own, with steps in physical
// units.
#pragma once

#include <span>
#include <vector>

#include "problem/problem.h"

namespace tarnix::cli {

using Designs = std::vector<std::vector<double>>;

class PassPrediction {
 public:
  explicit PassPrediction(const ProblemFile& problem);

  // Tells of a design that the solve asks for, and whether it was foreseen. When it is the first of
  // a pass: the designs that will be asked for next, in order. Else empty.
  Designs after(std::span<const double> design, bool foreseen);

  // Equal up to the rounding of a few evaluations.
  bool close(std::span<const double> a, std::span<const double> b) const;

  // The design that the core asks for first when it starts at this one.
  std::vector<double> firstAsked(std::span<const double> start) const;

 private:
  using Vector = std::vector<double>;
  double toPhysical(std::size_t i, double scaled) const;
  double toScaled(std::size_t i, double physical) const;
  double half(std::size_t i) const { return 0.5 * (upper[i] - lower[i]); }
  double clipped(std::size_t i, double physical) const;
  bool near(std::size_t i, double a, double b) const;
  Vector scaledOf(const Vector& physical) const;
  Vector freeOf(std::span<const double> design) const;
  Designs corePass(const Vector& first, const Vector& base) const;
  Designs reportPass(const Vector& base) const;
  void addAsked(const Vector& asked, std::size_t stepped, Designs& points) const;
  std::vector<double> whole(const Vector& physical) const;

  std::vector<std::size_t> free;
  Vector lower, upper, fixedValues;
  bool keepInside;
  double differenceStep;
  std::vector<Vector> recent;  // core points lately asked for, physical
  std::size_t oldest = 0;      // of recent, once that is full
};

}  // namespace tarnix::cli
