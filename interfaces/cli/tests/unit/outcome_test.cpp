#include "output/outcome.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support.h"

namespace tarnix::cli {
namespace {

const char* const beam = R"([variables]
w = { start = 2, lower = 0, upper = 4, unit = "mm" }
h = { start = 4, lower = 0, upper = 4 }
l = { value = 7 }
[objective]
maximize = "w"
unit = "kg"
[constraints]
least = { value = "w", min = 100, scale = 100 }
most = { value = "w", max = 100, scale = 100 }
both = { value = "w", min = 100, max = 200, scale = 100 }
same = { value = "w", equal = 100, scale = 100 }
[options]
tolerance = 1e-3
)";

// A limit is active from a tolerance outside it to ten of them inside.
TEST(Outcome, WhatTheValuesSay) {
  const Scratch scratch;
  Issues issues("");
  const ProblemFile problem = problemOf(scratch, beam, issues);
  EXPECT_EQ(outcomeAt(problem, {}, "none").objective, std::nullopt);
  struct Case {
    double least, most, both, same, violation;
    bool active[3];
  };
  const Case cases[] = {
      {101.01, 98.99, 101.01, 100, 0, {false, false, false}},
      {100.99, 99.01, 199.01, 100.05, 0, {true, true, true}},
      {99.91, 100.09, 99.91, 99.95, 0.0009, {true, true, true}},
      {99.89, 100.11, 200.11, 101, 0.0011, {false, false, false}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.least);
    const BestDesign design{{4, 0, 7}, {3, c.least, c.most, c.both, c.same}, c.violation};
    const Outcome o = outcomeAt(problem, design, "stopped");
    EXPECT_EQ(o.feasible, c.violation < 1e-3);
    EXPECT_EQ(o.objective->value, 3);
    EXPECT_EQ(o.objective->sense, "maximize");
    const char* const sides[] = {"upper", "lower", "fixed"};
    for (int i = 0; i < 3; ++i) EXPECT_EQ(o.variables[i].at, sides[i]);
    for (int j = 0; j < 3; ++j) {
      EXPECT_EQ(o.constraints[j].active, c.active[j]) << o.constraints[j].name;
      EXPECT_NEAR(o.constraints[j].violation, c.violation, 1e-12) << o.constraints[j].name;
    }
    EXPECT_TRUE(o.constraints[3].active);
    // Noise has made the tolerance larger, never smaller.
    EXPECT_TRUE(outcomeAt(problem, design, "stopped", 0.01).feasible);
    EXPECT_EQ(outcomeAt(problem, design, "stopped", 1e-9).tolerance, 1e-3);
  }
}

Outcome fullOutcome() {
  Outcome o;
  o.problem = "Beam", o.reason = "iteration limit", o.feasible = true;
  o.method = "GRG", o.meaning = "as far as it went", o.iterations = 1;
  o.advice = "Resume with a higher limit.";
  o.evaluations = 20, o.runs = 1, o.replayed = 3, o.failed = 2, o.lastFailure = "status 7";
  o.seconds = 1.26, o.noise = 1.26e-6, o.differenceStep = 0.00126, o.tolerance = 1e-3;
  o.objective = {"cost", "minimize", 26.4995123, "kg"}, o.violation = 0.25;
  o.variables = {{"width", 2, "mm", 2, 14, "lower", 0.1, 0.126},
                 {"l", 250, "", 250, 250, "fixed", {}, {}},
                 {"t", 3, "", 0, 4, "", {}, 0.0}};
  o.constraints = {{"stress", 500, "MPa", {}, 500, 0, true, 0.1, -0.126},
                   {"load", 75, "", 100, {}, 0.25, false, {}, {}},
                   {"sag", 1, "", 0, 2, 0.0009, false, {}, {}}};
  o.stages = {{"sqp", "forward", 3, "stalled", 4, 17}, {"grg", "central", 2, "limit", 1, 3}};
  o.verification = Verification{false, true, "the result differs by 1e-9", "beam.runs/check"};
  o.minima = MinimaOutcome{{}, 20, 3, 0.126};
  for (int k = 1; k <= 13; ++k) o.minima->found.push_back({10.0 * k, 14 - k, k, {1.0 * k, 2, 3}});
  o.catalogue = CatalogueOutcome{false, 20.5, 21.5, 9};
  return o;
}

TEST(Outcome, TheWholeTable) {
  std::string rest;
  for (int k = 1; k <= 12; ++k) {
    char line[80];
    std::snprintf(line, sizeof line, "  %4d  %5d  %11d  %5d  2  3\n", 10 * k, 14 - k, k, k);
    rest += line;
  }
  const std::string expected =
      "Beam: not solved to the end, but the design satisfies every limit (iteration limit)\n"
      "  GRG: as far as it went; 1 iteration\n"
      "  20 evaluations, for them 1 run of the command, 3 from the history, 1.3 s\n"
      "  2 runs failed; the last: status 7\n"
      "  Noise of the values 1e-06 of their size; difference step 0.001 half ranges\n"
      "  Run once more, alone: the result differs by 1e-9\n"
      "  Resume with a higher limit.\n"
      "\n"
      "  cost    26.4995  kg   minimized\n"
      "\n"
      "  width         2  mm   in 2 .. 14, at its lower bound, 1 % more: cost +0.13\n"
      "  l           250       fixed\n"
      "  t             3       in 0 .. 4\n"
      "\n"
      "  stress      500  MPa  <= 500, active, 1 % more: cost -0.13\n"
      "  load         75       >= 100, VIOLATED by 0.25 of its scale\n"
      "  sag           1       0 .. 2\n"
      "\n"
      "  1 % more: change of cost when a limit is raised by 1 % of its size, a bound by 1 % of its "
      "range;\n"
      "  from the multipliers of one pass of differences at this design\n"
      "\n"
      "  13 minima from 20 starts, 3 of them without success; expected to be unseen still: 0.13\n"
      "  cost  times  first start  width  l  t\n" +
      rest +
      "  and 1 more\n"
      "\n"
      "  Catalogue: the best found; none can be better than cost 21.5\n"
      "  9 solves; without the catalogue cost 20.5\n";
  const Outcome o = fullOutcome();
  EXPECT_EQ(table(o), expected);
  // What the history keeps of it says the same.
  EXPECT_EQ(table(outcomeFrom(Json::parse(toJson(o).dump()))), expected);
  EXPECT_EQ(toJson(outcomeFrom(toJson(o))), toJson(o));
}

TEST(Outcome, WhatATableOmits) {
  struct Case {
    const char* name;
    void (*change)(Outcome&);
    std::vector<const char*> shown, omitted;
  };
  const Case cases[] = {
      {"no design",
       [](Outcome& o) { o.objective.reset(), o.feasible = false, o.runs = 2, o.replayed = {}; },
       {"Beam: NOT SOLVED (iteration limit)\n", "  No design has been evaluated.\n"},
       {"width", "minima", "Catalogue"}},
      {"none that counts",
       [](Outcome& o) { o.objective.reset(), o.feasible = false; },
       {"  No design that was measured has finite values inside bounds and catalogues.\n"},
       {"width", "minima", "Catalogue"}},
      {"solved, verified to the last bit",
       [](Outcome& o) { o.success = o.verification->same = true; },
       {"Beam: solved (iteration limit)\n", "the same to the last bit; see beam.runs/check\n"},
       {"Resume"}},
      {"verified in a directory that is gone",
       [](Outcome& o) { o.verification->same = true, o.verification->directory = ""; },
       {"the same to the last bit\n"},
       {"; see"}},
      {"no prices, but for zero",
       [](Outcome& o) {
         o.variables[0].perPercent = 0, o.constraints[0].perPercent.reset();
         o.evaluations = 1, o.replayed = 0, o.failed = 0;
       },
       {"  1 evaluation, for them 1 run of the command, 1.3 s\n"},
       {"1 % more", "failed"}},
      {"one minimum, too few starts; a proof",
       [](Outcome& o) {
         o.minima->found.resize(1), o.minima->unsuccessful = 0, o.minima->unseen.reset();
         o.catalogue->proved = true;
       },
       {"  1 minimum from 20 starts; too few to say", "Catalogue: no other combination is better"},
       {"without success", "more\n", "none can be better"}},
      {"more variables than fit",
       [](Outcome& o) { o.variables.resize(9, o.variables[2]); },
       {"  cost  times  first start\n"},
       {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Outcome o = fullOutcome();
    c.change(o);
    const std::string text = table(o);
    for (const char* shown : c.shown) EXPECT_NE(text.find(shown), text.npos) << shown << text;
    for (const char* gone : c.omitted) EXPECT_EQ(text.find(gone), text.npos) << gone << text;
  }
}

}  // namespace
}  // namespace tarnix::cli
