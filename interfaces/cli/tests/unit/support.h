// A problem from a text, for tests: files live in a directory that goes with the test.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "problem/model.h"
#include "problem/problem.h"

namespace tarnix::cli {

class Scratch {
 public:
  Scratch() {
    std::string name = (std::filesystem::temp_directory_path() / "tarnix_cli_XXXXXX").string();
    place = mkdtemp(name.data());
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(place, ignored);
  }
  std::filesystem::path write(const std::string& name, const std::string& content) const {
    std::ofstream(place / name, std::ios::binary) << content;
    return place / name;
  }
  const std::filesystem::path& path() const { return place; }

 private:
  std::filesystem::path place;
};

inline ProblemFile problemOf(const Scratch& scratch, const std::string& text, Issues& issues) {
  return readProblem(scratch.write("p.toml", text), issues);
}

}  // namespace tarnix::cli
