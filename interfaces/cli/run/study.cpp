#include "run/study.h"

#include <map>
#include <set>

#include "run/layer.h"
#include "run/verification.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

// What the history of a solve advises, in the words of a study.
std::string inWordsOf(const std::string& study, std::string text) {
  const std::string solve = "tarnix solve --fresh";
  if (const std::size_t at = text.find(solve); at != std::string::npos)
    text.replace(at, solve.size(), "tarnix " + study + " --fresh");
  return text;
}

// Formulas are not worth a history.
StudyResult computed(Model& model, const std::vector<std::vector<double>>& designs) {
  StudyResult result;
  for (const auto& x : designs) {
    checkSignals();
    result.records.push_back({0, x, {}, model.values(x, {}), {}, 0});
  }
  result.runs = static_cast<long>(designs.size());
  return result;
}

// Repeats runs that were side by side alone, in units of the first one's values.
std::optional<Verification> verified(Setup& setup, const History& history,
                                     Evaluations& evaluations) {
  const std::vector<Record> runs = history.sideBySide();
  if (runs.empty()) return {};
  const double value = setup.model->values(runs[0].x, runs[0].results)[0];
  Verification v{true, true, {}, {}};
  Verifier(setup.problem, *setup.model, evaluations, history)
      .verifyRuns(runs, setup.problem.objective.scale.value_or(typicalSize(value)), v);
  return v;
}

}  // namespace

Places studyPlaces(const fs::path& file, const fs::path& output, const std::string& study) {
  Places places(file, output);
  const fs::path directory = places.history.parent_path();
  const std::string stem = file.stem().string() + "." + study;
  places.history = directory / (stem + ".history.jsonl");
  places.runs = directory / (stem + ".runs");
  places.best = directory / (stem + ".best");
  places.report = directory / (stem + ".csv");
  return places;
}

History openStudy(const ProblemFile& problem, const Places& places, const std::string& study,
                  bool fresh) {
  if (const fs::path directory = places.history.parent_path(); !directory.empty()) {
    std::error_code error;
    fs::create_directories(directory, error);
    if (error)
      throw Failure(exitFiles, directory.string() + ": cannot be made: " + error.message());
  }
  std::error_code ignored;
  if (fresh) {
    if (History::inUse(places.history))
      throw Failure(exitFiles,
                    places.history.string() + ": another " + study + " is writing to it");
    putAside(places.history, ".history.jsonl");
    putRunsAside(places.runs);
  }
  History history(places.history);
  if (!fs::exists(places.history, ignored)) {
    history.create(problem);
    return history;
  }
  try {
    history.resume(problem);
  } catch (const Failure& failure) {
    throw Failure(failure.code, inWordsOf(study, failure.what()));
  }
  return history;
}

StudyResult evaluateAll(Setup& setup, const Places& places, const std::string& study,
                        const std::vector<std::vector<double>>& designs,
                        const StudyOptions& options) {
  const auto begun = Clock::now();
  if (!setup.simulator) return computed(*setup.model, designs);
  // One failed run is no reason to end the others.
  setup.problem.command->onFailure = FailurePolicy::penalty;
  setup.problem.options.maxEvaluations = 0, setup.problem.options.maxSeconds = 0;
  History history = openStudy(setup.problem, places, study, options.fresh);
  setup.simulator->open(places.runs);
  for (const long run : history.cutShort()) setup.simulator->sweep(run);
  StudyResult result;
  std::set<std::vector<double>> before;
  for (const Record& record : history.records())
    if (record.failed.empty() || !options.retryFailed) before.insert(record.x);
  for (const auto& x : designs) result.replayed += static_cast<long>(before.count(x));
  {
    Evaluations evaluations(setup.problem, *setup.model, setup.simulator.get(), &history,
                            options.jobs, options.retryFailed);
    ProgressLine progress(options.progress, setup.problem, evaluations);
    evaluations.onChange = [&] { progress.evaluated(); };
    if (options.progress == ProgressStyle::live) evaluations.onTick = evaluations.onChange;
    try {
      evaluations.atAll(designs);
      result.verification = verified(setup, history, evaluations);
    } catch (const Interrupted& interrupted) {
      result.signal = interrupted.signal;
    }
    const Evaluations::Counts& count = evaluations.counts();
    result.runs = count.finished + count.failed;
  }
  std::map<std::vector<double>, const Record*> known;
  for (const Record& record : history.records()) known[record.x] = &record;
  for (const auto& x : designs) {
    const auto place = known.find(x);
    Record record{0, x, {}, {}, {}, 0};
    if (place != known.end()) record = *place->second;
    record.values.clear();  // of a failed run they are penalties
    if (place != known.end() && record.failed.empty())
      record.values = setup.model->values(x, record.results);
    result.failed += !record.failed.empty();
    result.records.push_back(std::move(record));
  }
  result.seconds = std::chrono::duration<double>(Clock::now() - begun).count();
  return result;
}

}  // namespace tarnix::cli
