#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>

#include "compare.h"

namespace compare {

double seconds() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

// The difference step balances the truncation against the noise of the values.
Values::Values(const Problem& p, const Setup& setup)
    : problem(p),
      setup_(setup),
      started_(seconds()),
      step_(std::max(1e-7, std::sqrt(setup.noise))) {}

// splitmix64 over the bits of the point: the same point always has the same noise.
double Values::noisy(double value, const std::vector<double>& x, std::size_t function) const {
  if (setup_.noise == 0) return value;
  std::uint64_t state = setup_.seed * 0x9e3779b97f4a7c15u + function;
  const auto mix = [&state] {
    std::uint64_t z = state += 0x9e3779b97f4a7c15u;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
  };
  for (const double component : x) {
    std::uint64_t bits;
    std::memcpy(&bits, &component, sizeof bits);
    state ^= bits;
    state = mix();
  }
  const double uniform = static_cast<double>(mix() >> 11) / 4503599627370496.0 - 1;
  return value + setup_.noise * std::max(1.0, std::abs(value)) * uniform;
}

const std::vector<double>& Values::at(const std::vector<double>& x) {
  if (x == lastX_) return last_;
  if (evaluations >= setup_.maxEvaluations || seconds() - started_ > setup_.maxSeconds)
    throw BudgetSpent();
  ++evaluations;
  lastX_ = x;
  std::vector<double> copy = x;
  last_.resize(std::size_t(1 + problem.nEq + problem.nIneq));
  double* f = last_.data();
  problem.evaluate(nullptr, copy.data(), f, f + 1, f + 1 + problem.nEq);
  for (std::size_t i = 0; i < last_.size(); ++i) last_[i] = noisy(last_[i], x, i);
  return last_;
}

std::vector<double> Values::unscaled(const double* z) const {
  std::vector<double> x(static_cast<std::size_t>(problem.n));
  for (int i = 0; i < problem.n; ++i)
    x[i] = (problem.upper[i] + problem.lower[i]) / 2 +
           z[i] * (problem.upper[i] - problem.lower[i]) / 2;
  return x;
}

std::vector<double> Values::scaled(const std::vector<double>& x) const {
  std::vector<double> z(x.size());
  for (int i = 0; i < problem.n; ++i)
    z[i] = std::clamp(
        (2 * x[i] - problem.upper[i] - problem.lower[i]) / (problem.upper[i] - problem.lower[i]),
        -1.0, 1.0);
  return z;
}

const std::vector<double>& Values::atScaled(const double* z) {
  return at(unscaled(z));
}

const std::vector<std::vector<double>>& Values::jacobian(const double* z) {
  std::vector<double> moved(z, z + problem.n);
  if (moved == jacobianAt_) return jacobian_;
  const std::vector<double> base = atScaled(z);
  jacobian_.assign(base.size(), std::vector<double>(moved.size()));
  for (std::size_t j = 0; j < moved.size(); ++j) {
    moved[j] = z[j] + (z[j] + step_ <= 1 ? step_ : -step_);
    const std::vector<double>& beside = atScaled(moved.data());
    for (std::size_t i = 0; i < base.size(); ++i)
      jacobian_[i][j] = (beside[i] - base[i]) / (moved[j] - z[j]);
    moved[j] = z[j];
  }
  jacobianAt_ = moved;
  return jacobian_;
}

}  // namespace compare
