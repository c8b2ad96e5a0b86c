// Variables that take values of a list only: values = [3, 4, 5], or the multiples of a step.
#pragma once

#include "problem/section.h"

namespace tarnix::cli {

// The list of the key 'values', rising; the bounds of the variable become its ends, until others
// are read. Empty where there is no such key.
std::vector<double> readValues(Section& section, VariableEntry& variable);

// With the bounds known: the values that lie inside them, of the list or of the key 'step'. The
// bounds shrink to the first and the last, and the start stays between.
void finishCatalogue(Section& section, VariableEntry& variable, std::vector<double> values);

}  // namespace tarnix::cli
