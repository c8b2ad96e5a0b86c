#include "problem/text_template.h"

#include <gtest/gtest.h>

namespace tarnix::cli {
namespace {

struct Filling {
  const char *text, *filled;
};

TEST(TextTemplate, FillsPlacesAndLeavesTheRest) {
  const Filling cases[] = {
      {"", ""},
      {"no place } { }}", "no place } { }}"},
      {"{{x}}{{y}}", "0.1-2"},
      {"a {{x:%8.3f}}|{{y:%.3e}}|", "a    0.100|-2.000e+00|"},
      {"line 1\n{{dir}}/in {{run}}\n", "line 1\n/tmp/in 000007\n"},
      {"{{y:%+g}} {{x:%-6g}}.", "-2 0.1   ."},
      {"{{ x }} {{ y : %.1f }}", "0.1 -2.0"},
      {"{{{{x}} {{x}}", "{{x}} 0.1"},
  };
  for (const Filling& c : cases) {
    SCOPED_TRACE(c.text);
    std::string faults;
    const TextTemplate text(c.text, {"x", "y"}, {"dir", "run"},
                            [&](int, const std::string& fault) { faults += fault; });
    EXPECT_EQ(faults, "");
    const double numbers[] = {0.1, -2};
    const std::string texts[] = {"/tmp", "000007"};
    EXPECT_EQ(text.filled(numbers, texts), c.filled);
  }
}

struct Fault {
  const char* text;
  int line;
  const char* message;
};

TEST(TextTemplate, NamesEveryFaultWithItsLine) {
  const Fault cases[] = {
      {"\n\n{{width", 3, "'{{' without '}}'"},
      {"{{wdth}}", 1, "unknown name 'wdth' in {{ }}; did you mean 'width'?"},
      {"\n{{width:%d}}", 2, "format '%d' of 'width'"},
      {"{{width:8.3f}}", 1, "format '8.3f' of 'width'"},
      {"{{width:.%f}}", 1, "format '.%f' of 'width'"},
      {"{{width:%.f}}", 1, "format '%.f' of 'width'"},
      {"{{width:%s}}", 1, "format '%s' of 'width'"},
      {"{{width:%n}}", 1, "format '%n' of 'width'"},
      {"{{width:%5.2f%5.2f}}", 1, "format '%5.2f%5.2f' of 'width'"},
      {"{{width:%1000f}}", 1, "format '%1000f' of 'width'"},
  };
  for (const Fault& c : cases) {
    SCOPED_TRACE(c.text);
    std::string faults;
    int where = 0;
    const TextTemplate text(c.text, {"width"}, {"dir"}, [&](int line, const std::string& fault) {
      where = line;
      faults += fault;
    });
    EXPECT_EQ(where, c.line);
    EXPECT_NE(faults.find(c.message), std::string::npos) << faults;
  }
}

struct ShellFilling {
  const char *text, *filled;
};

TEST(TextTemplate, ShellTextsHoldAnyDirectoryAsOneWord) {
  const ShellFilling cases[] = {
      {"sh {{dir}}/run", "sh 'd; touch X # it'\\''s $HOME'/run"},
      {"sh \"{{dir}}/run\"", "sh \"d; touch X # it's \\$HOME/run\""},
      {"sh '{{dir}}/run'", "sh 'd; touch X # it'\\''s $HOME/run'"},
      {"# isn't\nsh {{dir}}", "# isn't\nsh 'd; touch X # it'\\''s $HOME'"},
      {"echo \\' {{x}}", "echo \\' 1"},
  };
  for (const ShellFilling& c : cases) {
    SCOPED_TRACE(c.text);
    const TextTemplate text(
        c.text, {"x"}, {"dir"}, [](int, const std::string&) {}, TextTemplate::Kind::shell);
    const double numbers[] = {1};
    const std::string texts[] = {"d; touch X # it's $HOME"};
    EXPECT_EQ(text.filled(numbers, texts), c.filled);
  }
}

TEST(TextTemplate, KnowsWhetherItHoldsANumber) {
  const auto uses = [](const char* text) {
    return TextTemplate(text, {"x"}, {"dir"}, [](int, const std::string&) {}).usesNumbers();
  };
  EXPECT_TRUE(uses("a {{x}}"));
  EXPECT_FALSE(uses("a {{dir}} x"));
}

}  // namespace
}  // namespace tarnix::cli
