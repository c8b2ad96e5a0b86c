#include "trace/claim.h"

namespace tarnix::core::trace {

namespace {

bool report(std::string_view refusal, int64_t needed) {
  if (settings->printLevel > 0) message(Line(refusal).integer(needed, 10));
  settings->errorFlag = logicalTrue;
  return false;
}

}  // namespace

bool refused(const WorkFrame& frame) {
  return report("ERROR:  DOUBLE PRECISION STORAGE EXCEEDED", frame.needed());
}

bool refused(const IndexFrame& frame) {
  return report("ERROR:  INTEGER STORAGE EXCEEDED", frame.needed());
}

}  // namespace tarnix::core::trace
