#include <algorithm>
#include <cmath>
#include <iostream>
#include <numeric>

#include "base/exact_json.h"
#include "base/numbers.h"
#include "base/text_table.h"
#include "commands/commands.h"
#include "output/csv.h"

namespace tarnix::cli {

namespace {

std::vector<double> ranks(const std::vector<double>& values) {
  std::vector<std::size_t> order(values.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return values[a] < values[b]; });
  std::vector<double> result(values.size());
  for (std::size_t first = 0; first < order.size();) {
    std::size_t end = first;
    while (end < order.size() && values[order[end]] == values[order[first]]) ++end;
    for (std::size_t k = first; k < end; ++k)  // equal ones share their mean
      result[order[k]] = 0.5 * static_cast<double>(first + end - 1);
    first = end;
  }
  return result;
}

class Effects {
 public:
  Effects(const ProblemFile& p, const std::vector<Record>& all) : problem(p) {
    for (const Record& record : all)
      if (!record.values.empty() && std::all_of(record.values.begin(), record.values.end(),
                                                [](double v) { return std::isfinite(v); }))
        records.push_back(&record);
  }

  // Per function its least and largest value, and the variables that it goes with the most: rank
  // correlations, which any monotonic dependence makes 1 or -1.
  Json json() const {
    Json list = Json::array();
    if (records.size() < 2) return list;
    for (std::size_t j = 0; j <= problem.constraints.size(); ++j) {
      const std::vector<double> f = column([&](const Record& r) { return r.values[j]; });
      Json entry;
      entry["function"] = j == 0 ? problem.objective.name : problem.constraints[j - 1].name;
      entry["least"] = exact(*std::min_element(f.begin(), f.end()));
      entry["largest"] = exact(*std::max_element(f.begin(), f.end()));
      entry["correlations"] = Json::object();
      for (std::size_t i = 0; i < problem.variables.size(); ++i) {
        const double r = correlation(column([&](const Record& one) { return one.x[i]; }), f);
        if (std::isfinite(r)) entry["correlations"][problem.variables[i].name] = r;
      }
      list.push_back(std::move(entry));
    }
    return list;
  }

 private:
  template <class Of>
  std::vector<double> column(Of of) const {
    std::vector<double> values;
    for (const Record* record : records) values.push_back(of(*record));
    return values;
  }

  // Of Spearman; not a number where one of them is always the same.
  static double correlation(const std::vector<double>& a, const std::vector<double>& b) {
    const std::vector<double> ra = ranks(a), rb = ranks(b);
    const double mean = 0.5 * static_cast<double>(a.size() - 1);
    double ab = 0, aa = 0, bb = 0;
    for (std::size_t k = 0; k < a.size(); ++k) {
      ab += (ra[k] - mean) * (rb[k] - mean);
      aa += (ra[k] - mean) * (ra[k] - mean);
      bb += (rb[k] - mean) * (rb[k] - mean);
    }
    return ab / std::sqrt(aa * bb);
  }

  const ProblemFile& problem;
  std::vector<const Record*> records;
};

std::string effectsText(const Json& effects) {
  if (effects.empty()) return {};
  TextTable rows("lrrl");
  rows.row({"function", "least", "largest", "goes with (rank correlation)"});
  for (const Json& entry : effects) {
    std::vector<std::pair<std::string, double>> sorted;
    for (const auto& [name, r] : entry["correlations"].items())
      if (std::abs(r.get<double>()) >= 0.1) sorted.emplace_back(name, r.get<double>());
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
      return std::abs(a.second) > std::abs(b.second);
    });
    std::string text;
    for (std::size_t k = 0; k < std::min<std::size_t>(sorted.size(), 4); ++k)
      text += (text.empty() ? "" : ", ") + sorted[k].first + (sorted[k].second > 0 ? " +" : " ") +
              rounded(sorted[k].second, 2);
    rows.row({entry["function"].get<std::string>(), rounded(number(entry["least"])),
              rounded(number(entry["largest"])), text});
  }
  return rows.text();
}

// The designs as a table: all of a few, the best of many.
std::string designsText(const ProblemFile& problem, const std::vector<Record>& records) {
  constexpr std::size_t most = 24;
  std::vector<std::size_t> shown(records.size());
  std::iota(shown.begin(), shown.end(), std::size_t{0});
  std::string note;
  if (records.size() > most) {
    std::vector<std::size_t> measured;
    for (const std::size_t k : shown)
      if (!records[k].values.empty() && std::isfinite(violation(problem, records[k].values)))
        measured.push_back(k);
    std::stable_sort(measured.begin(), measured.end(), [&](std::size_t a, std::size_t b) {
      const double va = violation(problem, records[a].values),
                   vb = violation(problem, records[b].values), t = problem.options.tolerance;
      if (va > t || vb > t) return std::max(va, t) < std::max(vb, t);
      return problem.objective.maximize ? records[a].values[0] > records[b].values[0]
                                        : records[a].values[0] < records[b].values[0];
    });
    measured.resize(std::min<std::size_t>(measured.size(), 10));
    shown = std::move(measured);
    note = "  The best " + std::to_string(shown.size()) + " of " + std::to_string(records.size()) +
           " designs\n";
  }
  TextTable rows("r" + std::string(problem.variables.size() + 1, 'r') + "l");
  std::vector<std::string> head{"design"};
  for (const VariableEntry& v : problem.variables) head.push_back(v.name);
  head.push_back(problem.objective.name);
  head.push_back("limits");
  rows.row(std::move(head));
  for (const std::size_t k : shown) {
    const Record& record = records[k];
    std::vector<std::string> cells{std::to_string(k + 1)};
    for (const double x : record.x) cells.push_back(rounded(x, 5));
    if (record.values.empty()) {
      cells.push_back("-");
      cells.push_back(record.failed.empty() ? "not run" : "FAILED");
    } else {
      cells.push_back(rounded(record.values[0]));
      cells.push_back(limitsText(problem, record.values));
    }
    rows.row(std::move(cells));
  }
  return note + rows.text();
}

}  // namespace

std::string limitsText(const ProblemFile& problem, const std::vector<double>& values) {
  std::string violated;
  for (std::size_t j = 0; j < problem.constraints.size(); ++j) {
    const ConstraintEntry& c = problem.constraints[j];
    const double room = problem.options.tolerance * c.scale;
    if (!((!c.max || values[j + 1] <= *c.max + room) && (!c.min || values[j + 1] >= *c.min - room)))
      violated += (violated.empty() ? "" : ", ") + c.name;
  }
  return violated.empty() ? "hold" : "violated: " + violated;
}

std::string studyText(const StudyResult& result, bool command) {
  std::string text = "  " + std::to_string(result.records.size()) + " designs";
  if (command) text += ", for them " + std::to_string(result.runs) + " runs of the command";
  if (result.replayed > 0) text += ", " + std::to_string(result.replayed) + " from the history";
  if (command) text += ", " + rounded(result.seconds, 3) + " s";
  text += "\n" + verificationText(result.verification);
  for (const Record& record : result.records)
    if (!record.failed.empty())
      return text + "  " + std::to_string(result.failed) +
             " of them failed; the first: " + record.failed + "\n";
  return text;
}

std::string verificationText(const std::optional<Verification>& verification) {
  if (!verification) return {};
  return "  Some that ran side by side, repeated alone: " +
         (verification->agrees ? "they agree" : verification->text) + "\n";
}

int studyExit(const StudyResult& result) {
  if (result.signal != 0) {
    std::cerr << "Interrupted; the same command continues, and repeats no run\n";
    return 128 + result.signal;
  }
  if (result.verification && !result.verification->agrees) return exitNotSolved;
  return result.failed > 0 ? exitEvaluation : exitSolved;
}

int commandDoe(const ProblemArguments& arguments, const Plan& plan, const StudyOptions& options,
               bool json) {
  Setup setup(arguments.file, arguments.overrides);
  const Places places = studyPlaces(arguments.file, arguments.output, "doe");
  moveStart(setup, Places(arguments.file, arguments.output), arguments.start);
  const ProblemFile& problem = setup.problem;
  const StudyResult result = evaluateAll(setup, places, "doe", designsOf(plan, problem), options);
  const Json effects = Effects(problem, result.records).json();
  std::string csv = csvLine(recordHeads(problem));
  for (const Record& record : result.records) csv += csvLine(recordCells(problem, record));
  writeTextFile(places.report, csv);
  if (json) {
    Json all;
    all["version"] = 1;
    all["command"] = "doe";
    all["plan"] = {{"kind", plan.kind}, {"seed", plan.seed}};
    all["heads"] = recordHeads(problem);
    all["designs"] = Json::array();
    for (const Record& record : result.records)
      all["designs"].push_back(recordCells(problem, record));
    all["effects"] = effects;
    all["failed"] = result.failed;
    if (result.verification)
      all["verification"] = {{"agrees", result.verification->agrees},
                             {"text", result.verification->text}};
    std::cout << dumped(all, 2) << "\n";
    return studyExit(result);
  }
  std::cout << (problem.title.empty() ? problem.file.filename().string() : problem.title) << ": "
            << plan.kind << " designs\n"
            << studyText(result, problem.command.has_value()) << "\n"
            << designsText(problem, result.records) << "\n"
            << effectsText(effects) << "\nAll of it: " << places.report.string() << "\n";
  return studyExit(result);
}

}  // namespace tarnix::cli
