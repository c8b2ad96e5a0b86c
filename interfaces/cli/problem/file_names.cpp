#include "problem/file_names.h"

#include <glob.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <sstream>

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

constexpr const char* dirMark = "{{dir}}";

// Of $NAME or ${NAME} at a place: the name, and where it ends.
std::string variableAt(const std::string& text, std::size_t at, std::size_t& end) {
  const bool braces = text.compare(at, 2, "${") == 0;
  const std::size_t begin = at + (braces ? 2 : 1);
  end = begin;
  while (end < text.size() &&
         (std::isalnum(static_cast<unsigned char>(text[end])) != 0 || text[end] == '_'))
    ++end;
  std::string name = text.substr(begin, end - begin);
  if (!braces) return name;
  if (end == text.size() || text[end] != '}') return {};
  ++end;
  return name;
}

}  // namespace

std::string withPlainDir(std::string text) {
  for (std::size_t open = text.find("{{"); open != std::string::npos;
       open = text.find("{{", open + 2)) {
    const std::size_t name = text.find_first_not_of(' ', open + 2);
    if (name == std::string::npos || text.compare(name, 3, "dir") != 0) continue;
    const std::size_t close = text.find_first_not_of(' ', name + 3);
    if (close != std::string::npos && text.compare(close, 2, "}}") == 0)
      text.replace(open, close + 2 - open, dirMark);
  }
  return text;
}

FileName fileName(const std::string& text) {
  std::string name = withPlainDir(text);
  const std::string mark = dirMark;
  if (name.starts_with(mark) && (name.size() == mark.size() || name[mark.size()] == '/')) {
    name.replace(0, mark.size(), ".");
  } else if (name[0] == '$' || name.starts_with("~/") || name == "~") {
    std::size_t end = 1;
    const std::string variable = name[0] == '~' ? "HOME" : variableAt(name, 0, end);
    const char* value = variable.empty() ? nullptr : std::getenv(variable.c_str());
    if (!value || !*value)
      return {name, "the environment holds no " + (variable.empty() ? name : "$" + variable)};
    name = value + name.substr(end);
  }
  if (name.find("{{") != std::string::npos)
    return {name,
            "'" + text + "': in the name of a file only {{dir}} is filled in, at its beginning"};
  return {name, {}};
}

bool insideDirectory(const std::string& name) {
  const fs::path path(name);
  return path.is_relative() && std::find(path.begin(), path.end(), "..") == path.end();
}

fs::path searchProgram(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::istringstream directories(path ? path : "/usr/bin:/bin");
  for (std::string directory; std::getline(directories, directory, ':');) {
    const fs::path candidate = fs::path(directory.empty() ? "." : directory) / name;
    std::error_code error;
    if (fs::is_regular_file(candidate, error) && access(candidate.c_str(), X_OK) == 0)
      return fs::absolute(candidate);
  }
  return {};
}

std::vector<fs::path> matching(const fs::path& directory, const std::string& pattern) {
  std::string all;
  for (const char c : pattern[0] == '/' ? "" : directory.string() + "/")
    all += (std::string("*?[\\").find(c) != std::string::npos ? "\\" : "") + std::string(1, c);
  all += pattern;
  std::vector<fs::path> found;
  glob_t result{};
  if (glob(all.c_str(), 0, nullptr, &result) == 0)
    for (std::size_t i = 0; i < result.gl_pathc; ++i) found.emplace_back(result.gl_pathv[i]);
  globfree(&result);
  return found;
}

std::string shellPart(const std::string& word) {
  if (word.starts_with("~/")) return "~";
  for (std::size_t at = word.find('$'); at != std::string::npos; at = word.find('$', at + 1)) {
    std::size_t end = at;
    const std::string name = variableAt(word, at, end);
    if (!name.empty() && std::getenv(name.c_str())) return word.substr(at, end - at);
  }
  return {};
}

}  // namespace tarnix::cli
