#include "run/number_reader.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <string>

namespace tarnix::cli {

namespace {

bool digit(char c) {
  return c >= '0' && c <= '9';
}
bool blank(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

class Scanner {
 public:
  explicit Scanner(std::string_view whole) : text(whole) { skipBlanks(); }

  NumberFault number(double& value) {
    sign();
    if (namesNoNumber()) return NumberFault::notFinite;
    const std::size_t whole = digits();
    std::size_t fraction = 0;
    if (at('.')) {
      take();
      if (at('#')) return whole > 0 ? NumberFault::notFinite : NumberFault::notANumber;
      fraction = digits();
    }
    const bool point = plain.find('.') != std::string::npos;
    if (whole + fraction == 0 || !exponent(point)) return NumberFault::notANumber;
    if (at(',') && place + 1 < text.size() && digit(text[place + 1]))
      return NumberFault::decimalComma;
    if (!endsHere()) return NumberFault::notANumber;
    value = std::strtod(plain.c_str(), nullptr);  // out of range: 0 or infinite
    return std::isfinite(value) ? NumberFault::none : NumberFault::notFinite;
  }

 private:
  bool at(char c) const { return place < text.size() && text[place] == c; }
  void take() { plain += text[place++]; }
  void skipBlanks() {
    while (place < text.size() && blank(text[place])) ++place;
  }
  void sign() {
    if (at('+'))
      ++place;
    else if (at('-'))
      take();
  }
  std::size_t digits() {
    const std::size_t begin = place;
    while (place < text.size() && digit(text[place])) take();
    return place - begin;
  }
  // nan, inf and their relatives, in any case.
  bool namesNoNumber() const {
    std::string word(text.substr(place, 3));
    std::transform(word.begin(), word.end(), word.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return word == "nan" || word == "inf";
  }
  // With a letter, or with a sign alone, as Fortran writes exponents of three digits behind a
  // fraction: 1.5-1 is a difference.
  bool exponent(bool point) {
    const bool letter =
        place < text.size() && std::string_view("eEdD").find(text[place]) != std::string_view::npos;
    if (letter)
      ++place;
    else if (!at('+') && !at('-'))
      return true;
    plain += 'e';
    if (at('+') || at('-')) take();
    const std::size_t count = digits();
    return letter ? count > 0 : point && count == 3;
  }
  bool endsHere() {
    if (place == text.size()) return true;
    const char c = text[place];
    if (c == ';' || c == ')' || c == '%') return true;
    if (c == ',') return place + 1 == text.size() || blank(text[place + 1]);
    if (!blank(c)) return false;
    skipBlanks();  // "1 234.5" is one number or two
    return place == text.size() || !(digit(text[place]) || at('.'));
  }

  std::string_view text;
  std::size_t place = 0;
  std::string plain;
};

}  // namespace

NumberFault readNumber(std::string_view text, double& value) {
  return Scanner(text.substr(0, 1000)).number(value);
}

}  // namespace tarnix::cli
