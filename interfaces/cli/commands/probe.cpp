#include <algorithm>
#include <cmath>
#include <iostream>

#include "base/exact_json.h"
#include "base/numbers.h"
#include "base/text_table.h"
#include "commands/commands.h"
#include "output/csv.h"
#include "run/probe.h"

namespace tarnix::cli {

namespace {

// Median of SQP over the published design problems that the README lists.
constexpr int usualIterations = 8;

std::string secondsText(double seconds) {
  if (seconds < 120) return rounded(seconds, 2) + " s";
  if (seconds < 7200) return rounded(seconds / 60, 2) + " min";
  return rounded(seconds / 3600, 2) + " h";
}

// The start as alone, and other designs alone as they were.
bool repeatsBeside(const Probe& p) {
  return p.repeatsBeside && (!p.verification || p.verification->agrees);
}

// The keys that differ from what the file says, as changes of --set.
std::vector<std::pair<std::string, std::string>> suggestions(const ProblemFile& problem,
                                                             const Probe& p) {
  std::vector<std::pair<std::string, std::string>> keys;
  const auto differs = [](double a, double b) { return std::abs(std::log(a / b)) > std::log(2.5); };
  const OptionsTable& o = problem.options;
  if (o.differenceStep > 0 && differs(p.step, o.differenceStep))
    keys.emplace_back("options.difference_step", shortest(p.step));
  // Where the file leaves the step to the method, the noise says it all, and saves a look at it.
  const bool left = o.differenceStep == 0 && p.noise > 1e-11;
  if (left && (o.accuracy == 0 || differs(p.noise, o.accuracy)))
    keys.emplace_back("options.accuracy", rounded(p.noise, 1));
  const double usual = o.differenceStep > 0 ? p.step : std::clamp(std::sqrt(p.noise), 1e-7, 0.05);
  if (p.central && !problem.options.centralDifferences)
    keys.emplace_back("options.differences", "\"central\"");
  if (p.tolerance > problem.options.tolerance)
    keys.emplace_back("options.tolerance", shortest(p.tolerance));
  for (const ProbedVariable& v : p.variables)
    if (std::abs(std::log(v.step / usual)) > std::log(o.differenceStep > 0 ? 2.5 : 30))
      keys.emplace_back(v.name + ".difference_step", shortest(v.step));
  const double longest = std::max(p.seconds, p.secondsBeside);
  if (problem.command->timeout == 0)
    keys.emplace_back("command.timeout", shortest(std::ceil(std::max(10.0, 20 * longest))));
  return keys;
}

std::string keysText(const std::vector<std::pair<std::string, std::string>>& keys,
                     const std::string& file) {
  std::string text = "# Suggested by tarnix probe for " + file +
                     ", to be written there in the tables named, or as\n# tarnix solve";
  std::string lines;
  for (const auto& [key, value] : keys) {
    text.append(" --set '").append(key).append("=").append(value).append("'");
    lines.append(key).append(" = ").append(value).append("\n");
  }
  return text + " " + file + "\n" + lines;
}

std::string valuesText(const Probe& p) {
  TextTable values("lrrr");
  values.row({"result or function", "at the start", "noise", "relative"});
  for (const ProbedValue& v : p.values)
    values.row({v.name, rounded(v.value), rounded(v.noise, 2),
                v.value == 0 ? "" : rounded(v.noise / std::abs(v.value), 2)});
  TextTable steps("lrr");
  steps.row({"variable", "step in half ranges", "error of slopes"});
  for (const ProbedVariable& v : p.variables)
    steps.row({v.name, rounded(v.step, 1), rounded(100 * v.slopeError, 2) + " %"});
  return values.text() + "\n" + steps.text();
}

std::string headText(const Probe& p) {
  std::string text = "  " + std::to_string(p.alone + p.beside + p.runs) + " runs";
  if (p.replayed > 0) text += ", " + std::to_string(p.replayed) + " from the history";
  if (p.failed > 0)
    text += "; " + std::to_string(p.failed) + " designs failed, the first: " + p.failure;
  text += "\n  The start " + std::to_string(p.alone) +
          " times alone: " + (p.repeats ? "the same to the last bit" : "NOT the same") + "; " +
          std::to_string(p.beside) + " times side by side: " +
          (p.repeatsBeside ? "the same again"
           : p.repeats     ? "NOT the same as alone; do the runs share a file?"
                           : "not the same either") +
          "\n" + verificationText(p.verification) + "  A run takes " + secondsText(p.seconds) +
          ", side by side with others " + secondsText(p.secondsBeside) + "\n";
  return text;
}

std::string estimateText(const Probe& p) {
  std::string text = "\n  A solve of " + std::to_string(usualIterations) + " iterations takes";
  for (const int jobs : {1, 2, 4, 8})
    text += (jobs == 1 ? " " : ", ") + secondsText(secondsOfSolve(p, usualIterations, jobs)) +
            " with " + std::to_string(jobs) + (jobs == 1 ? " job" : "");
  return text + "\n";
}

Json jsonOf(const Probe& p, const std::vector<std::pair<std::string, std::string>>& keys) {
  Json all;
  all["version"] = 1;
  all["command"] = "probe";
  all["repeats"] = p.repeats;
  all["repeats_side_by_side"] = repeatsBeside(p);
  all["seconds"] = p.seconds;
  all["seconds_side_by_side"] = p.secondsBeside;
  all["values"] = Json::array();
  for (const ProbedValue& v : p.values)
    all["values"].push_back({{"name", v.name},
                             {"function", v.function},
                             {"value", exact(v.value)},
                             {"noise", exact(v.noise)}});
  all["variables"] = Json::array();
  for (const ProbedVariable& v : p.variables)
    all["variables"].push_back(
        {{"name", v.name}, {"step", v.step}, {"slope_error", exact(v.slopeError)}});
  all["estimates"] = Json::array();
  for (const int jobs : {1, 2, 4, 8})
    all["estimates"].push_back(
        {{"jobs", jobs}, {"seconds", secondsOfSolve(p, usualIterations, jobs)}});
  all["suggested"] = Json::object();
  for (const auto& [key, value] : keys) all["suggested"][key] = Json::parse(value);
  all["runs"] = p.alone + p.beside + p.runs;
  all["failed"] = p.failed;
  return all;
}

}  // namespace

int commandProbe(const ProblemArguments& arguments, const StudyOptions& options, bool json) {
  Setup setup(arguments.file, arguments.overrides);
  const ProblemFile& problem = setup.problem;
  if (!setup.simulator)
    throw Failure(exitBadProblem, problem.file.string() +
                                      ": formulas are exact and quick; probe is for a [command]");
  const Places places = studyPlaces(arguments.file, arguments.output, "probe");
  moveStart(setup, Places(arguments.file, arguments.output), arguments.start);
  const Probe p = probe(setup, places, options);
  if (p.signal != 0) {
    std::cerr << "Interrupted; the same command continues, and repeats no difference\n";
    return 128 + p.signal;
  }
  if (p.values.empty()) throw Failure(exitEvaluation, p.failure);
  const auto keys = suggestions(problem, p);
  std::string file = places.report.string();
  file.replace(file.size() - 3, 3, "toml");
  writeTextFile(file, keysText(keys, problem.file.string()));
  if (json) {
    std::cout << dumped(jsonOf(p, keys), 2) << "\n";
  } else {
    std::cout << (problem.title.empty() ? problem.file.filename().string() : problem.title) << "\n"
              << headText(p) << "\n"
              << valuesText(p) << estimateText(p);
    if (keys.empty())
      std::cout << "\nThe keys of the file suit this command\n";
    else
      std::cout << "\nSuggested, in " << file << ":\n";
    for (const auto& [key, value] : keys) std::cout << "  " << key << " = " << value << "\n";
  }
  return p.repeats && repeatsBeside(p) ? exitSolved : exitNotSolved;
}

}  // namespace tarnix::cli
