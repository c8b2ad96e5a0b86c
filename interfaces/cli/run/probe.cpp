#include "run/probe.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "run/layer.h"

namespace tarnix::cli {

namespace {

constexpr double steps[] = {1e-2, 1e-3, 1e-4, 1e-5, 1e-6};  // in half ranges
constexpr int repetitions = 3;

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const std::size_t half = values.size() / 2;
  return values.size() % 2 ? values[half] : 0.5 * (values[half - 1] + values[half]);
}

double toOneDigit(double value) {
  const double power = std::pow(10.0, std::floor(std::log10(value)));
  return std::round(value / power) * power;
}

class Prober {
 public:
  Prober(Setup& s, const Places& p, const StudyOptions& o)
      : setup(s), problem(s.problem), places(p), options(o) {
    for (const VariableEntry& v : problem.variables) x0.push_back(v.start);
    for (std::size_t i = 0; i < x0.size(); ++i)
      if (problem.variables[i].lower < problem.variables[i].upper) free.push_back(i);
  }

  Probe run() {
    repeatStart();
    differences();
    if (result.signal != 0) return std::move(result);
    nameValues();
    for (std::size_t q = 0; q < result.values.size(); ++q)
      result.values[q].noise = std::max(randomNoise(q), differenceNoise(q));
    for (std::size_t k = 0; k < free.size(); ++k) suggestStep(k);
    suggestAll();
    return std::move(result);
  }

 private:
  using Column = std::vector<double>;  // results, objective, constraints of a design

  Column columnOf(const Record& record) const {
    Column column = record.results;
    column.insert(column.end(), record.values.begin(), record.values.end());
    return column;
  }

  // ---- runs of the start -----------------------------------------------------------------------
  void repeatStart() {
    setup.simulator->open(places.runs);
    std::vector<Record> alone, beside;
    for (int k = 0; k < repetitions; ++k) append(alone, copies(1));
    append(beside, copies(std::max(options.jobs, 2)));
    std::vector<double> seconds, secondsBeside;
    for (const Record& record : alone) {
      seconds.push_back(record.seconds);
      start.push_back(columnOf(record));
      result.repeats = result.repeats && record.results == alone[0].results;
    }
    for (const Record& record : beside) {
      secondsBeside.push_back(record.seconds);
      result.repeatsBeside = result.repeatsBeside && record.results == alone[0].results;
    }
    result.alone = static_cast<int>(alone.size()), result.beside = static_cast<int>(beside.size());
    result.seconds = median(seconds), result.secondsBeside = median(secondsBeside);
  }

  std::vector<Record> copies(int jobs) {
    Evaluations evaluations(problem, *setup.model, setup.simulator.get(), nullptr, jobs);
    std::vector<Record> records = evaluations.copies(x0);
    for (const Record& record : records)
      if (!record.failed.empty())
        throw Failure(exitEvaluation, "the start cannot be evaluated: " + record.failed);
    return records;
  }

  static void append(std::vector<Record>& all, const std::vector<Record>& more) {
    all.insert(all.end(), more.begin(), more.end());
  }

  // ---- differences -----------------------------------------------------------------------------
  // Per variable and step two designs next to the start, evenly spaced with it: on both sides, or
  // both on the inner one. The start itself has been run alone.
  void differences() {
    std::vector<std::vector<double>> designs;
    for (const std::size_t i : free) {
      const VariableEntry& v = problem.variables[i];
      for (const double share : steps) {
        const double h = share * (v.upper - v.lower) / 2;
        const bool above = x0[i] + h <= v.upper, below = x0[i] - h >= v.lower;
        const double first = above ? h : -h, second = above && below ? -h : 2 * first;
        for (const double move : {first, second}) {
          designs.push_back(x0);
          designs.back()[i] += move;
        }
      }
    }
    const StudyResult study = evaluateAll(setup, places, "probe", designs, options);
    result.runs = study.runs, result.replayed = study.replayed, result.failed = study.failed;
    result.signal = study.signal;
    result.verification = study.verification;
    for (const Record& record : study.records) {
      if (!record.failed.empty() && result.failure.empty()) result.failure = record.failed;
      measured.push_back(record.values.empty() ? Column() : columnOf(record));
    }
  }

  // Of a variable and step: f(first) - f0, and the second difference; not a number where a run
  // failed.
  struct Difference {
    double h, slope, second;
  };
  Difference difference(std::size_t k, std::size_t step, std::size_t q) const {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const std::size_t place = 2 * (k * std::size(steps) + step);
    const Column &first = measured[place], &second = measured[place + 1];
    const double h = steps[step];
    if (first.empty() || second.empty()) return {h, nan, nan};
    const VariableEntry& v = problem.variables[free[k]];
    const double distance = h * (v.upper - v.lower) / 2, x = x0[free[k]];
    const bool both = x + distance <= v.upper && x - distance >= v.lower;
    const double f0 = start[0][q], f1 = first[q], f2 = second[q];
    if (both) return {h, (f1 - f2) / (2 * h), f1 - 2 * f0 + f2};
    return {h, (4 * f1 - 3 * f0 - f2) / (2 * h), f0 - 2 * f1 + f2};
  }

  void nameValues() {
    for (std::size_t r = 0; r < problem.results.size(); ++r)
      result.values.push_back({problem.results[r].name, false, start[0][r], 0});
    const std::size_t first = problem.results.size();
    result.values.push_back({problem.objective.name, true, start[0][first], 0});
    for (std::size_t j = 0; j < problem.constraints.size(); ++j)
      result.values.push_back({problem.constraints[j].name, true, start[0][first + 1 + j], 0});
  }

  double randomNoise(std::size_t q) const {
    double mean = 0, square = 0;
    for (const Column& column : start) mean += column[q] / static_cast<double>(start.size());
    for (const Column& column : start) square += (column[q] - mean) * (column[q] - mean);
    return std::sqrt(square / static_cast<double>(start.size() - 1));
  }

  // What the smallest steps leave of a second difference besides the curvature is noise: its
  // variance is six times that of a value; and so is what their slopes differ by from those of
  // larger steps. Where the value does not move at all although it has a slope, its digits are too
  // few.
  double differenceNoise(std::size_t q) const {
    constexpr std::size_t smallest = std::size(steps) - 2;
    std::vector<double> bends, slopes;
    double still = 0;
    const auto note = [](std::vector<double>& list, double noise) {
      if (std::isfinite(noise)) list.push_back(std::abs(noise));
    };
    for (std::size_t k = 0; k < free.size(); ++k) {
      const Difference wide = difference(k, 0, q);
      for (std::size_t s = 0; s < std::size(steps); ++s) {
        const Difference d = difference(k, s, q);
        if (d.slope == 0 && std::isfinite(wide.slope))
          still = std::max(still, std::abs(wide.slope) * d.h / 2);
        if (s < smallest) continue;
        const double bend = wide.second * (d.h / wide.h) * (d.h / wide.h);
        note(bends, (d.second - bend) / std::sqrt(6.0));
        note(slopes, (d.slope - difference(k, s - 2, q).slope) * d.h * std::sqrt(2.0));
      }
    }
    const double rounding = std::numeric_limits<double>::epsilon() / 2 * std::abs(start[0][q]);
    return std::max({median(bends), median(slopes), still, rounding});
  }

  // The forward difference with step h is wrong by c h / 2 + 2 e / h, curvature and noise; summed
  // over the functions in units of their scales the best h is 2 sqrt(sum e / sum c).
  void suggestStep(std::size_t k) {
    double noise = 0, curvature = 0, slopes = 0;
    for (std::size_t q = problem.results.size(); q < result.values.size(); ++q) {
      const std::size_t j = q - problem.results.size();
      const double scale = j == 0 ? problem.objective.scale.value_or(typicalSize(start[0][q]))
                                  : problem.constraints[j - 1].scale;
      const Difference d = difference(k, 0, q);
      if (!std::isfinite(d.second)) continue;
      noise += result.values[q].noise / scale;
      curvature += std::abs(d.second) / (d.h * d.h) / scale;
      slopes += std::abs(d.slope) / scale;
    }
    constexpr double least = 1e-7, most = 0.1;
    const double best = curvature > 0 ? 2 * std::sqrt(noise / curvature) : most;
    const double h = toOneDigit(std::clamp(best, least, most));
    const double error = curvature * h / 2 + 2 * noise / h;
    result.variables.push_back(
        {problem.variables[free[k]].name, h, slopes > 0 ? error / slopes : 0});
  }

  void suggestAll() {
    std::vector<double> logarithms;
    double worst = 0, noise = 0;
    for (const ProbedVariable& v : result.variables) {
      logarithms.push_back(std::log10(v.step));
      worst = std::max(worst, v.slopeError);
    }
    result.step = toOneDigit(std::pow(10.0, median(logarithms)));
    constexpr double noticeable = 0.05;
    result.central = worst > noticeable;
    for (std::size_t q = problem.results.size(); q < result.values.size(); ++q) {
      const std::size_t j = q - problem.results.size();
      const double scale = j == 0 ? problem.objective.scale.value_or(typicalSize(start[0][q]))
                                  : problem.constraints[j - 1].scale;
      noise = std::max(noise, result.values[q].noise / scale);
      result.noise = std::max(
          result.noise, result.values[q].noise / std::max(scale, std::abs(result.values[q].value)));
    }
    // Ten deviations: a decrease that small is none.
    result.tolerance = std::max(problem.options.tolerance, noise > 0 ? toOneDigit(10 * noise) : 0);
  }

  Setup& setup;
  const ProblemFile& problem;
  const Places& places;
  const StudyOptions& options;
  std::vector<double> x0;
  std::vector<std::size_t> free;
  std::vector<Column> start, measured;  // runs of the start alone; all designs next to it
  Probe result;
};

}  // namespace

Probe probe(Setup& setup, const Places& places, const StudyOptions& options) {
  return Prober(setup, places, options).run();
}

double secondsOfSolve(const Probe& probe, int iterations, int jobs) {
  const double n = static_cast<double>(probe.variables.size()) * (probe.central ? 2 : 1);
  // Runs side by side are slower, by what was measured for so many.
  const double slower =
      std::max(0.0, probe.secondsBeside / probe.seconds - 1) / std::max(1, probe.beside - 1);
  const double seconds = probe.seconds * (1 + slower * (jobs - 1));
  return iterations * (std::ceil(n / jobs) * seconds + probe.seconds);
}

}  // namespace tarnix::cli
