// The charts of a sweep, as an SVG file that needs no other: a curve with the course of the
// variables below, or a map of two axes.
#pragma once

#include <string>

#include "problem/problem.h"
#include "run/sweep.h"

namespace tarnix::cli {

std::string sweepChart(const ProblemFile& problem, const std::vector<Axis>& axes,
                       const std::vector<SweepPoint>& points);

}  // namespace tarnix::cli
