// The six gradient routines against differences worked out by hand: with a power of two as the step
// every quotient of these polynomials is exact.

#include <stdexcept>
#include <tuple>

#include "support/support.h"

using namespace support;

namespace {

using Values = std::vector<double>;
constexpr double h = 0x1p-10;
const int32_t n = 2, m = 3, objective = 3, zero = 0;

// x1^2 + 2 x2, x1 x2, x2^2 - 4 x1 at (1, -1/4): at a bound, and perturbed beyond it.
void functions(double* x, double* f, double* equalities, double* inequalities) {
  *f = x[0] * x[0] + 2 * x[1];
  *equalities = x[0] * x[1];
  *inequalities = -4 * x[0] + x[1] * x[1];
}
const Values start = {1, -0.25}, values = {0.5, -0.25, -3.9375};
const double forward[3][2] = {{2 + h, 2}, {-0.25, 1}, {-4, -0.5 + h}};
const double central[3][2] = {{2, 2}, {-0.25, 1}, {-4, -0.5}};
const std::vector<Values> forwardPoints = {{1 + h, -0.25}, {1, -0.25 + h}};
const std::vector<Values> centralPoints = {
    {1 + h, -0.25}, {1 - h, -0.25}, {1, -0.25 + h}, {1, -0.25 - h}};

struct Call {
  int32_t mode, ld;
  const int32_t* columns;
  Doubles x{1, -0.25}, f{0.5, -0.25, -3.9375}, G = Doubles(15), gObj = Doubles(2),
                                               saved = Doubles(3), work = Doubles(3);

  explicit Call(const int32_t* selection = nullptr, int32_t modeOf = 0, int32_t ldOf = n)
      : mode(modeOf), ld(ldOf), columns(selection) {}
  void gdsgra() { GDSGRA(&mode, &objective, &n, x, &m, f, columns, G); }
  void gdbgra() { GDBGRA(&mode, &objective, &n, x, &m, f, columns, G, saved, work); }
  void sqpgra() { SQPGRA(&n, &m, x, f, columns, gObj, G); }
  void ddsgra() { DDSGRA(&n, x, &m, f, nullptr, columns, &ld, G); }
  void ddbgra() { DDBGRA(&n, x, &m, f, nullptr, columns, &ld, G, saved, work); }
};

const struct Member {
  const char* name;
  bool list, copies;
  int32_t ld;
  std::vector<int> needs;  // the totals that are checked one after the other
  void (Call::*run)();
} members[] = {{"GDSGRA", false, false, 2, {m + 1, 2 * m + 2}, &Call::gdsgra},
               {"GDBGRA", false, false, 2, {}, &Call::gdbgra},
               {"SQPGRA", true, true, 2, {2 * m + 1}, &Call::sqpgra},
               {"DDSGRA", true, false, 5, {2 * m + 1}, &Call::ddsgra},
               {"DDBGRA", true, false, 5, {}, &Call::ddbgra}};

class Gradients : public Library {
 protected:
  Gradients() {
    host.install({-1, -1}, {1, 1}, 1, 1);  // scaled and physical points are the same
    host.fill = functions;
    VRK_set_diffPert(h);
    VRK_settings.dblStorageUsed = 5;
  }
  Recorder host;
};

TEST_F(Gradients, EveryMemberByBothMethods) {
  const struct {
    bool list, map;
    std::vector<int32_t> given, columns;
  } selections[] = {{true, true, {2, 0, 3}, {2, 0, 3}},
                    {true, false, {2, -1, 3}, {2, 0, 3}},
                    {true, false, {-1, 0, 1}, {1, 2, 3}},
                    {true, true, {3, 1, 2}, {3, 1, 2}}};
  for (const Member& member : members)
    for (const int method : {1, 2, 0, -1})
      for (const auto& selection : selections)
        for (const int mode : {0, 3}) {
          if (!(member.list ? selection.list : selection.map)) continue;
          SCOPED_TRACE(testing::Message() << member.name << ", method " << method);
          const bool negated = !member.list && mode == 3;
          VRK_set_diffMeth(method);
          VRK_settings.nFunEval = VRK_settings.nGradEval = 0;
          host.calls.clear();
          Call a(selection.given.data(), mode, member.ld);
          if (negated) a.f[objective - 1] = -a.f[objective - 1];
          const Values before = a.f.values();
          (a.*member.run)();

          Doubles expected(15);
          for (int j = 0; j < m; ++j)
            for (int i = 0; i < n && selection.columns[j]; ++i) {
              const double g = (method == 1 ? forward : central)[j][i];
              expected[(selection.columns[j] - 1) * member.ld + i] =
                  negated && j + 1 == objective ? -g : g;
            }
          for (int e = 0; e < 15; ++e) EXPECT_BITS(expected[e], a.G[e]);
          for (int i = 0; i < n; ++i)
            EXPECT_BITS(member.copies ? a.G[2 * n + i] : Doubles::sentinel(), a.gObj[i]);
          std::vector<Values> seen;
          for (const auto& call : host.calls) seen.push_back(call.x);
          EXPECT_EQ(method == 1 ? forwardPoints : centralPoints, seen);
          EXPECT_EQ(before, a.f.values());
          EXPECT_EQ(start, a.x.values());
          EXPECT_EQ(VRK_get_nFunEval(), static_cast<int>(seen.size()));
          EXPECT_EQ(VRK_settings.nGradEval, member.list ? 1 : 0);
          EXPECT_EQ(VRK_settings.dblStorageUsed, 5);
        }
}

TEST_F(Gradients, PointIsRestoredByArithmetic) {
  VRK_set_diffPert(0.0001);
  for (const int method : {1, 2}) {
    VRK_set_diffMeth(method);
    host.calls.clear();
    Doubles x{0.0002, 0.5}, f{0, 0, 0}, G(6);
    DDSGRA(by(1), x, by(3), f, nullptr, by(-1), by(2), G);
    EXPECT_BITS(0x1.3a92a30553262p-12, host.calls[0].x[0]);
    EXPECT_BITS(method == 1 ? host.calls[0].x[0] : 0x1.a36e2eb1c432fp-14, host.calls.back().x[0]);
    EXPECT_BITS(0x1.a36e2eb1c432ep-13, x[0]);  // 0.0002 itself ends in d
  }
}

TEST_F(Gradients, ReducedGradientMapAndScale) {
  const struct {
    const char* name;
    int32_t mode, m1, m2, k;
    std::vector<int32_t> list1, list2, map;
    std::vector<int> functionOf;  // by column, 0 none
    double scale;
  } cases[] = {{"objective", 0, 1, 1, 1, {3}, {2}, {3, 2, 1}, {3, 2, 1}, 2},
               {"no lists", 0, 0, 0, 3, {}, {}, {0, 0, 1}, {3, 0, 0}, 2.25},
               {"negated", 3, 1, 0, 3, {1}, {}, {1, 0, 2}, {1, 3, 0}, 2.25},
               {"also listed", 0, 2, 0, 2, {1, 2}, {}, {1, 3, 0}, {1, 0, 2}, 1},
               {"small mean", 0, 0, 2, 2, {}, {3, 1}, {2, 3, 1}, {3, 1, 2}, 1}};
  VRK_set_diffMeth(2);
  Doubles scale(1);
  Ints map(m);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Call a;
    GRGGRA(&c.mode, &c.m1, c.list1.data(), &c.m2, c.list2.data(), &c.k, &n, a.x, &m, a.f, map, a.G,
           a.gObj, scale);
    EXPECT_EQ(c.map, map.values());
    for (int e = 0; e < m * n; ++e) {
      const int j = c.functionOf[e / n];
      const double sign = c.mode == 3 && j == c.k ? -1 : 1;
      EXPECT_BITS(j ? sign * central[j - 1][e % n] : Doubles::sentinel(), a.G[e]);
    }
    for (int i = 0; i < n; ++i) EXPECT_BITS(a.G[(c.m1 + c.m2) * n + i], a.gObj[i]);
    EXPECT_EQ(c.scale, scale[0]);
    EXPECT_EQ(values, a.f.values());
    EXPECT_EQ(0, VRK_settings.nGradEval);
  }
  Call a;  // without variables the mean is 0/0
  GRGGRA(&zero, &zero, nullptr, &zero, nullptr, by(1), &zero, a.x, &m, a.f, map, a.G, a.gObj,
         scale);
  EXPECT_EQ(1, scale[0]);

  // A refused claim: map, gObj and gScale come from what stands there.
  VRK_settings.dblStorageCapacity = 5 + 2 * m + 1;
  a.G[2] = 3, a.G[3] = -4;
  captured([&] {
    GRGGRA(&zero, by(1), by(3), &zero, nullptr, by(1), &n, a.x, &m, a.f, map, a.G, a.gObj, scale);
  });
  EXPECT_EQ((std::vector<int32_t>{2, 0, 1}), map.values());
  EXPECT_EQ((Values{3, -4}), a.gObj.values());
  EXPECT_EQ(3.5, scale[0]);
  EXPECT_EQ(-1, VRK_settings.errorFlag);
}

TEST_F(Gradients, RefusalOneCellShortAndExceptionLeaveTheMark) {
  const int32_t columns[] = {1, 2, 3};
  for (const Member& member : members) {
    SCOPED_TRACE(member.name);
    for (const int need : member.needs)
      for (const int level : {0, 1}) {
        Call a(columns);
        a.G[4] = 11, a.G[5] = 13;
        host.calls.clear();
        VRK_settings.errorFlag = 0;
        VRK_settings.dblStorageCapacity = 5 + need - 1;
        VRK_set_print(level);
        const std::string total = std::to_string(5 + need);
        const std::string line = (member.list ? "Error:  Double precision b storage exceeded"
                                              : "ERROR:  DOUBLE PRECISION STORAGE EXCEEDED") +
                                 std::string(10 - total.size(), ' ') + total + "\n";
        EXPECT_EQ(level ? line : "", captured([&] { (a.*member.run)(); }));
        EXPECT_EQ(-1, VRK_settings.errorFlag);
        EXPECT_EQ(5, VRK_settings.dblStorageUsed);
        EXPECT_EQ(0, VRK_settings.nGradEval);
        EXPECT_EQ(std::tuple(host.calls.empty(), a.G.untouched(0), a.G[4]),
                  std::tuple(true, true, 11));
        if (member.copies) {
          EXPECT_EQ(std::tuple(a.gObj[0], a.gObj[1]), std::tuple(11, 13));
        } else {
          EXPECT_TRUE(a.gObj.untouched());
        }
      }
    VRK_settings.errorFlag = 0;
    VRK_settings.dblStorageCapacity = 5 + (member.needs.empty() ? 0 : member.needs.back());
    host.fill = [this](double*, double*, double*, double*) {
      if (host.calls.size() == 2) throw std::runtime_error("host");
    };
    Call a(columns);
    EXPECT_THROW((a.*member.run)(), std::runtime_error) << "enough storage";
    EXPECT_EQ(5, VRK_settings.dblStorageUsed);
    VRK_settings.nGradEval = 0;
    host.calls.clear();
  }
}

TEST_F(Gradients, NoCountOrCapacityLeadsPastAnArray) {
  Call a;
  VRK_set_print(1);
  EXPECT_EQ("Error:  Double precision b storage exceeded4000000006\n",
            captured([&] { DDSGRA(&n, a.x, by(2000000000), a.f, nullptr, by(-1), &n, a.G); }));
  SQPGRA(&n, &zero, a.x, a.f, nullptr, a.gObj, a.G);
  EXPECT_EQ(std::tuple(a.gObj.untouched(), a.G.untouched()), std::tuple(true, true))
      << "no functions: no list, no copy";
  VRK_settings.dblStorageCapacity = 2147483647;
  for (const int room : {2 * m, 2 * m + 1}) {
    VRK_settings.errorFlag = 0;
    VRK_settings.dblStorageUsed = VRK_DBL_STORAGE_LIMIT - room;
    captured([&] { DDSGRA(&n, a.x, &m, a.f, nullptr, by(-1), &n, a.G); });
    EXPECT_EQ(room == 2 * m ? -1 : 0, VRK_settings.errorFlag);
    EXPECT_EQ(VRK_DBL_STORAGE_LIMIT - room, VRK_settings.dblStorageUsed);
  }
}

}  // namespace
