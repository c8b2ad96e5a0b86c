#include "run/setup.h"

#include <iostream>

#include "base/text.h"
#include "run/history.h"
#include "run/layer.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

// Renames a file or directory, NAME.EXTENSION to NAME.number.EXTENSION.
void putAside(const fs::path& path, const std::string& extension, int number) {
  std::error_code error;
  if (!fs::exists(path, error)) return;
  fs::path aside = path;
  aside.replace_extension();
  aside += "." + std::to_string(number) + extension;
  fs::rename(path, aside, error);
  if (error) throw Failure(exitFiles, path.string() + ": cannot be renamed: " + error.message());
  std::cerr << "Of the earlier solve: " << aside.string() << "\n";
}

}  // namespace

Setup::Setup(const fs::path& file) {
  Issues issues(file.string());
  problem = readProblem(file, issues);
  if (!problem.variables.empty()) {
    model = std::make_unique<Model>(problem, issues);
    if (problem.command) simulator = std::make_unique<Simulator>(problem, *model, issues);
  }
  if (issues.empty())
    for (const std::string& message : layerIssues(problem)) issues.add(0, message);
  if (!issues.empty()) throw Failure(exitBadProblem, issues.text());
}

Places::Places(const fs::path& file, const fs::path& output) {
  const fs::path directory = output.empty() ? file.parent_path() : output;
  const std::string stem = file.stem().string();
  history = directory / (stem + ".history.jsonl");
  runs = directory / (stem + ".runs");
  report = directory / (stem + ".report.html");
}

void makeRoom(const ProblemFile& problem, const Places& places, bool fresh) {
  std::string content;
  if (!problem.command || !readFile(places.history, content)) return;
  if (History::inUse(places.history))
    throw Failure(exitFiles, places.history.string() + ": another solve is writing to it");
  if (content.find("\"f\":[") == std::string::npos) return;  // nothing that would be lost
  if (!fresh && content.find("\n{\"end\":") == std::string::npos)
    throw Failure(exitFiles, places.history.string() +
                                 ": an earlier solve did not come to its end. Go on with 'tarnix "
                                 "resume', or begin anew with 'tarnix solve --fresh'");
  const fs::path stem = fs::path(places.history).replace_extension();  // NAME.history
  int number = 1;
  while (fs::exists(fs::path(stem.string() + "." + std::to_string(number) + ".jsonl"))) ++number;
  putAside(places.history, ".jsonl", number);
  putAside(places.runs, ".runs", number);
}

// The directories of finished runs are named by the history.
void sweepRuns(const fs::path& runs, const std::vector<Record>& records) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(runs, error)) {
    const std::string name = entry.path().filename().string();
    if (name.size() < 6 || name.find_first_not_of("0123456789") != std::string::npos) continue;
    const bool recorded = std::any_of(records.begin(), records.end(),
                                      [&](const Record& r) { return runName(r.run) == name; });
    if (!recorded) fs::remove_all(entry.path(), error);
  }
}

}  // namespace tarnix::cli
