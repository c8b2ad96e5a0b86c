#pragma once
// What the tests of the reduced gradient method's building blocks share.

#include <cmath>
#include <numeric>
#include <random>
#include <tuple>

#include "support/support.h"

namespace support {

using Values = std::vector<double>;
using Rows = std::vector<int32_t>;

// One cell short of what it claims, the call ends with message, errorFlag and the mark as before;
// with just these it is silent.
template <class Call>
void expectClaim(int cells, Call call) {
  const std::string message = "ERROR:  DOUBLE PRECISION STORAGE EXCEEDED      ";
  VRK_settings.printLevel = 1, VRK_settings.dblStorageUsed = 1234;
  for (const int missing : {1, 0}) {
    VRK_settings.errorFlag = 0, VRK_settings.dblStorageCapacity = 1234 + cells - missing;
    EXPECT_EQ(captured(call), missing ? message + std::to_string(1234 + cells) + "\n" : "");
    EXPECT_EQ(std::tuple(VRK_settings.errorFlag, VRK_settings.dblStorageUsed),
              std::tuple(-missing, 1234));
  }
}

}  // namespace support
