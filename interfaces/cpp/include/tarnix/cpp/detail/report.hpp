#pragma once
// Multipliers and sensitivities at a point, from one gradient pass.

#include <tarnix/routines.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "../result.hpp"
#include "evaluator.hpp"
#include "session.hpp"

namespace tarnix::detail {

/// Fits the multipliers of the active limits to the gradients. In core variables, the projection
///     minimise  g'd + d'd / 2   subject to  a'd <= 0 (or = 0)  over the active limits
/// has the least-squares multipliers as its own, and what they leave over of g as -d. Gradients
/// are normalised, for the QP solver's tolerances are absolute.
class ReportPass {
 public:
  ReportPass(const Description& description, const CoreProblem& core, const Options& options,
             const Session& session, Evaluator& evaluator)
      : d_(description), c_(core), o_(options), session_(session), evaluator_(evaluator) {}

  /// May throw EndSolve, when a limit does not allow the evaluations.
  Report at(const Design& design) {
    for (const std::size_t i : c_.free) x_.push_back(design.x[i]);
    f_ = coreValuesOf(design);
    formGradients();
    report_.gradient.assign(d_.variables.size(), 0.0);
    report_.sensitivity = report_.gradient;
    for (std::size_t i = 0; i < c_.free.size(); ++i) {
      report_.gradient[c_.free[i]] = objectiveUnit() * G_[i] / c_.half(i);
      report_.sensitivity[c_.free[i]] = objectiveUnit() * G_[i] * 0.02;
    }
    chooseActive();
    fit();
    return std::move(report_);
  }

 private:
  std::size_t n() const { return c_.free.size(); }
  /// Change of the host's objective per unit of the core's.
  double objectiveUnit() const { return 1 / c_.rows[0].factor; }

  std::vector<double> coreValuesOf(const Design& design) const {
    std::vector<double> f;
    for (const CoreProblem::Row& row : c_.rows) f.push_back(row.of(design.values[row.function]));
    return f;
  }

  /// Column r of G: gradient of core row r in core variables, the host's own where it gives one;
  /// differences point into the box.
  void formGradients() {
    const std::size_t m = c_.rows.size();
    G_.assign(n() * m, std::numeric_limits<double>::quiet_NaN());
    evaluator_.gradientAt(x_.data(), G_.data());
    std::vector<std::size_t> stepped;
    std::vector<double> steps, points;
    for (std::size_t i = 0; i < n(); ++i) {
      bool given = true;
      for (std::size_t r = 0; r < m; ++r) {
        double& g = G_[r * n() + i];
        g *= c_.half(i);
        given &= std::isfinite(g);
      }
      if (given) continue;
      std::vector<double> x = x_;
      const double step = o_.differenceStep * c_.half(i);
      x[i] = x_[i] + step <= c_.upper[i] ? x_[i] + step : x_[i] - step;
      stepped.push_back(i);
      steps.push_back((x[i] - x_[i]) / c_.half(i));
      points.insert(points.end(), x.begin(), x.end());
    }
    if (stepped.empty()) return;
    const std::vector<double>& values = evaluator_.measureAt(points);
    for (std::size_t k = 0; k < stepped.size(); ++k)
      for (std::size_t r = 0; r < m; ++r)
        if (double& g = G_[r * n() + stepped[k]]; !std::isfinite(g))
          g = (values[k * m + r] - f_[r]) / steps[k];
  }

  double norm(std::size_t r) const {
    double square = 0;
    for (std::size_t i = 0; i < n(); ++i) square += G_[r * n() + i] * G_[r * n() + i];
    return std::sqrt(square);
  }

  /// Inequality rows before equality rows, as the QP solver wants them.
  void chooseActive() {
    const std::size_t firstInequality = 1 + static_cast<std::size_t>(c_.equalities);
    for (std::size_t r = firstInequality; r < c_.rows.size(); ++r)
      if (f_[r] >= -10 * o_.tolerance && norm(r) > 0) rows_.push_back(r);
    inequalities_ = static_cast<std::int32_t>(rows_.size());
    for (std::size_t r = 1; r < firstInequality; ++r)
      if (norm(r) > 0) rows_.push_back(r);
    constexpr double close = 1e-6;
    for (std::size_t i = 0; i < n(); ++i) {
      const bool atUpper = c_.trueUpper[i] - x_[i] <= close * c_.half(i);
      const bool atLower = x_[i] - c_.trueLower[i] <= close * c_.half(i);
      codes_.push_back(atUpper ? 3 : atLower ? 2 : 0);
    }
  }

  void fit() {
    const std::int32_t size = c_.n(), m = static_cast<std::int32_t>(rows_.size());
    std::vector<double> A(n() * rows_.size()), b(rows_.size()), H(n() * n()), g(n()), zero(n()),
        d(n()), multiplier(n());
    const double gradientNorm = norm(0);
    for (std::size_t i = 0; i < n(); ++i) {
      H[i * n() + i] = 1;
      g[i] = gradientNorm > 0 ? G_[i] / gradientNorm : 0;
      for (std::size_t k = 0; k < rows_.size(); ++k)
        A[k * n() + i] = G_[rows_[k] * n() + i] / norm(rows_[k]);
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
    for (std::size_t k = 0; k < rows_.size(); ++k)
      addConstraint(rows_[k], lambda[k] / norm(rows_[k]));
    std::size_t row = rows_.size();
    for (std::size_t i = 0; i < n(); ++i)
      if (codes_[i] != 0) addBound(i, lambda[row++]);
    double left = 0;
    for (const double di : d) left += di * di;
    report_.optimality = fitted ? std::sqrt(left) : 1.0;
    report_.slope = report_.optimality * gradientNorm;
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
  const Options& o_;
  const Session& session_;
  Evaluator& evaluator_;
  // Work.
  std::vector<double> x_, f_;  // core point and values
  std::vector<double> G_;      // (n, rows) gradients
  std::vector<std::size_t> rows_;
  std::int32_t inequalities_ = 0;
  std::vector<std::int32_t> codes_;
  Report report_;
};

}  // namespace tarnix::detail
