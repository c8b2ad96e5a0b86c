// A text with places to be filled in: {{name}}, or {{name:%10.4e}} with a format.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

namespace tarnix::cli {

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

}  // namespace tarnix::cli
