#include "base/text.h"

#include <fstream>
#include <sstream>

namespace tarnix::cli {

std::string printable(std::string text) {
  std::size_t following = 0;  // bytes of a character that are still to come
  std::size_t first = 0;
  const auto spoil = [&](std::size_t begin, std::size_t end) {
    for (std::size_t k = begin; k < end; ++k) text[k] = '?';
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    const bool continues = (c & 0xc0) == 0x80;
    if (following > 0 && continues) {
      --following;
      continue;
    }
    if (following > 0) spoil(first, i);
    first = i;
    following = c >= 0xc2 && c < 0xe0   ? 1
                : c >= 0xe0 && c < 0xf0 ? 2
                : c >= 0xf0 && c < 0xf5 ? 3
                                        : 0;
    if (following == 0 && (c < ' ' || c >= 0x7f)) text[i] = '?';
  }
  if (following > 0) spoil(first, text.size());
  return text;
}

bool readFile(const std::filesystem::path& path, std::string& content) {
  std::ifstream stream(path, std::ios::binary);
  std::ostringstream buffer;
  if (!stream || !(stream.peek() == EOF || buffer << stream.rdbuf())) return false;
  content = buffer.str();
  return true;
}

}  // namespace tarnix::cli
