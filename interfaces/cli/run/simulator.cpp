#include "run/simulator.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <fstream>
#include <sstream>
#include <system_error>

#include "base/numbers.h"
#include "base/text.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

// Of texts that can be filled in; made when asked for, as memory may be out before main.
std::vector<std::string> textNames() {
  return {"dir", "run", "slot"};
}

// The end of a file, from the beginning of a line on where it has one.
std::string tailOf(const fs::path& path, std::streamoff most) {
  std::ifstream stream(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = stream ? std::streamoff(stream.tellg()) : 0;
  std::string text(static_cast<std::size_t>(std::min(size, most)), '\0');
  stream.seekg(size - static_cast<std::streamoff>(text.size()));
  if (!stream.read(text.data(), static_cast<std::streamsize>(text.size()))) return {};
  if (size > most) text.erase(0, text.find('\n') + 1);
  return text;
}

// To another file system too.
void moveDirectory(const fs::path& from, const fs::path& to) {
  std::error_code error;
  fs::rename(from, to, error);
  if (!error) return;
  fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
  if (error) throw Failure(exitFiles, to.string() + ": cannot be made: " + error.message());
  fs::remove_all(from, error);
}

void writeFile(const fs::path& path, const std::string& content) {
  std::ofstream stream(path, std::ios::binary);
  if (!(stream << content) || !stream.flush())
    throw Failure(exitFiles, path.string() + ": cannot be written");
}

Clock::duration secondsOf(double seconds) {
  return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
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
  const auto complain = [&](int, const std::string& fault) {
    issues.add(command.line, "command: " + fault);
  };
  const auto add = [&](const std::vector<std::string>& list, TextTemplate::Kind kind) {
    for (const std::string& word : list) {
      words.emplace_back(word, numbers, textNames(), complain, kind);
      used = words.back().usesNumbers() || used;
    }
  };
  add(command.launcher, TextTemplate::Kind::plain);
  if (command.shell && !command.launcher.empty()) add({"/bin/sh", "-c"}, TextTemplate::Kind::plain);
  add(command.words, command.shell ? TextTemplate::Kind::shell : TextTemplate::Kind::plain);
  for (const auto& [name, value] : command.environment) {
    environment.push_back({name, TextTemplate(value, numbers, textNames(), complain)});
    used = environment.back().text.usesNumbers() || used;
  }
  for (const TemplateFile& file : command.templates) {
    std::string content;
    if (!readFile(file.from, content)) continue;  // a missing file is reported by the reader
    templates.push_back({file.to, TextTemplate(content, numbers, textNames(),
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

Simulator::~Simulator() {
  std::error_code ignored;  // where another one runs too it is not empty, and stays
  if (place != runs) fs::remove(place, ignored);
}

// With a scratch directory it may hold runs of other problems too.
void Simulator::open(const fs::path& runsDirectory) {
  runs = place = runsDirectory;
  if (!command.scratch.empty()) {
    char name[32];
    std::snprintf(name, sizeof name, "tarnix-%016llx",
                  static_cast<unsigned long long>(hashOf(fs::absolute(runs).string())));
    place = command.scratch / name;
  }
  for (const fs::path& directory : {runs, place}) {
    std::error_code error;
    fs::create_directories(directory, error);
    if (error)
      throw Failure(exitFiles, directory.string() + ": cannot be made: " + error.message());
  }
  trees.reset();  // whose guard would wait for the new one, which holds the same pipe
  trees = std::make_unique<ProcessTrees>();
}

std::vector<std::string> Simulator::texts(long number, int slot) const {
  return {problem.directory.string(), runName(number), std::to_string(slot)};
}

Run Simulator::start(long number, std::span<const double> x, int attempt,
                     const std::function<void(long)>& noteStart) {
  Run run;
  run.x.assign(x.begin(), x.end());
  run.attempt = attempt;
  std::error_code error;
  const auto taken = [&](const fs::path& directory) {
    return fs::exists(fs::symlink_status(directory / runName(number), error));
  };
  while (taken(runs) || taken(place)) ++number;
  run.number = number;
  run.directory = place / runName(number);
  if (noteStart) noteStart(number);
  if (!fs::create_directory(run.directory, error))
    throw Failure(exitFiles, run.directory.string() + ": cannot be made: " +
                                 (error ? error.message() : "it is there already"));
  const auto free = std::find(slots.begin(), slots.end(), false);
  run.slot = static_cast<int>(free - slots.begin());
  fillDirectory(run);
  run.started = run.looked = Clock::now();
  if (command.timeout > 0) run.deadline = run.started + secondsOf(command.timeout);
  try {
    run.process = trees->start(planOf(run));
  } catch (const std::system_error& wrong) {
    leaveDirectory(run, command.keep != Keep::none);
    throw Failure(exitEvaluation, wrong.what());
  }
  if (free == slots.end())
    slots.push_back(true);
  else
    *free = true;
  return run;
}

void Simulator::fillDirectory(const Run& run) const {
  const std::vector<double> numbers = model.inputs(run.x);
  for (const Filled& file : templates) {
    const fs::path target = run.directory / file.to;
    if (target.has_parent_path()) fs::create_directories(target.parent_path());
    writeFile(target, file.text.filled(numbers, texts(run.number, run.slot)));
  }
  for (const SuppliedFile& file : command.files) supply(file, run);
}

void Simulator::supply(const SuppliedFile& file, const Run& run) const {
  std::error_code error;
  const fs::path target = run.directory / file.to;
  if (file.link)
    fs::create_symlink(file.from, target, error);
  else
    fs::copy(file.from, target, fs::copy_options::recursive, error);
  if (error)
    throw Failure(exitFiles, file.from.string() + ": cannot be put into " + run.directory.string() +
                                 ": " + error.message());
}

// As they are, but for names of programs with a slash, which are relative to the problem file; what
// a launcher starts may find other programs in PATH, so that it gets the full name in any case.
std::vector<std::string> Simulator::commandWords(std::span<const double> numbers,
                                                 const std::vector<std::string>& names) const {
  std::vector<std::string> filled;
  if (command.shell && command.launcher.empty()) filled = {"sh", "-c"};
  for (const TextTemplate& word : words) filled.push_back(word.filled(numbers, names));
  const std::size_t own = command.launcher.size();
  const auto hasSlash = [](const std::string& word) { return word.find('/') != word.npos; };
  if (own > 0 && hasSlash(command.launcher[0])) filled[0] = command.program.string();
  if (!command.shell && (own > 0 || hasSlash(command.words[0])))
    filled[own] = command.ownProgram.string();
  return filled;
}

LaunchPlan Simulator::planOf(const Run& run) const {
  const std::vector<double> numbers = model.inputs(run.x);
  const std::vector<std::string> names = texts(run.number, run.slot);
  LaunchPlan plan{command.program, commandWords(numbers, names), run.directory, {}};
  for (const Filled& variable : environment)
    plan.environment.push_back(variable.to + "=" + variable.text.filled(numbers, names));
  return plan;
}

void Simulator::askToEnd(Run& run, const std::string& reason) {
  run.ending = reason;
  run.deadline = Clock::now() + secondsOf(command.killGrace);
  trees->terminate(run.process);
}

bool Simulator::outputTooLarge(const Run& run) const {
  std::vector<std::string> names{"stdout.txt", "stderr.txt"};
  for (const ResultEntry& result : problem.results)
    if (!result.file.empty()) names.push_back(result.file);
  for (const std::string& name : names) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(run.directory / name, error);
    if (!error && size > command.outputLimit) return true;
  }
  return false;
}

// Ends a run that takes too long or prints too much. Sizes are asked for now and then: with many
// runs on a shared disk that is expensive.
void Simulator::look(Run& run) {
  const auto now = Clock::now();
  if (run.deadline && now >= *run.deadline)
    return askToEnd(
        run, "the command was ended after its timeout of " + shortest(command.timeout) + " s");
  if (now - run.looked < std::chrono::milliseconds(200)) return;
  run.looked = now;
  if (outputTooLarge(run))
    askToEnd(run, "the command was ended, as it wrote more than output_limit allows, " +
                      shortest(static_cast<double>(command.outputLimit) / 1e6) + " MB");
}

// Whether the outcome is known: the process is gone, and its results are there or too late.
bool Simulator::hasEnded(Run& run, RunOutcome& outcome) {
  if (!run.ending.empty()) {
    if (Clock::now() < *run.deadline && !trees->gone(run.process)) return false;
    trees->finish(run.process);
    outcome.reason = run.ending;
    return true;
  }
  if (run.process > 0) {
    const auto ending = trees->ended(run.process);
    if (!ending) return look(run), false;
    run.process = -1;
    run.deadline = Clock::now() + secondsOf(command.resultWait);
    const auto& accepted = command.acceptedStatus;
    if (!ending->exited ||
        std::find(accepted.begin(), accepted.end(), ending->status) == accepted.end()) {
      outcome.reason = "the command " + ending->text();
      return true;
    }
  }
  outcome.results = reader.read(run.directory, command.outputLimit, outcome.reason);
  if (outcome.reason.empty()) return true;
  if (Clock::now() < *run.deadline) return outcome.reason.clear(), false;
  if (command.resultWait > 0)
    outcome.reason += ", " + shortest(command.resultWait) + " s after the command's end";
  return true;
}

std::optional<RunOutcome> Simulator::finished(Run& run, bool keep) {
  RunOutcome outcome;
  if (!hasEnded(run, outcome)) return {};
  outcome.seconds = std::chrono::duration<double>(Clock::now() - run.started).count();
  if (!outcome.reason.empty()) outcome.lastErrors = lastErrorLines(run);
  const bool wanted =
      command.keep == Keep::all || (command.keep != Keep::none && !outcome.reason.empty());
  slots[static_cast<std::size_t>(run.slot)] = false;
  leaveDirectory(run, keep || wanted);
  return outcome;
}

void Simulator::abandon(const std::vector<Run*>& unwanted) {
  for (Run* run : unwanted)
    if (run->process > 0 && run->ending.empty()) askToEnd(*run, "it is no longer needed");
  for (Run* run : unwanted) {
    try {
      while (run->process > 0 && Clock::now() < *run->deadline && !trees->gone(run->process))
        waitForChild(Clock::now() + std::chrono::milliseconds(20));
    } catch (const Interrupted&) {
      // At once, then; the others too.
      for (Run* other : unwanted) other->deadline = Clock::now();
    }
    if (run->process > 0) trees->finish(run->process);
    leaveDirectory(*run, false);
  }
}

// Simulators say on standard error, and there at the end, what they miss.
std::string Simulator::lastErrorLines(const Run& run) {
  std::istringstream lines(tailOf(run.directory / "stderr.txt", 4000));
  std::deque<std::string> last;
  for (std::string line; std::getline(lines, line);) {
    if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    last.push_back(printable(clipped(line, 200)));
    if (last.size() > 5) last.pop_front();
  }
  std::string text;
  for (const std::string& line : last) text += "\n    | " + line;
  return text;
}

// What stays is kept next to the problem file.
void Simulator::leaveDirectory(Run& run, bool keep) {
  if (!keep) {
    std::error_code ignored;
    fs::remove_all(run.directory, ignored);
  } else if (place != runs) {
    moveDirectory(run.directory, runs / runName(run.number));
    run.directory = runs / runName(run.number);
  }
}

void Simulator::sweep(long number) const {
  std::error_code ignored;
  for (const fs::path& directory : {runs, place})
    fs::remove_all(directory / runName(number), ignored);
}

std::vector<std::string> Simulator::filledIn() const {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < model.inputNames().size(); ++i) {
    bool used = false;
    for (const TextTemplate& word : words) used = used || word.uses(i);
    for (const auto* list : {&templates, &environment})
      for (const Filled& file : *list) used = used || file.text.uses(i);
    if (used) names.push_back(model.inputNames()[i]);
  }
  return names;
}

std::string Simulator::given(std::span<const double> x) const {
  const std::vector<double> numbers = model.inputs(x);
  std::string text;
  for (const TextTemplate& word : words) word.addPlaces(numbers, text);
  for (const auto* list : {&templates, &environment})
    for (const Filled& file : *list) file.text.addPlaces(numbers, text);
  return text;
}

Simulator::Preview Simulator::preview(std::span<const double> x) {
  Preview result;
  const std::vector<double> numbers = model.inputs(x);
  const std::vector<std::string> names = texts(1, 0);
  result.words = commandWords(numbers, names);
  if (!result.words.empty()) result.words[0] = command.program.string();
  for (const Filled& file : templates)
    result.files.push_back({file.to, file.text.filled(numbers, names), file.text.placeLines()});
  for (const Filled& variable : environment)
    result.environment.push_back(variable.to + "=" + variable.text.filled(numbers, names));
  return result;
}

}  // namespace tarnix::cli
