#pragma once
// A claim on the work storage that reports its failure.

#include "state/work_storage.h"
#include "trace/trace.h"

namespace tarnix::core::trace {

// False, with errorFlag set and the total printed (level 1 and more).
bool refused(const WorkFrame& frame);
bool refused(const IndexFrame& frame);

// True when the cells are claimed.
template <class Frame>
[[nodiscard]] inline bool claim(Frame& frame, int64_t cells) {
  return frame.reserve(cells) || refused(frame);
}

}  // namespace tarnix::core::trace
