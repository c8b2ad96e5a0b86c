#include <tarnix/routines.h>

#include "state/settings.h"
#include "eval/evaluation.h"
#include "eval/gradients.h"

using namespace tarnix::core;

namespace {

// k is read in mode 3 only.
Negation negation(const int32_t* mode, const int32_t* k) {
  return *mode == 3 ? Negation{*mode, *k} : Negation{};
}

}  // namespace

extern "C" {

void GRGFUN(const int32_t* mode, const int32_t* k, const int32_t* n, double* x, double* f) {
  evaluate(*n, x, f, negation(mode, k));
}

void SQPFUN(const int32_t* n, double* x, double* f) { evaluate(*n, x, f); }

void GRGGRA(const int32_t* mode, const int32_t* m1, const int32_t* list1, const int32_t* m2,
            const int32_t* list2, const int32_t* k, const int32_t* n, double* x, const int32_t* m,
            double* f, int32_t* map, double* G, double* gObj, double* gScale) {
  listedGradients({*n, x, *m, f, {*mode, *k}}, {list1, *m1}, {list2, *m2}, map, G, gObj, *gScale);
}

void GDSGRA(const int32_t* mode, const int32_t* k, const int32_t* n, double* x, const int32_t* m,
            double* f, const int32_t* map, double* G) {
  (void)gradientsInTwoBlocks({*n, x, *m, f, negation(mode, k)}, ColumnSelection::map(map), G);
}

void GDBGRA(const int32_t* mode, const int32_t* k, const int32_t* n, double* x, const int32_t* m,
            double* f, const int32_t* map, double* G, double* fSave, double* fWork) {
  differenceGradients({*n, x, *m, f, negation(mode, k)}, ColumnSelection::map(map), *n, G,
                      {fSave, fWork});
}

void SQPGRA(const int32_t* n, const int32_t* m, double* x, double* f, const int32_t* list,
            double* gObj, double* G) {
  // Kept: the copy also follows a refused claim, on whatever G holds.
  (void)gradientsInOneBlock({*n, x, *m, f, {}}, ColumnSelection::list(list, *m), *n, G);
  if (*m > 0) copyGradient(G, *n, *m, gObj);
}

void DDSGRA(const int32_t* n, double* x, const int32_t* m, double* f, const void*,
            const int32_t* list, const int32_t* ld, double* G) {
  (void)gradientsInOneBlock({*n, x, *m, f, {}}, ColumnSelection::list(list, *m), *ld, G);
}

void DDBGRA(const int32_t* n, double* x, const int32_t* m, double* f, const void*,
            const int32_t* list, const int32_t* ld, double* G, double* fSave, double* fWork) {
  ++settings->nGradEval;
  differenceGradients({*n, x, *m, f, {}}, ColumnSelection::list(list, *m), *ld, G, {fSave, fWork});
}

}  // extern "C"
