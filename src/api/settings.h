#pragma once
// The library-wide options and counters. They are read where they are used: a callback or another
// thread may change them between two reads.

#include <tarnix/routines.h>

#include <atomic>

namespace tarnix {

inline constexpr VRK_Settings& settings = VRK_settings;

// 32-bit logicals: any nonzero input is true, outputs are exactly these.
constexpr int32_t logicalFalse = 0;
constexpr int32_t logicalTrue = -1;
inline int32_t toLogical(bool value) { return value ? logicalTrue : logicalFalse; }

inline bool tracing(int level) { return settings.printLevel >= level; }

// Another thread may ask a running solve to end; only the value 1 does.
inline bool stopRequested() {
  return std::atomic_ref<int32_t>(settings.stopRequest).load(std::memory_order_relaxed) == 1;
}

void storeDefaults();

}  // namespace tarnix
