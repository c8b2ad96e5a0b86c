// Parabolas, crossings, and which active constraints a direction stays on.

#include "grg/grg_test.h"

#include <tuple>

namespace {

using namespace support;

class Interpolation : public Library {};

// What level 1 prints; level 0 prints nothing.
template <class Call>
std::string messages(Call call) {
  VRK_set_print(0);
  EXPECT_EQ(captured(call), "");
  VRK_set_print(1);
  return captured(call);
}

TEST_F(Interpolation, Parabolas) {
  const double below = std::nextafter(0.125, 0.0);
  const Values cases[] = {// s1, f1, s2, f2, s3, f3, vertex; 77 without one
                          {0, 3.125, 1, 0.125, 3, 6.125, 1.25},
                          {-1, -6, 0.5, 0.75, 1, 2, 2},  // 3 - (s - 2)^2
                          {0, 1, 1, 2, 2, 3, 77},
                          {0, 0, 1, 0, 2, 0.125, 0.5},
                          {0, 0, 1, 0, 2, below, 77}};  // |denominator| at zeroTol
  VRK_settings.zeroTol = 0.125;
  for (const Values& c : cases) {
    int32_t fail = 5;
    double vertex = 77;
    EXPECT_EQ(messages([&] { GRGPR3(&c[0], &c[1], &c[2], &c[3], &c[4], &c[5], &vertex, &fail); }),
              c[6] == 77 ? "ERROR IN GRGPR3, ZERO DENOM\n" : "");
    EXPECT_EQ(std::tuple(vertex, fail), std::tuple(c[6], (c[6] == 77 ? -1 : 0)));
  }
  double vertex = 77;  // through two points and a slope: 2 s^2 - 2 s + 1
  GRGPR2(by(0.0), by(2.0), by(1.0), by(5.0), by(-2.0), &vertex);
  EXPECT_EQ(vertex, 0.5);
}

TEST_F(Interpolation, ThreeOfFourPoints) {
  const Values cases[] = {// f, for a parabola, the pairs from here on, bracketed
                          {5, 1, 2, 3, -1, 0, 1}, {5, 2, 1, 3, -1, 1, 1}, {5, 1, 1, 3, -1, 0, 1},
                          {1, 2, 3, 4, -1, 0, 0}, {4, 3, 2, 1, -1, 1, 0}, {5, 1, 2, 3, 0, 1, 1}};
  const Values steps{0, 0.5, 1, 3};
  for (const Values& c : cases) {
    SCOPED_TRACE(&c - cases);
    Values s, f;
    const auto choose = [&] { GRGS34(by(int32_t(c[4])), (s = steps).data(), (f = c).data()); };
    EXPECT_EQ(messages(choose), c[6] ? "" : "ERROR IN BRACKET, GRGS34\n");
    const int from = static_cast<int>(c[5]);
    EXPECT_EQ(
        std::tuple(std::equal(&s[0], &s[3], &steps[from]), std::equal(&f[0], &f[3], &c[from])),
        std::tuple(true, true));
  }
}

TEST_F(Interpolation, CrossingOfTheTolerance) {
  const Values cases[] = {// g0, g1, crossing between steps 1 and 3, error
                          {-0.75, 1.25, 2, 0}, {1.25, -0.75, 2, 0}, {0.25, 1, 1, 0},
                          {-1, 0.25, 3, 0},    {0.5, 1, 77, 1},     {-1, 0, 77, 1},
                          {0, 0.5, 2, 0},      {0, 0.4375, 77, 2}};
  const char* texts[] = {"", "ERROR1 IN GRGINT\n", "ERROR2 IN GRGINT\n"};
  VRK_settings.convTol = 0.25, VRK_settings.zeroTol = 0.5;
  for (const Values& c : cases) {
    double cross = 77;
    int32_t ierr = 5;
    EXPECT_EQ(messages([&] { GRGINT(by(1.0), &c[0], by(3.0), &c[1], &cross, &ierr); }),
              texts[static_cast<int>(c[3])]);
    EXPECT_EQ(std::tuple(cross, ierr), std::tuple(c[2], c[3])) << c[0] << " to " << c[1];
  }
}

TEST_F(Interpolation, BindingConstraints) {
  // Gradients of functions 1 to 14 by their angle with d in degrees; then along d and shorter than
  // zeroTol, where they are not normalized.
  const double d[] = {0, 1}, degree = 3.14159265358979323846 / 180;
  Values G;
  for (const double angle : {180.0, 91.0, 90.9999, 90.0, 89.0, 0.0})
    G.insert(G.end(), {3 * std::sin(angle * degree), 3 * std::cos(angle * degree)});
  const double edge = -0.017452406, outside = 0.01;
  for (const double a : {-0.26, 0.26, -0.125, std::nextafter(edge, -1.0), edge, 0.0,
                         std::nextafter(outside, 0.0), outside})
    G.insert(G.end(), {0.0, a});
  VRK_settings.zeroTol = 0.25, VRK_settings.printLevel = 2;
  Rows column(14), active(14);
  std::iota(column.begin(), column.end(), 1), std::iota(active.rbegin(), active.rend(), 1);
  Ints binding(14), flags(14);
  int32_t count = 0, reset = 7;
  const auto track = [&](int32_t of, const int32_t* list) {
    GRGTRK(&of, list, by(2), G.data(), column.data(), d, &count, binding, flags, &reset);
  };
  track(1, &active[1]);
  EXPECT_EQ(std::tuple(count, reset), std::tuple(1, 7)) << "just within the tangent plane";
  count = 0;
  const std::string text = "SEARCH DIRECTION OUTSIDE TANGENT\n BINDING DF#   ";
  EXPECT_EQ(captured([&] { track(14, active.data()); }),
            text + "14  DOTP=   1.00000e-02\n" + text + " 8  DOTP=       1.00000\n" + text +
                " 6  DOTP=       1.00000\n" + text + " 5  DOTP=   1.74524e-02\n");
  const Rows tracked{14, 13, 12, 11, 8, 6, 5, 4, 3};
  EXPECT_EQ(Rows(binding.begin(), binding.begin() + count), tracked);
  for (int c = 1; c <= 14; ++c)
    EXPECT_EQ(flags[c - 1], std::count(tracked.begin(), tracked.end(), c) ? 1 : Ints::sentinel());
  EXPECT_EQ(reset, -1);
}

}  // namespace
