#include "run/verification.h"

#include <algorithm>
#include <cmath>

#include "base/numbers.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

const Record* Verifier::recordAt(const std::vector<Record>& records, const std::vector<double>& x) {
  const auto place =
      std::find_if(records.rbegin(), records.rend(), [&](const Record& r) { return r.x == x; });
  return place == records.rend() ? nullptr : &*place;
}

Record Verifier::repeated(const std::vector<double>& x) {
  fs::path directory;
  Record again = evaluations.repeat(x, directory);
  std::error_code ignored;
  fs::remove_all(directory, ignored);
  return again;
}

Verification Verifier::compared(const Record& first, const Record& again, double scale) {
  Verification v;
  if (!again.failed.empty()) {
    v.text = "run " + runName(again.run) + " failed: " + again.failed;
    return v;
  }
  const std::vector<double> before = model.values(first.x, first.results),
                            now = model.values(again.x, again.results);
  v.same = first.results == again.results;
  v.agrees = true;  // values that are not finite too, where the results are the same
  for (std::size_t j = 0; j < now.size() && !v.same; ++j) {
    const double unit = j == 0 ? scale : problem.constraints[j - 1].scale;
    v.agrees = v.agrees && std::abs(now[j] - before[j]) <= problem.options.tolerance * unit;
  }
  if (!v.same && v.agrees) v.agrees = repeated(again.x).results != again.results;
  for (std::size_t i = 0; i < first.results.size() && !v.same && v.text.empty(); ++i)
    if (first.results[i] != again.results[i])
      v.text = "result '" + problem.results[i].name + "' was " + shortest(first.results[i]) +
               " in run " + runName(first.run) + " and is now " + shortest(again.results[i]);
  return v;
}

void Verifier::verifyRuns(const std::vector<Record>& runs, double scale, Verification& v) {
  for (const Record& first : runs) {
    const Record* done = recordAt(history.verifications(), first.x);
    const Record again = done ? *done : repeated(first.x);
    const Verification other = compared(first, again, scale);
    if (other.agrees) continue;
    v.same = v.agrees = false;
    v.text = other.text;
    // What differs from itself alone says nothing about others.
    if (again.failed.empty() && repeated(first.x).results != again.results) {
      v.reason = "designs do not repeat";
    } else {
      v.reason = "runs side by side disturb each other";
      v.text += "; " + v.reason + ": do they share a file? --jobs 1 avoids it";
    }
    return;
  }
}

}  // namespace tarnix::cli
