#include "run/output_reader.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support.h"

namespace tarnix::cli {
namespace {

// The value of one result read from an output; NaN when it is refused.
double valueIn(const std::string& output, const ResultEntry& entry, std::string& reason) {
  const Scratch scratch;
  scratch.write("stdout.txt", output);
  Issues issues("p.toml");
  const OutputReader reader({entry}, issues);
  EXPECT_EQ(issues.text(), "");
  const auto values = reader.read(scratch.path(), reason);
  return reason.empty() ? values.at(0) : std::nan("");
}

struct Number {
  const char* text;
  double value;
};

TEST(OutputReader, Numbers) {
  const Number cases[] = {
      {"3.25", 3.25},     {"-2", -2},         {"+.5", 0.5},      {"1e3 kg", 1000},
      {"1.5D+02", 150},   {"  7\t", 7},       {"12;", 12},
  };
  for (const Number& c : cases) {
    SCOPED_TRACE(c.text);
    std::string reason;
    EXPECT_EQ(valueIn("f = " + std::string(c.text) + "\n", {"r", "", "f", "", 1}, reason), c.value)
        << reason;
  }
}

TEST(OutputReader, NoNumbers) {
  for (const char* text : {"", "x", "1.5x", "--1", "1,5", "1.2.3", "0x10"}) {
    SCOPED_TRACE(text);
    std::string reason;
    EXPECT_TRUE(std::isnan(valueIn("f = " + std::string(text) + "\n", {"r", "", "f", "", 1}, reason)));
    EXPECT_NE(reason.find("not a number"), std::string::npos) << reason;
  }
}

TEST(OutputReader, LastMatchCountsWithinALine) {
  const std::string output = "mass 1 kg\nf: 4\nmass 2 kg mass 3 kg\n  f=5\nff = 6\nf 7\n";
  std::string reason;
  EXPECT_EQ(valueIn(output, {"r", "", "f", "", 1}, reason), 5);
  EXPECT_EQ(valueIn(output, {"r", "", "", R"(mass +(\S+))", 1}, reason), 2);
}

}  // namespace
}  // namespace tarnix::cli
