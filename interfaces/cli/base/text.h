// Texts of files and of foreign programs.
#pragma once

#include <filesystem>
#include <string>

namespace tarnix::cli {

// A text of a foreign program, fit for a message: what is neither plain nor whole UTF-8 becomes
// '?'.
std::string printable(std::string text);

// Whole content of a file; false when it cannot be read.
bool readFile(const std::filesystem::path& path, std::string& content);

}  // namespace tarnix::cli
