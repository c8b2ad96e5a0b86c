#include "run/output_reader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

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
  const auto values = reader.read(scratch.path(), 1000000, reason);
  return reason.empty() ? values.at(0) : std::nan("");
}

struct Number {
  const char* text;
  double value;
};

TEST(OutputReader, Numbers) {
  const Number cases[] = {
      {"3.25", 3.25},
      {"-2", -2},
      {"+.5", 0.5},
      {"7.", 7},
      {"1e3 kg", 1000},
      {"1.5D+02", 150},
      {"1.2345-101", 1.2345e-101},
      {"1.2345+101", 1.2345e101},
      {"1e-400", 0},
      {"  7\t", 7},
      {"12;", 12},
      {"3, then", 3},
      {"3,", 3},
      {"4) and", 4},
      {"12.5%", 12.5},
      {"5 (10 iterations)", 5},
      {"2.2250738585072011e-308", 2.2250738585072011e-308},
  };
  for (const Number& c : cases) {
    SCOPED_TRACE(c.text);
    std::string reason;
    EXPECT_EQ(valueIn("f = " + std::string(c.text) + "\n", {"r", "", "f", "", 1}, reason), c.value)
        << reason;
  }
}

struct Refusal {
  const char *text, *message;
};

TEST(OutputReader, WhatIsNoNumberIsRefused) {
  const char *const notANumber = "is not a number", *const notFinite = "is not finite";
  const Refusal cases[] = {
      {"", notANumber},         {"x", notANumber},        {"1.5x", notANumber},
      {"--1", notANumber},      {"1.2.3", notANumber},    {"0x10", notANumber},
      {"1'234.5", notANumber},  {"1_000", notANumber},    {"1 234.5", notANumber},
      {"2.5/3", notANumber},    {"2.5*2", notANumber},    {"1e", notANumber},
      {"1e+", notANumber},      {".", notANumber},        {"1.5-", notANumber},
      {"*******", notANumber},  {"1,5", "decimal comma"}, {"1,234.5", "decimal comma"},
      {"1.#IND", notFinite},    {"1.#INF", notFinite},    {"-1.#QNAN", notFinite},
      {"NaN", notFinite},       {"-inf", notFinite},      {"Infinity", notFinite},
      {"1e400", notFinite},     {"-nan(ind)", notFinite},
  };
  for (const Refusal& c : cases) {
    SCOPED_TRACE(c.text);
    std::string reason;
    EXPECT_TRUE(std::isnan(valueIn("f = " + std::string(c.text) + "\n", {"r", "", "f", "", 1}, reason)));
    EXPECT_NE(reason.find(c.message), std::string::npos) << reason;
  }
}

// Nothing that a run leaves in the place of its output stops the program.
TEST(OutputReader, HostileOutputs) {
  const Scratch scratch;
  Issues issues("p.toml");
  std::string reason;
  // An expression that takes a backtracking matcher longer than the age of the world.
  EXPECT_TRUE(std::isnan(valueIn(std::string(100000, 'x') + "\n", {"r", "", "", "((x+x+)+)y", 1},
                                 reason)));
  const OutputReader reader({{"r", "pipe", "f", "", 1}}, issues);
  ASSERT_EQ(mkfifo((scratch.path() / "pipe").c_str(), 0666), 0);
  reason.clear();
  EXPECT_TRUE(reader.read(scratch.path(), 1000, reason).empty());
  EXPECT_NE(reason.find("no regular file"), std::string::npos) << reason;
  const OutputReader device({{"r", "zero", "f", "", 1}}, issues);
  std::filesystem::create_symlink("/dev/zero", scratch.path() / "zero");
  reason.clear();
  EXPECT_TRUE(device.read(scratch.path(), 1000, reason).empty());
  const OutputReader output({{"r", "", "f", "", 1}}, issues);
  scratch.write("stdout.txt", std::string(1001, '\n'));
  reason.clear();
  EXPECT_TRUE(output.read(scratch.path(), 1000, reason).empty());
  EXPECT_NE(reason.find("output_limit"), std::string::npos) << reason;
  // Far more than is held in memory at a time, and the last match behind it.
  scratch.write("stdout.txt", "f = 1\n" + std::string(5000000, '#') + "\nf = 2\n");
  reason.clear();
  EXPECT_EQ(output.read(scratch.path(), 10000000, reason), (std::vector<double>{2}));
}

TEST(OutputReader, LastMatchCountsWithinALine) {
  const std::string output = "mass 1 kg\nf: 4\nmass 2 kg mass 3 kg\n  f=5\nff = 6\nf 7\n";
  std::string reason;
  EXPECT_EQ(valueIn(output, {"r", "", "f", "", 1}, reason), 5);
  EXPECT_EQ(valueIn(output, {"r", "", "", R"(mass +(\S+))", 1}, reason), 2);
}

}  // namespace
}  // namespace tarnix::cli
