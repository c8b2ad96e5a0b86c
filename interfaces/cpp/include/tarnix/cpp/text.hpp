#pragma once
// Names of what a result speaks of.

#include <cstdint>
#include <string>

#include "options.hpp"
#include "result.hpp"

namespace tarnix {

const char* name(Method method);
const char* name(Reason reason);
const char* name(Differences differences);

/// What a status of SQP or GRG means, in words.
std::string meaning(Method method, std::int32_t status);
/// Why a method of that status ended.
Reason reasonOf(Method method, std::int32_t status);

}  // namespace tarnix
