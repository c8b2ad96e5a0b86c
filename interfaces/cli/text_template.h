// A text with places to be filled in: {{name}}, or {{name:%10.4e}} with a format.
#pragma once

#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "diagnostics.h"

namespace tarnix::cli {

// Shortest text that reads back as the same number.
std::string shortest(double value);

class TextTemplate {
 public:
  // Names of numbers come first; of texts behind them ("dir", "run"). Complain is told of each
  // fault with the line within the text, from 1 on.
  TextTemplate(const std::string& text, const std::vector<std::string>& numbers,
               const std::vector<std::string>& texts,
               const std::function<void(int line, const std::string&)>& complain);

  std::string filled(std::span<const double> numbers, std::span<const std::string> texts) const;
  bool usesNumbers() const;

 private:
  struct Part {
    std::string literal;  // what stands before the place
    std::size_t index;    // of the value; none for the last part
    std::string format;
  };
  static constexpr std::size_t none = static_cast<std::size_t>(-1);
  std::vector<Part> parts;
  std::size_t numberCount;
};

// A text of a foreign program, fit for a message: what is neither plain nor whole UTF-8 becomes
// '?'.
std::string printable(std::string text);

// Whole content of a file; false when it cannot be read.
bool readFile(const std::filesystem::path& path, std::string& content);

}  // namespace tarnix::cli
