#include "run/output_reader.h"

#include <charconv>
#include <cmath>
#include <map>
#include <string_view>

#include "base/text.h"

namespace tarnix::cli {

namespace {

// The standard library matches by recursion: a line of a megabyte would exhaust the stack.
constexpr std::size_t longestLine = 4096;

std::string_view trimmed(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return text;
}

// The number at the beginning of a text, which may go on with a unit: the number ends at a blank
// or another sign. Fortran's exponent letter D is taken as E.
bool number(std::string_view text, double& value) {
  std::string copy(trimmed(text.substr(0, 64)));
  for (char& c : copy)
    if (c == 'D' || c == 'd') c = 'e';
  const char* begin = copy.c_str();
  if (*begin == '+') ++begin;
  const auto [end, error] = std::from_chars(begin, copy.c_str() + copy.size(), value);
  const auto letter = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' ||
           c == ',';
  };
  return error == std::errc() && !letter(*end);
}

std::string_view valueOfKey(std::string_view line, const std::string& key) {
  line = trimmed(line);
  if (line.compare(0, key.size(), key) != 0) return {};
  line = trimmed(line.substr(key.size()));
  if (line.empty() || (line[0] != '=' && line[0] != ':')) return {};
  return trimmed(line.substr(1));
}

}  // namespace

OutputReader::OutputReader(const std::vector<ResultEntry>& results, Issues& issues) {
  for (const ResultEntry& result : results) {
    Rule rule{result, {}};
    try {
      if (!result.regex.empty()) {
        rule.pattern = std::regex(result.regex);
        if (rule.pattern.mark_count() == 0)
          issues.add(result.line, "result '" + result.name + "': the regex has no group ( ) that " +
                                      "would hold the number");
      }
    } catch (const std::regex_error& error) {
      issues.add(result.line,
                 "result '" + result.name + "': regex '" + result.regex + "': " + error.what());
    }
    rules.push_back(std::move(rule));
  }
}

std::vector<double> OutputReader::read(const std::filesystem::path& directory,
                                       std::string& reason) const {
  std::map<std::string, std::string> contents;
  std::vector<double> values;
  for (const auto& [result, pattern] : rules) {
    const std::string source = result.file.empty() ? "stdout.txt" : result.file;
    const std::string where = result.file.empty() ? "standard output" : "'" + source + "'";
    const auto [place, fresh] = contents.try_emplace(source);
    if (fresh && !readFile(directory / source, place->second)) {
      reason = "no file '" + source + "' was written, which holds result '" + result.name + "'";
      return {};
    }
    if (place->second.empty()) {
      reason = where + " is empty: no result '" + result.name + "'";
      return {};
    }
    // The last match counts: what is printed while a simulator iterates stands earlier.
    std::string found;
    bool any = false;
    std::string_view rest = place->second;
    while (!rest.empty()) {
      const std::size_t end = std::min(rest.find('\n'), rest.size());
      const std::string_view line = rest.substr(0, std::min(end, longestLine));
      rest.remove_prefix(std::min(end + 1, rest.size()));
      if (!result.regex.empty()) {
        std::match_results<std::string_view::const_iterator> match;
        if (std::regex_search(line.begin(), line.end(), match, pattern)) {
          found = match[1].str();
          any = true;
        }
      } else if (const std::string_view value = valueOfKey(line, result.key); value.data()) {
        found = value;
        any = true;
      }
    }
    const std::string wanted = result.regex.empty()
                                   ? "no line '" + result.key + " = ...' in "
                                   : "regex '" + result.regex + "' matches nothing in ";
    double value = 0;
    if (!any)
      reason = "result '" + result.name + "': " + wanted + where;
    else if (!number(found, value))
      reason = "result '" + result.name + "': '" + printable(found.substr(0, 40)) + "' in " +
               where + " is not a number";
    else if (!std::isfinite(value))
      reason =
          "result '" + result.name + "' is not finite: '" + printable(found.substr(0, 40)) + "'";
    if (!reason.empty()) return {};
    values.push_back(value);
  }
  return values;
}

}  // namespace tarnix::cli
