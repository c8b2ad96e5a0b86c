#pragma once
// The options and counters of the session in use. They are read where they are used: a callback or
// another thread may change them between two reads.

#include <atomic>

#include "state/session.h"

namespace tarnix::core {

inline constexpr struct {
  VRK_Settings* operator->() const { return inUse.settings; }
} settings;

// 32-bit logicals: any nonzero input is true, outputs are exactly these.
constexpr int32_t logicalFalse = 0;
constexpr int32_t logicalTrue = -1;
inline int32_t toLogical(bool value) {
  return value ? logicalTrue : logicalFalse;
}

inline bool tracing(int level) {
  return settings->printLevel >= level;
}

// The one value that another thread may write; only the value 1 ends a running solve.
inline bool stopRequested() {
  return std::atomic_ref<int32_t>(settings->stopRequest).load(std::memory_order_relaxed) == 1;
}
inline void requestStop(Session& session, int32_t value) {
  std::atomic_ref<int32_t>(session.settings->stopRequest).store(value, std::memory_order_relaxed);
}

// In the session in use.
void storeDefaults();

}  // namespace tarnix::core
