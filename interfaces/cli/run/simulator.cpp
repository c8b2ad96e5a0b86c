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
    words.emplace_back(word, numbers, textNames, [&](int, const std::string& fault) {
      issues.add(command.line, "command: " + fault);
    });
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
  guard.emplace();
}

std::vector<std::string> Simulator::texts(long number) const {
  return {problem.directory.string(), runName(number)};
}

Run Simulator::start(long number, std::span<const double> x, int attempt) {
  Run run;
  run.number = number;
  run.x.assign(x.begin(), x.end());
  run.attempt = attempt;
  run.directory = runs / runName(number);
  std::error_code error;
  if (!fs::create_directory(run.directory, error))
    throw Failure(exitFiles, run.directory.string() + ": cannot be made: " +
                                 (error ? error.message() : "it is there already"));
  const std::vector<double> numbers = model.inputs(x);
  const std::vector<std::string> names = texts(number);
  for (const Filled& file : templates) {
    const fs::path target = run.directory / file.to;
    if (target.has_parent_path()) fs::create_directories(target.parent_path());
    writeFile(target, file.text.filled(numbers, names));
  }
  for (const fs::path& file : command.files) {
    fs::copy_file(file, run.directory / file.filename(), error);
    if (error)
      throw Failure(exitFiles, file.string() + ": cannot be copied to " + run.directory.string() +
                                   ": " + error.message());
  }
  std::vector<std::string> filled;
  if (command.shell) filled = {"sh", "-c"};
  for (const TextTemplate& word : words) filled.push_back(word.filled(numbers, names));
  run.started = Clock::now();
  if (command.timeout > 0)
    run.deadline = run.started + std::chrono::duration_cast<Clock::duration>(
                                     std::chrono::duration<double>(command.timeout));
  try {
    run.process = guard->start(command.program, filled, run.directory);
  } catch (const std::system_error& wrong) {
    leaveDirectory(run, true);
    throw Failure(exitEvaluation, wrong.what());
  }
  return run;
}

std::optional<RunOutcome> Simulator::finished(Run& run) {
  RunOutcome outcome;
  const auto now = Clock::now();
  outcome.seconds = std::chrono::duration<double>(now - run.started).count();
  if (const auto ending = guard->ended(run.process)) {
    if (!ending->exited || ending->status != 0)
      outcome.reason = "the command ended with " + ending->text();
    else
      outcome.results = reader.read(run.directory, outcome.reason);
  } else if (run.deadline && now >= *run.deadline) {
    guard->finish(run.process);
    outcome.reason =
        "the command was ended after its timeout of " + shortest(command.timeout) + " s";
  } else {
    return {};
  }
  if (!outcome.reason.empty()) outcome.reason += lastErrorLine(run);
  leaveDirectory(run, outcome.reason.empty());
  return outcome;
}

void Simulator::abandon(Run& run) {
  guard->finish(run.process);
  std::error_code ignored;
  fs::remove_all(run.directory, ignored);
}

// Simulators say on standard error, and there at the end, what they miss.
std::string Simulator::lastErrorLine(const Run& run) const {
  std::string content, last;
  if (!readFile(run.directory / "stderr.txt", content)) return {};
  while (!content.empty() && (content.back() == '\n' || content.back() == '\r')) content.pop_back();
  last = content.substr(content.find_last_of('\n') + 1).substr(0, 200);
  return last.empty() ? "" : "; it says: " + printable(last);
}

void Simulator::leaveDirectory(const Run& run, bool succeeded) const {
  if (command.keep == Keep::all || (command.keep == Keep::failed && !succeeded)) return;
  std::error_code ignored;
  fs::remove_all(run.directory, ignored);
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
