#include "run/setup.h"

#include <iostream>

#include "base/text.h"
#include "run/history.h"
#include "run/layer.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

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
  best = directory / (stem + ".best");
  report = directory / (stem + ".report.html");
}

fs::path putAside(const fs::path& path, const std::string& extension) {
  std::error_code error;
  if (!fs::exists(fs::symlink_status(path, error))) return {};
  const std::string whole = path.string(), stem = whole.substr(0, whole.size() - extension.size());
  fs::path aside;
  for (int number = 1; aside.empty() || fs::exists(fs::symlink_status(aside, error)); ++number)
    aside = stem + "." + std::to_string(number) + extension;
  fs::rename(path, aside, error);
  if (error) throw Failure(exitFiles, path.string() + ": cannot be renamed: " + error.message());
  std::cerr << "Of the earlier solve: " << aside.string() << "\n";
  return aside;
}

void makeRoom(const ProblemFile& problem, const Places& places, bool fresh) {
  std::string content;
  if (!problem.command || !readFile(places.history, content)) return;
  if (History::inUse(places.history))
    throw Failure(exitFiles, places.history.string() + ": another solve is writing to it");
  if (content.find("\n{\"run\":") == std::string::npos) return;
  const bool measured = content.find("\"r\":[") != std::string::npos;
  if (!fresh && !measured) return;  // nothing is lost; directories of failed runs stay where they are
  if (!fresh && content.find("\n{\"end\":") == std::string::npos)
    throw Failure(exitFiles, places.history.string() +
                                 ": an earlier solve did not come to its end. Go on with 'tarnix "
                                 "resume', or begin anew with 'tarnix solve --fresh'");
  putAside(places.history, ".jsonl");
  std::error_code ignored;
  if (!fs::remove(places.runs, ignored)) putAside(places.runs, ".runs");  // an empty one is no loss
  putAside(places.best, ".best");
}

void sweepRuns(const fs::path& runs, const History& history) {
  for (const long run : history.cutShort()) {
    std::error_code ignored;
    fs::remove_all(runs / runName(run), ignored);
  }
}

}  // namespace tarnix::cli
