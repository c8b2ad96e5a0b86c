#include "run/evaluations.h"

#include <algorithm>
#include <cstring>

namespace tarnix::cli {

Evaluations::Evaluations(const ProblemFile& p, Model& m, Simulator* s, History* h, int parallel,
                         bool retryFailed)
    : problem(p), model(m), simulator(s), history(h), jobs(parallel), prediction(p) {
  if (!history) return;
  replay(retryFailed);
  noteStart = [this](long run) { history->noteStart(run); };
}

Evaluations::~Evaluations() {
  std::vector<Run*> unwanted;
  for (Started& started : runs) unwanted.push_back(&started.run);
  if (!unwanted.empty()) simulator->abandon(unwanted);
}

Evaluations::Key Evaluations::keyOf(std::span<const double> x) {
  Key key(x.size_bytes(), '\0');
  std::memcpy(key.data(), x.data(), x.size_bytes());
  return key;
}

// What a command has measured stands; objective and constraints follow from it anew, so that a
// limit or an expression may have been changed in between.
void Evaluations::replay(bool retryFailed) {
  const bool penalty = problem.command && problem.command->onFailure == FailurePolicy::penalty;
  nextRun = history->lastRun() + 1;
  count.total = simulator ? history->finishedRuns() : 0;
  for (Record record : history->records()) {
    if (!record.failed.empty()) {
      latestFailure = record.failed;
      if (!penalty || retryFailed) continue;  // the user has seen to the cause: it is run again
      record.values = penalties();
    } else {
      const Judged judged = judge(problem, model, record);
      record.values = judged.values;
      keepBest(problem, record, judged, bestSeen);
    }
    ++count.replayed;
    if (!simulator) ++count.total;
    known[keyOf(record.x)] = {record.values, record.failed, false};
  }
}

std::vector<double> Evaluations::at(std::span<const double> x) {
  checkSignals();
  ++count.asked;
  const Key key = keyOf(x);
  if (jobs > 1 && simulator) foresee(x);
  if (!known.count(key)) {
    if (simulator) {
      runUntilKnown(x, key);
    } else {
      keepLimits();
      Record record;
      record.x.assign(x.begin(), x.end());
      record.values = model.values(x, {});
      ++count.finished, ++count.total;
      store(std::move(record), false);
    }
  }
  Known& found = known.at(key);
  if (found.foreseen) ++count.used;
  found.foreseen = false;
  if (!found.failed.empty()) penaltyAnswer = count.asked;
  if (found.values.empty()) throw Failure(exitEvaluation, found.failed);
  return found.values;
}

std::string Evaluations::failureAt(std::span<const double> x) const {
  const auto place = known.find(keyOf(x));
  return place == known.end() ? std::string() : place->second.failed;
}

std::vector<std::vector<double>> Evaluations::sideBySide() const {
  std::vector<std::vector<double>> measured;
  for (const auto& x : beside)
    if (known.count(keyOf(x)) && failureAt(x).empty()) measured.push_back(x);
  return measured;
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
  dropForeseen();
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
  Record record{run.number, run.x, outcome->results, {}, outcome->reason, outcome->seconds};
  if (record.failed.empty()) record.values = model.values(run.x, record.results);
  if (history) history->appendVerification(record);
  return record;
}

// ---- running side by side ----------------------------------------------------------------------

void Evaluations::foresee(std::span<const double> x) {
  const std::vector<double> design(x.begin(), x.end());
  auto place = std::find(expected.begin(), expected.end(), design);
  const Designs pass = prediction.after(x, place != expected.end());
  if (!pass.empty()) {
    dropForeseen();
    expected.assign(pass.begin(), pass.end());
    ahead = expected;
    return;
  }
  if (place == expected.end()) {
    // The base of a pass may be asked for again in between, which costs nothing.
    if (known.count(keyOf(x))) return;
    // Foreseen but for the last bits: this one is lost, the others of the pass may still be right.
    place = std::find_if(expected.begin(), expected.end(),
                         [&](const auto& other) { return prediction.close(other, x); });
    if (place == expected.end()) return dropForeseen();
    ahead.erase(std::remove(ahead.begin(), ahead.end(), *place), ahead.end());
    drop(keyOf(*place));
  }
  expected.erase(expected.begin(), place + 1);
}

void Evaluations::dropForeseen() {
  ahead.clear();
  for (const auto& design : expected) drop(keyOf(design));
  expected.clear();
}

void Evaluations::drop(const Key& key) {
  std::erase_if(runs, [&](Started& started) {
    if (started.key != key) return false;
    simulator->abandon({&started.run});
    return true;
  });
}

bool Evaluations::isRunning(const Key& key) const {
  return std::any_of(runs.begin(), runs.end(), [&](const auto& s) { return s.key == key; });
}

void Evaluations::runUntilKnown(std::span<const double> x, const Key& key) {
  for (;;) {
    collect();
    if (known.count(key)) break;
    if (!isRunning(key) && slotFree()) {
      if (runs.empty()) keepLimits();  // what runs is waited for
      if (!limitReached()) startRun(x, 1, false);
    }
    startAhead();
    const bool ending = std::any_of(runs.begin(), runs.end(),
                                    [](const Started& s) { return !s.run.ending.empty(); });
    if (onTick) onTick();
    // Time limits, the size of outputs and the course of an end are looked at now and then.
    waitForChild(Clock::now() + std::chrono::milliseconds(ending ? 20 : 100));
  }
  startAhead();  // the pass goes on while the solve looks at this design
}

void Evaluations::startAhead() {
  while (slotFree() && !ahead.empty() && !limitReached()) {
    const std::vector<double> next = std::move(ahead.front());
    ahead.pop_front();
    const Key key = keyOf(next);
    if (known.count(key) || isRunning(key)) continue;
    ++count.foreseen;
    startRun(next, 1, true);
  }
}

void Evaluations::startRun(std::span<const double> x, int attempt, bool foreseen) {
  Run run = simulator->start(nextRun, x, attempt, noteStart);
  nextRun = run.number + 1;
  if (!runs.empty()) beside = {runs.back().run.x, run.x};
  runs.push_back({std::move(run), keyOf(x), foreseen});
}

void Evaluations::collect() {
  std::vector<std::pair<Started, RunOutcome>> ended;
  std::erase_if(runs, [&](Started& started) {
    auto outcome = simulator->finished(started.run);
    if (!outcome) return false;
    ended.emplace_back(std::move(started), std::move(*outcome));
    return true;
  });
  for (const auto& [started, outcome] : ended) finish(started.run, outcome, started.foreseen);
}

void Evaluations::finish(const Run& run, const RunOutcome& outcome, bool foreseen) {
  Record record{run.number, run.x, outcome.results, {}, {}, outcome.seconds};
  const Command& command = *problem.command;
  ++count.total;
  if (outcome.reason.empty()) {
    ++count.finished;
    record.values = model.values(run.x, outcome.results);
  } else {
    ++count.failed;
    latestFailure = "run " + runName(run.number) + ": " + outcome.reason;
    if (run.attempt <= command.retries) {
      if (history) history->noteFailedAttempt(run.number);
      return startRun(run.x, run.attempt + 1, foreseen);
    }
    record.failed = latestFailure;
    if (run.attempt > 1) record.failed += " (attempt " + std::to_string(run.attempt) + ")";
    if (command.keep != Keep::none) record.failed += "; see " + run.directory.string();
    if (command.onFailure == FailurePolicy::penalty) record.values = penalties();
    latestFailure = record.failed;
  }
  store(std::move(record), foreseen);
}

void Evaluations::store(Record record, bool foreseen) {
  if (history) history->append(record);
  keepBest(problem, record, judge(problem, model, record), bestSeen);
  known[keyOf(record.x)] = {std::move(record.values), std::move(record.failed), foreseen};
  if (onChange) onChange();
}

// Every limit is violated by the penalty; an objective that is much worse than any real one.
std::vector<double> Evaluations::penalties() const {
  const double size = problem.command->penalty;
  const double objective = size * problem.objective.scale.value_or(1);
  std::vector<double> values{problem.objective.maximize ? -objective : objective};
  for (const ConstraintEntry& c : problem.constraints)
    values.push_back(c.max ? *c.max + size * c.scale : *c.min - size * c.scale);
  return values;
}

}  // namespace tarnix::cli
