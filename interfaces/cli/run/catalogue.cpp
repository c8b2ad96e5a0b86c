#include "run/catalogue.h"

#include <algorithm>
#include <cmath>

namespace tarnix::cli {

bool hasCatalogue(const ProblemFile& problem) {
  return std::any_of(problem.variables.begin(), problem.variables.end(),
                     [](const VariableEntry& v) { return !v.catalogue.empty(); });
}

bool inCatalogue(const ProblemFile& problem, const std::vector<double>& x) {
  for (std::size_t i = 0; i < x.size(); ++i) {
    const std::vector<double>& values = problem.variables[i].catalogue;
    if (!values.empty() && !std::binary_search(values.begin(), values.end(), x[i])) return false;
  }
  return true;
}

namespace {

class Search {
 public:
  Search(const ProblemFile& p, const tarnix::Result& root, const SolveBetween& solveBetween)
      : problem(p), solve(solveBetween) {
    for (std::size_t i = 0; i < p.variables.size(); ++i)
      if (!p.variables[i].catalogue.empty()) discrete.push_back(i);
    outcome.result = root;
    outcome.continuous = outcome.bound = root.objective();
  }

  CatalogueSearch run() {
    if (!outcome.result.feasible) return std::move(outcome);
    Node root{{}, {}, cost(outcome.result), outcome.result.point.x, 0};
    for (const std::size_t i : discrete) {
      const auto& values = problem.variables[i].catalogue;
      root.first.push_back(0);
      root.last.push_back(values.size() - 1);
    }
    doubtful = !outcome.result.success;
    try {
      examine(root);
      while (!open.empty()) {
        if (outcome.solves >= mostSolves) throw BudgetEnded{};
        expand(takeNext());
      }
    } catch (const BudgetEnded&) {
      outcome.budgetEnded = true;
    }
    return concluded();
  }

 private:
  static constexpr int mostSolves = 2000;

  // A part of the catalogue, as ranges of positions, with what its continuous solve gave.
  struct Node {
    std::vector<std::size_t> first, last;
    double bound;
    std::vector<double> x;
    int depth;
  };

  double cost(const tarnix::Result& r) const {
    return problem.objective.maximize ? -r.objective() : r.objective();
  }
  const std::vector<double>& valuesOf(std::size_t d) const {
    return problem.variables[discrete[d]].catalogue;
  }
  // Better by less than this is no gain.
  double noticeable() const {
    return problem.options.tolerance * std::max(1.0, std::abs(best.value_or(1)));
  }
  bool hopeless(double bound) const { return best && bound >= *best - noticeable(); }

  // Deep ones first until there is a design, then the one that promises most.
  Node takeNext() {
    const auto place =
        std::min_element(open.begin(), open.end(), [&](const Node& a, const Node& b) {
          if (!best && a.depth != b.depth) return a.depth > b.depth;
          return a.bound < b.bound;
        });
    Node node = std::move(*place);
    open.erase(place);
    return node;
  }

  // How far a variable is from the nearest of its values, in units of the gap there: 0 to 0.5.
  double distance(const Node& node, std::size_t d) const {
    const auto& values = valuesOf(d);
    const std::size_t below = positionBelow(node, d);
    if (below == node.last[d]) return 0;
    const double share =
        (node.x[discrete[d]] - values[below]) / (values[below + 1] - values[below]);
    return std::min(share, 1 - share);
  }
  // The last value that is not above the variable.
  std::size_t positionBelow(const Node& node, std::size_t d) const {
    const auto& values = valuesOf(d);
    const auto begin = values.begin() + static_cast<std::ptrdiff_t>(node.first[d]),
               end = values.begin() + static_cast<std::ptrdiff_t>(node.last[d]) + 1;
    const auto above = std::upper_bound(begin, end, node.x[discrete[d]]);
    return above == begin ? node.first[d] : static_cast<std::size_t>(above - values.begin()) - 1;
  }

  // Puts a node where its x belongs: among the designs, or among those to be divided.
  void examine(Node node) {
    constexpr double close = 1e-7;
    double furthest = 0;
    for (std::size_t d = 0; d < discrete.size(); ++d)
      furthest = std::max(furthest, distance(node, d));
    if (furthest > close) {
      open.push_back(std::move(node));
      return;
    }
    Node leaf = node;
    bool fixed = true;
    for (std::size_t d = 0; d < discrete.size(); ++d) {
      const std::size_t below = positionBelow(node, d);
      const auto& values = valuesOf(d);
      const bool up = below < node.last[d] &&
                      node.x[discrete[d]] - values[below] > values[below + 1] - node.x[discrete[d]];
      leaf.first[d] = leaf.last[d] = below + up;
      fixed = fixed && node.first[d] == node.last[d];
    }
    if (!fixed) {
      solveNode(leaf);
      return;
    }
    keep(node);
  }

  void keep(const Node& node) {
    if (best && node.bound >= *best) return;
    best = node.bound;
    outcome.found = true;
    outcome.result = std::move(latest);
  }

  // Both sides of the variable that is furthest from its values, the nearer one first.
  void expand(const Node& node) {
    if (hopeless(node.bound)) return;
    std::size_t chosen = 0;
    for (std::size_t d = 1; d < discrete.size(); ++d)
      if (distance(node, d) > distance(node, chosen)) chosen = d;
    const std::size_t below = positionBelow(node, chosen);
    const auto& values = valuesOf(chosen);
    const double x = node.x[discrete[chosen]];
    Node down = node, up = node;
    down.last[chosen] = below;
    up.first[chosen] = below + 1;
    working = node.bound;
    if (x - values[below] <= values[below + 1] - x) std::swap(down, up);
    for (Node* child : {&up, &down}) solveNode(*child);
    working.reset();
  }

  void solveNode(Node node) {
    ProblemFile part = problem;
    for (std::size_t d = 0; d < discrete.size(); ++d) {
      VariableEntry& v = part.variables[discrete[d]];
      v.lower = valuesOf(d)[node.first[d]], v.upper = valuesOf(d)[node.last[d]];
    }
    for (std::size_t i = 0; i < part.variables.size(); ++i)
      node.x[i] = std::clamp(node.x[i], part.variables[i].lower, part.variables[i].upper);
    ++outcome.solves;
    latest = solve(part, node.x);
    if (!latest.feasible) {
      doubtful = doubtful || latest.reason == Reason::iterationLimit;
      return;
    }
    doubtful = doubtful || !latest.success;
    node.bound = std::max(cost(latest), node.bound);  // a part holds nothing better than the whole
    node.x = latest.point.x;
    ++node.depth;
    if (hopeless(node.bound) && !inCatalogue(problem, node.x)) return;
    examine(std::move(node));
  }

  CatalogueSearch concluded() {
    outcome.proved = outcome.found && !outcome.budgetEnded && !doubtful;
    double bound = best.value_or(outcome.continuous);
    for (const Node& node : open) bound = std::min(bound, node.bound);
    if (outcome.budgetEnded && working) bound = std::min(bound, *working);
    outcome.bound = problem.objective.maximize ? -bound : bound;
    return std::move(outcome);
  }

  const ProblemFile& problem;
  const SolveBetween& solve;
  std::vector<std::size_t> discrete;  // variables with a catalogue
  std::vector<Node> open;
  std::optional<double> best;     // cost of the best design in the catalogue
  std::optional<double> working;  // bound of the node that is being divided
  tarnix::Result latest;
  bool doubtful = false;  // a solve came to no end of its own
  CatalogueSearch outcome;
};

}  // namespace

CatalogueSearch searchCatalogue(const ProblemFile& problem, const tarnix::Result& continuous,
                                const SolveBetween& solve) {
  return Search(problem, continuous, solve).run();
}

}  // namespace tarnix::cli
