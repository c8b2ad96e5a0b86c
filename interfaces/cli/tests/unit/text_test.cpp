#include "base/text.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <ostream>

namespace tarnix::cli {
namespace {

struct Case {
  const char *text, *printed;
};

TEST(Printable, NothingReachesATerminalButText) {
  const Case cases[] = {
      {"mm\u00b2 \u4e2d \U0001f600", "mm\u00b2 \u4e2d \U0001f600"},
      {"\x1b[2Jred", "?[2Jred"},
      {"\u009b2J", "?2J"},              // C1
      {"a\u202etxt.exe", "a?txt.exe"},  // turns the direction
      {"\u2066x\u200fy\ufeff", "?x?y?"},
      {"\xff\xc0\xaf", "???"},  // never UTF-8
      {"\xe2\x82", "??"},       // cut short
      {"\xed\xa0\x80", "?"},    // half of a pair
      {"a\rb\x7f\b", "a?b??"},
  };
  for (const Case& c : cases) EXPECT_EQ(printable(c.text), c.printed);
  EXPECT_EQ(printable("a\n\tb\x07", true), "a\n\tb?");
}

TEST(PrintableBuffer, CharactersStayWholeBetweenWrites) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  {
    PrintableBuffer buffer(ends[1]);
    std::ostream stream(&buffer);
    for (const char* part : {"\xe4", "\xb8", "\xad", "\x1b", "[1m"}) stream << part;
    stream.flush();
    EXPECT_FALSE(buffer.failed());
  }
  close(ends[1]);
  char read[64];
  const ssize_t count = ::read(ends[0], read, sizeof read);
  EXPECT_EQ(std::string(read, static_cast<std::size_t>(count)), "\u4e2d?[1m");
  close(ends[0]);
}

}  // namespace
}  // namespace tarnix::cli
