#include "expression.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <set>

namespace nl {
namespace {

// Codes of .nl files.
enum Code {
  plus = 0,
  minus = 1,
  times = 2,
  over = 3,
  power = 5,
  absolute = 15,
  negate = 16,
  tangent = 38,
  root = 39,
  sine = 41,
  logarithm10 = 42,
  logarithm = 43,
  exponential = 44,
  cosine = 46,
  arctangent = 49,
  arcsine = 51,
  arccosine = 53
};

Expr unary(int code, const Expr& a, double (*function)(double)) {
  return a.isConstant() ? Expr(function(a.value())) : Expr::operation(code, {a});
}

bool isZero(const Expr& a) {
  return a.isConstant() && a.value() == 0;
}

const std::pair<double, double> constants(const Expr& a, const Expr& b) {
  if (!a.isConstant() || !b.isConstant()) throw NotExpressible();
  return {a.value(), b.value()};
}

}  // namespace

Expr Expr::operation(int code, std::vector<Expr> arguments) {
  Node node{Node::operation, 0, code, {}};
  for (const Expr& a : arguments) node.arguments.push_back(a.node_);
  return Expr(std::move(node));
}

Expr operator+(const Expr& a, const Expr& b) {
  if (a.isConstant() && b.isConstant()) return a.value() + b.value();
  if (isZero(a)) return b;  // sums begin with it
  return Expr::operation(plus, {a, b});
}
Expr operator-(const Expr& a, const Expr& b) {
  if (a.isConstant() && b.isConstant()) return a.value() - b.value();
  return Expr::operation(minus, {a, b});
}
Expr operator*(const Expr& a, const Expr& b) {
  if (a.isConstant() && b.isConstant()) return a.value() * b.value();
  return Expr::operation(times, {a, b});
}
Expr operator/(const Expr& a, const Expr& b) {
  if (a.isConstant() && b.isConstant()) return a.value() / b.value();
  return Expr::operation(over, {a, b});
}
Expr operator-(const Expr& a) {
  return a.isConstant() ? Expr(-a.value()) : Expr::operation(negate, {a});
}
Expr pow(const Expr& a, const Expr& b) {
  if (a.isConstant() && b.isConstant()) return std::pow(a.value(), b.value());
  return Expr::operation(power, {a, b});
}
Expr& Expr::operator+=(const Expr& b) {
  return *this = *this + b;
}
Expr& Expr::operator-=(const Expr& b) {
  return *this = *this - b;
}
Expr& Expr::operator*=(const Expr& b) {
  return *this = *this * b;
}
Expr& Expr::operator/=(const Expr& b) {
  return *this = *this / b;
}

bool operator<(const Expr& a, const Expr& b) {
  const auto [left, right] = constants(a, b);
  return left < right;
}
bool operator>(const Expr& a, const Expr& b) {
  return b < a;
}
bool operator<=(const Expr& a, const Expr& b) {
  const auto [left, right] = constants(a, b);
  return left <= right;
}
bool operator>=(const Expr& a, const Expr& b) {
  return b <= a;
}

Expr fabs(const Expr& a) {
  return unary(absolute, a, std::fabs);
}
Expr sqrt(const Expr& a) {
  return unary(root, a, std::sqrt);
}
Expr exp(const Expr& a) {
  return unary(exponential, a, std::exp);
}
Expr log(const Expr& a) {
  return unary(logarithm, a, std::log);
}
Expr log10(const Expr& a) {
  return unary(logarithm10, a, std::log10);
}
Expr sin(const Expr& a) {
  return unary(sine, a, std::sin);
}
Expr cos(const Expr& a) {
  return unary(cosine, a, std::cos);
}
Expr tan(const Expr& a) {
  return unary(tangent, a, std::tan);
}
Expr asin(const Expr& a) {
  return unary(arcsine, a, std::asin);
}
Expr acos(const Expr& a) {
  return unary(arccosine, a, std::acos);
}
Expr atan(const Expr& a) {
  return unary(arctangent, a, std::atan);
}
Expr hypot(const Expr& a, const Expr& b) {
  return sqrt(a * a + b * b);
}
Expr erfc(const Expr&) {
  throw NotExpressible();
}
Expr cbrt(const Expr&) {
  throw NotExpressible();
}
Expr fmax(const Expr& a, const Expr& b) {
  return a < b ? b : a;
}
Expr fmin(const Expr& a, const Expr& b) {
  return a < b ? a : b;
}

namespace {

struct Linear {
  double constant = 0;
  std::map<int, double> coefficients;
  void add(const Linear& other, double factor) {
    constant += factor * other.constant;
    for (const auto& [i, c] : other.coefficients) coefficients[i] += factor * c;
  }
};

// The linear form of an expression that is one.
std::optional<Linear> linearForm(const Node& node) {
  Linear form;
  if (node.kind == Node::constant) {
    form.constant = node.value;
    return form;
  }
  if (node.kind == Node::variable) {
    form.coefficients[node.number] = 1;
    return form;
  }
  std::vector<Linear> parts;
  for (const auto& argument : node.arguments) {
    const auto part = linearForm(*argument);
    if (!part) return std::nullopt;
    parts.push_back(*part);
  }
  const auto isNumber = [&](std::size_t k) { return parts[k].coefficients.empty(); };
  if (node.number == plus || node.number == minus) {
    form = parts[0];
    form.add(parts[1], node.number == plus ? 1 : -1);
  } else if (node.number == negate) {
    form.add(parts[0], -1);
  } else if (node.number == times && isNumber(0)) {
    form.add(parts[1], parts[0].constant);
  } else if (node.number == times && isNumber(1)) {
    form.add(parts[0], parts[1].constant);
  } else {
    return std::nullopt;
  }
  return form;
}

void collectVariables(const Node& node, std::set<int>& seen, std::set<const Node*>& visited) {
  if (!visited.insert(&node).second) return;
  if (node.kind == Node::variable) seen.insert(node.number);
  for (const auto& argument : node.arguments) collectVariables(*argument, seen, visited);
}

// One function of a file: what is not linear in it, and the coefficients of the rest, 0 for the
// variables of the former.
struct Row {
  bool nonlinear = false;
  Expr expression;
  Linear linear;
};

Row rowOf(const Expr& body) {
  Row row;
  if (const auto form = linearForm(body.node())) {
    row.linear = *form;
    return row;
  }
  row.nonlinear = true;
  row.expression = body;
  std::set<int> seen;
  std::set<const Node*> visited;
  collectVariables(body.node(), seen, visited);
  for (const int i : seen) row.linear.coefficients[i] = 0;
  return row;
}

// Writes either form: items of a line in text, bytes in binary.
class Writer {
 public:
  explicit Writer(bool binary) : binary_(binary) {}

  Writer& tag(char letter) {
    text_ += letter;
    fresh_ = true;
    return *this;
  }
  Writer& integer(std::int32_t value) {
    if (binary_) return bytes(&value, sizeof value);
    return item(std::to_string(value));
  }
  Writer& real(double value) {
    if (binary_) return bytes(&value, sizeof value);
    char digits[40];
    std::snprintf(digits, sizeof digits, "%.17g", value);
    return item(digits);
  }
  void end() {
    if (!binary_) text_ += '\n';
    fresh_ = true;
  }
  void header(const std::string& lines) { text_ += lines; }
  std::string take() { return std::move(text_); }

 private:
  Writer& bytes(const void* data, std::size_t size) {
    text_.append(static_cast<const char*>(data), size);
    return *this;
  }
  Writer& item(const std::string& word) {
    if (!fresh_) text_ += ' ';
    fresh_ = false;
    text_ += word;
    return *this;
  }
  bool binary_, fresh_ = true;
  std::string text_;
};

void writeExpression(Writer& out, const Node& node) {
  if (node.kind == Node::constant) return out.tag('n').real(node.value).end();
  out.tag(node.kind == Node::variable ? 'v' : 'o').integer(node.number).end();
  for (const auto& argument : node.arguments) writeExpression(out, *argument);
}

class File {
 public:
  File(const Model& model, bool binary) : m_(model), binary_(binary), out_(binary) {
    for (const int k : model.order())
      rows_.push_back(rowOf(model.constraints[static_cast<std::size_t>(k)].body));
    if (model.objective) objective_ = rowOf(*model.objective);
  }

  std::string write() {
    writeHeader();
    for (std::size_t k = 0; k < rows_.size(); ++k) {
      out_.tag('C').integer(static_cast<int>(k)).end();
      writeExpression(out_, rows_[k].expression.node());
    }
    if (m_.objective) {
      out_.tag('O').integer(0).integer(m_.maximize).end();
      writeExpression(out_, objective_.nonlinear ? objective_.expression.node()
                                                 : Expr(objective_.linear.constant).node());
    }
    writeStart();
    writeLimits();
    writeJacobian();
    return out_.take();
  }

 private:
  void writeHeader() {
    const int n = static_cast<int>(m_.variables.size()), m = static_cast<int>(rows_.size());
    int nonlinear = 0, ranges = 0, equations = 0, entries = 0, complements = 0;
    for (const Row& row : rows_) {
      nonlinear += row.nonlinear;
      entries += static_cast<int>(row.linear.coefficients.size());
    }
    for (const auto& c : m_.constraints) {
      equations += c.lower == c.upper;
      ranges += std::isfinite(c.lower) && std::isfinite(c.upper) && c.lower != c.upper;
      complements += c.complements > 0;
    }
    const int objectives = m_.objective.has_value(), curved = objective_.nonlinear;
    const int inConstraints = nonlinear > 0 ? n : 0, inObjective = curved ? n : 0;
    char lines[600];
    std::snprintf(lines, sizeof lines,
                  "%c3 1 1 0\n %d %d %d %d %d %d\n %d %d %d 0 0 0\n 0 0\n %d %d %d\n"
                  " 0 0 %d 1\n 0 %d 0 0 0\n %d %d\n 0 0\n 0 0 0 0 0\n",
                  binary_ ? 'b' : 'g', n, m, objectives, ranges, equations, m_.logical, nonlinear,
                  curved, complements, inConstraints, inObjective,
                  std::min(inConstraints, inObjective), binary_ ? 1 : 0, m_.integers, entries,
                  static_cast<int>(objective_.linear.coefficients.size()));
    out_.header(lines);
  }

  void writeStart() {
    out_.tag('x').integer(static_cast<int>(m_.variables.size())).end();
    for (std::size_t i = 0; i < m_.variables.size(); ++i) {
      out_.integer(static_cast<int>(i)).real(m_.variables[i].start).end();
    }
  }

  void writeInterval(double lower, double upper) {
    if (lower == upper) {
      out_.tag('4');
      sep();
      return out_.real(lower).end();
    }
    if (std::isfinite(lower) && std::isfinite(upper)) {
      out_.tag('0');
      sep();
      return out_.real(lower).real(upper).end();
    }
    const bool below = std::isfinite(lower);
    if (!below && !std::isfinite(upper)) return out_.tag('3').end();
    out_.tag(below ? '2' : '1');
    sep();
    out_.real(below ? lower : upper).end();
  }
  // A blank between the kind and its numbers, in text.
  void sep() {
    if (!binary_) out_.header(" ");
  }

  void writeLimits() {
    const std::vector<int> order = m_.order();
    if (!rows_.empty()) {
      out_.tag('r').end();
      for (std::size_t k = 0; k < rows_.size(); ++k) {
        const auto& c = m_.constraints[static_cast<std::size_t>(order[k])];
        const double shift = rows_[k].linear.constant;  // 0 when it is not linear
        if (c.complements > 0) {
          out_.tag('5');
          sep();
          out_.integer(1).integer(c.complements).end();
        } else {
          writeInterval(c.lower - shift, c.upper - shift);
        }
      }
    }
    out_.tag('b').end();
    for (const auto& v : m_.variables) writeInterval(v.lower, v.upper);
  }

  void writeJacobian() {
    const int n = static_cast<int>(m_.variables.size());
    if (!rows_.empty()) {
      std::vector<int> perColumn(static_cast<std::size_t>(n), 0);
      for (const Row& row : rows_)
        for (const auto& entry : row.linear.coefficients)
          ++perColumn[static_cast<std::size_t>(entry.first)];
      out_.tag('k').integer(n - 1).end();
      int sum = 0;
      for (int i = 0; i + 1 < n; ++i) {
        sum += perColumn[static_cast<std::size_t>(i)];
        out_.integer(sum).end();
      }
    }
    for (std::size_t k = 0; k < rows_.size(); ++k) writeRow('J', static_cast<int>(k), rows_[k]);
    if (m_.objective) writeRow('G', 0, objective_);
  }

  void writeRow(char tag, int number, const Row& row) {
    if (row.linear.coefficients.empty()) return;
    out_.tag(tag).integer(number).integer(static_cast<int>(row.linear.coefficients.size())).end();
    for (const auto& [i, c] : row.linear.coefficients) out_.integer(i).real(c).end();
  }

  const Model& m_;
  const bool binary_;
  Writer out_;
  std::vector<Row> rows_;
  Row objective_;
};

}  // namespace

std::vector<int> Model::order() const {
  std::vector<int> first, last;
  for (std::size_t k = 0; k < constraints.size(); ++k)
    (linearForm(constraints[k].body.node()) ? last : first).push_back(static_cast<int>(k));
  first.insert(first.end(), last.begin(), last.end());
  return first;
}

std::string Model::text() const {
  return File(*this, false).write();
}
std::string Model::binary() const {
  return File(*this, true).write();
}

}  // namespace nl
