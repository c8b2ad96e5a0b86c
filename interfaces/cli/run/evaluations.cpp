#include "run/evaluations.h"

#include <algorithm>
#include <cstring>

namespace tarnix::cli {

Evaluations::Evaluations(const ProblemFile& p, Model& m, Simulator* s, History* h, int parallel)
    : problem(p), model(m), simulator(s), history(h), jobs(parallel), prediction(p) {
  if (history) replay();
}

Evaluations::~Evaluations() {
  for (Started& started : runs) simulator->abandon(started.run);
}

Evaluations::Key Evaluations::keyOf(std::span<const double> x) {
  Key key(x.size_bytes(), '\0');
  std::memcpy(key.data(), x.data(), x.size_bytes());
  return key;
}

// What a command has measured stands; objective and constraints follow from it anew, so that a
// limit or an expression may have been changed in between.
void Evaluations::replay() {
  const bool penalty = problem.command && problem.command->onFailure == FailurePolicy::penalty;
  for (Record record : history->records()) {
    nextRun = std::max(nextRun, record.run + 1);
    if (!record.failed.empty()) {
      if (!penalty) continue;  // the user has seen to the cause: it is run again
      record.values = penalties();
    } else {
      const Judged judged = judge(problem, model, record);
      record.values = judged.values;
      keepBest(problem, record, judged, bestSeen);
    }
    ++count.replayed;
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
      Record record;
      record.x.assign(x.begin(), x.end());
      record.values = model.values(x, {});
      ++count.finished;
      store(std::move(record), false);
    }
  }
  Known& found = known.at(key);
  if (found.foreseen) ++count.used;
  found.foreseen = false;
  lastAnswerFailed = !found.failed.empty();
  if (found.values.empty()) throw Failure(exitEvaluation, found.failed);
  return found.values;
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
    if (const int limit = problem.options.maxEvaluations; limit > 0) {
      const auto left = static_cast<std::size_t>(std::max(limit - count.asked, 0L));
      if (ahead.size() > left) ahead.resize(left);
    }
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
    simulator->abandon(started.run);
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
    if (!isRunning(key) && slotFree()) startRun(x, 1, false);
    startAhead();
    std::optional<Clock::time_point> until;
    for (const Started& started : runs)
      if (started.run.deadline && (!until || *started.run.deadline < *until))
        until = started.run.deadline;
    if (onTick) {
      onTick();
      const auto soon = Clock::now() + std::chrono::milliseconds(500);
      until = until ? std::min(*until, soon) : soon;
    }
    waitForChild(until);
  }
  startAhead();  // the pass goes on while the solve looks at this design
}

void Evaluations::startAhead() {
  while (slotFree() && !ahead.empty()) {
    const std::vector<double> next = std::move(ahead.front());
    ahead.pop_front();
    const Key key = keyOf(next);
    if (known.count(key) || isRunning(key)) continue;
    ++count.foreseen;
    startRun(next, 1, true);
  }
}

void Evaluations::startRun(std::span<const double> x, int attempt, bool foreseen) {
  const long number = nextRun++;
  runs.push_back({simulator->start(number, x, attempt), keyOf(x), foreseen});
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
  if (outcome.reason.empty()) {
    ++count.finished;
    record.values = model.values(run.x, outcome.results);
  } else {
    ++count.failed;
    if (run.attempt <= command.retries) return startRun(run.x, run.attempt + 1, foreseen);
    record.failed = "run " + runName(run.number) + ": " + outcome.reason;
    if (run.attempt > 1) record.failed += " (attempt " + std::to_string(run.attempt) + ")";
    if (command.keep != Keep::none) record.failed += "; see " + run.directory.string();
    if (command.onFailure == FailurePolicy::penalty) record.values = penalties();
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
