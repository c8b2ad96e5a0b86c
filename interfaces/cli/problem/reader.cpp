#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "base/numbers.h"
#include "base/text.h"
#include "problem/catalogue_reader.h"
#include "problem/changes.h"
#include "problem/command_reader.h"
#include "problem/section.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

bool isIdentifier(const std::string& name) {
  const auto letter = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
  };
  return !name.empty() && letter(name[0]) && std::all_of(name.begin(), name.end(), [&](char c) {
    return letter(c) || (c >= '0' && c <= '9');
  });
}

class Reader {
 public:
  Reader(const toml::table& content, ProblemFile& result, Issues& list)
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
      if (!node.is_table()) return refuseEntry(name, kind, node);
      Section section(*node.as_table(), owner, lineOf(node), issues);
      use(name, section);
      section.finish();
    });
  }

  // A variable counts as declared all the same: one mistake, one message.
  void refuseEntry(const std::string& name, const std::string& kind, const toml::node& node) {
    const bool fixed = kind == "variable" && node.is_number();
    issues.add(lineOf(node), kind + " '" + name + "': not a table: write " + name +
                                 (fixed ? " = { value = ... } for a fixed one" : " = { ... }"));
    if (!fixed || !declare(name, kind, lineOf(node))) return;
    VariableEntry variable;
    variable.name = name;
    variable.line = lineOf(node);
    problem.variables.push_back(variable);
  }

  Expression plain(const toml::node& node, const std::string& owner) {
    Expression result{{}, owner, lineOf(node)};
    if (const auto text = node.value_exact<std::string>(); text && !text->empty())
      result.text = *text;
    else if (const auto number = node.value<double>(); node.is_number() && number)
      result.text = shortest(*number);
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
      VariableEntry variable;
      variable.name = name;
      variable.line = section.line();
      variable.unit = section.text("unit").value_or("");
      readRange(section, variable);
      variable.differenceStep = readStep(section);
      if (fresh) problem.variables.push_back(variable);
    });
    if (root.has("variables") && problem.variables.empty() && issues.empty())
      root.issue("variables", "[variables] holds no variable");
  }

  std::optional<double> readStep(Section& section) {
    const auto step = section.positive("difference_step");
    if (step && *step >= 1)
      section.issue("difference_step", "'difference_step' is a share of half the range: below 1");
    return step;
  }

  void readRange(Section& section, VariableEntry& variable) {
    if (const auto value = section.number("value")) {
      for (const char* key : {"start", "lower", "upper"})
        if (section.number(key))
          section.issue(key, std::string("'value' fixes the variable; leave out '") + key + "'");
      variable.start = variable.lower = variable.upper = *value;
      return;
    }
    std::vector<double> values = readValues(section, variable);
    const auto need = [&](const char* key, double& place) {
      const bool listed = section.has("values") && key != std::string("start");
      if (listed && !section.has(key)) return true;
      if (!section.has(key) && !section.misspells(key))
        section.issue(std::string("no '") + key + "'");
      const auto value = section.number(key);
      place = value.value_or(0);
      return value.has_value();
    };
    const bool start = need("start", variable.start), lower = need("lower", variable.lower),
               upper = need("upper", variable.upper);
    if (!lower || !upper) return;
    if (variable.lower > variable.upper)
      section.issue("lower", "lower bound " + shortest(variable.lower) +
                                 " lies above the upper bound " + shortest(variable.upper));
    else if (start && !(variable.lower <= variable.start && variable.start <= variable.upper))
      section.issue("start", "start " + shortest(variable.start) + " lies outside the bounds " +
                                 shortest(variable.lower) + " to " + shortest(variable.upper));
    else
      finishCatalogue(section, variable, std::move(values));
  }

  void readObjective() {
    if (!root.has("objective")) return root.issue("no table [objective]");
    const toml::table* content = tableNamed("objective");
    if (!content) return;
    Section section(*content, "objective", lineOf(*content), issues);
    ObjectiveEntry& objective = problem.objective;
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
    ConstraintEntry constraint;
    constraint.name = name;
    constraint.line = section.line();
    const bool variable = std::any_of(problem.variables.begin(), problem.variables.end(),
                                      [&](const VariableEntry& v) { return v.name == name; });
    if (variable || name == problem.objective.name)
      section.issue("the name is taken by the " + std::string(variable ? "variable" : "objective"));
    constraint.unit = section.text("unit").value_or("");
    if (!section.has("value")) section.issue("no 'value'");
    constraint.value = section.expression("value");
    if (const std::string& text = constraint.value.text;
        text.find_first_of("<>") != std::string::npos && text.find('?') == std::string::npos)
      issues.warn(constraint.value.line, "constraint '" + name +
                                             "': a comparison is 0 or 1; a "
                                             "limit is written with 'min' or 'max'");
    constraint.min = section.number("min");
    constraint.max = section.number("max");
    if (const auto equal = section.number("equal")) {
      constraint.equality = true;
      if (constraint.min || constraint.max) section.issue("'equal' excludes 'min' and 'max'");
      constraint.min = constraint.max = equal;
    }
    if (!section.has("min") && !section.has("max") && !section.has("equal") &&
        !section.misspells("min") && !section.misspells("max") && !section.misspells("equal"))
      section.issue("no limit: give 'min', 'max' or 'equal'");
    if (constraint.min && constraint.max && *constraint.min > *constraint.max)
      section.issue("'min' " + shortest(*constraint.min) + " lies above 'max' " +
                    shortest(*constraint.max));
    // Tolerances are absolute, so a violation is measured against the size of the limit.
    const double size =
        std::max(std::abs(constraint.min.value_or(0)), std::abs(constraint.max.value_or(0)));
    constraint.scale = section.positive("scale").value_or(size > 0 ? size : 1);
    problem.constraints.push_back(constraint);
  }

  void readCommand() {
    const bool given = root.has("command");
    if (given != root.has("results"))
      return root.issue(given ? "command" : "results",
                        given ? "[command] without [results]: nothing would be read from its output"
                              : "[results] without [command]: nothing would produce them");
    if (!given) return;
    CommandReader reader(problem.directory, issues);
    if (const toml::table* content = tableNamed("command")) {
      Section section(*content, "command", lineOf(*content), issues);
      problem.command = reader.command(section);
      section.finish();
    }
    eachTable("results", "result", [&](const std::string& name, Section& section) {
      const bool fresh = declare(name, "result", section.line());
      const ResultEntry result = reader.result(name, section);
      if (fresh) problem.results.push_back(result);
    });
    if (problem.results.empty() && issues.empty())
      root.issue("results", "[results] holds no result");
  }

  // ---- options -------------------------------------------------------------------------------
  void readOptions() {
    const toml::table* content = tableNamed("options");
    if (!content) return;
    Section section(*content, "options", lineOf(*content), issues);
    OptionsTable& options = problem.options;
    const std::vector<std::string> methods{"automatic", "sqp", "grg"};
    options.method = methods[section.choice("method", methods).value_or(0)];
    options.maxIterations = section.count("max_iterations", 1).value_or(options.maxIterations);
    options.maxEvaluations = section.count("max_evaluations", 1).value_or(0);
    options.maxSeconds = section.positive("max_seconds").value_or(0);
    options.tolerance = section.positive("tolerance").value_or(options.tolerance);
    options.differenceStep = readStep(section).value_or(0);
    options.effort = section.notNegative("effort").value_or(options.effort);
    options.accuracy = section.positive("accuracy").value_or(0);
    if (options.accuracy >= 1)
      section.issue("accuracy", "'accuracy' is a share of the values: below 1");
    options.centralDifferences =
        section.choice("differences", {"forward", "central"}).value_or(0) == 1;
    options.insideBounds = section.flag("inside_bounds").value_or(false);
    options.target = section.number("target");
    options.starts = section.count("starts", 1).value_or(1);
    options.seed = section.count("seed", 0).value_or(1);
    section.finish();
  }

  Section root;
  ProblemFile& problem;
  Issues& issues;
  std::map<std::string, std::string> declared;
};

// The parser nests as deep as a key has parts, on the stack. Line of a key with more parts than any
// of ours, 0 for none; texts and comments are skipped.
int lineOfDeepKey(const std::string& content) {
  constexpr int mostParts = 64;
  int line = 1, dots = 0;
  for (std::size_t i = 0; i < content.size(); ++i) {
    const char c = content[i];
    if (c == '"' || c == '\'') {
      const bool block = content.compare(i, 3, std::string(3, c)) == 0;
      const std::string end(block ? 3 : 1, c);
      for (i += end.size(); i < content.size() && content.compare(i, end.size(), end) != 0; ++i) {
        if (content[i] == '\n' && !block) break;
        line += content[i] == '\n';
        if (c == '"' && content[i] == '\\') ++i;
      }
      if (i < content.size() && content[i] == '\n')
        --i;
      else
        i += end.size() - 1;
    } else if (c == '#') {
      i = std::min(content.find('\n', i), content.size()) - 1;
    } else if (c == '.') {
      if (++dots >= mostParts) return line;
    } else if (std::string("\n=,[]{}").find(c) != std::string::npos) {
      dots = 0;
      line += c == '\n';
    }
  }
  return 0;
}

// What the user may have meant with a line that is no TOML.
std::string syntaxHint(const std::string& description) {
  const std::pair<const char*, const char*> hints[] = {
      {"expected decimal digit", "; a decimal point has digits on both sides: 0.5, 1.0"},
      {"saw ','", "; numbers have a decimal point: 0.1, not 0,1"},
      {"saw '\\n'", "; a table in braces is written in one line"},
      {"could not determine value type", "; an expression is written in quotes"},
      {"utf-8", "; convert the file to UTF-8, for instance with iconv -f latin1 -t utf-8"},
      {"escape sequence", "; a regex is written in single quotes, where \\ is nothing special"}};
  for (const auto& [part, hint] : hints)
    if (description.find(part) != std::string::npos) return hint;
  return {};
}

}  // namespace

ProblemFile readProblem(const fs::path& file, Issues& issues, const Overrides& overrides) {
  ProblemFile problem;
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
  std::string text;
  if (!readFile(file, text, 100'000'000)) {
    issues.add(0, "cannot be read, or is larger than 100 MB");
    return problem;
  }
  if (const int line = lineOfDeepKey(text); line > 0) {
    issues.add(line, "syntax: a key of too many parts with points between them");
    return problem;
  }
  try {
    toml::table content = toml::parse(text, file.string());
    for (const std::string& one : overrides) apply(one, content, issues);
    problem.overrides = overrides;
    Reader(content, problem, issues).read();
  } catch (const toml::parse_error& wrong) {
    issues.add(static_cast<int>(wrong.source().begin.line),
               "syntax: " + std::string(wrong.description()) +
                   syntaxHint(std::string(wrong.description())));
  }
  return problem;
}

}  // namespace tarnix::cli
