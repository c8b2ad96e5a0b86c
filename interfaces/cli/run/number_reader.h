// Numbers in the output of programs: what is not one for certain is rejected.
#pragma once

#include <string_view>

namespace tarnix::cli {

enum class NumberFault { none, notANumber, notFinite, decimalComma };

// The number at the beginning of a text. C and Fortran forms: 1.5, -.5e3, 1.5D+02, 1.2345-101.
// It may be followed by the end, ';', ')', '%', a comma before a blank or the end, or a blank and
// then anything that does not continue a number, such as a unit.
NumberFault readNumber(std::string_view text, double& value);

}  // namespace tarnix::cli
