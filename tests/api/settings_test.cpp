// The settings block: defaults and setters.

#include <cstring>

#include "support/support.h"

namespace {

class Settings : public support::Library {};
using Values = std::vector<double>;

// Every member, in the order of the block.
Values values() {
  const VRK_Settings& s = VRK_settings;
  // clang-format off
  return {double(s.intStorageCapacity), double(s.dblStorageCapacity), double(s.intStorageUsed),
          double(s.dblStorageUsed), double(s.diffMethod), double(s.nGradEval),
          double(s.stopRequest), double(s.nNewton1), double(s.nNewton2), s.grgParam1,
          s.grgSearchParam1, s.grgSearchParam2, double(s.printLevel), s.maxStepNorm,
          double(s.errorFlag), double(s.nFunEval), double(s.nIter), s.zeroTol, s.bigValue,
          s.convTolGrg, s.convTol, s.diffPert};
  // clang-format on
}

TEST_F(Settings, DefaultsReplaceEverything) {
  std::memset(static_cast<void*>(&VRK_settings), 0x5a, sizeof VRK_settings);
  EXPECT_EQ(0, VRK_setDefaults());
  // clang-format off
  EXPECT_EQ(values(), (Values{5000, 40000, 0, 0, 1, 0, 0, 0, 0, 1.0, 0.02, 1e-4, 0, 1.0, 0, 0, 0,
                              1e-7, 1e30, 1e-3, 1e-3, 1e-4}));
  // clang-format on
}

TEST_F(Settings, SettersStoreWhatIsGivenAndNothingElse) {
  const struct {
    void (*set)();
    double given;
    std::vector<std::size_t> members;
  } cases[] = {{[] { VRK_set_stop(2); }, 2, {6}},
               {[] { VRK_set_print(-7); }, -7, {12}},
               {[] { VRK_set_diffMeth(12345); }, 12345, {4}},
               {[] { VRK_set_diffPert(-0.25); }, -0.25, {21}},
               {[] { VRK_set_convTol(0.0); }, 0.0, {19, 20}}};
  for (const auto& c : cases) {
    Values expected = values();
    c.set();
    for (const std::size_t member : c.members) expected[member] = c.given;
    EXPECT_EQ(expected, values());
  }
}

}  // namespace
