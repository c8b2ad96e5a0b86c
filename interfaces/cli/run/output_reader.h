// Reads the named results of a run from the files that it left.
#pragma once

#include <regex>
#include <string>
#include <vector>

#include "problem/problem.h"

namespace tarnix::cli {

class OutputReader {
 public:
  OutputReader(const std::vector<ResultEntry>& results, Issues& issues);

  // Values in the order of the results. Empty, with a reason, when one is missing, is no number or
  // is not finite.
  std::vector<double> read(const std::filesystem::path& directory, std::string& reason) const;

 private:
  struct Rule {
    ResultEntry result;
    std::regex pattern;
  };
  std::vector<Rule> rules;
};

}  // namespace tarnix::cli
