// The command line: reads it and calls the command it names.
#pragma once

namespace tarnix::cli {

int runCommandLine(int argc, char** argv);

}  // namespace tarnix::cli
