#pragma once
// One line of trace text with numbers in it, at most 80 characters.

#include <cstdint>
#include <string_view>

namespace tarnix::core {

// Writes value right-aligned in width characters and returns the characters written (more than
// width when it does not fit). Fixed notation for 0 and 0.1 <= |value| < 1e6, otherwise an
// exponent; the decimal point is a point in every locale. out holds at least 32 and width
// characters.
int formatReal(char* out, double value, int width, int decimals);
int formatInteger(char* out, int64_t value, int width);

class Line {
 public:
  static constexpr int capacity = 80;

  explicit Line(std::string_view head = {});
  Line& text(std::string_view piece);
  Line& integer(int64_t value, int width);
  Line& real(double value, int width, int decimals);

  std::string_view view() const { return {buffer_, static_cast<std::size_t>(length_)}; }
  // At least count characters, blanks behind the text.
  std::string_view padded(int count) const;

 private:
  char buffer_[capacity];
  int length_ = 0;
};

}  // namespace tarnix::core
