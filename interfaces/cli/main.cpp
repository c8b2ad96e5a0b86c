#include <fcntl.h>
#include <unistd.h>

#include <iostream>

#include "base/issues.h"
#include "commands/command_line.h"
#include "run/process.h"

using namespace tarnix::cli;

namespace {

// A descriptor below 3 that is closed at the start would be taken by the next file to be opened.
void openStandardStreams() {
  int descriptor;
  do {
    descriptor = open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor < 3);
  if (descriptor >= 0) close(descriptor);
}

}  // namespace

int main(int argc, char** argv) {
  openStandardStreams();
  blockSignals();
  try {
    return runCommandLine(argc, argv);
  } catch (const Failure& failure) {
    std::cerr << "error: " << failure.what() << "\n";
    return failure.code;
  } catch (const Interrupted& interrupted) {
    return 128 + interrupted.signal;
  } catch (const std::exception& error) {
    std::cerr << "error: " << error.what() << "\n";
    return exitInternal;
  }
}
