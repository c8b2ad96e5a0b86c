// What the subcommands do beside solving.
#pragma once

#include <filesystem>
#include <string>

#include "solve.h"

namespace tarnix::cli {

// Writes a commented problem file to begin with; refuses to overwrite one.
void writeStarter(const std::filesystem::path& file, bool withCommand);

// What a problem would run, in words. With run also the values at the start.
std::string describe(Setup& setup, const Places& places, bool run);

// One self-contained page about the history of a solve.
std::string reportPage(const Setup& setup, const Places& places);

}  // namespace tarnix::cli
