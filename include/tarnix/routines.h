/* tarnix: the settings block and the exported algorithm routines. */
#ifndef TARNIX_ROUTINES_H
#define TARNIX_ROUTINES_H

#include <stddef.h>
#include <stdint.h>

#include "tarnix.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  VRK_DBL_STORAGE_LIMIT = 2000000,
  VRK_INT_STORAGE_LIMIT = 100000
};

typedef struct VRK_Settings {
  int32_t intStorageCapacity;
  int32_t dblStorageCapacity;
  int32_t intStorageUsed;
  int32_t dblStorageUsed;
  int32_t diffMethod;
  int32_t nGradEval;
  int32_t stopRequest;
  int32_t nNewton1;
  int32_t nNewton2;
  double grgParam1;
  double grgSearchParam1;
  double grgSearchParam2;
  int32_t printLevel;
  double maxStepNorm;
  int32_t errorFlag;
  int32_t nFunEval;
  int32_t nIter;
  double zeroTol;
  double bigValue;
  double convTolGrg;
  double convTol;
  double diffPert;
} VRK_Settings;

extern VRK_API VRK_Settings VRK_settings;

VRK_API void ANAFUN(double* x, double* F);

VRK_API void PRTVD(const int32_t* n, const double* v, const char* title, size_t titleLength);
VRK_API void PRTVI(const int32_t* n, const int32_t* iv, const char* title, size_t titleLength);
VRK_API void PRTMD(const int32_t* ld, const int32_t* nrows, const int32_t* ncols, const double* A,
                   const char* title, size_t titleLength);
VRK_API void PRTMES(const char* text, const int32_t* count);

VRK_API void GRGFUN(const int32_t* mode, const int32_t* k, const int32_t* n, double* x, double* f);
VRK_API void SQPFUN(const int32_t* n, double* x, double* f);

VRK_API void GRGGRA(const int32_t* mode, const int32_t* m1, const int32_t* list1,
                    const int32_t* m2, const int32_t* list2, const int32_t* k, const int32_t* n,
                    double* x, const int32_t* m, double* f, int32_t* map, double* G, double* gObj,
                    double* gScale);
VRK_API void GDSGRA(const int32_t* mode, const int32_t* k, const int32_t* n, double* x,
                    const int32_t* m, double* f, const int32_t* map, double* G);
VRK_API void GDBGRA(const int32_t* mode, const int32_t* k, const int32_t* n, double* x,
                    const int32_t* m, double* f, const int32_t* map, double* G, double* fSave,
                    double* fWork);
VRK_API void SQPGRA(const int32_t* n, const int32_t* m, double* x, double* f, const int32_t* list,
                    double* gObj, double* G);
VRK_API void DDSGRA(const int32_t* n, double* x, const int32_t* m, double* f, const void* reserved,
                    const int32_t* list, const int32_t* ld, double* G);
VRK_API void DDBGRA(const int32_t* n, double* x, const int32_t* m, double* f, const void* reserved,
                    const int32_t* list, const int32_t* ld, double* G, double* fSave,
                    double* fWork);

VRK_API void QLAG(const int32_t* n, const int32_t* m1, const int32_t* map1, const int32_t* m2,
                  const int32_t* map2, const int32_t* colidx, const int32_t* act,
                  const int32_t* nact, double* mult, const double* g, const double* J, double* gl,
                  int32_t* ierr);
VRK_API void QHESS(const int32_t* n, const double* s, const double* y, double* H, int32_t* updated,
                   double* w1, double* w2, double* w3);
VRK_API void GRSHES(const int32_t* n, const double* s, const double* y, double* H,
                    int32_t* updated);
VRK_API void SQPHIN(const int32_t* n, const double* g, double* H);
VRK_API void GRGHIN(const int32_t* n, const double* d, double* H);
VRK_API void GRGBUP(const int32_t* ld, const int32_t* m, double* B, const double* a,
                    const double* b, double* u, double* w);
VRK_API void GRSBUP(const int32_t* ld, const int32_t* m, double* B, const double* a,
                    const double* b);

VRK_API void QPSOLV(const int32_t* n, const int32_t* m, const int32_t* m1, const double* A,
                    const int32_t* lda, const double* b, const double* H, const int32_t* ldh,
                    const double* g, const int32_t* codes, const double* dl, const double* du,
                    double* d, double* XLAG, int32_t* IACT, int32_t* nact, int32_t* noSolution,
                    int32_t* notPosDef, int32_t* failure);
VRK_API void QPSINI(const int32_t* n, const double* H, const int32_t* ldh, const double* g,
                    double* P, double* d, int32_t* notPosDef);
VRK_API void QPSCON(const int32_t* n, const int32_t* m, const int32_t* m1, const double* A,
                    const int32_t* lda, const double* b, const int32_t* codes, const int32_t* nb,
                    const double* dl, const double* du, const double* d, double* res);
VRK_API void QPSVIO(const int32_t* m, const int32_t* m1, const int32_t* nb, const double* res,
                    const int32_t* nact, const int32_t* IACT, int32_t* p);
VRK_API void QPSDIR(const int32_t* p, const int32_t* n, const int32_t* m, const int32_t* m1,
                    const int32_t* nb, const double* A, const int32_t* lda, const int32_t* codes,
                    const double* P, double* W, const int32_t* nact, const int32_t* IACT,
                    double* T, double* r, double* z);
VRK_API void QPSLEN(const int32_t* n, const int32_t* nact, const double* XLAG, const double* r,
                    const double* q, const double* curvature, const double* s, double* t,
                    int32_t* kind, int32_t* k);
VRK_API void QPSSTP(const int32_t* n, const double* t, const double* z, double* d,
                    const int32_t* nact, const double* r, double* XLAG, double* up);
VRK_API void QPSDOA(int32_t* nact, const int32_t* n, const int32_t* m, const int32_t* m1,
                    const int32_t* nb, const int32_t* codes, const double* A, const int32_t* lda,
                    double* W, double* T, int32_t* IACT, double* XLAG, const int32_t* p,
                    const double* up, const int32_t* k, int32_t* failure);

VRK_API void QPSTRI(double* P, const int32_t* n, const int32_t* k0, int32_t* fail);
VRK_API void QPSSOL(const double* P, double* x, const int32_t* n);
VRK_API void QPSGRA(const int32_t* r, const int32_t* i, double* val, const int32_t* n,
                    const int32_t* meq, const int32_t* off, const int32_t* nb, const double* A,
                    const int32_t* lda, const int32_t* btype);

VRK_API void SQPALG(const int32_t* maxIter, const int32_t* n, double* x, const int32_t* nfun,
                    double* F, const int32_t* iobj, const int32_t* mi, const int32_t* ineqList,
                    const int32_t* me, const int32_t* eqList, int32_t* count, double* lambda,
                    double* mu, double* XLAG, double* gradients, double* rhs, double* B,
                    double* gObj, double* d, double* xSaved, double* dLower, double* dUpper,
                    double* lagrangianOld, double* lagrangianNew, double* dvdel, double* gradel,
                    double* w1, double* w2, double* w3, double* spare1, double* spare2,
                    int32_t* IACT, int32_t* columnMap, int32_t* codes, const double* xLower,
                    const double* xUpper, int32_t* status);
VRK_API void SQPPR2(const double* a1, const double* a2, const double* f1, const double* f2,
                    const double* g1, double* astar);
VRK_API void SQSALG(const int32_t* maxIter, const int32_t* n, double* x, const double* xLower,
                    const double* xUpper, const int32_t* nfun, double* F, const int32_t* iobj,
                    const int32_t* m1, const int32_t* list1, const int32_t* m2,
                    const int32_t* list2, int32_t* status);

#ifdef __cplusplus
}
#endif

#endif
