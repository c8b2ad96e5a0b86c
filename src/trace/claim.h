#pragma once
// A claim on the work storage that reports its refusal.

#include "state/work_storage.h"
#include "trace/trace.h"

namespace tarnix::core::trace {

// True when the cells are claimed. Otherwise errorFlag is set, and the total printed (level 1 and
// more).
[[nodiscard]] bool claim(WorkFrame& frame, int64_t cells);
[[nodiscard]] bool claim(IndexFrame& frame, int64_t cells);

}  // namespace tarnix::core::trace
