#pragma once
// Multipliers and sensitivities at a point, from one gradient pass.

#include <tarnix/routines.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "../result.hpp"
#include "gradient_pass.hpp"
#include "session.hpp"

namespace tarnix::detail {

/// Fits the multipliers of the active limits to the gradients. In core variables, the projection
///     minimize  g'd + d'd / 2   subject to  a'd <= 0 (or = 0)  over the active limits
/// has the least-squares multipliers as its own, and what they leave over of g as -d. Gradients
/// are normalized, for the QP solver's tolerances are absolute.
class ReportPass {
 public:
  ReportPass(const Description& description, const CoreProblem& core, double tolerance,
             const Session& session, GradientPass pass)
      : d_(description), c_(core), tolerance_(tolerance), session_(session), p_(std::move(pass)) {}

  Report run() {
    report_.gradient.assign(d_.variables.size(), 0.0);
    report_.sensitivity = report_.gradient;
    for (std::size_t i = 0; i < c_.free.size(); ++i) {
      report_.gradient[c_.free[i]] = objectiveUnit() * p_.G[i] / c_.half(i);
      report_.sensitivity[c_.free[i]] = objectiveUnit() * p_.G[i] * 0.02;
    }
    report_.jacobian.assign(d_.variables.size() * d_.functions.size(), 0.0);
    for (std::size_t r = 0; r < c_.rows.size(); ++r)
      for (std::size_t i = 0; i < c_.free.size(); ++i)
        report_.jacobian[c_.rows[r].function * d_.variables.size() + c_.free[i]] =
            p_.G[r * n() + i] / c_.half(i) / c_.rows[r].factor;
    chooseActive();
    fit();
    return std::move(report_);
  }

  /// Of the rows, in core units: the Lagrangian is their sum, each times its multiplier, with 1 for
  /// the objective.
  const std::vector<double>& multipliers() const { return multipliers_; }
  /// Its derivatives in variables that run over [-1, 1]: what the bounds hold, and what is left.
  std::vector<double> slopes() const {
    std::vector<double> all(n());
    for (std::size_t r = 0; r < c_.rows.size(); ++r)
      for (std::size_t i = 0; multipliers_[r] != 0 && i < n(); ++i)
        all[i] += multipliers_[r] * p_.G[r * n() + i];
    return all;
  }

  /// Direction of steepest descent that the active limits leave, of length report.optimality.
  const std::vector<double>& descent() const { return descent_; }

 private:
  std::size_t n() const { return c_.free.size(); }
  /// Change of the host's objective per unit of the core's.
  double objectiveUnit() const { return 1 / c_.rows[0].factor; }

  /// Inequality rows before equality rows, as the QP solver requires.
  void chooseActive() {
    const std::size_t firstInequality = 1 + static_cast<std::size_t>(c_.equalities);
    for (std::size_t r = firstInequality; r < c_.rows.size(); ++r)
      if (p_.f[r] >= -10 * tolerance_ && p_.norm(r) > 0) rows_.push_back(r);
    inequalities_ = static_cast<std::int32_t>(rows_.size());
    for (std::size_t r = 1; r < firstInequality; ++r)
      if (p_.norm(r) > 0) rows_.push_back(r);
    constexpr double close = 1e-6;
    for (std::size_t i = 0; i < n(); ++i) {
      const bool atUpper = c_.trueUpper[i] - p_.x[i] <= close * c_.half(i);
      const bool atLower = p_.x[i] - c_.trueLower[i] <= close * c_.half(i);
      codes_.push_back(atUpper ? 3 : atLower ? 2 : 0);
    }
  }

  void fit() {
    const std::int32_t size = c_.n(), m = static_cast<std::int32_t>(rows_.size());
    std::vector<double> A(n() * rows_.size()), b(rows_.size()), H(n() * n()), g(n()), zero(n()),
        d(n()), multiplier(n());
    const double gradientNorm = p_.norm(0);
    for (std::size_t i = 0; i < n(); ++i) {
      H[i * n() + i] = 1;
      g[i] = gradientNorm > 0 ? p_.G[i] / gradientNorm : 0;
      for (std::size_t k = 0; k < rows_.size(); ++k)
        A[k * n() + i] = p_.G[rows_[k] * n() + i] / p_.norm(rows_[k]);
    }
    std::vector<std::int32_t> active(n());
    std::int32_t nActive = 0, noSolution = 0, notPosDef = 0, failure = 0;
    const Session::Use use(session_);
    QPSOLV(&size, &m, &inequalities_, A.data(), &size, b.data(), H.data(), &size, g.data(),
           codes_.data(), zero.data(), zero.data(), d.data(), multiplier.data(), active.data(),
           &nActive, &noSolution, &notPosDef, &failure);
    const bool fitted = !noSolution && !notPosDef && !failure;
    // Limits in the order of the QP's rows: general ones, then the bounds by variable.
    std::vector<double> lambda(rows_.size() + n());
    for (std::int32_t k = 0; fitted && k < nActive; ++k)
      lambda[static_cast<std::size_t>(active[static_cast<std::size_t>(k)]) - 1] =
          multiplier[static_cast<std::size_t>(k)] * gradientNorm;
    multipliers_.assign(c_.rows.size(), 0.0);
    multipliers_[0] = 1;
    for (std::size_t k = 0; k < rows_.size(); ++k) {
      multipliers_[rows_[k]] = lambda[k] / p_.norm(rows_[k]);
      addConstraint(rows_[k], multipliers_[rows_[k]]);
    }
    std::size_t row = rows_.size();
    for (std::size_t i = 0; i < n(); ++i)
      if (codes_[i] != 0) addBound(i, lambda[row++]);
    double left = 0;
    for (const double di : d) left += di * di;
    report_.optimality = fitted ? std::sqrt(left) : 1.0;
    report_.slope = report_.optimality * gradientNorm;
    descent_ = std::move(d);
  }

  void addConstraint(std::size_t r, double lambda) {
    const CoreProblem::Row& row = c_.rows[r];
    const auto& f = d_.functions[row.function];
    using Kind = ActiveLimit::Kind;
    const Kind kind = f.relation == Relation::equal ? Kind::equality
                      : row.factor > 0              ? Kind::upperLimit
                                                    : Kind::lowerLimit;
    const double multiplier = -objectiveUnit() * lambda * row.factor;
    const double size = row.limit != 0 ? std::abs(row.limit) : f.scale;
    report_.active.push_back({f.name, kind, row.limit, multiplier, multiplier * 0.01 * size});
  }

  void addBound(std::size_t i, double lambda) {
    const bool upper = codes_[i] == 3;
    const double multiplier = objectiveUnit() * (upper ? -lambda : lambda) / c_.half(i);
    report_.active.push_back({d_.variables[c_.free[i]].name,
                              upper ? ActiveLimit::Kind::upperBound : ActiveLimit::Kind::lowerBound,
                              upper ? c_.upper[i] : c_.lower[i], multiplier,
                              multiplier * 0.02 * c_.half(i)});
  }

  // Given.
  const Description& d_;
  const CoreProblem& c_;
  const double tolerance_;
  const Session& session_;
  const GradientPass p_;
  // Work.
  std::vector<std::size_t> rows_;
  std::int32_t inequalities_ = 0;
  std::vector<std::int32_t> codes_;
  std::vector<double> multipliers_, descent_;
  Report report_;
};

}  // namespace tarnix::detail
