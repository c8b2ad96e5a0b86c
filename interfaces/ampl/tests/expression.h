#pragma once
// Expressions of variables, built by the operators of the language, and models made of them, which
// are written as .nl files.

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace nl {

// What .nl files cannot say, or these expressions do not: a branch on a variable.
struct NotExpressible : std::runtime_error {
  NotExpressible() : std::runtime_error("not expressible") {}
};

struct Node {
  enum Kind { constant, variable, operation };
  Kind kind;
  double value;  // of a constant
  int number;    // of a variable, or code of an operation in .nl files
  std::vector<std::shared_ptr<const Node>> arguments;
};

class Expr {
 public:
  Expr(double value = 0) : node_(std::make_shared<Node>(Node{Node::constant, value, 0, {}})) {}
  static Expr variable(int i) { return Expr(Node{Node::variable, 0, i, {}}); }
  static Expr operation(int code, std::vector<Expr> arguments);

  const Node& node() const { return *node_; }
  bool isConstant() const { return node_->kind == Node::constant; }
  double value() const { return node_->value; }

  Expr& operator+=(const Expr& b);
  Expr& operator-=(const Expr& b);
  Expr& operator*=(const Expr& b);
  Expr& operator/=(const Expr& b);

 private:
  explicit Expr(Node node) : node_(std::make_shared<Node>(std::move(node))) {}
  std::shared_ptr<const Node> node_;
};

Expr operator+(const Expr& a, const Expr& b);
Expr operator-(const Expr& a, const Expr& b);
Expr operator*(const Expr& a, const Expr& b);
Expr operator/(const Expr& a, const Expr& b);
Expr operator-(const Expr& a);
bool operator<(const Expr& a, const Expr& b);  // of constants
bool operator>(const Expr& a, const Expr& b);
bool operator<=(const Expr& a, const Expr& b);
bool operator>=(const Expr& a, const Expr& b);
Expr pow(const Expr& a, const Expr& b);
Expr fabs(const Expr& a);
Expr sqrt(const Expr& a);
Expr exp(const Expr& a);
Expr log(const Expr& a);
Expr log10(const Expr& a);
Expr sin(const Expr& a);
Expr cos(const Expr& a);
Expr tan(const Expr& a);
Expr asin(const Expr& a);
Expr acos(const Expr& a);
Expr atan(const Expr& a);
Expr hypot(const Expr& a, const Expr& b);
Expr erfc(const Expr& a);
Expr cbrt(const Expr& a);
Expr fmax(const Expr& a, const Expr& b);
Expr fmin(const Expr& a, const Expr& b);

// A model, in the order in which a file has it: constraints that are not linear come first.
struct Model {
  struct Variable {
    double start, lower, upper;
  };
  struct Constraint {
    Expr body;
    double lower, upper;
    int complements = 0;  // the variable, from 1 on, that it is complementary to
  };
  std::vector<Variable> variables;
  std::vector<Constraint> constraints;
  std::optional<Expr> objective;
  bool maximize = false;
  int integers = 0;  // of the last variables, which must not be in a nonlinear expression
  int logical = 0;   // logical constraints, as the header has them

  // The constraints in the order of the file.
  std::vector<int> order() const;
  std::string text() const;
  std::string binary() const;
};

// Problem of the collection in expressions; empty where it branches or is too long.
std::optional<Model> collected(const std::string& name);

}  // namespace nl
