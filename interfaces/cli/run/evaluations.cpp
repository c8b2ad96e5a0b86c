#include "run/evaluations.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tarnix::cli {

Evaluations::Evaluations(const ProblemFile& p, Model& m, Simulator* s, History* h, int parallel,
                         bool retryFailed)
    : problem(p), model(m), simulator(s), history(h), jobs(parallel) {
  if (!history) return;
  replay(retryFailed);
  noteStart = [this](long run) { history->noteStart(run); };
}

Evaluations::~Evaluations() {
  std::vector<Run*> unwanted;
  for (Run& run : runs) unwanted.push_back(&run);
  if (!unwanted.empty()) simulator->abandon(unwanted);
}

Evaluations::Key Evaluations::keyOf(std::span<const double> x) {
  Key key(x.size_bytes(), '\0');
  std::memcpy(key.data(), x.data(), x.size_bytes());
  return key;
}

// What a command has measured is kept; objective and constraints are computed again, so that a
// limit or an expression may have been changed in between.
void Evaluations::replay(bool retryFailed) {
  const bool penalty = problem.command && problem.command->onFailure == FailurePolicy::penalty;
  nextRun = history->lastRun() + 1;
  count.total = simulator ? history->finishedRuns() : 0;
  for (Record record : history->records()) {
    if (!record.failed.empty()) {
      latestFailure = record.failed;
      if (!penalty || retryFailed) continue;  // the user has removed the cause: it is run again
      record.values = penaltiesOf(problem);
    } else {
      const Judged judged = judge(problem, model, record);
      record.values = judged.values;
      note(record, judged);
    }
    ++count.replayed;
    if (!simulator) ++count.total;
    known[keyOf(record.x)] = {record.values, record.failed, record.results};
  }
}

std::vector<double> Evaluations::at(std::span<const double> x) {
  return atAll({{x.begin(), x.end()}})[0];
}

std::vector<std::vector<double>> Evaluations::atAll(const Designs& designs) {
  checkSignals();
  if (simulator) runAll(designs);
  std::vector<std::vector<double>> values;
  for (const auto& x : designs) {
    if (!simulator && !known.count(keyOf(x))) compute(x);
    values.push_back(answer(x));
  }
  return values;
}

void Evaluations::compute(std::span<const double> x) {
  keepLimits();
  Record record;
  record.x.assign(x.begin(), x.end());
  record.values = model.values(x, {});
  ++count.finished, ++count.total;
  store(std::move(record));
}

std::vector<double> Evaluations::answer(std::span<const double> x) {
  ++count.asked;
  return known.at(keyOf(x)).values;
}

std::vector<double> Evaluations::resultsAt(std::span<const double> x) const {
  return known.at(keyOf(x)).results;
}

std::string Evaluations::failureAt(std::span<const double> x) const {
  const auto place = known.find(keyOf(x));
  return place == known.end() ? std::string() : place->second.failed;
}

bool Evaluations::failureNear(std::span<const double> x, std::span<const double> reach) const {
  std::vector<double> other(x.size());
  for (const auto& [key, what] : known) {
    if (what.failed.empty()) continue;
    std::memcpy(other.data(), key.data(), x.size_bytes());
    std::size_t near = 0;
    while (near < x.size() && std::abs(other[near] - x[near]) <= reach[near]) ++near;
    if (near == x.size()) return true;
  }
  return false;
}

Record Evaluations::recordOf(const Run& run, const RunOutcome& outcome) const {
  Record record{run.number, run.x, outcome.results, {}, {}, outcome.seconds};
  if (!outcome.reason.empty())
    record.failed = outcome.reason + outcome.lastErrors;
  else
    record.values = model.values(run.x, record.results);
  return record;
}

std::vector<Record> Evaluations::copies(std::span<const double> x) {
  return repeated(Designs(static_cast<std::size_t>(jobs), {x.begin(), x.end()}));
}

void Evaluations::repeatAll(const Designs& designs) {
  for (const Record& record : repeated(designs)) history->appendVerification(record);
}

// As they end.
std::vector<Record> Evaluations::repeated(const Designs& designs) {
  std::vector<Record> records;
  for (std::size_t first = 0; first < designs.size() || !runs.empty();) {
    while (first < designs.size() && running() < jobs) startRun(designs[first++], 1);
    wait();
    std::erase_if(runs, [&](Run& run) {
      const auto outcome = simulator->finished(run);
      if (outcome) records.push_back(recordOf(run, *outcome));
      return outcome.has_value();
    });
  }
  return records;
}

bool Evaluations::limitReached() const {
  const OptionsTable& o = problem.options;
  if (o.maxEvaluations > 0 && count.total + running() >= o.maxEvaluations) return true;
  return o.maxSeconds > 0 &&
         std::chrono::duration<double>(Clock::now() - begun).count() >= o.maxSeconds;
}

void Evaluations::keepLimits() {
  if (!limitReached()) return;
  const int most = problem.options.maxEvaluations;
  throw LimitReached{most > 0 && count.total >= most ? "max_evaluations" : "max_seconds"};
}

Record Evaluations::repeat(std::span<const double> x, std::filesystem::path& directory) {
  Run run = simulator->start(nextRun, x, 1, noteStart);
  nextRun = run.number + 1;
  std::optional<RunOutcome> outcome;
  try {
    while (!(outcome = simulator->finished(run, true)))
      waitForChild(Clock::now() + std::chrono::milliseconds(run.ending.empty() ? 200 : 20));
  } catch (const Interrupted&) {
    simulator->abandon({&run});
    throw;
  }
  directory = run.directory;
  Record record = recordOf(run, *outcome);
  if (history) history->appendVerification(record);
  return record;
}

// ---- running side by side ----------------------------------------------------------------------

bool Evaluations::advance(const Designs& designs, int most, bool amongOthers) {
  collect();
  bool allKnown = true;
  for (const auto& x : designs) {
    const Key key = keyOf(x);
    const auto place = known.find(key);
    if (place != known.end() && place->second.values.empty())
      throw Failure(exitEvaluation, place->second.failed);
    if (place != known.end()) continue;
    allKnown = false;
    if (running() >= most || isRunning(key) || limitReached()) continue;
    startRun(x, 1);
    if (amongOthers) amongOthersLast = x;
  }
  return allKnown;
}

void Evaluations::runAll(const Designs& designs) {
  while (!advance(designs, jobs)) {
    if (runs.empty() && retries.empty()) keepLimits();  // what runs is waited for
    wait();
  }
}

// Time limits, the size of outputs and the course of an end are looked at now and then.
void Evaluations::wait() {
  const bool ending =
      std::any_of(runs.begin(), runs.end(), [](const Run& run) { return !run.ending.empty(); });
  if (onTick) onTick();
  waitForChild(Clock::now() + std::chrono::milliseconds(ending ? 20 : 100));
}

bool Evaluations::isRunning(const Key& key) const {
  const auto same = [&](const auto& one) { return keyOf(one.x) == key; };
  return std::any_of(runs.begin(), runs.end(), same) ||
         std::any_of(retries.begin(), retries.end(), same);
}

void Evaluations::startRun(std::span<const double> x, int attempt) {
  Run run = simulator->start(nextRun, x, attempt, noteStart);
  nextRun = run.number + 1;
  runs.push_back(std::move(run));
}

void Evaluations::collect() {
  std::vector<std::pair<Run, RunOutcome>> ended;
  std::erase_if(runs, [&](Run& run) {
    auto outcome = simulator->finished(run);
    if (outcome) ended.emplace_back(std::move(run), std::move(*outcome));
    return outcome.has_value();
  });
  for (const auto& [run, outcome] : ended) finish(run, outcome);
  beginRetries();
}

void Evaluations::beginRetries() {
  const auto now = Clock::now();
  const auto due = std::stable_partition(retries.begin(), retries.end(),
                                         [&](const Retry& retry) { return retry.from > now; });
  const std::vector<Retry> ready(due, retries.end());
  retries.erase(due, retries.end());
  for (const Retry& retry : ready) startRun(retry.x, retry.attempt);
}

// Where the rest is, and the end of what the run said.
std::string Evaluations::failureText(const Run& run, const RunOutcome& outcome) const {
  std::string text = "run " + runName(run.number) + ": " + outcome.reason;
  if (run.attempt > 1) text += " (attempt " + std::to_string(run.attempt) + ")";
  if (problem.command->keep != Keep::none) text += "; see " + run.directory.string();
  if (outcome.lastErrors.empty()) return text;
  return text + (problem.command->keep != Keep::none ? "/stderr.txt" : "; its standard error") +
         ", which ends with" + outcome.lastErrors;
}

void Evaluations::finish(const Run& run, const RunOutcome& outcome) {
  Record record{run.number, run.x, outcome.results, {}, {}, outcome.seconds};
  const Command& command = *problem.command;
  ++count.total;
  if (outcome.reason.empty()) {
    ++count.finished;
    record.values = model.values(run.x, outcome.results);
  } else {
    ++count.failed;
    latestFailure = record.failed = failureText(run, outcome);
    if (run.attempt <= command.retries) {
      if (history) history->noteFailedAttempt(run.number);
      const auto wait = std::chrono::duration<double>(command.retryWait);
      retries.push_back({run.x, run.attempt + 1,
                         Clock::now() + std::chrono::duration_cast<Clock::duration>(wait)});
      return;
    }
    if (command.onFailure == FailurePolicy::penalty) record.values = penaltiesOf(problem);
  }
  store(std::move(record));
}

void Evaluations::store(Record record) {
  if (history) history->append(record);
  note(record, judge(problem, model, record));
  if (record.failed.empty()) latestValues = record.values, count.seconds += record.seconds;
  known[keyOf(record.x)] = {std::move(record.values), std::move(record.failed),
                            std::move(record.results)};
  if (onChange) onChange();
}

void Evaluations::note(const Record& record, const Judged& judged) {
  keepBest(problem, record, judged, bestSeen);
  if (!judged.measured || !std::isnan(judged.violation) || ++spoiled.designs > 1) return;
  const auto first = std::find_if(judged.values.begin(), judged.values.end(),
                                  [](double value) { return !std::isfinite(value); });
  const auto j = static_cast<std::size_t>(first - judged.values.begin());
  spoiled.name = j == 0 ? problem.objective.name : problem.constraints[j - 1].name;
  spoiled.inside = judged.inside;
}

// Every limit is violated by the penalty; an objective that is much worse than any real one.
std::vector<double> penaltiesOf(const ProblemFile& problem) {
  const double size = problem.command->penalty;
  const double objective = size * problem.objective.scale.value_or(1);
  std::vector<double> values{problem.objective.maximize ? -objective : objective};
  for (const ConstraintEntry& c : problem.constraints)
    values.push_back(c.max ? *c.max + size * c.scale : *c.min - size * c.scale);
  return values;
}

}  // namespace tarnix::cli
