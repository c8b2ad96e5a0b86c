#include "run/sweep.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <map>
#include <sstream>

#include "base/numbers.h"
#include "base/text.h"
#include "run/fingerprint.h"
#include "run/point_solve.h"
#include "run/verification.h"

namespace fs = std::filesystem;

namespace tarnix::cli {

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) parts.emplace_back(trimmed(part));
  return parts;
}

double numberOf(const std::string& text, const std::string& over) {
  double value = 0;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || rest != text.data() + text.size() || !std::isfinite(value))
    throw Failure(exitBadProblem,
                  "--over " + clipped(over) + ": '" + clipped(text) + "' is not a number");
  return value;
}

}  // namespace

Axis axisOf(const std::string& over) {
  const std::size_t equal = over.find('=');
  const auto wrong = [&](const std::string& text) {
    return Failure(exitBadProblem, "--over " + clipped(over) + ": " + text);
  };
  if (equal == std::string::npos || equal == 0)
    throw wrong("write NAME.KEY=FROM:TO:COUNT or NAME.KEY=A,B,C");
  Axis axis{std::string(trimmed(std::string_view(over).substr(0, equal))), {}};
  const std::string values = over.substr(equal + 1);
  if (values.find(':') == std::string::npos) {
    for (const std::string& part : split(values, ',')) axis.values.push_back(numberOf(part, over));
  } else {
    const std::vector<std::string> parts = split(values, ':');
    const bool logarithmic = parts.size() == 4 && parts[3] == "log";
    if (parts.size() != 3 && !logarithmic) throw wrong("write FROM:TO:COUNT, or FROM:TO:COUNT:log");
    const double from = numberOf(parts[0], over), to = numberOf(parts[1], over),
                 count = numberOf(parts[2], over);
    if (!(count >= 1 && count <= 10000 && count == std::floor(count)))
      throw wrong("the count is a whole number from 1 to 10000");
    if (logarithmic && !(from > 0 && to > 0)) throw wrong("a logarithm needs positive ends");
    for (int k = 0; k < count; ++k) {
      const double share = count > 1 ? k / (count - 1) : 0;
      const double value =
          logarithmic ? from * std::pow(to / from, share) : from + share * (to - from);
      axis.values.push_back(share == 1 ? to : value);
    }
  }
  if (axis.values.empty()) throw wrong("no values");
  return axis;
}

namespace {

// Runs of one state of the command, with their history; points whose limits differ share one.
struct Store {
  Store(const fs::path& file, const Overrides& overrides, const Places& p,
        const StudyOptions& options)
      : setup(file, overrides, false),
        places(p),
        history(openStudy(setup.problem, p, "sweep", false)) {
    setup.problem.command->onFailure = FailurePolicy::penalty;  // every point decides for itself
    setup.problem.options.maxEvaluations = 0, setup.problem.options.maxSeconds = 0;
    setup.simulator->open(places.runs);
    for (const long run : history.cutShort()) setup.simulator->sweep(run);
    evaluations = std::make_unique<Evaluations>(setup.problem, *setup.model, setup.simulator.get(),
                                                &history, options.jobs, options.retryFailed);
  }
  Setup setup;
  Places places;
  History history;
  std::unique_ptr<Evaluations> evaluations;
};

class Sweep {
 public:
  Sweep(const fs::path& f, const fs::path& o, const Overrides& changes,
        const std::vector<Axis>& over, const StudyOptions& how)
      : file(f), output(o), overrides(changes), axes(over), options(how), pool(how.jobs) {
    makeFolder();
    for (std::size_t k = 0; k < sizeOf(axes); ++k) addPoint(k);
  }

  ~Sweep() {
    while (!stores.empty()) stores.pop_back();
  }

  SweepResult run(const std::function<void(const SweepPoint&)>& onPoint) {
    const auto begun = Clock::now();
    try {
      for (std::size_t k = 0; k < points.size(); ++k)
        if (parent(k) != k) points[parent(k)].next.push_back(k);
      const auto first = std::find_if(points.begin(), points.end(), [&](const Point& point) {
        return parent(static_cast<std::size_t>(&point - points.data())) ==
               static_cast<std::size_t>(&point - points.data());
      });
      pool.serve({workOf(static_cast<std::size_t>(first - points.begin()), onPoint)});
      verifyAll();
    } catch (const Interrupted& interrupted) {
      result.signal = interrupted.signal;
    }
    for (Point& point : points) result.points.push_back({point.at, std::move(point.outcome)});
    for (const auto& store : stores) {
      const Evaluations::Counts& count = store->evaluations->counts();
      result.runs += count.finished + count.failed;
      result.replayed += count.replayed;
    }
    result.seconds = std::chrono::duration<double>(Clock::now() - begun).count();
    return std::move(result);
  }

 private:
  struct Point {
    std::vector<double> at;
    std::unique_ptr<Setup> setup;
    Store* store = nullptr;
    std::vector<std::size_t> next;  // whose start is the end of this one
    std::optional<PointSolve::End> start;
    std::optional<Outcome> outcome;
  };

  static std::size_t sizeOf(const std::vector<Axis>& axes) {
    std::size_t size = 1;
    for (const Axis& axis : axes) size *= axis.values.size();
    return size;
  }

  void makeFolder() {
    const Places plain(file, output);
    folder = plain.history.parent_path() / (file.stem().string() + ".sweep");
    if (options.fresh) putAside(folder, ".sweep");
  }

  std::vector<std::size_t> indices(std::size_t point) const {
    std::vector<std::size_t> at(axes.size());
    for (std::size_t a = axes.size(); a-- > 0; point /= axes[a].values.size())
      at[a] = point % axes[a].values.size();
    return at;
  }
  std::size_t middle(std::size_t axis) const { return (axes[axis].values.size() - 1) / 2; }
  // The neighbor towards the middle, along the last axis first.
  std::size_t parent(std::size_t point) const {
    const auto at = indices(point);
    std::size_t stride = 1;
    for (std::size_t a = axes.size(); a-- > 0; stride *= axes[a].values.size()) {
      if (at[a] > middle(a)) return point - stride;
      if (at[a] < middle(a)) return point + stride;
    }
    return point;
  }

  void addPoint(std::size_t k) {
    Point point;
    Overrides changes = overrides;
    const auto at = indices(k);
    for (std::size_t a = 0; a < axes.size(); ++a) {
      point.at.push_back(axes[a].values[at[a]]);
      changes.push_back(axes[a].name + "=" + shortest(point.at.back()));
    }
    point.setup = std::make_unique<Setup>(file, changes, k == 0);
    if (point.setup->simulator) point.store = storeFor(point.setup->problem, changes);
    points.push_back(std::move(point));
  }

  // Named by all that runs depend on: what is changed gets another history.
  Store* storeFor(const ProblemFile& problem, const Overrides& changes) {
    std::uint64_t hash = hashOf("");
    for (const auto& [part, value] : fingerprint(problem)) hash = hashOf(part + value, hash);
    char name[17];
    std::snprintf(name, sizeof name, "%016llx", static_cast<unsigned long long>(hash));
    Store*& store = storesByName[name];
    if (!store) {
      Places places(file, output);
      places.history = folder / (std::string(name) + ".history.jsonl");
      places.runs = folder / (std::string(name) + ".runs");
      stores.push_back(std::make_unique<Store>(file, changes, places, options));
      store = stores.back().get();
    }
    return store;
  }

  // Solves a point, then lets its neighbors further out begin.
  SharedPool::Work workOf(std::size_t k, const std::function<void(const SweepPoint&)>& onPoint) {
    return [this, k, &onPoint] {
      Point& point = points[k];
      Evaluations* const store = point.store ? point.store->evaluations.get() : nullptr;
      PointSolve solve(*point.setup, store, pool);
      point.outcome = solve.from(point.start);
      for (const std::size_t other : point.next) {
        points[other].start = solve.end() ? solve.end() : point.start;
        pool.add(workOf(other, onPoint));
      }
      pool.tell([&point, &onPoint] { onPoint({point.at, point.outcome}); });
    };
  }

  // The design of a success is run once more: runs side by side may disturb each other.
  void verifyAll() {
    std::map<Store*, Evaluations::Designs> again;
    for (const Point& point : points) {
      if (!point.store || !point.outcome->success) continue;
      const std::vector<double> x = designOf(*point.outcome);
      const auto& done = point.store->history.verifications();
      const auto same = [&](const Record& record) { return record.x == x; };
      if (std::none_of(done.begin(), done.end(), same)) again[point.store].push_back(x);
    }
    for (auto& [store, designs] : again) store->evaluations->repeatAll(designs);
    for (Point& point : points) judge(point);
    verifySideBySide();
  }

  void judge(Point& point) const {
    if (!point.store || !point.outcome->success) return;
    const std::vector<double> x = designOf(*point.outcome);
    const auto& done = point.store->history.verifications();
    const auto place =
        std::find_if(done.begin(), done.end(), [&](const Record& record) { return record.x == x; });
    if (place != done.end() &&
        agrees(point.setup->problem, *point.setup->model, *point.store, *place))
      return;
    point.outcome->success = false;
    point.outcome->reason = "the design does not repeat";
  }

  static std::vector<double> designOf(const Outcome& outcome) {
    std::vector<double> x;
    for (const VariableOutcome& v : outcome.variables) x.push_back(v.value);
    return x;
  }

  // Runs that were side by side in the last store with some, and one that was among those of other
  // stores: what is wrong with them is wrong with all points.
  void verifySideBySide() {
    std::vector<Record> runs;
    Store *owner = nullptr, *among = nullptr;
    for (const auto& store : stores) {
      std::vector<Record> found = store->history.sideBySide();
      if (found.size() >= runs.size() && !found.empty())
        runs = std::move(found), owner = store.get();
      const std::vector<double>& x = store->evaluations->besideOthers();
      if (!x.empty() && store->evaluations->failureAt(x).empty()) among = store.get();
    }
    Verification v{true, true, {}, {}, {}};
    if (owner) verifyRuns(*owner, runs, v);
    if (among && v.agrees) verifyRuns(*among, {recordIn(*among)}, v);
    if (v.agrees) return;
    for (Point& point : points) {
      if (!point.store || !point.outcome->success) continue;
      point.outcome->success = false;
      point.outcome->reason = v.reason;
    }
  }

  static void verifyRuns(Store& store, const std::vector<Record>& runs, Verification& v) {
    const double scale =
        std::max(1.0, std::abs(store.setup.model->values(runs[0].x, runs[0].results)[0]));
    Verifier(store.setup.problem, *store.setup.model, *store.evaluations, store.history)
        .verifyRuns(runs, scale, v);
  }

  static Record recordIn(const Store& store) {
    return *Verifier::recordAt(store.history.records(), store.evaluations->besideOthers());
  }

  static bool agrees(const ProblemFile& problem, Model& model, const Store& store,
                     const Record& again) {
    if (!again.failed.empty()) return false;
    const std::vector<double>& x = again.x;
    const std::vector<double> first = store.evaluations->resultsAt(x);
    if (first == again.results) return true;
    const std::vector<double> before = model.values(x, first), now = model.values(x, again.results);
    for (std::size_t j = 0; j < now.size(); ++j) {
      const double unit =
          j == 0 ? std::max(1.0, std::abs(before[0])) : problem.constraints[j - 1].scale;
      if (!(std::abs(now[j] - before[j]) <= problem.options.tolerance * unit)) return false;
    }
    return true;
  }

  const fs::path &file, &output;
  const Overrides& overrides;
  const std::vector<Axis>& axes;
  const StudyOptions& options;
  fs::path folder;
  SharedPool pool;
  // As they were made. The guard of a later one's processes holds what an earlier one waits for.
  std::vector<std::unique_ptr<Store>> stores;
  std::map<std::string, Store*> storesByName;
  std::vector<Point> points;
  SweepResult result;
};

}  // namespace

SweepResult sweep(const fs::path& file, const fs::path& output, const Overrides& overrides,
                  const std::vector<Axis>& axes, const StudyOptions& options,
                  const std::function<void(const SweepPoint&)>& onPoint) {
  return Sweep(file, output, overrides, axes, options).run(onPoint);
}

}  // namespace tarnix::cli
