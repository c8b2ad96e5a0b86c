// COBYLA and SLSQP of NLopt, in variables that run over [-1, 1].
#include <nlopt.hpp>

#include <algorithm>

#include "compare.h"

namespace compare {
namespace {

struct Rows {
  Values* values;
  int first, count;
};

double objective(unsigned, const double* z, double* gradient, void* data) {
  Values& values = *static_cast<Values*>(data);
  const double f = values.atScaled(z)[0];
  if (gradient) {
    const std::vector<double>& row = values.jacobian(z)[0];
    std::copy(row.begin(), row.end(), gradient);
  }
  return f;
}

void constraints(unsigned m, double* result, unsigned n, const double* z, double* gradient,
                 void* data) {
  const Rows& rows = *static_cast<Rows*>(data);
  const double* value = rows.values->atScaled(z).data() + rows.first;
  std::copy(value, value + m, result);
  if (!gradient) return;
  const auto& jacobian = rows.values->jacobian(z);
  for (unsigned i = 0; i < m; ++i)
    std::copy(jacobian[rows.first + i].begin(), jacobian[rows.first + i].end(), gradient + i * n);
}

template <nlopt::algorithm algorithm>
Claim byNlopt(Values& values, const std::vector<double>& start, const Setup& setup) {
  const Problem& p = values.problem;
  nlopt::opt solver(algorithm, static_cast<unsigned>(p.n));
  solver.set_lower_bounds(-1);
  solver.set_upper_bounds(1);
  solver.set_min_objective(objective, &values);
  Rows equal{&values, 1, p.nEq}, atMost{&values, 1 + p.nEq, p.nIneq};
  const double feasible = setup.peerTolerance;
  if (p.nEq > 0)
    solver.add_equality_mconstraint(constraints, &equal, std::vector<double>(p.nEq, feasible));
  if (p.nIneq > 0)
    solver.add_inequality_mconstraint(constraints, &atMost, std::vector<double>(p.nIneq, feasible));
  solver.set_xtol_rel(setup.peerTolerance);
  solver.set_ftol_rel(setup.peerTolerance);
  std::vector<double> z = values.scaled(start);
  double f = 0;
  bool success = false;
  try {
    const nlopt::result status = solver.optimize(z, f);
    success = status > 0 && status != nlopt::MAXEVAL_REACHED && status != nlopt::MAXTIME_REACHED;
  } catch (const std::exception&) {  // NLopt's failures, rounding among them; the point is in z
  }
  return {success, values.unscaled(z.data())};
}

std::string version() {
  return std::to_string(nlopt::version_major()) + "." + std::to_string(nlopt::version_minor()) +
         "." + std::to_string(nlopt::version_bugfix());
}

}  // namespace

void addNlopt(std::vector<Solver>& to) {
  to.push_back({"cobyla", version(), byNlopt<nlopt::LN_COBYLA>});
  to.push_back({"slsqp", version(), byNlopt<nlopt::LD_SLSQP>});
}

}  // namespace compare
