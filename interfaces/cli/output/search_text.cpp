#include "base/numbers.h"
#include "base/text_table.h"
#include "output/outcome.h"

namespace tarnix::cli {

namespace {

std::string minimaText(const Outcome& o) {
  const MinimaOutcome& minima = *o.minima;
  std::string text = "\n  " + std::to_string(minima.found.size()) +
                     (minima.found.size() == 1 ? " minimum" : " minima") + " from " +
                     std::to_string(minima.starts) + " starts";
  if (minima.unsuccessful > 0)
    text += ", " + std::to_string(minima.unsuccessful) + " of them without success";
  text += minima.unseen ? "; expected to be unseen still: " + rounded(*minima.unseen, 2) + "\n"
                        : "; too few to say how many are unseen\n";
  constexpr std::size_t mostVariables = 8, mostMinima = 12;
  const std::size_t shown = o.variables.size() <= mostVariables ? o.variables.size() : 0;
  TextTable rows("rrr" + std::string(shown, 'r'));
  std::vector<std::string> head{o.objective->name, "times", "first start"};
  for (std::size_t i = 0; i < shown; ++i) head.push_back(o.variables[i].name);
  rows.row(std::move(head));
  for (std::size_t k = 0; k < std::min(minima.found.size(), mostMinima); ++k) {
    const MinimumOutcome& m = minima.found[k];
    std::vector<std::string> cells{rounded(m.objective), std::to_string(m.times),
                                   std::to_string(m.start)};
    for (std::size_t i = 0; i < shown; ++i) cells.push_back(rounded(m.x[i]));
    rows.row(std::move(cells));
  }
  if (!minima.found.empty()) text += rows.text();
  if (minima.found.size() > mostMinima)
    text += "  and " + std::to_string(minima.found.size() - mostMinima) + " more\n";
  return text;
}

std::string catalogueText(const Outcome& o) {
  const CatalogueOutcome& c = *o.catalogue;
  const std::string& name = o.objective->name;
  return "\n  Catalogue: " +
         std::string(c.proved ? "no other combination is better, as far as the continuous solves "
                                "are right"
                              : "the best found; none can be better than " + name + " " +
                                    rounded(c.bound)) +
         "\n  " + std::to_string(c.solves) + " solves; without the catalogue " + name + " " +
         rounded(c.continuous) + "\n";
}

}  // namespace

std::string searchText(const Outcome& o) {
  if (!o.objective) return {};
  return (o.minima ? minimaText(o) : "") + (o.catalogue ? catalogueText(o) : "");
}

}  // namespace tarnix::cli
