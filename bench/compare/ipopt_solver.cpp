// Ipopt with curvature of limited memory and difference gradients, in variables that run over
// [-1, 1].
#include <IpoptConfig.h>
#include <IpIpoptApplication.hpp>
#include <IpTNLP.hpp>

#include <algorithm>

#include "compare.h"

namespace compare {
namespace {

using Ipopt::Index;
using Ipopt::Number;

class Program : public Ipopt::TNLP {
 public:
  Program(Values& values, const std::vector<double>& start)
      : values_(values), p_(values.problem), z(values.scaled(start)) {}

  bool get_nlp_info(Index& n, Index& m, Index& entries, Index& hessian,
                    IndexStyleEnum& style) override {
    n = p_.n;
    m = p_.nEq + p_.nIneq;
    entries = n * m;
    hessian = 0;
    style = C_STYLE;
    return true;
  }
  bool get_bounds_info(Index n, Number* lower, Number* upper, Index m, Number* rowLower,
                       Number* rowUpper) override {
    std::fill(lower, lower + n, -1.0);
    std::fill(upper, upper + n, 1.0);
    std::fill(rowLower, rowLower + m, -1e20);
    std::fill(rowLower, rowLower + p_.nEq, 0.0);
    std::fill(rowUpper, rowUpper + m, 0.0);
    return true;
  }
  bool get_starting_point(Index, bool, Number* x, bool, Number*, Number*, Index, bool,
                          Number*) override {
    std::copy(z.begin(), z.end(), x);
    return true;
  }
  bool eval_f(Index, const Number* x, bool, Number& f) override {
    return guarded([&] { f = values_.atScaled(x)[0]; });
  }
  bool eval_grad_f(Index n, const Number* x, bool, Number* g) override {
    return guarded([&] { std::copy_n(values_.jacobian(x)[0].begin(), n, g); });
  }
  bool eval_g(Index, const Number* x, bool, Index m, Number* g) override {
    return guarded([&] { std::copy_n(values_.atScaled(x).begin() + 1, m, g); });
  }
  bool eval_jac_g(Index n, const Number* x, bool, Index m, Index, Index* row, Index* column,
                  Number* entries) override {
    if (!entries) {
      for (Index k = 0; k < n * m; ++k) row[k] = k / n, column[k] = k % n;
      return true;
    }
    return guarded([&] {
      for (Index i = 0; i < m; ++i)
        std::copy_n(values_.jacobian(x)[1 + i].begin(), n, entries + i * n);
    });
  }
  bool intermediate_callback(Ipopt::AlgorithmMode, Index, Number, Number, Number, Number, Number,
                             Number, Number, Number, Index, const Ipopt::IpoptData*,
                             Ipopt::IpoptCalculatedQuantities*) override {
    return !spent_;
  }
  void finalize_solution(Ipopt::SolverReturn, Index n, const Number* x, const Number*,
                         const Number*, Index, const Number*, const Number*, Number,
                         const Ipopt::IpoptData*, Ipopt::IpoptCalculatedQuantities*) override {
    z.assign(x, x + n);
  }

 private:
  // Ipopt takes a shorter step where a value is not to be had, and ends at its next iteration.
  template <class Work>
  bool guarded(Work work) {
    try {
      if (!spent_) work();
    } catch (const BudgetSpent&) {
      spent_ = true;
    }
    return !spent_;
  }

  Values& values_;
  const Problem& p_;
  bool spent_ = false;

 public:
  std::vector<double> z;
};

Claim byIpopt(Values& values, const std::vector<double>& start, const Setup& setup) {
  Ipopt::SmartPtr<Ipopt::IpoptApplication> application = IpoptApplicationFactory();
  const auto options = application->Options();
  options->SetStringValue("hessian_approximation", "limited-memory");
  options->SetStringValue("sb", "yes");
  options->SetIntegerValue("print_level", 0);
  options->SetIntegerValue("max_iter", 1000);
  options->SetNumericValue("tol", setup.peerTolerance);
  options->SetNumericValue("max_cpu_time", setup.maxSeconds);
  application->Initialize();
  Ipopt::SmartPtr<Program> program = new Program(values, start);
  const Ipopt::ApplicationReturnStatus status =
      application->OptimizeTNLP(Ipopt::SmartPtr<Ipopt::TNLP>(GetRawPtr(program)));
  const bool success =
      status == Ipopt::Solve_Succeeded || status == Ipopt::Solved_To_Acceptable_Level;
  return {success, values.unscaled(program->z.data())};
}

}  // namespace

void addIpopt(std::vector<Solver>& to) {
  to.push_back({"ipopt", IPOPT_VERSION, byIpopt});
}

}  // namespace compare
