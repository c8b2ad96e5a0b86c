// All of the layer that hosts do not compile themselves.
#include <tarnix/tarnix.hpp>

#include <tarnix/cpp/detail/problem.hpp>
