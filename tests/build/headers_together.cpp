// The headers of the core and of the C++ layer in one translation unit: their names do not meet.

#include <tarnix/tarnix.hpp>

#include "api/driver.h"
#include "eval/gradients.h"
#include "grg/search_storage.h"
#include "sqp/front_end.h"

static_assert(sizeof(tarnix::Problem) != 0 && sizeof(tarnix::core::Problem) != 0);
