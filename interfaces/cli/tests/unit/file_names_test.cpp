#include "problem/file_names.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "support.h"

namespace tarnix::cli {
namespace {

TEST(FileNames, WhatAPlaceOrAVariableMeans) {
  setenv("HOME", "/home/me", 1);
  setenv("TARNIX_CLI_PLACE", "/mnt/a b", 1);
  unsetenv("TARNIX_CLI_NONE");
  struct Case {
    const char *text, *name, *reason;
  };
  const Case cases[] = {
      {"a/b", "a/b", ""},
      {"/a", "/a", ""},
      {"{{dir}}/a", "./a", ""},
      {"{{  dir }}/a", "./a", ""},
      {"{{dir}}", ".", ""},
      {"{{dir}}x", "", "only {{dir}} is filled in"},  // no folder of its own
      {"a/{{dir}}", "", "only {{dir}} is filled in"},
      {"{{directory}}/a", "", "only {{dir}} is filled in"},
      {"{{x}}/a", "", "only {{dir}} is filled in"},
      {"~/a", "/home/me/a", ""},
      {"~", "/home/me", ""},
      {"~other/a", "~other/a", ""},
      {"a~/b", "a~/b", ""},
      {"$TARNIX_CLI_PLACE/c", "/mnt/a b/c", ""},
      {"${TARNIX_CLI_PLACE}c", "/mnt/a bc", ""},
      {"$TARNIX_CLI_PLACEc", "", "holds no $TARNIX_CLI_PLACEc"},
      {"$TARNIX_CLI_NONE/c", "", "holds no $TARNIX_CLI_NONE"},
      {"${TARNIX_CLI_PLACE", "", "holds no ${TARNIX_CLI_PLACE"},
      {"$", "", "holds no $"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    const FileName found = fileName(c.text);
    EXPECT_EQ(found.reason.empty(), *c.reason == '\0') << found.reason;
    EXPECT_NE(found.reason.find(c.reason), std::string::npos) << found.reason;
    if (*c.reason == '\0') {
      EXPECT_EQ(found.name, c.name);
    }
  }
}

TEST(FileNames, WhatAShellWouldReplace) {
  setenv("TARNIX_CLI_PLACE", "/mnt", 1);
  unsetenv("TARNIX_CLI_NONE");
  const std::pair<const char*, const char*> cases[] = {
      {"~/a", "~"},
      {"a~/b", ""},
      {"--in=$TARNIX_CLI_PLACE/a", "$TARNIX_CLI_PLACE"},
      {"$1 $TARNIX_CLI_NONE ${TARNIX_CLI_PLACE}", "${TARNIX_CLI_PLACE}"},
      {"$1 $ {$", ""},
      {"${TARNIX_CLI_PLACE", ""},
  };
  for (const auto& [word, part] : cases) EXPECT_EQ(shellPart(word), part) << word;
}

TEST(FileNames, PatternsMeanNothingInTheirFolder) {
  const Scratch scratch;
  const auto folder = scratch.path() / "a*[b]\\";
  std::filesystem::create_directories(folder / "mesh");
  std::filesystem::create_directories(scratch.path() / "ab");
  for (const char* name : {"b.inp", "a.inp", "c.dat"}) std::ofstream(folder / "mesh" / name) << 1;
  std::vector<std::string> found;
  for (const auto& path : matching(folder, "./mesh/*.inp"))
    found.push_back(path.filename().string());
  EXPECT_EQ(found, (std::vector<std::string>{"a.inp", "b.inp"}));
  EXPECT_EQ(matching(folder, (folder.parent_path() / "a?").string()).size(), 1u);
  EXPECT_TRUE(matching(folder, "mesh/*.none").empty());
}

}  // namespace
}  // namespace tarnix::cli
