// The driver behind the solve calls: sizes, scaling, the two groups, the error statuses.

#include <climits>
#include <cmath>
#include <sstream>
#include <tuple>

#include "support/support.h"

using namespace support;

namespace {

class Driver : public Library {};
using Values = std::vector<double>;

// From the middle of [0, 2] in every variable; an objective of 0 unless told otherwise.
struct Problem {
  Recorder host;
  Values x, lower, upper;
  int n, m1, m2;
  Doubles f;

  explicit Problem(int variables, int equalities = 0, int inequalities = 0)
      : x(static_cast<std::size_t>(std::max(variables, 0)), 1.0),
        lower(x.size(), 0.0),
        upper(x.size(), 2.0),
        n(variables),
        m1(equalities),
        m2(inequalities),
        f(1 + std::clamp(m1, 0, 9) + std::clamp(m2, 0, 9)) {
    host.n = std::max(n, 0);
    host.fill = [](double*, double* objective, double*, double*) { *objective = 0; };
  }
  int run(decltype(VRK_sqp)* method, int maxIter) {
    return method(maxIter, n, x.data(), lower.data(), upper.data(), m1, m2, Recorder::analysis,
                  &host, f);
  }
};

TEST_F(Driver, MoreThanAHundredVariablesChangeNothing) {
  Recorder before;
  before.install({-4}, {4});
  for (const auto method : {VRK_sqp, VRK_grg}) {
    Problem big(101);
    EXPECT_EQ(99, big.run(method, 5));
    EXPECT_EQ(99, method(5, INT_MAX, nullptr, nullptr, nullptr, 1, 1, nullptr, nullptr, nullptr));
    EXPECT_EQ(std::tuple(big.host.calls.empty(), big.f.untouched()), std::tuple(true, true));
    EXPECT_EQ(Values(101, 1.0), big.x);
    EXPECT_EQ(0, VRK_get_nFunEval());
  }
  Doubles x{0.5}, f(1);  // the earlier callback and bounds are still recorded
  SQPFUN(by(1), x, f);
  ASSERT_EQ(1u, before.calls.size());
  EXPECT_EQ(Values{2}, before.calls[0].x);
}

TEST_F(Driver, SizesThatAreAccepted) {
  for (const int n : {100, 1, 0, -1, INT_MIN}) {
    VRK_setDefaults();
    VRK_settings.nIter = 17;
    Problem p(n);
    EXPECT_EQ(VRK_SQP_ITERATION_LIMIT, p.run(VRK_sqp, 0));
    EXPECT_EQ(VRK_GRG_ITERATION_LIMIT, p.run(VRK_grg, 0));
    EXPECT_EQ(17, VRK_get_nIter()) << "no iteration was begun";
    EXPECT_EQ(VRK_SQP_CONVERGED, p.run(VRK_sqp, 5));
    EXPECT_EQ(1, VRK_get_nIter());
    // The start of each, one gradient, the last evaluation: the counter runs on.
    EXPECT_EQ(4 + std::max(n, 0), VRK_get_nFunEval());
    EXPECT_EQ(VRK_get_nFunEval(), static_cast<int>(p.host.calls.size()));
  }
}

TEST_F(Driver, ScalesAndHandsOutTheGroups) {
  Problem p(3, 2, 2);
  const Values start = p.x = {-2, 6, 2.5};
  p.lower = {-2, -2, 1};
  p.upper = {6, 6, 3};
  p.host.fill = [](double*, double* objective, double* equalities, double* inequalities) {
    *objective = 1;
    for (int i = 0; i < 2; ++i) equalities[i] = 2 + i, inequalities[i] = 4 + i;
  };
  VRK_set_print(3);
  EXPECT_EQ(captured([&] { p.run(VRK_sqp, 0); }),
            " Starting Variable Values\n"
            "      -1.00000       1.00000       0.50000\n"
            " Starting Function Values\n"
            "       1.00000       2.00000       3.00000       4.00000       5.00000\n");
  p.run(VRK_grg, 0);
  ASSERT_EQ(2u, p.host.calls.size());
  for (const auto& call : p.host.calls) {
    EXPECT_EQ(start, call.x);
    EXPECT_EQ(p.x.data(), call.at);
    EXPECT_EQ(p.f + 0, call.objective);
    EXPECT_EQ(p.f + 1, call.equalities);
    EXPECT_EQ(p.f + 3, call.inequalities);
  }
  EXPECT_EQ(start, p.x);
}

// The result is half the width times x plus half the sum of the bounds, finite here, where the map
// of an evaluation, which halves last, is not. A refused solve scales and unscales without one.
TEST_F(Driver, ResultMapHalvesFirst) {
  VRK_settings.dblStorageCapacity = 0;
  Problem p(1);
  p.x = p.upper = {1.2e308};
  p.lower = {0.2e308};
  captured([&] { EXPECT_EQ(VRK_SQP_STORAGE, p.run(VRK_sqp, 5)); });
  EXPECT_EQ(1.2e308, p.x[0]);
}

// Position j has slope j; the traced gradient matrix shows which positions each group holds.
// Without a first group the second one's list is kept from solve to solve: it grows and shrinks.
TEST_F(Driver, PositionsOfBothGroups) {
  const struct {
    int m1, m2;
    const char* slopes;
  } cases[] = {{0, 3, "2 3 4 1 "},   {0, 5, "2 3 4 5 6 1 "}, {0, 2, "2 3 1 "},
               {2, 2, "4 5 2 3 1 "}, {3, 0, "2 3 4 1 "},     {1, 4, "3 4 5 6 2 1 "},
               {-3, 2, "2 3 1 "},    {2, -9, "2 3 1 "},      {0, 4, "2 3 4 5 1 "},
               {0, 0, "1 "}};
  VRK_set_print(3);
  for (const auto& c : cases) {
    Problem p(1, c.m1, c.m2);
    p.host.fill = [&](double* x, double* objective, double* equalities, double* inequalities) {
      int position = 1;
      *objective = x[0] - 1;
      for (int i = 0; i < c.m1; ++i) equalities[i] = ++position * (x[0] - 1);
      for (int i = 0; i < c.m2; ++i) inequalities[i] = ++position * (x[0] - 1);
    };
    const std::string text = captured([&] { p.run(VRK_sqp, 1); });
    const std::string title = " Gradd: Ineqs First, Then Eqs, Then Obj\n";
    ASSERT_NE(std::string::npos, text.find(title));
    std::istringstream rest(text.substr(text.find(title) + title.size()));
    std::string line, slopes;
    std::getline(rest, line);
    std::istringstream row(line);
    for (double slope; row >> slope;) slopes += std::to_string(std::lround(slope)) + " ";
    EXPECT_EQ(c.slopes, slopes);
  }
}

TEST_F(Driver, HugeCountsAreRefusedWithTheirTrueTotal) {
  constexpr int huge = 2000000000;
  const struct {
    decltype(VRK_sqp)* method;
    int n, m1, m2;
    const char* printed;
  } cases[] = {
      // With m = m1 + m2:  1 + 3 (m + 2n) + n (1 + m) + m + n^2 + 14n
      {VRK_sqp, 1, huge, 0, "SQP: Double precision storage exceeded, 100000000\n"},
      {VRK_sqp, 1, 0, huge, "SQP: Double precision storage exceeded, 100000000\n"},
      {VRK_sqp, 100, huge, huge, "SQP: Double precision storage exceeded, 416000012\n"},
      {VRK_sqp, 0, 0, huge, "SQP: Double precision storage exceeded, 800000000\n"},
      // m2 + min(n, m2) + m1 + (1 + m) + n
      {VRK_grg, 1, huge, 0, "ERROR:  INTEGER STORAGE EXCEEDED4000000002\n"},
      {VRK_grg, 1, huge, huge, "ERROR:  INTEGER STORAGE EXCEEDED8000000003\n"},
  };
  for (const auto& c : cases) {
    VRK_setDefaults();
    VRK_settings.dblStorageCapacity = VRK_settings.intStorageCapacity = INT_MAX;  // more than real
    Problem p(c.n, c.m1, c.m2);
    const bool sqp = c.method == VRK_sqp;
    if (!sqp) VRK_set_print(1);
    int status = 0;
    EXPECT_EQ(c.printed, captured([&] { status = p.run(c.method, 5); }));
    EXPECT_EQ(sqp ? 7 : 11, status);
    EXPECT_EQ(sqp ? 0u : 1u, p.host.calls.size());
    EXPECT_EQ(Values(p.x.size(), 1.0), p.x);
    EXPECT_EQ(0, VRK_settings.dblStorageUsed);
    EXPECT_EQ(sqp ? INT_MAX : 0, VRK_settings.intStorageUsed);
    EXPECT_EQ(sqp ? 0 : -1, VRK_settings.errorFlag);
    VRK_set_print(0);
    Problem sound(1);  // the flag decides until the defaults clear it, whatever set it
    VRK_settings.errorFlag = 5;
    VRK_settings.intStorageUsed = 0;
    EXPECT_EQ(sqp ? 7 : 11, sound.run(c.method, 5));
    VRK_setDefaults();
    EXPECT_EQ(1, sound.run(c.method, 5));
  }
}

}  // namespace
