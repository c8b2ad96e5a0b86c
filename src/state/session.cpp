#include "state/session.h"

// All zero until the defaults are stored, so that a solve before that fails for lack of storage.
VRK_Settings VRK_settings;

namespace tarnix::core {

namespace {

// Untouched pages cost nothing: only what a capacity lets a solve use is ever backed by memory.
double doubleCells[VRK_DBL_STORAGE_LIMIT];
int32_t indexCells[VRK_INT_STORAGE_LIMIT];

// Never destroyed: a solve may run while the process ends.
union ProcessWide {
  constexpr ProcessWide() : session(&VRK_settings, doubleCells, indexCells) {}
  ~ProcessWide() {}
  Session session;
};
constinit ProcessWide processWide;

}  // namespace

constinit thread_local SessionInUse inUse = {&processWide.session, &VRK_settings};

Session& processWideSession() {
  return processWide.session;
}

void useSession(Session& session) {
  inUse = {&session, session.settings};
}

}  // namespace tarnix::core
