// Any text as a template: filled in, or complained about; without a place it stays what it is.

#include "problem/text_template.h"

#include <algorithm>

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
  const std::string text(reinterpret_cast<const char*>(bytes), length);
  int complaints = 0;
  const int lines = 1 + static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  const tarnix::cli::TextTemplate read(
      text, {"x", "y"}, {"dir"}, [&](int line, const std::string&) {
        fuzz::require(1 <= line && line <= lines, "a complaint names a line of the text");
        ++complaints;
      });
  if (complaints) return 0;
  const double numbers[] = {1.25, -1e300};
  const std::string texts[] = {"/tmp"};
  const std::string filled = read.filled(numbers, texts);
  if (text.find("{{") == std::string::npos) fuzz::require(filled == text, "the text stays");
  return 0;
}
