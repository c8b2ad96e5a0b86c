// Columns of text, as wide as their longest entry.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace tarnix::cli {

class TextTable {
 public:
  // One letter per column: l or r.
  explicit TextTable(std::string columnAlignment) : alignment(std::move(columnAlignment)) {}
  void row(std::vector<std::string> cells) { rows.push_back(std::move(cells)); }

  std::string text(const std::string& indent = "  ") const {
    std::vector<std::size_t> widths(alignment.size());
    for (const auto& cells : rows)
      for (std::size_t i = 0; i < cells.size(); ++i)
        widths[i] = std::max(widths[i], length(cells[i]));
    std::string all;
    for (const auto& cells : rows) {
      std::string line = indent;
      for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string fill(widths[i] - length(cells[i]), ' ');
        line += (i == 0 ? "" : "  ") + (alignment[i] == 'r' ? fill + cells[i] : cells[i] + fill);
      }
      line.erase(line.find_last_not_of(' ') + 1);
      all += line + "\n";
    }
    return all;
  }

 private:
  // Characters, not bytes: units like mm² are UTF-8.
  static std::size_t length(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
      return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
    }));
  }
  std::string alignment;
  std::vector<std::vector<std::string>> rows;
};

}  // namespace tarnix::cli
