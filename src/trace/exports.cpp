#include <tarnix/routines.h>

#include <algorithm>

#include "trace/trace.h"

using namespace tarnix::core;

extern "C" {

void PRTVD(const int32_t* n, const double* v, const char* title, size_t titleLength) {
  trace::vector({title, titleLength}, {v, *n});
}

void PRTVI(const int32_t* n, const int32_t* iv, const char* title, size_t titleLength) {
  trace::list({title, titleLength}, {iv, *n});
}

void PRTMD(const int32_t* ld, const int32_t* nrows, const int32_t* ncols, const double* A,
           const char* title, size_t titleLength) {
  trace::matrix({title, titleLength}, {A, *ld, *nrows, *ncols});
}

void PRTMES(const char* text, const int32_t* count) {
  trace::message({text, static_cast<size_t>(std::max(*count, 0))});
}

}  // extern "C"
