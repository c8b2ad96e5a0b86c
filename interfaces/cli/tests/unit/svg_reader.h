// Reads a chart back.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <string>
#include <utility>
#include <vector>

namespace tarnix::cli {

struct Element {
  std::string tag, attributes, text;
  double number(const std::string& name) const {
    std::smatch found;
    const bool there =
        std::regex_search(attributes, found, std::regex("\\b" + name + "=\"([-0-9.]+)"));
    EXPECT_TRUE(there) << name << " of " << attributes;
    return there ? std::atof(found[1].str().c_str()) : NAN;
  }
  bool has(const std::string& what) const { return attributes.find(what) != std::string::npos; }
};

// Texts, circles and rectangles, with the text or the title in them.
inline std::vector<Element> elements(const std::string& svg) {
  static const std::regex one("<(text|circle|rect|path)( [^>]*[^/])>(?:<title>)?([^<]*)");
  std::vector<Element> all;
  for (std::sregex_iterator i(svg.begin(), svg.end(), one), end; i != end; ++i)
    all.push_back({(*i)[1], (*i)[2], (*i)[3]});
  return all;
}

inline std::vector<Element> only(const std::vector<Element>& all, const std::string& tag,
                                 const std::string& attribute) {
  std::vector<Element> some;
  for (const Element& e : all)
    if (e.tag == tag && e.has(attribute)) some.push_back(e);
  return some;
}

// The points of a path, M x y or L x y each.
inline std::vector<std::pair<double, double>> points(const std::string& svg,
                                                     const std::string& style) {
  std::smatch path;
  if (!std::regex_search(svg, path, std::regex("<path class=\"" + style + "\" d=\"([^\"]*)\"")))
    return {};
  const std::string text = path[1];
  static const std::regex point("[ML]([-0-9.]+) ([-0-9.]+)");
  std::vector<std::pair<double, double>> all;
  for (std::sregex_iterator i(text.begin(), text.end(), point), end; i != end; ++i)
    all.emplace_back(std::stod((*i)[1]), std::stod((*i)[2]));
  return all;
}

}  // namespace tarnix::cli
