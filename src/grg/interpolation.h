#pragma once
// Bracketing and interpolation along a search direction.

#include <array>
#include <cstdint>

namespace tarnix::core {

struct StepValue {
  double s;  // step length
  double f;  // objective there
};

// Vertex of the parabola through three points; false when the denominator is within zeroTol of
// zero.
[[nodiscard]] bool parabolaVertex(const std::array<StepValue, 3>& at, double& vertex);

// The three of four points (in order of s) to keep: for a parabola those around the smallest
// value, otherwise all but the smallest step. False when the smallest value is an end point; its
// three points are kept then.
bool chooseThree(bool forParabola, const std::array<StepValue, 4>& from,
                 std::array<StepValue, 3>& to);

// Where a constraint going from g0 at s0 to g1 at s1 reaches convTol, linearly.
enum class CrossingEnd : int32_t { found = 0, outside = 1, flat = 2 };
CrossingEnd crossingStep(double s0, double g0, double s1, double g1, double& crossing);

}  // namespace tarnix::core
