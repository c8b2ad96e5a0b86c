#include <fcntl.h>
#include <unistd.h>

#include <exception>
#include <iostream>
#include <new>
#include <string>

#include "base/issues.h"
#include "base/text.h"
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

// A library that allocates where nothing may fail ends here: with the message, and no trace of what
// was begun, for the guard of the runs ends them.
[[noreturn]] void endAtOnce() {
  const char* text = "error: internal\n";
  try {
    if (const auto cause = std::current_exception()) std::rethrow_exception(cause);
  } catch (const std::bad_alloc&) {
    text = "error: out of memory\n";
  } catch (...) {
  }
  writeAll(STDERR_FILENO, text);
  _exit(exitInternal);
}

int run(int argc, char** argv) {
  try {
    return runCommandLine(argc, argv);
  } catch (const Failure& failure) {
    const std::string text = failure.what();  // a list of issues says what each line is
    const bool list = text.starts_with("error: ") || text.starts_with("warning: ");
    std::cerr << (list ? "" : "error: ") << text << "\n";
    return failure.code;
  } catch (const Interrupted& interrupted) {
    return 128 + interrupted.signal;
  } catch (const std::bad_alloc&) {
    std::cerr << "error: out of memory\n";
    return exitInternal;
  } catch (const std::exception& error) {
    std::cerr << "error: " << error.what() << "\n";
    return exitInternal;
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::set_terminate(endAtOnce);
  openStandardStreams();
  blockSignals();
  // File names, units and messages of simulators reach a terminal through these.
  PrintableBuffer output(STDOUT_FILENO), errors(STDERR_FILENO);
  std::streambuf *const plainOutput = std::cout.rdbuf(&output), *const plainErrors =
                                                                    std::cerr.rdbuf(&errors);
  int status = run(argc, argv);
  std::cout.flush();
  if (output.failed()) {
    std::cerr << "error: standard output cannot be written\n";
    status = exitFiles;
  }
  std::cerr.flush();
  std::cout.rdbuf(plainOutput);
  std::cerr.rdbuf(plainErrors);
  return status;
}
