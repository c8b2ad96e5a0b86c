#include <tarnix/routines.h>

#include <algorithm>

#include "eval/gradients.h"

using namespace tarnix::core;

namespace {

// k is read in mode 3 only.
Objective negation(const int32_t* mode, const int32_t* k) {
  return *mode == negatedEquality ? Objective{*k, *mode} : Objective{};
}

// The highest function that a routine without their number touches.
int touched(Objective objective) {
  return objective.mode == negatedEquality ? objective.index : 0;
}

// G with as many columns as the selection writes.
MatrixView gradientMatrix(double* G, int ld, int n, ColumnSelection columns) {
  return {G, ld, n, columns.columns()};
}

}  // namespace

extern "C" {

void GRGFUN(const int32_t* mode, const int32_t* k, const int32_t* n, double* x, double* f) {
  const Objective objective = negation(mode, k);
  evaluate({x, *n}, {f, touched(objective)}, objective);
}

void SQPFUN(const int32_t* n, double* x, double* f) {
  evaluate({x, *n}, {f, 0});
}

void GRGGRA(const int32_t* mode, const int32_t* m1, const int32_t* list1, const int32_t* m2,
            const int32_t* list2, const int32_t* k, const int32_t* n, double* x, const int32_t* m,
            double* f, int32_t* map, double* G, double* gObj, double* gScale) {
  const int columns = countOf(m1) + countOf(m2) + 1;
  listedGradients({{x, *n}, {f, *m}, {*k, *mode}}, {list1, *m1}, {list2, *m2}, {map, *m},
                  {G, *n, *n, columns}, {gObj, *n}, *gScale);
}

void GDSGRA(const int32_t* mode, const int32_t* k, const int32_t* n, double* x, const int32_t* m,
            double* f, const int32_t* map, double* G) {
  const auto columns = ColumnSelection::map({map, *m});
  (void)gradientsInTwoBlocks({{x, *n}, {f, *m}, negation(mode, k)}, columns,
                             gradientMatrix(G, *n, *n, columns));
}

void GDBGRA(const int32_t* mode, const int32_t* k, const int32_t* n, double* x, const int32_t* m,
            double* f, const int32_t* map, double* G, double* fSave, double* fWork) {
  const auto columns = ColumnSelection::map({map, *m});
  differenceGradients({{x, *n}, {f, *m}, negation(mode, k)}, columns,
                      gradientMatrix(G, *n, *n, columns), {{fSave, *m}, {fWork, *m}});
}

void SQPGRA(const int32_t* n, const int32_t* m, double* x, double* f, const int32_t* list,
            double* gObj, double* G) {
  const auto columns = ColumnSelection::list({list, *m});
  // Kept: the copy also follows a refused claim, on whatever G holds.
  (void)gradientsInOneBlock({{x, *n}, {f, *m}}, columns, gradientMatrix(G, *n, *n, columns));
  if (*m > 0) std::ranges::copy(MatrixView{G, *n, *n, *m}.column(*m), gObj);
}

void DDSGRA(const int32_t* n, double* x, const int32_t* m, double* f, const void*,
            const int32_t* list, const int32_t* ld, double* G) {
  const auto columns = ColumnSelection::list({list, *m});
  (void)gradientsInOneBlock({{x, *n}, {f, *m}}, columns, gradientMatrix(G, *ld, *n, columns));
}

void DDBGRA(const int32_t* n, double* x, const int32_t* m, double* f, const void*,
            const int32_t* list, const int32_t* ld, double* G, double* fSave, double* fWork) {
  ++settings->nGradEval;
  const auto columns = ColumnSelection::list({list, *m});
  differenceGradients({{x, *n}, {f, *m}}, columns, gradientMatrix(G, *ld, *n, columns),
                      {{fSave, *m}, {fWork, *m}});
}

}  // extern "C"
