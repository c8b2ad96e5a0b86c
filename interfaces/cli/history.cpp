#include "history.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

#include "text_template.h"

namespace tarnix::cli {

namespace {

constexpr int formatVersion = 1;

double fromJson(const Json& value) {
  if (value.is_number()) return value.get<double>();
  const std::string text = value.get<std::string>();
  if (text == "inf") return std::numeric_limits<double>::infinity();
  if (text == "-inf") return -std::numeric_limits<double>::infinity();
  if (text == "nan") return std::numeric_limits<double>::quiet_NaN();
  throw std::invalid_argument("'" + text + "' is not a number");
}

std::vector<double> vectorAt(const Json& line, const char* key) {
  std::vector<double> values;
  if (line.contains(key))
    for (const Json& value : line.at(key)) values.push_back(fromJson(value));
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

// Messages of simulators come in any encoding.
std::string dumped(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::vector<std::string> namesOf(const Problem& problem) {
  std::vector<std::string> names;
  for (const Variable& v : problem.variables) names.push_back(v.name);
  return names;
}

}  // namespace

Json exact(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
  return value;
}

Json exact(const std::vector<double>& values) {
  Json list = Json::array();
  for (const double value : values) list.push_back(exact(value));
  return list;
}

std::string fingerprint(const Problem& problem) {
  std::uint64_t hash = 14695981039346656037u;  // FNV-1a
  const auto add = [&](const std::string& part) {
    for (const char c : part + '\0') hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
  };
  const auto content = [](const std::filesystem::path& path) {
    std::string all;
    readFile(path, all);
    return all;
  };
  for (const std::string& name : namesOf(problem)) add(name);
  if (const auto& command = problem.command) {
    for (const std::string& word : command->words) add(word);
    for (const TemplateFile& file : command->templates) add(file.to + '\0' + content(file.from));
    for (const auto& file : command->files) add(file.filename().string() + '\0' + content(file));
    for (const Result& r : problem.results)
      for (const std::string& part : {r.name, r.file, r.key, r.regex}) add(part);
  }
  // With a command they matter where a place of a template or word names one of them.
  const auto filledIn = [&] {
    std::string all;
    for (const std::string& word : problem.command->words) all += word;
    for (const TemplateFile& file : problem.command->templates) all += content(file.from);
    return std::any_of(problem.quantities.begin(), problem.quantities.end(),
                       [&](const auto& q) { return all.find("{{" + q.name) != std::string::npos; });
  };
  if (!problem.command || filledIn())
    for (const Quantity& q : problem.quantities) add(q.name + '=' + q.value.text);
  if (!problem.command) {
    add(problem.objective.value.text);
    for (const Constraint& c : problem.constraints) add(c.name + '=' + c.value.text);
  }
  char result[17];
  std::snprintf(result, sizeof result, "%016llx", static_cast<unsigned long long>(hash));
  return result;
}

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

void History::create(const Problem& problem) {
  open(O_WRONLY | O_CREAT);  // not emptied before it is certain that nobody else uses it
  writeHeader(problem);
}

void History::writeHeader(const Problem& problem) {
  if (ftruncate(descriptor, 0) != 0)
    throw Failure(exitFiles, file.string() + ": cannot be emptied: " + std::strerror(errno));
  Json header;
  header["tarnix_history"] = formatVersion;
  header["problem"] = problem.file.filename().string();
  header["fingerprint"] = fingerprint(problem);
  header["variables"] = namesOf(problem);
  write(header.dump());
}

void History::resume(const Problem& problem) {
  if (!std::filesystem::exists(file)) return create(problem);
  open(O_RDWR);
  const std::size_t whole = parse(problem);
  if (whole == 0) return writeHeader(problem);
  if (ftruncate(descriptor, static_cast<off_t>(whole)) != 0)
    throw Failure(exitFiles, file.string() + ": cannot be cut: " + std::strerror(errno));
}

void History::read(const Problem& problem) {
  if (!std::filesystem::exists(file))
    throw Failure(exitFiles, file.string() + ": no history; 'tarnix solve' writes it");
  parse(problem);
}

std::size_t History::parse(const Problem& problem) {
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
        lastEnd = entry.at("end");
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

void History::appendEnd(const Json& result) {
  write("{\"end\":" + dumped(result) + "}");
  lastEnd = result;
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
