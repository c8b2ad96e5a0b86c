#include "output/csv.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>

#include "base/numbers.h"
#include "base/text.h"
#include "run/judgement.h"

namespace tarnix::cli {

std::string csvLine(const std::vector<std::string>& cells) {
  std::string line;
  for (const std::string& cell : cells) {
    if (&cell != &cells.front()) line += ',';
    if (cell.find_first_of(",\"\r\n") == std::string::npos) {
      line += cell;
      continue;
    }
    line += '"';
    for (const char c : cell) line += c == '"' ? "\"\"" : std::string(1, c);
    line += '"';
  }
  return line + "\n";
}

std::string csvNumber(double value) {
  return std::isfinite(value) ? shortest(value) : "";
}

std::vector<std::string> recordHeads(const ProblemFile& problem) {
  std::vector<std::string> heads{"run"};
  for (const VariableEntry& v : problem.variables) heads.push_back(v.name);
  for (const ResultEntry& r : problem.results) heads.push_back(r.name);
  heads.push_back(problem.objective.name);
  for (const ConstraintEntry& c : problem.constraints) heads.push_back(c.name);
  for (const char* head : {"violation", "feasible", "seconds", "failed"}) heads.push_back(head);
  return heads;
}

std::vector<std::string> recordCells(const ProblemFile& problem, const Record& record) {
  const bool failed = !record.failed.empty();
  std::vector<std::string> cells{record.run > 0 ? std::to_string(record.run) : ""};
  for (const double x : record.x) cells.push_back(csvNumber(x));
  for (std::size_t i = 0; i < problem.results.size(); ++i)
    cells.push_back(failed ? "" : csvNumber(record.results[i]));
  for (std::size_t j = 0; j <= problem.constraints.size(); ++j)
    cells.push_back(failed ? "" : csvNumber(record.values[j]));
  const double worst = failed ? NAN : violation(problem, record.values);
  cells.push_back(csvNumber(worst));
  cells.push_back(failed ? "" : worst <= problem.options.tolerance ? "1" : "0");
  cells.push_back(record.run > 0 ? rounded(record.seconds, 4) : "");
  cells.push_back(record.failed);
  return cells;
}

namespace {

// The records of a text, each a list of cells with the line it begins in.
struct CsvRecord {
  int line;
  std::vector<std::string> cells;
};

std::vector<CsvRecord> parsed(const std::string& text, char separator) {
  std::vector<CsvRecord> records;
  int line = 1;
  for (std::size_t i = 0; i < text.size();) {
    CsvRecord record{line, {""}};
    bool quoted = false;
    for (; i < text.size(); ++i) {
      const char c = text[i];
      line += c == '\n';
      if (quoted && c == '"' && i + 1 < text.size() && text[i + 1] == '"')
        record.cells.back() += text[++i];
      else if (c == '"')
        quoted = !quoted;
      else if (!quoted && c == separator)
        record.cells.emplace_back();
      else if (!quoted && c == '\n')
        break;
      else if (quoted || c != '\r')
        record.cells.back() += c;
    }
    ++i;
    if (record.cells.size() > 1 || !record.cells[0].empty()) records.push_back(std::move(record));
  }
  return records;
}

class DesignReader {
 public:
  DesignReader(const std::filesystem::path& path, const ProblemFile& p)
      : file(path), problem(p), issues(path.string()) {}

  std::vector<std::vector<double>> read() {
    std::string text;
    if (!readFile(file, text)) throw Failure(exitFiles, file.string() + ": cannot be read");
    if (text.compare(0, 3, "\xef\xbb\xbf") == 0) text.erase(0, 3);
    const std::string head = text.substr(0, text.find('\n'));
    const bool semicolons = head.find(';') != std::string::npos;
    const auto records = parsed(text, semicolons ? ';' : ',');
    if (records.size() < 2)
      throw Failure(exitBadProblem, file.string() +
                                        ": no designs: a first line with names of variables, then "
                                        "one line per design");
    readHead(records[0]);
    std::vector<std::vector<double>> designs;
    for (std::size_t k = 1; k < records.size(); ++k) designs.push_back(design(records[k]));
    if (!issues.empty()) throw Failure(exitBadProblem, issues.text());
    return designs;
  }

 private:
  // Columns that name nothing to be changed are passed over, so that a table of ours serves.
  void readHead(const CsvRecord& head) {
    for (const std::string& cell : head.cells) {
      const auto place =
          std::find_if(problem.variables.begin(), problem.variables.end(),
                       [name = trimmed(cell)](const VariableEntry& v) { return v.name == name; });
      columns.push_back(place == problem.variables.end() ? -1 : place - problem.variables.begin());
    }
    if (std::all_of(columns.begin(), columns.end(), [](std::ptrdiff_t c) { return c < 0; }))
      issues.add(head.line, "no column has the name of a variable");
  }

  std::vector<double> design(const CsvRecord& record) {
    std::vector<double> x;
    for (const VariableEntry& v : problem.variables) x.push_back(v.start);
    if (record.cells.size() != columns.size())
      issues.add(record.line, std::to_string(record.cells.size()) + " cells under " +
                                  std::to_string(columns.size()) + " heads");
    for (std::size_t i = 0; i < std::min(record.cells.size(), columns.size()); ++i) {
      if (columns[i] < 0) continue;
      const auto variable = static_cast<std::size_t>(columns[i]);
      const std::string_view cell = trimmed(record.cells[i]);
      const char* const end = cell.data() + cell.size();
      double value = 0;
      const auto [rest, error] = std::from_chars(cell.data(), end, value);
      if (error != std::errc() || rest != end || !std::isfinite(value))
        issues.add(record.line, "variable '" + problem.variables[variable].name + "': '" +
                                    clipped(cell) + "' is not a number");
      x[variable] = value;
    }
    return x;
  }

  const std::filesystem::path& file;
  const ProblemFile& problem;
  Issues issues;
  std::vector<std::ptrdiff_t> columns;  // variable of each, -1 for none
};

}  // namespace

std::vector<std::vector<double>> readDesigns(const std::filesystem::path& file,
                                             const ProblemFile& problem) {
  return DesignReader(file, problem).read();
}

void writeTextFile(const std::filesystem::path& file, const std::string& content) {
  std::ofstream stream(file, std::ios::binary);
  if (!(stream << content) || !stream.flush())
    throw Failure(exitFiles, file.string() + ": cannot be written");
}

}  // namespace tarnix::cli
