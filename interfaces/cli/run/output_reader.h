// Reads the named results of a run from the files that it left.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/issues.h"
#include "problem/problem.h"

namespace re2 {
class RE2;
}

namespace tarnix::cli {

class OutputReader {
 public:
  OutputReader(const std::vector<ResultEntry>& results, Issues& issues);
  ~OutputReader();

  // Values in the order of the results. Empty, with a reason, when one is missing, is no number or
  // is not finite, or a file is larger than the limit in bytes.
  std::vector<double> read(const std::filesystem::path& directory, std::uintmax_t limit,
                           std::string& reason) const;

 private:
  struct Rule {
    ResultEntry entry;
    std::unique_ptr<re2::RE2> pattern;  // null: a key
    std::optional<std::string_view> match(std::string_view line) const;
  };
  // What a rule has met so far.
  struct Found {
    bool behind = false;              // the line of 'after'
    long count = 0;                   // of matches
    std::optional<std::string> text;  // of the one that is picked
    std::optional<double> value;      // of those that are reduced to one
    bool spoiled = false;             // text is one that is no number, among them
    std::optional<std::size_t> cell;  // of a column that has a name
    char separator = ',';             // of its cells
    void takeCell(const ResultEntry& entry, std::string_view line);
    void take(const ResultEntry& entry, std::string_view match);
  };
  bool scan(const std::filesystem::path& directory, const std::string& file, std::uintmax_t limit,
            std::vector<Found>& found, std::string& reason) const;
  void scanJson(const std::filesystem::path& path, const std::string& file,
                std::vector<Found>& found, std::string& reason) const;
  double valueOf(const Rule& rule, const Found& found, std::string& reason) const;

  std::vector<Rule> rules;
};

}  // namespace tarnix::cli
