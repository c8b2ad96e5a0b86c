#pragma once
// The constants of the automatic method.
//
// Each was chosen on the wide collection of problems/ by bench/compare: solves within 1e-3 and
// within 1e-6, false successes and the median of evaluations, from the published starts, from
// random ones and with noise. bench/README.md has these figures for other values of each.

namespace tarnix::detail::tuning {

// ---- scales of the functions for SQP, a half range being the unit ------------------------------
inline constexpr double objectiveSlope = 100;    // largest derivative that the core sees
inline constexpr double steepestSlope = 1e7;     // of a plain objective
inline constexpr double constraintSlope = 1000;  // the same of a constraint
inline constexpr double largestObjectiveFactor = 1e4;
inline constexpr double smallestViolation = 1e-9;  // that may be asked of a constraint

// ---- differences and noise, steps in half ranges -----------------------------------------------
inline constexpr double plainStep = 1e-4;  // where nothing is known
inline constexpr double cleanStep = 1e-7;  // of clean values
inline constexpr double noiseStep = 1;     // times the root of the relative noise
inline constexpr double widestStep = 0.05;
inline constexpr double noiseTolerance = 3;   // times the noise: a smaller gain is none
inline constexpr double cleanNoise = 1e-11;   // below this it is rounding
inline constexpr double noiseSpacing = 1e-8;  // of the points on the line: f''h^2 is rounding there
inline constexpr double noiseSpacingGrowth = 1000;  // where a function has one value on the line
inline constexpr double widestNoiseSpacing = 2e-2;
inline constexpr double noiseShare = 0.05;  // of the slope, on longer lines: less is curvature
inline constexpr int noisePoints = 7;       // as Moré and Wild
inline constexpr int noiseOrder = 4;
inline constexpr double smallBudget = 10;  // (n + 1) evaluations: too few to look at the noise

// ---- stages ------------------------------------------------------------------------------------
inline constexpr double toleranceShare = 0.05;  // of the tolerance, for the first stage
inline constexpr double toleranceFall = 30;     // from stage to stage
inline constexpr double narrowRadius = 0.03;    // half ranges, of the box of the second SQP stage
inline constexpr double radiusGrowth = 3;       // when the end lies on a side of that box
inline constexpr int oldViolation = 15;         // iterations
inline constexpr double scaleFall = 0.1;  // of the objective or the violation, from a large value:
inline constexpr double largeObjective = 100;   // time for other scales. What is smaller need not
inline constexpr double largeViolation = 1000;  // be scaled once more
inline constexpr int mostRescaled = 12;         // times in one local solve
inline constexpr int mostStages = 6;
inline constexpr double plainSmallPart = 0.01;  // of the gradient that the multipliers may leave
inline constexpr double smallPart = 0.002;      // the same of the automatic method
inline constexpr double smallViolation = 0.05;  // of the tolerance: an end that uses more is
                                                // looked at again
inline constexpr double tailFall = 1e-4;  // relative, over the step along the slope that is left:
                                          // an end that falls as much is none
inline constexpr double tailStep = 0.1;   // half ranges
inline constexpr int mostBent = 10;       // variables for second differences
inline constexpr double bendStep = 1e-3;  // of these, half ranges

// ---- saddle points -----------------------------------------------------------------------------
inline constexpr int mostSaddles = 3;       // that are left one after the other
inline constexpr double saddleStep = 0.01;  // half ranges
inline constexpr double saddleFall = 1e-5;  // of the Lagrangian, relative
inline constexpr double unmoved = 1e-3;     // half ranges: what moved more is not tried
inline constexpr double smallSlope = 1e-4;  // per half range, relative

// ---- further starts ----------------------------------------------------------------------------
inline constexpr double fewestScreened = 2;     // points, and
inline constexpr double screenedShare = 0.75;   // per variable and one
inline constexpr double cheapScreened = 0.3;    // of what is left to a cheap solve, if more
inline constexpr double dualityGap = 1e-3;      // relative, by which the Lagrangian lies below
inline constexpr double sureEffort = 2;         // times the effort, where it does not
inline constexpr double doubtEffort = 24;       // times the effort, where it does
inline constexpr double wideEffort = 32;        // the same, once there is another end
inline constexpr double cheapEvaluations = 85;  // of a solve that was not hard; of what it takes
inline constexpr double cheapShare = 0.25;      // less, this times the effort is spent as well
inline constexpr double hardShare = 0.75;       // times the effort, of what was spent beyond these
inline constexpr int mostReturns = 2;           // to a known end, after a cheap or hard solve
inline constexpr double sameBasin = 0.3;        // half ranges
inline constexpr double hardBasin = 0.03;       // the same after a hard solve

// ---- no feasible design ------------------------------------------------------------------------
inline constexpr double elasticBudget = 60;  // (n + 1) evaluations

}  // namespace tarnix::detail::tuning
