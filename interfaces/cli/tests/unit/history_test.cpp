#include "run/history.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>

#include "base/text.h"
#include "history_problem.h"
#include "output/outcome.h"
#include "support.h"

namespace tarnix::cli {
namespace {

class HistoryTest : public testing::Test {
 protected:
  Scratch scratch;
  Issues issues{"p.toml"};
  const ProblemFile problem = problemOf(scratch, historyProblem, issues);
  const std::filesystem::path path = scratch.path() / "p.history.jsonl";

  std::string content() const {
    std::string all;
    readFile(path, all);
    return all;
  }
  void write(const std::vector<Record>& records) const {
    History history(path);
    history.create(problem);
    for (const Record& record : records) history.append(record);
  }
};

bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::isnan(a[i]) && std::isnan(b[i])) continue;
    if (a[i] != b[i] || std::signbit(a[i]) != std::signbit(b[i])) return false;
  }
  return true;
}

TEST_F(HistoryTest, EveryNumberComesBackToTheBit) {
  const double infinity = std::numeric_limits<double>::infinity();
  const std::vector<std::vector<double>> pairs{{0.1, 1.0 / 3},
                                               {-0.0, 0.0},
                                               {5e-324, 1.7976931348623157e308},
                                               {1e22, 123456789012345678.0},
                                               {infinity, -infinity},
                                               {std::numeric_limits<double>::quiet_NaN(), 2}};
  std::vector<Record> records;
  for (const auto& pair : pairs) records.push_back({0, pair, {}, pair, {}, 0});
  write(records);
  History history(path);
  history.read(problem);
  ASSERT_EQ(history.records().size(), pairs.size());
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    EXPECT_TRUE(sameBits(history.records()[i].x, pairs[i])) << i;
    EXPECT_TRUE(sameBits(history.records()[i].values, pairs[i])) << i;
  }
}

TEST_F(HistoryTest, TornEndIsCutAndOnlyThat) {
  write({{0, {1, 2}, {}, {3, 4}, {}, 0}, {0, {5, 6}, {}, {7, 8}, {}, 0}});
  const std::string whole = content();
  const std::size_t last = whole.rfind('\n', whole.size() - 2) + 1;
  for (std::size_t length = last; length < whole.size(); length += 5) {
    scratch.write("p.history.jsonl", whole.substr(0, length));
    History history(path);
    history.resume(problem);
    EXPECT_EQ(history.records().size(), 1u) << length;
    EXPECT_EQ(content(), whole.substr(0, last)) << length;
  }
}

struct Damage {
  const char *name, *line;
};

TEST_F(HistoryTest, WhatDoesNotFitTheProblemIsRefused) {
  const std::string deep = "{\"x\":" + std::string(100000, '[') + std::string(100000, ']');
  const Damage cases[] = {
      {"too many variables", R"({"x":[1,2,3],"f":[1,2])"},
      {"too many values", R"({"x":[1,2],"f":[1,2,3,4,5,6,7,8,9,10,11,12])"},
      {"results without a command", R"({"x":[1,2],"r":[1],"f":[1,2])"},
      {"a failure without a command", R"({"x":[1,2],"failed":"why")"},
      {"no number", R"({"x":[1,"two"],"f":[1,2])"},
      {"nested", deep.c_str()},
      {"an end that is none", R"({"end":7)"},
      {"an iteration beyond all numbers", R"({"iteration":1e99)"},
      {"an end of wrong types", R"({"end":{"variables":7})"},
  };
  for (const Damage& c : cases) {
    SCOPED_TRACE(c.name);
    write({});
    char check[32];
    std::snprintf(check, sizeof check, ",\"c\":\"%08x\"}\n", checkOf(c.line));
    scratch.write("p.history.jsonl", content() + c.line + check);
    History history(path);
    EXPECT_THROW(history.resume(problem), Failure);
  }
}

TEST_F(HistoryTest, EveryChangedByteIsNoticed) {
  write({{0, {1, 2}, {}, {3, 4}, {}, 0}});
  const std::string whole = content();
  for (std::size_t i = whole.find('\n') + 1; i + 1 < whole.size(); ++i) {
    std::string changed = whole;
    changed[i] = changed[i] == '1' ? '2' : '1';
    scratch.write("p.history.jsonl", changed);
    History history(path);
    EXPECT_THROW(history.resume(problem), Failure) << i;
    EXPECT_EQ(content(), changed);
  }
}

TEST_F(HistoryTest, ForeignFilesStayAsTheyAre) {
  scratch.write("p.history.jsonl", "a diary\n");
  EXPECT_THROW(History(path).create(problem), Failure);
  EXPECT_EQ(content(), "a diary\n");
  std::filesystem::remove(path);
  const auto target = scratch.write("target", "{\"tarnix_history\":2}\n");
  std::filesystem::create_symlink(target, path);
  EXPECT_THROW(History(path).create(problem), Failure);
  EXPECT_THROW(History(path).resume(problem), Failure);
  EXPECT_EQ(content(), "{\"tarnix_history\":2}\n");
}

// Runs as they begin, negative as they end, 0 for another start of the program.
TEST_F(HistoryTest, RunsSideBySide) {
  const std::string command = R"(
[command]
run = ["echo", "{{x}}"]
[results]
a = { key = "a" }
b = { key = "b" }
)";
  const ProblemFile external = problemOf(scratch, historyProblem + command, issues);
  struct Case {
    const char* name;
    std::vector<long> course;
    std::vector<std::vector<double>> results;  // of run 1, 2, ...; none: it fails
    std::vector<long> pairs;                   // alike, last
  };
  const Case cases[] = {
      {"one after the other", {1, -1, 2, -2}, {{1, 1}, {1, 1}}, {}},
      {"the last", {1, 2, -1, 3, -3, -2}, {{1, 1}, {2, 2}, {3, 3}}, {2, 3}},
      {"some alike", {1, 2, -1, -2, 3, 4, -3, -4}, {{1, 5}, {2, 5}, {3, 6}, {4, 7}}, {3, 4}},
      {"all alike", {1, 2, 3, -3, -2, -1}, {{1, 5}, {2, 5}, {1, 5}}, {1, 3, 2, 3}},
      {"a failure is none", {1, 2, 3, -3, -2, -1}, {{1, 1}, {}, {3, 3}}, {1, 3}},
      {"no end", {1, 2, -2}, {{1, 1}, {1, 1}}, {}},
      {"after a kill", {1, 2, -2, 0, 3, -3}, {{1, 1}, {2, 2}, {2, 2}}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::filesystem::remove(path);
    const auto expect = [&](const std::vector<Record>& found) {
      std::vector<long> pairs;
      for (const Record& record : found) pairs.push_back(record.run);
      EXPECT_EQ(pairs, c.pairs);
    };
    {
      History history(path);
      history.create(external);
      for (const long event : c.course) {
        if (event == 0) history.noteBeginning({});
        if (event > 0) history.noteStart(event);
        if (event >= 0) continue;
        const auto& r = c.results[static_cast<std::size_t>(-event - 1)];
        const double x = -static_cast<double>(event);
        history.append({-event, {x, 1}, r, {x, 1}, r.empty() ? "failed" : "", 0});
      }
      expect(history.sideBySide());
    }
    History again(path);
    again.read(external);
    expect(again.sideBySide());
  }
}

TEST_F(HistoryTest, OneWriterAtATime) {
  write({});
  History first(path);
  first.resume(problem);
  EXPECT_TRUE(History::inUse(path));
  History second(path);
  EXPECT_THROW(second.resume(problem), Failure);
}

TEST_F(HistoryTest, OutcomeComesBack) {
  BestDesign design{{1, 4}, {3, std::nan("")}, 0.5};
  Outcome outcome = outcomeAt(problem, design, "for a test");
  outcome.iterations = 7;
  outcome.stages.push_back({"SQP", "forward", 1, "converged", 7, 20});
  outcome.verification = {false, true, "differs", "p.best"};
  outcome.constraints[0].perPercent = -0.5;
  {
    History history(path);
    history.create(problem);
    history.appendEnd(outcome);
  }
  History history(path);
  history.read(problem);
  ASSERT_NE(history.end(), nullptr);
  EXPECT_EQ(table(*history.end()), table(outcome));
  EXPECT_EQ(history.end()->variables[1].at, "upper");
  EXPECT_EQ(history.end()->verification->directory, "p.best");
  EXPECT_EQ(history.end()->stages[0].evaluations, 20);
}

}  // namespace
}  // namespace tarnix::cli
