#include "problem/model.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <numbers>

#include "base/text.h"

namespace tarnix::cli {

namespace {

double finiteOrPlainNan(double value) {
  return std::isnan(value) ? std::numeric_limits<double>::quiet_NaN() : value;
}

std::unique_ptr<mu::Parser> emptyParser() {
  auto parser = std::make_unique<mu::Parser>();
  parser->DefineConst("pi", std::numbers::pi);
  parser->DefineFun(
      "pow", +[](double base, double power) { return std::pow(base, power); });
  return parser;
}

// An assignment would change a variable of every other expression.
bool assigns(const std::string& text) {
  for (std::size_t i = text.find('='); i != std::string::npos; i = text.find('=', i + 1)) {
    if (text[i + 1] == '=')
      ++i;  // a comparison; the terminator is no '='
    else if (i == 0 || std::string("<>!").find(text[i - 1]) == std::string::npos)
      return true;
  }
  return false;
}

// What the user may have meant with an expression that is none.
std::string hintFor(const std::string& text, const mu::ParserError& error,
                    const mu::Parser& parser) {
  const char* const product = "; a product is written with *";
  if (error.GetCode() == mu::ecUNEXPECTED_VAR) return product;
  if (text.find("**") != std::string::npos) return "; a power is written ^";
  for (const char* sign : {"\u00d7", "\u00b7", ")("})
    if (text.find(sign) != std::string::npos) return product;
  std::vector<std::string> functions;
  for (const auto& [name, unused] : parser.GetFunDef()) functions.push_back(name);
  const auto letter = [](char c) {
    return std::isalpha(static_cast<unsigned char>(c)) || c == '_';
  };
  const auto digit = [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; };
  for (std::size_t i = 0; i < text.size();) {
    std::size_t end = i;
    if (letter(text[i])) {
      while (end < text.size() && (letter(text[end]) || digit(text[end]))) ++end;
      const std::string word = text.substr(i, end - i);
      if (end < text.size() && text[end] == '(' &&
          std::find(functions.begin(), functions.end(), word) == functions.end())
        return "; there is no function '" + clipped(word) + "'" + suggestion(word, functions);
    } else if (digit(text[i])) {
      while (end < text.size() && (digit(text[end]) || text[end] == '.')) ++end;
      const std::size_t next = std::min(text.find_first_not_of(' ', end), text.size());
      if (next < text.size() && letter(text[next]) && (next > end || text[next] != 'e'))
        return product;
    }
    i = std::max(end, i + 1);
  }
  return {};
}

}  // namespace

double Model::Formula::value() const {
  return finiteOrPlainNan(parser->Eval());
}

Model::Model(const ProblemFile& p, Issues& issues) : problem(p) {
  const auto functions = emptyParser();
  const auto declare = [&](const std::string& name, const std::string& kind, int line) {
    names.push_back(name);
    if (functions->GetFunDef().count(name) || functions->GetConst().count(name))
      issues.add(line,
                 kind + " '" + name + "': the name belongs to a built-in function or constant");
  };
  for (const VariableEntry& v : p.variables) declare(v.name, "variable", v.line);
  quantitiesBegin = names.size();
  for (const QuantityEntry& q : p.quantities) declare(q.name, "quantity", q.value.line);
  resultsBegin = names.size();
  for (const ResultEntry& r : p.results) declare(r.name, "result", r.line);
  // Parsers keep addresses of the slots, which therefore never move. The start is a fair value for
  // the trial evaluation of compile.
  slots.assign(names.size(), 1.0);
  used.assign(names.size(), false);
  for (std::size_t i = 0; i < p.variables.size(); ++i) slots[i] = p.variables[i].start;

  bool valid = true;
  std::vector<std::vector<std::size_t>> uses(p.quantities.size());
  quantities.resize(p.quantities.size());
  for (std::size_t i = 0; i < quantities.size(); ++i) {
    quantities[i].target = &slots[quantitiesBegin + i];
    valid = compile(p.quantities[i].value, quantities[i], uses[i], issues) && valid;
  }
  orderQuantities(uses, issues);

  std::vector<std::size_t> unused;
  outputs.resize(1 + p.constraints.size());
  valid = compile(p.objective.value, outputs[0], unused, issues) && valid;
  for (std::size_t j = 0; j < p.constraints.size(); ++j)
    valid = compile(p.constraints[j].value, outputs[j + 1], unused, issues) && valid;

  for (std::size_t i = 0; i < quantitiesBegin; ++i) inputLabels.push_back(names[i]);
  for (const std::size_t i : order)
    if (!quantities[i].usesResults) inputLabels.push_back(p.quantities[i].name);
}

// Uses gets the positions of the quantities that the expression names.
bool Model::compile(const Expression& expression, Formula& formula, std::vector<std::size_t>& uses,
                    Issues& issues) {
  if (expression.text.empty()) return false;  // reported by the reader
  const auto wrong = [&](const std::string& text) {
    issues.add(expression.line, expression.owner + ": " + text);
    return false;
  };
  if (assigns(expression.text)) return wrong("'=' would assign; a comparison is written '=='");
  formula.parser = emptyParser();
  try {
    formula.parser->SetExpr(expression.text);
    bool known = true;
    const auto named = formula.parser->GetUsedVar();  // a copy: DefineVar resets the original
    for (const auto& [name, unused] : named) {
      const auto place = std::find(names.begin(), names.end(), name);
      if (place == names.end()) {
        known = wrong("unknown name '" + clipped(name) + "' in \"" + expression.text + "\"" +
                      suggestion(name, names));
        continue;
      }
      const auto slot = static_cast<std::size_t>(place - names.begin());
      formula.parser->DefineVar(name, &slots[slot]);
      used[slot] = true;
      if (slot >= resultsBegin)
        formula.usesResults = true;
      else if (slot >= quantitiesBegin)
        uses.push_back(slot - quantitiesBegin);
    }
    if (!known) return false;
    int count = 0;
    formula.parser->Eval(count);
    if (count != 1)
      return wrong("\"" + clipped(expression.text) + "\" holds " + std::to_string(count) +
                   " expressions separated by commas; a decimal point is written 1.5");
  } catch (const mu::ParserError& error) {
    std::string text = error.GetMsg();
    while (!text.empty() && (text.back() == '.' || text.back() == ' ')) text.pop_back();
    return wrong(clipped(text, 200) + " in \"" + clipped(expression.text) + "\"" +
                 hintFor(expression.text, error, *formula.parser));
  }
  return true;
}

// Depth first; a quantity that is met again below itself depends on its own value.
void Model::orderQuantities(const std::vector<std::vector<std::size_t>>& uses, Issues& issues) {
  enum class Mark { fresh, open, done };
  std::vector<Mark> marks(quantities.size(), Mark::fresh);
  std::vector<std::size_t> path;
  const auto visit = [&](const auto& self, std::size_t i) -> void {
    if (marks[i] == Mark::done) return;
    path.push_back(i);
    if (marks[i] == Mark::open) {
      std::string circle;
      for (auto k = std::find(path.begin(), path.end(), i); k != path.end(); ++k)
        circle += (circle.empty() ? "'" : " -> '") + problem.quantities[*k].name + "'";
      issues.add(problem.quantities[i].value.line,
                 "quantity '" + problem.quantities[i].name + "': depends on itself: " + circle);
    } else {
      marks[i] = Mark::open;
      for (const std::size_t needed : uses[i]) {
        self(self, needed);
        if (quantities[needed].usesResults) quantities[i].usesResults = true;
      }
      order.push_back(i);
    }
    marks[i] = Mark::done;
    path.pop_back();
  };
  for (std::size_t i = 0; i < quantities.size(); ++i) visit(visit, i);
}

// Whether a result or a variable that is not fixed enters, by way of quantities too.
bool Model::varies(const Formula& formula) const {
  if (!formula.parser || formula.usesResults) return true;
  for (const auto& [name, unused] : formula.parser->GetUsedVar()) {
    const auto slot =
        static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
    if (slot < quantitiesBegin ? problem.variables[slot].lower < problem.variables[slot].upper
                               : slot >= resultsBegin || varies(quantities[slot - quantitiesBegin]))
      return true;
  }
  return false;
}

void Model::warnUnused(const std::vector<std::string>& filledIn, Issues& issues) const {
  const auto check = [&](const std::string& kind, const std::string& name, int line) {
    const auto slot =
        static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
    if (!used[slot] && std::find(filledIn.begin(), filledIn.end(), name) == filledIn.end())
      issues.warn(line, kind + " '" + name + "': nothing uses it");
  };
  for (const VariableEntry& v : problem.variables) check("variable", v.name, v.line);
  for (const QuantityEntry& q : problem.quantities) check("quantity", q.name, q.value.line);
  for (const ResultEntry& r : problem.results) check("result", r.name, r.line);
  if (!varies(outputs[0])) issues.warn(problem.objective.value.line, "objective: it is constant");
}

void Model::load(std::span<const double> x) {
  std::copy(x.begin(), x.end(), slots.begin());
}

std::vector<double> Model::inputs(std::span<const double> x) {
  load(x);
  std::vector<double> result(x.begin(), x.end());
  for (const std::size_t i : order)
    if (!quantities[i].usesResults) result.push_back(*quantities[i].target = quantities[i].value());
  return result;
}

std::vector<double> Model::values(std::span<const double> x, std::span<const double> results) {
  load(x);
  std::copy(results.begin(), results.end(),
            slots.begin() + static_cast<std::ptrdiff_t>(resultsBegin));
  for (const std::size_t i : order) *quantities[i].target = quantities[i].value();
  std::vector<double> f;
  f.reserve(outputs.size());
  for (const Formula& output : outputs) f.push_back(output.value());
  return f;
}

}  // namespace tarnix::cli
