#include "trace/line.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace tarnix::core {

namespace {

constexpr int longestNumber = 32;

int alignRight(char* out, const char* digits, int length, int width) {
  const int blanks = std::max(0, width - length);
  std::memset(out, ' ', static_cast<std::size_t>(blanks));
  std::memcpy(out + blanks, digits, static_cast<std::size_t>(length));
  return blanks + length;
}

}  // namespace

int formatReal(char* out, double value, int width, int decimals) {
  char digits[longestNumber];
  const double size = std::fabs(value);
  if (std::isnan(value)) value = size;  // its sign differs between machines
  const auto write = [&](std::chars_format format) {
    return static_cast<int>(
        std::to_chars(digits, digits + longestNumber, value, format, decimals).ptr - digits);
  };
  int length = 0;
  if (size == 0.0 || (size >= 0.1 && size < 1e6)) length = write(std::chars_format::fixed);
  // Rounding may carry a value just below 1e6 one digit past its field.
  if (length == 0 || length > width) length = write(std::chars_format::scientific);
  return alignRight(out, digits, length, width);
}

int formatInteger(char* out, int64_t value, int width) {
  char digits[longestNumber];
  const auto end = std::to_chars(digits, digits + longestNumber, value).ptr;
  return alignRight(out, digits, static_cast<int>(end - digits), width);
}

Line::Line(std::string_view head) {
  std::memset(buffer_, ' ', sizeof buffer_);
  text(head);
}

Line& Line::text(std::string_view piece) {
  const auto fits = std::min(piece.size(), static_cast<std::size_t>(capacity - length_));
  std::memcpy(buffer_ + length_, piece.data(), fits);
  length_ += static_cast<int>(fits);
  return *this;
}

Line& Line::integer(int64_t value, int width) {
  char field[longestNumber];
  return text({field, static_cast<std::size_t>(formatInteger(field, value, width))});
}

Line& Line::real(double value, int width, int decimals) {
  char field[longestNumber];
  return text({field, static_cast<std::size_t>(formatReal(field, value, width, decimals))});
}

std::string_view Line::padded(int count) const {
  return {buffer_, static_cast<std::size_t>(std::max(count, length_))};
}

}  // namespace tarnix::core
