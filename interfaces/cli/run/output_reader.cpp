#include "run/output_reader.h"

#include <fcntl.h>
#include <re2/re2.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <set>

#include "base/text.h"
#include "run/number_reader.h"

namespace tarnix::cli {

namespace {

// What is looked for is at the beginning of a line; of a longer one the rest is skipped.
constexpr std::size_t longestLine = 1 << 20;
constexpr std::size_t longestMatch = 1000;

std::optional<std::string_view> valueOfKey(std::string_view line, const std::string& key) {
  line = trimmed(line);
  if (line.compare(0, key.size(), key) != 0) return {};
  line = trimmed(line.substr(key.size()));
  if (line.empty() || (line[0] != '=' && line[0] != ':')) return {};
  return trimmed(line.substr(1));
}

// Whether there is a word where a number was to be: one with a comma, or the stars of a field that
// was too narrow. It is no heading, to be passed over for the number above it.
bool meantAsNumber(std::string_view word) {
  if (word.find_first_not_of('*') == word.npos) return true;
  if (word[0] == '+' || word[0] == '-') word.remove_prefix(1);
  if (!word.empty() && word[0] == '.') word.remove_prefix(1);
  return !word.empty() && word[0] >= '0' && word[0] <= '9';
}

// The word of a number from 1 on, where it is a number: headings have words in the same place.
std::optional<std::string_view> columnOf(std::string_view line, int column) {
  std::string_view word;
  for (int i = 0; i < column; ++i) {
    line = trimmed(line);
    if (line.empty()) return {};
    const std::size_t end = std::min(line.find_first_of(" \t"), line.size());
    word = line.substr(0, end);
    line.remove_prefix(end);
  }
  double value = 0;
  const NumberFault fault = readNumber(word, value);
  if (fault == NumberFault::notANumber && !meantAsNumber(word)) return {};
  return word;
}

// Cells of a line, without their blanks and quotes.
std::vector<std::string_view> cellsOf(std::string_view line, char separator) {
  std::vector<std::string_view> cells;
  std::size_t begin = 0;
  bool quoted = false;
  for (std::size_t i = 0; i <= line.size(); ++i) {
    if (i < line.size() && line[i] == '"') quoted = !quoted;
    if (i < line.size() && (quoted || line[i] != separator)) continue;
    std::string_view cell = trimmed(line.substr(begin, i - begin));
    if (cell.size() > 1 && cell.front() == '"' && cell.back() == '"')
      cell = trimmed(cell.substr(1, cell.size() - 2));
    cells.push_back(cell);
    begin = i + 1;
  }
  return cells;
}

std::string placeName(const std::string& file) {
  return file.empty() ? "standard output" : "'" + file + "'";
}

// A file read by pieces, line by line: an output of any size takes no memory.
class Lines {
 public:
  explicit Lines(const std::filesystem::path& path)
      : descriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
    struct stat status {};
    if (descriptor >= 0 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
      bytes = static_cast<std::uintmax_t>(status.st_size);
  }
  ~Lines() {
    if (descriptor >= 0) close(descriptor);
  }
  Lines(const Lines&) = delete;
  Lines& operator=(const Lines&) = delete;

  bool exists() const { return descriptor >= 0; }
  const std::optional<std::uintmax_t>& size() const { return bytes; }  // none: no regular file

  template <class Use>
  void each(Use use) {
    char piece[65536];
    for (;;) {
      const ssize_t count = ::read(descriptor, piece, sizeof piece);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) break;
      std::string_view rest(piece, static_cast<std::size_t>(count));
      for (std::size_t end; (end = rest.find('\n')) != std::string_view::npos;) {
        extend(rest.substr(0, end));
        use(std::string_view(line));
        line.clear();
        rest.remove_prefix(end + 1);
      }
      extend(rest);
    }
    if (!line.empty()) use(std::string_view(line));
  }

 private:
  void extend(std::string_view more) {
    line += more.substr(0, longestLine - std::min(longestLine, line.size()));
  }
  int descriptor;
  std::optional<std::uintmax_t> bytes;
  std::string line;
};

}  // namespace

OutputReader::OutputReader(const std::vector<ResultEntry>& results, Issues& issues) {
  RE2::Options options(RE2::Latin1);  // bytes: outputs come in any encoding
  options.set_log_errors(false);
  for (const ResultEntry& result : results) {
    Rule rule{result, nullptr};
    if (!result.regex.empty()) {
      rule.pattern = std::make_unique<RE2>(result.regex, options);
      const std::string owner = "result '" + result.name + "': ";
      if (!rule.pattern->ok())
        issues.add(result.line, owner + "regex '" + clipped(result.regex) +
                                    "': " + clipped(rule.pattern->error()));
      else if (rule.pattern->NumberOfCapturingGroups() == 0)
        issues.add(result.line, owner + "the regex has no group ( ) that would hold the number");
    }
    rules.push_back(std::move(rule));
  }
}

OutputReader::~OutputReader() = default;

std::optional<std::string_view> OutputReader::Rule::match(std::string_view line) const {
  if (entry.column > 0) return columnOf(line, entry.column);
  if (!pattern) return valueOfKey(line, entry.key);
  re2::StringPiece groups[2];
  const re2::StringPiece text(line.data(), line.size());
  if (!pattern->Match(text, 0, text.size(), RE2::UNANCHORED, groups, 2)) return {};
  return std::string_view(groups[1].data(), groups[1].size());
}

// The first line with a cell of this name is the heading; below it every cell that is not empty
// counts.
void OutputReader::Found::takeCell(const ResultEntry& entry, std::string_view line) {
  if (cell) {
    const auto cells = cellsOf(line, separator);
    if (*cell < cells.size() && !cells[*cell].empty()) take(entry, cells[*cell]);
    return;
  }
  for (const char c : {',', ';', '\t'}) {
    const auto cells = cellsOf(line, c);
    const auto place = std::find(cells.begin(), cells.end(), entry.header);
    if (place == cells.end()) continue;
    cell = static_cast<std::size_t>(place - cells.begin());
    separator = c;
    return;
  }
}

void OutputReader::Found::take(const ResultEntry& entry, std::string_view match) {
  ++count;
  if (spoiled) return;
  double number = 0;
  switch (entry.pick) {
    case Pick::last: break;
    case Pick::first:
      if (count > 1) return;
      break;
    case Pick::number:
      if (count != entry.pickNumber) return;
      break;
    default:
      spoiled = readNumber(match, number) != NumberFault::none;
      if (spoiled) break;
      if (!value)
        value = number;
      else if (entry.pick == Pick::max)
        value = std::max(*value, number);
      else if (entry.pick == Pick::min)
        value = std::min(*value, number);
      else
        *value += number;
  }
  text = std::string(match.substr(0, longestMatch));
}

// Results that a pointer names in a JSON file: a number, or a list of numbers to pick from.
void OutputReader::scanJson(const std::filesystem::path& path, const std::string& file,
                            std::vector<Found>& found, std::string& reason) const {
  std::string content;
  if (std::none_of(rules.begin(), rules.end(), [&](const Rule& rule) {
        return rule.entry.file == file && !rule.entry.json.empty();
      }))
    return;
  readFile(path, content);
  const auto json = nlohmann::json::parse(content, nullptr, false);
  if (json.is_discarded()) {
    reason = placeName(file) + " is no JSON";
    return;
  }
  for (std::size_t i = 0; i < rules.size(); ++i) {
    const ResultEntry& entry = rules[i].entry;
    if (entry.file != file || entry.json.empty()) continue;
    try {
      const auto& value = json.at(nlohmann::json::json_pointer(entry.json));
      const auto take = [&](const nlohmann::json& one) {
        found[i].take(entry, one.is_structured() ? one.type_name() : one.dump());
      };
      if (!value.is_array())
        take(value);
      else
        for (const auto& one : value) take(one);
    } catch (const nlohmann::json::exception&) {
      // Told as missing.
    }
  }
}

bool OutputReader::scan(const std::filesystem::path& directory, const std::string& file,
                        std::uintmax_t limit, std::vector<Found>& found,
                        std::string& reason) const {
  Lines lines(directory / (file.empty() ? "stdout.txt" : file));
  const auto first = std::find_if(rules.begin(), rules.end(),
                                  [&](const Rule& rule) { return rule.entry.file == file; });
  const std::string result = "result '" + first->entry.name + "'";
  if (!lines.exists())
    reason = file.empty() ? "standard output is not there any more: no " + result
                          : "no file '" + file + "' was written, which holds " + result;
  else if (!lines.size())
    reason = "'" + file + "' is no regular file: no " + result;
  else if (*lines.size() == 0)
    reason = placeName(file) + " is empty: no " + result;
  else if (*lines.size() > limit)
    reason = placeName(file) + " is larger than output_limit allows: no " + result;
  if (!reason.empty()) return false;
  scanJson(directory / (file.empty() ? "stdout.txt" : file), file, found, reason);
  // Where the last match counts: what is printed while a simulator iterates comes earlier.
  lines.each([&](std::string_view line) {
    for (std::size_t i = 0; i < rules.size(); ++i) {
      const ResultEntry& entry = rules[i].entry;
      if (entry.file != file || !entry.json.empty()) continue;
      if (!entry.after.empty() && !found[i].behind) {
        found[i].behind = line.find(entry.after) != std::string_view::npos;
        continue;
      }
      if (!entry.header.empty())
        found[i].takeCell(entry, line);
      else if (const auto match = rules[i].match(line))
        found[i].take(entry, *match);
    }
  });
  return reason.empty();
}

double OutputReader::valueOf(const Rule& rule, const Found& found, std::string& reason) const {
  const auto& [entry, pattern] = rule;
  const std::string where = placeName(entry.file), result = "result '" + entry.name + "'";
  if (!found.text) {
    const bool behind = entry.after.empty() || found.behind;
    reason = result + ": " +
             (!behind                 ? "no line holds '" + clipped(entry.after) + "' in "
              : found.count > 0       ? "only " + std::to_string(found.count) + " matches in "
              : !entry.json.empty()   ? "nothing is called '" + clipped(entry.json) + "' in "
              : !entry.header.empty() ? (found.cell ? "no cell below '" : "no column is called '") +
                                            clipped(entry.header) + "' in "
              : entry.column > 0 ? "no number in column " + std::to_string(entry.column) + " of "
              : pattern          ? "regex '" + clipped(entry.regex) + "' matches nothing in "
                                 : "no line '" + entry.key + " = ...' in ") +
             where;
    return 0;
  }
  if (found.value && !found.spoiled) return *found.value;
  double value = 0;
  const std::string shown = "'" + printable(clipped(*found.text, 40)) + "'";
  switch (readNumber(*found.text, value)) {
    case NumberFault::none: break;
    case NumberFault::notANumber:
      reason = result + ": " + shown + " in " + where + " is not a number";
      break;
    case NumberFault::notFinite: reason = result + " is not finite: " + shown; break;
    case NumberFault::decimalComma:
      reason = result + ": " + shown + " in " + where +
               " has a decimal comma; have the program write a point, for instance with "
               "LC_ALL=C in its environment";
  }
  return value;
}

std::vector<double> OutputReader::read(const std::filesystem::path& directory, std::uintmax_t limit,
                                       std::string& reason) const {
  std::vector<Found> found(rules.size());
  std::set<std::string> scanned;
  std::vector<double> values;
  for (std::size_t i = 0; i < rules.size(); ++i) {
    const std::string& file = rules[i].entry.file;
    if (scanned.insert(file).second && !scan(directory, file, limit, found, reason)) return {};
    values.push_back(valueOf(rules[i], found[i], reason));
    if (!reason.empty()) return {};
  }
  return values;
}

}  // namespace tarnix::cli
