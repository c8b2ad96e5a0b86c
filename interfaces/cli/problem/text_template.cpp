#include "problem/text_template.h"

#include <algorithm>
#include <cstdio>
#include <regex>

#include "base/numbers.h"
#include "base/issues.h"

namespace tarnix::cli {

TextTemplate::TextTemplate(const std::string& text, const std::vector<std::string>& numbers,
                           const std::vector<std::string>& texts,
                           const std::function<void(int, const std::string&)>& complain)
    : numberCount(numbers.size()) {
  static const std::regex soundFormat(R"(%[-+ 0#]*[0-9]{0,3}(\.[0-9]{1,3})?[eEfFgG])");
  std::vector<std::string> names = numbers;
  names.insert(names.end(), texts.begin(), texts.end());

  std::size_t begin = 0;
  for (std::size_t open; (open = text.find("{{", begin)) != std::string::npos;) {
    const auto line = static_cast<int>(
        1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(open), '\n'));
    const std::size_t close = text.find("}}", open);
    const std::size_t lineEnd = text.find('\n', open);
    if (close == std::string::npos || close > lineEnd) {
      complain(line, "'{{' without '}}' in the same line");
      break;
    }
    Part part{text.substr(begin, open - begin), none, {}};
    std::string name = text.substr(open + 2, close - open - 2);
    if (const std::size_t colon = name.find(':'); colon != std::string::npos) {
      part.format = name.substr(colon + 1);
      name.resize(colon);
    }
    const auto place = std::find(names.begin(), names.end(), name);
    if (place == names.end())
      complain(line, "unknown name '" + name + "' in {{ }}" + suggestion(name, names));
    else if (!part.format.empty() && !std::regex_match(part.format, soundFormat))
      complain(line, "format '" + part.format + "' of '" + name + "' is not like %12.5e or %.17g");
    else
      part.index = static_cast<std::size_t>(place - names.begin());
    parts.push_back(std::move(part));
    begin = close + 2;
  }
  parts.push_back({text.substr(begin), none, {}});
}

std::string TextTemplate::filled(std::span<const double> numbers,
                                 std::span<const std::string> texts) const {
  std::string result;
  for (const Part& part : parts) {
    result += part.literal;
    if (part.index == none) continue;
    if (part.index >= numberCount) {
      result += texts[part.index - numberCount];
    } else if (part.format.empty()) {
      result += shortest(numbers[part.index]);
    } else {
      char text[1400];  // a %999.999f of the largest double fits
      std::snprintf(text, sizeof text, part.format.c_str(), numbers[part.index]);
      result += text;
    }
  }
  return result;
}

bool TextTemplate::usesNumbers() const {
  return std::any_of(parts.begin(), parts.end(),
                     [this](const Part& part) { return part.index < numberCount; });
}

}  // namespace tarnix::cli
