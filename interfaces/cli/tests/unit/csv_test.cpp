#include "output/csv.h"

#include <gtest/gtest.h>

#include "support.h"

namespace tarnix::cli {
namespace {

using Designs = std::vector<std::vector<double>>;

struct DesignFile {
  const char *name, *content;
  Designs designs;  // none: fails
  const char* message = "";
};

TEST(Csv, DesignsOfAnySpreadsheet) {
  const DesignFile cases[] = {
      {"both variables", "a,b\n1,2\n3,-4e-1\n", {{1, 2}, {3, -0.4}}},
      {"the last line may have no end", "a,b\n1,2\n3,4", {{1, 2}, {3, 4}}},
      {"one may stay at its start", "b\n2\n", {{0.5, 2}}},
      {"columns of other names, in another order", "b,note,a\n2,x,1\n", {{1, 2}}},
      {"semicolons, a mark of the encoding, ends of two characters, an empty line",
       "\xef\xbb\xbf\"a\";b\r\n\r\n 1 ;\t2\r\n",
       {{1, 2}}},
      {"quotes with commas, quotes and line ends", "note,a\n\"x, \"\"y\"\"\nz\",1\n", {{1, 0.25}}},
      {"a quote at the very end", "a,\"b\"\n1,\"2\"", {{1, 2}}},
      {"nothing", "", {}, "p.csv: no designs: a first line"},
      {"no design", "a,b\n", {}, "p.csv: no designs: a first line"},
      {"no variable", "c\n1\n", {}, "p.csv:1: no column has the name of a variable"},
      {"a cell too few", "a,b\n1,2\n3\n", {}, "p.csv:3: 1 cells under 2 heads"},
      {"the line after one that is two",
       "note,a\n\"x\ny\",1\nz,?\n",
       {},
       "p.csv:4: variable 'a': '?' is not a number"},
      {"a number with a unit", "a\n1 mm\n", {}, "p.csv:2: variable 'a': '1 mm' is not a number"},
      {"not finite", "a\ninf\n", {}, "p.csv:2: variable 'a': 'inf' is not a number"},
  };
  const Scratch scratch;
  Issues issues("");
  const ProblemFile problem = problemOf(scratch, R"([variables]
a = { start = 0.5, lower = 0, upper = 4 }
b = { start = 0.25, lower = 0, upper = 4 }
[objective]
minimize = "a + b"
)",
                                        issues);
  for (const DesignFile& c : cases) {
    SCOPED_TRACE(c.name);
    const auto file = scratch.write("p.csv", c.content);
    try {
      EXPECT_EQ(readDesigns(file, problem), c.designs);
      EXPECT_STREQ(c.message, "");
    } catch (const Failure& failure) {
      EXPECT_NE(std::string(failure.what()).find(c.message), std::string::npos) << failure.what();
      EXPECT_STRNE(c.message, "");
    }
  }
}

}  // namespace
}  // namespace tarnix::cli
