#include <unistd.h>

#include <toml++/toml.h>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>

#include "problem.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

int lineOf(const toml::node& node) {
  return static_cast<int>(node.source().begin.line);
}

std::string asWritten(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

// One table of the file. Every key is asked for by name; what nobody asked for is reported by
// finish as unknown.
class Section {
 public:
  Section(const toml::table& content, std::string ownName, int ownLine, Issues& list)
      : table(content), name(std::move(ownName)), firstLine(ownLine), issues(list) {}

  bool has(const std::string& key) const { return table.contains(key); }
  int line() const { return firstLine; }
  int line(const std::string& key) const {
    const toml::node* node = table.get(key);
    return node ? lineOf(*node) : firstLine;
  }
  void issue(const std::string& text) const { issues.add(firstLine, name + ": " + text); }
  void issue(const std::string& key, const std::string& text) const {
    issues.add(line(key), name + ": " + text);
  }

  const toml::node* take(const std::string& key) {
    known.insert(key);
    return table.get(key);
  }

  std::optional<double> number(const std::string& key) {
    const toml::node* node = take(key);
    if (!node) return {};
    const auto value = node->is_number() ? node->value<double>() : std::nullopt;
    if (!value)
      issue(key, "'" + key + "' is not a number");
    else if (!std::isfinite(*value))
      issue(key, "'" + key + "' is not finite");
    else
      return value;
    return {};
  }

  std::optional<double> positive(const std::string& key) {
    const auto value = number(key);
    if (value && !(*value > 0)) issue(key, "'" + key + "' is not above zero");
    return value && *value > 0 ? value : std::nullopt;
  }

  std::optional<int> count(const std::string& key, int smallest) {
    const toml::node* node = take(key);
    if (!node) return {};
    const auto value = node->value_exact<int64_t>();
    if (value && *value >= smallest && *value <= INT_MAX) return static_cast<int>(*value);
    issue(key, "'" + key + "' is not a whole number of at least " + std::to_string(smallest));
    return {};
  }

  std::optional<std::string> text(const std::string& key) {
    const toml::node* node = take(key);
    if (!node) return {};
    auto value = node->value_exact<std::string>();
    if (!value)
      issue(key, "'" + key + "' is not a text in quotes");
    else if (value->empty())
      issue(key, "'" + key + "' is empty");
    else
      return value;
    return {};
  }

  std::optional<bool> flag(const std::string& key) {
    const toml::node* node = take(key);
    if (!node) return {};
    const auto value = node->value_exact<bool>();
    if (!value) issue(key, "'" + key + "' is neither true nor false");
    return value;
  }

  // A text out of a list of words; their index.
  std::optional<std::size_t> choice(const std::string& key, const std::vector<std::string>& words) {
    const auto value = text(key);
    if (!value) return {};
    std::string all;
    for (std::size_t i = 0; i < words.size(); ++i) {
      if (words[i] == *value) return i;
      all += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    }
    issue(key, "'" + key + "' is '" + *value + "', but may be " + all);
    return {};
  }

  // An expression: a text, or a plain number.
  Expression expression(const std::string& key) {
    Expression result{{}, name, line(key)};
    const toml::node* node = take(key);
    if (node && node->is_number()) {
      if (const auto value = number(key)) result.text = asWritten(*value);
    } else if (const auto value = text(key)) {
      result.text = *value;
    }
    return result;
  }

  std::vector<std::string> texts(const std::string& key) {
    std::vector<std::string> result;
    const toml::node* node = take(key);
    if (!node) return result;
    if (const toml::array* array = node->as_array())
      for (const toml::node& item : *array) {
        const auto value = item.value_exact<std::string>();
        if (!value)
          issues.add(lineOf(item), name + ": '" + key + "' holds something but texts");
        else
          result.push_back(*value);
      }
    else
      issue(key, "'" + key + "' is not a list of texts in brackets");
    return result;
  }

  void finish() const {
    for (auto&& [key, node] : table) {
      const std::string word(key.str());
      if (!known.count(word))
        issues.add(lineOf(node), name + ": unknown key '" + word + "'" +
                                     suggestion(word, {known.begin(), known.end()}));
    }
  }

 private:
  const toml::table& table;
  std::string name;
  int firstLine;
  Issues& issues;
  std::set<std::string> known;
};

// The entries of a table as they follow one another in the file.
std::vector<std::pair<std::string, const toml::node*>> inFileOrder(const toml::table& table) {
  std::vector<std::pair<std::string, const toml::node*>> entries;
  for (auto&& [key, node] : table) entries.emplace_back(key.str(), &node);
  std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
    const auto &p = a.second->source().begin, &q = b.second->source().begin;
    return p.line != q.line ? p.line < q.line : p.column < q.column;
  });
  return entries;
}

bool isIdentifier(const std::string& name) {
  const auto letter = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
  };
  return !name.empty() && letter(name[0]) && std::all_of(name.begin(), name.end(), [&](char c) {
    return letter(c) || (c >= '0' && c <= '9');
  });
}

bool insideDirectory(const std::string& name) {
  const fs::path path(name);
  return path.is_relative() && std::find(path.begin(), path.end(), "..") == path.end();
}

fs::path searchProgram(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::istringstream directories(path ? path : "/usr/bin:/bin");
  for (std::string directory; std::getline(directories, directory, ':');) {
    const fs::path candidate = fs::path(directory.empty() ? "." : directory) / name;
    std::error_code error;
    if (fs::is_regular_file(candidate, error) && access(candidate.c_str(), X_OK) == 0)
      return fs::absolute(candidate);
  }
  return {};
}

class Reader {
 public:
  Reader(const toml::table& content, Problem& result, Issues& list)
      : root(content, "problem", 0, list), problem(result), issues(list) {}

  void read() {
    if (const auto title = root.text("title")) problem.title = *title;
    readVariables();
    readObjective();
    eachIn("quantities", "quantity", [this](const std::string& name, const toml::node& node) {
      if (declare(name, "quantity", lineOf(node)))
        problem.quantities.push_back({name, plain(node, "quantity '" + name + "'")});
    });
    eachTable("constraints", "constraint",
              [this](const std::string& name, Section& section) { readConstraint(name, section); });
    readCommand();
    readOptions();
    root.finish();
  }

 private:
  // ---- tables of named entries ---------------------------------------------------------------
  const toml::table* tableNamed(const std::string& key) {
    const toml::node* node = root.take(key);
    if (!node) return nullptr;
    if (!node->is_table()) root.issue(key, "'" + key + "' is not a table: write [" + key + "]");
    return node->as_table();
  }

  template <class Use>
  void eachIn(const std::string& key, const std::string& kind, Use use) {
    if (const toml::table* entries = tableNamed(key))
      for (const auto& [name, node] : inFileOrder(*entries)) {
        if (name.empty())
          issues.add(lineOf(*node), kind + " without a name");
        else
          use(name, *node);
      }
  }

  template <class Use>
  void eachTable(const std::string& key, const std::string& kind, Use use) {
    eachIn(key, kind, [&](const std::string& name, const toml::node& node) {
      const std::string owner = kind + " '" + name + "'";
      if (!node.is_table())
        return issues.add(lineOf(node), owner + ": not a table: write " + name + " = { ... }");
      Section section(*node.as_table(), owner, lineOf(node), issues);
      use(name, section);
      section.finish();
    });
  }

  Expression plain(const toml::node& node, const std::string& owner) {
    Expression result{{}, owner, lineOf(node)};
    if (const auto text = node.value_exact<std::string>(); text && !text->empty())
      result.text = *text;
    else if (const auto number = node.value<double>(); node.is_number() && number)
      result.text = asWritten(*number);
    else
      issues.add(result.line, owner + ": neither an expression in quotes nor a number");
    return result;
  }

  // Names that expressions use are identifiers and unique over the whole file.
  bool declare(const std::string& name, const std::string& kind, int line) {
    if (!isIdentifier(name)) {
      issues.add(line, kind + " '" + name + "': a name has letters, digits and _ only, and does " +
                           "not begin with a digit");
      return false;
    }
    const auto [place, fresh] = declared.emplace(name, kind + " in line " + std::to_string(line));
    if (!fresh)
      issues.add(line, kind + " '" + name + "': the name is taken by the " + place->second);
    return fresh;
  }

  // ---- the parts of a problem ----------------------------------------------------------------
  void readVariables() {
    if (!root.has("variables")) root.issue("no table [variables]");
    eachTable("variables", "variable", [this](const std::string& name, Section& section) {
      const bool fresh = declare(name, "variable", section.line());
      Variable variable;
      variable.name = name;
      variable.line = section.line();
      variable.unit = section.text("unit").value_or("");
      readRange(section, variable);
      if (fresh) problem.variables.push_back(variable);
    });
    if (root.has("variables") && problem.variables.empty() && issues.empty())
      root.issue("variables", "[variables] holds no variable");
  }

  void readRange(Section& section, Variable& variable) {
    if (const auto value = section.number("value")) {
      for (const char* key : {"start", "lower", "upper"})
        if (section.number(key))
          section.issue(key, std::string("'value' fixes the variable; leave out '") + key + "'");
      variable.start = variable.lower = variable.upper = *value;
      return;
    }
    const auto need = [&](const char* key, double& place) {
      if (!section.has(key)) section.issue(std::string("no '") + key + "'");
      const auto value = section.number(key);
      place = value.value_or(0);
      return value.has_value();
    };
    const bool start = need("start", variable.start), lower = need("lower", variable.lower),
               upper = need("upper", variable.upper);
    if (!lower || !upper) return;
    if (variable.lower > variable.upper)
      section.issue("lower", "lower bound " + asWritten(variable.lower) +
                                 " lies above the upper bound " + asWritten(variable.upper));
    else if (start && !(variable.lower <= variable.start && variable.start <= variable.upper))
      section.issue("start", "start " + asWritten(variable.start) + " lies outside the bounds " +
                                 asWritten(variable.lower) + " to " + asWritten(variable.upper));
  }

  void readObjective() {
    if (!root.has("objective")) return root.issue("no table [objective]");
    const toml::table* content = tableNamed("objective");
    if (!content) return;
    Section section(*content, "objective", lineOf(*content), issues);
    Objective& objective = problem.objective;
    int given = 0;
    for (const char* key : {"minimize", "minimise", "maximize", "maximise"}) {
      if (section.has(key) && ++given == 1) {
        objective.value = section.expression(key);
        objective.maximize = std::string(key).compare(0, 3, "max") == 0;
      } else {
        section.take(key);
      }
    }
    if (given != 1) section.issue("give either 'minimize' or 'maximize'");
    objective.name = section.text("name").value_or("objective");
    objective.unit = section.text("unit").value_or("");
    objective.scale = section.positive("scale");
    section.finish();
  }

  void readConstraint(const std::string& name, Section& section) {
    Constraint constraint;
    constraint.name = name;
    constraint.line = section.line();
    const bool variable = std::any_of(problem.variables.begin(), problem.variables.end(),
                                      [&](const Variable& v) { return v.name == name; });
    if (variable || name == problem.objective.name)
      section.issue("the name is taken by the " + std::string(variable ? "variable" : "objective"));
    constraint.unit = section.text("unit").value_or("");
    if (!section.has("value")) section.issue("no 'value'");
    constraint.value = section.expression("value");
    constraint.min = section.number("min");
    constraint.max = section.number("max");
    if (const auto equal = section.number("equal")) {
      constraint.equality = true;
      if (constraint.min || constraint.max)
        section.issue("'equal' stands alone; leave out 'min' and 'max'");
      constraint.min = constraint.max = equal;
    }
    if (!section.has("min") && !section.has("max") && !section.has("equal"))
      section.issue("no limit: give 'min', 'max' or 'equal'");
    if (constraint.min && constraint.max && *constraint.min > *constraint.max)
      section.issue("'min' " + asWritten(*constraint.min) + " lies above 'max' " +
                    asWritten(*constraint.max));
    // Tolerances are absolute, so a violation is measured against the size of the limit.
    const double size =
        std::max(std::abs(constraint.min.value_or(0)), std::abs(constraint.max.value_or(0)));
    constraint.scale = section.positive("scale").value_or(size > 0 ? size : 1);
    problem.constraints.push_back(constraint);
  }

  // ---- command -------------------------------------------------------------------------------
  void readCommand() {
    const bool given = root.has("command");
    if (given != root.has("results"))
      return root.issue(given ? "command" : "results",
                        given ? "[command] without [results]: nothing would be read from its output"
                              : "[results] without [command]: nothing would produce them");
    if (!given) return;
    if (const toml::table* content = tableNamed("command")) {
      Section section(*content, "command", lineOf(*content), issues);
      problem.command.emplace();
      readCommandKeys(section, *problem.command);
      section.finish();
    }
    eachTable("results", "result",
              [this](const std::string& name, Section& section) { readResult(name, section); });
    if (problem.results.empty() && issues.empty())
      root.issue("results", "[results] holds no result");
  }

  void readCommandKeys(Section& section, Command& command) {
    command.line = section.line("run");
    readRun(section, command);
    std::set<std::string> targets{"stdout.txt", "stderr.txt"};
    const auto place = [&](int line, const std::string& to) {
      if (!insideDirectory(to))
        issues.add(line, "command: '" + to + "' lies outside the run directory");
      else if (!targets.insert(to).second)
        issues.add(line, "command: two files are called '" + to + "' in the run directory");
    };
    if (const toml::node* node = section.take("templates")) {
      const toml::array* list = node->as_array();
      if (!list)
        section.issue("templates", "'templates' is not a list: write [{ from, to }]");
      else
        for (const toml::node& item : *list) {
          if (!item.is_table()) {
            issues.add(lineOf(item), "command: a template is written { from = ..., to = ... }");
            continue;
          }
          Section entry(*item.as_table(), "template", lineOf(item), issues);
          const auto from = entry.text("from"), to = entry.text("to");
          if (!entry.has("from")) entry.issue("no 'from'");
          if (!entry.has("to")) entry.issue("no 'to'");
          entry.finish();
          if (!from || !to) continue;
          place(lineOf(item), *to);
          command.templates.push_back({existing(entry.line("from"), *from), *to, lineOf(item)});
        }
    }
    for (const std::string& file : section.texts("files")) {
      command.files.push_back(existing(section.line("files"), file));
      place(section.line("files"), command.files.back().filename().string());
    }
    command.timeout = section.positive("timeout").value_or(0);
    const auto policy = section.choice("on_failure", {"stop", "retry", "penalty"}).value_or(0);
    command.onFailure = static_cast<FailurePolicy>(policy);
    const auto retries = section.count("retries", 1);
    if (retries && command.onFailure == FailurePolicy::stop)
      section.issue("retries", "'retries' needs on_failure = \"retry\" or \"penalty\"");
    command.retries = retries.value_or(command.onFailure == FailurePolicy::retry ? 2 : 0);
    const auto penalty = section.positive("penalty");
    if (penalty && command.onFailure != FailurePolicy::penalty)
      section.issue("penalty", "'penalty' needs on_failure = \"penalty\"");
    command.penalty = penalty.value_or(1e6);
    const auto keep = section.choice("keep", {"none", "failed", "all"}).value_or(1);
    command.keep = static_cast<Keep>(keep);
  }

  void readRun(Section& section, Command& command) {
    if (!section.has("run")) return section.issue("no 'run': the command to start is missing");
    const toml::node* run = section.take("run");
    if (run->is_string()) {
      command.shell = true;
      command.program = "/bin/sh";
      if (const auto line = section.text("run")) command.words = {*line};
      return;
    }
    command.words = section.texts("run");
    if (command.words.empty() || command.words[0].empty())
      return section.issue("run", "'run' names no program");
    const std::string& name = command.words[0];
    if (name.find('/') == std::string::npos) {
      command.program = searchProgram(name);
      if (command.program.empty())
        section.issue("run", "program '" + name + "' is not in PATH; one beside the problem file " +
                                 "is written './" + name + "'");
      return;
    }
    command.program = existing(section.line("run"), name);
    std::error_code error;
    if (fs::exists(command.program, error) && access(command.program.c_str(), X_OK) != 0)
      section.issue("run", "'" + name + "' may not be executed");
  }

  // A file that the problem names, relative to its own place.
  fs::path existing(int line, const std::string& name) {
    const fs::path path = (problem.directory / name).lexically_normal();
    std::error_code error;
    if (!fs::exists(path, error))
      issues.add(line, "command: no file '" + name + "' in " + problem.directory.string());
    else if (!fs::is_regular_file(path, error))
      issues.add(line, "command: '" + name + "' is not a file");
    return path;
  }

  void readResult(const std::string& name, Section& section) {
    const bool fresh = declare(name, "result", section.line());
    Result result{name, section.text("file").value_or(""), section.text("key").value_or(""),
                  section.text("regex").value_or(""), section.line()};
    if (section.has("key") == section.has("regex")) section.issue("give either 'key' or 'regex'");
    if (!insideDirectory(result.file))
      section.issue("file", "'" + result.file + "' lies outside the run directory");
    if (fresh) problem.results.push_back(result);
  }

  // ---- options -------------------------------------------------------------------------------
  void readOptions() {
    const toml::table* content = tableNamed("options");
    if (!content) return;
    Section section(*content, "options", lineOf(*content), issues);
    Options& options = problem.options;
    const std::vector<std::string> methods{"automatic", "sqp", "grg"};
    options.method = methods[section.choice("method", methods).value_or(0)];
    options.maxIterations = section.count("max_iterations", 1).value_or(options.maxIterations);
    options.maxEvaluations = section.count("max_evaluations", 1).value_or(0);
    options.maxSeconds = section.positive("max_seconds").value_or(0);
    options.tolerance = section.positive("tolerance").value_or(options.tolerance);
    options.differenceStep = section.positive("difference_step").value_or(options.differenceStep);
    if (options.differenceStep >= 1)
      section.issue("difference_step", "'difference_step' is a share of half the range: below 1");
    options.centralDifferences =
        section.choice("differences", {"forward", "central"}).value_or(0) == 1;
    options.insideBounds = section.flag("inside_bounds").value_or(false);
    options.target = section.number("target");
    section.finish();
  }

  Section root;
  Problem& problem;
  Issues& issues;
  std::map<std::string, std::string> declared;
};

}  // namespace

Problem readProblem(const fs::path& file, Issues& issues) {
  Problem problem;
  problem.file = file;
  problem.directory = fs::absolute(file).parent_path();
  std::error_code error;
  if (!fs::exists(file, error)) {
    issues.add(0, "no such file");
    return problem;
  }
  if (!fs::is_regular_file(file, error) || access(file.c_str(), R_OK) != 0) {
    issues.add(0, "cannot be read");
    return problem;
  }
  try {
    const toml::table content = toml::parse_file(file.string());
    Reader(content, problem, issues).read();
  } catch (const toml::parse_error& wrong) {
    issues.add(static_cast<int>(wrong.source().begin.line),
               "syntax: " + std::string(wrong.description()));
  }
  return problem;
}

}  // namespace tarnix::cli
