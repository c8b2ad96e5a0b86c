#pragma once
// Trace text on standard output. The routines print whatever they are given: the caller tests the
// level first, so that level 0 formats nothing.

#include <string_view>

#include "base/views.h"
#include "trace/line.h"

namespace tarnix::core::trace {

void vector(std::string_view title, ConstVector v);
void list(std::string_view title, ConstIndex v);
void matrix(std::string_view title, ConstMatrix a);
// One line, broken after every 80 characters; an empty text is an empty line.
void message(std::string_view text);
inline void message(const Line& line) {
  message(line.view());
}

}  // namespace tarnix::core::trace
