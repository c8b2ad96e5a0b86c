// The problem collection in expressions: its C sources, compiled with expressions in place of
// doubles. problems.h and family.h are replaced by what follows, in which the tables keep their
// names and functions only.

#include <math.h>
#include <stddef.h>
#include <cmath>
#include <cstddef>
#include <functional>
#include <string>

#include "expression.h"

namespace collection {
extern "C" {
#include <problems.h>
}
}  // namespace collection

namespace nl {
namespace {

struct Number {  // what a table has beside names and functions
  Number(double) {}
};
struct Problem {  // in the order that the tables have
  const char *name, *source;
  int n, nEq, nIneq;
  void (*evaluate)(void*, Expr*, Expr*, Expr*, Expr*);
  unsigned flags;
  const double *start, *lower, *upper, *best;
  Number fBest;
};
struct ProblemFamily {
  const Problem* problems;
  int count;
};
using collection::PROBLEM_ACTIVE_BOUNDS;
using collection::PROBLEM_DEGENERATE;
using collection::PROBLEM_DESIGN;
using collection::PROBLEM_INFEASIBLE_START;
using collection::PROBLEM_NEARLY_DEPENDENT;
using collection::PROBLEM_OTHER_MINIMA;
using collection::PROBLEM_REDUNDANT;
using collection::PROBLEM_SCALABLE;

const double *allZero, *allOne, *allTen, *allMinusTen;

Expr sq(const Expr& a) {
  return a * a;
}
Expr cube(const Expr& a) {
  return a * a * a;
}

#define TARNIX_PROBLEM_FAMILY_H
#define EVALUATION(name) void name(void* user, Expr* x, Expr* f, Expr* eq, Expr* ineq)
#define VALUES(...) nullptr
#define FAMILY(table) \
  { table, static_cast<int>(sizeof(table) / sizeof((table)[0])) }

EVALUATION(hs14);
EVALUATION(hs22);
EVALUATION(hs28);
EVALUATION(hs43);
EVALUATION(hs48);

#define double Expr
#include "hock_schittkowski.c"  // the others use its functions
namespace classics {
#include "classics.c"
}
namespace degenerate {
#include "degenerate.c"
}
namespace design {
#include "design.c"
}
namespace families {
#include "families.c"
}
namespace hockSchittkowskiMore {
#include "hock_schittkowski_more.c"
}
namespace scalable {
#include "scalable.c"
}
namespace schittkowski {
#include "schittkowski.c"
}
#undef double

const ProblemFamily* const all[] = {
    &classics::classicsFamily, &degenerate::degenerateFamily,
    &design::designFamily,     &families::largerFamily,
    &hockSchittkowskiFamily,   &hockSchittkowskiMore::hockSchittkowskiMoreFamily,
    &scalable::scalableFamily, &schittkowski::schittkowskiFamily};

// Nodes of the tree that a file has, which repeats what expressions share; stops at the limit.
int treeSize(const Node& node, int limit) {
  int size = 1;
  for (const auto& argument : node.arguments) {
    if (size > limit) break;
    size += treeSize(*argument, limit - size);
  }
  return size;
}

std::optional<Model> trace(const Problem& p, const collection::Problem& original) {
  constexpr int longest = 20000;
  std::vector<Expr> x, eq(static_cast<std::size_t>(p.nEq)), ineq(static_cast<std::size_t>(p.nIneq));
  Model model;
  for (int i = 0; i < p.n; ++i) {
    x.push_back(Expr::variable(i));
    model.variables.push_back({original.start[i], original.lower[i], original.upper[i]});
  }
  Expr f;
  try {
    p.evaluate(nullptr, x.data(), &f, eq.data(), ineq.data());
  } catch (const NotExpressible&) {
    return std::nullopt;
  }
  if (treeSize(f.node(), longest) > longest) return std::nullopt;
  model.objective = f;
  for (const Expr& h : eq) model.constraints.push_back({h, 0, 0});
  for (const Expr& g : ineq) model.constraints.push_back({g, -HUGE_VAL, 0});
  for (const auto& c : model.constraints)
    if (treeSize(c.body.node(), longest) > longest) return std::nullopt;
  return model;
}

}  // namespace

std::optional<Model> collected(const std::string& name) {
  const collection::Problem* original = collection::problemByName(name.c_str());
  for (const ProblemFamily* family : all)
    for (int k = 0; k < family->count && original != nullptr; ++k)
      if (family->problems[k].name == name) return trace(family->problems[k], *original);
  return std::nullopt;
}

}  // namespace nl
