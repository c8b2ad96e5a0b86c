// What commands print, where a table of small problems says more than a run of the program.
#include "commands/commands.h"

#include <gtest/gtest.h>

#include "support.h"

namespace tarnix::cli {
namespace {

std::string checked(const Scratch& scratch, const std::string& problem) {
  ProblemArguments arguments;
  arguments.file = scratch.write("p.toml", problem);
  testing::internal::CaptureStdout();
  EXPECT_EQ(commandCheck(arguments, false, 1, false), 0);
  return testing::internal::GetCapturedStdout();
}

struct Preview {
  const char* name;
  std::string text, shown;
};

TEST(Check, ShowsTheLinesWithValues) {
  std::string many, first20;
  for (int i = 1; i <= 22; ++i) {
    many += "{{x}}\n";
    if (i <= 20) first20 += (i < 10 ? "       " : "      ") + std::to_string(i) + " | 1.5\n";
  }
  const Preview cases[] = {
      {"neither the first nor the last", "title\nx {{x}} {{x}}\n\nend {{x}}\nrest\n",
       "       2 | x 1.5 1.5\n       4 | end 1.5\n"},
      {"more than are shown", many, first20 + "         | and 2 lines more\n"},
  };
  for (const Preview& c : cases) {
    SCOPED_TRACE(c.name);
    const Scratch scratch;
    scratch.write("in.template", c.text);
    const std::string shown = checked(scratch, R"([variables]
x = { start = 1.5, lower = 0, upper = 4 }
[command]
run = "true"
templates = [{ from = "in.template", to = "in.txt" }]
[results]
f = { key = "f" }
[objective]
minimize = "f"
)");
    EXPECT_NE(shown.find("in.txt, in which the values are at\n" + c.shown + "  and reads\n"),
              std::string::npos)
        << shown;
  }
}

}  // namespace
}  // namespace tarnix::cli
