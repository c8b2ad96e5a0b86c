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
      {"", notANumber},        {"x", notANumber},        {"1.5x", notANumber},
      {"--1", notANumber},     {"1.2.3", notANumber},    {"0x10", notANumber},
      {"1'234.5", notANumber}, {"1_000", notANumber},    {"1 234.5", notANumber},
      {"2.5/3", notANumber},   {"2.5*2", notANumber},    {"1e", notANumber},
      {"1e+", notANumber},     {".", notANumber},        {"1.5-", notANumber},
      {"*******", notANumber}, {"1,5", "decimal comma"}, {"1,234.5", "decimal comma"},
      {"1.#IND", notFinite},   {"1.#INF", notFinite},    {"-1.#QNAN", notFinite},
      {"NaN", notFinite},      {"-inf", notFinite},      {"Infinity", notFinite},
      {"1e400", notFinite},    {"-nan(ind)", notFinite}, {"1+2", notANumber},
      {"1.5-1", notANumber},   {"15-101", notANumber},   {"1.5-1010", notANumber},
  };
  for (const Refusal& c : cases) {
    SCOPED_TRACE(c.text);
    std::string reason;
    EXPECT_TRUE(
        std::isnan(valueIn("f = " + std::string(c.text) + "\n", {"r", "", "f", "", 1}, reason)));
    EXPECT_NE(reason.find(c.message), std::string::npos) << reason;
  }
}

// Nothing that a run leaves in the place of its output stops the program.
TEST(OutputReader, HostileOutputs) {
  const Scratch scratch;
  Issues issues("p.toml");
  std::string reason;
  // An expression that takes a backtracking matcher longer than the age of the world.
  EXPECT_TRUE(
      std::isnan(valueIn(std::string(100000, 'x') + "\n", {"r", "", "", "((x+x+)+)y", 1}, reason)));
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

ResultEntry entryOf(const char* rule) {
  const Scratch scratch;
  Issues issues("p.toml");
  const ProblemFile problem = problemOf(scratch, std::string(R"(
[variables]
x = { start = 1, lower = 0, upper = 2 }
[objective]
minimize = "r"
[command]
run = ["true", "{{x}}"]
[results]
r = { )") + rule + " }\n",
                                        issues);
  EXPECT_EQ(issues.text(), "");
  return problem.results.at(0);
}

struct Picked {
  const char *rule, *output;
  double value;
};

TEST(OutputReader, PicksOneOfSeveral) {
  const char* const steps = "f = 3\nf = 1\nf = 2\n";
  const char* const table = "stress 9\nELEMENT STRESS\nno  sxx   syy\n1   1.5  -2\n2   2.5  -4\n\n";
  const char* const cells =
      "node, \"name, of part\", syy [MPa]\r\n1, \"a, b\", -2\r\n2, c, \"-4\"\r\n3, d,\r\n";
  const char* const json = R"({"a": {"b": 7.5, "list": [3, 1, 2]}, "text": "7"})";
  const Picked cases[] = {
      {"key = 'f'", steps, 2},
      {"key = 'f', pick = 'first'", steps, 3},
      {"key = 'f', pick = 'max'", steps, 3},
      {"key = 'f', pick = 'min'", steps, 1},
      {"key = 'f', pick = 'sum'", steps, 6},
      {"key = 'f', pick = 2", steps, 1},
      {"column = 3, after = 'ELEMENT'", table, -4},
      {"column = 2, after = 'ELEMENT', pick = 'first'", table, 1.5},
      {"column = 2, pick = 'first'", table, 9},
      {"column = 'syy [MPa]'", cells, -4},
      {"column = 'syy [MPa]', pick = 'max'", cells, -2},
      {"column = 'node', pick = 'sum'", cells, 6},
      {"column = 'b'", "a;b\n1;2.5\n", 2.5},
      {"column = 'b'", "no heading, yet\na\tb\n1\t 3 \n", 3},
      {"column = 'b', after = 'second'", "a,b\n1,2\nsecond\nb,a\n5,6\n", 5},
      {"json = '/a/b'", json, 7.5},
      {"json = '/a/list', pick = 'sum'", json, 6},
      {"json = '/a/list/1'", json, 1},
  };
  for (const Picked& c : cases) {
    SCOPED_TRACE(c.rule);
    std::string reason;
    EXPECT_EQ(valueIn(c.output, entryOf(c.rule), reason), c.value) << reason;
  }
  const std::pair<const char*, const char*> missing[] = {
      {"key = 'f', pick = 4", "only 3 matches"},
      {"key = 'f', after = 'END'", "no line holds 'END'"},
      {"column = 9", "no number in column 9"},
      {"column = 2", "no number in column 2"},
      {"column = 'sxx'", "no column is called 'sxx'"},
      {"column = 'f = 2'", "no cell below 'f = 2'"},
      {"json = '/a'", "is no JSON"}};
  for (const auto& [rule, message] : missing) {
    std::string reason;
    EXPECT_TRUE(std::isnan(valueIn(steps, entryOf(rule), reason)));
    EXPECT_NE(reason.find(message), std::string::npos) << reason;
  }
  std::string reason;
  EXPECT_TRUE(
      std::isnan(valueIn("f = 1\nf = 1,5\nf = 2\n", entryOf("key = 'f', pick = 'sum'"), reason)));
  EXPECT_NE(reason.find("'1,5'"), std::string::npos) << reason;
  // Nor does a field that overflowed, or a number of another form, leave the one above it.
  for (const char* word : {"*****", "1'234.5", "-1_0", ".5x", "1.2.3"}) {
    reason.clear();
    const std::string output = "node stress\n1 2.5\n2 " + std::string(word) + "\n";
    EXPECT_TRUE(std::isnan(valueIn(output, entryOf("column = 2"), reason))) << word;
  }
  reason.clear();  // a cell that is no number is no reason to take the one above it
  EXPECT_TRUE(std::isnan(valueIn("a,b\n1,2\n1,failed\n", entryOf("column = 'b'"), reason)));
}

}  // namespace
}  // namespace tarnix::cli
