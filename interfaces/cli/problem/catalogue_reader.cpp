#include "problem/catalogue_reader.h"

#include <algorithm>
#include <cmath>

#include "base/numbers.h"

namespace tarnix::cli {

std::vector<double> readValues(Section& section, VariableEntry& variable) {
  std::vector<double> values;
  const toml::node* node = section.take("values");
  if (!node) return values;
  const toml::array* array = node->as_array();
  bool valid = array && !array->empty();
  if (valid)
    for (const toml::node& item : *array) {
      const auto value = item.value<double>();
      valid = valid && item.is_number() && value && std::isfinite(*value);
      if (valid) values.push_back(*value);
    }
  if (!valid) {
    section.issue("values", "'values' is not a list of numbers in brackets");
    return {};
  }
  std::sort(values.begin(), values.end());
  values.erase(std::unique(values.begin(), values.end()), values.end());
  variable.lower = values.front(), variable.upper = values.back();
  return values;
}

void finishCatalogue(Section& section, VariableEntry& variable, std::vector<double> values) {
  if (const auto step = section.positive("step")) {
    constexpr double most = 100'000;
    if (!values.empty()) return section.issue("step", "give either 'values' or 'step'");
    // A bound that is a multiple but for its last bits counts as one.
    const double first = std::ceil(variable.lower / *step - 1e-9),
                 last = std::floor(variable.upper / *step + 1e-9);
    if (!(last - first < most))
      return section.issue(
          "step", "more than 100,000 multiples of " + shortest(*step) + " lie inside the bounds");
    const double count = std::max(last - first + 1, 0.0);
    for (int k = 0; k < count; ++k)
      values.push_back(std::clamp((first + k) * *step, variable.lower, variable.upper));
    values.erase(std::unique(values.begin(), values.end()), values.end());
  } else if (values.empty()) {
    return;
  }
  std::erase_if(values,
                [&](double value) { return value < variable.lower || value > variable.upper; });
  if (values.empty())
    return section.issue("no value of its catalogue lies between " + shortest(variable.lower) +
                         " and " + shortest(variable.upper));
  variable.lower = values.front(), variable.upper = values.back();
  variable.start = std::clamp(variable.start, variable.lower, variable.upper);
  variable.catalogue = std::move(values);
}

}  // namespace tarnix::cli
