// A result of the layer as plain Python values, which the package gives their names and manners.
#pragma once

#include <pybind11/pybind11.h>

#include <tarnix/tarnix.hpp>

namespace tarnix::python {

pybind11::dict toDict(const Result& result);
pybind11::dict toDict(const Description& description);

}  // namespace tarnix::python
