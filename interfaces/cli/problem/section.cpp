#include "problem/section.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "base/numbers.h"
#include "base/text.h"

namespace tarnix::cli {

int lineOf(const toml::node& node) {
  return static_cast<int>(node.source().begin.line);
}

int Section::line(const std::string& key) const {
  const toml::node* node = table.get(key);
  return node ? lineOf(*node) : firstLine;
}

const toml::node* Section::take(const std::string& key) {
  known.insert(key);
  return table.get(key);
}

std::optional<double> Section::number(const std::string& key) {
  const toml::node* node = take(key);
  if (!node) return {};
  const auto value = node->is_number() ? node->value<double>() : std::nullopt;
  if (!value)
    issue(key, "'" + key + "' is not a number");
  else if (!std::isfinite(*value))
    issue(key, "'" + key + "' is not finite");
  else
    return value;
  return {};
}

std::optional<double> Section::positive(const std::string& key) {
  const auto value = number(key);
  if (value && !(*value > 0)) issue(key, "'" + key + "' is not above zero");
  return value && *value > 0 ? value : std::nullopt;
}

std::optional<double> Section::notNegative(const std::string& key) {
  const auto value = number(key);
  if (value && *value < 0) issue(key, "'" + key + "' is below zero");
  return value && *value >= 0 ? value : std::nullopt;
}

std::optional<int> Section::count(const std::string& key, int smallest) {
  const toml::node* node = take(key);
  if (!node) return {};
  const auto value = node->value_exact<int64_t>();
  if (value && *value >= smallest && *value <= INT_MAX) return static_cast<int>(*value);
  issue(key, "'" + key + "' is not a whole number of at least " + std::to_string(smallest));
  return {};
}

std::optional<std::string> Section::text(const std::string& key) {
  const toml::node* node = take(key);
  if (!node) return {};
  auto value = node->value_exact<std::string>();
  if (!value)
    issue(key, "'" + key + "' is not a text in quotes");
  else if (value->empty())
    issue(key, "'" + key + "' is empty");
  else
    return value;
  return {};
}

std::optional<bool> Section::flag(const std::string& key) {
  const toml::node* node = take(key);
  if (!node) return {};
  const auto value = node->value_exact<bool>();
  if (!value) issue(key, "'" + key + "' is neither true nor false");
  return value;
}

std::optional<std::size_t> Section::choice(const std::string& key,
                                           const std::vector<std::string>& words) {
  const auto value = text(key);
  if (!value) return {};
  std::string all;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == *value) return i;
    all += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
  }
  issue(key, "'" + key + "' is '" + *value + "', but may be " + all);
  return {};
}

Expression Section::expression(const std::string& key) {
  Expression result{{}, name, line(key)};
  const toml::node* node = take(key);
  if (node && node->is_number()) {
    if (const auto value = number(key)) result.text = shortest(*value);
  } else if (const auto value = text(key)) {
    result.text = *value;
  }
  return result;
}

std::vector<std::string> Section::texts(const std::string& key) {
  std::vector<std::string> result;
  const toml::node* node = take(key);
  if (!node) return result;
  if (const toml::array* array = node->as_array())
    for (const toml::node& item : *array) {
      const auto value = item.value_exact<std::string>();
      if (!value)
        issues.add(lineOf(item), name + ": '" + key + "' holds something but texts");
      else
        result.push_back(*value);
    }
  else
    issue(key, "'" + key + "' is not a list of texts in brackets");
  return result;
}

std::vector<int> Section::wholeNumbers(const std::string& key, int smallest, int largest) {
  std::vector<int> result;
  const auto add = [&](const toml::node& node) {
    const auto value = node.value_exact<int64_t>();
    if (value && *value >= smallest && *value <= largest)
      result.push_back(static_cast<int>(*value));
    else
      issues.add(lineOf(node), name + ": '" + key + "' holds something but whole numbers from " +
                                   std::to_string(smallest) + " to " + std::to_string(largest));
  };
  const toml::node* node = take(key);
  if (!node) return result;
  if (const toml::array* list = node->as_array())
    for (const toml::node& item : *list) add(item);
  else
    add(*node);
  return result;
}

std::vector<std::pair<std::string, std::string>> Section::pairs(const std::string& key) {
  std::vector<std::pair<std::string, std::string>> result;
  const toml::node* node = take(key);
  if (!node) return result;
  if (!node->is_table())
    return issue(key, "'" + key + "' is not a table: write " + key + " = { NAME = \"value\" }"),
           result;
  for (const auto& [word, item] : inFileOrder(*node->as_table())) {
    if (const auto text = item->value_exact<std::string>())
      result.emplace_back(word, *text);
    else if (const auto value = item->value<double>(); value && item->is_number())
      result.emplace_back(word, shortest(*value));
    else
      issues.add(lineOf(*item), name + ": '" + clipped(word) + "' is neither a text nor a number");
  }
  return result;
}

namespace {

// Words of one table that are tried in another.
std::string relative(const std::string& word, const std::set<std::string>& known) {
  const std::pair<const char*, const char*> pairs[] = {
      {"upper", "max"}, {"lower", "min"}, {"max", "upper"}, {"min", "lower"}, {"limit", "max"}};
  for (const auto& [from, to] : pairs)
    if (word == from && known.count(to)) return std::string("; did you mean '") + to + "'?";
  return suggestion(word, {known.begin(), known.end()});
}

}  // namespace

bool Section::misspells(const std::string& key) const {
  for (auto&& [word, node] : table)
    if (!known.count(std::string(word.str())) && !relative(std::string(word.str()), {key}).empty())
      return true;
  return false;
}

void Section::finish() const {
  for (auto&& [key, node] : table) {
    const std::string word(key.str());
    if (!known.count(word))
      issues.add(lineOf(node),
                 name + ": unknown key '" + clipped(word) + "'" + relative(word, known));
  }
}

// The entries of a table as they follow one another in the file.
std::vector<std::pair<std::string, const toml::node*>> inFileOrder(const toml::table& table) {
  std::vector<std::pair<std::string, const toml::node*>> entries;
  for (auto&& [key, node] : table) entries.emplace_back(key.str(), &node);
  std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
    const auto &p = a.second->source().begin, &q = b.second->source().begin;
    return p.line != q.line ? p.line < q.line : p.column < q.column;
  });
  return entries;
}

}  // namespace tarnix::cli
