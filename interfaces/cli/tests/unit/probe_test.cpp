#include "run/probe.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support.h"

namespace tarnix::cli {
namespace {

Probe probed(const std::string& format, const std::string& expression, double scale = 1,
             const std::string& start = "1.91372") {
  const Scratch scratch;
  const std::filesystem::path file =
      scratch.write("p.toml", "[variables]\nx = { start = " + start +
                                  ", lower = 0, upper = 4 }\n"
                                  "[command]\nrun = \"awk 'BEGIN { x = {{x}}; printf \\\"f = " +
                                  format + "\\\\n\\\", " + expression +
                                  " }'\"\n[results]\nf = { key = \"f\" }\n"
                                  "[objective]\nminimize = \"f\"\nscale = " +
                                  std::to_string(scale) + "\n");
  cli::Setup setup(file, {}, false);
  return probe(setup, studyPlaces(file, {}, "probe"), {2, false, false, ProgressStyle::none});
}

// f = 3 x^2 has the second derivative 24 in half ranges; printed in steps of q it is wrong by
// q / sqrt(12), and the best step is 2 sqrt(noise / 24), to one digit.
TEST(Probe, NoiseOfKnownSizeGivesItsStep) {
  for (const int digits : {3, 4, 5, 6}) {
    SCOPED_TRACE(digits);
    const Probe p = probed("%." + std::to_string(digits) + "f", "3 * x * x");
    ASSERT_EQ(p.values.size(), 2u);  // the result, and the objective
    const double noise = std::pow(10.0, -digits) / std::sqrt(12.0);
    EXPECT_GT(p.values[1].noise, noise / 6);
    EXPECT_LT(p.values[1].noise, noise * 6);
    ASSERT_EQ(p.variables.size(), 1u);
    const double step = 2 * std::sqrt(noise / 24);
    EXPECT_GT(p.variables[0].step, step / 4);
    EXPECT_LT(p.variables[0].step, step * 4);
    EXPECT_EQ(p.step, p.variables[0].step);
    EXPECT_TRUE(p.repeats);
    EXPECT_TRUE(p.repeatsBeside);
    EXPECT_FALSE(p.central);
    // The tolerance is that of the file, or ten times the noise.
    EXPECT_GE(p.tolerance, std::max(1e-4, 5 * p.values[1].noise));
  }
  const Probe exact = probed("%.17g", "3 * x * x");
  EXPECT_LT(exact.values[1].noise, 1e-12);
  EXPECT_LT(exact.variables[0].step, 1e-5);
  EXPECT_EQ(exact.tolerance, 1e-4);
}

// The slope of 3 x^2 is 12 x per half range, inside and where both designs lie on one side.
TEST(Probe, SlopesInsideAndAtABound) {
  for (const double x : {1.91372, 4.0}) {
    SCOPED_TRACE(x);
    const Probe p = probed("%.5f", "3 * x * x", 1, std::to_string(x));
    ASSERT_EQ(p.variables.size(), 1u);
    const double h = p.step, error = 24 * h / 2 + 2 * p.values[1].noise / h;
    EXPECT_NEAR(p.variables[0].slopeError, error / (12 * x), 0.02 * error / (12 * x));
  }
}

TEST(Probe, NamesWhatDoesNotRepeat) {
  const Scratch scratch;
  const std::filesystem::path file = scratch.write("p.toml", R"toml([variables]
x = { start = 2, lower = 0, upper = 4 }
[command]
run = "echo f = {{x}}; echo g = 0.$(date +%N)"
[results]
f = { key = "f" }
g = { key = "g" }
[objective]
minimize = "f + g"
)toml");
  cli::Setup setup(file, {}, false);
  const Probe p =
      probe(setup, studyPlaces(file, {}, "probe"), {1, false, false, ProgressStyle::none});
  EXPECT_FALSE(p.repeats);
  EXPECT_EQ(p.values[0].name, "f");
  EXPECT_LT(p.values[0].noise, 1e-6);
  EXPECT_GT(p.values[1].noise, 0.01);
}

TEST(Probe, EstimateOfASolve) {
  struct Case {
    const char* name;
    bool central;
    double beside;
    int jobs;
    double seconds;  // 8 iterations of a pass and one more run, of a second each alone
  };
  const Case cases[] = {{"alone", false, 1, 1, 8 * (4 + 1)},
                        {"two at once", false, 1, 2, 8 * (2 + 1)},
                        {"no more than there are", false, 1, 8, 8 * (1 + 1)},
                        {"an odd one", false, 1, 3, 8 * (2 + 1)},
                        {"central", true, 1, 4, 8 * (2 + 1)},
                        {"slower side by side", false, 1.5, 2, 8 * (2 * 1.5 + 1)}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Probe p;
    p.variables.resize(4);
    p.central = c.central;
    p.beside = 2;
    p.seconds = 1, p.secondsBeside = c.beside;
    EXPECT_DOUBLE_EQ(secondsOfSolve(p, 8, c.jobs), c.seconds);
  }
}

}  // namespace
}  // namespace tarnix::cli
