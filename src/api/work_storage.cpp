#include "api/work_storage.h"

namespace tarnix {

namespace {
// Untouched pages cost nothing: only what a capacity lets a solve use is ever backed by memory.
double doubleCells[VRK_DBL_STORAGE_LIMIT];
int32_t indexCells[VRK_INT_STORAGE_LIMIT];
}  // namespace

double* DoubleStorage::cells() { return doubleCells; }
int32_t* IndexStorage::cells() { return indexCells; }
int32_t& firstIndexCell() { return indexCells[0]; }

}  // namespace tarnix
