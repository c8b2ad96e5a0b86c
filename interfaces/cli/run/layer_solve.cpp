#include "run/layer_solve.h"

#include <tarnix/tarnix.h>

#include <algorithm>
#include <new>

#include "run/layer.h"

namespace tarnix::cli {

tarnix::Result solveLayer(const ProblemFile& problem, double scale, const tarnix::Options& options,
                          const Answers& answers) {
  const auto analysis = [&](Batch& batch) {
    Evaluations::Designs designs;
    for (std::size_t k = 0; k < batch.size(); ++k)
      designs.emplace_back(batch.point(k).begin(), batch.point(k).end());
    const auto values = answers(designs);
    for (std::size_t k = 0; k < batch.size(); ++k)
      std::copy(values[k].begin(), values[k].end(), batch.values(k).begin());
  };
  const auto gradient = [&](const Point& x, Gradients& g) {
    const auto derivatives = derivativesAt(problem, answers, {x.begin(), x.end()});
    for (std::size_t i = 0; i < derivatives.size(); ++i)
      for (std::size_t j = 0; j < derivatives[i].size(); ++j) g(j, i) = derivatives[i][j];
  };
  const tarnix::Problem described = layerProblem(problem, scale);
  tarnix::Result result = hasOwnSteps(problem) ? described.solve(analysis, gradient, options)
                                               : described.solve(analysis, options);
  const int storage = result.method == Method::grg ? int{VRK_GRG_STORAGE} : int{VRK_SQP_STORAGE};
  if (result.status == storage)
    throw std::bad_alloc();  // the storage of a problem of this size is claimed beforehand
  return result;
}

}  // namespace tarnix::cli
