// Texts of files and of foreign programs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <streambuf>
#include <string>
#include <string_view>

namespace tarnix::cli {

// A text fit for a terminal: whole UTF-8 without control characters, C1 and those that turn the
// direction of writing included; each becomes '?'. Line ends and tabs stay when lines is set.
std::string printable(std::string_view text, bool lines = false);

// Without blanks at its ends.
std::string_view trimmed(std::string_view text);

// At most so many characters of a text, with "..." where something is cut.
std::string clipped(std::string_view text, std::size_t most = 60);

// So many characters of a text, which is UTF-8.
std::string firstCharacters(const std::string& text, std::size_t most);

// A word as it would be typed in a shell.
std::string shellWord(const std::string& word);

// A text broken into lines of at most so many characters, each behind an indent.
std::string wrapped(const std::string& text, const std::string& indent, std::size_t width = 100);

// Everything that the program prints passes here: printable, to a descriptor. A character that
// is split between two writes stays whole. Writing to a descriptor that is gone fails quietly, and
// failed tells of it.
class PrintableBuffer : public std::streambuf {
 public:
  explicit PrintableBuffer(int target) : descriptor(target) {}
  bool failed() const { return broken; }

 protected:
  int overflow(int character) override;
  std::streamsize xsputn(const char* text, std::streamsize count) override;
  int sync() override;

 private:
  bool flushWhole(bool everything);

  int descriptor;
  std::string waiting;
  bool broken = false;
};

// Writes all of a text; false when that is not possible.
bool writeAll(int descriptor, std::string_view text);

// Whole content of a regular file of at most so many bytes; false when it cannot be read. A pipe or
// a device in its place is not waited for.
bool readFile(const std::filesystem::path& path, std::string& content,
              std::uintmax_t most = UINTMAX_MAX);

// FNV-1a: a single changed byte always changes it.
std::uint32_t checkOf(std::string_view text);
std::uint64_t hashOf(std::string_view text, std::uint64_t seed = 14695981039346656037u);

}  // namespace tarnix::cli
