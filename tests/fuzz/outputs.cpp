// Any output of a simulator: a value that is finite, or a reason that can be printed.

#include <cmath>

#include "base/text.h"
#include "input.h"
#include "run/output_reader.h"
#include "scratch.h"

using namespace tarnix::cli;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
  Issues issues("p.toml");
  static const OutputReader byKey({{"r", "", "f", "", 1}}, issues);
  static const OutputReader byRegex({{"r", "", "", R"(mass\s*[=:]?\s*(\S+))", 1}}, issues);
  fuzz::write("stdout.txt", std::string(reinterpret_cast<const char*>(bytes), length));
  for (const OutputReader* reader : {&byKey, &byRegex}) {
    std::string reason;
    const auto values = reader->read(fuzz::scratch(), 1 << 20, reason);
    if (reason.empty()) {
      fuzz::require(values.size() == 1 && std::isfinite(values[0]), "a value is finite");
    } else {
      fuzz::require(printable(reason) == reason, "a reason can be printed");
    }
  }
  return 0;
}
