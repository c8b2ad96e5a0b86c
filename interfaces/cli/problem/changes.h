// Changes of a problem file by the command line: NAME=VALUE or NAME.KEY=VALUE. The name is that of
// a variable (its start, or the value of a fixed one), quantity, constraint, result or table.
#pragma once

#include <toml++/toml.h>
#include <string>

#include "problem/problem.h"

namespace tarnix::cli {

// Makes the change as if the file said so.
void apply(const std::string& change, toml::table& content, Issues& issues);

// The text of a file with the changes written into it; the rest stays as it is, comments too.
std::string textWith(const Overrides& changes, std::string text, Issues& issues);

}  // namespace tarnix::cli
