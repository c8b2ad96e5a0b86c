// The tables of a TOML file, read key by key.
#pragma once

#include <toml++/toml.h>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/issues.h"
#include "problem/problem.h"

namespace tarnix::cli {

int lineOf(const toml::node& node);

// One table of the file. Every key is asked for by name; what nobody asked for is reported by
// finish as unknown. Whatever is wrong with a value is added to the issues, and the value is
// absent.
class Section {
 public:
  Section(const toml::table& content, std::string ownName, int ownLine, Issues& list)
      : table(content), name(std::move(ownName)), firstLine(ownLine), issues(list) {}

  bool has(const std::string& key) const { return table.contains(key); }
  // Whether an unknown key looks like this one, which is then reported as such and not as missing.
  bool misspells(const std::string& key) const;
  int line() const { return firstLine; }
  int line(const std::string& key) const;
  void issue(const std::string& text) const { issues.add(firstLine, name + ": " + text); }
  void issue(const std::string& key, const std::string& text) const {
    issues.add(line(key), name + ": " + text);
  }

  const toml::node* take(const std::string& key);
  std::optional<double> number(const std::string& key);  // finite
  std::optional<double> positive(const std::string& key);
  std::optional<double> notNegative(const std::string& key);
  std::optional<int> count(const std::string& key, int smallest);
  std::optional<std::string> text(const std::string& key);
  std::optional<bool> flag(const std::string& key);
  // A text out of a list of words; their index.
  std::optional<std::size_t> choice(const std::string& key, const std::vector<std::string>& words);
  // An expression: a text, or a plain number.
  Expression expression(const std::string& key);
  std::vector<std::string> texts(const std::string& key);
  // A whole number or a list of them.
  std::vector<int> wholeNumbers(const std::string& key, int smallest, int largest);
  // A table of texts or numbers, in the order of the file.
  std::vector<std::pair<std::string, std::string>> pairs(const std::string& key);
  void finish() const;

 private:
  const toml::table& table;
  std::string name;
  int firstLine;
  Issues& issues;
  std::set<std::string> known;
};

// The entries of a table as they follow one another in the file.
std::vector<std::pair<std::string, const toml::node*>> inFileOrder(const toml::table& table);

}  // namespace tarnix::cli
