// Any text as the history of a problem, whole or behind a valid beginning: it is read or refused,
// and what was read and then continued reads back the same.

#include "run/history.h"
#include "input.h"
#include "output/outcome.h"
#include "problem/problem.h"
#include "scratch.h"
#include "unit/history_problem.h"

using namespace tarnix::cli;

namespace {

const ProblemFile& problem() {
  static const ProblemFile read = [] {
    Issues issues("p.toml");
    ProblemFile p = readProblem(fuzz::write("p.toml", historyProblem), issues);
    fuzz::require(issues.empty(), "the problem is valid");
    return p;
  }();
  return read;
}

const std::string& beginning() {
  static const std::string begun = [] {
    const auto path = fuzz::scratch() / "begun.jsonl";
    {
      History history(path);
      history.create(problem());
      history.append({0, {1, 2}, {}, {3, 4}, {}, 0.5});
    }
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }();
  return begun;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
  if (length == 0) return 0;
  problem();
  const std::string tail(reinterpret_cast<const char*>(bytes + 1), length - 1);
  const auto path = fuzz::write("h.jsonl", (bytes[0] % 2 ? beginning() : "") + tail);
  std::size_t count = 0;
  try {
    History history(path);
    history.resume(problem());
    count = history.records().size();
    history.append({0, {1, 2}, {}, {3, 4}, {}, 0.5});
  } catch (const Failure& failure) {
    fuzz::require(failure.code == exitFiles || failure.code == exitBadProblem, "its exit status");
    return 0;
  }
  History again(path);
  again.read(problem());
  fuzz::require(again.records().size() == count + 1, "what was appended is read again");
  return 0;
}
