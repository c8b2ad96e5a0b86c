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
const char* name(Relation relation);
const char* name(ActiveLimit::Kind kind);

template <class Enum, class = decltype(name(Enum{}))>
std::string to_string(Enum value) {
  return name(value);
}

/// What a status of SQP or GRG means, in words.
std::string meaning(Method method, std::int32_t status);
inline std::string to_string(Method method, std::int32_t status) {
  return meaning(method, status);
}
/// Why a method of that status ended.
Reason reasonOf(Method method, std::int32_t status);

}  // namespace tarnix
