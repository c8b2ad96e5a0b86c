#include "trace/claim.h"

namespace tarnix::core::trace {

namespace {

template <class Frame>
bool reserveOrReport(Frame& frame, int64_t cells, std::string_view refusal) {
  if (frame.reserve(cells)) return true;
  if (settings->printLevel > 0) message(Line(refusal).integer(frame.needed(), 10));
  settings->errorFlag = logicalTrue;
  return false;
}

}  // namespace

bool claim(WorkFrame& frame, int64_t cells) {
  return reserveOrReport(frame, cells, "ERROR:  DOUBLE PRECISION STORAGE EXCEEDED");
}

bool claim(IndexFrame& frame, int64_t cells) {
  return reserveOrReport(frame, cells, "ERROR:  INTEGER STORAGE EXCEEDED");
}

}  // namespace tarnix::core::trace
