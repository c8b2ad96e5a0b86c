/* tarnix: constrained optimization of small design problems. Entry points for host programs. */
#ifndef TARNIX_TARNIX_H
#define TARNIX_TARNIX_H

#include <stdint.h>

#if defined(__GNUC__) || defined(__clang__)
#define VRK_API __attribute__((visibility("default")))
#else
#define VRK_API
#endif

#define VRK_VERSION_MAJOR 0
#define VRK_VERSION_MINOR 1
#define VRK_VERSION_PATCH 0
#define VRK_VERSION_STRING "0.1.0"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  VRK_MAX_VARIABLES = 100
};

enum {
  VRK_SQP_CONVERGED = 1,
  VRK_SQP_ITERATION_LIMIT = 2,
  VRK_SQP_NO_QP_SOLUTION = 4,
  VRK_SQP_HESSIAN_NOT_POSITIVE_DEFINITE = 5,
  VRK_SQP_QP_FAILURE = 6,
  VRK_SQP_STORAGE = 7,
  VRK_SQP_STOPPED = 8,
  VRK_SQP_MERIT_NOT_CHANGING = 9
};

enum {
  VRK_GRG_CONVERGED = 1,
  VRK_GRG_MINIMUM_STEP = 2,
  VRK_GRG_OBJECTIVE_NOT_CHANGING = 3,
  VRK_GRG_NO_FEASIBLE_POINT = 4,
  VRK_GRG_INFEASIBILITY_NOT_CHANGING = 5,
  VRK_GRG_ITERATION_LIMIT = 6,
  VRK_GRG_NO_QP_SOLUTION = 8,
  VRK_GRG_QP_FAILURE = 10,
  VRK_GRG_STORAGE = 11,
  VRK_GRG_STOPPED = 12
};

enum {
  VRK_TOO_MANY_VARIABLES = 99
};

typedef void (*VRK_analysis)(void* user, double* x, double* objective, double* equalities,
                             double* inequalities);

VRK_API int32_t VRK_setDefaults(void);
VRK_API void VRK_set_stop(int32_t value);
VRK_API void VRK_set_print(int32_t level);
VRK_API void VRK_set_diffMeth(int32_t method);
VRK_API void VRK_set_diffPert(double pert);
VRK_API void VRK_set_convTol(double tol);
VRK_API int32_t VRK_get_nIter(void);
VRK_API int32_t VRK_get_nFunEval(void);

VRK_API int32_t VRK_sqp(int32_t maxIter, int32_t n, double* x, const double* lower,
                        const double* upper, int32_t m1, int32_t m2, VRK_analysis cb, void* user,
                        double* f);

#ifdef __cplusplus
}
#endif

#endif
