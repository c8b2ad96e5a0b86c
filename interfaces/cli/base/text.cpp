#include "base/text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <sstream>

namespace tarnix::cli {

namespace {

// Bytes of the character that a byte begins; 0 for one that begins none.
std::size_t lengthFrom(unsigned char c) {
  if (c < 0x80) return 1;
  if (c >= 0xc2 && c < 0xe0) return 2;
  if (c >= 0xe0 && c < 0xf0) return 3;
  return c >= 0xf0 && c < 0xf5 ? 4 : 0;
}

// The character at the beginning of a text, or 0 with length 1 for what is none.
char32_t decoded(std::string_view text, std::size_t& length) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  length = lengthFrom(byte(0));
  if (length == 1) return byte(0);
  char32_t code = length == 0 ? 0 : byte(0) & (0x7fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if (i >= text.size() || (byte(i) & 0xc0) != 0x80)
      length = 0;
    else
      code = code << 6 | (byte(i) & 0x3fu);
  }
  constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (length == 0 || code < smallest[length]) {
    length = 1;
    return 0;
  }
  return code;
}

bool isPlain(char32_t code) {
  if (code < 0x20 || (code >= 0x7f && code < 0xa0)) return false;        // C0, delete, C1
  if (code == 0x2028 || code == 0x2029 || code == 0xfeff) return false;  // line ends, invisible
  if (code >= 0x200b && code <= 0x200f) return false;                    // invisible, directions
  if ((code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069)) return false;
  return !(code >= 0xd800 && code < 0xe000) && code <= 0x10ffff;
}

}  // namespace

std::string printable(std::string_view text, bool lines) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0, length = 0; i < text.size(); i += length) {
    const char32_t code = decoded(text.substr(i, 4), length);
    if (isPlain(code) || (lines && (code == '\n' || code == '\t')))
      result += text.substr(i, length);
    else
      result += '?';
  }
  return result;
}

std::string_view trimmed(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return text;
}

std::string clipped(std::string_view text, std::size_t most) {
  if (text.size() <= most) return std::string(text);
  std::size_t end = most;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) --end;
  return std::string(text.substr(0, end)) + "...";
}

std::string firstCharacters(const std::string& text, std::size_t most) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size(); ++i)
    if ((static_cast<unsigned char>(text[i]) & 0xc0) != 0x80 && ++count > most)
      return text.substr(0, i);
  return text;
}

std::string shellWord(const std::string& word) {
  const bool plain =
      !word.empty() && word.find_first_of(" \t\n'\"\\$&;|<>*?()") == std::string::npos;
  if (plain) return word;
  std::string inner;
  for (const char c : word) inner += c == '\'' ? "'\\''" : std::string(1, c);
  return "'" + inner + "'";
}

std::string wrapped(const std::string& text, const std::string& indent, std::size_t width) {
  std::string all, line = indent;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (line.size() > indent.size() && line.size() + 1 + word.size() > width) {
      all += line + "\n";
      line = indent;
    }
    line += (line.size() > indent.size() ? " " : "") + word;
  }
  return all + line + "\n";
}

int PrintableBuffer::overflow(int character) {
  if (character == traits_type::eof()) return 0;
  const char c = static_cast<char>(character);
  return xsputn(&c, 1) == 1 ? character : traits_type::eof();
}

std::streamsize PrintableBuffer::xsputn(const char* text, std::streamsize count) {
  waiting.append(text, static_cast<std::size_t>(count));
  if (waiting.size() > 8192 && !flushWhole(false)) return 0;
  return count;
}

int PrintableBuffer::sync() {
  return flushWhole(true) ? 0 : -1;
}

// The beginning of a character at the end may still become whole.
bool PrintableBuffer::flushWhole(bool everything) {
  std::size_t end = waiting.size();
  if (!everything) {
    std::size_t begin = end;
    while (begin > 0 && end - begin < 3 &&
           (static_cast<unsigned char>(waiting[begin - 1]) & 0xc0) == 0x80)
      --begin;
    if (begin > 0 && lengthFrom(static_cast<unsigned char>(waiting[begin - 1])) > end - begin + 1)
      end = begin - 1;
  }
  const bool written =
      writeAll(descriptor, printable(std::string_view(waiting).substr(0, end), true));
  waiting.erase(0, end);
  broken = broken || !written;
  return written;
}

bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool readFile(const std::filesystem::path& path, std::string& content, std::uintmax_t most) {
  const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return false;
  struct stat status {};
  bool good = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
  content.clear();
  char piece[65536];
  while (good) {
    const ssize_t count = ::read(file, piece, sizeof piece);
    if (count == 0) break;
    if (count < 0 && errno == EINTR) continue;
    good = count > 0 && content.size() + static_cast<std::size_t>(count) <= most;
    if (good) content.append(piece, static_cast<std::size_t>(count));
  }
  close(file);
  return good;
}

std::uint32_t checkOf(std::string_view text) {
  std::uint32_t hash = 2166136261u;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
  return hash;
}

std::uint64_t hashOf(std::string_view text, std::uint64_t seed) {
  for (const char c : text) seed = (seed ^ static_cast<unsigned char>(c)) * 1099511628211u;
  return seed;
}

}  // namespace tarnix::cli
