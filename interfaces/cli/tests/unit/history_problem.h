// The problem of the histories in the unit test and in the fuzz harness.
#pragma once

namespace tarnix::cli {

inline constexpr const char* historyProblem = R"(
[variables]
x = { start = 2, lower = 0, upper = 4 }
y = { start = 2, lower = 0, upper = 4 }
[objective]
minimize = "x"
[constraints]
c = { value = "y", max = 3 }
)";

}  // namespace tarnix::cli
