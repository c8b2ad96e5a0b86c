#include "problem/text_template.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "base/issues.h"
#include "base/numbers.h"
#include "base/text.h"

namespace tarnix::cli {

namespace {

// %[flags][width][.precision] and a letter for doubles, with at most three digits each.
bool isFormat(const std::string& format) {
  std::size_t i = 0;
  const auto at = [&](const char* set) {
    return i < format.size() && std::string(set).find(format[i]) != std::string::npos;
  };
  const auto digits = [&] {
    int count = 0;
    while (at("0123456789")) ++i, ++count;
    return count;
  };
  if (!at("%")) return false;
  ++i;
  while (at("-+ 0#")) ++i;
  if (i > 6 || digits() > 3) return false;
  if (at(".")) {
    ++i;
    if (const int count = digits(); count < 1 || count > 3) return false;
  }
  return at("eEfFgG") && i + 1 == format.size();
}

}  // namespace

TextTemplate::TextTemplate(const std::string& text, const std::vector<std::string>& numbers,
                           const std::vector<std::string>& texts, const Complain& complain, Kind k)
    : numberCount(numbers.size()), kind(k) {
  std::vector<std::string> names = numbers;
  names.insert(names.end(), texts.begin(), texts.end());
  Part part;
  std::size_t begin = 0;
  int line = 1;
  const auto take = [&](std::size_t end) {
    line += static_cast<int>(std::count(text.begin() + static_cast<std::ptrdiff_t>(begin),
                                        text.begin() + static_cast<std::ptrdiff_t>(end), '\n'));
    part.literal += text.substr(begin, end - begin);
    begin = end;
  };
  for (std::size_t open; (open = text.find("{{", begin)) != std::string::npos;) {
    take(open);
    if (text.compare(open, 4, "{{{{") == 0) {
      part.literal += "{{";
      begin = open + 4;
      continue;
    }
    const std::size_t close = text.find("}}", open);
    if (close == std::string::npos || close > text.find('\n', open)) {
      complain(line,
               "'{{' without '}}' in the same line; two braces that mean nothing are written "
               "{{{{");
      break;
    }
    readPlace(text.substr(open + 2, close - open - 2), names, line, complain, part);
    parts.push_back(std::move(part));
    part = {};
    begin = close + 2;
  }
  take(text.size());
  parts.push_back(std::move(part));
  if (kind == Kind::shell) noteQuotes();
}

void TextTemplate::readPlace(std::string inner, const std::vector<std::string>& names, int line,
                             const Complain& complain, Part& part) {
  if (const std::size_t colon = inner.find(':'); colon != std::string::npos) {
    part.format = trimmed(std::string_view(inner).substr(colon + 1));
    inner.resize(colon);
  }
  const std::string name(trimmed(inner));
  const auto place = std::find(names.begin(), names.end(), name);
  if (place == names.end())
    complain(line, "unknown name '" + clipped(name) + "' in {{ }}" + suggestion(name, names));
  else if (!part.format.empty() && !isFormat(part.format))
    complain(line,
             "format '" + clipped(part.format) + "' of '" + name + "' is not like %12.5e or %.17g");
  else
    part.index = static_cast<std::size_t>(place - names.begin());
}

// Follows the shell's quotes through the literal parts.
void TextTemplate::noteQuotes() {
  Quote quote = Quote::none;
  bool wordBegins = true;
  for (Part& part : parts) {
    for (std::size_t i = 0; i < part.literal.size(); ++i) {
      const char c = part.literal[i];
      if (quote == Quote::single) {
        if (c == '\'') quote = Quote::none;
      } else if (c == '\\') {
        ++i;
      } else if (c == '"') {
        quote = quote == Quote::twice ? Quote::none : Quote::twice;
      } else if (c == '\'' && quote == Quote::none) {
        quote = Quote::single;
      } else if (c == '#' && wordBegins && quote == Quote::none) {
        i = std::min(part.literal.find('\n', i), part.literal.size()) - 1;
      }
      wordBegins = c == ' ' || c == '\t' || c == '\n' || c == ';' || c == '&' || c == '|';
    }
    part.quote = quote;
    wordBegins = false;
  }
}

std::string TextTemplate::quoted(const std::string& text, Quote quote) {
  const bool plain = !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
    return std::isalnum(c) || c == '/' || c == '.' || c == '_' || c == '-' || c >= 0x80;
  });
  if (plain) return text;
  std::string inner;
  for (const char c : text) {
    if (quote == Quote::twice)
      inner += std::string("\\$`\"").find(c) != std::string::npos ? "\\" + std::string(1, c)
                                                                  : std::string(1, c);
    else
      inner += c == '\'' ? "'\\''" : std::string(1, c);
  }
  return quote == Quote::none ? "'" + inner + "'" : inner;
}

std::string TextTemplate::filled(std::span<const double> numbers,
                                 std::span<const std::string> texts) const {
  std::string result;
  for (const Part& part : parts) {
    result += part.literal;
    if (part.index == none) continue;
    if (part.index >= numberCount) {
      const std::string& text = texts[part.index - numberCount];
      result += kind == Kind::shell ? quoted(text, part.quote) : text;
    } else {
      result += written(part, numbers[part.index]);
    }
  }
  return result;
}

std::string TextTemplate::written(const Part& part, double number) {
  if (part.format.empty()) return shortest(number);
  char text[1400];  // a %999.999f of the largest double fits
  std::snprintf(text, sizeof text, part.format.c_str(), number);
  return text;
}

void TextTemplate::addPlaces(std::span<const double> numbers, std::string& text) const {
  for (const Part& part : parts)
    if (part.index < numberCount) text += written(part, numbers[part.index]) + ' ';
}

std::vector<int> TextTemplate::placeLines() const {
  std::vector<int> lines;
  int line = 1;
  for (const Part& part : parts) {
    line += static_cast<int>(std::count(part.literal.begin(), part.literal.end(), '\n'));
    if (part.index != none && (lines.empty() || lines.back() != line)) lines.push_back(line);
  }
  return lines;
}

bool TextTemplate::usesNumbers() const {
  return std::any_of(parts.begin(), parts.end(),
                     [this](const Part& part) { return part.index < numberCount; });
}

bool TextTemplate::uses(std::size_t number) const {
  return std::any_of(parts.begin(), parts.end(),
                     [&](const Part& part) { return part.index == number; });
}

}  // namespace tarnix::cli
