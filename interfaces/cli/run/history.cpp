#include "run/history.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <utility>

#include "base/exact_json.h"
#include "base/numbers.h"
#include "base/text.h"
#include "output/outcome.h"
#include "run/fingerprint.h"

namespace tarnix::cli {

namespace {

constexpr int formatVersion = 1;

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

}  // namespace

History::History(History&& other) noexcept
    : file(std::move(other.file)),
      descriptor(std::exchange(other.descriptor, -1)),
      known(std::move(other.known)),
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
  descriptor = ::open(file.c_str(), flags | O_APPEND | O_CLOEXEC, 0666);
  if (descriptor < 0)
    throw Failure(exitFiles,
                  file.string() + ": cannot be opened for writing: " + std::strerror(errno));
  if (flock(descriptor, LOCK_EX | LOCK_NB) != 0)
    throw Failure(exitFiles, file.string() + ": another solve is writing to it");
}

void History::create(const ProblemFile& problem) {
  open(O_WRONLY | O_CREAT);  // not emptied before it is certain that nobody else uses it
  writeHeader(problem);
}

void History::writeHeader(const ProblemFile& problem) {
  if (ftruncate(descriptor, 0) != 0)
    throw Failure(exitFiles, file.string() + ": cannot be emptied: " + std::strerror(errno));
  Json header;
  header["tarnix_history"] = formatVersion;
  header["problem"] = problem.file.filename().string();
  header["fingerprint"] = fingerprint(problem);
  header["variables"] = variableNames(problem);
  write(header.dump());
}

void History::resume(const ProblemFile& problem) {
  if (!std::filesystem::exists(file)) return create(problem);
  open(O_RDWR);
  const std::size_t whole = parse(problem);
  if (whole == 0) return writeHeader(problem);
  if (ftruncate(descriptor, static_cast<off_t>(whole)) != 0)
    throw Failure(exitFiles, file.string() + ": cannot be cut: " + std::strerror(errno));
}

void History::read(const ProblemFile& problem) {
  if (!std::filesystem::exists(file))
    throw Failure(exitFiles, file.string() + ": no history; 'tarnix solve' writes it");
  parse(problem);
}

std::size_t History::parse(const ProblemFile& problem) {
  std::string content;
  if (!readFile(file, content)) throw Failure(exitFiles, file.string() + ": cannot be read");
  std::size_t begin = 0;
  int line = 0;
  bool header = false;
  for (std::size_t end; (end = content.find('\n', begin)) != std::string::npos; begin = end + 1) {
    ++line;
    try {
      const Json entry = Json::parse(content.substr(begin, end - begin));
      if (!header) {
        if (entry.at("tarnix_history").get<int>() != formatVersion)
          throw std::invalid_argument("unknown version");
        if (entry.at("fingerprint").get<std::string>() != fingerprint(problem))
          throw Failure(exitFiles,
                        file.string() + ": the values in it belong to another state of " +
                            problem.file.string() +
                            (problem.command ? " (variables, command, templates, files or results"
                                             : " (variables or expressions") +
                            " have changed); begin anew with 'tarnix solve --fresh'");
        header = true;
      } else if (entry.contains("x")) {
        Record record{entry.value("run", 0L),
                      vectorAt(entry, "x"),
                      vectorAt(entry, "r"),
                      vectorAt(entry, "f"),
                      entry.value("failed", std::string()),
                      entry.value("s", 0.0)};
        if (record.x.size() != problem.variables.size() ||
            (record.failed.empty() && record.results.size() != problem.results.size()))
          throw std::invalid_argument("count of numbers");
        known.push_back(std::move(record));
        lastEnd = nullptr;
      } else if (entry.contains("end")) {
        lastEnd = std::make_shared<const Outcome>(outcomeFrom(entry.at("end")));
      }
    } catch (const Failure&) {
      throw;
    } catch (const std::exception&) {
      throw Failure(exitFiles, file.string() + ":" + std::to_string(line) +
                                   ": damaged line; repair or remove it, or begin anew with "
                                   "'tarnix solve --fresh'");
    }
  }
  return begin;
}

void History::append(const Record& record) {
  std::string line = "{";
  if (record.run > 0) line += "\"run\":" + std::to_string(record.run) + ",";
  line += "\"x\":" + text(record.x);
  if (!record.results.empty()) line += ",\"r\":" + text(record.results);
  if (!record.failed.empty())
    line += ",\"failed\":" + dumped(record.failed);
  else
    line += ",\"f\":" + text(record.values);
  if (record.run > 0) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, ",\"s\":%.4f", record.seconds);
    line += seconds;
  }
  write(line + "}");
  known.push_back(record);
}

void History::appendEnd(const Outcome& outcome) {
  write("{\"end\":" + dumped(toJson(outcome)) + "}");
  lastEnd = std::make_shared<const Outcome>(outcome);
}

// One call per line: a kill leaves the line whole or, when the disk is slower than the kill, torn
// at the end of the file, which resume cuts off.
void History::write(const std::string& line) {
  const std::string whole = line + "\n";
  std::size_t done = 0;
  while (done < whole.size()) {
    const ssize_t count = ::write(descriptor, whole.data() + done, whole.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0)
      throw Failure(exitFiles, file.string() + ": cannot be written: " + std::strerror(errno));
    done += static_cast<std::size_t>(count);
  }
}

}  // namespace tarnix::cli
