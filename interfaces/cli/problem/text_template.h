// A text with places to be filled in: {{name}}, or {{name:%10.4e}} with a format. {{{{ stands for
// two braces.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

namespace tarnix::cli {

class TextTemplate {
 public:
  using Complain = std::function<void(int line, const std::string& fault)>;
  enum class Kind { plain, shell };  // shell: texts are filled in as one word whatever they hold

  // Names of numbers come first; of texts behind them ("dir", "run"). Complain is called for each
  // fault with the line within the text, from 1 on.
  TextTemplate(const std::string& text, const std::vector<std::string>& numbers,
               const std::vector<std::string>& texts, const Complain& complain,
               Kind kind = Kind::plain);

  std::string filled(std::span<const double> numbers, std::span<const std::string> texts) const;
  // Of the places alone what they become.
  void addPlaces(std::span<const double> numbers, std::string& text) const;
  // Numbers of the lines with a place, from 1 on.
  std::vector<int> placeLines() const;
  bool usesNumbers() const;
  bool uses(std::size_t number) const;

 private:
  enum class Quote { none, single, twice };
  struct Part {
    std::string literal;                               // what comes before the place
    std::size_t index = static_cast<std::size_t>(-1);  // of the value; none for the last part
    std::string format;
    Quote quote = Quote::none;  // of the shell, at the place
  };
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  // Fills in name and format of a place from what is between the braces.
  static void readPlace(std::string inner, const std::vector<std::string>& names, int line,
                        const Complain& complain, Part& part);
  void noteQuotes();
  static std::string written(const Part& part, double number);
  static std::string quoted(const std::string& text, Quote quote);

  std::vector<Part> parts;
  std::size_t numberCount;
  Kind kind;
};

}  // namespace tarnix::cli
