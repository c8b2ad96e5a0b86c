#include "problem/changes.h"

#include <sstream>

#include "base/issues.h"
#include "base/text.h"

namespace tarnix::cli {

namespace {

// What a change is about; without an owner there is no such thing.
struct Place {
  toml::table* owner = nullptr;
  std::string name, key, value;
};

// All that a change may be about.
std::vector<std::string> namesIn(const toml::table& content) {
  std::vector<std::string> names{"title", "options"};
  for (auto&& [table, node] : content) {
    names.emplace_back(table.str());
    const bool holdsNames = table == "variables" || table == "constraints" || table == "results" ||
                            table == "quantities";
    if (const toml::table* entries = node.as_table(); entries && holdsNames)
      for (auto&& [name, entry] : *entries) names.emplace_back(name.str());
  }
  return names;
}

Place placeOf(const std::string& change, toml::table& content, Issues& issues) {
  Place place;
  const auto wrong = [&](const std::string& text) {
    issues.add(0, "--set " + clipped(change) + ": " + text);
    return place;
  };
  const std::size_t equal = change.find('=');
  if (equal == std::string::npos || equal == 0) return wrong("write NAME=VALUE or NAME.KEY=VALUE");
  place.name = trimmed(std::string_view(change).substr(0, equal));
  place.value = change.substr(equal + 1);
  if (const std::size_t point = place.name.rfind('.'); point != std::string::npos) {
    place.key = place.name.substr(point + 1);
    place.name.resize(point);
  }
  const std::string& name = place.name;
  for (const char* list : {"variables", "constraints", "results"})
    if (toml::table* entries = content[list].as_table();
        entries && !place.owner && entries->contains(name))
      place.owner = (*entries)[name].as_table();
  toml::table* const quantities = content["quantities"].as_table();
  if (!place.owner && quantities && quantities->contains(name) && place.key.empty())
    place.owner = quantities, place.key = name;
  if (name == "title" && place.key.empty()) {
    place.owner = &content, place.key = name;
    return place;
  }
  if (name == "options" && !content.contains(name)) content.insert(name, toml::table{});
  if (!place.owner) place.owner = content[name].as_table();
  if (!place.owner)
    return wrong("no variable, quantity, constraint or table is called '" + name + "'" +
                 suggestion(name, namesIn(content)));
  if (place.key.empty()) place.key = place.owner->contains("value") ? "value" : "start";
  return place;
}

bool isToml(const std::string& value) {
  try {
    (void)toml::parse("v = " + value);
    return true;
  } catch (const toml::parse_error&) {
    return false;  // a text without its quotes
  }
}

// Offset of a line and column, both from 1 on.
std::size_t offsetOf(const std::string& text, const toml::source_position& at) {
  std::size_t begin = 0;
  for (toml::source_index line = 1; line < at.line; ++line) begin = text.find('\n', begin) + 1;
  return begin + at.column - 1;
}

void write(const Place& place, std::string& text) {
  std::ostringstream quoted;
  quoted << toml::value<std::string>(place.value);
  const std::string value = isToml(place.value) ? place.value : quoted.str();
  const std::string entry = place.key + " = " + value;
  if (const toml::node* old = place.owner->get(place.key)) {
    const std::size_t begin = offsetOf(text, old->source().begin);
    text.replace(begin, offsetOf(text, old->source().end) - begin, value);
  } else if (place.name == "title") {
    text = entry + "\n" + text;
  } else if (place.owner->is_inline()) {
    const std::size_t brace = offsetOf(text, place.owner->source().end) - 1;
    const std::size_t last = text.find_last_not_of(' ', brace - 1) + 1;
    text.insert(last, (text[last - 1] == '{' ? " " : ", ") + entry);
  } else if (place.owner->source().begin.line > 0) {
    text.insert(text.find('\n', offsetOf(text, place.owner->source().begin)) + 1, entry + "\n");
  } else {
    text += "\n[" + place.name + "]\n" + entry + "\n";
  }
}

}  // namespace

void apply(const std::string& change, toml::table& content, Issues& issues) {
  const Place place = placeOf(change, content, issues);
  if (!place.owner) return;
  if (isToml(place.value))
    place.owner->insert_or_assign(place.key, *toml::parse("v = " + place.value)["v"].node());
  else
    place.owner->insert_or_assign(place.key, place.value);
}

std::string textWith(const Overrides& changes, std::string text, Issues& issues) {
  for (const std::string& change : changes) {
    toml::table content = toml::parse(text);  // again: every change moves what follows it
    const Place place = placeOf(change, content, issues);
    if (place.owner) write(place, text);
  }
  return text;
}

}  // namespace tarnix::cli
