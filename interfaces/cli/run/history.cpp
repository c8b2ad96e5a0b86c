#include "run/history.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "base/exact_json.h"
#include "base/numbers.h"
#include "base/text.h"
#include "output/outcome.h"
#include "run/fingerprint.h"

namespace tarnix::cli {

namespace {

constexpr int formatVersion = 2;
const std::string headerBegin = "{\"tarnix_history\":";
constexpr long mostRuns = 1'000'000'000'000;
constexpr int deepest = 8;  // levels of a line of ours

std::vector<double> vectorAt(const Json& line, const char* key) {
  std::vector<double> values;
  if (line.contains(key))
    for (const Json& value : line.at(key)) values.push_back(number(value));
  return values;
}

// The library's own shortest form; one that looks like an integer would lose the sign of -0.
std::string text(double value) {
  if (std::isnan(value)) return "\"nan\"";
  if (std::isinf(value)) return value > 0 ? "\"inf\"" : "\"-inf\"";
  std::string result = shortest(value);
  if (result.find_first_of(".e") == std::string::npos) result += ".0";
  return result;
}

std::string text(const std::vector<double>& values) {
  std::string result = "[";
  for (const double value : values) result += (result.size() > 1 ? "," : "") + text(value);
  return result + "]";
}

// ,"c":"01234567"} at the end of a line
constexpr std::size_t checkLength = 16;
std::string checkText(std::string_view before) {
  char result[checkLength + 1];
  std::snprintf(result, sizeof result, ",\"c\":\"%08x\"}", checkOf(before));
  return result;
}

Json parsed(std::string_view line) {
  if (line.size() < checkLength || checkText(line.substr(0, line.size() - checkLength)) !=
                                       line.substr(line.size() - checkLength))
    throw std::invalid_argument("check");
  return Json::parse(line, [](int depth, Json::parse_event_t, Json&) {
    if (depth > deepest) throw std::invalid_argument("depth");
    return true;
  });
}

long runNumber(const Json& entry, const ProblemFile& problem) {
  if (!problem.command) return 0;
  const auto number = entry.at("run").get<std::int64_t>();
  if (number < 1 || number > mostRuns) throw std::invalid_argument("run number");
  return static_cast<long>(number);
}

// Whatever does not fit the problem is rejected: the numbers are used as they are later on.
Record recordFrom(const Json& entry, const ProblemFile& problem) {
  Record record{runNumber(entry, problem),
                vectorAt(entry, "x"),
                vectorAt(entry, "r"),
                vectorAt(entry, "f"),
                entry.value("failed", std::string()),
                entry.value("s", 0.0)};
  const bool failed = !record.failed.empty();
  const std::size_t values = failed ? 0 : 1 + problem.constraints.size();
  if (record.x.size() != problem.variables.size() ||
      record.results.size() != (failed ? 0 : problem.results.size()) ||
      (!problem.command && record.values.size() != values) || (failed && !problem.command))
    throw std::invalid_argument("count of numbers");
  return record;
}

Beginning beginningFrom(const Json& entry) {
  const auto text = [&](const char* key) { return entry.value(key, std::string()); };
  return {text("version"), text("date"), text("host"), text("command"),
          entry.value("set", Overrides())};
}

std::string lineOf(const Record& record) {
  std::string line = "{";
  if (record.run > 0) line += "\"run\":" + std::to_string(record.run) + ",";
  line += "\"x\":" + text(record.x);
  if (!record.results.empty()) line += ",\"r\":" + text(record.results);
  if (!record.failed.empty())
    line += ",\"failed\":" + dumped(record.failed);
  else
    line += ",\"f\":" + text(record.values);
  if (record.run > 0) {
    char seconds[40];
    std::snprintf(seconds, sizeof seconds, ",\"s\":%.4f", record.seconds);
    line += seconds;
  }
  return line;
}

}  // namespace

History::History(History&& other) noexcept
    : file(std::move(other.file)),
      descriptor(std::exchange(other.descriptor, -1)),
      known(std::move(other.known)),
      repeated(std::move(other.repeated)),
      begun(std::move(other.begun)),
      marks(std::move(other.marks)),
      started(std::move(other.started)),
      failedAttempts(std::move(other.failedAttempts)),
      course(std::move(other.course)),
      highestRun(other.highestRun),
      lastEnd(std::move(other.lastEnd)) {}

History::~History() {
  if (descriptor >= 0) close(descriptor);
}

bool History::inUse(const std::filesystem::path& path) {
  const int probe = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (probe < 0) return false;
  const bool taken = flock(probe, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  close(probe);
  return taken;
}

void History::open(int flags) {
  descriptor = ::open(file.c_str(), flags | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666);
  if (descriptor < 0 && errno == ELOOP)
    throw Failure(exitFiles, file.string() +
                                 ": is a symbolic link, which is not written through; "
                                 "--output names another directory");
  if (descriptor < 0)
    throw Failure(exitFiles,
                  file.string() + ": cannot be opened for writing: " + std::strerror(errno));
  struct stat status {};
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
    throw Failure(exitFiles, file.string() + ": is no regular file");
  if (flock(descriptor, LOCK_EX | LOCK_NB) != 0)
    throw Failure(exitFiles, file.string() + ": another solve is writing to it");
}

void History::create(const ProblemFile& problem) {
  open(O_WRONLY | O_CREAT);  // not emptied before it is certain that nobody else uses it
  std::string content;
  if (!readFile(file, content) ||
      (!content.empty() && content.compare(0, headerBegin.size(), headerBegin) != 0))
    throw Failure(exitFiles, file.string() +
                                 ": is no history, and is left as it is; remove it, or "
                                 "name another directory with --output");
  writeHeader(problem);
}

void History::writeHeader(const ProblemFile& problem) {
  if (ftruncate(descriptor, 0) != 0)
    throw Failure(exitFiles, file.string() + ": cannot be emptied: " + std::strerror(errno));
  Json header;
  header["tarnix_history"] = formatVersion;
  header["problem"] = problem.file.filename().string();
  header["variables"] = variableNames(problem);
  header["parts"] = Json::object();
  for (const auto& [part, hash] : fingerprint(problem)) header["parts"][part] = hash;
  std::string line = dumped(header);
  line.pop_back();
  write(line);
}

void History::resume(const ProblemFile& problem) {
  std::error_code error;
  if (!std::filesystem::exists(file, error))
    throw Failure(exitFiles,
                  file.string() + ": no history to continue from; 'tarnix solve' starts one");
  open(O_RDWR);
  const std::size_t whole = parse(problem);
  if (whole == 0) return writeHeader(problem);
  if (ftruncate(descriptor, static_cast<off_t>(whole)) != 0)
    throw Failure(exitFiles, file.string() + ": cannot be cut: " + std::strerror(errno));
}

void History::read(const ProblemFile& problem) {
  std::error_code error;
  if (!std::filesystem::exists(file, error))
    throw Failure(exitFiles, file.string() + ": no history; 'tarnix solve' writes it");
  parse(problem);
}

std::size_t History::parse(const ProblemFile& problem) {
  std::string content;
  if (!readFile(file, content)) throw Failure(exitFiles, file.string() + ": cannot be read");
  std::size_t begin = 0;
  int number = 0;
  for (std::size_t end; (end = content.find('\n', begin)) != std::string::npos; begin = end + 1) {
    const std::string_view line = std::string_view(content).substr(begin, end - begin);
    try {
      if (++number == 1)
        parseHeader(line, problem);
      else
        parseLine(line, problem);
    } catch (const Failure&) {
      throw;
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception&) {
      throw Failure(exitFiles, file.string() + ":" + std::to_string(number) +
                                   ": damaged line; remove it, or start over with 'tarnix solve "
                                   "--fresh'");
    }
  }
  // As they were begun, whichever came to its end first.
  std::stable_sort(known.begin(), known.end(),
                   [](const Record& a, const Record& b) { return a.run < b.run; });
  return begin;
}

void History::parseHeader(std::string_view line, const ProblemFile& problem) const {
  const Json entry = parsed(line);
  if (entry.at("tarnix_history").get<int>() != formatVersion)
    throw std::invalid_argument("unknown version");
  std::string changed;
  const auto change = [&](const std::string& part) {
    changed += (changed.empty() ? "" : ", ") + part;
  };
  const Json& parts = entry.at("parts");
  if (!parts.is_object()) throw std::invalid_argument("parts");
  const Fingerprint now = fingerprint(problem);
  for (const auto& [part, hash] : now)
    if (!parts.contains(part) || parts.at(part) != hash) change(part);
  for (const auto& [part, hash] : parts.items())
    if (std::none_of(now.begin(), now.end(),
                     [&part = part](const auto& p) { return p.first == part; }))
      change(part);
  if (!changed.empty())
    throw OtherState(exitFiles, file.string() + ": the values in it belong to another state of " +
                                    problem.file.string() + ". Changed: " + clipped(changed, 300) +
                                    ". Put that back, or start over with 'tarnix solve --fresh'");
}

void History::parseLine(std::string_view line, const ProblemFile& problem) {
  const Json entry = parsed(line);
  if (entry.contains("end")) {
    lastEnd = std::make_shared<const Outcome>(outcomeFrom(entry.at("end")));
    return;
  }
  if (entry.contains("began")) {
    begun.push_back(beginningFrom(entry.at("began")));
    course.push_back(0);
    return;
  }
  if (entry.contains("iteration")) {
    const Json& number = entry.at("iteration");
    if (!number.is_number_integer()) throw std::invalid_argument("iteration");
    marks.push_back({entry.value("method", std::string()), number.get<int>(), known.size()});
    return;
  }
  highestRun = std::max(highestRun, runNumber(entry, problem));
  if (entry.contains("started")) {
    started.push_back(runNumber(entry, problem));
    course.push_back(started.back());
    return;
  }
  if (entry.contains("attempt_failed")) {
    failedAttempts.push_back(runNumber(entry, problem));
    course.push_back(-failedAttempts.back());
    return;
  }
  auto& records = entry.contains("verifies") ? repeated : known;
  records.push_back(recordFrom(entry, problem));
  course.push_back(-records.back().run);
  if (!entry.contains("verifies")) lastEnd = nullptr;
}

std::vector<Record> History::sideBySide() const {
  std::unordered_map<long, const Record*> measured;
  for (const Record& record : known)
    if (record.failed.empty() && record.run > 0) measured[record.run] = &record;
  std::vector<Record> alike, last;
  std::vector<long> open;
  for (const long run : course) {
    if (run == 0) open.clear();
    if (run <= 0) {
      std::erase(open, -run);
      continue;
    }
    for (const long before : open) {
      if (!measured.count(before) || !measured.count(run)) continue;
      const Record &a = *measured.at(before), &b = *measured.at(run);
      last = {a, b};
      if (a.results == b.results) alike = last;
    }
    open.push_back(run);
  }
  alike.insert(alike.end(), last.begin(), last.end());
  return alike;
}

std::vector<long> History::cutShort() const {
  std::unordered_set<long> finished(failedAttempts.begin(), failedAttempts.end());
  for (const auto* list : {&known, &repeated})
    for (const Record& record : *list) finished.insert(record.run);
  std::vector<long> open;
  for (const long run : started)
    if (!finished.count(run)) open.push_back(run);
  return open;
}

long History::finishedRuns() const {
  return static_cast<long>(started.size() - cutShort().size() - repeated.size());
}

namespace {

// The last line of a kind in a file, an empty object when there is none or it is damaged.
Json lastLine(const std::filesystem::path& path, const std::string& kind) {
  std::string content;
  if (!readFile(path, content)) return Json::object();
  const std::size_t at = content.rfind("\n{\"" + kind + "\":");
  if (at == std::string::npos) return Json::object();
  const std::size_t end = std::min(content.find('\n', at + 1), content.size());
  try {
    return parsed(std::string_view(content).substr(at + 1, end - at - 1));
  } catch (const Json::exception&) {
  } catch (const std::invalid_argument&) {
  }
  return Json::object();  // reported when the history is read
}

}  // namespace

Overrides History::overridesIn(const std::filesystem::path& path) {
  const Json line = lastLine(path, "began");
  try {
    return line.contains("began") ? beginningFrom(line.at("began")).set : Overrides();
  } catch (const Json::exception&) {
    return {};
  }
}

std::unique_ptr<const Outcome> History::endIn(const std::filesystem::path& path) {
  const Json line = lastLine(path, "end");
  try {
    if (line.contains("end")) return std::make_unique<const Outcome>(outcomeFrom(line.at("end")));
  } catch (const Json::exception&) {
  } catch (const std::invalid_argument&) {
  }
  return nullptr;
}

void History::noteBeginning(const Beginning& beginning) {
  Json entry{{"version", beginning.version},
             {"date", beginning.date},
             {"host", beginning.host},
             {"command", beginning.command}};
  if (!beginning.set.empty()) entry["set"] = beginning.set;
  write("{\"began\":" + dumped(entry));
  begun.push_back(beginning);
  course.push_back(0);
}

void History::noteIteration(const std::string& method, int number) {
  if (!marks.empty() && marks.back().behind >= known.size()) return;
  write("{\"iteration\":" + std::to_string(number) + ",\"method\":" + dumped(method));
  marks.push_back({method, number, known.size()});
}

void History::noteStart(long run) {
  write("{\"run\":" + std::to_string(run) + ",\"started\":true");
  started.push_back(run);
  course.push_back(run);
  highestRun = std::max(highestRun, run);
}

void History::noteFailedAttempt(long run) {
  write("{\"run\":" + std::to_string(run) + ",\"attempt_failed\":true");
  failedAttempts.push_back(run);
  course.push_back(-run);
}

void History::append(const Record& record) {
  write(lineOf(record));
  if (record.run > 0) store();
  known.push_back(record);
  course.push_back(-record.run);
}

void History::appendVerification(const Record& record) {
  write(lineOf(record) + ",\"verifies\":true");
  store();
  repeated.push_back(record);
  course.push_back(-record.run);
}

void History::appendEnd(const Outcome& outcome) {
  write("{\"end\":" + dumped(toJson(outcome)));
  store();
  lastEnd = std::make_shared<const Outcome>(outcome);
}

// One call per line: a kill leaves the line whole or, when the disk is slower than the kill, torn
// at the end of the file, which resume cuts off.
void History::write(std::string line) {
  line += checkText(line) + "\n";
  if (!writeAll(descriptor, line))
    throw Failure(exitFiles, file.string() + ": cannot be written: " + std::strerror(errno));
}

// A run costs more than a write to the disk; a power cut takes nothing that is finished.
void History::store() {
  if (fdatasync(descriptor) != 0 && errno != EINVAL && errno != ENOSYS)
    throw Failure(exitFiles, file.string() + ": cannot be written: " + std::strerror(errno));
}

}  // namespace tarnix::cli
