// A result of the layer as plain Python values, which the package gives their names and manners.
#pragma once

#include <pybind11/pybind11.h>

#include <tarnix/tarnix.hpp>

namespace tarnix::python {

pybind11::dict toDict(const Result& result);
pybind11::dict toDict(const Description& description);

/// What toDict has made of Result::warm.
WarmStart warmStartOf(const pybind11::dict& warm);

}  // namespace tarnix::python
