#include "run/simulator.h"

#include <cstdio>
#include <fstream>
#include <system_error>

#include "base/numbers.h"
#include "base/text.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

const std::vector<std::string> textNames{"dir", "run"};

void writeFile(const fs::path& path, const std::string& content) {
  std::ofstream stream(path, std::ios::binary);
  if (!(stream << content) || !stream.flush())
    throw Failure(exitFiles, path.string() + ": cannot be written");
}

}  // namespace

std::string runName(long number) {
  char text[32];
  std::snprintf(text, sizeof text, "%06ld", number);
  return text;
}

Simulator::Simulator(const ProblemFile& p, Model& m, Issues& issues)
    : problem(p), command(*p.command), model(m), reader(p.results, issues) {
  const std::vector<std::string>& numbers = m.inputNames();
  bool used = false;
  for (const std::string& word : command.words) {
    words.emplace_back(
        word, numbers, textNames,
        [&](int, const std::string& fault) { issues.add(command.line, "command: " + fault); },
        command.shell ? TextTemplate::Kind::shell : TextTemplate::Kind::plain);
    used = words.back().usesNumbers() || used;
  }
  for (const TemplateFile& file : command.templates) {
    std::string content;
    if (!readFile(file.from, content)) continue;  // a missing file is reported by the reader
    templates.push_back({file.to, TextTemplate(content, numbers, textNames,
                                               [&](int line, const std::string& fault) {
                                                 issues.addIn(file.from.string(), line, fault);
                                               })});
    used = templates.back().text.usesNumbers() || used;
  }
  if (!used && !command.words.empty() && issues.empty())
    issues.add(command.line, "command: neither an argument nor a template holds a variable as {{" +
                                 (numbers.empty() ? "name" : numbers[0]) +
                                 "}}: every run would be the same");
}

void Simulator::open(const fs::path& runsDirectory) {
  runs = runsDirectory;
  std::error_code error;
  fs::create_directories(runs, error);
  if (error) throw Failure(exitFiles, runs.string() + ": cannot be made: " + error.message());
  trees = std::make_unique<ProcessTrees>();
}

std::vector<std::string> Simulator::texts(long number) const {
  return {problem.directory.string(), runName(number)};
}

Run Simulator::start(long number, std::span<const double> x, int attempt,
                     const std::function<void(long)>& noteStart) {
  Run run;
  run.x.assign(x.begin(), x.end());
  run.attempt = attempt;
  std::error_code error;
  while (fs::exists(fs::symlink_status(runs / runName(number), error))) ++number;
  run.number = number;
  run.directory = runs / runName(number);
  if (noteStart) noteStart(number);
  if (!fs::create_directory(run.directory, error))
    throw Failure(exitFiles, run.directory.string() + ": cannot be made: " +
                                 (error ? error.message() : "it is there already"));
  fillDirectory(run);
  run.started = Clock::now();
  if (command.timeout > 0)
    run.deadline = run.started + std::chrono::duration_cast<Clock::duration>(
                                     std::chrono::duration<double>(command.timeout));
  try {
    run.process = trees->start(planOf(run));
  } catch (const std::system_error& wrong) {
    leaveDirectory(run, true);
    throw Failure(exitEvaluation, wrong.what());
  }
  return run;
}

void Simulator::fillDirectory(const Run& run) const {
  const std::vector<double> numbers = model.inputs(run.x);
  for (const Filled& file : templates) {
    const fs::path target = run.directory / file.to;
    if (target.has_parent_path()) fs::create_directories(target.parent_path());
    writeFile(target, file.text.filled(numbers, texts(run.number)));
  }
  for (const fs::path& file : command.files) {
    std::error_code error;
    fs::copy_file(file, run.directory / file.filename(), error);
    if (error)
      throw Failure(exitFiles, file.string() + ": cannot be copied to " + run.directory.string() +
                                   ": " + error.message());
  }
}

LaunchPlan Simulator::planOf(const Run& run) const {
  LaunchPlan plan{command.program, {}, run.directory, {}};
  if (command.shell) plan.words = {"sh", "-c"};
  const std::vector<double> numbers = model.inputs(run.x);
  for (const TextTemplate& word : words)
    plan.words.push_back(word.filled(numbers, texts(run.number)));
  return plan;
}

void Simulator::askToEnd(Run& run, const std::string& reason) {
  run.ending = reason;
  run.deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                    std::chrono::duration<double>(command.killGrace));
  trees->terminate(run.process);
}

bool Simulator::outputTooLarge(const Run& run) const {
  for (const char* name : {"stdout.txt", "stderr.txt"}) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(run.directory / name, error);
    if (!error && size > command.outputLimit) return true;
  }
  return false;
}

std::optional<RunOutcome> Simulator::finished(Run& run, bool keep) {
  RunOutcome outcome;
  const auto now = Clock::now();
  outcome.seconds = std::chrono::duration<double>(now - run.started).count();
  const bool late = run.deadline && now >= *run.deadline;
  if (!run.ending.empty()) {
    if (!late && !trees->gone(run.process)) return {};
    trees->finish(run.process);
    outcome.reason = run.ending;
  } else if (const auto ending = trees->ended(run.process)) {
    if (!ending->exited || ending->status != 0)
      outcome.reason = "the command ended with " + ending->text();
    else
      outcome.results = reader.read(run.directory, command.outputLimit, outcome.reason);
  } else {
    if (late)
      askToEnd(run, "the command was ended after its timeout of " + shortest(command.timeout) +
                        " s");
    else if (outputTooLarge(run))
      askToEnd(run, "the command was ended, as it printed more than output_limit allows, " +
                        shortest(static_cast<double>(command.outputLimit) / 1e6) + " MB");
    return {};
  }
  if (!outcome.reason.empty()) outcome.reason += lastErrorLines(run);
  if (!keep) leaveDirectory(run, outcome.reason.empty());
  return outcome;
}

void Simulator::abandon(std::vector<Run*> unwanted) {
  for (Run* run : unwanted)
    if (run->ending.empty()) askToEnd(*run, "it is not wanted any more");
  for (Run* run : unwanted) {
    try {
      while (Clock::now() < *run->deadline && !trees->gone(run->process))
        waitForChild(Clock::now() + std::chrono::milliseconds(20));
    } catch (const Interrupted&) {
      // At once, then; the others too.
      for (Run* other : unwanted) other->deadline = Clock::now();
    }
    trees->finish(run->process);
    std::error_code ignored;
    fs::remove_all(run->directory, ignored);
  }
}

// Simulators say on standard error, and there at the end, what they miss.
std::string Simulator::lastErrorLines(const Run& run) const {
  std::string content;
  if (!readFile(run.directory / "stderr.txt", content)) return {};
  while (!content.empty() && (content.back() == '\n' || content.back() == '\r')) content.pop_back();
  const std::string last = content.substr(content.find_last_of('\n') + 1);
  return last.empty() ? "" : "; it says: " + printable(clipped(last, 200));
}

void Simulator::leaveDirectory(const Run& run, bool succeeded) const {
  if (command.keep == Keep::all || (command.keep != Keep::none && !succeeded)) return;
  std::error_code ignored;
  fs::remove_all(run.directory, ignored);
}

std::vector<std::string> Simulator::filledIn() const {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < model.inputNames().size(); ++i) {
    bool used = false;
    for (const TextTemplate& word : words) used = used || word.uses(i);
    for (const Filled& file : templates) used = used || file.text.uses(i);
    if (used) names.push_back(model.inputNames()[i]);
  }
  return names;
}

Simulator::Preview Simulator::preview(std::span<const double> x) {
  Preview result;
  const std::vector<double> numbers = model.inputs(x);
  const std::vector<std::string> names = texts(1);
  result.words.push_back(command.program.string());
  if (command.shell) result.words.push_back("-c");
  for (std::size_t i = command.shell ? 0 : 1; i < words.size(); ++i)
    result.words.push_back(words[i].filled(numbers, names));
  for (const Filled& file : templates)
    result.files.emplace_back(file.to, file.text.filled(numbers, names));
  return result;
}

}  // namespace tarnix::cli
